// SPDX-License-Identifier: MIT
//
// CComDataFile loads and stores whole data files and offers the dialogs that choose them. A store never harms
// an existing file: it is replaced only by a complete new one. The operations are static; the dialogs belong
// on the thread of the user interface.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CComDataFile {
public:
    /// Says whether a data file of application `appType` is welcome: 0 refuses it.
    using CHECK_FUNC = int (*)(const wchar_t* path, std::int32_t appType, __int64 user);

    /// Loads a file as kvx::LoadDataFile does, which also tells the reason of a failure. Returns 0 on
    /// failure, with `content` empty and, when `showMessage` is not 0, one message to the person.
    static int LoadDataFile(const wchar_t* path, kvx::DataFileContent* content, BOOL showMessage = 0);

    /// Stores a current file as kvx::StoreDataFile does. Failure as for LoadDataFile.
    static int StoreDataFile(const wchar_t* path, const kvx::DataFileContent& content, BOOL showMessage = 0);

    /// The dialog filter of a file kind: "name (*.ext)|*.ext||". 0 for null and for an unknown kind.
    static int MakeFilter(CComHdr::EXT_INFO_TYPE kind, CString* filter);

    /// Lets a person choose an existing data file, beginning in `initialDir` (may be null). Files that are
    /// not of the data group are refused with a message, files that `check` refuses (may be null; called with
    /// the file's application and `user`) without one; the dialog then stays open. Returns 0, with `path`
    /// unchanged, when nothing was chosen, for an unknown kind and for null.
    static int OpenDataFile(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path);
    static int OpenDataFileEx(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path,
                              CHECK_FUNC check, __int64 user);
    /// The same for any number of files.
    static int OpenDataFileMulti(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CStringArray* paths,
                                 CHECK_FUNC check, __int64 user);

    /// Lets a person choose a name to store under; a name without an extension gets the kind's.
    static int SaveDataFile(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path);
};
