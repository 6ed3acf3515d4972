// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::GenerateRandomWave;
using kvx::RandomWaveSettings;

CDataArrayDouble Generate(__int64 count, const kvx::PsdProfile& profile, const RandomWaveSettings& settings) {
    CDataArrayDouble wave(count, 0.0);
    const kvx::RandomWaveFigures figures = GenerateRandomWave(wave, profile, settings);
    EXPECT_EQ(figures.rms, wave.CalcRms(0, 0));
    EXPECT_EQ(figures.peak, wave.GetAbsMax(0, 0));
    EXPECT_NE(figures.nextSeed, settings.seed);
    return wave;
}

TEST(GenerateRandomWave, HasTheDensityAndTheRmsOfItsProfile) {
    const CDataArrayDouble wave = Generate(600000, ScreeningProfile(), {.rateHz = 5120.0});
    // 117 s of a band some 1000 Hz wide: the rms scatters by 0.2 %.
    EXPECT_NEAR(wave.CalcRms(0, 0) / ScreeningProfile().Rms(), 1.0, 0.01);

    kvx::AveragedSpectrum spectrum(Hann(2048), 1024);
    spectrum.Add(wave);
    ASSERT_EQ(spectrum.Blocks(), 584);
    const Wave psd = spectrum.Psd(5120.0);
    // One line scatters by some 4.3 % with 584 half-overlapping blocks; 4.5 of that are not met by chance.
    for (std::size_t k = 12; k <= 795; ++k)
        EXPECT_NEAR(psd[k] / ScreeningProfile().LevelAt(2.5 * static_cast<double>(k)), 1.0, 0.2) << k;
    EXPECT_LT(psd[4], 1e-5);
    EXPECT_LT(psd[820], 1e-5);
}

TEST(GenerateRandomWave, IsGaussian) {
    const CDataArrayDouble wave =
        Generate(400000, ScreeningProfile(), {.rateHz = 5120.0, .targetRms = 1.0, .seed = 99});
    double third = 0.0, fourth = 0.0;
    for (__int64 n = 0; n < wave.GetNum(); ++n) {
        const double square = wave[n] * wave[n];
        third += square * wave[n] / 400000.0;
        fourth += square * square / 400000.0;
    }
    EXPECT_NEAR(third, 0.0, 0.05);
    EXPECT_NEAR(fourth, 3.0, 0.1);
}

TEST(GenerateRandomWave, HasTheSameVarianceEverywhereTheEndsIncluded) {
    constexpr __int64 kCount = 2500, kPart = 125;
    constexpr std::uint32_t kSeeds = 400;
    const kvx::PsdProfile profile(Wave{100, 400}, Wave{1, 1});
    Wave power(kCount / kPart);
    for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
        const CDataArrayDouble wave =
            Generate(kCount, profile, {.rateHz = 1000.0, .frameSize = 1024, .seed = 4001 * seed});
        for (std::size_t i = 0; i < power.size(); ++i) {
            power[i] += wave.GetSqSum(static_cast<__int64>(i) * kPart, kPart) / (kPart * kSeeds);
        }
    }
    // 400 x 75 independent samples: 0.8 %.
    for (std::size_t i = 0; i < power.size(); ++i) EXPECT_NEAR(power[i] / 300.0, 1.0, 0.04) << "part " << i;
}

TEST(GenerateRandomWave, RepeatsItselfForASeedAndOnlyForThat) {
    const RandomWaveSettings settings{.rateHz = 5120.0, .targetRms = 2.0, .seed = 5};
    const CDataArrayDouble wave = Generate(5000, ScreeningProfile(), settings);
    EXPECT_TRUE(wave == Generate(5000, ScreeningProfile(), settings));
    EXPECT_FALSE(wave == Generate(5000, ScreeningProfile(), {.rateHz = 5120.0, .targetRms = 2.0, .seed = 6}));
    EXPECT_NEAR(wave.CalcRms(0, 0), 2.0, 1e-14);
    EXPECT_EQ(Generate(1, ScreeningProfile(), settings).GetNum(), 1);
}

TEST(GenerateRandomWave, DoesNotRepeatWhenItsLinesDivideTheCycleOfTheGenerator) {
    // 250 lines and a cycle of 3329 x 250 numbers: taken as they come, frame 3329 would be frame 0 again.
    const kvx::PsdProfile profile(Wave{100, 249}, Wave{1, 1});
    const CDataArrayDouble wave = Generate(3340 * 256, profile, {.rateHz = 512.0, .frameSize = 512});
    double product = 0.0;
    for (__int64 n = 0; n < 1024; ++n) product += wave[n] * wave[n + 3329 * 256];
    EXPECT_LT(std::fabs(product) / wave.GetSqSum(0, 1024), 0.2);
}

TEST(GenerateRandomWave, RefusesWhatGivesNoSignal) {
    CDataArrayDouble wave(100, 7.0);
    const auto refuses = [&](const kvx::PsdProfile& profile, const RandomWaveSettings& settings) {
        return IsBadValue([&] { GenerateRandomWave(wave, profile, settings); });
    };
    using Case = RandomWaveSettings;
    for (const Case& bad : {Case{0.0}, Case{kNaN}, Case{30.0}, Case{5120.0, -1.0}, Case{5120.0, 0.0},
                            Case{5120.0, kNaN}, Case{5120.0, 1e200}, Case{5120.0, {}, 1000},
                            Case{5120.0, {}, 8}, Case{5120.0, {}, 262144}, Case{5120.0, {}, -1024}}) {
        EXPECT_TRUE(refuses(ScreeningProfile(), bad)) << bad.rateHz << ' ' << bad.frameSize;
    }
    EXPECT_TRUE(refuses(kvx::PsdProfile(), {5120.0}));
    EXPECT_TRUE(refuses({Wave{1e-4, 1e-3}, Wave{1, 1}}, {5120.0})) << "below the first line";
    EXPECT_TRUE(refuses({Wave{20, 2000}, Wave{1e-320, 1e-320}}, {5120.0})) << "squares vanish";
    EXPECT_TRUE(IsBadValue([] { GenerateRandomWave({}, ScreeningProfile(), {5120.0}); }));
    EXPECT_EQ(ToWave(wave), Wave(100, 7.0));
}

TEST(GenerateRandomWave, ChoosesTheLeastPowerOfTwoThatLeavesRoomForAFilter) {
    EXPECT_EQ(kvx::RandomWaveRate(ScreeningProfile()), 8192.0);
    EXPECT_EQ(kvx::RandomWaveRate({Wave{20, 100}, Wave{1, 1}}), 256.0) << "2.56 times exactly";
    EXPECT_TRUE(IsBadValue([] { kvx::RandomWaveRate(kvx::PsdProfile()); }));
}

}  // namespace
