// SPDX-License-Identifier: MIT
//
// Accelerograms and what was integrated of them in SMC texts: one component, evenly spaced or each sample
// with its time. docs/formats/seismic.md has their lines.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether a text begins as an SMC text does.
KVX_RECORDING_API bool IsSmc(std::string_view begin);

/// Opens an SMC text. Spectra are refused. Throws Error naming the line.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenSmc(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
