// SPDX-License-Identifier: MIT
//
// The bytes of a TDMS file by position, and the numbers in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/detail/ByteOrder.h>

namespace kvx {

/// The data types of properties and raw data, by their numbers in a file.
enum class TdmsType : std::uint32_t {
    none = 0,
    int8 = 1,
    int16 = 2,
    int32 = 3,
    int64 = 4,
    uint8 = 5,
    uint16 = 6,
    uint32 = 7,
    uint64 = 8,
    single = 9,
    real = 10,
    singleWithUnit = 0x19,
    realWithUnit = 0x1A,
    text = 0x20,
    boolean = 0x21,
    time = 0x44,
    complexSingle = 0x08000C,
    complexReal = 0x10000D,
    converter = 0xFFFFFFFF,  ///< codes of a converter, each of a type of its own
};

/// The bytes of a value; 0 for text, for codes of a converter and for a type that is not known.
std::size_t SizeOf(TdmsType type);

inline bool IsComplex(TdmsType type) {
    return type == TdmsType::complexSingle || type == TdmsType::complexReal;
}

/// Values that stand `stride` bytes apart, the first at `bytes`, as doubles; of complex ones the real parts.
/// Whether all of them are finite.
bool LoadValues(const std::byte* bytes, std::size_t stride, TdmsType type, bool isBigEndian,
                std::span<double> values);

/// Whether values of the type are doubles as this machine holds them.
inline bool IsNative(TdmsType type, bool isBigEndian) {
    return (type == TdmsType::real || type == TdmsType::realWithUnit) && isBigEndian == kIsBigHost;
}

/// A point in time, in UTC without leap seconds.
struct TdmsTime {
    std::int64_t seconds = 0;    ///< since 1904 began
    std::uint64_t fraction = 0;  ///< in parts of 2^-64 s
};
TdmsTime LoadTime(const std::byte* at, bool isBigEndian);

/// A stream by position. It keeps what it has read last, for what stands beside it.
class TdmsBytes {
public:
    explicit TdmsBytes(std::unique_ptr<ByteStream> stream);

    std::uint64_t Size() const { return size_; }
    /// `count` bytes from `position` on, which must be there; they last until the next call. Where they have
    /// to be read, about `ahead` bytes are.
    const std::byte* At(std::uint64_t position, std::size_t count, std::size_t ahead);
    /// Reads bytes, which must be there, without keeping them.
    void Read(std::uint64_t position, std::byte* bytes, std::size_t count);

private:
    std::unique_ptr<ByteStream> stream_;
    std::uint64_t size_;
    std::uint64_t next_ = 0;  ///< where the stream stands
    std::uint64_t begin_ = 0;
    std::vector<std::byte> kept_;  ///< from begin_ on
};

}  // namespace kvx
