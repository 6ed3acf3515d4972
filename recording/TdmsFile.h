// SPDX-License-Identifier: MIT
//
// Recordings from TDMS files, as measurement programs stream them to the disk: segments of meta data and raw
// data, values as numbers or as codes of a converter with the scales that make values of them.
#pragma once

#include <memory>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Opens a TDMS file on a stream that can be moved. The channels of a group that have one axis and one count
/// are a run. Of a file whose end is missing what is there is taken, with a remark. Throws Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenTdmsFile(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
