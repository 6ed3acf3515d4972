// SPDX-License-Identifier: MIT
//
// Which libraries of others read and write recordings in the running program. Safe from any thread.
#pragma once

#include <vector>

#include <KvxDevCommon01/platform/Version.h>
#include <KvxRecording01/Export.h>

namespace kvx {

/// libsndfile and zlib, in the versions that are loaded.
KVX_RECORDING_API std::vector<LibraryVersion> RecordingLibraries();

}  // namespace kvx
