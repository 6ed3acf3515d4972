// SPDX-License-Identifier: MIT
//
// One segment of a breakpoint profile: a straight line on log-log axes between two points.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>

#include <cmath>

namespace kvx {

/// From (f1, p1) to (f2, p2): frequencies and levels.
struct ProfileSegment {
    double f1;
    double p1;
    double f2;
    double p2;

    /// Exponent n of p1 (f/f1)^n; 0 where the logarithms do not exist.
    double Slope() const {
        if (f1 == 0.0 || f2 == 0.0 || p1 == 0.0 || p2 == 0.0 || f1 == f2) return 0.0;
        return std::log(p2 / p1) / std::log(f2 / f1);
    }

    /// Level at f, f1 <= f <= f2; linear where the logarithms do not exist.
    double LevelAt(double f) const {
        if (f == f1) return p1;
        if (f == f2) return p2;
        if (f1 > 0.0 && p1 > 0.0 && p2 > 0.0) return p1 * std::pow(f / f1, Slope());
        return p1 + (p2 - p1) * ((f - f1) / (f2 - f1));
    }

    /// Integral of p1 (f/f1)^Slope() from f1 to f2, exact also for short segments. The exponent -1, and what
    /// cannot be told from it, gives the logarithm. Frequencies and p1 must be positive.
    double Area() const {
        constexpr double kLogarithmic = 1e-4;
        const double exponent = Slope() + 1.0;
        const double span = std::log(f2 / f1);
        if (std::fabs(exponent) <= kLogarithmic) return p1 * f1 * span;
        return p1 * f1 * (std::expm1(exponent * span) / exponent);
    }
};

/// The segment from point i of a profile to the next.
inline ProfileSegment SegmentAt(const CDataArrayDouble& freq, const CDataArrayDouble& level, __int64 i) {
    return {freq[i], level[i], freq[i + 1], level[i + 1]};
}

}  // namespace kvx
