// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/Histogram.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <string>

namespace kvx {

Histogram::Histogram(double low, double high, std::int64_t classes) : low_(low), high_(high) {
    if (classes < 1 || classes > kMostClasses) {
        throw Error(ErrorKind::kBadValue,
                    "a histogram has 1 to " + std::to_string(kMostClasses) + " classes");
    }
    if (!(low < high) || !std::isfinite(high - low))
        throw Error(ErrorKind::kBadValue, "the limits of a histogram are finite, the lower one first");
    counts_.resize(static_cast<std::size_t>(classes));
    if (!(Edge(1) > Edge(0)) || !(Edge(classes) > Edge(classes - 1)))
        throw Error(ErrorKind::kBadValue, "the limits of the histogram are too close for so many classes");
}

double Histogram::Edge(std::int64_t i) const {
    const std::int64_t classes = std::ssize(counts_);
    if (i == classes) return high_;
    return low_ + (high_ - low_) * (static_cast<double>(i) / static_cast<double>(classes));
}

void Histogram::Add(std::span<const double> values) {
    const std::int64_t last = std::ssize(counts_) - 1;
    const double perUnit = static_cast<double>(last + 1) / (high_ - low_);
    for (const double value : values) {
        if (value >= low_ && value <= high_) {
            // Rounding may miss by one class; the edges decide.
            auto i = std::min(static_cast<std::int64_t>((value - low_) * perUnit), last);
            if (value < Edge(i)) {
                --i;
            } else if (i < last && value >= Edge(i + 1)) {
                ++i;
            }
            ++counts_[static_cast<std::size_t>(i)];
        } else if (std::isnan(value)) {
            ++nan_;
        } else if (value > high_) {
            ++above_;
        } else if (value != kNoValue<double>) {
            ++below_;
        }
    }
}

std::int64_t Histogram::Total() const {
    return std::accumulate(counts_.begin(), counts_.end(), below_ + above_ + nan_);
}

std::vector<double> Histogram::Density() const {
    std::vector<double> density(counts_.size());
    const double width = (high_ - low_) / static_cast<double>(counts_.size());
    const double all = static_cast<double>(Total()) * width;
    if (all > 0.0) {
        std::ranges::transform(counts_, density.begin(),
                               [=](std::int64_t count) { return static_cast<double>(count) / all; });
    }
    return density;
}

}  // namespace kvx
