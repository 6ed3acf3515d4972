// SPDX-License-Identifier: MIT
//
// What a file is, by its first bytes. Neither its name nor what a library would try has a say.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <KvxRecording01/Export.h>

namespace kvx {

/// The formats that are read; Formats.h tells what each is.
enum class Format {
    dataFile,
    wav,
    rf64,
    wave64,
    aiff,
    au,
    caf,
    flac,
    universal,
    tdms,
    mat,
    npy,
    npz,
    sac,
    smc,
    csmip,
    geonet,
    loggerText,
    text,
    none
};

struct FileContent {
    std::string_view name;  ///< "a MATLAB file"
    Format format;          ///< none for what is known but not read; text for what is not known
};

/// The first bytes of a file that tell what it is.
inline constexpr std::size_t kContentBytes = 512;

/// Recognises what begins with these bytes, kContentBytes of them where there are as many.
KVX_RECORDING_API FileContent RecognizeContent(std::string_view begin);

/// Recognises the file at `path` (UTF-8). What cannot be opened a second time, such as a pipe, is not looked
/// at and taken for a text. Throws Error.
KVX_RECORDING_API FileContent RecognizeFile(const std::string& path);

}  // namespace kvx
