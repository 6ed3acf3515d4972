// SPDX-License-Identifier: MIT
//
// Whole data files: a common header of group 2, then one or more records up to the end of the file.
// CComDataFile loads and stores them and offers the dialogs that choose them. A store never harms an existing
// file: it is replaced only by a complete new one. The operations are static; the dialogs belong on the
// thread of the user interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// What a data file holds.
struct DataFileContent {
    CComHdr header;
    std::vector<CComDataBase> records;
};

/// Why a data file could not be loaded or stored.
struct KVX_API DataFileFailure {
    enum Reason {
        kNone,
        kFileError,    ///< the host refused, or the file ends within the header or a record: see `error`
        kNotDataFile,  ///< no header of the suite, or one of another group
        kNoRecord,     ///< the header is not followed by a record
        kBadRecord,    ///< the record is empty, or its fields contradict each other
        kNoMemory,
    };

    Reason reason = kNone;
    CFileException error =
        CFileException();      ///< cause and path; the cause is endOfFile when the file is too short
    __int64 record = -1;       ///< index of the record concerned; -1 for the header or the file as a whole
    std::uint64_t offset = 0;  ///< byte at which that record begins in the file being loaded

    /// One English sentence, UTF-8, for logs and the tool.
    std::string Text() const;
};

}  // namespace kvx

class KVX_API CComDataFile {
public:
    /// Says whether a data file of application `appType` is welcome: 0 refuses it.
    using CHECK_FUNC = int (*)(const wchar_t* path, std::int32_t appType, __int64 user);

    /// Loads a file of either generation. Strict: a file that holds anything but whole records fails, and
    /// `content` is then empty. Returns 0 on failure, with the reason in `failure` (may be null) and, when
    /// `showMessage` is not 0, one message to the person.
    static int LoadDataFile(const wchar_t* path, kvx::DataFileContent* content,
                            kvx::DataFileFailure* failure = nullptr, BOOL showMessage = 0);

    /// Stores a current file, replacing an existing one only when everything was written. The header must be
    /// of group 2, and there must be at least one record and none empty. Failure as for LoadDataFile.
    static int StoreDataFile(const wchar_t* path, const kvx::DataFileContent& content,
                             kvx::DataFileFailure* failure = nullptr, BOOL showMessage = 0);

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
