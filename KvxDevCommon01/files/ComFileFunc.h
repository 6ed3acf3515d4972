// SPDX-License-Identifier: MIT
//
// CComFileFunc: checks path, directory, base and extension names by the suite's path rules, without asking
// the host. Safe from any thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>

class KVX_API CComFileFunc {
public:
    /// The drive and directory part of a path, with its trailing separator. Returns 0 for a null output, for
    /// a null or empty path and for one that IsValidDirName refuses.
    static int GetDirFromPath(const wchar_t* path, CString* dir);

    /// Whether `name` has 1 to 256 characters, none of them one of \ / : * ? " < > |
    static int IsValidBaseName(const wchar_t* name);

    /// Whether `path` has 1 to 260 characters, names at most one drive and ends in a valid file name or in
    /// none. The names of the folders on the way are not looked at.
    static int IsValidDirName(const wchar_t* path);

    /// As IsValidBaseName.
    static int IsValidExtName(const wchar_t* name);
};
