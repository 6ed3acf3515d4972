// SPDX-License-Identifier: MIT
//
// How often the values of a signal of any length fall into each of equally wide classes, and the probability
// density that this estimates. The counts do not depend on how the signal was cut into calls.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// Class i of n holds the values from Edge(i) on and below Edge(i + 1); the last one holds the highest edge
/// as well.
class KVX_API Histogram {
public:
    static constexpr std::int64_t kMostClasses = 1'000'000;

    /// Classes of equal width from `low` to `high`, both finite and low < high. Throws Error (kBadValue) for
    /// other limits, for limits so close that edges would meet, and unless there are 1 to kMostClasses
    /// classes.
    Histogram(double low, double high, std::int64_t classes);

    /// Takes the next values. The no-value marker is none of them.
    void Add(std::span<const double> values);

    double Edge(std::int64_t i) const;
    const std::vector<std::int64_t>& Counts() const { return counts_; }
    /// Values below the lowest and above the highest edge, and those that are not a number.
    std::int64_t Below() const { return below_; }
    std::int64_t Above() const { return above_; }
    std::int64_t NotANumber() const { return nan_; }
    /// All values that were taken.
    std::int64_t Total() const;
    /// Per class its count over that of all values and the width: the integral is the share of the values
    /// that lie within the limits. All 0 before the first value.
    std::vector<double> Density() const;

private:
    double low_;
    double high_;
    std::vector<std::int64_t> counts_;
    std::int64_t below_ = 0;
    std::int64_t above_ = 0;
    std::int64_t nan_ = 0;
};

}  // namespace kvx
