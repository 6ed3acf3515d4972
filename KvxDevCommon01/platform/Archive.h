// SPDX-License-Identifier: MIT
//
// CArchive: the binary stream into which every container and record serialises itself. It loads or stores, is
// little-endian by construction, gathers small pieces in a buffer and passes large blocks straight through.
// Loading throws CFileException with cause endOfFile (host error -1) as soon as the source holds less than
// was asked for; storing throws when the target refuses. One archive belongs to one thread at a time.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// What an archive holds as plain numbers of a fixed width; truth values are stored as 32-bit integers
/// instead.
template <typename T>
concept ArchiveNumber = std::is_arithmetic_v<T> && !std::same_as<T, bool>;

}  // namespace kvx

class KVX_API CArchive {
public:
    enum Mode { store = 0, load = 1 };

    /// The archive does not own `stream`, which must outlive it. Its buffer grows as far as the stream gains
    /// by it.
    CArchive(kvx::ByteStream& stream, Mode mode);
    /// The same with a buffer of `bufferSize` bytes; larger blocks pass it by.
    CArchive(kvx::ByteStream& stream, Mode mode, std::size_t bufferSize);
    /// Drops what a storing archive has not flushed: call Flush, which can report a failure.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    int IsLoading() const { return mode_ == load; }
    int IsStoring() const { return mode_ == store; }

    /// Reads up to `size` bytes and returns how many came; fewer only at the end of the source.
    std::size_t Read(void* data, std::size_t size);
    /// Copies the next bytes, which are read again: as many as `bytes` and the archive's buffer have room
    /// for, fewer only at the end of the source. Returns how many came.
    std::size_t Peek(std::span<std::byte> bytes);
    /// Reads exactly `size` bytes or throws the end-of-file exception.
    void ReadExact(void* data, std::size_t size);
    void Write(const void* data, std::size_t size);
    /// Hands everything stored so far to the stream.
    void Flush();
    /// Says that about `size` bytes will be stored from here on.
    void Expect(std::uint64_t size);

    /// Number of bytes that can still be loaded.
    std::uint64_t Remaining() const;
    /// Throws the end-of-file exception unless `count` items of at least `itemSize` (> 0) bytes can still be
    /// loaded; called before storage is sized from a count that a file states. A negative count passes.
    void RequireRemaining(std::int64_t count, std::size_t itemSize) const;

    /// One little-endian number of the value's own width. A short read leaves `value` as it was.
    template <kvx::ArchiveNumber Number>
    CArchive& operator<<(Number value) {
        WriteNumbers(&value, 1);
        return *this;
    }
    template <kvx::ArchiveNumber Number>
    CArchive& operator>>(Number& value) {
        Number loaded;
        ReadNumbers(&loaded, 1);
        value = loaded;
        return *this;
    }

    /// `count` little-endian numbers.
    template <kvx::ArchiveNumber Number>
    void WriteNumbers(const Number* values, std::size_t count) {
        WriteLittleEndian(values, sizeof(Number), count);
    }
    /// `count` little-endian numbers, or the end-of-file exception.
    template <kvx::ArchiveNumber Number>
    void ReadNumbers(Number* values, std::size_t count) {
        ReadLittleEndian(values, sizeof(Number), count);
    }

    /// A string: the wide marker FF FE FF, the length in code units (8 bits, or FF and 16 bits, or FF FFFF
    /// and 32 bits), then UTF-16LE units. A string without the marker is read as bytes of the system's code
    /// page; what is no character of it is replaced.
    CArchive& operator<<(const CString& text);
    CArchive& operator>>(CString& text);

    /// A string array: the count (16 bits, or FFFF and 32 bits), then each string.
    CArchive& operator<<(const CStringArray& texts);
    CArchive& operator>>(CStringArray& texts);
    /// A string array, of which only the first `most` strings are kept.
    CStringArray ReadStrings(std::uint64_t most);

private:
    void WriteLittleEndian(const void* values, std::size_t width, std::size_t count);
    void ReadLittleEndian(void* values, std::size_t width, std::size_t count);
    /// Makes the buffer at least `size` bytes; what it holds stays.
    KVX_NO_API void Widen(std::size_t size);

    kvx::ByteStream& stream_;
    Mode mode_;
    std::size_t most_;      // to which the buffer may grow
    std::size_t direct_;    // blocks of so many bytes pass by the buffer
    std::size_t ahead_;     // loading: how many bytes to read ahead next
    std::size_t size_ = 0;  // of the buffer
    std::unique_ptr<std::byte[]> buffer_;
    std::size_t begin_ = 0;  // loading: first byte of the buffer not yet delivered
    std::size_t end_ = 0;    // loading: end of the valid bytes; storing: number of bytes waiting
};
