// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <tests/dsp/Signals.h>

#include <functional>
#include <numbers>
#include <numeric>

namespace {

using namespace kvx;

TEST(PsdProfile, HasThePublishedRmsOfTheScreeningProfile) {
    EXPECT_NEAR(ScreeningProfile().Rms(), 6.06, 0.005);
    EXPECT_EQ(PsdProfile().Rms(), 0.0);
}

TEST(PsdProfile, HasTheMotionOfItsClosedForm) {
    // A flat density G from a to b: velocity G/(2 pi)^2 (1/a - 1/b), displacement G/(2 pi)^4 (1/a^3 -
    // 1/b^3)/3.
    const double a = 20.0, b = 2000.0, level = 0.5, w = 2.0 * std::numbers::pi;
    const PsdProfile flat(Wave{a, b}, Wave{level, level});
    EXPECT_EQ(flat.RmsOfIntegral(0), flat.Rms());
    EXPECT_NEAR(flat.RmsOfIntegral(1), std::sqrt(level / (w * w) * (1 / a - 1 / b)), 1e-16);
    EXPECT_NEAR(flat.RmsOfIntegral(2),
                std::sqrt(level / std::pow(w, 4) * (std::pow(a, -3) - std::pow(b, -3)) / 3.0), 1e-18);
    // A density that rises as f^2 is a flat velocity density: the same figures one step later.
    const PsdProfile rising(Wave{a, b}, Wave{level * w * w * a * a, level * w * w * b * b});
    EXPECT_NEAR(rising.RmsOfIntegral(1), flat.Rms(), 1e-13);
    EXPECT_NEAR(rising.RmsOfIntegral(2), flat.RmsOfIntegral(1), 1e-16);
    EXPECT_EQ(PsdProfile().RmsOfIntegral(1), 0.0);
}

TEST(PsdProfile, PowersOfPartsAddUp) {
    const PsdProfile profile = ScreeningProfile();
    EXPECT_NEAR(profile.Power(0, 50) + profile.Power(50, 51) + profile.Power(51, 1e9),
                profile.Rms() * profile.Rms(), 1e-13);
    EXPECT_NEAR(profile.Power(100, 300), 0.04 * 200, 1e-14);
    for (const auto& [from, to] : {std::pair(1, 20), std::pair(2000, 3000), std::pair(60, 50)})
        EXPECT_EQ(profile.Power(from, to), 0.0);
}

TEST(PsdProfile, IsStraightOnLogarithmicAxesAndZeroOutside) {
    using Case = std::pair<double, double>;
    for (const auto& [freqHz, level] :
         {Case{19.99, 0}, Case{20, 0.01}, Case{40, 0.02}, Case{80, 0.04}, Case{200, 0.04}, Case{700, 0.02},
          Case{2000, 0.007}, Case{2001, 0}, Case{-1, 0}, Case{kNaN, 0}}) {
        EXPECT_NEAR(ScreeningProfile().LevelAt(freqHz), level, 1e-15) << freqHz;
    }
    EXPECT_EQ(PsdProfile().LevelAt(50.0), 0.0);
}

TEST(PsdProfile, RefusesPointsThatAreNoProfile) {
    // clang-format off
    const std::pair<Wave, Wave> cases[] = {
        {{}, {}}, {{10}, {1}}, {{10, 20}, {1}}, {{10, 10}, {1, 1}}, {{20, 10}, {1, 1}}, {{0, 10}, {1, 1}}, {{-5, 10}, {1, 1}},
        {{10, 20}, {1, 0}}, {{10, 20}, {-1, 1}}, {{10, kInfinity}, {1, 1}}, {{10, 20}, {1, kInfinity}}, {{10, 20}, {1, kNaN}},
    };
    // clang-format on
    for (const auto& points : cases) {
        EXPECT_TRUE(IsBadValue([&] { PsdProfile(points.first, points.second); }))
            << testing::PrintToString(points);
    }
}

TEST(PsdProfile, LinesKeepThePowerWhereverTheEndsLie) {
    for (const double dfHz : {0.3, 1.0, 2.5, 7.7, 30.0, 39.9}) {
        const Wave lines = ScreeningProfile().Lines(dfHz, static_cast<std::size_t>(2000.0 / dfHz) + 2);
        EXPECT_NEAR(std::sqrt(dfHz * std::reduce(lines.begin(), lines.end())), ScreeningProfile().Rms(),
                    1e-12)
            << dfHz;
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
        EXPECT_THAT(PsdProfile(freqHz, level).Lines(10.0, expected.size()), Near(expected, 1e-14));
    }
}

TEST(PsdProfile, LinesNeedAGridAndAProfile) {
    EXPECT_TRUE(IsBadValue([] { PsdProfile().Lines(1.0, 10); }));
    EXPECT_TRUE(IsBadValue([] { ScreeningProfile().Lines(1.0, 0); }));
    for (const double dfHz : {0.0, -1.0, kNaN, kInfinity})
        EXPECT_TRUE(IsBadValue([&] { ScreeningProfile().Lines(dfHz, 10); })) << dfHz;
    EXPECT_THAT(ScreeningProfile().Lines(1e-300, 10), testing::Each(0.0));
}

/// The levels of a profile at these frequencies.
Wave LevelsAt(const PsdProfile& profile, const Wave& freqHz) {
    return WaveOf(freqHz.size(),
                  [&](double i) { return profile.LevelAt(freqHz[static_cast<std::size_t>(i)]); });
}

TEST(ProfileEditing, ChangesInABandAndNowhereElse) {
    const PsdProfile source = ScreeningProfile();
    const Wave hz = {20, 40, 90, 100, 120, 140, 200, 1000, 2000};
    Wave set = LevelsAt(source, hz), raised = set;
    for (const std::size_t inside : {3U, 4U, 5U}) {
        set[inside] = 0.001;
        raised[inside] *= 4.0;
    }
    EXPECT_THAT(LevelsAt(WithLevel(source, 100, 140, 0.001), hz), Near(set, 1e-14));
    EXPECT_THAT(LevelsAt(WithLevelRatio(source, 100, 140, 4.0), hz), Near(raised, 1e-14));
    EXPECT_THAT(LevelsAt(WithLevelRatio(source, 100, 140, 4.0, 2.0), hz), Near(raised, 1e-14))
        << "an edge that never comes back to 1 is a flank";
    // Edges of (f/corner)^2: back at 1 an octave away, half way up at a factor of sqrt 2.
    const PsdProfile notched = WithLevelRatio(source, 200, 210, 0.25, 2.0);
    EXPECT_THAT(LevelsAt(notched, {100, 100 * std::sqrt(2.0), 200, 205, 210 * std::sqrt(2.0), 420}),
                Near({0.04, 0.02, 0.01, 0.01, 0.02, source.LevelAt(420)}, 1e-14));
    EXPECT_EQ(WithLevel(source, 1, 1e4, 0.5).Frequencies().size(), 4U) << "a band around it adds no points";
}

TEST(ProfileEditing, ScalesToAnRmsAndKeepsTheShape) {
    const PsdProfile scaled = WithRms(ScreeningProfile(), 3.0);
    EXPECT_NEAR(scaled.Rms(), 3.0, 1e-14);
    EXPECT_NEAR(scaled.LevelAt(100.0) / scaled.LevelAt(20.0), 4.0, 1e-13);
}

TEST(ProfileEditing, MakesAProfileOfLines) {
    const PsdProfile profile = ProfileOfLines(Wave{5, 0, 2, 1, 0, 3}, 2.5);
    EXPECT_THAT(profile.Frequencies(), testing::ElementsAre(5.0, 7.5, 12.5)) << "nothing at 0 Hz";
    EXPECT_THAT(profile.Levels(), testing::ElementsAre(2, 1, 3));
}

TEST(ProfileEditing, RefusesWhatLeavesNoProfile) {
    const PsdProfile p = ScreeningProfile();
    const std::function<void()> cases[] = {
        [&] { WithLevel(p, 1, 2, 1); },
        [&] { WithLevel(p, 3000, 4000, 1); },
        [&] { WithLevel(p, 100, 100, 1); },
        [&] { WithLevel(p, -1, 100, 1); },
        [&] { WithLevel(p, 100, 140, 0); },
        [&] { WithLevel(p, 100, 140, kInfinity); },
        [&] { WithLevelRatio(p, 100, 140, -1); },
        [&] { WithLevelRatio(p, 100, 140, 1e308); },
        [&] { WithRms(p, 0.0); },
        [&] { WithLevelRatio(p, 100, 140, 2, kNaN); },
        [&] { WithRms(p, 1e200); },
        [&] { WithRms(PsdProfile(), 1.0); },
        [&] { WithRms(p, kNaN); },
        [&] {
            ProfileOfLines(Wave{5, 0, 1}, 2.5);
        },
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_TRUE(IsBadValue(cases[i])) << i;
}

}  // namespace
