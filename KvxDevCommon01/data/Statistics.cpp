// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/data/detail/LaneSum.h>
#include <KvxDevCommon01/data/detail/Moments.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace kvx {

namespace {

/// Samples that stay in the first-level cache from one loop over them to the next.
constexpr std::size_t kCached = 1024;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

}  // namespace

struct SampleStatistics::State {
    LaneSum sum;
    LaneSum squares;
    RangeScan<double> range{SmallestPositive::ignored};
    Moments moments;
    double low = kNan;  ///< those whose places are known
    double high = kNan;
    double peak = kNan;
    SamplePlaces places;
    std::int64_t count = 0;
    std::int64_t missing = 0;

    /// Adds samples of which each holds a value.
    void AddValues(std::span<const double> values) {
        const std::int64_t length = std::ssize(values);
        sum.Add(values.data(), length);
        squares.AddSquares(values.data(), length);
        moments.Add(values);
        range.Add(values);
        FindPlaces(values);
        count += length;
    }

    /// Notes where the extremes are when these values hold new ones.
    void FindPlaces(std::span<const double> values) {
        const ReductionKernels& kernels = ActiveKernels<ReductionKernels>();
        const std::int64_t length = std::ssize(values);
        const auto find = [&](double value) { return kernels.find(values.data(), length, value); };
        const auto note = [&](double extreme, std::int64_t place, double* noted, std::int64_t* at) {
            if (place == length) return;
            *noted = extreme;
            *at = count + missing + place;
        };
        double lowest = kNan;
        double highest = kNan;
        range.Write(&lowest, &highest, nullptr);
        const double magnitude = kernels.largestMagnitude(values.data(), length);
        if (!(lowest >= low)) note(lowest, find(lowest), &low, &places.min);
        if (!(highest <= high)) note(highest, find(highest), &high, &places.max);
        if (!(magnitude <= peak))
            note(magnitude, std::min(find(magnitude), find(-magnitude)), &peak, &places.peak);
    }

    /// Adds the first stretch of samples that either all hold a value or all hold none, and returns the rest.
    std::span<const double> AddStretch(std::span<const double> samples) {
        const auto isGap = [](double value) { return value == kNoValue<double>; };
        const auto values = static_cast<std::size_t>(
            ActiveKernels<ReductionKernels>().find(samples.data(), std::ssize(samples), kNoValue<double>));
        if (values > 0) AddValues(samples.first(values));
        const auto rest = samples.subspan(values);
        const auto next = std::ranges::find_if_not(rest, isGap);
        missing += next - rest.begin();
        return {next, rest.end()};
    }
};

SampleStatistics::SampleStatistics() : state_(std::make_unique<State>()) {}

SampleStatistics::~SampleStatistics() = default;
SampleStatistics::SampleStatistics(SampleStatistics&& other) noexcept = default;
SampleStatistics& SampleStatistics::operator=(SampleStatistics&& other) noexcept = default;

void SampleStatistics::Add(std::span<const double> samples) {
    for (; !samples.empty(); samples = samples.subspan(std::min(kCached, samples.size()))) {
        auto rest = samples.first(std::min(kCached, samples.size()));
        while (!rest.empty()) rest = state_->AddStretch(rest);
    }
}

SampleFigures SampleStatistics::Figures() const {
    SampleFigures figures;
    figures.missing = state_->missing;
    figures.count = state_->count;
    if (state_->count == 0) return figures;
    const auto count = static_cast<double>(state_->count);
    figures.mean = state_->sum.Total() / count;
    figures.rms = std::sqrt(state_->squares.Total() / count);
    state_->range.Write(&figures.min, &figures.max, nullptr);
    // A zero is given without a sign.
    figures.min += 0.0;
    figures.max += 0.0;
    figures.peak = std::isnan(state_->peak) ? 0.0 : state_->peak;
    figures.places = state_->places;
    const CentralSums sums = state_->moments.Total();
    const double variance = sums.second / count;
    figures.deviation = std::sqrt(variance);
    figures.skewness = sums.third / count / (variance * figures.deviation);
    figures.kurtosis = sums.fourth / count / (variance * variance);
    return figures;
}

}  // namespace kvx
