// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/SafeDigits.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace kvx {
namespace {

/// The powers of ten that are doubles.
constexpr std::array<double, 23> kPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                            1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

}  // namespace

std::optional<SafeNumber> SafeNumber::Nearest(double value) {
    // All digits stand in front of the point of the value times 10^scale. The product and its rounding error
    // are exact together, and so is the number of digits over the power: the double nearest to the decimal.
    constexpr double kLeast = kPowers[kSafeDigits - 1], kEnd = kPowers[kSafeDigits];
    const double size = std::fabs(value);
    if (!(size >= 1e-7 && size < kLeast)) return std::nullopt;
    // The exponent of ten, or one less: log10(2) is 1233/4096.
    const int exponent = std::ilogb(size) * 1233 >> 12;
    auto scale = static_cast<std::size_t>(kSafeDigits - 2 - exponent);
    double whole = 0.0;
    while (scale + 1 < kPowers.size() && size * kPowers[scale] < kLeast) ++scale;
    for (;; --scale) {
        const double product = size * kPowers[scale];
        const double lost = std::fma(size, kPowers[scale], -product);
        whole = std::nearbyint(product);
        const double rest = (product - whole) + lost;
        if (std::fabs(rest) == 0.5) return std::nullopt;
        if (rest > 0.5) whole += 1.0;
        if (rest < -0.5) whole -= 1.0;
        if (whole < kEnd) break;
    }
    std::array<char, 20> digits = {};
    const char* end =
        std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::int64_t>(whole)).ptr;
    const auto count = static_cast<int>(end - digits.data());
    while (end[-1] == '0' && end - digits.data() > 1) --end;
    SafeNumber number;
    number.value_ = std::copysign(whole / kPowers[scale], value);
    number.Write(std::signbit(value), {digits.data(), end}, count - 1 - static_cast<int>(scale));
    return number;
}

void SafeNumber::Write(bool isNegative, std::string_view digits, int exponent) {
    char* end = text_.data();
    const auto append = [&](std::string_view text) { end = std::ranges::copy(text, end).out; };
    const auto appendPointed = [&](std::size_t whole) {
        append(digits.substr(0, whole));
        if (digits.size() > whole) *end++ = '.';
        append(digits.substr(std::min(whole, digits.size())));
    };
    if (isNegative) *end++ = '-';
    if (exponent < -4 || exponent >= kSafeDigits) {
        appendPointed(1);
        append(exponent < 0 ? "e-" : "e+");
        const int size = exponent < 0 ? -exponent : exponent;
        if (size < 10) *end++ = '0';
        end = std::to_chars(end, text_.data() + text_.size(), size).ptr;
    } else if (exponent < 0) {
        append(std::string_view("0.000").substr(0, static_cast<std::size_t>(1 - exponent)));
        append(digits);
    } else {
        const auto whole = static_cast<std::size_t>(exponent) + 1;
        appendPointed(whole);
        end = std::fill_n(end, whole - std::min(whole, digits.size()), '0');
    }
    size_ = static_cast<std::size_t>(end - text_.data());
}

}  // namespace kvx
