// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

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
    for (const auto& [law, spectrum] : laws) {
        const auto at = [follow = spectrum](double df) {
            return [=](double k) { return follow(1.0 + df * k); };
        };
        const Wave expected = WaveOf(60, at(0.3)), out = Resampled(WaveOf(20, at(1)), 1, 0.3, law, 60);
        for (std::size_t i = 0; i < 60; ++i)
            ASSERT_NEAR(out[i], expected[i], 1e-12 * std::abs(expected[i])) << law << " at " << i;
    }
}

TEST(ConvRate, KeepsToItsRulesAtTheEdges) {
    constexpr auto kLinear = CMatBasic::RATE_LINEAR;
    EXPECT_THAT(Resampled({10, 20, 40}, 0.4, 0.4, kLinear, 9),
                Near({0, 16, 12, 16, 20, 28, 36, 40, 0}, 1e-12))
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
    using Fs = CMatBasic;
    EXPECT_EQ((Results{Fs::GetNumConvFs(48000, 44100, 44100, 1), Fs::GetNumConvFs(3, 2, 5, 1),
                       Fs::GetNumConvFs(1, 1, 10, 4)}),
              (Results{48000, 8, 3}));
    EXPECT_TRUE(AllFail(Fs::GetNumConvFs(1, 0.0, 10, 1), Fs::GetNumConvFs(1, kNaN, 10, 1),
                        Fs::GetNumConvFs(1e300, 1, 10, 1)));
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
        const Wave in = WaveOf(static_cast<std::size_t>(seconds * GetParam().oldFs),
                               [frequency](double i) { return Sine(frequency, i / GetParam().oldFs); });
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
    const auto cosine = [](double i) { return std::cos(2 * std::numbers::pi * 5 * i / 100); };
    const Wave period = WaveOf(100, cosine), twice = WaveOf(200, [&](double i) { return cosine(i / 2); });
    ASSERT_EQ(CMatBasic::ConvFs(&out, CDataArrayDouble(50, 2.5), 3.7, 1.0, CMatBasic::TERM_HOLD), 1);
    EXPECT_THAT(ToWave(out), Near(Wave(185, 2.5), 1e-14));
    ASSERT_EQ(CMatBasic::ConvFs(&out, ToArray(period), 2.0, 1.0, CMatBasic::TERM_PERIODIC), 1);
    EXPECT_THAT(ToWave(out), Near(twice, 2e-6));
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
