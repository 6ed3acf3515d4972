// SPDX-License-Identifier: MIT
//
// The one exception of the interface: archives throw it by value when a read is short or the host refuses.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>

/// Why a file operation failed: a cause, the host's own error number and the file's name (empty when
/// unknown).
class KVX_API CFileException : public std::exception {
public:
    /// The numbers are part of the interface: CComFileErr selects its message by them.
    enum Cause {
        none = 0,
        genericException = 1,
        fileNotFound = 2,
        badPath = 3,
        tooManyOpenFiles = 4,
        accessDenied = 5,
        invalidFile = 6,
        removeCurrentDir = 7,
        directoryFull = 8,
        badSeek = 9,
        hardIO = 10,
        sharingViolation = 11,
        lockViolation = 12,
        diskFull = 13,
        endOfFile = 14,
    };

    explicit CFileException(int cause = none, std::int32_t osError = -1, std::wstring_view fileName = {});

    /// The exception for the host's error number `osError` (errno on POSIX).
    static CFileException FromHostError(int osError, std::wstring_view fileName);

    /// English text of the cause and the file's name, UTF-8; for logs and the tool.
    const char* what() const noexcept override;

    int m_cause;
    std::int32_t m_lOsError;  ///< the host's error number; -1 where there is none
    CString m_strFileName;

private:
    std::string what_;
};
