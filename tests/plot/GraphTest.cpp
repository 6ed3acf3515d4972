// SPDX-License-Identifier: MIT
#include <KvxPlot01/CanvasRegion.h>
#include <KvxPlot01/Graph.h>

#include <cmath>
#include <numbers>

#include <KvxDevCommon01/units/UnitText.h>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

const std::vector<double> kReal = {3.0, -1.0, 0.0, 4.0, kNone};
const std::vector<double> kImaginary = {4.0, 0.0, -2.0, 3.0, 0.0};

/// A graph of two channels and two references with a profile, over 0 Hz, 10 Hz ... 40 Hz.
struct Subject {
    Subject() {
        param.m_cells = {
            2, 2, CGraphParam::GRAPH_VALUE, CGraphParam::DATA_TRANSFER, {L"ch1", L"ch2"}, {L"a", L"b"}};
        param.m_lines.CreateInfo(5);
        param.m_x.num = 5;
        param.m_x.interval = 10.0;
        param.m_units.x = *ParseUnit(L"Hz");
        param.m_units.y = *ParseUnit(L"g");
        param.m_series.num = 5;
        scale.m_bXAuto = 1;
        content.series.assign(4, {kReal, kImaginary});
        content.series.push_back(
            {std::span(kReal).first(2), {}, std::span(kReal).first(2), CGraphColorInfo::DATALINE_LIMIT});
        content.xName = L"f";
    }

    GraphView View() const { return {&param, &scale, &info, &content, CGraphColorInfo::OUTPUT_DISPLAY}; }
    RecordingCanvas Drawn() const {
        RecordingCanvas canvas;
        DrawGraph(View(), canvas);
        return canvas;
    }

    CGraphParam param;
    CScaleParam scale;
    CGraphInfo info;
    GraphContent content;
};

class TestGraph : public testing::Test, protected Subject {};

std::vector<double> Values(const ChartCurve& curve) {
    return {curve.samples.y.begin(), curve.samples.y.end()};
}

TEST_F(TestGraph, HasAPaneForAllOrPerRowColumnOrCell) {
    const std::vector<std::tuple<CGraphParam::PANE_MODE, std::vector<std::wstring>, std::size_t>> cases = {
        {CGraphParam::PANE_SINGLE, {L""}, 5},
        {CGraphParam::PANE_PER_ROW, {L"ch1", L"ch2"}, 3},
        {CGraphParam::PANE_PER_COL, {L"a", L"b"}, 3},
        {CGraphParam::PANE_PER_CELL, {L"ch1 / a", L"ch1 / b", L"ch2 / a", L"ch2 / b"}, 2},
    };
    for (const auto& [mode, titles, curves] : cases) {
        param.m_frame.paneMode = mode;
        const ResolvedGraph charts(View());
        std::vector<std::wstring> found;
        for (const GraphPane& pane : charts.GetPanes()) {
            found.push_back(pane.charts.front().title);
            EXPECT_EQ(pane.charts.front().curves.size(), curves);
            EXPECT_EQ(pane.charts.front().curves.back().samples.x.data(), kReal.data());  // the profile
        }
        EXPECT_EQ(found, titles);
    }
    const ResolvedGraph graph(View());
    const Size size{800.0, 600.0};
    const GraphLayout layout = LayOutGraphs({&graph, 1}, {&size, 1}, 0.0, 1.0, RecordingCanvas()).front();
    ASSERT_EQ(layout.paneAreas.size(), 4U);
    EXPECT_EQ(layout.paneAreas[3], (std::vector<Rect>{{400.0, 300.0, 800.0, 600.0}}));
    EXPECT_EQ(layout.charts[3][0].area, layout.paneAreas[3][0]);
}

TEST_F(TestGraph, ShowsTheWantedPartOfComplexSamples) {
    constexpr double kPi = std::numbers::pi;
    using Param = CGraphParam;
    const std::vector<std::pair<Param::GRAPH_KIND, std::vector<std::vector<double>>>> cases = {
        {Param::GRAPH_VALUE, {kReal}},
        {Param::GRAPH_MAGNITUDE, {{5.0, 1.0, 2.0, 5.0, kNone}}},
        {Param::GRAPH_PHASE, {{std::atan2(4, 3), kPi, -kPi / 2, std::atan2(3, 4), kNone}}},
        {Param::GRAPH_UNWRAPPED_PHASE,
         {{std::atan2(4, 3), kPi, 1.5 * kPi, std::atan2(3, 4) + 2 * kPi, kNone}}},
        {Param::GRAPH_IMAGINARY, {{4.0, 0.0, -2.0, 3.0, kNone}}},
        {Param::GRAPH_MAGNITUDE_PHASE,
         {{5.0, 1.0, 2.0, 5.0, kNone}, {std::atan2(4, 3), kPi, -kPi / 2, std::atan2(3, 4), kNone}}},
        {Param::GRAPH_REAL_IMAGINARY, {kReal, {4.0, 0.0, -2.0, 3.0, kNone}}},
    };
    for (const auto& [kind, parts] : cases) {
        param.m_cells.graphKind = kind;
        const ResolvedGraph charts(View());
        ASSERT_EQ(charts.GetPanes().size(), 1U);
        ASSERT_EQ(charts.GetPanes()[0].charts.size(), parts.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            EXPECT_THAT(Values(charts.GetPanes()[0].charts[i].curves[0]),
                        testing::Pointwise(testing::DoubleEq(), parts[i]))
                << kind;
        }
    }
    // Of magnitude over phase the profile belongs to the magnitude, and the phase has its own unit and
    // bounds.
    param.m_cells.graphKind = Param::GRAPH_MAGNITUDE_PHASE;
    content.yName = L"H";
    content.lowerName = L"Phase";
    const ResolvedGraph charts(View());
    const std::vector<Chart>& both = charts.GetPanes()[0].charts;
    EXPECT_EQ(both[0].curves.size(), 5U);
    EXPECT_EQ(both[1].curves.size(), 4U);
    EXPECT_DOUBLE_EQ(both[1].y.bounds.high, 180.0);
    EXPECT_EQ(both[0].x.bounds, both[1].x.bounds);
    EXPECT_EQ(both[0].y.title, L"H [g#n]");
    EXPECT_TRUE(both[1].y.title.starts_with(L"Phase ["));
    EXPECT_EQ(both[1].x.title, L"f [Hz#n]");
}

TEST_F(TestGraph, DrawsLoopsOfOneQuantityOverAnother) {
    param.m_cells.graphKind = CGraphParam::GRAPH_NYQUIST;
    const ResolvedGraph nyquist(View());
    const ChartCurve& loop = nyquist.GetPanes()[0].charts[0].curves[1];
    EXPECT_EQ(loop.samples.x.data(), kReal.data());
    EXPECT_EQ(Values(loop)[2], -2.0);
    param.m_cells.graphKind = CGraphParam::GRAPH_ORBIT;
    content.series[1].real = kImaginary;
    const ResolvedGraph orbit(View());
    const std::vector<ChartCurve>& orbits = orbit.GetPanes()[0].charts[0].curves;
    ASSERT_EQ(orbits.size(), 2U);
    EXPECT_EQ(orbits[0].samples.x.data(), kReal.data());
    EXPECT_EQ(orbits[0].samples.y.data(), kImaginary.data());
    EXPECT_EQ(orbits[0].name, L"ch1 / b / ch1 / a");
}

TEST_F(TestGraph, HasTheBoundsOfItsScalesInShownUnits) {
    const auto chart = [&] { return ResolvedGraph(View()).GetPanes().at(0).charts.at(0); };
    param.m_x.start = 5.0;
    EXPECT_EQ(chart().x.bounds, (AxisRange{-1.0, 35.0}));  // the profile starts at -1; no value at 45
    content.series[4].x = {};
    EXPECT_EQ(chart().x.bounds, (AxisRange{5.0, 35.0}));
    content.hasRoom = false;
    EXPECT_NEAR(chart().y.bounds.low, -1.0 / 9.80665, 0.005);
    EXPECT_NEAR(chart().y.bounds.high, 4.0 / 9.80665, 0.005);
    content.hasRoom = true;  // some 2 % of the range on either side
    EXPECT_NEAR(chart().y.bounds.low, -1.0 / 9.80665 - 0.01, 0.005);
    EXPECT_NEAR(chart().y.bounds.high, 4.0 / 9.80665 + 0.01, 0.005);
    scale.m_bYSymmetric = 1;
    EXPECT_EQ(chart().y.bounds.low, -chart().y.bounds.high);
    scale.m_bYSymmetric = 0;
    scale.m_bYLog = 1;
    EXPECT_NEAR(chart().y.bounds.low, 3.0 / 9.80665, 0.03);  // the least value above 0
    scale.m_bYAuto = scale.m_bXAuto = 0;
    scale.m_dYMin = 9.80665;
    scale.m_dYMax = 98.0665;
    scale.m_dXMin = scale.m_dXMax = 20.0;
    EXPECT_DOUBLE_EQ(chart().y.bounds.high, 10.0);
    EXPECT_GT(chart().x.bounds.high, 20.0);  // bounds at one place are parted
    param.m_x.option = CGraphParam::X_WITHOUT_FIRST;
    EXPECT_EQ(chart().curves[0].samples.Count(), 4);
    EXPECT_EQ(chart().curves[0].samples.start, 15.0);
}

TEST_F(TestGraph, FitsItsBoundsToDataOfAnySort) {
    const std::vector<std::pair<std::vector<double>, AxisForm>> cases = {
        {{7.0}, AxisForm::kLinear},           {{0.0, 0.0}, AxisForm::kLinear},
        {{-5.0, -5.0}, AxisForm::kLinear},    {{kNone, kNone}, AxisForm::kLinear},
        {{kNaN}, AxisForm::kLogarithmic},     {{-1.0, 0.0}, AxisForm::kLogarithmic},
        {{3.0}, AxisForm::kLogarithmic},      {{1e-300, 1e300}, AxisForm::kLogarithmic},
        {{-1e308, 1e308}, AxisForm::kLinear}, {{1.0, 1.0 + 1e-15}, AxisForm::kLinear},
        {{0.0, 1e-310}, AxisForm::kLinear},
    };
    for (const auto& [values, form] : cases) {
        content.series.assign(5, {values, {}});
        scale.m_bYLog = scale.m_bXLog = form == AxisForm::kLogarithmic;
        const ResolvedGraph charts(View());
        const Chart& chart = charts.GetPanes().at(0).charts.at(0);
        EXPECT_LT(chart.y.bounds.low, chart.y.bounds.high) << values[0];
        EXPECT_LT(chart.x.bounds.low, chart.x.bounds.high) << values[0];
        if (form == AxisForm::kLogarithmic) {
            EXPECT_GT(chart.y.bounds.low, 0.0) << values[0];
        }
        if (!std::isinf(chart.y.bounds.high - chart.y.bounds.low)) {
            EXPECT_NE(AxisMapping::Between(chart.y.bounds, 0.0, 400.0, form).scale, 0.0) << values[0];
        }
        const std::vector<std::wstring> texts = Drawn().Texts();
        EXPECT_THAT(texts, Contains(L"ch1 / a"));
    }
}

TEST_F(TestGraph, FollowsItsSettings) {
    param.m_frame.digits.x = 2;
    param.m_lines.GetInfoPtr(1)->m_bDisp = 0;
    param.m_lines.GetInfoPtr(2)->m_strName = L"named";
    param.m_lines.GetInfoPtr(2)->m_lColorIndex = 9;
    param.m_lines.GetInfoPtr(3)->m_lAxis = 1;
    param.m_units.y2Enable = scale.m_bY2Enable = scale.m_bY2Auto = 1;
    param.m_series.selected = 1;
    info.GetGraphConfigInfo()->SetScaleDigitFlg(1);
    info.GetGraphConfigInfo()->SetScaleDigit(3);
    content.cursors = {20.0};
    const ResolvedGraph charts(View());
    const Chart& chart = charts.GetPanes()[0].charts[0];
    ASSERT_EQ(chart.curves.size(), 4U);
    EXPECT_EQ(chart.curves[0].name, L"named");
    EXPECT_EQ(chart.curves[0].look.m_eLineType, CKvxGraphLineSample::LINE_DOT);
    EXPECT_TRUE(chart.curves[1].isOnSecondAxis);
    EXPECT_EQ(chart.curves[2].look.m_lLineThick, 1);  // the selected cell, drawn over the others
    EXPECT_EQ(chart.curves[3].look.m_rgbLine, Rgb(255, 0, 0));
    EXPECT_EQ(chart.x.ticks.significantDigits, 2);
    EXPECT_EQ(chart.y.ticks.decimals, 3);
    EXPECT_EQ(chart.y2->ticks.decimals, 3);
    EXPECT_THAT(chart.cursors, ElementsAre(20.0));
}

TEST_F(TestGraph, IsTheSameInARegionOfACanvas) {
    const RecordingCanvas alone = Drawn();
    RecordingCanvas whole({2000.0, 1000.0});
    {
        CanvasRegion region(whole, {300.0, 40.0, 1100.0, 540.0});
        DrawGraph(View(), region);
    }
    const auto isMoved = [](const Point& from, const Point& to) {
        return std::abs(from.x + 300.0 - to.x) < 1e-9 && std::abs(from.y + 40.0 - to.y) < 1e-9;
    };
    ASSERT_EQ(whole.texts.size(), alone.texts.size());
    ASSERT_EQ(whole.shapes.size(), alone.shapes.size());
    for (std::size_t i = 0; i < alone.texts.size(); ++i)
        EXPECT_TRUE(isMoved(alone.texts[i].anchor, whole.texts[i].anchor));
    for (std::size_t i = 0; i < alone.shapes.size(); ++i) {
        EXPECT_TRUE(
            std::ranges::equal(alone.shapes[i].path.GetPoints(), whole.shapes[i].path.GetPoints(), isMoved));
        EXPECT_EQ(whole.shapes[i].path.GetRunNum(), alone.shapes[i].path.GetRunNum());
        EXPECT_EQ(whole.shapes[i].clips.at(0), (Rect{300.0, 40.0, 1100.0, 540.0}));
        EXPECT_EQ(whole.shapes[i].clips.size(), alone.shapes[i].clips.size() + 1);
    }
}

TEST_F(TestGraph, MarksPeaksWhenConfigured) {
    const std::vector<double> peak = {0.0, 9.80665, 0.0, 0.0, 0.0};
    content.series[0].real = peak;
    EXPECT_TRUE(ResolvedGraph(View()).GetPanes()[0].charts[0].marks.empty());
    info.GetGraphConfigInfo()->SetPeakMarkInfo({}, 1, 1, 1);
    const ResolvedGraph charts(View());
    const std::vector<ChartMark>& marks = charts.GetPanes()[0].charts[0].marks;
    ASSERT_FALSE(marks.empty());
    EXPECT_EQ(marks[0].curve, 0U);
    EXPECT_EQ(marks[0].at, (Point{10.0, 1.0}));
    EXPECT_EQ(marks[0].text, L"10 Hz, 1 g");
    EXPECT_THAT(Drawn().Texts(), Contains(marks[0].text));
}

TEST_F(TestGraph, ShowsTestTimeAndStatusWhenConfigured) {
    content.testTime = L"2026/03/04 14:05:09";
    content.status = L"finished";
    param.m_z.title = L"Random";
    EXPECT_THAT(Drawn().Texts(),
                AllOf(Contains(L"Random"), Not(Contains(content.testTime)), Not(Contains(L"finished"))));
    info.GetGraphConfigInfo()->SetDispTestTime(1);
    info.GetGraphConfigInfo()->SetDispStat(1);
    param.m_frame.title = 0;
    EXPECT_THAT(Drawn().Texts(),
                AllOf(Not(Contains(L"Random")), Contains(content.testTime), Contains(L"finished")));
}

TEST_F(TestGraph, IsNotDrawnWhenItDoesNotFitTogether) {
    void (*const faults[])(Subject&) = {
        [](Subject& g) { g.param.m_x.num = 0; },
        [](Subject& g) { g.scale.m_bXAuto = 0; },
        [](Subject& g) { g.param.m_series.num = 4; },
        [](Subject& g) { g.content.series[1].real = {}; },
        [](Subject& g) {
            g.content.series[1].imaginary = kReal, g.content.series[1].real = std::span(kReal).first(4);
        },
        [](Subject& g) { g.param.m_cells.rowNum = 3, g.param.m_cells.rowNames.resize(3); },
        [](Subject& g) { g.scale.m_eDispType = CGraphParam::GRAPHDISP_WATERFALL, g.scale.m_lZNum = 1; },
    };
    for (std::size_t i = 0; i < std::size(faults); ++i) {
        Subject graph;
        faults[i](graph);
        RecordingCanvas canvas;
        EXPECT_THROW(DrawGraph(graph.View(), canvas), Error) << i;
        EXPECT_TRUE(canvas.shapes.empty());
    }
    RecordingCanvas canvas;
    EXPECT_THROW(DrawGraph({}, canvas), Error);
}

}  // namespace
}  // namespace kvx::plot
