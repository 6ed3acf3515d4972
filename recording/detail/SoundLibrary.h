// SPDX-License-Identifier: MIT
//
// What reading and writing through the sound library have in common.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace kvx {

/// Frames of a block, so that its size does not depend on the number of channels.
inline std::size_t BlockFrames(std::size_t channels) {
    constexpr std::size_t kBlockSamples = 1 << 17;
    return std::max<std::size_t>(1, kBlockSamples / channels);
}

/// The texts that sound files of all formats may have, as the sound library numbers them, but for the title,
/// the comment and the date, which have a meaning of their own.
struct SoundText {
    int number;
    const char* name;
};
inline constexpr SoundText kSoundTexts[] = {
    {SF_STR_ARTIST, "artist"},     {SF_STR_ALBUM, "album"},         {SF_STR_SOFTWARE, "software"},
    {SF_STR_GENRE, "genre"},       {SF_STR_COPYRIGHT, "copyright"}, {SF_STR_LICENSE, "license"},
    {SF_STR_TRACKNUMBER, "track"},
};

/// The texts of a broadcast chunk, by the places that they have in it.
struct BroadcastText {
    const char* name;
    std::size_t at;
    std::size_t size;
};
inline constexpr BroadcastText kBroadcastTexts[] = {
    {"description", offsetof(SF_BROADCAST_INFO, description), sizeof(SF_BROADCAST_INFO::description)},
    {"originator", offsetof(SF_BROADCAST_INFO, originator), sizeof(SF_BROADCAST_INFO::originator)},
    {"originator reference", offsetof(SF_BROADCAST_INFO, originator_reference),
     sizeof(SF_BROADCAST_INFO::originator_reference)},
};

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

}  // namespace kvx
