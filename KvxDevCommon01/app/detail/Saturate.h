// SPDX-License-Identifier: MIT
//
// From a number of seconds or milliseconds in floating point to a whole one, defined for every value.
#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace kvx {

/// The whole part of `value`, at the nearest limit where it does not fit; 0 for "not a number".
template <std::integral Whole>
Whole Saturate(double value) {
    using Limits = std::numeric_limits<Whole>;
    // The limit rounded to double is exact, or one above it.
    constexpr double kHigh = static_cast<double>(Limits::max());
    if (std::isnan(value)) return 0;
    if (value >= kHigh) return Limits::max();
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<Whole>(value);
}

}  // namespace kvx
