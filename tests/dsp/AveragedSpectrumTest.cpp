// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::AveragedSpectrum;
using kvx::BlockCut;

/// -2 + 3 sin(2 pi 100 n/1024)
CDataArrayDouble SineOnLine100(std::size_t count) {
    return ToArray(WaveOf(
        count, [](double n) { return -2.0 + 3.0 * std::sin(2.0 * std::numbers::pi * 100.0 * n / 1024.0); }));
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
        {{1, 0}, 8, 0},           {{2, 1}, -5, 0},          {{262144, 0}, 1 << 20, 0},
        // clang-format on
    };
    for (const auto& [cut, samples, count] : cases)
        EXPECT_EQ(cut.Count(samples), count) << cut.size << '/' << cut.overlap << " of " << samples;
}

TEST(AveragedSpectrum, ReadsASineAndAConstantInAmplitude) {
    AveragedSpectrum spectrum;
    CDataArrayDouble amp;
    ASSERT_EQ(spectrum.Begin(Hann(1024), 512), 1);
    ASSERT_EQ(spectrum.Add(SineOnLine100(4096)), 7);
    ASSERT_EQ(spectrum.GetAmplitude(&amp), 1);
    EXPECT_THAT((Wave{amp[0], amp[1], amp[99], amp[100], amp[103]}), Near({2.0, 2.0, 1.5, 3.0, 0.0}, 1e-13));
}

TEST(AveragedSpectrum, AveragesSignalsOneAfterAnother) {
    const CDataArrayDouble signals[] = {ToArray(Noise(1000, 3)), ToArray(Noise(1500, 4))};
    AveragedSpectrum both, single;
    CDataArrayDouble average, psd, expected(128, 0.0);
    ASSERT_EQ(both.Begin(Hann(256), 128), 1);
    for (const CDataArrayDouble& signal : signals) {
        ASSERT_EQ(single.Begin(Hann(256), 128), 1);
        const __int64 count = single.Add(signal);
        EXPECT_EQ(both.Add(signal), count);
        ASSERT_EQ(single.GetPsd(1.0, &psd), 1);
        psd *= static_cast<double>(count) / 16;
        expected += psd;
    }
    ASSERT_EQ(both.GetNumBlocks(), 6 + 10);
    ASSERT_EQ(both.GetPsd(1.0, &average), 1);
    EXPECT_THAT(ToWave(average), Near(ToWave(expected), 1e-14));
}

TEST(AveragedSpectrum, NeedsAWindowBlocksAndAPlaceForTheResult) {
    AveragedSpectrum spectrum;
    CDataArrayDouble out;
    const CDataArrayDouble signal(4096, 1.0);
    EXPECT_TRUE(AllFail(spectrum.Add(signal), spectrum.GetPsd(1.0, &out)));
    for (const Wave& window : {Wave(), Wave(1, 1.0), Wave(1000, 1.0), Wave(16, 0.0), Wave(16, kNaN)})
        EXPECT_EQ(spectrum.Begin(ToArray(window), 0), 0) << window.size();
    EXPECT_TRUE(AllFail(spectrum.Begin(Hann(16), 16), spectrum.Add(signal)));
    ASSERT_EQ(spectrum.Begin(Hann(16), 0), 1);
    EXPECT_TRUE(AllFail(spectrum.GetAmplitude(&out), spectrum.Add({}), spectrum.Add(CDataArrayDouble())));
    ASSERT_EQ(spectrum.Add(signal), 256);
    EXPECT_TRUE(AllFail(spectrum.GetPsd(1.0, nullptr), spectrum.GetPsd(0.0, &out), out.GetNum()));
}

TEST(CalcBlockSpectrum, ReadsComplexAmplitudesOfOneBlock) {
    const CDataArrayDouble wave = SineOnLine100(3000);
    CDataArrayDoubleCplx lines;
    ASSERT_EQ(kvx::CalcBlockSpectrum(&lines, wave, 1024, Hann(1024)), 1);
    const auto [re, im] = PartsOf(lines);
    EXPECT_THAT((Wave{re.at(0), re.at(100), im.at(100)}), Near({-2.0, 0.0, -3.0}, 1e-12));
    EXPECT_EQ(kvx::CalcBlockSpectrum(&lines, wave, 1976, Hann(1024)), 1);
    for (const __int64 start : Results{1977, -1, kFarthest})
        EXPECT_EQ(kvx::CalcBlockSpectrum(&lines, wave, start, Hann(1024)), 0) << start;
    EXPECT_TRUE(AllFail(kvx::CalcBlockSpectrum(&lines, wave, 0, CDataArrayDouble()),
                        kvx::CalcBlockSpectrum(nullptr, wave, 0, Hann(1024))));
}

}  // namespace
