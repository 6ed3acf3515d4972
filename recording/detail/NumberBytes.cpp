// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/NumberBytes.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace kvx {
namespace {

/// A floating number of 16 bits: a sign, 5 bits of exponent, 10 of fraction.
struct Half {
    std::uint16_t bits;

    explicit operator double() const {
        const int exponent = bits >> 10 & 31;
        const int fraction = bits & 1023;
        double size = std::ldexp(exponent == 0 ? fraction : fraction + 1024, std::max(exponent, 1) - 25);
        if (exponent == 31) {
            size = fraction == 0 ? std::numeric_limits<double>::infinity()
                                 : std::numeric_limits<double>::quiet_NaN();
        }
        return (bits & 0x8000) != 0 ? -size : size;
    }
};

template <typename Number, bool kIsSwapped>
void Convert(const std::byte* from, std::size_t step, std::span<double> to) {
    for (double& value : to) {
        std::array<std::byte, sizeof(Number)> bytes;
        std::memcpy(bytes.data(), from, sizeof(Number));
        if constexpr (kIsSwapped) std::ranges::reverse(bytes);
        value = static_cast<double>(std::bit_cast<Number>(bytes));
        from += step;
    }
}

using Conversion = void (*)(const std::byte* from, std::size_t step, std::span<double> to);

struct Row {
    NumberType::Kind kind;
    std::size_t bytes;
    Conversion straight;
    Conversion swapped;
};

template <typename Number>
constexpr Row RowFor(NumberType::Kind kind) {
    return {kind, sizeof(Number), Convert<Number, false>, Convert<Number, true>};
}

constexpr Row kRows[] = {
    RowFor<std::int8_t>(NumberType::Kind::signedInteger),
    RowFor<std::int16_t>(NumberType::Kind::signedInteger),
    RowFor<std::int32_t>(NumberType::Kind::signedInteger),
    RowFor<std::int64_t>(NumberType::Kind::signedInteger),
    RowFor<std::uint8_t>(NumberType::Kind::unsignedInteger),
    RowFor<std::uint16_t>(NumberType::Kind::unsignedInteger),
    RowFor<std::uint32_t>(NumberType::Kind::unsignedInteger),
    RowFor<std::uint64_t>(NumberType::Kind::unsignedInteger),
    RowFor<Half>(NumberType::Kind::floating),
    RowFor<float>(NumberType::Kind::floating),
    RowFor<double>(NumberType::Kind::floating),
};

constexpr bool kIsBigHost = std::endian::native == std::endian::big;

}  // namespace

bool IsHostDouble(const NumberType& type) {
    return type == NumberType{NumberType::Kind::floating, sizeof(double), kIsBigHost};
}

void ToDoubles(const NumberType& type, const std::byte* from, std::size_t step, std::span<double> to) {
    const auto row = std::ranges::find_if(
        kRows, [&](const Row& each) { return each.kind == type.kind && each.bytes == type.bytes; });
    (type.isBig == kIsBigHost ? row->straight : row->swapped)(from, step, to);
}

}  // namespace kvx
