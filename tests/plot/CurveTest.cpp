// SPDX-License-Identifier: MIT
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/PeakMarks.h>

#include <cmath>
#include <random>

#include <KvxDevCommon01/units/UnitText.h>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using testing::ElementsAre;

using Runs = std::vector<std::vector<Point>>;

/// A plot of 100 by 100 for X from 0 to 10 and Y from 0 (below) to 100.
CurveFrame TestFrame() {
    return {AxisMapping::Between({0.0, 10.0}, 0.0, 100.0, AxisForm::kLinear),
            AxisMapping::Between({0.0, 100.0}, 100.0, 0.0, AxisForm::kLinear),
            {0.0, 0.0, 100.0, 100.0}};
}

Runs RunsOf(const Path& path) {
    Runs runs;
    for (std::size_t i = 0; i < path.GetRunNum(); ++i)
        runs.emplace_back(path.GetRun(i).begin(), path.GetRun(i).end());
    return runs;
}

TEST(LinePath, PutsSamplesOnTheirPixels) {
    const std::vector<double> y = {10.0, 90.0, 50.0};
    EXPECT_EQ(RunsOf(LinePath(SamplesOf(y), TestFrame())), (Runs{{{0.0, 90.0}, {10.0, 10.0}, {20.0, 50.0}}}));
    const std::vector<double> x = {1.0, 4.0, 2.0};  // in any order
    CurveSamples samples = SamplesOf(y);
    samples.x = x;
    EXPECT_EQ(RunsOf(LinePath(samples, TestFrame())), (Runs{{{10.0, 90.0}, {40.0, 10.0}, {20.0, 50.0}}}));
}

TEST(LinePath, BreaksWhereValuesAreMissing) {
    const std::vector<double> y = {kNone, 10.0, 20.0, kNone, 30.0, kNaN, 40.0, 50.0, kNone};
    EXPECT_EQ(RunsOf(LinePath(SamplesOf(y), TestFrame())),
              (Runs{{{10.0, 90.0}, {20.0, 80.0}}, {{40.0, 70.0}}, {{60.0, 60.0}, {70.0, 50.0}}}));
    EXPECT_TRUE(LinePath(SamplesOf(std::vector<double>(5, kNone)), TestFrame()).IsEmpty());
    EXPECT_TRUE(LinePath({}, TestFrame()).IsEmpty());
}

TEST(LinePath, IsCutAtTheEdgesOfThePlot) {
    const std::vector<double> y = {50.0, 150.0, 50.0, -50.0};
    EXPECT_EQ(RunsOf(LinePath(SamplesOf(y), TestFrame())),
              (Runs{{{0.0, 50.0}, {5.0, 0.0}}, {{15.0, 0.0}, {20.0, 50.0}, {25.0, 100.0}}}));
}

TEST(LinePath, KeepsWildValuesInsideThePlot) {
    const double infinity = std::numeric_limits<double>::infinity();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> exponent(-300.0, 300.0);
    std::vector<double> y = {50.0, infinity, 50.0, -infinity, 50.0, 1e308, -1e308, 50.0};
    while (y.size() < 3000) y.push_back((random() % 2 == 0 ? 1.0 : -1.0) * std::pow(10.0, exponent(random)));
    CurveFrame frame = TestFrame();
    for (const AxisForm form : {AxisForm::kLinear, AxisForm::kLogarithmic}) {
        frame.y = AxisMapping::Between({1e-3, 100.0}, 100.0, 0.0, form);
        CurveSamples samples = SamplesOf(y);
        samples.step = 0.01;
        for (const Path& path : {LinePath(samples, frame), StepPath(samples, frame), BarPath(samples, frame),
                                 MarkPlaces(samples, frame, 1)}) {
            EXPECT_FALSE(path.IsEmpty());
            for (const Point& point : path.GetPoints())
                ASSERT_TRUE(frame.plot.Contains(point)) << point.x << " " << point.y;
        }
    }
}

TEST(LinePath, FallsSteeplyToValuesWithoutALogarithm) {
    CurveFrame frame = TestFrame();
    frame.y = AxisMapping::Between({1.0, 100.0}, 100.0, 0.0, AxisForm::kLogarithmic);
    const std::vector<double> y = {10.0, 0.0};  // -30 decades: from the middle of 100 pixels to 50 * 31 below
    const Runs runs = RunsOf(LinePath(SamplesOf(y), frame));
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_NEAR(runs[0][1].x, 10.0 / 31.0, 1e-9);
    EXPECT_DOUBLE_EQ(runs[0][1].y, 100.0);
}

TEST(LinePath, KeepsEveryPeakOfAMillionSamples) {
    std::mt19937 random(11);
    std::normal_distribution<double> noise(50.0, 3.0);
    std::vector<double> y(1'000'000);
    for (double& value : y) value = noise(random);
    for (std::size_t i = 137; i < y.size(); i += 99'991) y[i] = 97.25;  // one sample each
    CurveSamples samples = SamplesOf(y);
    samples.step = 1e-5;
    const CurveFrame frame = TestFrame();
    const Path path = LinePath(samples, frame);
    EXPECT_LE(path.GetPoints().size(), 4U * 101U);

    // Column by column, the line reaches exactly what the samples reach.
    std::vector<CurveExtent> drawn(101);
    std::vector<CurveExtent> wanted(101);
    const auto include = [](std::vector<CurveExtent>* columns, double pixel, double value) {
        (*columns)[static_cast<std::size_t>(pixel)].Include({value, value, value});
    };
    for (std::size_t i = 0; i < y.size(); ++i) {
        include(&wanted, frame.x.ToPixel(samples.XAt(static_cast<__int64>(i))), frame.y.ToPixel(y[i]));
    }
    for (const Point& point : path.GetPoints()) include(&drawn, point.x, point.y);
    for (std::size_t i = 0; i < drawn.size(); ++i) {
        EXPECT_EQ(drawn[i].low, wanted[i].low) << i;
        EXPECT_EQ(drawn[i].high, wanted[i].high) << i;
    }
}

TEST(LinePath, ShowsValuesInTheirUnit) {
    const CValConv grams(*kvx::ParseUnit(L"g"), CValConv::SUFFIX_PEAK_TO_PEAK);
    const std::vector<double> y = {9.80665, 98.0665, kNone};
    CurveSamples samples = SamplesOf(y);
    samples.shownY = &grams;
    EXPECT_THAT(LinePath(samples, TestFrame()).GetRun(0), ElementsAre(Point{0.0, 98.0}, Point{10.0, 80.0}));
    EXPECT_DOUBLE_EQ(ExtentOfY(samples, {0.0, 0.5}).high, 2.0);
    EXPECT_DOUBLE_EQ(ExtentOfY(samples, {0.0, 5.0}).high, 20.0);
}

TEST(StepPath, HoldsValuesUpToTheNextSample) {
    const std::vector<double> y = {10.0, 20.0};
    EXPECT_EQ(RunsOf(StepPath(SamplesOf(y), TestFrame())),
              (Runs{{{0.0, 90.0}, {10.0, 90.0}, {10.0, 80.0}, {20.0, 80.0}}}));
}

TEST(BarPath, DrawsABarPerSampleFromZero) {
    CurveFrame frame = TestFrame();
    frame.y = AxisMapping::Between({-100.0, 100.0}, 100.0, 0.0, AxisForm::kLinear);
    const std::vector<double> y = {kNone, 50.0, -20.0};
    EXPECT_EQ(RunsOf(BarPath(SamplesOf(y), frame)),
              (Runs{{{6.0, 25.0}, {14.0, 25.0}, {14.0, 50.0}, {6.0, 50.0}},
                    {{16.0, 50.0}, {24.0, 50.0}, {24.0, 60.0}, {16.0, 60.0}}}));
    EXPECT_TRUE(BarPath({}, frame).IsEmpty());
}

TEST(MarkPlaces, TakeEveryNthSampleInsideThePlot) {
    const std::vector<double> y = {10.0, 20.0, 30.0, kNone, 150.0, 60.0, 70.0};
    const auto places = [&](__int64 interval) {
        return MarkPlaces(SamplesOf(y), TestFrame(), interval).GetPoints().size();
    };
    EXPECT_EQ(places(1), 5U);
    EXPECT_EQ(places(2), 3U);  // of 0, 2, 4 and 6 one lies outside
    EXPECT_EQ(places(std::numeric_limits<__int64>::max()), 1U);
    EXPECT_EQ(places(0), places(1));
}

TEST(Peaks, StandOutOnBothSides) {
    using Search = GRAPHCONFIGINFO_PEAKSEARCH_TAG;
    //                               0    1    2     3    4    5     6    7    8    9     10
    const std::vector<double> y = {9.5, 9.6, 1.0, 8.0, 7.9, 8.1, kNone, 3.0, 6.5, 4.0, 10.0};
    Search search;
    search.LinearThreshold = 0.2;
    const auto found = [&](AxisRange x, __int64 most) { return FindPeaks(SamplesOf(y), x, search, most); };
    const std::vector<CurvePeak> all = {{5, true}, {2, false}, {8, true}, {7, false}, {9, false}};
    EXPECT_EQ(found({0.0, 10.0}, 9), all);
    EXPECT_THAT(found({0.0, 10.0}, 3), ElementsAre(all[0], all[1], all[2]));
    EXPECT_THAT(found({2.5, 10.0}, 9), ElementsAre(all[0], all[3], all[2], all[4]));
    search.SearchType = Search::SEARCH_MINIMA;
    EXPECT_THAT(found({0.0, 10.0}, 9), ElementsAre(all[1], all[3], all[4]));
    search.ThresholdKind = Search::THRESHOLD_DB;
    search.RatioThreshold = 2.0;
    EXPECT_THAT(found({0.0, 10.0}, 9), ElementsAre(all[1], all[3]));
    search.RatioThreshold = 4.0;
    EXPECT_THAT(found({0.0, 10.0}, 9), ElementsAre(all[1]));
    EXPECT_TRUE(found({0.0, 10.0}, 0).empty());
    EXPECT_TRUE(found({20.0, 30.0}, 9).empty());
}

TEST(Extent, OfEvenlySpacedSamplesIsThatOfTheSamePointsInAnyOrder) {
    std::mt19937 random(3);
    for (const std::size_t count : {1U, 2U, 7U, 8U, 9U, 500U, 70000U, 140000U}) {
        std::vector<double> y(count);
        for (double& value : y) value = std::ldexp(static_cast<double>(random()) - 2e9, -24);
        const double infinity = std::numeric_limits<double>::infinity();
        for (const double odd : {kNone, kNaN, infinity, -infinity}) y[random() % count] = odd;
        y.front() = count % 2 ? kNone : 1.0;
        for (const double start : {-30.0, 0.0, 5.0, -1e6}) {
            CurveSamples even = SamplesOf(y);
            even.start = start;
            even.step = 0.5;
            std::vector<double> x;
            for (std::size_t i = 0; i < count; ++i) x.push_back(even.XAt(static_cast<__int64>(i)));
            std::vector<double> mirroredX(x.rbegin(), x.rend());
            const std::vector<double> mirroredY(y.rbegin(), y.rend());
            CurveSamples any = SamplesOf(mirroredY);
            any.x = mirroredX;
            const auto all = [](const CurveExtent& extent) {
                return std::vector{extent.low, extent.high, extent.lowAboveZero};
            };
            EXPECT_EQ(all(ExtentOfX(even)), all(ExtentOfX(any))) << count << " " << start;
            for (const AxisRange& range : {AxisRange{start, 1e9}, AxisRange{start + 1.2, start + 3.5},
                                           AxisRange{-1.0, 300.0}, AxisRange{start + 1.1, start + 1.2}}) {
                EXPECT_EQ(all(ExtentOfY(even, range)), all(ExtentOfY(any, range)))
                    << count << " " << range.low;
            }
        }
    }
}

TEST(Extent, LeavesOutGapsAndTellsTheLeastAboveZero) {
    const std::vector<double> y = {kNone, -3.0, kNaN, 2.0, 5.0, std::numeric_limits<double>::infinity()};
    const CurveExtent all = ExtentOfY(SamplesOf(y), {0.0, 10.0});
    EXPECT_EQ(all.low, -3.0);
    EXPECT_EQ(all.high, 5.0);
    EXPECT_EQ(all.lowAboveZero, 2.0);
    EXPECT_EQ(ExtentOfX(SamplesOf(y)).low, 1.0);
    EXPECT_TRUE(ExtentOfY(SamplesOf(y), {-5.0, -1.0}).IsEmpty());
    // Between samples it is that of the line, which a gap has none of.
    const CurveExtent between = ExtentOfY(SamplesOf(y), {3.2, 3.6});
    EXPECT_EQ(between.low, 2.0);
    EXPECT_EQ(between.high, 5.0);
    EXPECT_TRUE(ExtentOfY(SamplesOf(y), {1.2, 1.8}).IsEmpty());
    EXPECT_TRUE(ExtentOfY(SamplesOf(y), {5.5, 9.0}).IsEmpty());
    CurveExtent joined;
    joined.Include({-2.0, -1.0, 0.0});
    joined.Include({3.0, 4.0, 3.0});
    EXPECT_EQ(joined.lowAboveZero, 3.0);
}

}  // namespace
}  // namespace kvx::plot
