// SPDX-License-Identifier: MIT
//
// Graph settings (.gci2) with the reason of a failure: a file of colours and configuration, or one
// of colours alone, of either generation. The given classes load and store the same files.
#pragma once

#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

/// Loads settings from a stream that stands at its first byte; without a configuration that is at its
/// default. Throws Error: kUnsupported for what holds no settings, kDamaged when only the configuration is
/// damaged.
KVX_API CGraphInfo LoadGraphSettings(ByteStream& stream);

/// Writes a settings file of colours and configuration. Throws Error when it cannot be written.
KVX_API void StoreGraphSettings(const std::wstring& path, const CGraphInfo& settings);

}  // namespace kvx
