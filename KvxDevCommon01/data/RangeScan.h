// SPDX-License-Identifier: MIT
//
// The search for the smallest, the largest and the smallest positive value of a run, without the no-value
// marker.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// What a search has seen so far. NaNs are no candidates beside numbers; a run of nothing but NaNs has NaN
/// for its minimum and maximum.
template <typename Element>
class RangeScan {
public:
    void Add(std::span<const Element> values) {
        std::array<Extremes, kLanes> lanes;
        std::size_t i = 0;
        for (; values.size() - i >= kLanes; i += kLanes) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                lanes[lane].Include(values[i + lane]);
            }
        }
        for (; i < values.size(); ++i) lanes[0].Include(values[i]);

        Extremes run;
        for (const Extremes& lane : lanes) run.Merge(lane);
        if constexpr (Limits::has_quiet_NaN) {
            const auto isNan = [](Element value) { return std::isnan(value); };
            if (!run.HasNumber()) holdsNan_ = holdsNan_ || std::ranges::any_of(values, isNan);
        }
        extremes_.Merge(run);
    }

    /// Joins what another search has found.
    void Merge(const RangeScan& other) {
        extremes_.Merge(other.extremes_);
        holdsNan_ = holdsNan_ || other.holdsNan_;
    }

    /// Whether anything but markers was seen.
    bool HasFound() const { return extremes_.HasNumber() || holdsNan_; }

    /// Writes minimum, maximum and the smallest value above 0 (the smallest normal number when none is)
    /// through those pointers that are not null; 0, writing nothing, when only markers were seen.
    int Write(Element* min, Element* max, Element* positiveMin) const {
        if (!HasFound()) return 0;
        const bool hasNumber = extremes_.HasNumber();
        if (min) *min = hasNumber ? extremes_.low : kNan;
        if (max) *max = hasNumber ? extremes_.high : kNan;
        if (positiveMin)
            *positiveMin = hasNumber && extremes_.high > 0 ? extremes_.positiveLow : Limits::min();
        return 1;
    }

private:
    using Limits = std::numeric_limits<Element>;
    static constexpr std::size_t kLanes = 4;
    static constexpr Element kTop = Limits::has_infinity ? Limits::infinity() : Limits::max();
    static constexpr Element kBottom = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
    static constexpr Element kNan = Limits::quiet_NaN();

    struct Extremes {
        Element low = kTop;
        Element high = kBottom;
        Element positiveLow = kTop;

        // Selections instead of branches, so that the loop over the lanes becomes vector code.
        void Include(Element value) {
            const Element forLow = value == kNoValue<Element> ? kTop : value;
            const Element forHigh = value == kNoValue<Element> ? kBottom : value;
            const Element forPositive = value > 0 ? value : kTop;
            low = forLow < low ? forLow : low;
            high = forHigh > high ? forHigh : high;
            positiveLow = forPositive < positiveLow ? forPositive : positiveLow;
        }
        void Merge(const Extremes& other) {
            low = std::min(low, other.low);
            high = std::max(high, other.high);
            positiveLow = std::min(positiveLow, other.positiveLow);
        }
        bool HasNumber() const { return low <= high; }
    };

    Extremes extremes_;
    bool holdsNan_ = false;
};

}  // namespace kvx
