// SPDX-License-Identifier: MIT
//
// Octave bands and their filters against the tables and limits of IEC 61260.
#include <KvxDevCommon01/dsp/OctaveBands.h>
#include <KvxDevCommon01/dsp/OctaveFilters.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>
#include <numeric>

using namespace kvx;

namespace {

using std::numbers::pi;

const double kG = std::pow(10.0, 0.3);

double Decibel(double power) {
    return 10.0 * std::log10(power);
}

/// The results of each band.
std::vector<Wave> Through(OctaveFilterBank bank, std::size_t bands, const Wave& wave,
                          std::size_t piece = 1 << 16) {
    std::vector<Wave> results(bands);
    const auto take = [&](std::size_t band, std::span<const double> more) {
        results[band].insert(results[band].end(), more.begin(), more.end());
    };
    for (std::span<const double> rest = wave; !rest.empty();
         rest = rest.subspan(std::min(piece, rest.size()))) {
        bank.Add(rest.first(std::min(piece, rest.size())), take);
    }
    bank.Finish(take);
    return results;
}

double MeanSquare(std::span<const double> wave) {
    return std::inner_product(wave.begin(), wave.end(), wave.begin(), 0.0) / static_cast<double>(wave.size());
}

TEST(OctaveBands, HaveTheFrequenciesOfTheStandard) {
    const Wave nominal = {12.5, 16,   20,   25,   31.5, 40,   50,   63,    80,    100,   125,
                          160,  200,  250,  315,  400,  500,  630,  800,   1000,  1250,  1600,
                          2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
    const std::vector<OctaveBand> thirds = OctaveBandsBetween(3, 12.5, 20000);
    ASSERT_EQ(thirds.size(), nominal.size());
    for (std::size_t i = 0; i < thirds.size(); ++i) {
        EXPECT_DOUBLE_EQ(thirds[i].nominalHz, nominal[i]);
        EXPECT_NEAR(thirds[i].midHz, std::pow(10.0, 1.1 + 0.1 * static_cast<double>(i)), 1e-10 * nominal[i]);
        EXPECT_NEAR(thirds[i].highHz / thirds[i].lowHz, std::pow(10.0, 0.1), 1e-14);
        EXPECT_EQ(thirds[i].highHz, OctaveBandAt(3, thirds[i].number + 1).lowHz);
    }
    EXPECT_EQ(thirds.front().number, -19);
    EXPECT_NEAR(thirds[19].lowHz, 891.250938133746, 1e-9);
    EXPECT_NEAR(thirds[19].highHz, 1122.01845430196, 1e-9);
    const std::vector<OctaveBand> octaves = OctaveBandsBetween(1, 31.5, 16000);
    ASSERT_EQ(octaves.size(), 10U);
    EXPECT_NEAR(octaves[0].midHz, 31.6227766016838, 1e-11);  // 1000 G^-5
    EXPECT_EQ(octaves[0].nominalHz, 31.5);
    EXPECT_NEAR(octaves[4].midHz, 501.187233627272, 1e-10);  // 1000 G^-1
    EXPECT_EQ(OctaveBandAt(1, -10).nominalHz, 1.0);
    EXPECT_EQ(OctaveBandAt(3, -37).nominalHz, 0.2);

    // By the rule for other fractions: the exact frequency, then rounded.
    const struct {
        std::int32_t fraction, number;
        double midHz, nominalHz;
    } others[] = {
        {2, 0, 1188.5022274370185, 1190},    {2, -1, 841.3951416451952, 841},
        {6, 0, 1059.253725177289, 1060},     {6, -1, 944.0608762859234, 940},
        {12, 11, 1938.6526359522072, 1940},  {12, -9, 613.0557921498207, 610},
        {24, 3, 1105.9869434355596, 1110},   {5, 2, 1318.256738556407, 1320},
        {48, 0, 1007.2215287952974, 1007.2},
    };
    for (const auto& each : others) {
        const OctaveBand band = OctaveBandAt(each.fraction, each.number);
        EXPECT_NEAR(band.midHz, each.midHz, 1e-9 * each.midHz) << each.fraction << " " << each.number;
        EXPECT_DOUBLE_EQ(band.nominalHz, each.nominalHz) << each.fraction << " " << each.number;
    }
    EXPECT_EQ(FractionText(1), "octave");
    EXPECT_EQ(FractionText(12), "1/12 octave");
    for (const double edge : {891.25, 891.26, 999.0, 1122.01, 1122.02}) {
        const OctaveBand band = OctaveBandsBetween(3, edge, edge).front();
        EXPECT_TRUE(band.lowHz <= edge && edge < band.highHz) << edge;
    }
    EXPECT_TRUE(IsBadValue([] { OctaveBandAt(0, 0); }));
    EXPECT_TRUE(IsBadValue([] { OctaveBandAt(97, 0); }));
    EXPECT_TRUE(IsBadValue([] { OctaveBandAt(1, 1000); }));
    EXPECT_TRUE(IsBadValue([] { OctaveBandsBetween(3, 0.0, 100.0); }));
    EXPECT_TRUE(IsBadValue([] { OctaveBandsBetween(3, 100.0, kInfinity); }));
}

/// Limits on the relative attenuation at the breakpoints G^exponent of an octave, in dB: the closer ones of
/// class 1 of IEC 61260-1:2014, Table 1 (-0.4 to 0.4, 0.5, 0.7, 1.4, 5.3; 1.6, 16.6, 40.5, 60, 70), and of
/// IEC 61260:1995, which are all these.
struct Breakpoint {
    double exponent, least, most;
};
constexpr std::array kClass1 = {
    Breakpoint{0.0, -0.3, 0.3},       Breakpoint{0.125, -0.3, 0.4},     Breakpoint{0.25, -0.3, 0.6},
    Breakpoint{0.375, -0.3, 1.3},     Breakpoint{0.499999, -0.3, 5.0},  Breakpoint{0.5, 2.0, 5.0},
    Breakpoint{1.0, 17.5, kInfinity}, Breakpoint{2.0, 42.0, kInfinity}, Breakpoint{3.0, 61.0, kInfinity},
    Breakpoint{4.0, 70.0, kInfinity},
};

/// The breakpoint of 1/b octave (5.10 of the standard).
double BreakpointOf(std::int32_t fraction, double exponent) {
    const double edge = std::pow(kG, 0.5 / fraction);
    return 1.0 + (edge - 1.0) / (std::sqrt(kG) - 1.0) * (std::pow(kG, exponent) - 1.0);
}

TEST(OctaveFilters, HoldTheLimitsOfClass1InEveryBandAtEveryRate) {
    for (const std::int32_t fraction : {1, 2, 3, 12}) {
        for (const double rate : {1000.0, 44100.0, 48000.0, 51200.0, 65536.0}) {
            const std::vector<OctaveBand> bands = OctaveBandsUpTo(fraction, rate / 2000.0, rate);
            const OctaveFilterBank bank(rate, bands);
            for (std::size_t b = 0; b < bands.size(); ++b) {
                const double middle = bank.PowerGain(b, bands[b].midHz);
                EXPECT_NEAR(Decibel(middle), 0.0, 0.001) << bands[b].midHz;
                const auto attenuation = [&](double ratio) {
                    return -Decibel(bank.PowerGain(b, bands[b].midHz * ratio) / middle);
                };
                double last = 1.0;
                for (const Breakpoint& each : kClass1) {
                    const double ratio = BreakpointOf(fraction, each.exponent);
                    for (const double side : {ratio, 1.0 / ratio}) {
                        EXPECT_GE(attenuation(side), each.least) << bands[b].midHz << " at " << side;
                        EXPECT_LE(attenuation(side), each.most) << bands[b].midHz << " at " << side;
                    }
                    // Between the breakpoints the limit is straight over the logarithm of the frequency.
                    if (each.exponent < 1.0) continue;
                    const Breakpoint& before = *(&each - 1);
                    const double from = std::log(BreakpointOf(fraction, before.exponent));
                    for (double share = 0.05; share < 1.0; share += 0.05) {
                        last = std::exp(from + share * (std::log(ratio) - from));
                        const double least = before.least + share * (each.least - before.least);
                        EXPECT_GE(attenuation(last), least) << bands[b].midHz << " at " << last;
                        EXPECT_GE(attenuation(1.0 / last), least) << bands[b].midHz << " at " << 1.0 / last;
                    }
                }
                for (double hz = bands[b].midHz * BreakpointOf(fraction, 4.0); hz < 0.5 * rate; hz *= 1.01)
                    EXPECT_GE(attenuation(hz / bands[b].midHz), 70.0) << bands[b].midHz << " at " << hz;
            }
        }
    }
}

TEST(OctaveFilters, ShowPinkNoiseLevelInEveryOctaveAndThird) {
    // The effective bandwidth of the standard: class 1 allows 0.4 dB.
    constexpr std::size_t kSteps = 4000;
    for (const std::int32_t fraction : {1, 3, 12}) {
        const std::vector<OctaveBand> bands = OctaveBandsUpTo(fraction, 50.0, 48000.0);
        const OctaveFilterBank bank(48000.0, bands);
        const double most = fraction == 1 ? 0.12 : 0.05;
        for (std::size_t b = 0; b < bands.size(); ++b) {
            const double step = 8.0 * std::log(kG) / kSteps / fraction * 2.0;
            double power = 0.0;
            for (std::size_t i = 0; i <= kSteps; ++i) {
                const double ratio = std::exp(step * (static_cast<double>(i) - 0.5 * kSteps));
                power += step * bank.PowerGain(b, bands[b].midHz * ratio);
            }
            EXPECT_NEAR(Decibel(power / std::log(kG) * fraction), 0.0, most) << bands[b].midHz;
        }
    }
}

TEST(OctaveFilters, PassSinesAsTheirGainsSayAndNoiseWithItsPower) {
    constexpr double kRate = 48000.0;
    const std::vector<OctaveBand> bands = OctaveBandsUpTo(3, 63.0, kRate);
    EXPECT_EQ(bands.back().nominalHz, 20000.0);
    const OctaveFilterBank bank(kRate, bands);
    for (const double hz : {63.0957344480193, 1000.0, 1122.0, 7000.0, 12345.0, 19952.6231496888, 21500.0}) {
        const Wave sine =
            WaveOf(48000, [&](double i) { return std::sin(2 * pi * std::fmod(hz * i / kRate, 1.0)); });
        const std::vector<Wave> results = Through(OctaveFilterBank(kRate, bands), bands.size(), sine);
        for (std::size_t b = 0; b < bands.size(); ++b) {
            const double expected = 0.5 * bank.PowerGain(b, hz);
            EXPECT_EQ(static_cast<double>(results[b].size()), std::ceil(48000.0 * bank.RateOf(b) / kRate));
            if (expected < 1e-5) continue;
            // Settled and away from the end; the periods are not whole.
            const std::size_t quarter = results[b].size() / 4;
            const double power = MeanSquare(std::span(results[b]).subspan(2 * quarter, quarter));
            EXPECT_NEAR(Decibel(power / expected), 0.0, 0.05) << hz << " in " << bands[b].midHz;
        }
    }
    const Wave noise = Noise(400'000);
    const std::vector<Wave> results = Through(OctaveFilterBank(kRate, bands), bands.size(), noise);
    double sum = 0.0;
    for (const Wave& band : results) sum += MeanSquare(band);
    const double share = (bands.back().highHz - bands.front().lowHz) / (0.5 * kRate);
    EXPECT_NEAR(Decibel(sum / (share * MeanSquare(noise))), 0.0, 0.05);
}

TEST(OctaveFilters, GiveTheSameBitsForEveryCutAndEndInSilence) {
    const std::vector<OctaveBand> bands = OctaveBandsUpTo(1, 20.0, 4000.0);
    Wave wave = Noise(3001);
    const std::vector<Wave> whole = Through(OctaveFilterBank(4000.0, bands), bands.size(), wave);
    for (const std::size_t piece : {1U, 7U, 64U, 1000U})
        EXPECT_EQ(Through(OctaveFilterBank(4000.0, bands), bands.size(), wave, piece), whole) << piece;
    wave.resize(200'000);
    for (const Wave& results : Through(OctaveFilterBank(4000.0, bands), bands.size(), wave))
        EXPECT_EQ(results.back(), 0.0);
    EXPECT_TRUE(IsBadValue([&] { OctaveFilterBank(1000.0, bands); }));
    EXPECT_TRUE(IsBadValue([&] { OctaveFilterBank(0.0, bands); }));
    EXPECT_TRUE(IsBadValue([&] { OctaveFilterBank(1e18, bands); }));
    EXPECT_TRUE(IsBadValue([] { OctaveFilterBank(1000.0, {}); }));
    EXPECT_TRUE(IsBadValue([] { OctaveBandsUpTo(1, 400.0, 1000.0); }));
}

TEST(OctaveBands, TakeTheirShareOfEachLine) {
    LineSpectrum densities;
    densities.kind = LineKind::kDensity;
    densities.spacingHz = 2.0;
    densities.real.assign(3000, 0.25);
    densities.real[0] = 1e9;  // a mean, which is in no band
    const std::vector<OctaveBand> bands = OctaveBandsBetween(3, 2.0, 8000.0);
    const auto powers = PowersInBands(densities, bands);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        ASSERT_EQ(powers[b].has_value(), bands[b].highHz <= 5999.0);
        const double expected = 0.25 * (bands[b].highHz - bands[b].lowHz);
        EXPECT_NEAR(powers[b].value_or(expected), expected, 1e-12 * bands[b].highHz);
    }
    // A sine of amplitude 3 on one line, of a window with a noise bandwidth of 1.5 lines.
    LineSpectrum amplitudes;
    amplitudes.spacingHz = 1.0;
    amplitudes.noiseBandwidth = 1.5;
    amplitudes.real.assign(3000, 0.0);
    amplitudes.real[1122] = 3.0;
    const auto parts = PowersInBands(amplitudes, OctaveBandsBetween(3, 1000.0, 1250.0));
    EXPECT_NEAR(*parts[0], 3.0 * (1122.01845430196 - 1121.5), 1e-9);
    EXPECT_NEAR(*parts[0] + *parts[1], 3.0, 1e-12);
    amplitudes.kind = LineKind::kCoherence;
    EXPECT_TRUE(IsBadValue([&] { PowersInBands(amplitudes, bands); }));
}

}  // namespace
