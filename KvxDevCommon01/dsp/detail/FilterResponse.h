// SPDX-License-Identifier: MIT
//
// Complex responses of the analogue filters that shape spectra, at a frequency f [Hz] for a corner fc [Hz].
// Both are finite, f >= 0, fc a normal number above 0. Above the corner the responses are written in fc/f, so
// that nothing overflows however far away a frequency lies.
#pragma once

#include <KvxDevCommon01/platform/Types.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace kvx {

struct FilterResponse {
    double re;
    double im;
};

/// Whether a corner frequency or a quality is a positive normal number.
inline bool IsFilterParameter(double value) {
    return value >= std::numeric_limits<double>::min() && !std::isinf(value);
}

/// 1/(1 + ix), x = f/fc
inline FilterResponse LowPass1(double f, double fc) {
    if (f <= fc) {
        const double x = f / fc;
        const double scale = 1.0 / (1.0 + x * x);
        return {scale, -x * scale};
    }
    const double y = fc / f;
    const double scale = y / (1.0 + y * y);
    return {y * scale, -scale};
}

/// ix/(1 + ix), x = f/fc
inline FilterResponse HighPass1(double f, double fc) {
    if (f <= fc) {
        const double x = f / fc;
        const double scale = x / (1.0 + x * x);
        return {x * scale, scale};
    }
    const double y = fc / f;
    const double scale = 1.0 / (1.0 + y * y);
    return {scale, y * scale};
}

/// 1/(1 - x^2 + ix/q), x = f/fc
inline FilterResponse LowPass2(double f, double fc, double q) {
    const bool isBelow = f <= fc;
    const double z = isBelow ? f / fc : fc / f;
    const double re = isBelow ? 1.0 - z * z : z * z - 1.0;
    const double im = z / q;
    const double scale = (isBelow ? 1.0 : z * z) / (re * re + im * im);
    return {re * scale, -im * scale};
}

/// -x^2/(1 - x^2 + ix/q), x = f/fc
inline FilterResponse HighPass2(double f, double fc, double q) {
    const bool isBelow = f <= fc;
    const double z = isBelow ? f / fc : fc / f;
    const double re = isBelow ? 1.0 - z * z : z * z - 1.0;
    const double im = z / q;
    const double scale = (isBelow ? z * z : 1.0) / (re * re + im * im);
    return {-re * scale, im * scale};
}

inline constexpr std::int32_t kMaxButterworthOrder = 16;

/// The sections whose product is a Butterworth filter, its order clamped to 1..16: calls first() for the
/// first-order section of an odd order, then second(q) for each second-order one.
template <class First, class Second>
void ForEachButterworthSection(std::int32_t order, First first, Second second) {
    const std::int32_t n = std::clamp(order, 1, kMaxButterworthOrder);
    const bool isOdd = n % 2 != 0;
    if (isOdd) first();
    const double step = std::numbers::pi / n;
    for (std::int32_t pair = 0; pair < n / 2; ++pair) {
        const double angle = step * (isOdd ? pair + 1.0 : pair + 0.5);
        second(0.5 / std::cos(angle));
    }
}

}  // namespace kvx
