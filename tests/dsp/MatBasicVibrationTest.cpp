// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <tests/dsp/Signals.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using std::numbers::pi;

constexpr auto kAcc = CUnitCtrl::DIM_ACCELERATION;
constexpr auto kVel = CUnitCtrl::DIM_VELOCITY;
constexpr auto kDisp = CUnitCtrl::DIM_DISPLACEMENT;
constexpr auto kFreq = CUnitCtrl::DIM_FREQUENCY;

TEST(GetPsdRms, IsTheRootOfThePowerWithoutMarkers) {
    EXPECT_DOUBLE_EQ(CMatBasic::GetPsdRms(ToArray({1, kNone, 3, 4}), 0.5), 2.0);
    EXPECT_EQ(CMatBasic::GetPsdRms(ToArray({kNone}), 0.5), 0.0);
    EXPECT_EQ(CMatBasic::GetPsdRms({}, 0.5), 0.0);
    EXPECT_EQ(CMatBasic::GetPsdRms(ToArray({-1}), 0.5), 0.0);
    EXPECT_TRUE(std::isnan(CMatBasic::GetPsdRms(ToArray({1, kNaN}), 0.5)));
}

TEST(AccPsdSpToRmsAVD, IntegratesEachLineByItsFrequency) {
    // Two lines: 8 and 18 (m/s2)^2 at 1/(2 pi) and 2/(2 pi) Hz, where omega is 1 and 2.
    const double df = 0.5 / pi;
    double acc = 7, vel = 7, disp = 7;
    ASSERT_EQ(CMatBasic::AccPsdSpToRmsAVD(ToArray({1e6, 8 / df, 16 / df, kNone}), 0, df, &acc, &vel, &disp),
              1);
    EXPECT_DOUBLE_EQ(acc, std::sqrt(24.0));
    EXPECT_DOUBLE_EQ(vel, std::sqrt(12.0));
    EXPECT_DOUBLE_EQ(disp, 3.0);
    ASSERT_EQ(CMatBasic::AccPsdSpToRmsAVD(ToArray({5, 0, 0}), 0, 1, &acc, &vel, &disp), 1);
    EXPECT_EQ(std::tuple(acc, vel, disp), std::tuple(0.0, 0.0, 0.0)) << "all of it at 0 Hz";
    acc = vel = disp = 7;
    const CDataArrayDouble one(1, 1.0);
    EXPECT_TRUE(AllFail(CMatBasic::AccPsdSpToRmsAVD({}, 0, 1, &acc, &vel, &disp),
                        CMatBasic::AccPsdSpToRmsAVD(one, 1, 1, nullptr, &vel, &disp),
                        CMatBasic::AccPsdSpToRmsAVD(one, 1, 1, &acc, nullptr, &disp),
                        CMatBasic::AccPsdSpToRmsAVD(one, 1, 1, &acc, &vel, nullptr)));
    EXPECT_EQ(std::tuple(acc, vel, disp), std::tuple(7.0, 7.0, 7.0));
}

TEST(AddHanLeakToRmsVD, AddsTheLeakageBelowTheFirstLine) {
    struct Case {
        Wave psd;
        double hpfFc, hpfOrder, weightPower, vel0, disp0, vel, disp;
    };
    // Worked out point by point in another program.
    const Wave far = {0, 0, 0, 0, 0, 2, 3, 1, 0, 0, 0, 0, 0, 0, 0, 0};
    const Case cases[] = {
        // clang-format off
        {far,              0,   0, 0,   0.1, 0.01, 0.1087956995617118,   0.01011466183512567},
        {far,              4.8, 2, 1.5, 0,   0,    0.025253106954281547, 0.0008693432503294676},
        {{kNone, 2, 3, 1}, 1,   1, 0,   0,   0,    0.16116673226617312,  0.12772172479178845},
        // clang-format on
    };
    for (const Case& c : cases) {
        double vel = c.vel0, disp = c.disp0;
        CMatBasic::AddHanLeakToRmsVD(ToArray(c.psd), 0, 1, c.hpfFc, c.hpfOrder, c.weightPower, &vel, &disp);
        EXPECT_DOUBLE_EQ(vel, c.vel);
        EXPECT_DOUBLE_EQ(disp, c.disp);
    }
}

TEST(AddHanLeakToRmsVD, AddsNothingWhereNothingIsHidden) {
    double vel = 3, disp = 4;
    const auto add = [&](const Wave& psd, double f0, double* velRms, double* dispRms) {
        return CMatBasic::AddHanLeakToRmsVD(ToArray(psd), f0, 1, 0.5, 0.7, 0.3, velRms, dispRms);
    };
    for (const Wave& psd : {Wave{0, 0, 0}, Wave{kNone, kNaN}, Wave{0, 0, 1}, Wave{0, -1, 0, 0, 5}}) {
        EXPECT_EQ(add(psd, 0, &vel, &disp), 1);
    }
    EXPECT_EQ(add({0, 1, 1, 1}, 100, &vel, &disp), 1) << "beyond 100 Hz";
    EXPECT_EQ(add({}, 0, &vel, &disp) + add({1}, 0, nullptr, &disp) + add({1}, 0, &vel, nullptr), 0);
    EXPECT_EQ(std::pair(vel, disp), std::pair(3.0, 4.0));
    for (const double f0 : {0.0, 0.05, 1.95}) {
        EXPECT_EQ(add({1}, f0, &vel, &disp), 1);
        EXPECT_TRUE(std::isfinite(vel) && std::isfinite(disp)) << "points at 0 Hz and beyond it, f0 = " << f0;
    }
}

TEST(ConvAmpFAVD, GivesEachQuantityFromAnyTwoOthers) {
    // 50 Hz, 2 m/s peak.
    constexpr double kOmega = 100 * pi;
    for (const int peakToPeak : {0, 1}) {
        const std::pair<CUnitCtrl::DIM_CODE, double> motion[] = {
            {kAcc, 2 * kOmega}, {kVel, 2.0}, {kDisp, (peakToPeak ? 2 : 1) * 2 / kOmega}, {kFreq, 50.0}};
        for (const auto& [dimX, x] : motion) {
            for (const auto& [dimY, y] : motion) {
                for (const auto& [wanted, value] : motion) {
                    const bool isDetermined = dimX != dimY || dimX == wanted;
                    EXPECT_NEAR(CMatBasic::ConvAmpFAVD(x, dimX, y, dimY, wanted, peakToPeak),
                                isDetermined ? value : 0.0, 1e-14 * value)
                        << dimX << " " << dimY << " " << wanted;
                }
            }
        }
    }
}

TEST(ConvAmpFAVD, IsZeroWhereNothingFollows) {
    constexpr auto kForce = CUnitCtrl::DIM_FORCE;
    EXPECT_THAT((Wave{CMatBasic::ConvAmpFAVD(10, kAcc, 0, kFreq, kVel, 0),
                      CMatBasic::ConvAmpFAVD(-10, kAcc, 5, kFreq, kVel, 0),
                      CMatBasic::ConvAmpFAVD(kNaN, kAcc, 5, kFreq, kVel, 0),
                      CMatBasic::ConvAmpFAVD(1, kForce, 5, kFreq, kVel, 0),
                      CMatBasic::ConvAmpFAVD(1, kAcc, 5, kFreq, kForce, 0),
                      CMatBasic::ConvAmpFAVD(5e-324, kDisp, 5, kVel, kAcc, 1)}),  // half of it is nothing
                testing::Each(0.0));
    EXPECT_EQ(CMatBasic::ConvAmpFAVD(-10, kAcc, 5, kFreq, kAcc, 0), -10.0) << "given, not derived";
}

TEST(ConvPhaseFAVD, LagsByAQuarterTurnPerIntegration) {
    // The phases of a sin(wt + phi) and of its derivatives, by the derivatives themselves.
    constexpr CUnitCtrl::DIM_CODE kOrder[] = {kDisp, kVel, kAcc};
    for (int from = 0; from < 3; ++from) {
        for (int to = 0; to < 3; ++to) {
            EXPECT_DOUBLE_EQ(CMatBasic::ConvPhaseFAVD(0.3, kOrder[from], kOrder[to]),
                             0.3 + (to - from) * pi / 2);
        }
    }
    EXPECT_EQ(CMatBasic::ConvPhaseFAVD(0.3, kAcc, kFreq), 0.3);
    EXPECT_EQ(CMatBasic::ConvPhaseFAVD(0.3, CUnitCtrl::DIM_FORCE, kVel), 0.3);
}

class WindowTest : public testing::TestWithParam<int> {};

TEST_P(WindowTest, DensitiesHoldThePowerOfEachWave) {
    constexpr __int64 kBlock = 256;
    constexpr double kRate = 1000;
    CDataArrayMtxDouble waves(2, 1, 5 * kBlock + 17), psd;
    for (__int64 i = 0; i < waves.GetNum(); ++i) {
        const double sine = std::sin(2 * pi * 40 * static_cast<double>(i) / kBlock);
        waves.GetDataPtr(0, 0)[i] = 3 * sine;
        waves.GetDataPtr(1, 0)[i] = 5 * sine;
    }
    ASSERT_EQ(CMatBasic::CalcWavePSD(waves, kRate, kBlock, GetParam(), kBlock / 2, &psd), 1);
    ASSERT_EQ(psd.GetNum(), kBlock / 2);
    const double df = kRate / kBlock;
    EXPECT_NEAR(df * psd.GetArrayPtr(0, 0)->GetSum(), 4.5, 1e-8);
    EXPECT_NEAR(df * psd.GetArrayPtr(1, 0)->GetSum(), 12.5, 1e-8);

    Wave raw(kBlock / 2);
    ASSERT_EQ(
        MatLibCalcPSD(raw.data(), waves.GetDataPtr(0, 0), waves.GetNum(), kBlock, kBlock / 2, GetParam()), 1);
    for (std::size_t k = 0; k < raw.size(); ++k) {
        ASSERT_NEAR(raw[k] / kRate, (*psd.GetArrayPtr(0, 0))[static_cast<__int64>(k)], 1e-15);
    }
}

INSTANTIATE_TEST_SUITE_P(MatBasic, WindowTest, testing::Range(0, 9));

TEST(CalcWavePSD, RefusesWhatDoesNotFit) {
    CDataArrayMtxDouble waves(1, 1, 100), psd(1, 1, 3);
    const auto run = [&](double fs, __int64 block, __int64 window, __int64 overlap) {
        return CMatBasic::CalcWavePSD(waves, fs, block, window, overlap, &psd);
    };
    EXPECT_TRUE(AllFail(run(0.0, 64, 1, 0), run(kNaN, 64, 1, 0), run(1.0, 128, 1, 0), run(1.0, 63, 1, 0),
                        run(1.0, 64, 9, 0), run(1.0, 64, -1, 0), run(1.0, 64, 1, 64), run(1.0, 64, 1, -1),
                        CMatBasic::CalcWavePSD(waves, 1, 64, 1, 0, nullptr),
                        CMatBasic::CalcWavePSD(waves, 1, 64, 1, 0, &waves),
                        MatLibCalcPSD(nullptr, waves.GetDataPtr(0, 0), 100, 64, 0, 1),
                        MatLibCalcPSD(psd.GetDataPtr(0, 0), nullptr, 100, 64, 0, 1)));
    EXPECT_EQ(psd.GetNum(), 3);
}

TEST(MatLibCalcXFR, IsExactForAPeriodThatFillsTheBlock) {
    constexpr std::size_t kBlock = 64;
    const Wave period = Noise(kBlock);
    Wave input, output;
    for (std::size_t i = 0; i < 4 * kBlock; ++i) {
        input.push_back(period[i % kBlock]);
        output.push_back(period[i % kBlock] + 0.5 * period[(i + kBlock - 1) % kBlock]);
    }
    Wave re(kBlock / 2), im(kBlock / 2), coherence(kBlock / 2);
    ASSERT_EQ(MatLibCalcXFR(re.data(), im.data(), coherence.data(), input.data(), output.data(), 4 * kBlock,
                            kBlock, 48, MATLIB_RECTANGULAR),
              1);
    for (std::size_t k = 0; k < kBlock / 2; ++k) {
        const double angle = 2 * pi * static_cast<double>(k) / kBlock;
        EXPECT_NEAR(re[k], 1 + 0.5 * std::cos(angle), 1e-12) << k;
        EXPECT_NEAR(im[k], -0.5 * std::sin(angle), 1e-12) << k;
        EXPECT_NEAR(coherence[k], 1.0, 1e-12) << k;
    }
}

TEST(MatLibCalcXFR, TellsNoiseByTheCoherence) {
    constexpr std::size_t kCount = 64 * 4000;
    const Wave input = Noise(kCount, 1), noise = Noise(kCount, 2);
    Wave output(kCount);
    for (std::size_t i = 0; i < kCount; ++i) output[i] = 2 * input[i] + noise[i];
    Wave re(32), im(32), coherence(32);
    ASSERT_EQ(MatLibCalcXFR(re.data(), im.data(), coherence.data(), input.data(), output.data(), kCount, 64,
                            0, MATLIB_HANNING),
              1);
    for (std::size_t k = 1; k < 32; ++k) {
        EXPECT_NEAR(coherence[k], 0.8, 0.02) << k;  // signal over all power; five deviations of 4000 blocks
        EXPECT_NEAR(re[k], 2.0, 0.06) << k;
        EXPECT_NEAR(im[k], 0.0, 0.06) << k;
    }
    const auto single = [&](const double* in, double* result, __int64 count, int window) {
        return MatLibCalcXFR(result, im.data(), nullptr, in, output.data(), count, 64, 0, window);
    };
    ASSERT_EQ(single(Wave(64).data(), re.data(), 64, MATLIB_HANNING), 1);
    EXPECT_EQ(re, Wave(32)) << "no input, no transfer";
    EXPECT_TRUE(AllFail(single(input.data(), re.data(), 63, 1), single(input.data(), re.data(), 64, 9),
                        single(nullptr, re.data(), 64, 1), single(input.data(), nullptr, 64, 1)));
}

TEST(MatLibFFTSetMaxSample, TakesSizesOfTransforms) {
    for (const int size : {1, 3, 16384, 131072}) EXPECT_EQ(MatLibFFTSetMaxSample(size), 1) << size;
    for (const int size : {-1, 0, 131073}) EXPECT_EQ(MatLibFFTSetMaxSample(size), 0) << size;
}

}  // namespace
