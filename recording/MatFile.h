// SPDX-License-Identifier: MIT
//
// MATLAB files of levels 4, 5 (also compressed, as "-v7" saves them) and 7.3: numeric variables are the
// channels, other variables state their axis, names and units. docs/formats/mat.md tells which.
#pragma once

#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Whether a file begins with the header of a matrix of level 4, which has no mark.
KVX_RECORDING_API bool IsMatLevel4(std::string_view begin);

/// Opens a file on a stream that can be moved, at its start. Throws Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenMatFile(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
