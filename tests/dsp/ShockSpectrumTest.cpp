// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/ShockSpectrum.h>
#include <KvxDevCommon01/dsp/kernels/ShockKernels.h>

#include <algorithm>
#include <complex>
#include <string>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/ShockPulse.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "Signals.h"

using namespace kvx;

namespace {

using std::numbers::pi;
using enum ShockResponse;

ShockExtremes ExtremesOf(const Wave& samples, const ShockSettings& settings) {
    ShockSpectrum spectrum(settings);
    spectrum.Add(samples);
    return spectrum.Extremes();
}

/// A pulse of duration 1 and peak 1, without the zeros behind it.
Wave UnitPulse(PulseShape shape, double rateHz) {
    Wave samples = MakePulseWave({shape, 1.0, 1.0}, {rateHz}).samples;
    while (samples.back() == 0.0) samples.pop_back();
    return samples;
}

/// The largest response p = omega^2 d of an undamped oscillator during a half sine, rho = 2 f D: that of
/// sin x - sin(rho x)/rho over 1 - 1/rho^2 where its slope is 0.
double HalfSinePrimary(double rho) {
    double largest = 0.0;
    for (const double turn : {rho + 1.0, rho - 1.0}) {
        for (int n = 1; n * 2.0 * pi <= pi * turn; ++n) {
            const double x = 2.0 * pi * n / turn;
            const double p = (std::sin(x) - std::sin(rho * x) / rho) / (1.0 - 1.0 / (rho * rho));
            largest = std::max(largest, p);
        }
    }
    return largest;
}

TEST(ShockSpectrum, OfAHalfSineIsTheClosedForm) {
    const double rate = 20000.0;
    ShockSettings settings = {rate, {}, 0.0, kStaticAcceleration, {}};
    for (double f = 0.25; f < 8.0; f += 0.17) settings.frequencies.push_back(f);
    const ShockExtremes extremes = ExtremesOf(UnitPulse(PulseShape::kHalfSine, rate), settings);
    const Wave primary = extremes.Of(ShockExtreme::kPrimary);
    const Wave residual = extremes.Of(ShockExtreme::kResidual);
    for (std::size_t i = 0; i < primary.size(); ++i) {
        const double rho = 2.0 * settings.frequencies[i];
        if (rho > 1.0) {
            EXPECT_NEAR(primary[i], HalfSinePrimary(rho), 2e-6) << rho;
        }
        const double free = std::abs(2.0 * rho * std::cos(pi * rho / 2.0) / (1.0 - rho * rho));
        EXPECT_NEAR(residual[i], free, 1e-7) << rho;
    }
    // The figure of the textbooks: 1.77 peaks, where the frequency times the duration is 0.81.
    settings.frequencies = FrequenciesPerStep(0.7, 0.9, 0.0005);
    const Wave all = ExtremesOf(UnitPulse(PulseShape::kHalfSine, rate), settings).Of(ShockExtreme::kMaximax);
    const auto highest = std::ranges::max_element(all);
    EXPECT_NEAR(*highest, 1.7684577, 1e-6);
    EXPECT_NEAR(0.7 + 0.0005 * static_cast<double>(highest - all.begin()), 0.80994, 0.0005);
}

TEST(ShockSpectrum, OfAStepOvershootsAsAnOscillatorDoes) {
    for (const double zeta : {0.0, 0.05, 0.3, 0.9}) {
        const Wave step(20000, 1.0);
        const ShockSettings settings = {1000.0, {0.5, 1.0}, zeta, kStaticAcceleration, {}};
        const double overshoot = 1.0 + std::exp(-zeta * pi / std::sqrt(1.0 - zeta * zeta));
        EXPECT_THAT(ExtremesOf(step, settings).primaryPositive, Near({overshoot, overshoot}, 1e-5)) << zeta;
    }
}

/// Without damping the free vibration has the amplitude omega times the magnitude of the Fourier transform,
/// which straight lines between samples multiply by sinc^2.
TEST(ShockSpectrum, ResidualIsTheTransformAtEveryFrequency) {
    const Wave noise = Noise(300);
    ShockSettings settings = {10.0, {1e-4, 0.013, 0.7, 2.0, 4.99, 7.3}, 0.0, kPseudoVelocity, {}};
    const Wave residual = ExtremesOf(noise, settings).Of(ShockExtreme::kResidual);
    for (std::size_t i = 0; i < residual.size(); ++i) {
        const double angle = 2.0 * pi * settings.frequencies[i] / 10.0;
        std::complex<double> sum = 0.0;
        for (std::size_t k = 0; k < noise.size(); ++k)
            sum += noise[k] * std::polar(1.0, -angle * static_cast<double>(k));
        const double sinc = std::sin(angle / 2.0) / (angle / 2.0);
        EXPECT_NEAR(residual[i], std::abs(sum) * 0.1 * sinc * sinc, 1e-12) << settings.frequencies[i];
    }
}

/// Largest and lowest values in the pulse and behind it, by SciPy 1.10 (lsim and the free decay, at 400000
/// samples per pulse), of pulses of duration 1 with a damping of 0.05.
TEST(ShockSpectrum, OfDampedOscillatorsIsThatOfScipy) {
    struct Row {
        PulseShape shape;
        double hz;
        ShockResponse response;
        double values[4];
        double tolerance;
    };
    using enum PulseShape;
    // clang-format off
    const Row rows[] = {
        {kHalfSine,         0.3, kAcceleration,       {0.90434567,   0.0,           1.0264432,     0.87706276},    1e-7},
        {kHalfSine,         0.8, kAcceleration,       {1.6509939,    0.0,           1.1294488,     1.3218154},     1e-7},
        {kHalfSine,         0.8, kRelativeVelocity,   {0.15286992,   0.2324127,     0.24247182,    0.28376937},    1e-7},
        {kHalfSine,         0.8, kRelativeDisplacement,       {0.065154511,  0.0,           0.044478664,   0.052054225},   1e-8},
        {kHalfSine,         0.8, kPseudoVelocity,     {0.32750229,   0.0,           0.22357415,    0.26165307},    1e-7},
        {kHalfSine,         0.8, kStaticAcceleration, {1.6462061,    0.0,           1.1238063,     1.3152118},     1e-7},
        {kHaversine,        2.5, kAcceleration,       {1.1185537,    0.13827986,    0.11819322,    0.13832377},    1e-7},
        {kHaversine,        2.5, kRelativeDisplacement,       {0.0045307009, 0.00055340922, 0.00047662598, 0.00055780443}, 1e-9},
        {kTrapezoid,        1.3, kAcceleration,       {1.8350848,    0.0,           0.84294959,    0.72027336},    1e-6},
        {kTrapezoid,        1.3, kRelativeVelocity,   {0.11032449,   0.094268735,   0.08130822,    0.095156554},   1e-6},
        // The sawtooth falls within a sample.
        {kTerminalSawtooth, 0.8, kAcceleration,       {1.1476412,    0.0,           1.1485081,     0.9813633},     2e-4},
        {kTerminalSawtooth, 2.5, kPseudoVelocity,     {0.063035777,  0.0,           0.063309451,   0.054095893},   2e-5},
    };
    // clang-format on
    for (const Row& row : rows) {
        const ShockSettings settings = {20000.0, {row.hz}, 0.05, row.response, {}};
        const ShockExtremes e = ExtremesOf(UnitPulse(row.shape, 20000.0), settings);
        const Wave values = {e.primaryPositive[0], e.primaryNegative[0], e.residualPositive[0],
                             e.residualNegative[0]};
        EXPECT_THAT(values, Near(Wave(row.values, row.values + 4), row.tolerance)) << &row - rows;
    }
}

/// The response after a sample of 1 between zeros, by the series in 80 digits; the difference equation as it
/// is written has no digit of it at 1e-7.
TEST(ShockSpectrum, KeepsItsDigitsAtLowFrequencies) {
    struct Row {
        double angle, damping, after;
    };
    // clang-format off
    const Row rows[] = {
        {1e-07, 0.0, 9.9999999999999747e-15},
        {1e-07, 0.05, 9.9999999416666406e-15},
        {1e-07, 0.7, 9.9999991833333571e-15},
        {1e-05, 0.0, 9.9999999997500018e-11},
        {1e-05, 0.05, 9.999994166419168e-11},
        {1e-05, 0.7, 9.9999183335733357e-11},
        {0.001, 0.0, 9.9999975000002509e-07},
        {0.001, 0.05, 9.9994141918382707e-07},
        {0.001, 0.7, 9.9918357333812975e-07},
        {0.1, 0.0, 0.0099750249859508928},
        {0.1, 0.05, 0.0099171120806996662},
        {0.1, 0.7, 0.0092073564631544574},
        {0.999, 0.0, 0.7725051274910677},
        {0.999, 0.05, 0.73147553603010573},
        {0.999, 0.7, 0.40929288534637043},
        {1.001, 0.0, 0.7747836338294819},
        {1.001, 0.05, 0.73356345843722981},
        {1.001, 0.7, 0.41015250941292064},
        {3.0, 0.0, 0.95295999731337755},
        {3.0, 0.05, 0.89688169557779296},
        {3.0, 0.7, 0.52764831616802477},
    };
    // clang-format on
    for (const auto& [angle, damping, after] : rows) {
        const ShockSettings settings = {2.0 * pi, {angle}, damping, kStaticAcceleration, {}};
        EXPECT_NEAR(ExtremesOf({1.0}, settings).primaryPositive[0] / after, 1.0, 1e-15) << angle << damping;
    }
    // A step of 2 million samples at a millionth of a radian per sample, at the zero behind the last one,
    // against its closed form: the middle of the last slope, less what the fall to 0 takes.
    const double angle = 1e-6, zeta = 0.05;
    const long double end = 2.0L + 0.5e-6L, b = std::sqrt(1.0L - 0.0025L);
    const long double p =
        1.0L - std::exp(-0.05L * end) * (std::cos(b * end) + 0.05L / b * std::sin(b * end)) - 1e-12L / 6.0L;
    ShockSpectrum spectrum({2.0 * pi, {angle}, zeta, kStaticAcceleration, {}});
    spectrum.Add(Wave(2000000, 1.0));
    EXPECT_NEAR(spectrum.Extremes().primaryPositive[0] / static_cast<double>(p), 1.0, 1e-13);
}

/// A burst at the natural frequency, sampled as a recorder does: what interpolation and the straight lines
/// between samples leave of the peak, beside the same oscillators at 64 times the rate.
TEST(ShockSpectrum, FindsPeaksWithinTheBoundUpToTheEndOfTheBand) {
    const auto burst = [](double hz, double rateHz) {
        const double seconds = 40.0 / hz;
        return WaveOf(static_cast<std::size_t>(seconds * rateHz), [=](double i) {
            const double hann = std::sin(pi * i / (seconds * rateHz));
            return hann * hann * std::sin(2.0 * pi * hz * i / rateHz + 0.4);
        });
    };
    const double rate = 1000.0;
    for (const double bound : {0.05, 0.01, 0.005}) {
        for (double hz = 3.0; hz < rate / kRateOverBand; hz *= 1.37) {
            for (const ShockResponse response : {kAcceleration, kPseudoVelocity}) {
                const ShockSettings fine = {64.0 * rate, {hz}, 0.05, response, {}};
                const double truth = ExtremesOf(burst(hz, 64.0 * rate), fine).Of(ShockExtreme::kMaximax)[0];
                const ShockSettings settings = {rate, {hz}, 0.05, response, bound};
                const double found = ExtremesOf(burst(hz, rate), settings).Of(ShockExtreme::kMaximax)[0];
                EXPECT_GT(found / truth, 1.0 - bound) << hz << " " << bound;
                EXPECT_LT(found / truth, 1.003) << hz << " " << bound;
            }
        }
    }
    // 1 - sinc(0.1)^2 cos(0.1 pi) and 1 - sinc(0.01)^2 cos(0.01 pi).
    EXPECT_NEAR(ShockPeakError(100.0, 1000.0), 0.0798231, 1e-7);
    EXPECT_NEAR(ShockPeakError(10.0, 1000.0), 0.000822221, 1e-9);
    EXPECT_NEAR(ShockPeakError(1e-3, 1000.0) / (5.0 / 6.0 * pi * pi * 1e-12), 1.0, 1e-3);
    EXPECT_EQ(ShockPeakError(500.0, 1000.0), 1.0);
    EXPECT_EQ(ShockOversampling({1000.0}, 20.0), 1);
    EXPECT_EQ(ShockOversampling({1000.0}, 390.0), 16);
    EXPECT_EQ(ShockOversampling({1000.0, {}, 0.0, kAcceleration, {}}, 5000.0), 1);
}

bool AreSame(const ShockExtremes& a, const ShockExtremes& b) {
    return a.primaryPositive == b.primaryPositive && a.primaryNegative == b.primaryNegative &&
           a.residualPositive == b.residualPositive && a.residualNegative == b.residualNegative;
}

TEST(ShockSpectrum, HasTheSameBitsHoweverItIsCut) {
    Wave wave = Noise(5000);
    wave.resize(30000);  // then silence, in which states fade away
    const ShockSettings settings = {1000.0, FrequenciesPerOctave(1.0, 390.0, 12), 0.3};
    const ShockExtremes whole = ExtremesOf(wave, settings);
    for (const std::size_t piece : {1U, 7U, 4099U}) {
        ShockSpectrum spectrum(settings);
        for (std::size_t at = 0; at < wave.size(); at += piece) {
            spectrum.Add(std::span(wave).subspan(at, std::min(piece, wave.size() - at)));
            if (at == 7U * 700U) spectrum.Extremes();  // looks, and leaves what comes as it is
        }
        EXPECT_TRUE(AreSame(spectrum.Extremes(), whole)) << piece;
    }
    // Alone and among others.
    for (const std::size_t i : {0U, 30U, 90U}) {
        ShockSettings alone = settings;
        alone.frequencies = {settings.frequencies[i]};
        EXPECT_EQ(ExtremesOf(wave, alone).primaryPositive[0], whole.primaryPositive[i]);
    }
    // Nothing has no response.
    EXPECT_EQ(ExtremesOf({}, settings).Of(ShockExtreme::kMaximax), Wave(settings.frequencies.size(), 0.0));
}

TEST(ShockKernels, GiveTheSameBitsInAllSets) {
    const Wave noise = Noise(1001), fields = Noise(8 * kShockOscillators, 2);
    std::vector<Wave> results;
    for (const KernelSet set : AvailableKernelSets()) {
        ShockGroup group = {};
        double* const rows = &group.yy[0];
        for (std::size_t i = 0; i < fields.size(); ++i) rows[i] = 0.1 * fields[i] - (i < 8 ? 0.3 : 0.0);
        KernelsOf<ShockKernels>(set).run(&group, 0.5, noise.data(), 1000);
        KernelsOf<ShockKernels>(set).run(&group, noise[999], noise.data() + 1000, 1);
        results.push_back(Wave(group.y, group.lowest + kShockOscillators));
        EXPECT_EQ(results.back(), results.front()) << NameOf(set);
        EXPECT_GT(group.highest[3], 0.0);
    }
}

TEST(ShockSpectrum, HasFrequenciesOnTheGridOfOctaves) {
    EXPECT_THAT(FrequenciesPerOctave(20.0, 100.0, 3),
                Near({19.9526, 25.1189, 31.6228, 39.8107, 50.1187, 63.0957, 79.4328, 100.0}, 1e-4));
    EXPECT_THAT(FrequenciesPerOctave(900.0, 1300.0, 6), Near({944.061, 1059.254, 1188.502}, 1e-3));
    EXPECT_THAT(FrequenciesPerOctave(63.0, 250.0, 1), Near({63.0957, 125.8925, 251.1886}, 1e-4));
    EXPECT_EQ(FrequenciesPerOctave(1.0, 1000.0, 24).size(), 240U);
    EXPECT_THAT(FrequenciesPerStep(10.0, 11.0, 0.1).back(), testing::DoubleNear(11.0, 1e-12));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerOctave(0.0, 100.0, 3); }));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerOctave(10.0, 9.0, 3); }));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerOctave(1.0, kInfinity, 3); }));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerOctave(1.0, 2.0, 0); }));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerStep(1.0, 1e6, 1e-3); }));
    EXPECT_TRUE(IsBadValue([] { FrequenciesPerStep(1.0, 2.0, 0.0); }));
}

TEST(ShockSpectrum, RefusesWhatItCannotBe) {
    const auto refused = [](const ShockSettings& settings, const Wave& wave = {1.0}) {
        return IsBadValue([&] { ExtremesOf(wave, settings); });
    };
    EXPECT_FALSE(refused({1000.0, {1.0}}));
    EXPECT_TRUE(refused({0.0, {1.0}}));
    EXPECT_TRUE(refused({1000.0, {}}));
    EXPECT_TRUE(refused({1000.0, {0.0}}));
    EXPECT_TRUE(refused({1000.0, {kNaN}}));
    EXPECT_TRUE(refused({1000.0, {50000.0}}));
    EXPECT_TRUE(refused({1000.0, {1.0}, 1.0}));
    EXPECT_TRUE(refused({1000.0, {1.0}, -0.1}));
    EXPECT_TRUE(refused({1000.0, {1.0}, 0.05, kAcceleration, 0.004}));
    EXPECT_TRUE(refused({1000.0, Wave(kMostShockFrequencies + 1, 1.0)}));
    for (const double bad : {kNaN, kInfinity, kNone})
        EXPECT_TRUE(refused({1000.0, {1.0, 300.0}}, {0.0, bad, 0.0}));
    EXPECT_EQ(DampingOfQ(10.0), 0.05);
    EXPECT_EQ(DampingOfQ(kInfinity), 0.0);
    EXPECT_TRUE(IsBadValue([] { DampingOfQ(0.5); }));
    const CUnitCtrl g = SingleUnit(units::kStandardGravity), volt = SingleUnit(units::kVolt);
    EXPECT_EQ(UnitText(ShockUnit(kPseudoVelocity, g)), "m/s");
    EXPECT_EQ(UnitText(ShockUnit(kRelativeDisplacement, g)), "mm");
    EXPECT_EQ(ShockUnit(kAcceleration, volt), volt);
    EXPECT_EQ(FailureOf([&] { ShockUnit(kRelativeDisplacement, volt); }), ErrorKind::kUnsupported);
}

}  // namespace
