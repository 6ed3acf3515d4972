// SPDX-License-Identifier: MIT
//
// Weightings and levels against the tables of IEC 61672-1.
#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <KvxDevCommon01/dsp/LevelMeter.h>
#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/units/UnitQuery.h>
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

LevelMeter MeterOf(const Wave& wave, double rate, const LevelChoice& choice, std::size_t piece = 1 << 16) {
    LevelMeter meter(rate, choice);
    for (std::span<const double> rest = wave; !rest.empty();
         rest = rest.subspan(std::min(piece, rest.size())))
        meter.Add(rest.first(std::min(piece, rest.size())));
    return meter;
}

/// A tone of 4 kHz and an rms of 1 that lasts so long, then silence, at 48 kHz.
Wave Toneburst(double seconds, double silence = 0.0) {
    Wave wave = WaveOf(static_cast<std::size_t>(48000 * seconds),
                       [](double i) { return std::sqrt(2.0) * std::sin(2 * pi * std::fmod(i / 12.0, 1.0)); });
    wave.resize(wave.size() + static_cast<std::size_t>(48000 * silence));
    return wave;
}

TEST(LevelMeter, RespondsToToneburstsAsTheStandardsTablesSay) {
    // IEC 61672-1:2013, Table 4: level of a burst over that of the steady tone, in dB, fast and slow, and of
    // the exposure over that of 1 s; IEC 60651:1979: impulse.
    const struct {
        double seconds, fast, slow, exposure, impulse;
    } rows[] = {
        {1.0, 0.0, -2.0, 0.0, 0.0},          {0.5, -0.1, -4.1, -3.0, 0.0},
        {0.2, -1.0, -7.4, -7.0, kNaN},       {0.1, -2.6, -10.2, -10.0, kNaN},
        {0.05, -4.8, -13.1, -13.0, kNaN},    {0.02, -8.3, -17.0, -17.0, -3.6},
        {0.01, -11.1, -20.0, -20.0, kNaN},   {0.005, -14.1, -23.0, -23.0, -8.8},
        {0.002, -18.0, -27.0, -27.0, -12.6}, {0.001, -21.0, kNaN, -30.0, kNaN},
    };
    constexpr FrequencyWeighting kZ = FrequencyWeighting::kZ;
    for (const auto& row : rows) {
        const Wave burst = Toneburst(row.seconds, 0.1);
        const auto expect = [&](TimeWeighting time, double expected) {
            if (std::isnan(expected)) return;
            const LevelFigures figures = MeterOf(burst, 48000.0, {kZ, time, kZ}).Figures();
            EXPECT_NEAR(Decibel(figures.maxSquare), expected, 0.06) << row.seconds << RowOf(time).name;
            EXPECT_NEAR(Decibel(figures.exposure), row.exposure, 0.05) << row.seconds;
        };
        expect(TimeWeighting::kFast, row.fast);
        expect(TimeWeighting::kSlow, row.slow);
        expect(TimeWeighting::kImpulse, row.impulse);
    }
    // After the burst the level falls by 10 lg(e)/tau: 34.7, 4.3 and 2.9 dB per second.
    for (const auto& [time, fall] :
         {std::pair{TimeWeighting::kFast, 34.74}, std::pair{TimeWeighting::kSlow, 4.343},
          std::pair{TimeWeighting::kImpulse, 2.895}}) {
        Wave roots;
        MakeTimeWeighting(time, 48000.0, 48000)->Feed(Toneburst(2.0, 2.0), roots);
        ASSERT_EQ(roots.size(), 4U);
        EXPECT_NEAR(2.0 * Decibel(roots[2] / roots[3]), fall, 0.01);
    }
}

TEST(LevelMeter, TellsLevelsOfTonesAndStaircases) {
    const LevelReference pressure = LevelReferenceOf(NamedUnit("Pa"));
    EXPECT_EQ(pressure.text, "20 µPa");
    // The calibrator's 1 Pa at 1 kHz: 93.98 dB in A, C and Z; at 100 Hz A takes 19.1 dB away.
    for (const auto& [hz, frequency, level] : {std::tuple{1000.0, FrequencyWeighting::kA, 93.979},
                                               std::tuple{1000.0, FrequencyWeighting::kZ, 93.979},
                                               std::tuple{100.0, FrequencyWeighting::kA, 93.979 - 19.1}}) {
        const Wave tone = WaveOf(96000, [f = hz](double i) {
            return std::sqrt(2.0) * std::sin(2 * pi * std::fmod(f * i / 48000.0, 1.0));
        });
        const LevelMeter meter =
            MeterOf(tone, 48000.0, {frequency, TimeWeighting::kFast, FrequencyWeighting::kZ});
        const LevelFigures figures = meter.Figures();
        EXPECT_EQ(figures.seconds, 2.0);
        EXPECT_NEAR(LevelOf(figures.meanSquare, pressure), level, 0.05) << hz;
        EXPECT_NEAR(LevelOf(figures.exposure, pressure), level + 3.01, 0.05);
        EXPECT_NEAR(LevelOf(figures.maxSquare, pressure), level, 0.07);
        EXPECT_NEAR(LevelOf(*figures.minSquare, pressure), level, 0.12);  // the ripple of 100 Hz in it
        EXPECT_NEAR(LevelOf(figures.peakSquare, pressure), 93.979 + 3.01, 0.01);
        EXPECT_NEAR(LevelOf(*meter.Exceeded(50.0), pressure), level, 0.07);
    }
    // Ten steps of 3 dB, each much longer than the average: the level exceeded in N percent of the time.
    Wave steps;
    for (int step = 0; step < 10; ++step) steps.insert(steps.end(), 20000, std::pow(10.0, 0.15 * step));
    const LevelMeter meter =
        MeterOf(steps, 1000.0, {FrequencyWeighting::kZ, TimeWeighting::kFast, FrequencyWeighting::kZ});
    EXPECT_NEAR(Decibel(*meter.Exceeded(5.0)), 27.0, 0.02);
    EXPECT_NEAR(Decibel(*meter.Exceeded(45.0)), 15.0, 0.02);
    EXPECT_NEAR(Decibel(*meter.Exceeded(95.0)), 0.0, 0.02);
    EXPECT_NEAR(Decibel(*meter.Figures().minSquare), 0.0, 0.03);
    EXPECT_FALSE(MeterOf(Wave(600), 1000.0, {}).Exceeded(50.0).has_value());
    EXPECT_EQ(MeterOf(Wave(1000), 1000.0, {}).Exceeded(50.0), 0.0);
    EXPECT_TRUE(IsBadValue([&] { meter.Exceeded(101.0); }));
    EXPECT_TRUE(IsBadValue([] { LevelMeter(kNaN, {}); }));
    EXPECT_TRUE(IsBadValue([] { MakeTimeWeighting(TimeWeighting::kFast, 1.0, 0); }));

    const Wave noise = Noise(20000);
    const LevelMeter whole = MeterOf(noise, 8000.0, {});
    for (const std::size_t piece : {1U, 13U, 4096U}) {
        const LevelMeter cut = MeterOf(noise, 8000.0, {}, piece);
        EXPECT_EQ(cut.Figures().meanSquare, whole.Figures().meanSquare);
        EXPECT_EQ(cut.Figures().maxSquare, whole.Figures().maxSquare);
        EXPECT_EQ(cut.Exceeded(10.0), whole.Exceeded(10.0));
    }
}

TEST(LevelReference, IsThatOfIso1683) {
    const struct {
        const char *unit, *text;
        double value;
    } rows[] = {{"kPa", "20 µPa", 20e-6}, {"g", "1 µm/s2", 1e-6}, {"mm/s", "1 nm/s", 1e-9},
                {"um", "1 pm", 1e-12},    {"N", "1 µN", 1e-6},    {"V", "1 V", 1.0},
                {"mV", "1 mV", 1e-3}};
    for (const auto& row : rows) {
        const LevelReference reference = LevelReferenceOf(NamedUnit(row.unit));
        EXPECT_EQ(reference.text, row.text);
        EXPECT_DOUBLE_EQ(reference.value, row.value);
    }
    EXPECT_EQ(LevelReferenceOf(CUnitCtrl()).text, "1");
    EXPECT_DOUBLE_EQ(LevelOf(9.80665 * 9.80665, LevelReferenceOf(NamedUnit("g"))), 139.83041351154537);
    EXPECT_EQ(LevelOf(0.0, {}), -kInfinity);
}

}  // namespace
