// SPDX-License-Identifier: MIT
//
// What the files of graph settings have in common: the common header before the settings, exceptions that
// become a result, and one message to the person when something fails and the caller wants it told.
#pragma once

#include <functional>

#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/resources/TextId.h>

namespace kvx::detail {

/// A kind of settings file: its number in the catalogue and what is said when it fails, with "%s" for the
/// path.
struct SettingsFileKind {
    CComHdr::EXT_INFO_TYPE type;
    TextId loadFailure;
    TextId storeFailure;
};

/// Reads or writes what follows the header.
using Transfer = std::function<void(CArchive&)>;

/// How a kind of settings file is loaded. Exceptions of `load` and `load1st` are failures; after any failure
/// `reset` runs.
struct SettingsLoader {
    std::function<void()> reset;
    Transfer load1st;
    Transfer load = nullptr;  ///< empty: current files are refused
};

/// Loads a file of either generation and copies the text of its header out; 0 on failure.
BOOL LoadSettings(const SettingsFileKind& kind, const CString& path, CString* headerText, int showMessage,
                  const SettingsLoader& loader);

/// Stores a current file, which replaces an existing one only when it is complete; 0 on failure.
BOOL StoreSettings(const SettingsFileKind& kind, const CString& path, const CString* headerText,
                   int showMessage, const Transfer& store);

}  // namespace kvx::detail
