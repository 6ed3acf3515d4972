// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/FileException.h>

#include <array>
#include <cerrno>

namespace {

// By cause, 0 to 14.
constexpr std::array<const char*, 15> kCauseTexts = {
    "no error",
    "the file operation failed",
    "the file does not exist",
    "the path is not valid",
    "too many files are open",
    "access is denied",
    "the file handle is not valid",
    "the current folder cannot be removed",
    "the folder is full",
    "the file position could not be set",
    "the device reported an error",
    "the file is in use by another program",
    "a part of the file is locked",
    "the disk is full",
    "the file ends too early",
};

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
    const bool known = cause >= 0 && static_cast<std::size_t>(cause) < kCauseTexts.size();
    what_ = kCauseTexts[known ? static_cast<std::size_t>(cause) : static_cast<std::size_t>(genericException)];
    if (!m_strFileName.empty()) what_ += ": '" + kvx::ToUtf8(m_strFileName) + "'";
}

CFileException CFileException::FromHostError(int osError, std::wstring_view fileName) {
    return CFileException(CauseOfHostError(osError), osError, fileName);
}

const char* CFileException::what() const noexcept {
    return what_.c_str();
}
