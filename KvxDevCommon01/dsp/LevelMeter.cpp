// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/LevelMeter.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace kvx {
namespace {

// The classes of levels, 10 lg of a mean square, in dB: far beyond all quantities in both directions.
constexpr double kClassesPerDecibel = 100.0;
constexpr double kLowestDecibel = -1000.0;
constexpr double kHighestDecibel = 1000.0;
constexpr auto kClasses = static_cast<std::size_t>((kHighestDecibel - kLowestDecibel) * kClassesPerDecibel);

constexpr double kSettledTimes = 5.0;
constexpr double kLookSeconds = 0.01;

/// A sum whose blocks are added up apart, so that rounding does not grow with the length of a signal.
class BlockSum {
public:
    void Add(double term) {
        block_ += term;
        if (++count_ % kBlock != 0) return;
        total_ += block_;
        block_ = 0.0;
    }
    double Total() const { return total_ + block_; }

private:
    static constexpr std::uint64_t kBlock = 4096;

    double total_ = 0.0;
    double block_ = 0.0;
    std::uint64_t count_ = 0;
};

class TimeWeighted : public SampleProcess {
public:
    TimeWeighted(const TimeAverage& average, std::int64_t step) : average_(average), step_(step) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        for (const double sample : samples) {
            const double square = average_.Step(sample);
            if (++count_ % step_ == 0) results.push_back(std::sqrt(square));
        }
    }
    void Finish(std::vector<double>&) override {}

private:
    TimeAverage average_;
    std::int64_t step_;
    std::int64_t count_ = 0;
};

}  // namespace

const NamedTimeWeighting& RowOf(TimeWeighting weighting) {
    return *std::ranges::find(kTimeWeightings, weighting, &NamedTimeWeighting::weighting);
}

TimeAverage::TimeAverage(TimeWeighting weighting, double rateHz) {
    if (!(rateHz > 0.0) || !std::isfinite(rateHz))
        throw Error(ErrorKind::kBadValue, "a sampling rate is a number above 0");
    const NamedTimeWeighting& row = RowOf(weighting);
    share_ = -std::expm1(-1.0 / (row.seconds * rateHz));
    if (row.fallSeconds > 0.0) fall_ = std::exp(-1.0 / (row.fallSeconds * rateHz));
}

std::unique_ptr<SampleProcess> MakeTimeWeighting(TimeWeighting weighting, double rateHz, std::int64_t step) {
    if (step < 1) throw Error(ErrorKind::kBadValue, "a step has 1 sample or more");
    return std::make_unique<TimeWeighted>(TimeAverage(weighting, rateHz), step);
}

struct LevelMeter::State {
    double rateHz;
    std::unique_ptr<SampleProcess> weighting;
    std::unique_ptr<SampleProcess> peakWeighting;
    TimeAverage average;
    std::int64_t settled;  ///< the first sample that counts for minima and percentiles
    std::int64_t look;     ///< every so many samples
    BlockSum squares;
    LevelFigures figures;
    std::vector<std::int64_t> classes;
    std::int64_t silent = 0;  ///< looks at a level below all classes
    std::vector<double> weighted;

    void Take(double square) {
        if (figures.count < settled) return;
        figures.minSquare = std::min(figures.minSquare.value_or(square), square);
        if ((figures.count - settled) % look != 0) return;
        const double decibel = 10.0 * std::log10(square);
        if (!(decibel > kLowestDecibel)) {
            ++silent;
            return;
        }
        const double place = (std::min(decibel, kHighestDecibel) - kLowestDecibel) * kClassesPerDecibel;
        ++classes[std::min(static_cast<std::size_t>(place), kClasses - 1)];
    }
};

LevelMeter::LevelMeter(double rateHz, const LevelChoice& choice)
    : state_(new State{
          .rateHz = rateHz,
          .weighting = MakeWeighting(choice.frequency, rateHz),
          .peakWeighting = MakeWeighting(choice.peak, rateHz),
          .average = TimeAverage(choice.time, rateHz),
          .settled = std::llround(std::min(kSettledTimes * RowOf(choice.time).seconds * rateHz, 1e15)),
          .look = std::max<std::int64_t>(1, std::llround(std::min(kLookSeconds * rateHz, 1e15))),
          .squares = {},
          .figures = {},
          .classes = std::vector<std::int64_t>(kClasses),
          .silent = 0,
          .weighted = {}}) {}

LevelMeter::~LevelMeter() = default;
LevelMeter::LevelMeter(LevelMeter&& other) noexcept = default;
LevelMeter& LevelMeter::operator=(LevelMeter&& other) noexcept = default;

void LevelMeter::Add(std::span<const double> samples) {
    LevelFigures& figures = state_->figures;
    state_->weighted.clear();
    state_->peakWeighting->Feed(samples, state_->weighted);
    for (const double sample : state_->weighted)
        figures.peakSquare = std::max(figures.peakSquare, sample * sample);
    state_->weighted.clear();
    state_->weighting->Feed(samples, state_->weighted);
    for (const double sample : state_->weighted) {
        state_->squares.Add(sample * sample);
        const double square = state_->average.Step(sample);
        figures.maxSquare = std::max(figures.maxSquare, square);
        state_->Take(square);
        ++figures.count;
    }
}

LevelFigures LevelMeter::Figures() const {
    LevelFigures figures = state_->figures;
    if (figures.count == 0) return figures;
    figures.seconds = static_cast<double>(figures.count) / state_->rateHz;
    figures.meanSquare = state_->squares.Total() / static_cast<double>(figures.count);
    figures.exposure = state_->squares.Total() / state_->rateHz;
    return figures;
}

std::optional<double> LevelMeter::Exceeded(double percent) const {
    if (!(percent >= 0.0 && percent <= 100.0))
        throw Error(ErrorKind::kBadValue, FormatNumber(percent) + " is not a percentage from 0 to 100");
    const std::vector<std::int64_t>& classes = state_->classes;
    const std::int64_t looks = std::accumulate(classes.begin(), classes.end(), state_->silent);
    if (looks == 0) return std::nullopt;
    const double wanted = 0.01 * percent * static_cast<double>(looks);
    double above = 0.0;
    for (std::size_t i = kClasses; i-- > 0;) {
        const auto own = static_cast<double>(classes[i]);
        if (own == 0.0) continue;
        if (above + own >= wanted) {
            // The levels of a class are taken to be spread evenly over it.
            const double place = static_cast<double>(i + 1) - (wanted - above) / own;
            return std::pow(10.0, 0.1 * (kLowestDecibel + place / kClassesPerDecibel));
        }
        above += own;
    }
    return 0.0;
}

}  // namespace kvx
