// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/data/detail/LaneSum.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace kvx {

struct SampleStatistics::State {
    LaneSum<double> sum;
    LaneSum<double> squares;
    RangeScan<double> range;
    double peak = 0.0;
    std::int64_t count = 0;
    std::int64_t missing = 0;

    /// Adds samples of which each holds a value.
    void AddValues(std::span<const double> values) {
        sum.Add(values.data(), std::ssize(values), [](double value) { return value; });
        squares.Add(values.data(), std::ssize(values), [](double value) { return value * value; });
        range.Add(values);
        for (const double value : values) peak = std::abs(value) > peak ? std::abs(value) : peak;
        count += std::ssize(values);
    }
};

SampleStatistics::SampleStatistics() : state_(std::make_unique<State>()) {}

SampleStatistics::~SampleStatistics() = default;
SampleStatistics::SampleStatistics(SampleStatistics&& other) noexcept = default;
SampleStatistics& SampleStatistics::operator=(SampleStatistics&& other) noexcept = default;

void SampleStatistics::Add(std::span<const double> samples) {
    const auto isGap = [](double value) { return value == kNoValue<double>; };
    for (auto next = samples.begin(); next != samples.end();) {
        const auto end = std::find_if(next, samples.end(), isGap);
        if (end != next) state_->AddValues({next, end});
        next = std::find_if_not(end, samples.end(), isGap);
        state_->missing += next - end;
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
    // Which of two zeros a search keeps depends on how the signal was cut.
    figures.min += 0.0;
    figures.max += 0.0;
    figures.peak = state_->peak;
    return figures;
}

}  // namespace kvx
