// SPDX-License-Identifier: MIT
//
// What a file is, by its first bytes. Neither its name nor what a library would try has a say.
#pragma once

#include <optional>
#include <string_view>

#include <KvxRecording01/Export.h>

namespace kvx {

/// The sound formats that are read.
enum class SoundFormat { wav, rf64, wave64, aiff, au, caf, flac };

struct FileContent {
    std::string_view name = {};                       ///< "a MATLAB file"; empty for what may be a text
    std::optional<SoundFormat> sound = std::nullopt;  ///< when it is a sound file that is read
};

/// The first bytes of a file that tell what it is.
inline constexpr std::size_t kContentBytes = 512;

/// Recognises what begins with these bytes, kContentBytes of them where there are as many.
KVX_RECORDING_API FileContent RecognizeContent(std::string_view begin);

}  // namespace kvx
