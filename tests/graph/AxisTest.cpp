// SPDX-License-Identifier: MIT
//
// The arithmetic of axes and panes: worked examples, and numbers that must not break anything.
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/graph/AutoRange.h>
#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxDevCommon01/graph/VisibleRange.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace {

using namespace kvx;
using enum AxisForm;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMost = std::numeric_limits<double>::max();
constexpr double kMarker = kNoValue<double>;
constexpr double kHostile[] = {kNaN, kInfinity, -kInfinity, kMost, -kMost, 5e-324, -5e-324, 0.0, 1.0, 1e18};

void ExpectNear(const AxisRange& range, double low, double high) {
    EXPECT_NEAR(range.low, low, 1e-12 * (1.0 + std::abs(low)));
    EXPECT_NEAR(range.high, high, 1e-12 * (1.0 + std::abs(high)));
}

TEST(AxisMapping, PutsTheBoundsOnTheirPixelsAndFindsThemBack) {
    const auto linear = AxisMapping::Between({-1.0, 3.0}, 400.0, 0.0, kLinear);
    EXPECT_EQ(linear.ToPixel(-1.0), 400.0);
    EXPECT_EQ(linear.ToPixel(1.0), 200.0);
    EXPECT_EQ(linear.ToValue(100.0), 2.0);
    const auto decades = AxisMapping::Between({1.0, 1000.0}, 10.0, 40.0, kLogarithmic);
    EXPECT_NEAR(decades.ToPixel(100.0), 30.0, 1e-12);
    EXPECT_NEAR(decades.ToValue(20.0), 10.0, 1e-12);
    for (const double none : {0.0, -0.0, -5.0, -kInfinity})
        EXPECT_EQ(decades.ToPixel(none), decades.scale * -30.0 + decades.origin);
    const auto point = AxisMapping::Between({2.0, 2.0}, 10.0, 40.0, kLinear);
    EXPECT_EQ(point.ToPixel(2.0), 10.0);
    EXPECT_EQ(point.ToPixel(7.0), 10.0);
}

TEST(AxisMapping, ZoomsToWhatTheRectangleSpans) {
    ExpectNear(ZoomedRange({0, 10}, kLinear, 100, 300, 150, 250), 2.5, 7.5);
    ExpectNear(ZoomedRange({0, 10}, kLinear, 300, 100, 150, 250), 7.5, 2.5);
    ExpectNear(ZoomedRange({1, 1e4}, kLogarithmic, 0, 400, 100, 300), 10, 1000);
    ExpectNear(ZoomedRange({3, 10}, kLinear, 100, 100, 150, 250), 3, 3);
}

TEST(AxisMapping, ScrollsByAQuarterAndStaysWithinTheLimits) {
    using enum ScrollDirection;
    const AxisRange everything = {-1e9, 1e9};
    ExpectNear(ScrolledRange({2, 6}, kLinear, kUp, everything), 3, 7);
    ExpectNear(ScrolledRange({2, 6}, kLinear, kDown, everything), 1, 5);
    ExpectNear(ScrolledRange({1, 1e4}, kLogarithmic, kUp, everything), 10, 1e5);
    ExpectNear(ScrolledRange({1, 1e4}, kLogarithmic, kDown, everything), 0.1, 1e3);
    ExpectNear(ScrolledRange({2, 6}, kLinear, kUp, {0, 6.5}), 3, 6.5);
    ExpectNear(ScrolledRange({2, 6}, kLinear, kDown, {1.5, 9}), 1.5, 5);
}

TEST(AxisMapping, PartsEqualBounds) {
    EXPECT_EQ(UpperBoundApart(1.0, 2.0), 2.0);
    EXPECT_EQ(UpperBoundApart(1.0, 1.0), 1.0 + 1e-7);
    // Near 1e12 numbers are 1.2e-4 apart: the sum grows first by 1e-4, the fourth try.
    EXPECT_NEAR(UpperBoundApart(1e12, 1e12) - 1e12, 1e-4, 3e-5);
    EXPECT_EQ(UpperBoundApart(kInfinity, kInfinity), kInfinity);
    EXPECT_GT(UpperBoundApart(1e300, 1e300), 1e300);
}

TEST(AutoRange, RoundsToStepsOfAHundredthOrOfATwentiethOfADecadesBound) {
    const struct {
        double first, second;
        AxisForm form;
        int mode;
        double low, high;
    } cases[] = {
        // clang-format off
        {0, 1, kLinear, 2, 0, 1}, {0, 1, kLinear, 3, -0.01, 1.01}, {1, 0, kLinear, 5, 0.01, 0.99},
        {0.123, 0.987, kLinear, 1, 0.12, 0.99}, {0.123, 0.987, kLinear, 2, 0.12, 0.99},
        {0.123, 0.987, kLinear, 4, 0.13, 0.98}, {10, 1000, kLogarithmic, 3, 9.5, 1050},
        {10, 1000, kLogarithmic, 4, 10, 1000}, {10.3, 1030, kLogarithmic, 2, 10, 1050},
        {10, 19, kLogarithmic, 3, 9.9, 19.1}, {-10, 90, kLogarithmic, 2, -10, 90}, {5, 5, kLinear, 3, 5, 5},
        {0, 5e-324, kLinear, 3, 0, 5e-324},
        // clang-format on
    };
    for (const auto& [first, second, form, mode, low, high] : cases) {
        const std::optional<AxisRange> range =
            AutoRange(first, second, form, static_cast<RangeRounding>(mode));
        ASSERT_TRUE(range);
        ExpectNear(*range, low, high);
    }
    for (const std::uint32_t mode : {0U, 6U})
        EXPECT_FALSE(AutoRange(0, 1, kLinear, static_cast<RangeRounding>(mode)));
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        EXPECT_FALSE(AutoRange(0, bad, kLinear, RangeRounding::kOutward));
        EXPECT_FALSE(AutoRange(bad, 0, kLinear, RangeRounding::kOutward));
    }
    EXPECT_FALSE(AutoRange(-kMost, kMost, kLinear, RangeRounding::kOutward));
}

TEST(SignificantDigits, AreRoundedDifferentlyAboveAndBelowZero) {
    const struct {
        double value;
        int digits;
        double expected;
    } cases[] = {
        {0, 3, 0},           {1.25, 2, 1.3},
        {-1.25, 2, -1.3},    {1.21, 2, 1.2},
        {-1.21, 2, -1.3},    {1234, 2, 1200},
        {-1234, 2, -1300},   {1.3, 2, 1.3},
        {-1.3, 2, -1.4},     {0.00098765, 3, 0.000988},
        {999.999, 3, 1000},  {1.249999, 2, 1.3},
        {kMost, 3, kMost},   {1.5, INT_MIN, 1.5},
        {1.5, INT_MAX, 1.5}, {5e-324, 3, 5e-324},
    };
    for (const auto& [value, digits, expected] : cases) {
        EXPECT_NEAR(RoundToSignificantDigits(value, digits), expected, std::abs(expected) * 1e-14) << value;
    }
    EXPECT_EQ(RoundToSignificantDigits(-kInfinity, 3), -kInfinity);
    EXPECT_TRUE(std::isnan(RoundToSignificantDigits(kNaN, 3)));
}

TEST(VisibleRange, TakesTheSamplesThatReachIntoTheView) {
    const std::vector<double> values = {kMarker, 1, 2, 3, kMarker, 5, 6, kMarker, kMarker, kMarker};
    const struct {
        double low, high, start, interval;
        IndexRange any, withValue;  // of ten samples, with and without regard to the markers; none: count 0
    } cases[] = {
        // clang-format off
        {2.5, 4.5, 0, 1, {2, 4}, {2, 4}}, {3, 4, 0, 1, {3, 2}, {3, 1}}, {3 - 1e-6, 4 + 1e-6, 0, 1, {3, 2}, {3, 1}},
        {3 - 1e-4, 4 + 1e-4, 0, 1, {2, 4}, {2, 4}}, {-100, 100, 0, 1, {0, 10}, {1, 6}},
        {-kInfinity, kInfinity, 0, 1, {0, 10}, {1, 6}}, {7.5, 8.5, 0, 1, {7, 3}, {0, 0}},
        {20, 30, 0, 1, {0, 0}, {0, 0}}, {-30, -20, 0, 1, {0, 0}, {0, 0}}, {20.5, 21, 20, 0.25, {2, 3}, {2, 2}},
        {0, 5, 0, 0, {0, 0}, {0, 0}}, {0, 5, 0, -1, {0, 0}, {0, 0}}, {kNaN, 5, 0, 1, {0, 0}, {0, 0}},
        {0, kNaN, 0, 1, {0, 0}, {0, 0}},
        // clang-format on
    };
    for (const auto& [low, high, start, interval, any, withValue] : cases) {
        const AxisRange shown = {low, high};
        const auto none = [](const IndexRange& range) {
            return range.count > 0 ? std::optional(range) : std::nullopt;
        };
        EXPECT_EQ(FindVisibleRange(shown, start, interval, std::vector(10, 0.0)), none(any)) << low;
        EXPECT_EQ(FindVisibleRange(shown, start, interval, values), none(withValue)) << low;
    }
}

TEST(VisibleRange, IsFoundByTheNearestOfUnevenXValues) {
    const double axis[] = {1, 2, 4, 8, 16, 32}, values[6] = {};
    const struct {
        double low, high;
        IndexRange expected;
    } cases[] = {
        {2, 8, {1, 3}},     {3.5, 9, {1, 3}},  // the nearest to 3.5 is 4, beyond it
        {0.1, 100, {0, 6}}, {2.00001, 8, {1, 3}}, {40, 50, {5, 1}}, {-5, -1, {0, 1}},
    };
    for (const auto& [low, high, expected] : cases) {
        EXPECT_EQ(FindVisibleRange({low, high}, axis, values), expected) << low;
    }
    EXPECT_EQ(FindVisibleRange({0.1, 100}, axis, std::span(values).first(3)), (IndexRange{0, 3}));
    EXPECT_FALSE(FindVisibleRange({0.1, 100}, axis, {}));
    EXPECT_FALSE(FindVisibleRange({0.1, 100}, {}, values));
    EXPECT_FALSE(FindVisibleRange({kNaN, 100}, axis, values));
}

/// The grid found by giving up one row or column at a time.
PaneGrid TiledStepByStep(__int64 panes, double width, double height, double aspect) {
    const double ideal = width / (aspect * std::sqrt(height * width / (static_cast<double>(panes) * aspect)));
    const auto ratio = [&](PaneGrid g) {
        return (width / static_cast<double>(g.columns)) / (height / static_cast<double>(g.rows));
    };
    const auto grid = [&](double columns) {
        const double whole = std::max(columns, 1.0);
        const double rows = std::ceil(static_cast<double>(panes) / whole);
        return PaneGrid{static_cast<__int64>(whole), static_cast<__int64>(rows)};
    };
    PaneGrid best = grid(std::floor(ideal));
    const PaneGrid other = grid(std::ceil(ideal));
    if (std::abs(ratio(other) - aspect) < std::abs(ratio(best) - aspect)) best = other;
    const bool rowsFirst = aspect < ratio(best);
    const auto shrink = [&](__int64& count, __int64 times) {
        while (count > 1 && (count - 1) * times >= panes) --count;
    };
    if (rowsFirst) shrink(best.rows, best.columns);
    shrink(best.columns, best.rows);
    shrink(best.rows, best.columns);
    return best;
}

TEST(PaneLayout, TilesAnAreaInTheWantedRatio) {
    EXPECT_EQ(TilePanes(4, 800, 400, 2.0), (PaneGrid{2, 2}));
    EXPECT_EQ(TilePanes(3, 300, 900, 1.0), (PaneGrid{1, 3}));
    EXPECT_EQ(TilePanes(5, 1000, 100, 2.0), (PaneGrid{5, 1}));
    for (__int64 panes = 1; panes < 70; ++panes) {
        for (const double width : {1.0, 90.0, 500.0, 800.0, 1123.0, 20000.0}) {
            for (const double aspect : {0.1, 0.75, 1.0, 1.6, 3.0, 40.0}) {
                EXPECT_EQ(TilePanes(panes, width, 500, aspect), TiledStepByStep(panes, width, 500, aspect))
                    << panes << ' ' << width << ' ' << aspect;
            }
        }
    }
    for (const __int64 panes : {__int64{0}, __int64{-3}})
        EXPECT_EQ(TilePanes(panes, 800, 500, 1), PaneGrid());
    for (const double none : {0.0, -1.0, kNaN}) {
        EXPECT_EQ(TilePanes(6, 800, none, 1.0), PaneGrid());
        EXPECT_EQ(TilePanes(6, 800, 500, none), PaneGrid());
        EXPECT_EQ(TilePanes(6, none, 500, 1.0), (PaneGrid{1, 6}));
    }
}

TEST(Axis, ArithmeticSurvivesAnyNumbers) {
    for (const double a : kHostile) {
        for (const double b : kHostile) {
            for (const AxisForm form : {kLinear, kLogarithmic}) {
                const auto mapping = AxisMapping::Between({a, b}, 0.0, 500.0, form);
                EXPECT_TRUE(std::isfinite(mapping.scale)) << a << ' ' << b;
                EXPECT_TRUE(std::isfinite(mapping.ToPixel(1.0)) || std::isinf(mapping.ToPixel(1.0)));
                const AxisRange scrolled = ScrolledRange({a, b}, form, ScrollDirection::kUp, {-9, 9});
                EXPECT_TRUE(std::abs(scrolled.low) <= 9.0 && std::abs(scrolled.high) <= 9.0) << a << ' ' << b;
            }
            for (const __int64 count : {__int64{0}, __int64{-5}, __int64{10}, INT64_MAX}) {
                const std::vector<double> values(count == 10 ? 10 : 0);
                if (const auto range = FindVisibleRange({a, b}, b, a, values)) {
                    EXPECT_TRUE(range->first >= 0 && range->count >= 1 && range->count <= 10 - range->first);
                }
                const PaneGrid grid = TilePanes(count, a, b, a);
                EXPECT_TRUE(grid.columns >= 1 && grid.rows >= 1);
            }
        }
    }
}

}  // namespace
