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

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

}  // namespace kvx
