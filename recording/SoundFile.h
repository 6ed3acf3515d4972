// SPDX-License-Identifier: MIT
//
// Sound files, block by block: WAV, RF64, Wave64, AIFF, AU, CAF and FLAC. WavFile.h writes.
#pragma once

#include <memory>
#include <string>

#include <KvxRecording01/Export.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Opens the sound file of this format at `path` (UTF-8), a regular file. Full scale reads as 1.0. A file
/// that holds fewer samples than its header states is read as far as it goes when `isPartial`, with a remark.
/// Throws Error for that file otherwise, and for one that cannot be read; its sentences name the statement
/// that would take such a file `partialName`.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenSoundFile(
    const std::string& path, Format format, bool isPartial, const std::string& partialName = "isPartial");

}  // namespace kvx
