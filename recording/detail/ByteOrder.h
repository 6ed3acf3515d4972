// SPDX-License-Identifier: MIT
//
// Numbers of either byte order, one by one; NumberBytes.h reads many.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace kvx {

inline constexpr bool kIsBigHost = std::endian::native == std::endian::big;

/// The number that begins at `at`.
template <typename Number>
Number LoadNumber(const std::byte* at, bool isBig) {
    std::array<std::byte, sizeof(Number)> bytes;
    std::memcpy(bytes.data(), at, sizeof(Number));
    if (isBig != kIsBigHost) {
        for (std::size_t i = 0; i < sizeof(Number); ++i) bytes[i] = at[sizeof(Number) - 1 - i];
    }
    return std::bit_cast<Number>(bytes);
}

/// The whole number that up to eight bytes make.
inline std::uint64_t LoadWhole(std::span<const std::byte> bytes, bool isBig = false) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t place = isBig ? bytes.size() - 1 - i : i;
        number |= std::to_integer<std::uint64_t>(bytes[i]) << 8 * place;
    }
    return number;
}
inline std::uint64_t LoadWhole(std::string_view bytes, bool isBig = false) {
    return LoadWhole(std::as_bytes(std::span(bytes)), isBig);
}

/// The lowest `size` bytes of a number, the lowest first.
inline std::string LittleEndian(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
    return bytes;
}

/// Turns numbers as the host holds them into those that have the lowest byte first.
template <typename Number>
void ToLittleEndian(std::span<Number> numbers) {
    if constexpr (kIsBigHost) {
        for (Number& number : numbers) {
            std::array<std::byte, sizeof(Number)> bytes = std::bit_cast<decltype(bytes)>(number);
            for (std::size_t i = 0; i < bytes.size() / 2; ++i)
                std::swap(bytes[i], bytes[bytes.size() - 1 - i]);
            number = std::bit_cast<Number>(bytes);
        }
    }
}

}  // namespace kvx
