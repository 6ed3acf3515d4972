// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <tests/dsp/Signals.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using kvx::AveragedSpectrum;
using kvx::BlockCut;

/// -2 + 3 sin(2 pi 100 n/1024)
CDataArrayDouble SineOnLine100(std::size_t count) {
    return ToArray(WaveOf(
        count, [](double n) { return -2.0 + 3.0 * std::sin(2.0 * std::numbers::pi * 100.0 * n / 1024.0); }));
}

/// Density of a signal in half-overlapping blocks under a Hann window.
CDataArrayDouble Density(const CDataArrayDouble& signal, __int64 size, double rateHz, __int64 blockCount) {
    AveragedSpectrum spectrum;
    CDataArrayDouble psd;
    EXPECT_EQ(spectrum.Begin(Hann(size), size / 2), 1);
    EXPECT_EQ(spectrum.Add(signal), blockCount);
    EXPECT_EQ(spectrum.GetPsd(rateHz, &psd), 1);
    return psd;
}

TEST(BlockCut, CountsFullBlocksOnly) {
    struct Case {
        __int64 size, overlap, samples, count;
    };
    for (const auto& [size, overlap, samples, count] :
         {Case{1024, 0, 1023, 0}, Case{1024, 0, 1024, 1}, Case{1024, 0, 2047, 1}, Case{1024, 0, 2048, 2},
          Case{1024, 1023, 1030, 7}, Case{1024, 1024, 4096, 0}, Case{1024, -1, 4096, 0},
          Case{1000, 0, 4096, 0}, Case{1, 0, 8, 0}, Case{2, 1, -5, 0}, Case{262144, 0, 1 << 20, 0}}) {
        EXPECT_EQ((BlockCut{size, overlap}.Count(samples)), count)
            << size << '/' << overlap << " of " << samples;
    }
}

TEST(AveragedSpectrum, ReadsASineAndAConstantInAmplitude) {
    AveragedSpectrum spectrum;
    CDataArrayDouble amp;
    ASSERT_EQ(spectrum.Begin(Hann(1024), 512), 1);
    ASSERT_EQ(spectrum.Add(SineOnLine100(4096)), 7);
    ASSERT_EQ(spectrum.GetAmplitude(&amp), 1);
    EXPECT_THAT((Wave{amp[0], amp[1], amp[99], amp[100], amp[103]}), Near({2.0, 2.0, 1.5, 3.0, 0.0}, 1e-13));
}

TEST(AveragedSpectrum, DensityHoldsTheMeanSquareOfASineAndOfNoise) {
    const CDataArrayDouble sine = Density(SineOnLine100(8192), 1024, 2048.0, 15);
    EXPECT_NEAR(CMatSpec::CalcPsdRms(sine, 2.0, 4, 0), 3.0 / std::numbers::sqrt2, 1e-13);
    // Uniform noise of variance 1/3 has the density (1/3)/(rate/2); 391 half-overlapping blocks keep within
    // 0.5 %.
    const CDataArrayDouble noise = Density(ToArray(Noise(200704)), 1024, 2000.0, 391);
    EXPECT_NEAR(noise.GetAve() * 3000.0, 1.0, 0.005);
}

TEST(AveragedSpectrum, AveragesSignalsOneAfterAnother) {
    const CDataArrayDouble one = ToArray(Noise(1000, 3)), other = ToArray(Noise(1500, 4));
    AveragedSpectrum both;
    CDataArrayDouble average;
    ASSERT_EQ(both.Begin(Hann(256), 128), 1);
    EXPECT_EQ(both.Add(one) + both.Add(other), 6 + 10);
    ASSERT_EQ(both.GetPsd(1.0, &average), 1);
    const CDataArrayDouble ofOne = Density(one, 256, 1.0, 6), ofOther = Density(other, 256, 1.0, 10);
    for (__int64 k = 0; k < 128; ++k)
        EXPECT_NEAR(average[k], (6 * ofOne[k] + 10 * ofOther[k]) / 16, 1e-14) << k;
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
    EXPECT_TRUE(
        AllFail(spectrum.GetAmplitude(&out), spectrum.Add(CDataArrayDouble()), spectrum.Add(nullptr, 4096)));
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

/// Densities of recordings at five lines and the rms of the lines from 4 up, computed with SciPy's
/// signal.welch.
struct Reference {
    std::string file, channel;
    double rateHz;
    __int64 size, blocks;
    std::pair<__int64, double> lines[5];
    double bandRms;
};

// clang-format off
const Reference kReferences[] = {
    {"bridgeA_ambient.lvm", "Acceleration", 51200.0 / 31.0, 1024, 139,
     {{1, 3.13637306e-06}, {5, 4.385840633e-11}, {64, 1.25337058e-09}, {256, 7.251260667e-11}, {511, 2.808794093e-11}}, 0.000884428259328},
    {"bridgeA_ambient.lvm", "Acceleration", 51200.0 / 31.0, 4096, 34,
     {{1, 1.273145883e-05}, {5, 7.839074285e-12}, {256, 3.442313607e-09}, {1024, 6.722822381e-11}, {2047, 1.240911791e-11}}, 0.000880086139005},
    {"bridgeB_shaker_15Hz.lvm", "Acceleration_0", 2560.0, 1024, 13,
     {{1, 6.147715166e-07}, {5, 0.0001957041865}, {64, 6.141567849e-06}, {256, 4.847461387e-06}, {511, 2.070442704e-08}}, 0.157526430926},
    {"bridgeB_shaker_15Hz.lvm", "Acceleration_1", 2560.0, 2048, 6,
     {{1, 1.829997978e-05}, {5, 1.08584456e-05}, {128, 0.08567377235}, {512, 0.0121770563}, {1023, 0.001458920456}}, 6.01202243451},
};
// clang-format on

/// One column of a recording with comma-separated columns under a row of titles that begins with X_Value.
CDataArrayDouble ReadColumn(const std::string& path, const std::string& title) {
    CDataArrayDouble values;
    std::ifstream file(path);
    std::string row, cell;
    __int64 column = -1;
    while (std::getline(file, row)) {
        std::istringstream cells(row);
        const bool isTitles = row.rfind("X_Value", 0) == 0;
        for (__int64 i = 0; std::getline(cells, cell, ','); ++i) {
            if (isTitles && cell == title) column = i;
            if (!isTitles && i == column) values.Append(std::strtod(cell.c_str(), nullptr));
        }
    }
    return values;
}

TEST(AveragedSpectrum, AgreesWithTheReferenceOnRecordings) {
    const char* const folder = std::getenv("KVX_RECORDINGS");
    if (folder == nullptr) GTEST_SKIP() << "KVX_RECORDINGS does not name the folder of the recordings";
    for (const auto& [file, channel, rateHz, size, blocks, lines, bandRms] : kReferences) {
        SCOPED_TRACE(file + ' ' + channel + ' ' + std::to_string(size));
        const CDataArrayDouble psd =
            Density(ReadColumn(std::string(folder) + '/' + file, channel), size, rateHz, blocks);
        for (const auto& [line, expected] : lines) EXPECT_NEAR(psd[line], expected, 1e-9 * expected) << line;
        EXPECT_NEAR(CMatSpec::CalcPsdRms(psd, rateHz / static_cast<double>(size), 4, 0), bandRms,
                    1e-9 * bandRms);
    }
}

}  // namespace
