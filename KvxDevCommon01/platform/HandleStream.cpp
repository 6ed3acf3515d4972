// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/HandleStream.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx {

HandleStream::HandleStream(int handle, std::wstring name) : handle_(handle), name_(std::move(name)) {}

std::size_t HandleStream::Read(void* data, std::size_t size) {
    ssize_t count = 0;
    do {
        count = ::read(handle_, data, size);
    } while (count < 0 && errno == EINTR);
    if (count < 0) throw CFileException::FromHostError(errno, name_);
    return static_cast<std::size_t>(count);
}

void HandleStream::Write(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = ::write(handle_, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw CFileException::FromHostError(errno, name_);
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

std::uint64_t HandleStream::Remaining() const {
    return 0;
}

std::string HandlePath(int handle) {
    return "/dev/fd/" + std::to_string(handle);
}

bool ReadsAgain(int handle, const std::wstring& name) {
    struct stat status = {};
    if (::fstat(handle, &status) != 0) throw CFileException::FromHostError(errno, name);
    return S_ISREG(status.st_mode) && ::lseek(handle, 0, SEEK_CUR) == 0;
}

std::string TemporaryFolder() {
    const char* const named = std::getenv("TMPDIR");
    return named != nullptr && *named != '\0' ? named : "/tmp";
}

UnnamedFile::UnnamedFile() {
    const std::string folder = TemporaryFolder();
    int made = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (made < 0) {
        // Not every file system has files that never had a name.
        std::string name = folder + "/kvx-XXXXXX";
        made = ::mkostemp(name.data(), O_CLOEXEC);
        if (made >= 0) ::unlink(name.c_str());
    }
    // A standard stream that is closed stays so: its number must not become that of the file.
    handle_ = made < 0 ? made : ::fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    if (made >= 0) ::close(made);
    if (handle_ < 0) throw CFileException::FromHostError(error, FromUtf8(folder).value_or(L""));
}

UnnamedFile::~UnnamedFile() {
    ::close(handle_);
}

HandleStream UnnamedFile::Stream() const {
    return {handle_, L"a temporary file"};
}

void CopyRest(ByteStream& from, ByteStream& to) {
    std::vector<char> piece(std::size_t{1} << 16);
    while (const std::size_t count = from.Read(piece.data(), piece.size())) to.Write(piece.data(), count);
}

}  // namespace kvx
