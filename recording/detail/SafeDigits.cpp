// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/SafeDigits.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace kvx {
namespace {

/// A decimal number d.ddd * 10^exponent.
struct Decimal {
    bool isNegative = false;
    std::array<char, 20> digits = {};  ///< as text
    std::size_t count = 0;
    int exponent = 0;
};

/// The shortest digits that stand for the value.
Decimal ShortestDecimal(double value) {
    std::array<char, 32> text;
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific).ptr;
    const char* at = text.data();
    Decimal decimal;
    decimal.isNegative = *at == '-';
    if (decimal.isNegative) ++at;
    for (; *at != 'e'; ++at) {
        if (*at != '.') decimal.digits[decimal.count++] = *at;
    }
    ++at;
    if (*at == '+') ++at;
    std::from_chars(at, end, decimal.exponent);
    return decimal;
}

}  // namespace

std::optional<SafeNumber> SafeNumber::Nearest(double value) {
    Decimal decimal = ShortestDecimal(value);
    constexpr auto kKept = static_cast<std::size_t>(kSafeDigits);
    if (decimal.count > kKept) {
        const std::string_view rest(decimal.digits.data() + kKept, decimal.count - kKept);
        // If the value lay on the other side of the middle than its shortest digits, the middle would be
        // shorter.
        if (rest == "5") return std::nullopt;
        decimal.count = kKept;
        if (rest.front() >= '5') {
            std::uint64_t number = 0;
            std::from_chars(decimal.digits.data(), decimal.digits.data() + kKept, number);
            char* const end = std::to_chars(decimal.digits.data(),
                                            decimal.digits.data() + decimal.digits.size(), number + 1)
                                  .ptr;
            // One digit more than before: it is a power of ten.
            if (end > decimal.digits.data() + kKept) ++decimal.exponent;
        }
    }
    while (decimal.count > 1 && decimal.digits[decimal.count - 1] == '0') --decimal.count;
    SafeNumber number;
    number.Write(decimal.isNegative, {decimal.digits.data(), decimal.count}, decimal.exponent);
    std::from_chars(number.text_.data(), number.text_.data() + number.size_, number.value_);
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
