// SPDX-License-Identifier: MIT
//
// The search for the smallest, the largest and the smallest positive value of a run, without the no-value
// marker.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// Whether a search also looks for the smallest value above 0, which takes longer.
enum class SmallestPositive { wanted, ignored };

/// What a search of double or 32-bit integer values has seen so far. NaNs are no candidates beside numbers; a
/// run of nothing but NaNs has NaN for its minimum and maximum. Of zeros of both signs the first counts. The
/// result does not depend on how the values were cut into calls.
template <typename Element>
class RangeScan {
public:
    explicit RangeScan(SmallestPositive positive = SmallestPositive::wanted) : positive_(positive) {}

    void Add(std::span<const Element> values);

    /// Joins what another search has found in the values that follow.
    void Merge(const RangeScan& other) {
        Include(other.low_, other.high_, other.positiveLow_);
        holdsNan_ = holdsNan_ || other.holdsNan_;
    }

    /// Whether anything but markers was seen.
    bool HasFound() const { return HasNumber() || holdsNan_; }

    /// Writes minimum, maximum and the smallest value above 0 (the smallest normal number when none is)
    /// through those pointers that are not null; 0, writing nothing, when only markers were seen. The third
    /// is for searches that look for it.
    int Write(Element* min, Element* max, Element* positiveMin) const {
        if (!HasFound()) return 0;
        if (min) *min = HasNumber() ? low_ : kNan;
        if (max) *max = HasNumber() ? high_ : kNan;
        if (positiveMin) *positiveMin = high_ > 0 ? positiveLow_ : Limits::min();
        return 1;
    }

private:
    using Limits = std::numeric_limits<Element>;
    static constexpr Element kTop = Limits::has_infinity ? Limits::infinity() : Limits::max();
    static constexpr Element kBottom = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
    static constexpr Element kNan = Limits::quiet_NaN();

    bool HasNumber() const { return low_ <= high_; }
    void Include(Element low, Element high, Element positiveLow) {
        low_ = std::min(low_, low);
        high_ = std::max(high_, high);
        positiveLow_ = std::min(positiveLow_, positiveLow);
    }

    SmallestPositive positive_;
    Element low_ = kTop;
    Element high_ = kBottom;
    Element positiveLow_ = kTop;
    bool holdsNan_ = false;
};

template <>
KVX_API void RangeScan<double>::Add(std::span<const double> values);
template <>
KVX_API void RangeScan<std::int32_t>::Add(std::span<const std::int32_t> values);

}  // namespace kvx
