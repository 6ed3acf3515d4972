// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/ProfileText.h>

using namespace kvx;

namespace {

TEST(ProfileText, ReadsBreakpointsAndTheirUnit) {
    const auto [profile, unit, tolerance, abort] =
        ParseProfileText("# vibration\nunit (m/s2)2/Hz\n20, 0.5 # low\r\n\n2e3;1\n");
    EXPECT_THAT(profile.Frequencies(), testing::ElementsAre(20, 2000));
    EXPECT_THAT(profile.Levels(), testing::ElementsAre(0.5, 1));
    EXPECT_EQ(UnitText(unit.value()), "m/s2");
    EXPECT_TRUE(tolerance.empty() && abort.empty());
}

TEST(ProfileText, LevelsFollowFromSlopes) {
    // 10 lg 2 dB per octave double the level with the frequency.
    const double slope = 10.0 * std::log10(2.0);
    std::ostringstream stated, derived;
    stated.precision(17);
    derived.precision(17);
    stated << "10\n+" << slope << "dB/oct\n80 0.04\n350 0.04\n"
           << -2 * slope << " dB/oct # to the end\n1400\n";
    derived << "10 0.005\n" << slope << " dB/oct\n80\n0 dB/oct\n350\n" << -2 * slope << " dB/oct\n1400\n";
    for (const std::string& text : {stated.str(), derived.str()}) {
        const PsdProfile profile = ParseProfileText(text).profile;
        EXPECT_THAT(profile.Frequencies(), testing::ElementsAre(10, 80, 350, 1400));
        EXPECT_THAT(profile.Levels(),
                    testing::Pointwise(testing::DoubleNear(1e-15), {0.005, 0.04, 0.04, 0.0025}));
    }
}

TEST(ProfileText, HasLimitsThatReadBack) {
    const ProfileText text = ParseProfileText(
        "20 1\ntolerance +3 -1.5\ntolerance 6, none, dB, 500, 1000\nabort 9 -9 dB\n2000 1\n");
    ASSERT_EQ(text.tolerance.size(), 2U);
    EXPECT_EQ(LimitAt(text.tolerance, 499).lowerDb, -1.5);
    EXPECT_EQ(LimitAt(text.tolerance, 500).upperDb, 6.0);
    EXPECT_EQ(LimitAt(text.tolerance, 500).lowerDb, -std::numeric_limits<double>::infinity());
    EXPECT_EQ(FormatProfileText(text),
              "20 1\n2000 1\ntolerance 3 -1.5 dB\ntolerance 6 none dB 500 1000\nabort 9 -9 dB\n");
    EXPECT_EQ(FormatProfileText(ParseProfileText(FormatProfileText(text))), FormatProfileText(text));
}

TEST(ProfileText, IsRefusedWithTheLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"20 1\n", "a profile needs two breakpoints or more"},
        {"20 1\n20 2\n", "line 2: the frequency '20' is not above the one before"},
        {"20 1\n30\n", "line 2: the level is missing"},
        {"20 -1\n", "line 1: the level '-1' is not a number above 0"},
        {"20 1 2\n", "line 1: '2' is too much"},
        {"20 x\n", "line 1: 'x' is not a number"},
        {"20 1\n+3 dB/oct 4\n80\n", "line 2: '4' is too much"},
        {"+3 dB/oct\n80 1\n", "line 1: there is no frequency before the slope"},
        {"20 1\n3 dB/oct\n4 dB/oct\n80\n", "line 3: there is a slope before this one"},
        {"20 1\n80 1\n3 dB/oct\n", "line 2: there is no frequency after the slope"},
        {"20 1\n3 dB/oct\n80 1\n", "line 1: the slope after it is between levels that are known without it"},
        {"20 1\n9e9 dB/oct\n80\n", "line 3: the slope takes the level out of the range of numbers"},
        {"20\n3 dB/oct\n80\n", "line 1: the level is missing"},
        {"tolerance 3\n", "line 1: the lower limit is missing"},
        {"tolerance -3 3\n", "line 1: the upper limit '-3' is below 0"},
        {"abort 3 -3 dB 100 50\n", "line 1: the second frequency is not above the first"},
        {"unit g\n", "line 1: 'g' is not the unit of a density such as g2/Hz or (m/s2)2/Hz"},
    };
    for (const auto& [text, sentence] : cases) {
        try {
            ParseProfileText(text);
            ADD_FAILURE() << text;
        } catch (const Error& error) {
            EXPECT_STREQ(error.what(), sentence) << text;
        }
    }
}

}  // namespace
