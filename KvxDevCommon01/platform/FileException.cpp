// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/FileException.h>

#include <array>
#include <cerrno>
#include <cstring>

#include <KvxDevCommon01/platform/detail/Causes.h>

namespace {

using kvx::ErrorKind;

struct CauseRow {
    int cause;
    ErrorKind kind;
    const char* sentence;
};

// clang-format off
constexpr std::array kCauses = {
    CauseRow{CFileException::none,             ErrorKind::kHost,     "no error"},
    CauseRow{CFileException::genericException, ErrorKind::kHost,     "the file operation failed"},
    CauseRow{CFileException::fileNotFound,     ErrorKind::kNotFound, "the file does not exist"},
    CauseRow{CFileException::badPath,          ErrorKind::kNotFound, "the path is not valid"},
    CauseRow{CFileException::tooManyOpenFiles, ErrorKind::kHost,     "too many files are open"},
    CauseRow{CFileException::accessDenied,     ErrorKind::kDenied,   "access is denied"},
    CauseRow{CFileException::invalidFile,      ErrorKind::kHost,     "the file handle is not valid"},
    CauseRow{CFileException::removeCurrentDir, ErrorKind::kDenied,   "the current folder cannot be removed"},
    CauseRow{CFileException::directoryFull,    ErrorKind::kDiskFull, "the folder is full"},
    CauseRow{CFileException::badSeek,          ErrorKind::kHost,     "the file position could not be set"},
    CauseRow{CFileException::hardIO,           ErrorKind::kHost,     "the device reported an error"},
    CauseRow{CFileException::sharingViolation, ErrorKind::kDenied,   "the file is in use by another program"},
    CauseRow{CFileException::lockViolation,    ErrorKind::kDenied,   "a part of the file is locked"},
    CauseRow{CFileException::diskFull,         ErrorKind::kDiskFull, "the disk is full"},
    CauseRow{CFileException::endOfFile,        ErrorKind::kDamaged,  "the file ends too early"},
};
// clang-format on

constexpr bool IsByCause() {
    for (std::size_t i = 0; i < kCauses.size(); ++i) {
        if (kCauses[i].cause != static_cast<int>(i)) return false;
    }
    return true;
}
static_assert(IsByCause());

const CauseRow& RowOf(int cause) {
    const bool isKnown = cause >= 0 && static_cast<std::size_t>(cause) < kCauses.size();
    return kCauses[static_cast<std::size_t>(isKnown ? cause : CFileException::genericException)];
}

int CauseOfHostError(int osError) {
    switch (osError) {
        case 0:
            return CFileException::none;
        case ENOENT:
            return CFileException::fileNotFound;
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP:
        case EINVAL:
            return CFileException::badPath;
        case EMFILE:
        case ENFILE:
            return CFileException::tooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
            return CFileException::accessDenied;
        case EBADF:
            return CFileException::invalidFile;
        case ESPIPE:
            return CFileException::badSeek;
        case EIO:
        case ENXIO:
        case ENODEV:
            return CFileException::hardIO;
        case EBUSY:
        case ETXTBSY:
            return CFileException::sharingViolation;
        case EAGAIN:
            return CFileException::lockViolation;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return CFileException::diskFull;
        default:
            return CFileException::genericException;
    }
}

}  // namespace

CFileException::CFileException(int cause, std::int32_t osError, std::wstring_view fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {
    what_ = RowOf(cause).sentence;
    if (!m_strFileName.empty()) what_ += ": '" + kvx::ToUtf8(m_strFileName) + "'";
}

CFileException CFileException::FromHostError(int osError, std::wstring_view fileName) {
    return CFileException(CauseOfHostError(osError), osError, fileName);
}

const char* CFileException::what() const noexcept {
    return what_.c_str();
}

namespace kvx {

ErrorKind KindOfCause(int cause) {
    return RowOf(cause).kind;
}

std::string SentenceOf(const CFileException& error) {
    if (error.m_lOsError == EISDIR) return "it is a folder";
    if (error.m_cause == CFileException::badPath && error.m_lOsError == ENOENT) {
        return "its folder does not exist";
    }
    if (error.m_cause == CFileException::accessDenied && error.m_lOsError == ENOENT) {
        return "its folder takes no new files";
    }
    if (error.m_cause == CFileException::fileNotFound && error.m_lOsError == -1) {
        return "this host has no such path";
    }
    if (error.m_cause == CFileException::genericException && error.m_lOsError > 0) {
        return std::strerror(error.m_lOsError);
    }
    return RowOf(error.m_cause).sentence;
}

}  // namespace kvx
