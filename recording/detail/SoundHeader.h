// SPDX-License-Identifier: MIT
//
// What the header of a sound file states of its length, against what the file holds, and what else of it the
// sound library passes over. The library takes a file that is cut short for a shorter one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <KvxDevCommon01/platform/File.h>
#include <KvxRecording01/FileContent.h>

namespace kvx {

/// Bytes of a file to be read as others, which may be more.
struct BytePatch {
    std::uint64_t position = 0;
    std::uint64_t replaced = 0;
    std::string bytes = {};
};

/// Encoded samples, in bytes.
struct SampleBytes {
    std::optional<std::uint64_t> stated;  ///< no value where the program that wrote the file left it open
    std::uint64_t held = 0;               ///< up to the end of the file, or as many as were stated
    std::uint64_t behind = 0;             ///< what stands behind the samples and is no chunk of the file

    BytePatch actualSize = {};  ///< makes the header state what is held; empty where it cannot

    bool IsCutShort() const { return stated && held < *stated; }
};

/// Looks for the samples of a file of this format; no value where the header does not lead to them, and for
/// FLAC, whose samples are compressed. Leaves the file anywhere. Throws CFileException.
std::optional<SampleBytes> FindSamples(InputFile& file, Format format);

/// The sampling rate in Hz as an AIFF or CAF header states it, which need not be whole. The sound library
/// only tells a whole one. No value for other formats. Leaves the file anywhere. Throws CFileException.
std::optional<double> FindRate(InputFile& file, Format format);

/// Refuses a header that states a rate or a number of channels that no file has, for which the sound library
/// has no sentence of its own. Leaves the file anywhere. Throws Error and CFileException.
void RequireRateAndChannels(InputFile& file, Format format);

/// Refuses a WAV, RF64 or Wave64 header that gives the samples of all channels another number of bytes than
/// their bits take, which the sound library reads as if they were packed, and one whose samples are MP3.
/// Leaves the file anywhere. Throws Error and CFileException.
void RequireReadableSamples(InputFile& file, Format format);

}  // namespace kvx
