// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/Decibels.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::AveragedSpectrum;
using kvx::BlockCut;
using kvx::ErrorKind;
using kvx::LineKind;
using kvx::LineSpectrum;

/// -2 + 3 sin(2 pi 100 n/1024)
Wave SineOnLine100(std::size_t count) {
    return WaveOf(
        count, [](double n) { return -2.0 + 3.0 * std::sin(2.0 * std::numbers::pi * 100.0 * n / 1024.0); });
}

TEST(BlockCut, CountsFullBlocksOnly) {
    struct Case {
        BlockCut cut;
        __int64 samples, count;
    };
    constexpr Case cases[] = {
        // clang-format off
        {{1024, 0}, 1023, 0},     {{1024, 0}, 1024, 1},     {{1024, 0}, 2047, 1},  {{1024, 0}, 2048, 2},
        {{1024, 1023}, 1030, 7},  {{1024, 1024}, 4096, 0},  {{1024, -1}, 4096, 0}, {{1000, 0}, 4096, 0},
        {{1, 0}, 8, 0},           {{2, 1}, -5, 0},          {{262144, 0}, 1 << 20, 4}, {{8388608, 0}, 1 << 24, 0},
        // clang-format on
    };
    for (const auto& [cut, samples, count] : cases)
        EXPECT_EQ(cut.Count(samples), count) << cut.size << '/' << cut.overlap << " of " << samples;
    EXPECT_EQ(kvx::CutWithOverlap(1024, 66.7).overlap, 683);
    for (const double percent : {-1.0, 100.0, 99.99, kNaN})
        EXPECT_EQ(FailureOf([&] { kvx::CutWithOverlap(512, percent); }), ErrorKind::kBadValue) << percent;
}

TEST(Windows, AreFoundByName) {
    for (const std::string& name : kvx::WindowNames()) EXPECT_EQ(kvx::MakeWindow(name, 16).size(), 16U);
    EXPECT_EQ(kvx::MakeWindow("flattop", 16), kvx::MakeWindow("flat-top", 16));
    EXPECT_EQ(kvx::MakeWindow("half-rectangular", 8), Wave({0, 0, 1, 1, 1, 1, 0, 0}));
    EXPECT_DOUBLE_EQ(kvx::NoiseBandwidth(kvx::MakeWindow("hann", 64)), 1.5);
    EXPECT_EQ(FailureOf([] { kvx::MakeWindow("han", 8); }), ErrorKind::kUnknownName);
    EXPECT_EQ(FailureOf([] { kvx::MakeWindow("hann", 0); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] { kvx::NoiseBandwidth({}); }), ErrorKind::kBadValue);
}

TEST(AveragedSpectrum, ReadsASineAndAConstantInAmplitude) {
    AveragedSpectrum spectrum(Hann(1024), 512);
    spectrum.Add(SineOnLine100(4096));
    ASSERT_EQ(spectrum.Blocks(), 7);
    const Wave amp = spectrum.Amplitude();
    EXPECT_THAT((Wave{amp[0], amp[1], amp[99], amp[100], amp[103]}), Near({2.0, 2.0, 1.5, 3.0, 0.0}, 1e-13));
}

TEST(AveragedSpectrum, AveragesSignalsOneAfterAnother) {
    AveragedSpectrum both(Hann(256), 128);
    Wave expected(128);
    for (const std::size_t length : {1000U, 1500U}) {
        const Wave signal = Noise(length, length);
        AveragedSpectrum single(Hann(256), 128);
        single.Add(signal);
        both.Add(signal);
        both.NextSignal();
        for (std::size_t k = 0; k < 128; ++k)
            expected[k] += single.Psd(1.0)[k] * static_cast<double>(single.Blocks()) / 16;
    }
    ASSERT_EQ(both.Blocks(), 6 + 10);
    EXPECT_THAT(both.Psd(1.0), Near(expected, 1e-14));
}

TEST(AveragedSpectrum, HasTheSameBitsForEveryCut) {
    const Wave signal = Noise(1000);
    for (const __int64 overlap : {0, 1, 32, 61, 63}) {
        AveragedSpectrum whole(Hann(64), overlap);
        whole.Add(signal);
        for (const std::size_t length : {1U, 5U, 63U, 64U, 65U, 300U}) {
            AveragedSpectrum cut(Hann(64), overlap);
            for (std::span<const double> rest = signal; !rest.empty();) {
                const std::size_t count = std::min(length, rest.size());
                cut.Add(Wave(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count)));
                rest = rest.subspan(count);
            }
            ASSERT_EQ(cut.Blocks(), (BlockCut{64, overlap}.Count(1000))) << length;
            EXPECT_EQ(cut.Psd(3.0), whole.Psd(3.0)) << length << '/' << overlap;
        }
    }
}

TEST(AveragedSpectrum, NeedsAWindowAnOverlapABlockAndARate) {
    for (const Wave& window : {Wave(), Wave(1, 1.0), Wave(1000, 1.0), Wave(16, 0.0), Wave(16, kNaN)}) {
        EXPECT_EQ(FailureOf([&] { AveragedSpectrum(window, 0); }), ErrorKind::kBadValue) << window.size();
        EXPECT_EQ(FailureOf([&] { kvx::BlockSpectrum(window, window); }), ErrorKind::kBadValue);
    }
    for (const __int64 overlap : {-1, 16})
        EXPECT_EQ(FailureOf([&] { AveragedSpectrum(Hann(16), overlap); }), ErrorKind::kBadValue);
    AveragedSpectrum spectrum(Hann(16), 0);
    spectrum.Add(Wave(15, 1.0));
    EXPECT_EQ(FailureOf([&] { spectrum.Amplitude(); }), ErrorKind::kBadValue);
    spectrum.Add(Wave(1, 1.0));
    EXPECT_EQ(spectrum.Blocks(), 1);
    EXPECT_EQ(FailureOf([&] { spectrum.Psd(0.0); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] { kvx::BlockSpectrum(Wave(15), Wave(16, 1.0)); }), ErrorKind::kBadValue);
}

TEST(BlockSpectrum, ReadsComplexAmplitudesOfOneBlock) {
    const Wave wave = SineOnLine100(3000);
    const auto lines = kvx::BlockSpectrum(std::span(wave).subspan(1024, 1024), Hann(1024));
    EXPECT_NEAR(lines.at(0).real(), -2.0, 1e-12);
    EXPECT_NEAR(std::abs(lines.at(100) - std::complex(0.0, -3.0)), 0.0, 1e-12);
}

TEST(SlicedSpectrum, AveragesNeighboursAndLeavesOutWhatFillsNoSlice) {
    const BlockCut cut = {64, 48};
    const Wave signal = Noise(1000);
    EXPECT_EQ(kvx::Slicing::AtMost(100, 1000, cut).blocksPerSlice, 1);
    EXPECT_EQ(kvx::Slicing::AtMost(100, 10, cut).Count(10), 0);
    EXPECT_EQ(FailureOf([&] { kvx::Slicing::AtMost(0, 1000, cut); }), ErrorKind::kBadValue);
    EXPECT_EQ((kvx::Slicing{cut, 0}.Count(1000)), 0);
    const auto slicing = kvx::Slicing::AtMost(8, 1000, cut);
    ASSERT_EQ(slicing.blocksPerSlice, 8);  // of 59
    ASSERT_EQ(slicing.Count(1000), 7);
    for (const LineKind kind : {LineKind::kDensity, LineKind::kAmplitude}) {
        std::vector<Wave> slices;
        kvx::SlicedSpectrum sliced(Hann(64), slicing, kind, 2.0, [&](std::span<const double> lines) {
            slices.emplace_back(lines.begin(), lines.end());
        });
        for (std::size_t i = 0; i < 1000; i += 100) sliced.Add(std::span(signal).subspan(i, 100));
        ASSERT_EQ(slices.size(), 7U);
        for (std::size_t s = 0; s < slices.size(); ++s) {
            AveragedSpectrum average(Hann(64), 48);
            average.Add(std::span(signal).subspan(s * 128, static_cast<std::size_t>(slicing.Length())));
            EXPECT_EQ(slices[s], kind == LineKind::kDensity ? average.Psd(2.0) : average.Amplitude());
        }
    }
    EXPECT_EQ(slicing.Start(3), 3 * 128);
    EXPECT_EQ(FailureOf([&] { kvx::SlicedSpectrum(Hann(64), slicing, LineKind::kComplex, 1.0, {}); }),
              ErrorKind::kBadValue);
}

/// Lines 2 Hz apart.
LineSpectrum Lines(LineKind kind, const Wave& levels) {
    LineSpectrum spectrum;
    spectrum.kind = kind;
    spectrum.spacingHz = 2.0;
    spectrum.real = levels;
    return spectrum;
}

TEST(LineSpectrum, HasTheUnitAndTheRmsOfItsKind) {
    const CUnitCtrl g = kvx::NamedUnit("g");
    EXPECT_EQ(kvx::UnitText(kvx::LineUnit(LineKind::kDensity, g)), "g2/Hz");
    EXPECT_EQ(kvx::LineUnit(LineKind::kAmplitude, g), g);
    EXPECT_EQ(FailureOf([] { kvx::LineUnit(LineKind::kDensity, kvx::NamedUnit("m/s2/N")); }),
              ErrorKind::kUnsupported);
    // The sine on line 100 with a constant, in three ways.
    const Wave wave = SineOnLine100(4096);
    AveragedSpectrum average(Hann(1024), 512);
    average.Add(wave);
    for (const LineSpectrum& spectrum :
         {kvx::Densities(average, 2048.0, g), kvx::Amplitudes(average, 2048.0, g),
          kvx::BlockLines(std::span(wave).first(1024), Hann(1024), 2048.0, g)}) {
        EXPECT_EQ(spectrum.spacingHz, 2.0);
        EXPECT_EQ(kvx::HighestLine(spectrum.Levels(), {0, 511}), 100);
        EXPECT_NEAR(kvx::BandRms(spectrum, {90, 110}), 3.0 / std::numbers::sqrt2, 1e-12);
        const auto peaks = kvx::FindPeaks(spectrum, {1, 511}, 1);
        ASSERT_EQ(peaks.size(), 1U);
        EXPECT_EQ(peaks[0].hz, 200.0);
        // The lines beside it have half the amplitude: down to 1/sqrt 2 it is 2 - sqrt 2 of a line on each
        // side.
        EXPECT_NEAR(peaks[0].q.value(), 50.0 / (2.0 - std::numbers::sqrt2), 1e-9);
    }
}

TEST(LineSpectrum, ReadsASineAndTheLastLineInEveryKind) {
    // 3 sin on line 100, 2 and -2 in turn on the line 512.
    const CUnitCtrl g = kvx::NamedUnit("g");
    const Wave wave = WaveOf(8192, [](double n) {
        return 3.0 * std::sin(2.0 * std::numbers::pi * 100.0 * n / 1024.0) +
               2.0 * std::cos(std::numbers::pi * n);
    });
    struct Case {
        LineKind kind;
        double sine, alternating;
    };
    for (const auto& [kind, sine, alternating] :
         {Case{LineKind::kAmplitude, 3.0, 2.0}, Case{LineKind::kRms, 3.0 / std::numbers::sqrt2, 2.0},
          Case{LineKind::kPower, 4.5, 4.0}, Case{LineKind::kPeakToPeak, 6.0, 4.0}}) {
        AveragedSpectrum average(Hann(1024), 512, {.hasMiddleLine = true});
        average.Add(wave);
        const LineSpectrum lines = kvx::AveragedLines(kind, average, 1024.0, g);
        ASSERT_EQ(lines.real.size(), 513U);
        EXPECT_NEAR(lines.real[100], sine, 1e-12);
        EXPECT_NEAR(lines.real[512], alternating, 1e-12);
        EXPECT_NEAR(kvx::BandRms(lines, {90, 110}), 3.0 / std::numbers::sqrt2, 1e-12);
        EXPECT_NEAR(kvx::FindPeaks(lines, {90, 110}, 1).at(0).q.value(), 50.0 / (2.0 - std::numbers::sqrt2),
                    1e-9);
        // ISO 1683: dB re 1e-6 m/s2.
        const double level =
            kvx::DecibelsOf(lines, lines.unit.ConvDtoI(sine, 1.0, 0), kvx::LevelReferenceOf(g));
        const double amplitude = kvx::IsPower(kind) ? std::sqrt(sine) : sine;
        EXPECT_NEAR(level, 20.0 * std::log10(amplitude / 1e-6), 1e-10);
    }
    AveragedSpectrum average(Hann(1024), 512);
    average.Add(wave);
    EXPECT_EQ(FailureOf([&] { kvx::AveragedLines(LineKind::kComplex, average, 1.0, g); }),
              ErrorKind::kBadValue);
    EXPECT_EQ(kvx::UnitText(kvx::LineUnit(LineKind::kPower, g)), "g2");
    EXPECT_EQ(kvx::LineUnit(LineKind::kPower, CUnitCtrl()), CUnitCtrl());
}

TEST(Decibels, ReferToWhatIsNamed) {
    struct Case {
        const char *reference, *unit, *text;
        double value;
    };
    for (const auto& [reference, unit, text, value] :
         {Case{"", "g", "1 µm/s2", 1e-6}, Case{"", "kPa", "20 µPa", 2e-5}, Case{"", "mm/s", "1 nm/s", 1e-9},
          Case{"", "V", "1 V", 1.0}, Case{"", "mV", "1 mV", 1e-3}, Case{"1 g", "m/s2", "1 g", 9.80665},
          Case{"2", "g", "2 g", 2 * 9.80665}, Case{"1e-5 mm/s2", "m/s2", "1e-05 mm/s2", 1e-8}}) {
        const kvx::LevelReference named = kvx::NamedReference(reference, kvx::NamedUnit(unit));
        EXPECT_NEAR(named.value, value, 1e-12 * value) << unit;
        EXPECT_EQ(named.text, text);
    }
    EXPECT_NEAR(kvx::DecibelsOfRms(kvx::NamedUnit("g"), 1.0, kvx::LevelReferenceOf(kvx::NamedUnit("g"))),
                139.8304, 1e-4);
    for (const char* bad : {"0 g", "-1 g", "g", "1 N", "nan"})
        EXPECT_EQ(FailureOf([=] { kvx::NamedReference(bad, kvx::NamedUnit("g")); }), ErrorKind::kBadValue)
            << bad;
    EXPECT_EQ(FailureOf([] { kvx::NamedReference("1 gg", kvx::NamedUnit("g")); }), ErrorKind::kUnknownName);
}

TEST(LineSpectrum, CountsLinesAtTheLimitsOfABand) {
    struct Case {
        double from;
        std::optional<double> to;
        __int64 first, last;
    };
    for (const auto& [from, to, first, last] :
         {Case{0.0, {}, 0, 9}, Case{2.0, 6.0, 1, 3}, Case{2.1, 5.9, 2, 2}, Case{2.0000001, 5.9999999, 1, 3},
          Case{0.0, 1e300, 0, 9}}) {
        const kvx::LineBand band = kvx::LinesInBand(from, to, 2.0, 10);
        EXPECT_EQ(std::pair(band.first, band.last), std::pair(first, last)) << from;
    }
    EXPECT_EQ(FailureOf([] { kvx::LinesInBand(2.1, 3.9, 2.0, 10); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] { kvx::LinesInBand(1e300, {}, 2.0, 10); }), ErrorKind::kBadValue);
    for (const double spacing : {0.0, -1.0, kInfinity})
        EXPECT_EQ(FailureOf([=] { kvx::LinesInBand(1, {}, spacing, 10); }), ErrorKind::kBadValue);
    EXPECT_EQ(kvx::LinesInBand(-5.0, {}, 2.0, 10).first, 0);
    const LineSpectrum lines = Lines(LineKind::kDensity, Wave(10, 1.0));
    for (const kvx::LineBand band : {kvx::LineBand{-1, 5}, {0, 10}, {6, 5}}) {
        EXPECT_EQ(FailureOf([&] { kvx::BandRms(lines, band); }), ErrorKind::kBadValue);
        EXPECT_EQ(FailureOf([&] { kvx::FindPeaks(lines, band, 1); }), ErrorKind::kBadValue);
        EXPECT_EQ(FailureOf([&] { kvx::HighestLine(lines.real, band); }), ErrorKind::kBadValue);
        EXPECT_EQ(FailureOf([&] { kvx::MotionOf(lines, band, 0); }), ErrorKind::kBadValue);
    }
    EXPECT_EQ(kvx::HighestLine(Wave{9, 1, 5, 5}, {0, 3}), 2);
    EXPECT_EQ(kvx::HighestLine(Wave{9, 1, 5, 5}, {0, 0}), 0);
}

TEST(LineSpectrum, TellsPeaksWithoutAWidthAndTheMotionOfDensities) {
    const auto peaks = kvx::FindPeaks(Lines(LineKind::kAmplitude, {1, 1, 1.2, 1, 1, 3, 0}), {0, 6}, 9);
    ASSERT_EQ(peaks.size(), 2U);
    EXPECT_EQ(peaks[0].level, 3.0);
    EXPECT_FALSE(peaks[1].q.has_value());

    const LineSpectrum densities = Lines(LineKind::kDensity, {7, 0, 0, 0, 8, 0});
    const auto motion = kvx::MotionOf(densities, {0, 5}, 3.0);
    const double omega = 16.0 * std::numbers::pi;
    ASSERT_TRUE(motion.has_value());
    EXPECT_EQ(motion->fromHz, 4.0);
    EXPECT_DOUBLE_EQ(motion->acceleration, 4.0);
    EXPECT_DOUBLE_EQ(motion->velocity, 4.0 / omega);
    EXPECT_DOUBLE_EQ(motion->displacement, 4.0 / omega / omega);
    EXPECT_EQ(motion->lowestPart, 1.0);
    // Of 1 + 1/16 + 1/81 + 1/256 + ... the first three.
    const double part = kvx::MotionOf(Lines(LineKind::kDensity, {1, 1, 1, 1, 1, 1}), {0, 5}, 0.0)->lowestPart;
    const double first3 = 1.0 + 1.0 / 16 + 1.0 / 81;
    EXPECT_NEAR(part, first3 / (first3 + 1.0 / 256 + 1.0 / 625), 1e-12);
    EXPECT_FALSE(kvx::MotionOf(densities, {0, 0}, 0.0).has_value());
    EXPECT_EQ(FailureOf([&] { kvx::MotionOf(densities, {0, 2}, 5.0); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] {
                  kvx::MotionOf(Lines(LineKind::kAmplitude, {1, 1}), {0, 1}, 0.0);
              }),
              ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] { kvx::RequireNumbers(Wave{1, kInfinity}, L"a"); }), ErrorKind::kBadValue);
}

}  // namespace
