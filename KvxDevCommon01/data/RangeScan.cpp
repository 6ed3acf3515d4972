// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/RangeScan.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include <KvxDevCommon01/data/kernels/ReductionKernels.h>

namespace kvx {

template <>
void RangeScan<double>::Add(std::span<const double> values) {
    constexpr std::size_t kCached = 1024;  // values that stay in the first-level cache from loop to loop
    const ReductionKernels& kernels = ActiveKernels<ReductionKernels>();
    for (std::size_t start = 0; start < values.size(); start += kCached) {
        const auto run = values.subspan(start, std::min(kCached, values.size() - start));
        auto [low, high] = kernels.extremes(run.data(), std::ssize(run));
        if (low > high) {
            const auto isNan = [](double value) { return std::isnan(value); };
            holdsNan_ = holdsNan_ || std::ranges::any_of(run, isNan);
            continue;
        }
        const auto firstOf = [&](double extreme) {
            return run[static_cast<std::size_t>(kernels.find(run.data(), std::ssize(run), extreme))];
        };
        if (low == 0.0) low = firstOf(low);
        if (high == 0.0) high = firstOf(high);
        double positiveLow = kTop;
        if (positive_ == SmallestPositive::wanted && high > 0.0)
            positiveLow = low > 0.0 ? low : kernels.smallestPositive(run.data(), std::ssize(run));
        Include(low, high, positiveLow);
    }
}

template <>
void RangeScan<std::int32_t>::Add(std::span<const std::int32_t> values) {
    const auto [low, high] =
        ActiveKernels<ReductionKernels>().longExtremes(values.data(), std::ssize(values));
    std::int32_t positiveLow = kTop;
    if (positive_ == SmallestPositive::wanted && high > 0) {
        for (const std::int32_t value : values) {
            if (value > 0) positiveLow = std::min(positiveLow, value);
        }
    }
    Include(low, high, positiveLow);
}

}  // namespace kvx
