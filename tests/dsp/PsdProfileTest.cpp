// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::PsdProfile;

TEST(PsdProfile, HasThePublishedRmsOfTheScreeningProfile) {
    PsdProfile profile = ScreeningProfile();
    EXPECT_NEAR(profile.CalcRms(), 6.06, 0.005);
    ASSERT_EQ(profile.ScaleToRms(3.0), 1);
    EXPECT_NEAR(profile.CalcRms(), 3.0, 1e-14);
    EXPECT_NEAR(profile.GetLevel(100.0) / profile.GetLevel(20.0), 4.0, 1e-13);
    for (const double bad : {0.0, -1.0, kInfinity, kNaN}) EXPECT_EQ(profile.ScaleToRms(bad), 0);
    EXPECT_EQ(PsdProfile().ScaleToRms(1.0), 0);
}

TEST(PsdProfile, IsStraightOnLogarithmicAxesAndZeroOutside) {
    using Case = std::pair<double, double>;
    for (const auto& [freqHz, level] :
         {Case{19.99, 0}, Case{20, 0.01}, Case{40, 0.02}, Case{80, 0.04}, Case{200, 0.04}, Case{700, 0.02},
          Case{2000, 0.007}, Case{2001, 0}, Case{-1, 0}, Case{kNaN, 0}}) {
        EXPECT_NEAR(ScreeningProfile().GetLevel(freqHz), level, 1e-15) << freqHz;
    }
    EXPECT_EQ(PsdProfile().GetLevel(50.0), 0.0);
}

TEST(PsdProfile, RefusesPointsThatAreNoProfile) {
    // clang-format off
    const std::pair<Wave, Wave> cases[] = {
        {{}, {}}, {{10}, {1}}, {{10, 20}, {1}}, {{10, 10}, {1, 1}}, {{20, 10}, {1, 1}}, {{0, 10}, {1, 1}}, {{-5, 10}, {1, 1}},
        {{10, 20}, {1, 0}}, {{10, 20}, {-1, 1}}, {{10, kInfinity}, {1, 1}}, {{10, 20}, {1, kInfinity}}, {{10, 20}, {1, kNaN}},
    };
    // clang-format on
    for (const auto& [freqHz, level] : cases) {
        PsdProfile profile = ScreeningProfile();
        EXPECT_EQ(profile.SetPoints(ToArray(freqHz), ToArray(level)), 0);
        EXPECT_TRUE(AllFail(profile.GetNumPoints(), profile.CalcRms()));
    }
}

TEST(PsdProfile, LinesKeepThePowerWhereverTheEndsLie) {
    for (const double dfHz : {0.3, 1.0, 2.5, 7.7, 30.0, 39.9}) {
        CDataArrayDouble lines;
        ASSERT_EQ(ScreeningProfile().GetLines(dfHz, static_cast<__int64>(2000.0 / dfHz) + 2, &lines), 1);
        EXPECT_NEAR(CMatSpec::CalcPsdRms(lines, dfHz, 0, 0), ScreeningProfile().CalcRms(), 1e-12) << dfHz;
    }
}

TEST(PsdProfile, LinesAreMeansOverTheirCellsOfTenHertz) {
    struct Case {
        Wave freqHz, level, lines;
    };
    // clang-format off
    const Case cases[] = {
        {{15, 41}, {2, 2}, {0, 0, 2, 2, 1.2, 0}},  // 6 Hz of the cell 35..45
        {{18, 19}, {30, 30}, {0, 0, 3, 0}},
        {{1, 500}, {2, 2}, {0, 2, 2}},             // nothing at 0 Hz, cut at the last cell
        {{10, 1000}, {1, 0.01}, {0, 10 * std::log(1.5) / 10, std::log(25.0 / 15.0)}},
    };
    // clang-format on
    for (const auto& [freqHz, level, expected] : cases) {
        PsdProfile profile;
        CDataArrayDouble lines;
        ASSERT_EQ(profile.SetPoints(ToArray(freqHz), ToArray(level)), 1);
        ASSERT_EQ(profile.GetLines(10.0, Size(expected), &lines), 1);
        EXPECT_THAT(ToWave(lines), Near(expected, 1e-14));
    }
}

TEST(PsdProfile, LinesNeedAGridAndAProfile) {
    CDataArrayDouble lines;
    EXPECT_TRUE(AllFail(ScreeningProfile().GetLines(1.0, 10, nullptr),
                        ScreeningProfile().GetLines(1.0, 0, &lines), PsdProfile().GetLines(1.0, 10, &lines)));
    for (const double dfHz : {0.0, -1.0, kNaN, kInfinity})
        EXPECT_EQ(ScreeningProfile().GetLines(dfHz, 10, &lines), 0);
    EXPECT_EQ(ScreeningProfile().GetLines(1e-300, 10, &lines), 1);
    EXPECT_TRUE(lines.IsAllZero());
}

}  // namespace
