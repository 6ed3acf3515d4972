// SPDX-License-Identifier: MIT
//
// NumPy files: one array of numbers, whose columns or whose fields are the channels. docs/formats/npy.md
// tells which.
#pragma once

#include <memory>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Opens a file on a stream that can be moved, at its start. Throws Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenNpyFile(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
