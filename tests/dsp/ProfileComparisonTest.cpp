// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <tests/dsp/Signals.h>

#include <functional>

namespace {

using namespace kvx;

/// A profile of 2 from 10 Hz to 100 Hz, with limits.
TestProfile Flat(std::vector<DensityLimit> tolerance = {}, std::vector<DensityLimit> abort = {}) {
    return {PsdProfile(Wave{10, 100}, Wave{2, 2}), std::move(tolerance), std::move(abort)};
}

/// Lines 1 Hz apart, 0 Hz to 119 Hz, of that level, with another one at some.
Wave Lines(double level, const std::vector<std::pair<std::size_t, double>>& others = {}) {
    Wave lines(120, level);
    for (const auto& [line, value] : others) lines[line] = value;
    return lines;
}

TEST(ProfileComparison, OfTheLinesOfTheProfileIsZeroEverywhere) {
    const TestProfile profile = {ScreeningProfile()};
    const Wave lines = profile.target.Lines(2.0, 1100);
    const ProfileComparison result = CompareWithProfile(lines, 2.0, profile);
    EXPECT_NEAR(result.highest.differenceDb, 0.0, 1e-12);
    EXPECT_NEAR(result.lowest.differenceDb, 0.0, 1e-12);
    EXPECT_EQ(result.lines, 989) << "22 Hz to 1998 Hz: the cells of 20 Hz and 2000 Hz are half outside";
    EXPECT_EQ(result.bands.size(), 3U) << "between the breakpoints";
    EXPECT_NEAR(result.targetRms, profile.target.Rms(), 1e-12);
    EXPECT_EQ(result.verdict, Verdict::kWithin);
}

TEST(ProfileComparison, TellsRmsBandsAndLinesInDecibels) {
    // Twice the level is 3.0103 dB; in the band from 20 Hz half the lines have it.
    Wave lines = Lines(4.0);
    for (std::size_t k = 25; k < 30; ++k) lines[k] = 2.0;
    const ProfileComparison result =
        CompareWithProfile(lines, 1.0, Flat(), {.edgesHz = {10, 19.5, 29.5, 100}});
    ASSERT_EQ(result.bands.size(), 3U);
    EXPECT_NEAR(result.bands[0].differenceDb, 10 * std::log10(2.0), 1e-13);
    EXPECT_NEAR(result.bands[1].measured, 3.0, 1e-13);
    EXPECT_NEAR(result.bands[1].differenceDb, 10 * std::log10(1.5), 1e-13);
    EXPECT_EQ(result.highest.hz, 11.0);
    EXPECT_EQ(result.lowest.hz, 25.0);
    EXPECT_NEAR(result.targetRms, std::sqrt(180.0), 1e-12);
    EXPECT_NEAR(result.measuredRms, std::sqrt(350.0), 1e-12);
    EXPECT_NEAR(result.differenceDb, 10 * std::log10(350.0 / 180.0), 1e-12);
    // A line without power is infinitely far below.
    EXPECT_EQ(CompareWithProfile(Lines(2.0, {{50, 0.0}}), 1.0, Flat()).lowest.differenceDb, -kInfinity);
}

TEST(ProfileComparison, JudgesByTheLimitsThatHold) {
    const std::vector<DensityLimit> tolerance = {{3, -3}, {6, -6, 50, 80}}, abort = {{9, -kInfinity}};
    const auto decibels = [](double value) { return 2.0 * std::pow(10.0, value / 10.0); };
    struct Case {
        Wave lines;
        ComparisonChoice choice;
        std::int64_t out;
        std::int64_t beyond;
        Verdict verdict;
    };
    // clang-format off
    const Case cases[] = {
        {Lines(2.0), {}, 0, 0, Verdict::kWithin},
        {Lines(2.0, {{20, decibels(2.99)}, {30, decibels(-2.99)}, {50, decibels(5.9)}, {80, decibels(-5.9)}}), {}, 0, 0, Verdict::kWithin},
        {Lines(2.0, {{20, decibels(3.01)}, {81, decibels(-3.01)}, {50, decibels(6.1)}}), {}, 3, 0, Verdict::kOutOfTolerance},
        {Lines(2.0, {{20, decibels(3.01)}}), {.allowedPercent = 2.0}, 1, 0, Verdict::kWithin},  // 1 of 89 lines
        {Lines(2.0, {{20, decibels(3.01)}}), {.allowedPercent = 1.0}, 1, 0, Verdict::kOutOfTolerance},
        {Lines(2.0, {{20, decibels(9.01)}, {40, 0.0}}), {.allowedPercent = 100.0}, 2, 1, Verdict::kBeyondAbort},
        {Lines(2.0, {{20, decibels(9.01)}}), {.fromHz = 21.0}, 0, 0, Verdict::kWithin},
        {Lines(2.0, {{20, decibels(9.01)}}), {.toHz = 19.0}, 0, 0, Verdict::kWithin},
        {Lines(2.0, {{20, decibels(9.01)}}), {.judgesBands = true}, 0, 0, Verdict::kWithin},
        // 40 Hz to 60 Hz: half of it may be 3 dB, half 6 dB higher, the whole 4.75 dB.
        {Lines(decibels(4.7)), {.edgesHz = {40, 60}, .judgesBands = true}, 0, 0, Verdict::kWithin},
        {Lines(decibels(4.8)), {.edgesHz = {40, 60}, .judgesBands = true}, 1, 0, Verdict::kOutOfTolerance},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const ProfileComparison result = CompareWithProfile(c.lines, 1.0, Flat(tolerance, abort), c.choice);
        EXPECT_EQ(result.outOfTolerance, c.out);
        EXPECT_EQ(result.beyondAbort, c.beyond);
        EXPECT_EQ(result.verdict, c.verdict);
    }
}

TEST(ProfileComparison, RefusesWhatCannotBeCompared) {
    const Wave lines = Lines(1.0);
    const auto compare = [&](const ComparisonChoice& choice) {
        CompareWithProfile(lines, 1.0, Flat(), choice);
    };
    const std::function<void()> cases[] = {
        [&] { CompareWithProfile(lines, 1.0, {}); },
        [&] { CompareWithProfile(lines, 0.0, Flat()); },
        [&] { CompareWithProfile(lines, kNaN, Flat()); },
        [&] { CompareWithProfile(Lines(-1.0), 1.0, Flat()); },
        [&] { CompareWithProfile(Lines(kNaN), 1.0, Flat()); },
        [&] { CompareWithProfile(Wave(100, 1.0), 1.0, Flat()); },  // up to 99.5 Hz
        [&] { CompareWithProfile(lines, 30.0, Flat()); },          // from 15 Hz on
        [&] { CompareWithProfile({}, 1.0, Flat()); },
        [&] {
            CompareWithProfile(lines, 1.0, Flat({{-1, -3}}));
        },
        [&] {
            CompareWithProfile(lines, 1.0, Flat({}, {{3, 1}}));
        },
        [&] {
            CompareWithProfile(lines, 1.0, Flat({{3, -3, 50, 50}}));
        },
        [&] { compare({.fromHz = 100.0}); },
        [&] { compare({.fromHz = 20.1, .toHz = 20.9}); },
        [&] { compare({.edgesHz = {50}}); },
        [&] {
            compare({.edgesHz = {50, 40}});
        },
        [&] {
            compare({.edgesHz = {5, 40}});
        },
        [&] { compare({.allowedPercent = -1.0}); },
        [&] { compare({.allowedPercent = kNaN}); },
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_TRUE(IsBadValue(cases[i])) << i;
}

}  // namespace
