// SPDX-License-Identifier: MIT
//
// Host files as byte streams. Reading shares the file with everybody; writing goes to a temporary neighbour
// that replaces the target only on Commit, so that a crash or a full disk leaves the old file whole.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/DateTime.h>

namespace kvx {

/// A file open for reading. Constructors and reads throw CFileException (a folder counts as access denied).
class KVX_API InputFile : public ByteStream {
public:
    explicit InputFile(std::wstring_view path);
    ~InputFile() override;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    std::size_t Read(void* data, std::size_t size) override;
    std::size_t ReadOn(void* data, std::size_t size, void* ahead, std::size_t aheadSize) override;
    /// Always throws: the file is open for reading only.
    void Write(const void* data, std::size_t size) override;
    std::uint64_t Remaining() const override;
    /// The next Read begins at this byte; there is nothing to read beyond the end. Throws for a source that
    /// is no regular file.
    void Seek(std::uint64_t position) override;

private:
    std::wstring path_;
    int handle_;
    std::uint64_t size_;
    std::uint64_t position_ = 0;
};

/// A file being written. Without Commit the target keeps its old content and the temporary file disappears.
/// A device, a pipe and a file that has no name any more cannot be replaced and are written in place.
class KVX_API OutputFile : public ByteStream {
public:
    explicit OutputFile(std::wstring_view path);
    ~OutputFile() override;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Always delivers nothing: the file is open for writing only.
    std::size_t Read(void* data, std::size_t size) override;
    void Write(const void* data, std::size_t size) override;
    std::uint64_t Remaining() const override;
    /// The next Write begins at this byte; what is never written before the end reads as zeros. Throws for a
    /// pipe.
    void Seek(std::uint64_t position) override;
    /// Has the host set a large file's place on the disk aside, which makes writing it faster; a host that
    /// cannot is not an error.
    void Expect(std::uint64_t size) override;

    /// Flushes to the disk and puts the new file in the target's place; keeps an existing target's
    /// permissions.
    void Commit();

private:
    void Discard() noexcept;
    void ForgetTemporary() noexcept;

    std::wstring path_;
    std::string targetPath_;
    std::string temporaryPath_;
    int handle_;
    bool hasSetAside_ = false;
};

/// Removes the temporary files of every OutputFile that was not committed; their objects are then of no use.
/// For the handler of a signal that ends the program: it is safe there, and knows up to 64 files.
KVX_API void RemoveUnfinishedFiles() noexcept;

/// Copies a file, replacing an existing target. False when the host refuses any of it; then the target is as
/// it was.
KVX_API bool CopyFile(std::wstring_view from, std::wstring_view to);

/// When a file or folder was last changed, in local time; invalid when the host does not tell.
KVX_API COleDateTime FileTime(std::wstring_view path);

}  // namespace kvx
