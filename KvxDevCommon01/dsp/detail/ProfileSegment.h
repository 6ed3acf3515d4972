// SPDX-License-Identifier: MIT
//
// The arithmetic of breakpoint profiles: a segment is a straight line on log-log axes between two points.
#pragma once

#include <KvxDevCommon01/data/NoValue.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>

namespace kvx {

/// ln(to/from), exact also for numbers close to each other. Both must be positive.
inline double LogRatio(double from, double to) {
    const double ratio = to / from;
    if (0.5 <= ratio && ratio <= 2.0) return std::log1p((to - from) / from);
    return std::isnormal(ratio) ? std::log(ratio) : std::log(to) - std::log(from);
}

/// From (f1, p1) to (f2, p2): frequencies and levels.
struct ProfileSegment {
    double f1;
    double p1;
    double f2;
    double p2;

    /// Whether the points have a level; without one (no-value) at an end there is none between them.
    bool HasLevels() const { return p1 != kNoValue<double> && p2 != kNoValue<double>; }

    /// Whether there is a straight line on log-log axes.
    bool HasSlope() const { return f1 > 0.0 && f2 > 0.0 && f1 != f2 && p1 > 0.0 && p2 > 0.0; }

    /// Level at f, f1 <= f <= f2; linear where there is no slope, no-value where there are no levels.
    double LevelAt(double f) const {
        if (f == f1) return p1;
        if (f == f2) return p2;
        if (!HasLevels()) return kNoValue<double>;
        if (HasSlope()) return p1 * std::exp(LogRatio(p1, p2) * (LogRatio(f1, f) / LogRatio(f1, f2)));
        return p1 + (p2 - p1) * ((f - f1) / (f2 - f1));
    }

    /// Integral from f1 to f2 of p1 (f/f1)^n, where n is 0 without a slope; exact also for short segments.
    /// The exponent -1, and what cannot be told from it, gives the logarithm. Frequencies must be positive.
    double Area() const {
        constexpr double kLogarithmic = 1e-4;
        const double span = LogRatio(f1, f2);
        const double growth = (HasSlope() ? LogRatio(p1, p2) : 0.0) + span;  // (n + 1) span
        if (std::fabs(growth) <= kLogarithmic * std::fabs(span)) return p1 * f1 * span;
        // Seen from the larger end nothing overflows.
        const double larger = growth > 0.0 ? (HasSlope() ? p2 : p1) * f2 : p1 * f1;
        return larger * (std::expm1(-std::fabs(growth)) / -std::fabs(growth)) * span;
    }
};

/// The segment from point i of a profile to the next.
inline ProfileSegment SegmentAt(std::span<const double> freq, std::span<const double> level, std::size_t i) {
    return {freq[i], level[i], freq[i + 1], level[i + 1]};
}

/// Whether these are breakpoints: two or more, the frequencies strictly ascending, all positive and finite.
inline bool IsProfile(std::span<const double> freq, std::span<const double> level) {
    const auto isPositive = [](double value) { return value > 0.0 && std::isfinite(value); };
    return freq.size() >= 2 && freq.size() == level.size() && std::ranges::all_of(freq, isPositive) &&
           std::ranges::all_of(level, isPositive) &&
           std::ranges::adjacent_find(freq, std::ranges::greater_equal()) == freq.end();
}

/// Level of a profile at f; 0 outside it and without points.
inline double ProfileLevelAt(std::span<const double> freq, std::span<const double> level, double f) {
    if (freq.empty() || !(freq.front() <= f && f <= freq.back())) return 0.0;
    const auto above = static_cast<std::size_t>(std::ranges::upper_bound(freq, f) - freq.begin());
    return SegmentAt(freq, level, std::min(above, freq.size() - 1) - 1).LevelAt(f);
}

/// Integral of a density from point `first` to point `last`; a segment without logarithms at its lower end or
/// without levels counts as 0.
inline double ProfilePower(std::span<const double> freq, std::span<const double> level, std::size_t first,
                           std::size_t last) {
    double power = 0.0;
    for (std::size_t i = first; i < last; ++i) {
        const ProfileSegment segment = SegmentAt(freq, level, i);
        if (segment.f1 > 0.0 && segment.f2 > 0.0 && segment.p1 > 0.0 && segment.HasLevels())
            power += segment.Area();
    }
    return power;
}

}  // namespace kvx
