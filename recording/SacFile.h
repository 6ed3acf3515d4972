// SPDX-License-Identifier: MIT
//
// SAC files: one channel, a time series or a spectrum, in 32-bit floating-point numbers of either byte order
// or as text; the binary form is written, too. docs/formats/seismic.md has their bytes.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether the bytes are the header of a SAC file of version 6 or 7, which has no mark.
KVX_RECORDING_API bool IsSac(std::string_view begin);

/// Whether a text begins as the alphanumeric form of a SAC file does.
KVX_RECORDING_API bool IsSacText(std::string_view begin);

/// Opens a SAC file of either form. Throws Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenSac(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
