// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/ProfileText.h>

using namespace kvx;

namespace {

TEST(ProfileText, ReadsBreakpointsAndTheirUnit) {
    const auto [profile, unit] = ParseProfileText("# vibration\nunit (m/s2)2/Hz\n20, 0.5 # low\r\n\n2e3;1\n");
    EXPECT_THAT(profile.Frequencies(), testing::ElementsAre(20, 2000));
    EXPECT_THAT(profile.Levels(), testing::ElementsAre(0.5, 1));
    EXPECT_EQ(UnitText(unit.value()), "m/s2");
}

TEST(ProfileText, IsRefusedWithTheLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"20 1\n", "a profile needs two breakpoints or more"},
        {"20 1\n20 2\n", "line 2: the frequency '20' is not above the one before"},
        {"20 1\n30\n", "line 2: the level is missing"},
        {"20 -1\n", "line 1: the level '-1' is not a number above 0"},
        {"20 1 2\n", "line 1: '2' is too much"},
        {"20 x\n", "line 1: 'x' is not a number"},
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
