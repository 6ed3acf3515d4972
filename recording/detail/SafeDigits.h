// SPDX-License-Identifier: MIT
//
// Numbers with as many digits as every decimal number keeps that becomes a double and a decimal number again,
// for tables of any length.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kvx {

/// So many significant digits of a decimal number survive being a double.
inline constexpr int kSafeDigits = 15;

/// A decimal number of up to kSafeDigits digits, and the double nearest to it.
class SafeNumber {
public:
    SafeNumber() = default;

    /// A value rounded to kSafeDigits digits; no number for one in the middle between two, and for magnitudes
    /// below 1e-7 and from 1e14 on.
    static std::optional<SafeNumber> Nearest(double value);

    double Value() const { return value_; }
    /// What std::to_chars writes of the value in the general format with kSafeDigits digits.
    std::string_view Text() const { return {text_.data(), size_}; }

private:
    void Write(bool isNegative, std::string_view digits, int exponent);

    double value_ = 0.0;
    std::size_t size_ = 0;
    std::array<char, 32> text_ = {};
};

}  // namespace kvx
