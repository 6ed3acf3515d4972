// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/dsp/SampleQueue.h>
#include <KvxDevCommon01/dsp/SpectralFilter.h>
#include <KvxDevCommon01/platform/Error.h>
#include <tests/dsp/Signals.h>
#include <tests/support/Starve.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <string>

using namespace kvx;

namespace {

using std::numbers::pi;
using Process = std::unique_ptr<SampleProcess>;
using Pass = IirFilter::Pass;
using Kind = SpectralFilter::Kind;

/// What a process makes of a wave that is fed in pieces.
Wave Through(const Process& process, const Wave& wave, std::size_t piece = 1 << 20) {
    Wave results;
    for (std::span<const double> rest = wave; !rest.empty();
         rest = rest.subspan(std::min(piece, rest.size()))) {
        process->Feed(rest.first(std::min(piece, rest.size())), results);
    }
    process->Finish(results);
    return results;
}

/// A sine of amplitude 1 and phase 0.7, sampled from `offset` on.
Wave Sine(double hz, const SampleTimes& times) {
    return WaveOf(static_cast<std::size_t>(times.samples), [&](double i) {
        return std::sin(2 * pi * std::fmod(hz * (i + static_cast<double>(times.offset)) * times.delta, 1.0) +
                        0.7);
    });
}

/// What that sine has become, by its projection on half a second in the middle.
struct SineFit {
    double amplitude;
    double delaySeconds;
    double noise;  ///< rms of the rest over that of the sine
};
SineFit FitSine(const Wave& wave, const SampleTimes& times, double hz) {
    const auto count = static_cast<std::size_t>(std::round(0.5 / times.delta));
    const std::size_t first = (wave.size() - count) / 2;
    const auto angle = [&](std::size_t i) {
        const double at = static_cast<double>(first + i) + static_cast<double>(times.offset);
        return 2 * pi * std::fmod(hz * at * times.delta, 1.0);
    };
    double inPhase = 0.0;
    double quadrature = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        inPhase += wave[first + i] * std::sin(angle(i)) * 2 / static_cast<double>(count);
        quadrature += wave[first + i] * std::cos(angle(i)) * 2 / static_cast<double>(count);
    }
    double rest = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        rest += std::pow(wave[first + i] - inPhase * std::sin(angle(i)) - quadrature * std::cos(angle(i)), 2);
    }
    const double amplitude = std::hypot(inPhase, quadrature);
    return {amplitude, (0.7 - std::atan2(quadrature, inPhase)) / (2 * pi * hz),
            std::sqrt(2 * rest / static_cast<double>(count)) / amplitude};
}

constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;

ResamplingPlan Plan(const SampleTimes& times, CMatFir::RATE_CONV mode, std::int64_t ratio,
                    bool keepDelay = false) {
    return PlanResampling(times, FindRateChange(mode, ratio).value(), keepDelay);
}

// ---- changes of the rate ----

struct RateCase {
    CMatFir::RATE_CONV mode;
    int ratio;
    __int64 offset;     ///< of the first sample
    __int64 newOffset;  ///< of the first sample of the result, which stands where a whole number puts it
};
class Resampling : public testing::TestWithParam<RateCase> {};

TEST_P(Resampling, KeepsASineWithItsAmplitudeAndItsTime) {
    constexpr double kLowerRate = 1000.0;
    constexpr double kRipple = 2.5e-3;  // of up to four filters, and below it what they let through
    constexpr double kImages = 3.2e-4;
    const auto [mode, ratio, offset, newOffset] = GetParam();
    const double rate = mode == kDown ? kLowerRate * ratio : kLowerRate;
    const SampleTimes times = {1 / rate, offset, static_cast<__int64>(rate)};
    const ResamplingPlan plan = Plan(times, mode, ratio);
    EXPECT_EQ(plan.after.samples, mode == kDown ? times.samples / ratio : times.samples * ratio);
    EXPECT_EQ(plan.after.offset, newOffset);
    EXPECT_NEAR(plan.after.delta, mode == kDown ? 1 / kLowerRate : 1 / (kLowerRate * ratio), 1e-18);
    EXPECT_NEAR(plan.bandHz, kLowerRate / 2.56, 1e-9);
    for (const double hz : {96.0, 380.0}) {
        const Wave wave = Through(MakeResampler(plan, Ends::held), Sine(hz, times));
        ASSERT_EQ(Size(wave), plan.after.samples);
        const SineFit sine = FitSine(wave, plan.after, hz);
        EXPECT_NEAR(sine.amplitude, 1.0, kRipple);
        EXPECT_NEAR(sine.delaySeconds, 0.0, 1e-15);
        EXPECT_LT(sine.noise, kImages);
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Ratios, Resampling, testing::Values(
    RateCase{kDown,   2,   0,    0},
    RateCase{kDown,   5,  -3,    0},
    RateCase{kDown,   8,   5,    1},
    RateCase{kDown,  25, -75,   -3},
    RateCase{kDown, 500, 499,    1},
    RateCase{kUp,     4,   1,    4},
    RateCase{kUp,    10,  -3,  -30},
    RateCase{kUp,   500,   2, 1000}));
// clang-format on

TEST(Resampling, UpAndDownAgainGivesTheSignalBack) {
    const SampleTimes times = {1e-3, 3, 900};
    const Wave sine = Sine(150, times);
    const ResamplingPlan up = Plan(times, kUp, 8), down = Plan(up.after, kDown, 8);
    EXPECT_EQ(down.after.offset, 3);
    const Wave back = Through(MakeResampler(down, Ends::held), Through(MakeResampler(up, Ends::held), sine));
    ASSERT_EQ(back.size(), sine.size());
    for (std::size_t i = 50; i < sine.size() - 50; ++i) EXPECT_NEAR(back[i], sine[i], 3e-3) << i;
}

TEST(Resampling, HoldsAConstantUpToTheEnds) {
    const SampleTimes times = {1e-3, 0, 203};
    const Wave constant(203, 5.0);
    for (const auto& [mode, ratio] : {std::pair(kDown, 20), {kUp, 5}, {kDown, 1}}) {
        const Wave level = Through(MakeResampler(Plan(times, mode, ratio), Ends::held), constant);
        for (std::size_t i = 0; i < level.size(); ++i) {
            EXPECT_NEAR(level[i], 5.0, 0.01);
            EXPECT_NEAR(level[i], level[i % 5], 1e-12)
                << ratio;  // up by 5, each phase is a filter of its own
        }
    }
    EXPECT_LT(Through(MakeResampler(Plan(times, kDown, 20), Ends::zero), constant)[0], 3.0);
}

TEST(Resampling, KeepsTheDelayThatItTells) {
    const SampleTimes times = {1e-3, 7, 2000};
    for (const auto& [mode, ratio] : {std::pair(kDown, 10), {kUp, 8}}) {
        const ResamplingPlan plan = Plan(times, mode, ratio, true);
        const Wave wave = Through(MakeResampler(plan, Ends::held), Sine(4, times));
        EXPECT_NEAR(FitSine(wave, plan.after, 4).delaySeconds, plan.delaySeconds, 1e-6) << ratio;
    }
}

TEST(Resampling, FindsTheChangeBetweenTwoRates) {
    const auto ratio = [](double fromHz, double toHz) {
        const std::optional<RateChange> change = FindRateChange(fromHz, toHz);
        return change ? (change->mode == kUp ? change->Ratio() : -change->Ratio()) : 0;
    };
    EXPECT_EQ(ratio(48000, 3000), -16);
    EXPECT_EQ(ratio(1000, 25000.01), 25);
    EXPECT_EQ(ratio(1000, 1000), -1);
    EXPECT_EQ(ratio(1000, 25001), 0);
    EXPECT_EQ(ratio(1000, 3000), 0);
    EXPECT_FALSE(FindRateChange(kUp, 3));
    const std::vector<RateChange> changes = RateChanges();
    EXPECT_EQ(changes.size(), 39U);
    EXPECT_TRUE(
        std::ranges::is_sorted(changes, std::greater(), [](const RateChange& c) { return c.RateAfter(1); }));
}

// ---- filters by samples ----

Process Butterworth(Pass pass, int order, double cornerHz, Ends ends = Ends::held) {
    return MakeIir({pass, order, cornerHz}, 1e-3, ends);
}

TEST(SampleFilters, AButterworthFilterHasItsGain) {
    // Of a low-pass, through the frequencies that the bilinear transform maps to.
    const auto lowPassGain = [](double cornerHz, int order) {
        const double ratio = std::tan(pi * 0.096) / std::tan(pi * cornerHz / 1000);
        return 1 / std::sqrt(1 + std::pow(ratio, 2 * order));
    };
    const SampleTimes times = {1e-3, 0, 4000};
    const struct {
        std::vector<IirFilter> filters;
        double gain;
    } cases[] = {
        {{{Pass::low, 1, 96}}, M_SQRT1_2},
        {{{Pass::high, 1, 96}}, M_SQRT1_2},
        {{{Pass::low, 8, 96}}, M_SQRT1_2},
        {{{Pass::high, 5, 96}}, M_SQRT1_2},
        {{{Pass::low, 3, 70}}, lowPassGain(70, 3)},
        {{{Pass::low, 3, 70}, {Pass::low, 2, 90}}, lowPassGain(70, 3) * lowPassGain(90, 2)},
    };
    for (const auto& [filters, gain] : cases) {
        const Wave wave = Through(MakeSampleFilters({{}, filters, {}}, times.delta), Sine(96, times));
        EXPECT_NEAR(FitSine(wave, times, 96).amplitude, gain, 1e-9);
    }
}

TEST(SampleFilters, StartSettledOrAtRest) {
    const auto first = [](const SampleFilters& filters) {
        return Through(MakeSampleFilters(filters, 1e-3), Wave(20, 5.0)).at(0);
    };
    const FirFilter fir = BuiltInFir(CMatFir::FIR_COEF_2_SHORT);
    const IirFilter low = {Pass::low, 4, 10}, high = {Pass::high, 4, 10};
    EXPECT_DOUBLE_EQ(first({{}, {low}, {}}), 5.0);
    EXPECT_EQ(first({{}, {high}, Ends::held}), 0.0);
    EXPECT_NEAR(first({{fir}, {low}, {}}), 5.0, 0.01);
    EXPECT_LT(first({{}, {low}, Ends::zero}), 0.1);
    EXPECT_NEAR(first({{}, {high}, {}}), 5.0, 0.5);
    EXPECT_LT(first({{fir}, {}, Ends::zero}), 4.0);
}

TEST(SampleFilters, AFirFilterAnswersAnImpulseMovedForward) {
    const struct {
        FirFilter filter;
        Wave response;  ///< to an impulse of 1 at sample 2 of 6
    } cases[] = {
        {{{0.25, 0.5, 0.25}, 1}, {0, 0.25, 0.5, 0.25, 0, 0}},
        {{{0.25, 0.5, 0.25}, 0}, {0, 0, 0.25, 0.5, 0.25, 0}},
        {{{-1, 0, 1}, 1}, {0, -1, 0, 1, 0, 0}},
        {{{3, 2, 1}, 0}, {0, 0, 3, 2, 1, 0}},
        {{{3, 2, 1}, 5}, {0, 0, 0, 0, 0, 0}},
        {{{2}, 0}, {0, 0, 2, 0, 0, 0}},
    };
    for (const auto& [filter, response] : cases)
        EXPECT_EQ(Through(MakeFir(filter, Ends::held), {0, 0, 1, 0, 0, 0}), response);
}

TEST(SampleFilters, OnlySymmetricCoefficientsDelayAllFrequenciesAlike) {
    EXPECT_EQ(LinearPhaseDelay(Wave{1, 2, 1}), 1.0);
    EXPECT_EQ(LinearPhaseDelay(Wave{-1, 2, -2, 1.000001}), 1.5);
    EXPECT_EQ(LinearPhaseDelay(Wave{7}), 0.0);
    EXPECT_EQ(LinearPhaseDelay(Wave{1, 2, 1.001}), std::nullopt);
    EXPECT_EQ(LinearPhaseDelay(Wave{1, kNaN, 1}), std::nullopt);
    EXPECT_EQ(LinearPhaseDelay({}), std::nullopt);
    for (const auto& [set, taps] : {std::pair(CMatFir::FIR_COEF_2, 37), {CMatFir::FIR_COEF_5_SHORT, 33}}) {
        const FirFilter filter = BuiltInFir(set);
        EXPECT_EQ(std::ssize(filter.coefficients), taps);
        EXPECT_EQ(LinearPhaseDelay(filter.coefficients), static_cast<double>(filter.delay));
    }
    const PassedBand band =
        BandOf(std::vector<IirFilter>{{Pass::low, 1, 9}, {Pass::high, 1, 5}, {Pass::low, 1, 8}});
    EXPECT_EQ(std::pair(band.lowestHz, band.highestHz), std::pair(5.0, 8.0));
}

// ---- filters through spectra ----

Process Spectral(const SpectralFilter& filter, CMatBasic::DATA_TERM term, double rateHz = 1024) {
    return MakeSpectralFilter(std::make_shared<SpectralResponse>(DesignSpectralFilter(filter, rateHz)), term);
}

TEST(SpectralFilters, PassASineWithTheirGain) {
    const SampleTimes times = {1.0 / 1024, 0, 5120};
    constexpr double kSmoothed = 1e-4;  // gains without phase are smoothed, the more the sharper
    constexpr double kCut = 1e-5;
    const struct {
        SpectralFilter filter;
        double gain;  ///< of a sine at 96 Hz
        double tolerance;
    } cases[] = {
        {{Kind::first, 64, {}}, 1 / std::sqrt(3.25), 1e-9},
        {{Kind::first, {}, 64}, 1.5 / std::sqrt(3.25), 1e-9},
        {{Kind::second, 64, {}, 4, 2}, 1 / std::sqrt(2.125), 1e-9},
        {{Kind::second, {}, 64}, 2.25 / std::sqrt(1 + 5.0625), 1e-9},
        {{Kind::butterworth, 64, {}}, 1 / std::sqrt(1 + std::pow(1.5, 8)), 1e-9},
        {{Kind::butterworth, {}, 64, 1}, 1.5 / std::sqrt(3.25), 1e-9},
        {{Kind::first, 64, 64}, 1.5 / 3.25, 1e-9},
        {{Kind::second, 64, {}, 4, 0.2}, 1 / std::sqrt(1.5625 + 56.25), kCut},
        {{Kind::slope, 64, {}, 2}, 1 / 2.25, kSmoothed},
        {{Kind::slope, {}, 128, 2}, 0.5625, kSmoothed},
        {{Kind::cut, 64, {}}, 0, kCut},
        {{Kind::cut, {}, 64}, 1, kCut},
    };
    for (const auto& [filter, gain, tolerance] : cases) {
        const Wave wave = Through(Spectral(filter, CMatBasic::TERM_PERIODIC), Sine(96, times));
        EXPECT_NEAR(FitSine(wave, times, 96).amplitude, gain, tolerance) << static_cast<int>(filter.kind);
    }
}

TEST(SpectralFilters, GiveTheBitsOfTheWholeSignalHoweverItIsCut) {
    for (const __int64 block : {16, 64, 4096}) {
        const auto response =
            std::make_shared<SpectralResponse>(DesignSpectralFilter({Kind::first, 400}, 1024, block));
        for (const std::size_t count : {1U, 7U, 64U, 5003U}) {
            const CDataArrayDouble wave = ToArray(Noise(count));
            for (const auto term : {CMatBasic::TERM_ZERO, CMatBasic::TERM_HOLD, CMatBasic::TERM_PERIODIC}) {
                CDataArrayDouble whole(Size(Noise(count)), 0.0);
                ASSERT_EQ(CMatBasic::SpecFiltering(&whole, wave, term, response->lines, block), 1);
                for (const std::size_t piece : {1U, 5U, 300U, 10000U}) {
                    EXPECT_EQ(Through(MakeSpectralFilter(response, term), ToWave(wave), piece), ToWave(whole))
                        << block << " " << count << " " << term << " " << piece;
                }
            }
        }
    }
}

// A vibration begins anywhere in its period; held for ever, its first value would be an offset of its own.
TEST(HighPasses, MakeNoStepOfTheFirstSample) {
    const Wave vibration =
        WaveOf(4000, [](double i) { return 998 * std::sin(2 * pi * 0.06 * i - std::asin(612.0 / 998)); });
    const auto peak = [&](const Process& process) {
        double highest = 0;
        for (const double y : Through(process, vibration)) highest = std::max(highest, std::abs(y));
        return highest;
    };
    const std::vector<IirFilter> band = {{Pass::low, 2, 400}, {Pass::high, 2, 5}};
    EXPECT_LT(peak(MakeSampleFilters({{}, band, {}}, 1e-3)), 1.1 * 998);
    EXPECT_GT(peak(MakeSampleFilters({{}, band, Ends::held}, 1e-3)), 1.2 * 998);
    for (const SpectralFilter& filter : {SpectralFilter{Kind::butterworth, {}, 5}, {Kind::second, 300, 5}}) {
        EXPECT_LT(peak(Spectral(filter, CMatBasic::TERM_ZERO, 1000)), 1.1 * 998);
        EXPECT_GT(peak(Spectral(filter, CMatBasic::TERM_HOLD, 1000)), 1.2 * 998);
    }
}

TEST(HeldEnds, KeepAConstantThroughALowPass) {
    const SpectralFilter lowPass = {Kind::butterworth, 10, {}};
    const Wave constant(100, 1.0);
    EXPECT_THAT(Through(Spectral(lowPass, CMatBasic::TERM_HOLD), constant), Near(constant, 1e-6));
    EXPECT_LT(Through(Spectral(lowPass, CMatBasic::TERM_ZERO), constant)[0], 0.01);
}

// ---- all of them ----

/// One of everything that keeps its count in constant memory.
Process Everything(__int64 samples) {
    std::vector<Process> links;
    links.push_back(MakeFir({{0.5, 0.25, 0.125, 0.0625, 2}, 2}, Ends::held));
    links.push_back(Butterworth(Pass::high, 3, 10));
    links.push_back(Spectral({Kind::butterworth, 200, {}}, CMatBasic::TERM_HOLD));
    const ResamplingPlan down = Plan({1e-3, 0, samples}, kDown, 10);
    links.push_back(MakeResampler(down, Ends::held));
    links.push_back(MakeResampler(Plan(down.after, kUp, 4), Ends::zero));
    return MakeChain(std::move(links));
}

TEST(Chains, GiveTheSameBitsHoweverTheSignalIsCut) {
    const Wave wave = Noise(7001);
    const Wave whole = Through(Everything(7001), wave);
    EXPECT_EQ(whole.size(), 4U * 701U);
    for (const std::size_t piece : {1U, 5U, 20U, 300U, 4099U})
        EXPECT_EQ(Through(Everything(7001), wave, piece), whole) << piece;
    EXPECT_EQ(Through(MakeChain({}), wave, 300), wave);
    EXPECT_EQ(Through(Everything(1000), {}).size(), 400U);  // what is missing is held
}

TEST(Chains, AllocateNothingOnceTheyRun) {
    constexpr std::size_t kBlock = 5000;
    const Wave wave = Noise(kBlock);
    const Process chain = Everything(40 * static_cast<__int64>(kBlock));
    Wave results;
    results.reserve(20 * kBlock);
    for (int block = 0; block < 10; ++block) chain->Feed(wave, results);
    const FailingMemory failing(0);
    for (int block = 0; block < 10; ++block) EXPECT_NO_THROW(chain->Feed(wave, results));
}

TEST(SampleQueue, GivesTheNewestInTheirOrder) {
    SampleQueue queue;
    EXPECT_FALSE(queue.Put(1.0));
    EXPECT_EQ(queue.Take(), 0.0);
    queue.SetSize(4);
    EXPECT_TRUE(queue.Put(Wave{1, 2, 3}));
    EXPECT_EQ(queue.Take(), 1.0);
    EXPECT_TRUE(queue.PutRepeated(7, 2));
    EXPECT_FALSE(queue.Put(8.0));
    EXPECT_FALSE(queue.Put(Wave{1, 2, 3, 4, 5, 6}));
    SampleQueue copy = queue;
    Wave out(3);
    EXPECT_EQ(copy.Take(out), 3);
    EXPECT_THAT(out, testing::ElementsAre(3, 4, 5));
    EXPECT_EQ(copy.Take(out), 1);
    EXPECT_EQ(out[0], 6.0);
    EXPECT_EQ(queue.GetNum(), 4);
    queue.SetSize(2);
    EXPECT_EQ(queue.GetNum(), 0);
    EXPECT_THROW(queue.SetSize(kFarthest), std::bad_alloc);
    EXPECT_EQ(queue.GetSize(), 0);
}

TEST(RunProcesses, TakesChannelsInBlocksAndMeasuresThem) {
    const std::vector<Wave> waves = {Noise(1000, 1), Noise(1000, 2), Noise(1000, 3)};
    for (const std::size_t room : {1U, 64U, 5000U}) {
        std::vector<RmsChange> levels(3);
        std::vector<Process> processes;
        for (RmsChange& level : levels)
            processes.push_back(MakeMeasured(MakeFir({{0, 2}, 1}, Ends::zero), level));
        std::size_t at = 0;
        std::vector<Wave> out(3);
        RunProcesses(
            processes, room,
            [&](std::span<double* const> channels, std::size_t most) {
                const std::size_t count = std::min(most, 1000 - at);
                for (std::size_t c = 0; c < 3; ++c) std::copy_n(waves[c].data() + at, count, channels[c]);
                at += count;
                return count;
            },
            [&](std::span<double* const> channels, std::size_t count) {
                for (std::size_t c = 0; c < 3; ++c)
                    out[c].insert(out[c].end(), channels[c], channels[c] + count);
            });
        for (std::size_t c = 0; c < 3; ++c) {
            double squares = 0;
            for (std::size_t i = 0; i < 1000; ++i) {
                squares += waves[c][i] * waves[c][i];
                ASSERT_EQ(out[c].at(i), 2 * waves[c][i]);
            }
            EXPECT_DOUBLE_EQ(levels[c].before.Get(), std::sqrt(squares / 1000));
            EXPECT_DOUBLE_EQ(levels[c].after.Get(), 2 * std::sqrt(squares / 1000));
        }
    }
}

TEST(Processes, SayWhatIsWrongWithTheirValues) {
    const FirFilter fir = {{1, 2}, 1};
    const SpectralResponse small = {16, CDataArrayDoubleCplx(1, 7)};
    const auto none = [](std::span<double* const>, std::size_t) -> std::size_t { return 0; };
    const auto drop = [](std::span<double* const>, std::size_t) {};
    const auto design = [](const SpectralFilter& filter, std::optional<__int64> block = {}) {
        DesignSpectralFilter(filter, 1000, block);
    };
    const struct {
        std::function<void()> action;
        ErrorKind kind;
        const char* sentence;
    } cases[] = {
        {[] { Butterworth(Pass::low, 1025, 10); }, ErrorKind::kBadValue,
         "order of 1025 is above the limit of 1024"},
        {[] { Butterworth(Pass::low, 0, 10); }, ErrorKind::kBadValue, "order of 0 is below 1"},
        {[] { Butterworth(Pass::high, 2, 500); }, ErrorKind::kBadValue,
         "500 Hz is not below half its rate of 1000 Hz"},
        {[] { Butterworth(Pass::high, 2, kNaN); }, ErrorKind::kBadValue, "is not above 0"},
        {[] { MakeFir({}, Ends::held); }, ErrorKind::kBadValue, "no coefficients"},
        {[] {
             MakeFir({{1}, -1}, Ends::held);
         },
         ErrorKind::kBadValue, "a delay of -1 samples"},
        {[] { BuiltInFir(static_cast<CMatFir::FIR_COEF>(6)); }, ErrorKind::kUnknownName,
         "no built-in filter 6"},
        {[&] { design({Kind::first}); }, ErrorKind::kBadValue, "no corner"},
        {[&] {
             design({Kind::first, 600, {}});
         },
         ErrorKind::kBadValue, "not below half"},
        {[&] {
             design({Kind::first, 10, 20});
         },
         ErrorKind::kBadValue, "leave no band"},
        {[&] {
             design({Kind::butterworth, 10, {}, 1.5});
         },
         ErrorKind::kBadValue, "the order 1.5"},
        {[&] {
             design({Kind::slope, 10, {}, 0});
         },
         ErrorKind::kBadValue, "the order 0"},
        {[&] {
             design({Kind::second, 10, {}, 4, -1});
         },
         ErrorKind::kBadValue, "the quality -1"},
        {[&] {
             design({Kind::first, 10, {}}, 1000);
         },
         ErrorKind::kBadValue, "1000 samples is not a power of two"},
        {[&] {
             design({Kind::first, 0.01, {}});
         },
         ErrorKind::kUnsupported, "needs blocks of more than 131072"},
        {[&] { MakeSpectralFilter(std::make_shared<SpectralResponse>(small), CMatBasic::TERM_ZERO); },
         ErrorKind::kBadValue, "does not fit its block"},
        {[] {
             Plan({1e-3, 0, 3}, kDown, 4, true);
         },
         ErrorKind::kBadValue, "too few for a ratio of 4"},
        {[] {
             Plan({1e-3, kLowest / 4, 3}, kDown, 4);
         },
         ErrorKind::kUnsupported, "begins too far from 0 s"},
        {[] {
             Plan({1e-3, 1 << 30, 3}, kUp, 4);
         },
         ErrorKind::kUnsupported, "begins too far from 0 s"},
        {[] {
             Plan({1e-3, 0, kFarthest}, kUp, 4);
         },
         ErrorKind::kUnsupported, "too many samples"},
        {[] {
             PlanResampling({1e-3, 0, 9}, {kUp, CMatMrf::OVS_RAT_UNKNOWN}, false);
         },
         ErrorKind::kBadValue, "unknown ratio"},
        {[&] { RunProcesses({}, 1, none, nullptr); }, ErrorKind::kBadValue, "one or more channels"},
        {[&] {
             std::vector<Process> processes;
             processes.push_back(MakeChain({}));
             processes.push_back(MakeResampler(Plan({1e-3, 0, 9}, kUp, 2), Ends::held));
             RunProcesses(processes, 1, none, drop);
         },
         ErrorKind::kBadValue, "different numbers of results"},
        {[&] { RunProcesses(std::vector<Process>(1), 1, none, drop); }, ErrorKind::kBadValue, "missing"},
        {[&] { RunProcesses(std::vector<Process>(1), 1, {}, drop); }, ErrorKind::kBadValue, "source"},
        {[&] {
             std::vector<Process> processes;
             processes.push_back(MakeChain({}));
             RunProcesses(
                 processes, 1, [](auto, std::size_t) { return std::size_t{2}; }, drop);
         },
         ErrorKind::kBadValue, "more samples came"},
        {[] { MakeChain(std::vector<Process>(1)); }, ErrorKind::kBadValue, "missing"},
        {[] { MakeSpectralFilter(nullptr, CMatBasic::TERM_ZERO); }, ErrorKind::kBadValue, "response"},
        {[] {
             MakeIir({Pass::low, 2, 10}, 0, Ends::held);
         },
         ErrorKind::kBadValue, "below half"},
        {[] {
             MakeResampler({{kUp, CMatMrf::OVS_RAT_UNKNOWN}}, Ends::held);
         },
         ErrorKind::kBadValue, "unknown ratio"},
        {[] {
             Plan({kNaN, 0, 9}, kUp, 2);
         },
         ErrorKind::kBadValue, "spacing"},
    };
    for (const auto& [action, kind, sentence] : cases) {
        try {
            action();
            ADD_FAILURE() << sentence;
        } catch (const Error& error) {
            EXPECT_EQ(error.Kind(), kind) << sentence;
            EXPECT_THAT(error.Sentence(), testing::HasSubstr(sentence));
        }
    }
}

TEST(MovingRms, IsThatOfEachWindowWithoutTheTraceOfWhatHasLeftIt) {
    Wave wave = Noise(500);
    wave[40] = 1e12;
    for (const MovingWindow window : {MovingWindow{7, 3}, {1, 1}, {10, 10}, {10, 25}, {64, 1}, {500, 9}}) {
        const Wave moving = Through(MakeMovingRms(window), wave);
        ASSERT_EQ(Size(moving), CountMoving(window, 500));
        for (std::int64_t k = 0; k < Size(moving); ++k) {
            long double sum = 0;
            for (std::int64_t i = 0; i < window.samples; ++i) {
                const auto x = static_cast<long double>(wave[static_cast<std::size_t>(k * window.step + i)]);
                sum += x * x;
            }
            const double exact =
                static_cast<double>(std::sqrt(sum / static_cast<long double>(window.samples)));
            EXPECT_NEAR(moving[static_cast<std::size_t>(k)], exact, 1e-14 * exact) << window.samples;
        }
        for (const std::size_t piece : {1U, 9U, 100U})
            EXPECT_EQ(Through(MakeMovingRms(window), wave, piece), moving);
    }
    EXPECT_EQ(MovingWindowOf(0.5, 0.0, 1024).step, 512);
    EXPECT_EQ(CountMoving({501, 1}, 500), 0);
    EXPECT_TRUE(IsBadValue([] { MovingWindowOf(1e-4, 0.0, 1024); }));
    EXPECT_TRUE(IsBadValue([] { MovingWindowOf(1.0, kNaN, 1024); }));
    EXPECT_TRUE(IsBadValue([] { MakeMovingRms({0, 1}); }));
}

}  // namespace
