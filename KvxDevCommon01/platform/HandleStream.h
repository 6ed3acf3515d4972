// SPDX-License-Identifier: MIT
//
// Streams of what is open already or has no name: a program's standard streams, and temporary files that
// disappear with the program however that ends. One object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

/// The bytes of an open handle from where it stands on; the handle stays open. Nothing is kept back: after
/// the last Write nothing can fail any more. Operations throw CFileException with the given name.
class KVX_API HandleStream : public ByteStream {
public:
    HandleStream(int handle, std::wstring name);

    /// Reads what there is, at most `size` bytes and at least one before the end.
    std::size_t Read(void* data, std::size_t size) override;
    void Write(const void* data, std::size_t size) override;
    /// 0: a pipe does not tell.
    std::uint64_t Remaining() const override;

private:
    int handle_;
    std::wstring name_;
};

/// The path at which the file of an open handle can be opened again.
KVX_API std::string HandlePath(int handle);

/// Whether what is opened again at the path of the handle reads like the handle: a regular file at its start.
/// Throws CFileException, with the given name, for a handle that is not open.
KVX_API bool ReadsAgain(int handle, const std::wstring& name);

/// The folder for temporary files: that of the environment variable TMPDIR, else "/tmp".
KVX_API std::string TemporaryFolder();

/// An empty file without a name in that folder.
class KVX_API UnnamedFile {
public:
    /// Throws CFileException with the folder's name.
    UnnamedFile();
    ~UnnamedFile();
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    /// The path at which it can be opened, as long as the object exists.
    std::string Path() const { return HandlePath(handle_); }
    /// Its bytes; all streams of it stand at one place.
    HandleStream Stream() const;

private:
    int handle_;
};

/// Writes to `to` what `from` still delivers. Throws CFileException.
KVX_API void CopyRest(ByteStream& from, ByteStream& to);

}  // namespace kvx
