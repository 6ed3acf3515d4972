// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

Wave Resampled(const Wave& in, double newF0, double newDf, CMatBasic::CONV_RATE law, std::int64_t count,
               double oldF0 = 1, double oldDf = 1) {
    CDataArrayDouble out(count, 7.0);
    CMatBasic::ConvRate(newF0, oldF0, newDf, oldDf, law, &out, ToArray(in));
    return ToWave(out);
}

struct Law {
    CMatBasic::CONV_RATE law;
    double (*spectrum)(double f);  // which the law follows exactly
};

TEST(ConvRate, IsExactForSpectraThatFollowItsLaw) {
    constexpr Law laws[] = {
        {CMatBasic::RATE_LINEAR, [](double f) { return 3 - 2 * f; }},
        {CMatBasic::RATE_LINEAR_AMPLITUDE, [](double f) { return 3 - 2 * f; }},
        {CMatBasic::RATE_LINEAR_POWER, [](double f) { return std::sqrt(5 + 2 * f * f); }},
        {CMatBasic::RATE_LOG_AMPLITUDE, [](double f) { return 4 * std::pow(f, -1.7); }},
        {CMatBasic::RATE_LOG_POWER, [](double f) { return 4 * std::pow(f, 2.3); }},
    };
    for (const Law& law : laws) {
        Wave in(20);
        for (std::size_t k = 0; k < in.size(); ++k) in[k] = law.spectrum(1.0 + static_cast<double>(k));
        const Wave out = Resampled(in, 1.0, 0.3, law.law, 60);
        for (std::size_t i = 0; i < out.size(); ++i) {
            const double f = 1.0 + 0.3 * static_cast<double>(i);
            ASSERT_NEAR(out[i], law.spectrum(f), 1e-12 * std::abs(law.spectrum(f))) << law.law << " at " << f;
        }
    }
}

TEST(ConvRate, KeepsToItsRulesAtTheEdges) {
    constexpr auto kLinear = CMatBasic::RATE_LINEAR;
    EXPECT_THAT(Resampled({10, 20, 40}, 0.4, 0.4, kLinear, 9),
                testing::Pointwise(testing::DoubleNear(1e-12), Wave{0, 16, 12, 16, 20, 28, 36, 40, 0}))
        << "the neighbour below the first bin is the last; nothing from half a bin beyond the ends on";
    EXPECT_EQ(Resampled({10, 20, 40}, 2.0005, 1, kLinear, 1), (Wave{20})) << "within 0.001 of a step";
    EXPECT_NEAR(Resampled({10, 20, 40}, 2.002, 1, kLinear, 1)[0], 20.04, 1e-12);
    EXPECT_EQ(Resampled({10, 20, 40}, 1.5, 2.0, CMatBasic::RATE_LOG_AMPLITUDE, 1), (Wave{0}))
        << "below 0.999 newDf";
    EXPECT_EQ(Resampled({10, kNone, 40, 50}, 1.5, 1, kLinear, 3), (Wave{kNone, kNone, 45}))
        << "no value either side";
    EXPECT_EQ(Resampled({10, -20}, 1.9, 0.05, CMatBasic::RATE_LINEAR_POWER, 3)[2], -20.0);
    for (const double bad : {kNaN, kInfinity, -kInfinity, 1e300})
        EXPECT_EQ(Resampled({10, 20}, bad, 1, kLinear, 2), Wave(2)) << bad;
    EXPECT_EQ(Resampled({10, 20}, 5, 1, kLinear, 2, 1, 0), Wave(2)) << "an old grid without steps";
    const auto unknown = static_cast<CMatBasic::CONV_RATE>(5);
    EXPECT_EQ(Resampled({10, 20}, 1, 1, unknown, 2), Wave(2, 7.0));
    EXPECT_EQ(Resampled({}, 1, 1, kLinear, 2), Wave(2, 7.0));
    CMatBasic::ConvRate(1, 1, 1, 1, kLinear, nullptr, ToArray({1, 2}));
}

TEST(GetNumConvFs, RoundsTheCountOfTheNewRate) {
    EXPECT_EQ(CMatBasic::GetNumConvFs(48000, 44100, 44100, 1), 48000);
    EXPECT_EQ(CMatBasic::GetNumConvFs(3, 2, 5, 1), 8);
    EXPECT_EQ(CMatBasic::GetNumConvFs(1, 1, 10, 4), 3);
    for (const double bad : {0.0, kNaN}) EXPECT_EQ(CMatBasic::GetNumConvFs(1, bad, 10, 1), 0);
    EXPECT_EQ(CMatBasic::GetNumConvFs(1e300, 1, 10, 1), 0);
}

struct RateCase {
    double newFs, oldFs;
};

class ConvFsTest : public testing::TestWithParam<RateCase> {
protected:
    const double lowerHalf_ = std::min(GetParam().newFs, GetParam().oldFs) / 2;

    /// Largest difference from the wanted sine in the samples that the ends do not reach.
    double ErrorOfSine(double frequency, double amplitudeWanted) const {
        const double reach = 70.0 / (2 * lowerHalf_);
        const double seconds = 2 * reach + 300.0 / GetParam().newFs;
        Wave in(static_cast<std::size_t>(seconds * GetParam().oldFs));
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = Sine(frequency, static_cast<double>(i) / GetParam().oldFs);
        CDataArrayDouble out;
        EXPECT_EQ(
            CMatBasic::ConvFs(&out, ToArray(in), GetParam().newFs, GetParam().oldFs, CMatBasic::TERM_ZERO),
            1);
        double error = 0;
        for (__int64 i = 0; i < out.GetNum(); ++i) {
            const double t = static_cast<double>(i) / GetParam().newFs;
            if (t < reach || t > seconds - reach - 1 / GetParam().oldFs) continue;
            error = std::max(error, std::abs(out[i] - amplitudeWanted * Sine(frequency, t)));
        }
        EXPECT_GT(out.GetNum(), 300);
        return error;
    }

private:
    static double Sine(double f, double t) { return std::sin(2 * std::numbers::pi * f * t + 0.3); }
};

TEST_P(ConvFsTest, KeepsSinesOfTheBandWithinMinus115Decibels) {
    for (const double part : {0.01, 0.3, 0.6, 0.85})
        EXPECT_LT(20 * std::log10(ErrorOfSine(part * lowerHalf_, 1.0)), -115) << part;
}

TEST_P(ConvFsTest, SuppressesWhatTheNewRateCannotCarryBy118Decibels) {
    const double highest = GetParam().oldFs / 2;
    for (const double part : {1.0, 1.1, 1.7, 5.3}) {
        if (part * lowerHalf_ >= 0.99 * highest) continue;
        EXPECT_LT(20 * std::log10(ErrorOfSine(part * lowerHalf_, 0.0)), -118) << part;
    }
}

INSTANTIATE_TEST_SUITE_P(MatBasic, ConvFsTest,
                         testing::Values(RateCase{48000, 44100}, RateCase{44100, 48000}, RateCase{2, 1},
                                         RateCase{1, 2}, RateCase{1, 10}, RateCase{1000, 7},
                                         RateCase{1, 5.4321}, RateCase{3.3, 2.71828}));

TEST(ConvFs, ContinuesTheSignalAtItsEnds) {
    CDataArrayDouble out;
    ASSERT_EQ(CMatBasic::ConvFs(&out, CDataArrayDouble(50, 2.5), 3.7, 1.0, CMatBasic::TERM_HOLD), 1);
    ASSERT_EQ(out.GetNum(), 185);
    for (const double x : ToWave(out)) ASSERT_NEAR(x, 2.5, 1e-14);
    Wave period(100);
    for (std::size_t i = 0; i < period.size(); ++i)
        period[i] = std::cos(2 * std::numbers::pi * 5 * static_cast<double>(i) / 100);
    ASSERT_EQ(CMatBasic::ConvFs(&out, ToArray(period), 2.0, 1.0, CMatBasic::TERM_PERIODIC), 1);
    for (__int64 i = 0; i < 200; ++i)
        ASSERT_NEAR(out[i], std::cos(2 * std::numbers::pi * 5 * static_cast<double>(i) / 200), 2e-6);
    ASSERT_EQ(CMatBasic::ConvFs(&out, ToArray(period), 5.0, 5.0, CMatBasic::TERM_ZERO), 1);
    EXPECT_EQ(ToWave(out), period);
}

TEST(ConvFs, RefusesRatesAndSignalsWithoutMeaning) {
    const CDataArrayDouble in(10, 1.0);
    CDataArrayDouble out(3, 7.0);
    const auto convert = [&](double newFs, double oldFs, const CDataArrayDouble& wave, int term = 1) {
        return CMatBasic::ConvFs(&out, wave, newFs, oldFs, static_cast<CMatBasic::DATA_TERM>(term));
    };
    EXPECT_TRUE(AllFail(convert(0, 1, in), convert(1, 0, in), convert(-1, -1, in), convert(kNaN, 1, in),
                        convert(kInfinity, 1, in), convert(kInfinity, kInfinity, in), convert(1001, 1, in),
                        convert(1, 1001, in), convert(1, 30, in), convert(2, 1, in, 9), convert(2, 1, {}),
                        convert(2, 1, out), CMatBasic::ConvFs(nullptr, in, 2, 1, CMatBasic::TERM_HOLD)));
    EXPECT_EQ(ToWave(out), Wave(3, 7.0));
}

}  // namespace
