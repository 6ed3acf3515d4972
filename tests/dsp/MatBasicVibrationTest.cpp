// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <tests/dsp/Signals.h>

namespace {

using std::numbers::pi;

constexpr auto kAcc = CUnitCtrl::DIM_ACCELERATION;
constexpr auto kVel = CUnitCtrl::DIM_VELOCITY;
constexpr auto kDisp = CUnitCtrl::DIM_DISPLACEMENT;
constexpr auto kFreq = CUnitCtrl::DIM_FREQUENCY;

TEST(GetPsdRms, IsTheRootOfThePowerWithoutMarkers) {
    EXPECT_DOUBLE_EQ(CMatBasic::GetPsdRms(ToArray({1, kNone, 3, 4}), 0.5), 2.0);
    for (const Wave& powerless : {Wave{}, Wave{kNone}, Wave{-1}})
        EXPECT_EQ(CMatBasic::GetPsdRms(ToArray(powerless), 0.5), 0.0);
    EXPECT_TRUE(std::isnan(CMatBasic::GetPsdRms(ToArray({1, kNaN}), 0.5)));
}

TEST(AccPsdSpToRmsAVD, IntegratesEachLineByItsFrequency) {
    // Two lines: 8 and 16 (m/s2)^2 at 1/(2 pi) and 2/(2 pi) Hz, where omega is 1 and 2.
    const double df = 0.5 / pi;
    double acc = 7, vel = 7, disp = 7;
    const auto integrate = [&](const Wave& psd, double step, double* a, double* v, double* d) {
        return CMatBasic::AccPsdSpToRmsAVD(ToArray(psd), 0, step, a, v, d);
    };
    EXPECT_TRUE(AllFail(integrate({}, 1, &acc, &vel, &disp), integrate({1, 1}, 1, nullptr, &vel, &disp),
                        integrate({1, 1}, 1, &acc, nullptr, &disp),
                        integrate({1, 1}, 1, &acc, &vel, nullptr)));
    EXPECT_EQ((Wave{acc, vel, disp}), Wave(3, 7.0));
    ASSERT_EQ(integrate({1e6, 8 / df, 16 / df, kNone}, df, &acc, &vel, &disp), 1);
    EXPECT_THAT((Wave{acc, vel, disp}), Near({std::sqrt(24.0), std::sqrt(12.0), 3.0}, 2e-15));
    ASSERT_EQ(integrate({5, 0, 0}, 1, &acc, &vel, &disp), 1);
    EXPECT_EQ((Wave{acc, vel, disp}), Wave(3)) << "all of it at 0 Hz";
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
    for (auto [psd, hpfFc, hpfOrder, weightPower, vel, disp, velWanted, dispWanted] : cases) {
        CMatBasic::AddHanLeakToRmsVD(ToArray(psd), 0, 1, hpfFc, hpfOrder, weightPower, &vel, &disp);
        EXPECT_DOUBLE_EQ(vel, velWanted);
        EXPECT_DOUBLE_EQ(disp, dispWanted);
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
}

// The next point is 0.1 lines away; one at 0 Hz by rounding alone would count 1e30 times as much.
TEST(AddHanLeakToRmsVD, LeavesOutThePointThatFallsOn0HzUpToRounding) {
    for (const double df : {1.0, 0.3, 7.0, static_cast<double>(0.1F)}) {
        for (int twentieths = 1; twentieths < 40; twentieths += 2) {
            for (const double f0 : {0.05 * twentieths * df, static_cast<double>(0.05F) * twentieths * df}) {
                double vel = 0, disp = 0;
                EXPECT_EQ(CMatBasic::AddHanLeakToRmsVD(ToArray({1}), f0, df, 0, 0, 0, &vel, &disp), 1);
                EXPECT_LT(vel * std::sqrt(df), 2.0) << twentieths << " " << df;
                EXPECT_LT(disp * std::pow(df, 1.5), 2.0) << twentieths << " " << df;
                EXPECT_GT(vel * disp, 0.0);
            }
        }
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
    const auto convert = CMatBasic::ConvAmpFAVD;
    EXPECT_TRUE(AllFail(convert(10, kAcc, 0, kFreq, kVel, 0), convert(-10, kAcc, 5, kFreq, kVel, 0),
                        convert(kNaN, kAcc, 5, kFreq, kVel, 0), convert(1, kForce, 5, kFreq, kVel, 0),
                        convert(1, kAcc, 5, kFreq, kForce, 0), convert(5e-324, kDisp, 5, kVel, kAcc, 1)));
    EXPECT_EQ(convert(-10, kAcc, 5, kFreq, kAcc, 0), -10.0) << "given, not derived";
}

TEST(ConvPhaseFAVD, LagsByAQuarterTurnPerIntegration) {
    constexpr CUnitCtrl::DIM_CODE kOrder[] = {kDisp, kVel, kAcc};
    for (int from = 0; from < 3; ++from) {
        for (int to = 0; to < 3; ++to) {
            const double phase = CMatBasic::ConvPhaseFAVD(0.3, kOrder[from], kOrder[to]);
            EXPECT_DOUBLE_EQ(phase, 0.3 + (to - from) * pi / 2);
        }
    }
    for (const auto& [from, to] : {std::pair{kAcc, kFreq}, {CUnitCtrl::DIM_FORCE, kVel}})
        EXPECT_EQ(CMatBasic::ConvPhaseFAVD(0.3, from, to), 0.3);
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
    EXPECT_NEAR(kRate / kBlock * psd.GetArrayPtr(0, 0)->GetSum(), 4.5, 1e-8);
    EXPECT_NEAR(kRate / kBlock * psd.GetArrayPtr(1, 0)->GetSum(), 12.5, 1e-8);

    CDataArrayDouble raw(kBlock / 2, 0.0);
    const int result =
        MatLibCalcPSD(raw.GetData(), waves.GetDataPtr(0, 0), waves.GetNum(), kBlock, kBlock / 2, GetParam());
    ASSERT_EQ(result, 1);
    raw *= 1 / kRate;
    EXPECT_THAT(ToWave(raw), Near(ToWave(*psd.GetArrayPtr(0, 0)), 1e-15));
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
    Wave input, output, re(kBlock / 2), im(kBlock / 2), coherence(kBlock / 2);
    for (std::size_t i = 0; i < 4 * kBlock; ++i) {
        input.push_back(period[i % kBlock]);
        output.push_back(period[i % kBlock] + 0.5 * period[(i + kBlock - 1) % kBlock]);
    }
    const auto transfer = [&](const double* in, double* out, double* third, __int64 count, int window) {
        return MatLibCalcXFR(out, im.data(), third, in, output.data(), count, kBlock, 48, window);
    };
    ASSERT_EQ(transfer(input.data(), re.data(), coherence.data(), 4 * kBlock, MATLIB_RECTANGULAR), 1);
    for (std::size_t k = 0; k < kBlock / 2; ++k) {
        const auto expected = 1.0 + std::polar(0.5, -2 * pi * static_cast<double>(k) / kBlock);
        EXPECT_NEAR(re[k], expected.real(), 1e-12) << k;
        EXPECT_NEAR(im[k], expected.imag(), 1e-12) << k;
        EXPECT_NEAR(coherence[k], 1.0, 1e-12) << k;
    }
    const Wave before = re;
    EXPECT_EQ(transfer(input.data(), re.data(), nullptr, 4 * kBlock, MATLIB_RECTANGULAR), 1);
    EXPECT_EQ(re, before);
    EXPECT_TRUE(AllFail(
        transfer(input.data(), re.data(), nullptr, 63, 1), transfer(input.data(), re.data(), nullptr, 64, 9),
        transfer(nullptr, re.data(), nullptr, 64, 1), transfer(input.data(), nullptr, nullptr, 64, 1)));
}

TEST(MatLibFFTSetMaxSample, TakesSizesOfTransforms) {
    for (const int size : {1, 3, 16384, 131072}) EXPECT_EQ(MatLibFFTSetMaxSample(size), 1) << size;
    for (const int size : {-1, 0, 131073}) EXPECT_EQ(MatLibFFTSetMaxSample(size), 0) << size;
}

}  // namespace
