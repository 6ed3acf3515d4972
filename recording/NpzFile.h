// SPDX-License-Identifier: MIT
//
// Archives of NumPy arrays: the arrays are the channels, or state their axis, names and units.
// docs/formats/npy.md tells which.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether a file begins as an archive whose first file is an array.
KVX_RECORDING_API bool IsNpz(std::string_view begin);

/// Opens a file on a stream that can be moved, at its start. Throws Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenNpzFile(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
