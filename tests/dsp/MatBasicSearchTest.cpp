// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <numeric>
#include <string>

namespace {

TEST(BinarySearch, KeepsTheReachedElementOnATie) {
    struct Case {
        Wave values;
        double x;
        __int64 index;
    };
    const Case cases[] = {
        // clang-format off
        {{0, 1, 2, 3}, 1.5, 1},  {{0, 1, 2, 3}, -1, 0},  {{0, 1, 2, 3}, 9, 3},  {{0, 1, 2, 3}, 0.5, 1},
        {{0, 10}, 5, 1},         {{7}, 100, 0},          {{-kInfinity, 0, kInfinity}, 5, 1},
        // clang-format on
    };
    for (const auto& [values, x, index] : cases)
        EXPECT_EQ(CMatBasic::BinarySearch(values.data(), Size(values), x), index) << x;
    EXPECT_EQ(CMatBasic::BinarySearch(nullptr, 4, 1.0), 0);
}

TEST(BinarySearch, FindsTheNearestElementAndStaysInsideWhateverItIsGiven) {
    for (std::size_t count = 1; count <= 40; ++count) {
        const CDataArrayDouble shuffled = ToArray(Noise(count, count));
        Results order(count);
        std::iota(order.begin(), order.end(), 0);
        std::sort(order.begin(), order.end(), [&](auto p, auto q) { return shuffled[p] < shuffled[q]; });
        Wave sorted = ToWave(shuffled);
        std::sort(sorted.begin(), sorted.end());
        for (const double x : Noise(50, 7)) {
            double nearest = kInfinity;
            for (const double value : sorted) nearest = std::min(nearest, std::abs(value - x));
            const __int64 found = CMatBasic::BinarySearch(sorted.data(), Size(sorted), x);
            ASSERT_EQ(std::abs(sorted.at(static_cast<std::size_t>(found)) - x), nearest);
            const CDataArrayIntPtr indices(Size(sorted), order.data());
            ASSERT_EQ(CMatBasic::BinarySerchFwInd(shuffled, indices, x), found);
        }
        // Neither NaNs nor disorder lead outside.
        for (const Wave& wild : {Wave(count, kNaN), Noise(count, 3)}) {
            for (const double x : {kNaN, 0.1, -kInfinity, kInfinity}) {
                const __int64 found = CMatBasic::BinarySearch(wild.data(), Size(wild), x);
                ASSERT_TRUE(found >= 0 && found < Size(wild));
            }
        }
    }
}

TEST(BinarySearch, NeedsAnOrderThatFitsTheValues) {
    const CDataArrayDouble values = ToArray({3, 1, 2});
    const auto search = [&](const Results& order, double x) {
        return CMatBasic::BinarySerchFwInd(values, CDataArrayIntPtr(std::ssize(order), order.data()), x);
    };
    EXPECT_EQ(search({1, 2}, 2.9), -1);
    EXPECT_EQ(CMatBasic::BinarySerchFwInd({}, {}, 2.9), -1);
    EXPECT_GE(search({5, -7, kFarthest}, 0.0), 0) << "indices that lead nowhere";
}

TEST(MatBasicRange, SkipsTheMarkerAndNamesTheFirstOfEquals) {
    struct Case {
        Wave values;
        __int64 start;
        int result;
        double min, max, positiveMin;
        __int64 minPos, maxPos;
    };
    constexpr double kTiny = 2.2250738585072014e-308;
    const Case cases[] = {
        // clang-format off
        {{-3, 0, -1, 4, 2},      0, 1, -3, 4, 2,                  0, 3},
        {{-9, 0, -1, 4, 2},      1, 1, -1, 4, 2,                  2, 3},
        {{-3, 0, -1},            0, 1, -3, 0, kTiny,              0, 1},
        {{5, 5, 5},              0, 1, 5, 5, 5,                   0, 0},
        {{kNone, 5, kNone, 6},   0, 1, 5, 6, 5,                   1, 3},
        {{kNaN, 5, 6, kNaN},     0, 1, 5, 6, 5,                   1, 2},
        {{kInfinity, -kInfinity}, 0, 1, -kInfinity, kInfinity, kInfinity, 1, 0},
        {{kNone, kNone},         0, 0, 77, 77, 77,                -1, -1},
        {{1, 2},                 2, 0, 77, 77, 77,                77, 77},
        {{1, 2},                 -1, 0, 77, 77, 77,               77, 77},
        // clang-format on
    };
    for (const auto& [values, start, result, low, high, positiveLow, lowPos, highPos] : cases) {
        SCOPED_TRACE(testing::PrintToString(values) + " from " + std::to_string(start));
        const __int64 n = Size(values);
        const double* const a = values.data();
        double min[] = {77, 77, 77, 77}, max[] = {77, 77, 77, 77}, positiveMin = 77;
        Results positions = {77, 77};
        const int results[] = {
            CMatBasic::GetMinMaxAndPMin(n, a, start, &min[0], &max[0], &positiveMin),
            CMatBasic::GetMinMax(n, a, start, &min[1], &max[1]),
            CMatBasic::GetMinMaxEx(a, n - start, start, &min[2], &max[2]),
            CMatBasic::GetMinMaxValueAndPos(n, a, start, &min[3], &positions[0], &max[3], &positions[1]),
            CMatBasic::GetMinMax(n, a, start, nullptr, nullptr),
            CMatBasic::GetMinMaxValueAndPos(n, a, start, nullptr, nullptr, nullptr, nullptr)};
        EXPECT_THAT(results, testing::Each(result));
        EXPECT_THAT(min, testing::Each(low));
        EXPECT_THAT(max, testing::Each(high));
        EXPECT_EQ(positiveMin, positiveLow);
        EXPECT_EQ(positions, (Results{lowPos, highPos}));
    }
    double one = 1, min = 7, max = 7;
    for (const __int64 n : Results{0, -1, kLowest, 1}) {
        const double* const a = n < 1 ? &one : nullptr;
        EXPECT_TRUE(AllFail(CMatBasic::GetMinMax(n, a, 0, &min, &max),
                            CMatBasic::GetMinMaxEx(a, n, 0, &min, &max),
                            CMatBasic::GetMinMaxAndPMin(n, a, 0, &min, &max, nullptr),
                            CMatBasic::GetMinMaxValueAndPos(n, a, 0, &min, nullptr, &max, nullptr)));
    }
    EXPECT_EQ(std::pair(min, max), std::pair(7.0, 7.0));
}

TEST(ZeroCrossing, IsTheFirstSampleThatLeavesTheSignOfTheStart) {
    const Wave wave = {3, 1, 0, -2, -1, 4, -kInfinity};
    double value = 77;
    const auto cross = [&](__int64 n, __int64 start) {
        return CMatBasic::GetZeroCrossPos(n, wave.data(), start, &value);
    };
    EXPECT_EQ((Results{cross(7, 0), cross(7, 2), cross(7, 5)}), (Results{2, 5, 6}));
    EXPECT_EQ(value, -kInfinity);
    EXPECT_EQ(CMatBasic::GetZeroCrossPos(7, wave.data(), 0, nullptr), 2);
    EXPECT_THAT((Results{cross(7, 6), cross(0, 0), cross(7, -1), cross(7, kFarthest), cross(kLowest, 0),
                         CMatBasic::GetZeroCrossPos(7, nullptr, 0, &value)}),
                testing::Each(-1));
}

TEST(ThresholdCrossing, IsFoundUpwardDownwardAndOnRequestAtBothSigns) {
    const Wave wave = {0, 2, 1, 1, 0.5, -1, -3};
    double value = 77;
    const auto cross = [&](double threshold, __int64 start, int bothSigns) {
        return CMatBasic::GetCrossedThresholdPos(7, wave.data(), threshold, start, bothSigns, &value);
    };
    EXPECT_EQ(cross(1, 0, 0), 1);
    EXPECT_EQ(value, 2.0);
    EXPECT_EQ(cross(1, 1, 0), 2) << "reached from above";
    EXPECT_EQ(cross(1, 2, 0), -1) << "left from it";
    EXPECT_EQ((Results{cross(1, 2, 1), cross(-2, 0, 0)}), (Results{5, 6}));
    EXPECT_THAT((Results{cross(kNaN, 0, 1), cross(1, 7, 0), cross(1, -1, 0),
                         CMatBasic::GetCrossedThresholdPos(7, nullptr, 1, 0, 0, &value)}),
                testing::Each(-1));
}

const Wave kHills = {0, 1, 3, 2, 5, 1, 0, 2, 0};
struct PeakCase {
    const char* name;
    Wave values;
    __int64 start;
    int forward, stopAtPeak, stopAtNotch, logScale;
    double depth;
    __int64 found;
    int isPeak;
};
const PeakCase kPeaks[] = {
    // clang-format off
    {"PeakPastARipple",      kHills, 0, 1, 1, 0, 0, 0.2, 4, 1},
    {"RippleWhenShallow",    kHills, 0, 1, 1, 0, 0, 0.1, 2, 1},
    {"NotchBehindThePeak",   kHills, 0, 1, 0, 1, 0, 0.2, 6, 0},
    {"EitherComesFirst",     kHills, 4, 1, 1, 1, 0, 0.2, 6, 0},
    {"Backward",             kHills, 8, 0, 1, 0, 0, 0.2, 7, 1},
    {"BackwardFromTheHill",  kHills, 6, 0, 1, 1, 0, 0.2, 4, 1},
    {"StartIsNoPeak",        kHills, 2, 1, 1, 0, 0, 0.2, 4, 1},
    {"NotConfirmed",         kHills, 0, 1, 1, 0, 0, 0.6, -1, 77},
    {"NothingAskedFor",      kHills, 0, 1, 0, 0, 0, 0.2, -1, 77},
    {"ExactlyDeepEnough",    {0, 5, 3}, 0, 1, 1, 0, 0, 0.2, 1, 1},
    {"RisingToTheEnd",       {0, 1, 2, 3}, 0, 1, 1, 1, 0, 0.1, -1, 77},
    {"LevelTop",             {0, 5, 5, 5, 0}, 0, 1, 1, 0, 0, 0.2, 1, 1},
    {"LogByAFactor",         {1, 100, 60, 1000, 400}, 0, 1, 1, 0, 1, 2.0, 3, 1},
    {"LogAnyReturn",         {1, 2, 2, 3, 2.9}, 0, 1, 1, 0, 1, 0.5, 3, 1},
    {"LogOfNothing",         {1, 0, -5, 0, 1}, 0, 1, 0, 1, 1, 2.0, 1, 0},
    {"OverMarkersAndNaNs",   {0, kNone, 5, kNaN, kNone, 0}, 0, 1, 1, 0, 0, 0.2, 2, 1},
    {"StartWithoutValue",    {kNone, 3, 5, 0}, 0, 1, 1, 0, 0, 0.2, 2, 1},
    {"InfinitePeak",         {0, kInfinity, 0}, 0, 1, 1, 0, 0, 0.2, 1, 1},
    {"NegativeDepth",        kHills, 0, 1, 1, 0, 1, -1.0, -1, 77},
    {"StartOutside",         kHills, 9, 0, 1, 0, 0, 0.2, -1, 77},
    {"NegativeStart",        kHills, -1, 1, 1, 0, 0, 0.2, -1, 77},
    // clang-format on
};

TEST(PeakSearch, ReturnsTheFirstExtremeThatStandsOut) {
    for (const PeakCase& c : kPeaks) {
        int isPeak = 77;
        // With low 0 and high 10 the depth is in tenths.
        const __int64 found =
            CMatBasic::SearchPeakNotch(Size(c.values), c.values.data(), 0, c.start, c.forward, c.stopAtPeak,
                                       c.stopAtNotch, c.logScale, c.depth, 0.0, 10.0, &isPeak);
        EXPECT_EQ(std::pair(found, isPeak), std::pair(c.found, c.isPeak)) << c.name;
    }
}

TEST(PeakSearch, StaysBetweenItsBounds) {
    const auto search = [](__int64 n, __int64 lowest, __int64 start, int forward, double high = 10) {
        return CMatBasic::SearchPeakNotch(n, kHills.data(), lowest, start, forward, 1, 0, 0, 0.2, 0, high,
                                          nullptr);
    };
    // With and without the fall behind the peak, upward and downward.
    EXPECT_EQ((Results{search(6, 0, 0, 1), search(5, 0, 0, 1)}), (Results{4, -1}));
    EXPECT_EQ((Results{search(4, 3, 6, 0), search(3, 4, 6, 0)}), (Results{4, -1}));
    EXPECT_THAT((Results{search(kLowest, 0, 0, 1), search(9, kLowest, 0, 0), search(9, 0, 0, 1, -1),
                         CMatBasic::SearchPeakNotch(9, nullptr, 0, 0, 1, 1, 1, 0, 0.2, 0, 10, nullptr)}),
                testing::Each(-1));
}

TEST(TopValues, AreTheLargestPeaksInOrder) {
    // The ends are no peaks, a level top is one.
    const Wave wave = {9, 1, 5, 4, 7, 7, 2, kNone, 7, kNaN, 3, 8};
    Results positions(5);
    Wave values(5);
    const auto top = [&](const double* a, __int64 max, __int64* found, double* levels) {
        return CMatBasic::GetTopValueArray(Size(wave), a, max, found, levels);
    };
    EXPECT_TRUE(AllFail(top(wave.data(), 0, &positions[0], nullptr), top(nullptr, 2, &positions[0], nullptr),
                        top(wave.data(), 2, nullptr, &values[0])));
    EXPECT_EQ(top(wave.data(), 5, &positions[0], &values[0]), 3);
    EXPECT_EQ(positions, (Results{4, 8, 2, 0, 0}));
    EXPECT_EQ(values, (Wave{7, 7, 5, 0, 0}));
}

TEST(TopValues, AgreeWithSortingAllPeaksOfNoise) {
    const CDataArrayDouble wave = ToArray(Noise(5000));
    Results peaks, found(100);
    for (__int64 i = 1; i < 4999; ++i)
        if (wave[i] > wave[i - 1] && wave[i] > wave[i + 1]) peaks.push_back(i);
    std::sort(peaks.begin(), peaks.end(), [&](__int64 p, __int64 q) { return wave[p] > wave[q]; });
    peaks.resize(100);
    ASSERT_EQ(CMatBasic::GetTopValueArray(5000, wave.GetData(), 100, found.data(), nullptr), 100);
    EXPECT_EQ(found, peaks);
}

double QValue(const Wave& amp, const Wave& freq, __int64 peak, int logScale) {
    return CMatBasic::GetSpecQValue(Size(amp), amp.data(), freq.data(), peak, logScale);
}

TEST(SpecQValue, IsExactOnStraightFlanks) {
    // Half power is crossed between the first and the second sample on either side.
    EXPECT_NEAR(QValue({0, 1, 1.5, 2, 1.5, 1, 0}, {7, 8, 9, 10, 11, 12, 13}, 3, 0),
                10.0 / (4.0 * (2.0 - std::numbers::sqrt2)), 1e-12);
    // Slopes of the fourth power are straight on log-log axes.
    EXPECT_NEAR(QValue({1 / 256.0, 1 / 16.0, 1, 1 / 16.0}, {2.5, 5, 10, 20}, 2, 1),
                1.0 / (std::exp2(0.125) - std::exp2(-0.125)), 1e-12);
}

TEST(SpecQValue, HasNoValueWithoutTwoCrossings) {
    const Wave freq = {8, 9, 10, 11, 12}, good = {0, 1, 2, 1, 0};
    const auto q = [&](const Wave& amp, __int64 peak = 2, int logScale = 0) {
        return QValue(amp, freq, peak, logScale);
    };
    EXPECT_THAT((Wave{q({0, 1, 2, 1.9, 1.8}), q({1.8, 1.9, 2, 1, 0}), q({0, kNone, 2, 1, 0}),
                      q({0, 0, 2, 1, 0}, 2, 1), q({2, 1, 0, 0, 0}, 0), q(Wave(5)), q({0, 1, kInfinity, 1, 0}),
                      q({0, 1, kNaN, 1, 0}), q(good, 5), q(good, kLowest), QValue(good, Wave(5, 10.0), 2, 0),
                      CMatBasic::GetSpecQValue(5, nullptr, freq.data(), 2, 0),
                      CMatBasic::GetSpecQValue(5, good.data(), nullptr, 2, 0)}),
                testing::Each(kNone));
}

}  // namespace
