// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/OctaveFilters.h>
#include <KvxDevCommon01/dsp/detail/HalfBand.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <deque>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

namespace kvx {
namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

constexpr std::size_t kSections = 3;
constexpr std::size_t kLanes = 4;   // bands of one rate that are filtered side by side
constexpr double kBandTop = 0.235;  // of a band's own rate
constexpr std::size_t kMostHalvings = 40;
constexpr double kSilence = 0x1p-512;   // magnitudes below this count as 0
constexpr std::size_t kRestEvery = 64;  // results after which the memory of a filter is looked at for them

// The window of Kaiser for these attenuations: beta = 0.1102 (A - 8.7).
const HalfBand& Halving() {
    static const HalfBand filter(10, 0.1102 * (100.0 - 8.7));
    return filter;
}
const HalfBand& Doubling() {
    static const HalfBand filter(42, 0.1102 * (80.0 - 8.7));
    return filter;
}

/// A section y = gain (x - x2) - a1 y1 - a2 y2 of a band-pass.
struct Section {
    double gain;
    double a1;
    double a2;

    Complex Response(double angle) const {
        const Complex z1 = std::polar(1.0, -angle);
        return gain * (1.0 - z1 * z1) / (1.0 + z1 * (a1 + z1 * a2));
    }
};
using BandPass = std::array<Section, kSections>;

/// The band-pass of a band whose edges are fractions of its rate.
BandPass DesignBandPass(double low, double high) {
    constexpr double kNarrowing =
        3.0 / pi;  // the noise bandwidth of the Butterworth low-pass is pi/3 of its corner
    const double tanLow = std::tan(pi * low);
    const double tanHigh = std::tan(pi * high);
    const double middle = std::sqrt(tanLow * tanHigh);
    const double width = (tanHigh - tanLow) * kNarrowing;
    // A pole p of the low-pass becomes two of s^2 - p width s + middle^2; conjugate ones share sections.
    const Complex pair = std::polar(1.0, 2.0 * pi / 3.0) * (0.5 * width);
    const Complex root = std::sqrt(pair * pair - middle * middle);
    const Complex single(-0.5 * width, std::sqrt(middle * middle - 0.25 * width * width));
    const std::array<Complex, kSections> poles = {pair + root, pair - root, single};
    BandPass filter;
    for (std::size_t i = 0; i < kSections; ++i) {
        const Complex z = (1.0 + poles[i]) / (1.0 - poles[i]);
        filter[i] = {1.0, -2.0 * z.real(), std::norm(z)};
        filter[i].gain /= std::abs(filter[i].Response(2.0 * std::atan(middle)));
    }
    return filter;
}

double PowerGainOf(const BandPass& filter, double frequency) {
    double gain = 1.0;
    for (const Section& section : filter) gain *= std::norm(section.Response(2.0 * pi * frequency));
    return gain;
}

/// Up to kLanes bands of one rate: coefficients and memory of all of them side by side.
struct BandGroup {
    using Row = std::array<double, kLanes>;
    struct Rows {
        Row gain{}, a1{}, a2{}, s1{}, s2{};
    };

    std::array<Rows, kSections> sections;
    std::vector<std::size_t> bands;
    std::array<std::vector<double>, kLanes> results;

    void AddBand(std::size_t band, const BandPass& filter) {
        const std::size_t lane = bands.size();
        for (std::size_t i = 0; i < kSections; ++i) {
            sections[i].gain[lane] = filter[i].gain;
            sections[i].a1[lane] = filter[i].a1;
            sections[i].a2[lane] = filter[i].a2;
        }
        bands.push_back(band);
    }

    /// Filters `count` samples into the results from `begin` on.
    void Run(const double* samples, std::size_t count, std::size_t begin) {
        std::array<Rows, kSections> own = sections;
        for (std::size_t i = 0; i < count; ++i) {
            Row x;
            x.fill(samples[i]);
            for (Rows& rows : own) {
                for (std::size_t lane = 0; lane < kLanes; ++lane) {
                    const double in = rows.gain[lane] * x[lane];
                    const double y = in + rows.s1[lane];
                    rows.s1[lane] = rows.s2[lane] - rows.a1[lane] * y;
                    rows.s2[lane] = -in - rows.a2[lane] * y;
                    x[lane] = y;
                }
            }
            for (std::size_t lane = 0; lane < kLanes; ++lane) results[lane][begin + i] = x[lane];
        }
        sections = own;
    }

    /// Lets what a signal leaves behind in silence end in zeros instead of subnormal numbers.
    void Rest() {
        for (Rows& rows : sections) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                if (std::abs(rows.s1[lane]) < kSilence) rows.s1[lane] = 0.0;
                if (std::abs(rows.s2[lane]) < kSilence) rows.s2[lane] = 0.0;
            }
        }
    }
};

/// What runs at one rate.
struct Stage {
    std::vector<BandGroup> groups = {};
    std::optional<HalvedRate> toNext = std::nullopt;
    std::vector<double> next = {};  ///< the samples of the next stage
    std::size_t sinceRest = 0;

    void Feed(std::span<const double> samples, const OctaveFilterBank::Take& take) {
        for (BandGroup& group : groups) {
            for (std::vector<double>& results : group.results) results.resize(samples.size());
            std::size_t since = sinceRest;
            for (std::size_t done = 0; done < samples.size();) {
                const std::size_t count = std::min(samples.size() - done, kRestEvery - since);
                group.Run(samples.data() + done, count, done);
                done += count;
                since = (since + count) % kRestEvery;
                if (since == 0) group.Rest();
            }
            for (std::size_t lane = 0; lane < group.bands.size(); ++lane)
                if (!samples.empty()) take(group.bands[lane], group.results[lane]);
        }
        sinceRest = (sinceRest + samples.size()) % kRestEvery;
    }
};

/// The stage of a band, whose rates are twice the sampling rate, the rate itself, half of it ...
std::size_t StageOf(double highest) {
    std::size_t stage = 0;
    for (double rate = 2.0; stage < kMostHalvings + 1 && highest <= kBandTop * 0.5 * rate; rate *= 0.5)
        ++stage;
    return stage;
}

double RateOfStage(std::size_t stage) {
    return std::ldexp(2.0, -static_cast<int>(stage));
}

}  // namespace

struct OctaveFilterBank::State {
    double rateHz;
    std::vector<std::size_t> stageOfBand;
    std::vector<BandPass> filters;
    std::optional<DoubledRate> doubled;
    std::vector<double> fast;  ///< samples at twice the rate
    std::deque<Stage> stages;  ///< the first one at twice the rate

    /// Feeds the stages from number `first` on.
    void FeedFrom(std::size_t first, std::span<const double> samples, const Take& take) {
        for (std::size_t s = first; s < stages.size(); ++s) {
            stages[s].Feed(samples, take);
            if (!stages[s].toNext) return;
            stages[s].next.clear();
            stages[s].toNext->Feed(samples, stages[s].next);
            samples = stages[s].next;
        }
    }
};

std::vector<OctaveBand> OctaveBandsUpTo(std::int32_t fraction, double fromHz, double rateHz) {
    const double top = kHighestBandEdge * rateHz;
    std::vector<OctaveBand> bands = OctaveBandsBetween(fraction, fromHz, std::max(fromHz, top));
    std::erase_if(bands, [top](const OctaveBand& band) { return band.highHz > top; });
    if (bands.empty()) {
        throw Error(ErrorKind::kBadValue, "no " + FractionText(fraction) + " band from " +
                                              FormatNumber(fromHz) + " Hz on ends below " +
                                              FormatNumber(top) + " Hz, " + FormatNumber(kHighestBandEdge) +
                                              " of the rate");
    }
    return bands;
}

OctaveFilterBank::OctaveFilterBank(double rateHz, std::span<const OctaveBand> bands)
    : state_(std::make_unique<State>()) {
    if (!(rateHz > 0.0) || !std::isfinite(rateHz))
        throw Error(ErrorKind::kBadValue, "a sampling rate is a number above 0");
    if (bands.empty()) throw Error(ErrorKind::kBadValue, "a bank of filters has one band or more");
    state_->rateHz = rateHz;
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const double low = bands[b].lowHz / rateHz;
        const double high = bands[b].highHz / rateHz;
        if (!(low > 0.0 && low < high && high <= kHighestBandEdge)) {
            throw Error(ErrorKind::kBadValue, "the band up to " + FormatNumber(bands[b].highHz) +
                                                  " Hz does not end below " +
                                                  FormatNumber(kHighestBandEdge * rateHz) + " Hz, " +
                                                  FormatNumber(kHighestBandEdge) + " of the rate");
        }
        const std::size_t stage = StageOf(high);
        if (stage > kMostHalvings) {
            throw Error(ErrorKind::kBadValue, "the band at " + FormatNumber(bands[b].midHz) +
                                                  " Hz is too low for a rate of " + FormatNumber(rateHz) +
                                                  " Hz");
        }
        state_->stageOfBand.push_back(stage);
        const double own = RateOfStage(stage);
        state_->filters.push_back(DesignBandPass(low / own, high / own));
        if (state_->stages.size() <= stage) state_->stages.resize(stage + 1);
        std::vector<BandGroup>& groups = state_->stages[stage].groups;
        if (groups.empty() || groups.back().bands.size() == kLanes) groups.emplace_back();
        groups.back().AddBand(b, state_->filters.back());
    }
    if (!state_->stages[0].groups.empty()) state_->doubled.emplace(Doubling());
    for (std::size_t s = 1; s + 1 < state_->stages.size(); ++s) state_->stages[s].toNext.emplace(Halving());
}

OctaveFilterBank::~OctaveFilterBank() = default;
OctaveFilterBank::OctaveFilterBank(OctaveFilterBank&& other) noexcept = default;
OctaveFilterBank& OctaveFilterBank::operator=(OctaveFilterBank&& other) noexcept = default;

double OctaveFilterBank::RateOf(std::size_t band) const {
    return state_->rateHz * RateOfStage(state_->stageOfBand.at(band));
}

double OctaveFilterBank::PowerGain(std::size_t band, double hz) const {
    const double frequency = std::abs(hz) / state_->rateHz;
    const std::size_t stage = state_->stageOfBand.at(band);
    const BandPass& filter = state_->filters[band];
    if (!(frequency < 0.5)) return 0.0;
    const auto squared = [](double gain) { return gain * gain; };
    if (stage == 0) {
        // Between its samples the doubled rate shows the image of the sine as well.
        const auto part = [&](double f) {
            return squared(Doubling().Gain(0.5 * f)) * PowerGainOf(filter, 0.5 * f);
        };
        return part(frequency) + part(1.0 - frequency);
    }
    double gain = 1.0;
    double own = frequency;  // over the rate of the stage
    for (std::size_t s = 1; s < stage; ++s) {
        gain *= squared(Halving().Gain(own));
        own *= 2.0;
        own = std::abs(own - std::round(own));
    }
    return gain * PowerGainOf(filter, own);
}

void OctaveFilterBank::Add(std::span<const double> samples, const Take& take) {
    if (samples.empty()) return;
    if (state_->doubled) {
        state_->fast.clear();
        state_->doubled->Feed(samples, state_->fast);
        state_->stages[0].Feed(state_->fast, take);
    }
    state_->FeedFrom(1, samples, take);
}

void OctaveFilterBank::Finish(const Take& take) {
    if (state_->doubled) {
        state_->fast.clear();
        state_->doubled->Finish(state_->fast);
        state_->stages[0].Feed(state_->fast, take);
    }
    for (std::size_t s = 1; s < state_->stages.size(); ++s) {
        if (!state_->stages[s].toNext) break;
        std::vector<double> rest;
        state_->stages[s].toNext->Finish(rest);
        state_->FeedFrom(s + 1, rest, take);
    }
}

}  // namespace kvx
