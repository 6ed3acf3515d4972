// SPDX-License-Identifier: MIT
//
// The numbers that nearly every table holds, "-12.0625" or "3,5e-4", read in a few steps of eight digits
// each. NumberReader reads all others, and says what is wrong with what is none.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvx {

struct PlainNumber {
    const char* end = nullptr;  ///< behind its last character; null where it is not plain
    double value = 0.0;         ///< the nearest double
    int decimals = 0;           ///< digits behind the decimal mark, less the exponent
    char mark = '\0';           ///< '.' or ',', or 0 without one
};

namespace detail {

/// Up to eight digits at the front of a text, and how many they are.
struct DigitRun {
    std::uint64_t value;
    int count;
};

/// Eight characters, of which digits become 0 to 9.
inline std::uint64_t LoadDigits(const char* text) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    return word ^ 0x3030303030303030;
}

/// The number that eight digits make, the first in the lowest byte: pairs, fours, all.
inline std::uint64_t JoinDigits(std::uint64_t word) {
    word = word * 10 + (word >> 8);
    const std::uint64_t upper = (word & 0x000000FF000000FF) * (100 + (std::uint64_t{1000000} << 32));
    const std::uint64_t lower = (word >> 16 & 0x000000FF000000FF) * (1 + (std::uint64_t{10000} << 32));
    return (upper + lower) >> 32;
}

inline DigitRun ReadDigits(const char* text) {
    const std::uint64_t word = LoadDigits(text);
    const std::uint64_t others = ((word + 0x7676767676767676) | word) & 0x8080808080808080;
    const int count = std::countr_zero(others) / 8;
    if (count == 0) return {0, 0};
    return {JoinDigits(word << (64 - 8 * count)), count};
}

/// Powers of ten that a double holds exactly.
inline constexpr std::array<double, 23> kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr std::array<std::uint64_t, 9> kWholePowers = {1,      10,      100,      1000,     10000,
                                                              100000, 1000000, 10000000, 100000000};

inline constexpr std::array<double, 2> kSigns = {1.0, -1.0};

}  // namespace detail

/// The number at the start of `text`: a sign, digits, up to 19 in all, a decimal mark and an exponent, of
/// which only digits must be there. What follows it is for the caller to judge.
inline PlainNumber ReadPlainNumber(const char* text, bool commaIsMark) {
    if constexpr (std::endian::native != std::endian::little) return {};
    constexpr int kMostDigits = 19;  // so many are below 2^64
    const char* at = text;
    const bool isNegative = *at == '-';
    at += isNegative || *at == '+' ? 1 : 0;
    const char* const unsignedText = at;
    const detail::DigitRun whole = detail::ReadDigits(at);
    at += whole.count;
    std::uint64_t digits = whole.value;
    int decimals = 0;
    char mark = '\0';
    if (*at == '.' || (commaIsMark && *at == ',')) {
        mark = *at++;
        const detail::DigitRun first = detail::ReadDigits(at);
        digits = digits * detail::kWholePowers[static_cast<std::size_t>(first.count)] + first.value;
        decimals = first.count;
        if (first.count == 8) {
            const detail::DigitRun second = detail::ReadDigits(at + 8);
            digits = digits * detail::kWholePowers[static_cast<std::size_t>(second.count)] + second.value;
            decimals += second.count;
        }
        at += decimals;
    }
    const int count = whole.count + decimals;
    // A digit that follows is the ninth of the whole ones or the seventeenth decimal.
    if (count == 0 || count > kMostDigits || static_cast<unsigned char>(*at - '0') < 10) return {};
    if (*at == 'e' || *at == 'E') {
        ++at;
        const bool isDown = *at == '-';
        if (isDown || *at == '+') ++at;
        const detail::DigitRun exponent = detail::ReadDigits(at);
        if (exponent.count == 0 || exponent.count > 3) return {};
        at += exponent.count;
        decimals -= isDown ? -static_cast<int>(exponent.value) : static_cast<int>(exponent.value);
    }
    // Both operands are exact, so the one rounding is that of the nearest double (Clinger, 1990).
    const int shift = decimals < 0 ? -decimals : decimals;
    if (digits <= std::uint64_t{1} << 53 && shift < std::ssize(detail::kExactPowers)) {
        const double power = detail::kExactPowers[static_cast<std::size_t>(shift)];
        const auto value = static_cast<double>(static_cast<std::int64_t>(digits));
        const double size = decimals < 0 ? value * power : value / power;
        return {at, size * detail::kSigns[isNegative], decimals, mark};
    }
    if (mark == ',') return {};
    double value = 0.0;
    const auto [end, error] = std::from_chars(unsignedText, at, value);
    // The most negative double marks missing samples and is for the slow way to refuse.
    if (end != at || error != std::errc() || value == std::numeric_limits<double>::max()) return {};
    return {at, isNegative ? -value : value, decimals, mark};
}

/// So many characters must be readable from the start of a field on.
inline constexpr std::ptrdiff_t kPlainFieldRoom = 48;

/// The plain number that a field is, up to a blank, a control character or `separator`. The value is left out
/// where it is not wanted. Where a field of up to 16 characters ends is known long before what its digits
/// make, so that the processor works on several fields at once.
template <bool isValueWanted>
[[gnu::always_inline]] inline PlainNumber ReadPlainField(const char* text, char separator, bool commaIsMark) {
#if defined(__SSE2__)
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto bits = [](const __m128i& lanes) {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes));
    };
    const auto areAtMost = [](const __m128i& lanes, char most) {
        return _mm_cmpeq_epi8(_mm_min_epu8(lanes, _mm_set1_epi8(most)), lanes);
    };
    const __m128i areEnds =
        _mm_or_si128(areAtMost(bytes, ' '), _mm_cmpeq_epi8(bytes, _mm_set1_epi8(separator)));
    const std::uint32_t ends = bits(areEnds);
    const std::uint32_t within = ends ^ (ends - 1);  // up to the first end
    const std::uint32_t digits = bits(areAtMost(_mm_sub_epi8(bytes, _mm_set1_epi8('0')), 9)) & within;
    const __m128i arePoints = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('.'));
    const __m128i areMarks =
        commaIsMark ? _mm_or_si128(arePoints, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(','))) : arePoints;
    const std::uint32_t marks = bits(areMarks) & within;
    const bool isNegative = *text == '-';
    const std::uint32_t sign = isNegative || *text == '+' ? 1 : 0;
    const std::uint32_t end = within ^ (within >> 1);
    const int wholeEnd = std::countr_zero(marks | end);
    const int length = std::countr_zero(end);
    const int whole = wholeEnd - static_cast<int>(sign);
    const int decimals = length - wholeEnd - (marks != 0 ? 1 : 0);
    const bool isPlain = (digits ^ marks ^ sign ^ end) == within && (marks & (marks - 1)) == 0;
    if (ends != 0 && isPlain && digits != 0 && whole <= 8 && decimals <= 8) {
        const char mark = marks != 0 ? text[wholeEnd] : '\0';
        if (!isValueWanted) return {text + length, 0.0, decimals, mark};
        // Two shifts, since there may be no digits.
        const auto join = [](const char* from, int count) {
            return detail::JoinDigits(detail::LoadDigits(from) << 4 * (8 - count) << 4 * (8 - count));
        };
        const std::uint64_t value =
            join(text + sign, whole) * detail::kWholePowers[static_cast<std::size_t>(decimals)] +
            join(text + length - decimals, decimals);
        const double size = static_cast<double>(static_cast<std::int64_t>(value)) /
                            detail::kExactPowers[static_cast<std::size_t>(decimals)];
        return {text + length, size * detail::kSigns[isNegative ? 1 : 0], decimals, mark};
    }
#endif
    const PlainNumber number = ReadPlainNumber(text, commaIsMark);
    const bool isAll =
        number.end != nullptr && (static_cast<unsigned char>(*number.end) <= ' ' || *number.end == separator);
    return isAll ? number : PlainNumber();
}

}  // namespace kvx
