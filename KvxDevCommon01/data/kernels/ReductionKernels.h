// SPDX-License-Identifier: MIT
//
// The inner loops of sums and searches. Every result is the same bits in all sets: sums add in the order of
// detail/LaneSum.h, without fused operations; a search does not depend on the order of its comparisons.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// How many sums run side by side: term i is added to sum i mod kSumLanes.
inline constexpr std::int64_t kSumLanes = 32;

/// The extremes of a run, of which NaNs are no part: without any number `low` is above `high`. Which of two
/// zeros stands for an extreme of 0 is not defined.
template <typename Element>
struct Extremes {
    Element low;
    Element high;
};

/// The loops of one instruction set over `count` values, which need no alignment.
struct ReductionKernels {
    /// The sum of all values, or of their squares.
    double (*sum)(const double* values, std::int64_t count);
    double (*sumOfSquares)(const double* values, std::int64_t count);
    /// Adds kSumLanes * `groups` values, or their squares, to the sums at `lanes`.
    void (*addToLanes)(double* lanes, const double* values, std::int64_t groups);
    void (*addSquaresToLanes)(double* lanes, const double* values, std::int64_t groups);
    /// Adds the first to fourth powers of value - centre to four rows of kSumLanes sums each.
    void (*addPowersToLanes)(double* rows, const double* values, std::int64_t groups, double centre);

    /// The extremes of the values that are not the no-value marker.
    Extremes<double> (*extremes)(const double* values, std::int64_t count);
    Extremes<std::int32_t> (*longExtremes)(const std::int32_t* values, std::int64_t count);
    /// The smallest value above 0; infinity when there is none.
    double (*smallestPositive)(const double* values, std::int64_t count);
    /// The largest magnitude of a number; 0 when there is none.
    double (*largestMagnitude)(const double* values, std::int64_t count);

    /// The index of the first element that equals `value`; `count` when none does.
    std::int64_t (*find)(const double* values, std::int64_t count, double value);
    /// Whether all values are above `low` and at most `high`. A NaN is not.
    bool (*areWithin)(const double* values, std::int64_t count, double low, double high);
};

KVX_DECLARE_KERNELS(ReductionKernels)

}  // namespace kvx
