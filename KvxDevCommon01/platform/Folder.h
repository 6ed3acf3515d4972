// SPDX-License-Identifier: MIT
//
// Folders of the host, by the suite's path rules. Safe from any thread; nothing throws.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Whether the path names a folder that exists.
KVX_API bool IsFolder(std::wstring_view path);

/// Creates the last folder of the path, not those above it. True when the folder exists afterwards.
KVX_API bool CreateFolder(std::wstring_view path);

/// The user's documents folder, without a separator at its end: the one that the user's folder settings
/// name, else "Documents" in the home folder. No value for a user without a home folder. The folder need not
/// exist.
KVX_API std::optional<std::wstring> DocumentsFolder();

}  // namespace kvx
