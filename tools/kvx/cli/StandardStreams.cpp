// SPDX-License-Identifier: MIT
#include "cli/StandardStreams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <KvxDevCommon01/platform/FileException.h>

#include "cli/Failure.h"
#include "cli/Format.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;

/// The bytes of a handle from where it stands on, without closing it.
class HandleStream : public ByteStream {
public:
    HandleStream(int handle, const wchar_t* name) : handle_(handle), name_(name) {}

    std::size_t Read(void* data, std::size_t size) override {
        ssize_t count = 0;
        do {
            count = ::read(handle_, data, size);
        } while (count < 0 && errno == EINTR);
        if (count < 0) throw CFileException::FromHostError(errno, name_);
        return static_cast<std::size_t>(count);
    }
    void Write(const void* data, std::size_t size) override {
        const auto* bytes = static_cast<const char*>(data);
        while (size > 0) {
            const ssize_t count = ::write(handle_, bytes, size);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) throw CFileException::FromHostError(errno, name_);
            bytes += count;
            size -= static_cast<std::size_t>(count);
        }
    }
    std::uint64_t Remaining() const override { return 0; }

private:
    int handle_;
    const wchar_t* name_;
};

void CopyRest(ByteStream& from, ByteStream& to) {
    std::vector<char> piece(kPiece);
    while (const std::size_t count = from.Read(piece.data(), piece.size())) to.Write(piece.data(), count);
}

std::string HandlePath(int handle) {
    return "/dev/fd/" + std::to_string(handle);
}

}  // namespace

class UnnamedFile {
public:
    UnnamedFile() {
        const char* const named = std::getenv("TMPDIR");
        const std::string folder = named != nullptr && *named != '\0' ? named : "/tmp";
        int made = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (made < 0) {
            // Not every file system has files that never had a name.
            std::string name = folder + "/kvx-XXXXXX";
            made = ::mkostemp(name.data(), O_CLOEXEC);
            if (made >= 0) ::unlink(name.c_str());
        }
        // A standard stream that is closed stays so: its number must not become that of the file.
        handle_ = made < 0 ? made : ::fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (made >= 0) ::close(made);
        if (handle_ < 0)
            throw Error(ErrorKind::kBadValue, "no temporary file can be made in " + Quote(folder));
    }
    ~UnnamedFile() { ::close(handle_); }
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    std::string Path() const { return HandlePath(handle_); }
    HandleStream Stream() const { return {handle_, L"a temporary file"}; }

private:
    int handle_;
};

namespace {

/// Whether standard input can be opened a second time and then reads alike.
bool IsWholeFile() {
    struct stat status = {};
    if (::fstat(STDIN_FILENO, &status) != 0) throw CFileException::FromHostError(errno, L"standard input");
    return S_ISREG(status.st_mode) && ::lseek(STDIN_FILENO, 0, SEEK_CUR) == 0;
}

std::unique_ptr<UnnamedFile> KeepInput() {
    auto kept = std::make_unique<UnnamedFile>();
    HandleStream input(STDIN_FILENO, L"standard input");
    HandleStream file = kept->Stream();
    CopyRest(input, file);
    return kept;
}

/// A name as a report shows it; the bytes of a name may be anything.
std::string NameOf(const std::string& name, const char* stream) {
    return IsStandardStream(name) ? stream : Printable(name);
}

}  // namespace

bool IsStandardStream(std::string_view name) {
    return name == "-";
}

std::string InputName(const std::string& input) {
    return NameOf(input, "standard input");
}

std::string OutputName(const std::string& output) {
    return NameOf(output, "standard output");
}

std::string SourceText(const std::string& input) {
    return IsStandardStream(input) ? InputName(input) : input;
}

std::string InputPath(const std::string& input) {
    if (!IsStandardStream(input)) return input;
    static const std::unique_ptr<UnnamedFile> kept = IsWholeFile() ? nullptr : KeepInput();
    return kept ? kept->Path() : HandlePath(STDIN_FILENO);
}

ByteStream& StandardOutput() {
    static HandleStream stream(STDOUT_FILENO, L"standard output");
    return stream;
}

ByteStream& StandardError() {
    static HandleStream stream(STDERR_FILENO, L"standard error");
    return stream;
}

ByteStream& ReportStream(const std::string& output, ByteStream& report) {
    return IsStandardStream(output) ? StandardError() : report;
}

OutputTarget::OutputTarget(const std::string& output) : path_(output) {
    if (!IsStandardStream(output)) return;
    unnamed_ = std::make_unique<UnnamedFile>();
    path_ = unnamed_->Path();
}

OutputTarget::~OutputTarget() = default;

void OutputTarget::Deliver() {
    if (!unnamed_) return;
    HandleStream file = unnamed_->Stream();
    CopyRest(file, StandardOutput());
}

}  // namespace kvx::tool
