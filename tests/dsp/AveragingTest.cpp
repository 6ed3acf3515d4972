// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <tests/dsp/Signals.h>

#include <algorithm>

namespace {

using kvx::AveragedSpectrum;
using kvx::AverageMode;
using kvx::Averaging;
using kvx::Detrend;
using kvx::ErrorKind;

// scipy.signal.welch of SciPy 1.10.1, window hann of 100 samples, noverlap 60, nfft 128, of the noise of
// Noise(1000) on the line 5 + 0.01 n, at 500 Hz.
TEST(Averaging, AgreesWithScipyOnTrendsZerosAndTheLastLine) {
    struct Case {
        Detrend detrend;
        Wave density, power;  // lines 0, 1, 2, 33, 63, 64
    };
    const Case cases[] = {
        // clang-format off
        {Detrend::kNone,
         {14.0670632204758, 12.3807080250431, 0.537847316042431, 0.00183101879852037, 0.00126152034424025, 0.000688476947457674},
         {105.502974153569, 92.855310187823, 4.03385487031823, 0.0137326409889028, 0.00946140258180186, 0.00516357710593255}},
        {Detrend::kMean,
         {0.000286506712088456, 0.00467017211140737, 0.0030565721027741, 0.00183141977577345, 0.00126153247481651, 0.00068847694745767},
         {0.00214880034066342, 0.0350262908355552, 0.0229242907708057, 0.0137356483183009, 0.00946149356112381, 0.00516357710593252}},
        {Detrend::kLinear,
         {0.000275746243427414, 0.000804949699754914, 0.00103592413427204, 0.00183137578892419, 0.00126153251811151, 0.000688476947457671},
         {0.00206809682570561, 0.00603712274816185, 0.00776943100704027, 0.0137353184169314, 0.00946149388583629, 0.00516357710593253}},
        // clang-format on
    };
    Wave signal = Noise(1000);
    for (std::size_t n = 0; n < signal.size(); ++n) signal[n] += 5.0 + 0.01 * static_cast<double>(n);
    for (const auto& [detrend, density, power] : cases) {
        AveragedSpectrum average(ToWave(Hann(100)), 60,
                                 {.detrend = detrend, .transformSize = 128, .hasMiddleLine = true});
        for (std::size_t i = 0; i < 1000; i += 125) average.Add(std::span(signal).subspan(i, 125));
        EXPECT_EQ(average.Blocks(), 23);
        const Wave densities = average.Psd(500.0), powers = average.Power(), amplitudes = average.Amplitude();
        ASSERT_EQ(densities.size(), 65U);
        constexpr std::size_t kLines[] = {0, 1, 2, 33, 63, 64};
        for (std::size_t i = 0; i < std::size(kLines); ++i) {
            SCOPED_TRACE(kLines[i]);
            const std::size_t k = kLines[i];
            EXPECT_NEAR(densities[k], density[i], 1e-12 * density[i]);
            EXPECT_NEAR(powers[k], power[i], 1e-12 * power[i]);
            const bool isSingle = k == 0 || k == 64;
            EXPECT_NEAR(amplitudes[k], std::sqrt(power[i] * (isSingle ? 1.0 : 2.0)), 1e-12 * amplitudes[k]);
        }
    }
}

TEST(Averaging, TakesTheTrendOutOfSingleBlocksAndTransferFunctions) {
    // 3 sin on line 4, with its own least-squares line, beside which the sine is left.
    const auto sine = [](double n) { return 3.0 * std::sin(2.0 * std::numbers::pi * 4.0 * n / 64.0); };
    const Wave plain = WaveOf(64, sine);
    const Wave tilted = WaveOf(64, [&](double n) { return sine(n) + 1e6 - 2e3 * n; });
    const Wave rectangular(64, 1.0);
    const Averaging averaging = {.detrend = Detrend::kLinear, .hasMiddleLine = true};
    const auto expected = kvx::BlockSpectrum(plain, rectangular, averaging);
    const auto lines = kvx::BlockSpectrum(tilted, rectangular, averaging);
    ASSERT_EQ(lines.size(), 33U);
    for (std::size_t k = 0; k < lines.size(); ++k)
        EXPECT_NEAR(std::abs(lines[k] - expected[k]), 0.0, 1e-9) << k;
    EXPECT_NEAR(lines[0].real(), 0.0, 1e-9);
    Wave alternating = WaveOf(64, [](double n) { return std::cos(std::numbers::pi * n); });
    EXPECT_NEAR(kvx::BlockSpectrum(alternating, rectangular, {.hasMiddleLine = true}).back().real(), 1.0,
                1e-14);

    kvx::AveragedTransfer transfer(rectangular, 32, Detrend::kMean);
    const Wave noise = Noise(640);
    Wave x = noise, y = noise;
    for (double& v : x) v += 100.0;
    for (double& v : y) v = 2.0 * v - 7.0;
    transfer.Add(x, y);
    for (std::size_t k = 1; k < 32; ++k) EXPECT_NEAR(std::abs(transfer.Transfer()[k] - 2.0), 0.0, 1e-11) << k;
}

TEST(Averaging, HoldsPeaksAndMinimaAndForgetsExponentially) {
    const Wave signal = Noise(64 * 40), window = ToWave(Hann(64));
    std::vector<Wave> blocks;
    for (std::size_t start = 0; start + 64 <= signal.size(); start += 16) {
        AveragedSpectrum block(window, 0);
        block.Add(std::span(signal).subspan(start, 64));
        blocks.push_back(block.Psd(2.0));
    }
    for (const AverageMode mode :
         {AverageMode::kPeakHold, AverageMode::kMinimum, AverageMode::kExponential}) {
        SCOPED_TRACE(kvx::NameOf(mode));
        Wave expected = blocks.front();
        for (std::size_t b = 1; b < blocks.size(); ++b) {
            const double weight = std::max(0.1, 1.0 / static_cast<double>(b + 1));
            for (std::size_t k = 0; k < expected.size(); ++k) {
                const double power = blocks[b][k];
                expected[k] = mode == AverageMode::kPeakHold  ? std::max(expected[k], power)
                              : mode == AverageMode::kMinimum ? std::min(expected[k], power)
                                                              : (1 - weight) * expected[k] + weight * power;
            }
        }
        AveragedSpectrum average(window, 48, {.mode = mode, .weight = 0.1});
        for (std::size_t i = 0; i < signal.size(); i += 40) average.Add(std::span(signal).subspan(i, 40));
        EXPECT_THAT(average.Psd(2.0), Near(expected, 1e-15));
        EXPECT_EQ(average.DegreesOfFreedom().has_value(), mode == AverageMode::kExponential);
        average.Add(Wave(64, 1e200));
        average.Add(Wave(640, 0.0));
        EXPECT_EQ(std::isfinite(average.Psd(2.0)[1]), mode == AverageMode::kMinimum);
    }
    EXPECT_NEAR(kvx::ExponentialWeight(2.0, 0.5), 0.2211992169285951, 1e-16);
    for (const double weight : {0.0, 1.01, kNaN}) {
        EXPECT_TRUE(IsBadValue(
            [&] { AveragedSpectrum(window, 0, {.mode = AverageMode::kExponential, .weight = weight}); }));
    }
    EXPECT_TRUE(IsBadValue([] { kvx::ExponentialWeight(0.0, 1.0); }));
}

// Harris (1978), table I, prints the root of rho(1) in percent at 75 % and 50 % overlap.
TEST(Averaging, CountsOverlappingBlocksForWhatTheyAreWorth) {
    struct Row {
        const char* window;
        double at75, at50;
    };
    for (const auto& [name, at75, at50] :
         {Row{"rectangular", 75.0, 50.0}, Row{"hann", 65.9, 16.7}, Row{"hamming", 70.7, 23.5},
          Row{"blackman", 56.7, 9.0}, Row{"blackman-harris", 46.0, 3.8},
          Row{"blackman-harris-67", 57.2, 9.6}}) {
        const Wave window = kvx::MakeWindow(name, 1024);
        EXPECT_NEAR(100.0 * std::sqrt(kvx::BlockCorrelations(window, 256, 1).at(0)), at75, 0.3) << name;
        EXPECT_NEAR(100.0 * std::sqrt(kvx::BlockCorrelations(window, 512, 9).at(0)), at50, 0.3) << name;
        EXPECT_EQ(kvx::BlockCorrelations(window, 512, 9).size(), 1U);
    }
    const auto degrees = [](std::int64_t overlap, std::initializer_list<std::size_t> signals,
                            Averaging averaging) {
        AveragedSpectrum average(Hann(64), overlap, averaging);
        for (const std::size_t length : signals) {
            average.Add(Wave(length));
            average.NextSignal();
        }
        return average.DegreesOfFreedom();
    };
    EXPECT_EQ(degrees(0, {63}, {}), std::nullopt);
    EXPECT_DOUBLE_EQ(degrees(0, {640}, {}).value(), 20.0);
    // Hann at half overlap: rho(1) = 1/36.
    EXPECT_NEAR(degrees(32, {32 * 11}, {}).value(), 200.0 / (10.0 + 18.0 / 36.0), 1e-12);
    EXPECT_NEAR(degrees(32, {64, 64, 96, 10}, {}).value(), 32.0 / (4.0 + 2.0 / 36.0), 1e-12);
    const Averaging exponential = {.mode = AverageMode::kExponential, .weight = 0.1};
    EXPECT_NEAR(degrees(0, {640}, exponential).value(), 20.0, 1e-12);
    EXPECT_NEAR(degrees(0, {64 * 1000}, exponential).value(), 2.0 * 1.9 / 0.1, 1e-9);
    EXPECT_NEAR(degrees(32, {64 * 1000}, exponential).value(), 38.0 / (1.0 + 1.8 / 36.0), 1e-9);
}

TEST(Averaging, VariesAsItsDegreesOfFreedomSay) {
    struct Case {
        std::int64_t overlap;
        AverageMode mode;
    };
    for (const auto& [overlap, mode] : {Case{48, AverageMode::kLinear}, Case{32, AverageMode::kLinear},
                                        Case{48, AverageMode::kExponential}}) {
        double mean = 0.0, square = 0.0, degrees = 0.0;
        constexpr int kAverages = 400;
        for (int i = 0; i < kAverages; ++i) {
            AveragedSpectrum average(Hann(64), overlap, {.mode = mode, .weight = 0.05});
            average.Add(Noise(2000, static_cast<std::uint64_t>(i)));
            const Wave lines = average.Psd(1.0);
            for (std::size_t k = 3; k < 30; ++k) {
                mean += lines[k] / (kAverages * 27);
                square += lines[k] * lines[k] / (kAverages * 27);
            }
            degrees = average.DegreesOfFreedom().value();
        }
        EXPECT_NEAR(2.0 * mean * mean / (square - mean * mean) / degrees, 1.0, 0.06) << overlap;
    }
}

// scipy.stats.chi2.ppf of SciPy 1.10.1; the quantiles of 2 are -2 ln(1 - p).
TEST(Averaging, HasTheQuantilesOfTheChiSquareDistribution) {
    struct Row {
        double degrees;
        Wave at;  // 0.001, 0.05, 0.5, 0.95, 0.999
    };
    const Row rows[] = {
        {0.7,
         {3.86016395506489e-09, 0.00027596255069831, 0.214738971723687, 3.04391674007672, 9.67812672742199}},
        {2, {0.00200100066716707, 0.102586588775101, 1.38629436111989, 5.99146454710798, 13.8155105579643}},
        {10, {1.47874346383566, 3.94029913611906, 9.34181776559197, 18.3070380532751, 29.5882984450744}},
        {63.5, {34.2689400155475, 46.1679958962321, 62.8345919680931, 83.1021390286737, 104.079620692014}},
        {1e4, {9568.66849509397, 9768.52513566754, 9999.33334123514, 10233.7488976779, 10442.7305654102}},
        {1e7, {9986185.76048885, 9992645.12815866, 9999999.33333334, 10007357.1458993, 10013825.6388918}},
    };
    constexpr double kProbabilities[] = {0.001, 0.05, 0.5, 0.95, 0.999};
    for (const auto& [degrees, at] : rows) {
        for (std::size_t i = 0; i < at.size(); ++i)
            EXPECT_NEAR(kvx::ChiSquareQuantile(kProbabilities[i], degrees) / at[i], 1.0, 1e-12)
                << degrees << ' ' << i;
    }
    const kvx::ConfidenceLimits limits = kvx::ConfidenceOf(10.0, 0.9);
    EXPECT_NEAR(limits.lower, 10.0 / 18.3070380532751, 1e-12);
    EXPECT_NEAR(limits.upper, 10.0 / 3.94029913611906, 1e-12);
    for (const double level : {0.0, 1.0, kNaN})
        EXPECT_TRUE(IsBadValue([&] { kvx::ConfidenceOf(10.0, level); }));
    for (const double degrees : {0.0, -1.0, kNaN, kInfinity})
        EXPECT_TRUE(IsBadValue([&] { kvx::ConfidenceOf(degrees, 0.9); }));
}

TEST(Averaging, ChoosesBlocksAndRefusesWhatMakesNone) {
    struct Case {
        double rate, spacing;
        std::int64_t size;
    };
    for (const auto& [rate, spacing, size] :
         {Case{2048.0, 1.0, 2048}, Case{2048.0, 1.5, 2048}, Case{2000.0, 1.0, 2048},
          Case{51200.0, 0.1, 524288}, Case{0.1 * 1024, 0.1, 1024}, Case{10.0, 100.0, 2},
          Case{4194304.0, 1.0, 4194304}})
        EXPECT_EQ(kvx::BlockSizeFor(rate, spacing), size) << rate << ' ' << spacing;
    for (const auto& bad : {std::pair{4194305.0, 1.0}, {1.0, 0.0}, {kNaN, 1.0}, {1.0, -1.0}})
        EXPECT_TRUE(IsBadValue([&] { kvx::BlockSizeFor(bad.first, bad.second); })) << bad.first;
    EXPECT_EQ(kvx::CutWithOverlap(100, 50.0, 128).overlap, 50);
    EXPECT_EQ(kvx::RequireCut({128, 127}, 128).size, 128);
    for (const kvx::BlockCut cut : {kvx::BlockCut{129, 0}, {1, 0}, {100, 100}, {100, -1}})
        EXPECT_TRUE(IsBadValue([&] { kvx::RequireCut(cut, 128); })) << cut.size;
    EXPECT_TRUE(IsBadValue([] { kvx::RequireCut({100, 0}, 127); }));
    EXPECT_EQ(kvx::NamedDetrend("constant"), Detrend::kMean);
    EXPECT_EQ(kvx::NamedAverageMode("peak-hold"), AverageMode::kPeakHold);
    EXPECT_EQ(FailureOf([] { kvx::NamedDetrend("quadratic"); }), ErrorKind::kUnknownName);
    EXPECT_EQ(FailureOf([] { kvx::NamedAverageMode("mean"); }), ErrorKind::kUnknownName);
}

}  // namespace
