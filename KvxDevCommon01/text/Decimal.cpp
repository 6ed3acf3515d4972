// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/Decimal.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace kvx {
namespace {

__extension__ using Wide = unsigned __int128;

// ---- powers of ten ----

/// The upper 128 bits of a power of ten, rounded up.
struct Power {
    std::uint64_t high;
    std::uint64_t low;
};

constexpr int kLeastPower = -292;
constexpr int kMostPower = 324;

int FloorLog2OfPower(int exponent) {
    return exponent * 1741647 >> 19;
}

/// A whole number of 32-bit digits, the lowest first.
using BigNumber = std::array<std::uint32_t, 42>;

int CountBits(const BigNumber& number) {
    std::size_t top = number.size() - 1;
    while (number[top] == 0) --top;
    return static_cast<int>(32 * top) + 32 - std::countl_zero(number[top]);
}

/// The `count` bits (up to 64) from bit number `first` on; those below bit 0 are 0.
std::uint64_t BitsOf(const BigNumber& number, int first, int count) {
    std::uint64_t bits = 0;
    for (int bit = first + count - 1; bit >= first; --bit) {
        const auto at = static_cast<std::size_t>(std::max(bit, 0));
        bits = bits << 1 | (bit >= 0 ? number[at / 32] >> (at % 32) & 1 : 0);
    }
    return bits;
}

Power PowerOf(const BigNumber& number, bool isExact) {
    const int first = CountBits(number) - 128;
    Power power = {BitsOf(number, first + 64, 64), BitsOf(number, first, 64)};
    for (int bit = 0; bit < first && isExact; ++bit) {
        const auto at = static_cast<std::size_t>(bit);
        if ((number[at / 32] >> (at % 32) & 1) != 0) isExact = false;
    }
    if (!isExact && ++power.low == 0) ++power.high;
    return power;
}

using Powers = std::array<Power, kMostPower - kLeastPower + 1>;

/// From exact products of 10, and from quotients of a power of 2 so large that 128 bits are left of each.
Powers MakePowers() {
    Powers powers = {};
    BigNumber number = {1};
    for (int exponent = 0; exponent <= kMostPower; ++exponent) {
        powers[static_cast<std::size_t>(exponent - kLeastPower)] = PowerOf(number, true);
        std::uint64_t carry = 0;
        for (std::uint32_t& digit : number) {
            carry += std::uint64_t{digit} * 10;
            digit = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }
    number = {};
    number.back() = 1U << 31;
    for (int exponent = -1; exponent >= kLeastPower; --exponent) {
        std::uint64_t rest = 0;
        for (std::size_t i = number.size(); i-- > 0;) {
            rest = rest << 32 | number[i];
            number[i] = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        powers[static_cast<std::size_t>(exponent - kLeastPower)] = PowerOf(number, false);
    }
    return powers;
}

const Powers& AllPowers() {
    static const Powers powers = MakePowers();
    return powers;
}

// ---- digits ----

constexpr std::array<std::uint64_t, 20> kWholePowers = {1,
                                                        10,
                                                        100,
                                                        1000,
                                                        10000,
                                                        100000,
                                                        1000000,
                                                        10000000,
                                                        100000000,
                                                        1000000000,
                                                        10000000000,
                                                        100000000000,
                                                        1000000000000,
                                                        10000000000000,
                                                        100000000000000,
                                                        1000000000000000,
                                                        10000000000000000,
                                                        100000000000000000,
                                                        1000000000000000000,
                                                        10000000000000000000U};
constexpr int kMostExactPower = 22;
constexpr std::array<double, kMostExactPower + 1> kExactPowers = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

std::uint64_t PowerOfTen(int exponent) {
    return kWholePowers[static_cast<std::size_t>(exponent)];
}

int CountDigits(std::uint64_t number) {
    const int guess = (64 - std::countl_zero(number | 1)) * 1233 >> 12;  // log10(2) is 1233/4096
    return guess + (number >= PowerOfTen(guess) ? 1 : 0) + (number == 0 ? 1 : 0);
}

std::uint64_t Number(bool condition) {
    return condition ? 1 : 0;
}

/// The upper part of a product with a power of ten, its last bit set when anything is left below.
std::uint64_t RoundToOdd(const Power& power, std::uint64_t factor) {
    const auto low = static_cast<std::uint64_t>(Wide{power.low} * factor >> 64);
    const Wide sum = Wide{power.high} * factor + low;
    return static_cast<std::uint64_t>(sum >> 64) | Number(static_cast<std::uint64_t>(sum) > 1);
}

}  // namespace

/// The decimals in the interval that rounds to the value are looked for on the two coarsest grids that can
/// have one in it (R. Giulietti, "The Schubfach way to render doubles", 2020). Everything is counted in
/// quarters of 10^k.
Decimal ShortestDecimal(double value) {
    constexpr int kFractionBits = 52;
    constexpr std::uint64_t kHidden = std::uint64_t{1} << kFractionBits;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const bool isNegative = bits >> 63 != 0;
    const std::uint64_t fraction = bits & (kHidden - 1);
    const int field = static_cast<int>(bits >> kFractionBits & 0x7FF);
    if (field == 0 && fraction == 0) return {0, 0, isNegative};
    const std::uint64_t significand = field != 0 ? kHidden | fraction : fraction;
    const int exponent = std::max(field, 1) - 1075;
    // Below a power of two the doubles are closer.
    const bool isLowerCloser = fraction == 0 && field > 1;
    const int k = (exponent * 1262611 - (isLowerCloser ? 524031 : 0)) >> 22;
    const int shift = exponent + FloorLog2OfPower(-k) + 1;
    const Power& power = AllPowers()[static_cast<std::size_t>(-k - kLeastPower)];
    const std::uint64_t quarters = 4 * significand;
    const std::uint64_t isOdd = significand & 1;
    const std::uint64_t middle = RoundToOdd(power, quarters << shift);
    const std::uint64_t lower = RoundToOdd(power, (quarters - (isLowerCloser ? 1 : 2)) << shift) + isOdd;
    const std::uint64_t upper = RoundToOdd(power, (quarters + 2) << shift) - isOdd;
    const std::uint64_t whole = middle / 4;
    const std::uint64_t tens = whole / 10;
    const bool isDownInside10 = lower <= 40 * tens;
    const bool isUpInside10 = 40 * tens + 40 <= upper;
    const bool isDownInside = lower <= 4 * whole;
    const bool isUpInside = 4 * whole + 4 <= upper;
    const std::uint64_t half = 4 * whole + 2;
    const bool isNearerUp = middle > half || (middle == half && (whole & 1) != 0);
    // Selected by a mask: which grid it is, is as good as random for a branch.
    const std::uint64_t one = whole + Number(isDownInside != isUpInside ? isUpInside : isNearerUp);
    const std::uint64_t ten = tens + Number(isUpInside10);
    const std::uint64_t isTen = Number(isDownInside10 != isUpInside10) & Number(whole >= 10);
    const std::uint64_t digits = one ^ ((one ^ ten) & (0 - isTen));
    return {digits, k + static_cast<int>(isTen), isNegative};
}

std::optional<Decimal> SafeDecimal(const Decimal& shortest) {
    const int excess = CountDigits(shortest.digits) - kSafeDigits;
    if (std::abs(shortest.exponent) > 290 - kSafeDigits) return std::nullopt;
    if (excess <= 0) return shortest;
    const std::uint64_t power = PowerOfTen(excess);
    const std::uint64_t rest = shortest.digits % power;
    // If the value lay on the other side of the middle than the shortest decimal, the middle would be the
    // shortest decimal.
    if (2 * rest == power) return std::nullopt;
    return Decimal{shortest.digits / power + Number(2 * rest > power), shortest.exponent + excess,
                   shortest.isNegative};
}

std::optional<double> ValueOf(const Decimal& decimal) {
    std::uint64_t digits = decimal.digits;
    int exponent = decimal.exponent;
    for (; exponent < -kMostExactPower && digits % 10 == 0 && digits != 0; ++exponent) digits /= 10;
    if (digits > std::uint64_t{1} << 53 || std::abs(exponent) > kMostExactPower) return std::nullopt;
    const double power = kExactPowers[static_cast<std::size_t>(std::abs(exponent))];
    const auto whole = static_cast<double>(static_cast<std::int64_t>(digits));
    const double value = exponent < 0 ? whole / power : whole * power;
    return decimal.isNegative ? -value : value;
}

namespace {

constexpr std::uint64_t kZeros = 0x3030303030303030;

/// Eight digits as text, the first in the lowest byte. Halves, pairs and digits are parted in lanes of one
/// word.
std::uint64_t EightDigits(std::uint64_t number) {
    const std::uint64_t fours = number / 10000 | number % 10000 << 32;
    const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x0000007F0000007F;
    const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F000F000F000F;
    return (tens | (pairs - 10 * tens) << 8) + kZeros;
}

void Store(char* text, std::uint64_t eight) {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(text, &eight, sizeof eight);
    } else {
        for (int i = 0; i < 8; ++i) text[i] = static_cast<char>(eight >> 8 * i & 0xFF);
    }
}

char* WriteExponent(char* text, int exponent) {
    *text++ = 'e';
    *text++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    if (size >= 100) *text++ = static_cast<char>('0' + size / 100);
    *text++ = static_cast<char>('0' + size / 10 % 10);
    *text++ = static_cast<char>('0' + size % 10);
    return text;
}

/// The digits of a decimal as text, zeros behind them.
struct DigitText {
    std::uint64_t first;   ///< eight
    std::uint64_t second;  ///< eight more
    std::uint64_t last;
    int count;     ///< without the zeros
    int exponent;  ///< of the first digit
    bool isNegative;
};

DigitText TextOf(const Decimal& decimal) {
    constexpr int kMost = 17;
    const int digits = CountDigits(decimal.digits);
    const std::uint64_t padded = decimal.digits * PowerOfTen(kMost - digits);
    const std::uint64_t first = EightDigits(padded / PowerOfTen(9));
    const std::uint64_t second = EightDigits(padded / 10 % PowerOfTen(8));
    const std::uint64_t last = '0' + padded % 10;
    const int zerosInFirst = std::countl_zero((first ^ kZeros) | 1) / 8;
    const int zerosInSecond = std::countl_zero(second ^ kZeros) / 8;
    const int count = zerosInSecond < 8 ? 16 - zerosInSecond : 8 - zerosInFirst;
    return {
        first, second, last, last != '0' ? kMost : count, digits + decimal.exponent - 1, decimal.isNegative};
}

/// Writes digits with a decimal point or an exponent. As many are stored as there may be, which is quicker
/// than to count.
char* WriteDigits(char* text, const DigitText& digits, bool isFixed) {
    const auto& [first, second, last, count, exponent, isNegative] = digits;
    const auto storeAll = [text = &digits](char* at) {
        Store(at, text->first);
        Store(at + 8, text->second);
        at[16] = static_cast<char>(text->last);
    };
    *text = '-';
    text += isNegative ? 1 : 0;
    const int whole = isFixed ? exponent + 1 : 1;  // digits in front of the point
    if (whole <= 0) {
        std::memcpy(text, "0.000000", 8);
        storeAll(text + 2 - whole);
        return text + 2 - whole + count;
    }
    storeAll(text);  // of a whole number the zeros at its end, too
    char* end = text + whole;
    if (whole < count) {
        if (whole < 8) {
            const int shift = 8 * whole;
            Store(end + 1, first >> shift | second << (64 - shift));
            Store(end + 9, second >> shift | last << (64 - shift));
        } else {
            std::memmove(end + 1, end, static_cast<std::size_t>(17 - whole));
        }
        *end = '.';
        end = text + count + 1;
    }
    return isFixed ? end : WriteExponent(end, exponent);
}

}  // namespace

char* WriteExact(char* text, double value) {
    if (std::isfinite(value)) {
        const DigitText digits = TextOf(ShortestDecimal(value));
        // What is shorter, without an exponent if they are the same.
        const int spared = digits.count == 1 ? 1 : 0;          // the point
        const int zeros = digits.exponent + 1 - digits.count;  // behind the digits
        const bool isFixed = zeros >= spared - (digits.count + 3) && zeros <= 5 - spared;
        // A whole number without an exponent is written with all its digits, not with zeros at the end.
        const bool isWhole = isFixed && zeros > 0 && digits.exponent >= kSafeDigits;
        if (!isWhole) return WriteDigits(text, digits, isFixed);
    }
    return std::to_chars(text, text + kDecimalRoom, value).ptr;
}

char* WriteSafe(char* text, const Decimal& decimal) {
    const DigitText digits = TextOf(decimal);
    return WriteDigits(text, digits, digits.exponent >= -4 && digits.exponent < kSafeDigits);
}

}  // namespace kvx
