// SPDX-License-Identifier: MIT
//
// CComFileErr: what to tell a person about a file exception. Safe from any thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Text.h>

class KVX_API CComFileErr {
public:
    /// The message for the cause of `e`, of at most 127 characters. With `format` (may be null) a first line
    /// goes before it: `format` with its first "%s" replaced by the exception's file name and everything else
    /// as it stands. `isError` (may be null) receives 0 for the cause "no error", else 1. Returns 0 when `e`
    /// or `out` is null; an unknown cause returns 1 and leaves both outputs untouched.
    static int GetFileErrorString(const CFileException* e, CString* out, const wchar_t* format, int* isError);
};
