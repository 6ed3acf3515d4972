// SPDX-License-Identifier: MIT
//
// The no-value marker of samples, and the conversions between double and single precision that keep it.
#pragma once

#include <limits>

namespace kvx {

/// The no-value marker: the most negative finite value of a type marks a sample that holds no data.
template <typename Element>
inline constexpr Element kNoValue = std::numeric_limits<Element>::lowest();

/// A single-precision sample in double precision; the marker becomes the marker.
constexpr double WidenedSample(float value) {
    return value == kNoValue<float> ? kNoValue<double> : static_cast<double>(value);
}

/// A sample rounded to single precision; the marker becomes the marker.
constexpr float NarrowedSample(double value) {
    return value == kNoValue<double> ? kNoValue<float> : static_cast<float>(value);
}

}  // namespace kvx
