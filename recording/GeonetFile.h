// SPDX-License-Identifier: MIT
//
// Accelerograms of the volumes V1A (uncorrected) and V2A (corrected, with velocity and displacement): some
// components in one text. docs/formats/seismic.md has their lines.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether a text begins as these volumes do.
KVX_RECORDING_API bool IsGeonet(std::string_view begin);

/// Opens a volume. Throws Error naming the line.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenGeonet(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
