// SPDX-License-Identifier: MIT
//
// Where an archive's bytes come from and go to: the seam under CArchive, with a memory block as its simplest
// form (files are in File.h). One stream belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <KvxDevCommon01/Export.h>

namespace kvx {

class KVX_API ByteStream {
public:
    virtual ~ByteStream();

    /// Reads up to `size` bytes; fewer only at the end. Throws CFileException when the host refuses.
    virtual std::size_t Read(void* data, std::size_t size) = 0;

    /// Reads as Read does and, in the same transfer, up to `aheadSize` of the bytes behind, which the caller
    /// is about to want. Returns how many came of all. A stream that gains nothing by that reads none ahead,
    /// as every one that does not say otherwise.
    virtual std::size_t ReadOn(void* data, std::size_t size, void* ahead, std::size_t aheadSize);

    /// Writes `size` bytes or throws CFileException.
    virtual void Write(const void* data, std::size_t size) = 0;

    /// Number of bytes that Read can still deliver; the largest number for a source without an end (a pipe).
    virtual std::uint64_t Remaining() const = 0;

    /// The next Read or Write begins at this byte of the stream, counted from its start. Throws
    /// CFileException for a stream that cannot be moved, which is every one that does not say otherwise.
    virtual void Seek(std::uint64_t position);

    /// Says that about `size` bytes will be written from here on, so that room for them can be made at once.
    /// A stream that gains nothing by that does nothing, as every one that does not say otherwise.
    virtual void Expect(std::uint64_t size);

    /// How many bytes of small pieces are worth being gathered for one Read or Write.
    virtual std::size_t GatheredSize() const;

protected:
    ByteStream() = default;
    ByteStream(const ByteStream&) = default;
    ByteStream& operator=(const ByteStream&) = default;
};

/// A growing block of memory: what was written can be read from the start. Seek moves both reading and
/// writing; what is never written before the end reads as zeros.
class KVX_API MemoryStream : public ByteStream {
public:
    MemoryStream() = default;
    /// A stream that delivers a copy of `bytes`.
    explicit MemoryStream(std::span<const std::byte> bytes);
    ~MemoryStream() override;
    MemoryStream(const MemoryStream& other);
    /// Leaves `other` empty.
    MemoryStream(MemoryStream&& other) noexcept;
    MemoryStream& operator=(MemoryStream other) noexcept;

    std::size_t Read(void* data, std::size_t size) override;
    void Write(const void* data, std::size_t size) override;
    std::uint64_t Remaining() const override;
    void Seek(std::uint64_t position) override;
    void Expect(std::uint64_t size) override;
    std::size_t GatheredSize() const override;

    /// Everything written or given so far, read or not.
    std::span<const std::byte> Bytes() const { return {bytes_, size_}; }

private:
    KVX_NO_API bool Reserve(std::size_t room);
    KVX_NO_API void Swap(MemoryStream& other) noexcept;

    std::byte* bytes_ = nullptr;  // room for room_ bytes, of which size_ are used
    std::size_t size_ = 0;
    std::size_t room_ = 0;
    std::size_t readPosition_ = 0;
    std::size_t writePosition_ = 0;
};

}  // namespace kvx
