// SPDX-License-Identifier: MIT
//
// Weightings and levels against the tables of IEC 61672-1.
#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>
#include <memory>

using namespace kvx;

namespace {

using std::numbers::pi;

double Decibel(double power) {
    return 10.0 * std::log10(power);
}

/// IEC 61672-1:2013, Table 3: A and C at the exact third octaves of these nominal frequencies, in dB.
struct TableRow {
    double hz, a, c;
};
// clang-format off
constexpr std::array kTable3 = {
    TableRow{10, -70.4, -14.3},   TableRow{12.5, -63.4, -11.2}, TableRow{16, -56.7, -8.5},
    TableRow{20, -50.5, -6.2},    TableRow{25, -44.7, -4.4},    TableRow{31.5, -39.4, -3.0},
    TableRow{40, -34.6, -2.0},    TableRow{50, -30.2, -1.3},    TableRow{63, -26.2, -0.8},
    TableRow{80, -22.5, -0.5},    TableRow{100, -19.1, -0.3},   TableRow{125, -16.1, -0.2},
    TableRow{160, -13.4, -0.1},   TableRow{200, -10.9, 0.0},    TableRow{250, -8.6, 0.0},
    TableRow{315, -6.6, 0.0},     TableRow{400, -4.8, 0.0},     TableRow{500, -3.2, 0.0},
    TableRow{630, -1.9, 0.0},     TableRow{800, -0.8, 0.0},     TableRow{1000, 0.0, 0.0},
    TableRow{1250, 0.6, 0.0},     TableRow{1600, 1.0, -0.1},    TableRow{2000, 1.2, -0.2},
    TableRow{2500, 1.3, -0.3},    TableRow{3150, 1.2, -0.5},    TableRow{4000, 1.0, -0.8},
    TableRow{5000, 0.5, -1.3},    TableRow{6300, -0.1, -2.0},   TableRow{8000, -1.1, -3.0},
    TableRow{10000, -2.5, -4.4},  TableRow{12500, -4.3, -6.2},  TableRow{16000, -6.6, -8.5},
    TableRow{20000, -9.3, -11.2},
};
// clang-format on

/// The gain of a process at `hz`, by the transform of its response to an impulse.
double GainOf(const Wave& response, double hz, double rate) {
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < response.size(); ++i)
        sum += std::polar(response[i], -2.0 * pi * std::fmod(hz / rate * static_cast<double>(i), 1.0));
    return std::abs(sum);
}

Wave ResponseOf(SampleProcess& process, std::size_t count) {
    Wave impulse(count);
    impulse[0] = 1.0;
    Wave response;
    process.Feed(impulse, response);
    process.Finish(response);
    return response;
}

TEST(FrequencyWeighting, IsThatOfTheStandardsTable) {
    for (std::size_t i = 0; i < kTable3.size(); ++i) {
        const double exact = std::pow(10.0, 1.0 + 0.1 * static_cast<double>(i));
        EXPECT_NEAR(2.0 * Decibel(WeightingGain(FrequencyWeighting::kA, exact)), kTable3[i].a, 0.05) << exact;
        EXPECT_NEAR(2.0 * Decibel(WeightingGain(FrequencyWeighting::kC, exact)), kTable3[i].c, 0.05) << exact;
        EXPECT_EQ(WeightingGain(FrequencyWeighting::kZ, exact), 1.0);
    }
    EXPECT_EQ(WeightingGain(FrequencyWeighting::kA, 1000.0), 1.0);
    EXPECT_EQ(WeightingGain(FrequencyWeighting::kC, 0.0), 0.0);
    EXPECT_EQ(NameOf(FrequencyWeighting::kC), "C");
}

TEST(FrequencyWeighting, OfSamplesHoldsUpToNearHalfOfEveryRate) {
    for (const double rate : {500.0, 2000.0, 8000.0, 22050.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
        for (const FrequencyWeighting weighting : {FrequencyWeighting::kA, FrequencyWeighting::kC}) {
            // The slowest pole has fallen by 200 dB.
            const Wave response =
                ResponseOf(*MakeWeighting(weighting, rate), static_cast<std::size_t>(0.25 * rate) + 64);
            for (const double share : {0.0005, 0.002, 0.01, 0.03, 0.1, 0.2, 0.3, 0.4, 0.45, 0.47, 0.499}) {
                const double exact = WeightingGain(weighting, share * rate);
                EXPECT_NEAR(2.0 * Decibel(GainOf(response, share * rate, rate) / exact), 0.0,
                            share > 0.47 ? 0.8 : 0.07)
                    << NameOf(weighting) << " at " << share << " of " << rate;
            }
        }
    }
}

TEST(FrequencyWeighting, WeightsLinesAndGivesTheSameBitsForEveryCut) {
    LineSpectrum lines;
    lines.spacingHz = 100.0;
    lines.real.assign(20, 2.0);
    lines.imaginary.assign(20, -1.0);
    const LineSpectrum weighted = Weighted(lines, FrequencyWeighting::kA);
    EXPECT_EQ(weighted.real[10], 2.0);
    EXPECT_EQ(weighted.imaginary[5], -WeightingGain(FrequencyWeighting::kA, 500.0));
    lines.kind = LineKind::kDensity;
    EXPECT_NEAR(Decibel(Weighted(lines, FrequencyWeighting::kA).real[1] / 2.0), -19.1, 0.05);
    lines.kind = LineKind::kCoherence;
    EXPECT_TRUE(IsBadValue([&] { Weighted(lines, FrequencyWeighting::kA); }));
    EXPECT_TRUE(IsBadValue([] { MakeWeighting(FrequencyWeighting::kA, 0.0); }));

    Wave noise = Noise(1000);
    noise.resize(400'000);
    Wave whole;
    MakeWeighting(FrequencyWeighting::kA, 48000.0)->Feed(noise, whole);
    EXPECT_EQ(whole.back(), 0.0);
    Wave pieces;
    const auto process = MakeWeighting(FrequencyWeighting::kA, 48000.0);
    for (std::span<const double> rest = noise; !rest.empty();
         rest = rest.subspan(std::min<std::size_t>(77, rest.size())))
        process->Feed(rest.first(std::min<std::size_t>(77, rest.size())), pieces);
    EXPECT_EQ(pieces, whole);
}

}  // namespace
