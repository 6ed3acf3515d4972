// SPDX-License-Identifier: MIT
//
// A stretch of a file from its start on, as its bytes are stored or inflated on the way. Many cursors share
// one file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

/// The bytes from `begin` to before `end` of a stream that can be moved.
struct ByteStretch {
    std::shared_ptr<ByteStream> stream;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    std::uint64_t Size() const { return end - begin; }
};

class ByteCursor {
public:
    virtual ~ByteCursor() = default;
    ByteCursor& operator=(const ByteCursor&) = delete;

    /// Fills `bytes` with the next ones. Throws Error (kDamaged) when there are fewer.
    virtual void Read(std::span<std::byte> bytes) = 0;
    /// Passes over the next `count` bytes; those that are inflated are so one by one.
    virtual void Skip(std::uint64_t count) = 0;
    /// Passes over the rest and throws Error (kDamaged) when the check sum, where all bytes went into one, is
    /// not that of the file.
    virtual void Finish() = 0;
    /// Another cursor that stands where this one does.
    virtual std::unique_ptr<ByteCursor> Clone() const = 0;
    /// The most bytes that it can deliver.
    virtual std::uint64_t Most() const = 0;
    /// The memory that one more cursor takes, beyond a few words.
    virtual std::size_t Memory() const = 0;

protected:
    ByteCursor() = default;
    ByteCursor(const ByteCursor&) = default;
};

/// How the bytes of a stretch are packed.
enum class Packing {
    stored,    ///< not at all
    zlib,      ///< deflated, with the header and the check sum of zlib
    deflated,  ///< deflated, and nothing around it
};

/// A cursor at the start of a stretch. With `crc` it checks the bytes that come out against that sum, as long
/// as none is passed over. Throws Error.
std::unique_ptr<ByteCursor> OpenBytes(const ByteStretch& stretch, Packing packing,
                                      std::optional<std::uint32_t> crc = std::nullopt);

}  // namespace kvx
