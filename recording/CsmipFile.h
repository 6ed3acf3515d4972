// SPDX-License-Identifier: MIT
//
// Accelerograms of the volumes V1 (uncorrected) and V2 (corrected, with velocity and displacement) as strong
// motion programs exchange them: some channels in one text. docs/formats/seismic.md has their lines.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether a text begins as these volumes do.
KVX_RECORDING_API bool IsCsmip(std::string_view begin);

/// Opens a volume. Spectra (V3) are refused. Throws Error naming the line.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenCsmip(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
