// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/File.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <optional>
#include <utility>

#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/HandleStream.h>
#include <KvxDevCommon01/platform/Path.h>

namespace kvx {
namespace {

constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kFarthest = std::numeric_limits<off_t>::max();
// The host may cut larger requests short anyway.
constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;

std::string HostPathOrThrow(std::wstring_view path) {
    if (std::optional<std::string> host = HostPath(path)) return *std::move(host);
    throw CFileException(path.empty() ? CFileException::badPath : CFileException::fileNotFound, -1, path);
}

/// What a symbolic link finally names, so that the link survives the replacement of the file behind it.
std::string ResolveLinks(const std::string& path) {
    if (char* resolved = ::realpath(path.c_str(), nullptr)) {
        std::string result = resolved;
        std::free(resolved);
        return result;
    }
    return path;
}

/// A path up to the first bytes of its file name, which is not cut within a character: a name made of them
/// has room for more on every file system that can hold the whole name.
std::string ShortenedName(const std::string& path) {
    constexpr std::size_t kKept = 64;
    const std::size_t name = path.find_last_of('/') + 1;  // npos + 1 is 0
    if (path.size() - name <= kKept) return path;
    std::size_t end = name + kKept;
    const auto isInsideCharacter = [&] { return (static_cast<unsigned char>(path[end]) & 0xC0) == 0x80; };
    while (end > name && isInsideCharacter()) --end;
    return path.substr(0, end);
}

/// Creates a file that did not exist beside `target`, stores its name in `*name` and returns its handle, or
/// -1 with errno set.
int CreateNeighbour(const std::string& target, std::string* name) {
    static std::atomic<unsigned int> serial = 0;
    const std::string stem = ShortenedName(target) + "." + std::to_string(::getpid()) + "-";
    for (;;) {
        *name = stem + std::to_string(++serial) + ".tmp";
        const int handle = ::open(name->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (handle >= 0 || errno != EEXIST) return handle;
    }
}

/// Makes the renaming of a file durable; a folder that cannot be opened for that is not an error.
void SyncFolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int handle = ::open(folder.c_str(), O_RDONLY | O_CLOEXEC | O_DIRECTORY);
    if (handle < 0) return;
    ::fsync(handle);
    ::close(handle);
}

// ---- the temporary files of this process ----

/// Names of temporary files that exist, for a handler of signals to remove.
std::array<std::atomic<const char*>, 64> unfinishedFiles;
static_assert(std::atomic<const char*>::is_always_lock_free);

/// Notes a name, which must stay where it is, or forgets it; without a free place it is not noted.
void ExchangeUnfinished(const char* from, const char* to) {
    for (std::atomic<const char*>& place : unfinishedFiles) {
        const char* expected = from;
        if (place.compare_exchange_strong(expected, to)) return;
    }
}

/// Keeps signals from this thread while it exists.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before_;
};

void MoveTo(int handle, std::uint64_t position, const std::wstring& path) {
    if (position > static_cast<std::uint64_t>(kFarthest))
        throw CFileException(CFileException::badSeek, EINVAL, path);
    if (::lseek(handle, static_cast<off_t>(position), SEEK_SET) < 0)
        throw CFileException::FromHostError(errno, path);
}

}  // namespace

InputFile::InputFile(std::wstring_view path) : path_(path) {
    const std::string host = HostPathOrThrow(path);
    handle_ = ::open(host.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle_ < 0) throw CFileException::FromHostError(errno, path);
    struct stat status = {};
    int error = ::fstat(handle_, &status) == 0 ? 0 : errno;
    if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
    if (error != 0) {
        ::close(handle_);
        throw CFileException::FromHostError(error, path);
    }
    size_ = S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : kEndless;
}

InputFile::~InputFile() {
    ::close(handle_);
}

std::size_t InputFile::Read(void* data, std::size_t size) {
    auto* target = static_cast<char*>(data);
    std::size_t done = 0;
    while (done < size) {
        const std::size_t wanted = std::min(size - done, kLargestTransfer);
        const ssize_t count = size_ == kEndless
                                  ? ::read(handle_, target + done, wanted)
                                  : ::pread(handle_, target + done, wanted, static_cast<off_t>(position_));
        if (count == 0) break;
        if (count < 0) {
            if (errno == EINTR) continue;
            throw CFileException::FromHostError(errno, path_);
        }
        done += static_cast<std::size_t>(count);
        position_ += static_cast<std::uint64_t>(count);
    }
    return done;
}

std::size_t InputFile::ReadOn(void* data, std::size_t size, void* ahead, std::size_t aheadSize) {
    // What comes through a pipe is waited for, so that none is asked for before it is wanted.
    if (size_ == kEndless) return Read(data, size);
    const std::array<iovec, 2> places = {iovec{data, size}, iovec{ahead, aheadSize}};
    const ssize_t count = ::preadv(handle_, places.data(), std::ssize(places), static_cast<off_t>(position_));
    if (count <= 0) return Read(data, size);
    const auto came = static_cast<std::size_t>(count);
    position_ += came;
    return came >= size ? came : came + Read(static_cast<char*>(data) + came, size - came);
}

void InputFile::Write(const void*, std::size_t) {
    throw CFileException(CFileException::accessDenied, -1, path_);
}

std::uint64_t InputFile::Remaining() const {
    if (size_ == kEndless) return kEndless;
    return size_ > position_ ? size_ - position_ : 0;
}

void InputFile::Seek(std::uint64_t position) {
    if (size_ == kEndless || position > kFarthest) MoveTo(handle_, position, path_);
    position_ = position;
}

OutputFile::OutputFile(std::wstring_view path)
    : path_(path), targetPath_(ResolveLinks(HostPathOrThrow(path))) {
    struct stat status = {};
    const bool exists = ::stat(targetPath_.c_str(), &status) == 0;
    // The temporary neighbour could have a name although the target cannot.
    if (!exists && errno == ENAMETOOLONG) throw CFileException::FromHostError(errno, path);
    if (exists && S_ISDIR(status.st_mode)) throw CFileException::FromHostError(EISDIR, path);
    if (exists && (!S_ISREG(status.st_mode) || status.st_nlink == 0)) {
        // A file renamed over a device or pipe would replace it; one without a name has nothing to rename
        // over.
        handle_ = ::open(targetPath_.c_str(), O_WRONLY | O_CLOEXEC);
        if (handle_ < 0) throw CFileException::FromHostError(errno, path);
        return;
    }
    if (exists && ::access(targetPath_.c_str(), W_OK) != 0) throw CFileException::FromHostError(errno, path);
    {
        const SignalsHeld held;
        handle_ = CreateNeighbour(targetPath_, &temporaryPath_);
        if (handle_ >= 0) ExchangeUnfinished(nullptr, temporaryPath_.c_str());
    }
    if (handle_ < 0) {
        // What is missing when a new file cannot be created is its folder, but for one of the host that is
        // there and takes none.
        if (errno == ENOENT) {
            const std::size_t slash = targetPath_.rfind('/');
            const std::string parent = slash == std::string::npos ? "." : targetPath_.substr(0, slash + 1);
            const bool isThere = ::access(parent.c_str(), F_OK) == 0;
            throw CFileException(isThere ? CFileException::accessDenied : CFileException::badPath, ENOENT,
                                 path);
        }
        throw CFileException::FromHostError(errno, path);
    }
    if (exists) ::fchmod(handle_, status.st_mode & static_cast<mode_t>(07777));
}

OutputFile::~OutputFile() {
    Discard();
}

std::size_t OutputFile::Read(void*, std::size_t) {
    return 0;
}

void OutputFile::Write(const void* data, std::size_t size) {
    const auto* source = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = ::write(handle_, source, std::min(size, kLargestTransfer));
        if (count < 0) {
            if (errno == EINTR) continue;
            throw CFileException::FromHostError(errno, path_);
        }
        source += count;
        size -= static_cast<std::size_t>(count);
    }
}

std::uint64_t OutputFile::Remaining() const {
    return 0;
}

void OutputFile::Seek(std::uint64_t position) {
    MoveTo(handle_, position, path_);
}

void OutputFile::Expect(std::uint64_t size) {
#if defined(__linux__)
    constexpr std::uint64_t kLarge = std::uint64_t{1} << 24;  // smaller ones gain nothing
    const off_t position = ::lseek(handle_, 0, SEEK_CUR);
    if (size < kLarge || position < 0 || size > kFarthest - static_cast<std::uint64_t>(position)) return;
    const int result = ::fallocate(handle_, FALLOC_FL_KEEP_SIZE, position, static_cast<off_t>(size));
    // Where the space ends a part of it may have been set aside.
    if (result == 0 || errno == ENOSPC || errno == EINTR) hasSetAside_ = true;
#else
    static_cast<void>(size);
#endif
}

void OutputFile::Commit() {
    if (handle_ < 0) return;
    struct stat status = {};
    // What was set aside behind the end goes back.
    if (hasSetAside_ && (::fstat(handle_, &status) != 0 || ::ftruncate(handle_, status.st_size) != 0))
        throw CFileException::FromHostError(errno, path_);
    // A device has nothing to flush and says so with EINVAL or ENOTSUP.
    if (::fsync(handle_) != 0 && errno != EINVAL && errno != ENOTSUP) {
        throw CFileException::FromHostError(errno, path_);
    }
    const int handle = std::exchange(handle_, -1);
    if (::close(handle) != 0) {
        const int error = errno;
        Discard();
        throw CFileException::FromHostError(error, path_);
    }
    if (temporaryPath_.empty()) return;
    if (std::rename(temporaryPath_.c_str(), targetPath_.c_str()) != 0) {
        const int error = errno;
        Discard();
        throw CFileException::FromHostError(error, path_);
    }
    ForgetTemporary();
    SyncFolderOf(targetPath_);
}

void OutputFile::Discard() noexcept {
    if (handle_ >= 0) ::close(std::exchange(handle_, -1));
    if (!temporaryPath_.empty()) ::unlink(temporaryPath_.c_str());
    ForgetTemporary();
}

void OutputFile::ForgetTemporary() noexcept {
    ExchangeUnfinished(temporaryPath_.c_str(), nullptr);
    temporaryPath_.clear();
}

void RemoveUnfinishedFiles() noexcept {
    for (const std::atomic<const char*>& place : unfinishedFiles)
        if (const char* const path = place.load()) ::unlink(path);
}

bool CopyFile(std::wstring_view from, std::wstring_view to) {
    try {
        InputFile source(from);
        OutputFile target(to);
        CopyRest(source, target);
        target.Commit();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

COleDateTime FileTime(std::wstring_view path) {
    struct stat status = {};
    const std::optional<std::string> hostPath = HostPath(path);
    if (hostPath && ::stat(hostPath->c_str(), &status) == 0) {
        return COleDateTime::FromHostTime(status.st_mtim.tv_sec);
    }
    COleDateTime unknown;
    unknown.SetStatus(COleDateTime::invalid);
    return unknown;
}

}  // namespace kvx
