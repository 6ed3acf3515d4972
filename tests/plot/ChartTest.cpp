// SPDX-License-Identifier: MIT
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/LineLook.h>

#include <KvxDevCommon01/platform/Text.h>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using testing::Contains;
using testing::Each;
using testing::IsSupersetOf;
using testing::Not;

constexpr double kPoint = 4.0 / 3.0;
const std::vector<double> kRamp = {0.0, 1.0, 2.0, 3.0, 4.0, 5.0};

Chart TestChart(std::size_t curves = 2) {
    Chart chart;
    chart.title = L"Title";
    chart.x = {{0.0, 5.0}, AxisForm::kLinear, L"Time [s]"};
    chart.y = {{0.0, 4.0}, AxisForm::kLinear, L"Level [m/s#u2#n]"};
    for (std::size_t i = 0; i < curves; ++i) {
        ChartCurve curve;
        curve.name = L"Channel " + std::to_wstring(i + 1);
        curve.samples = SamplesOf(kRamp);
        curve.look.m_rgbLine = Rgb(1, 2, static_cast<std::uint32_t>(i));
        chart.curves.push_back(curve);
    }
    return chart;
}

ChartLayout LayOut(const Chart& chart, Size size) {
    return LayOutChart(chart, {0.0, 0.0, size.width, size.height}, kPoint, RecordingCanvas(size));
}

std::vector<PlacedText> AllTexts(const ChartLayout& layout) {
    std::vector<PlacedText> all;
    const auto add = [&](const std::vector<PlacedText>& texts) {
        all.insert(all.end(), texts.begin(), texts.end());
    };
    for (const AxisLayout* axis : {&layout.x, &layout.y, layout.y2 ? &*layout.y2 : &layout.x}) {
        if (axis == &layout.x && !all.empty()) continue;
        add(axis->numbers);
        add(axis->titles);
    }
    if (layout.title) all.push_back(*layout.title);
    for (const LegendEntry& entry : layout.entries) all.push_back(entry.name);
    return all;
}

bool Overlap(const Rect& a, const Rect& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

class ChartOfAnySize : public testing::TestWithParam<std::tuple<Size, std::size_t, LegendPlace>> {};

TEST_P(ChartOfAnySize, HasItsTextsApartAndThePlotFree) {
    const auto& [size, curves, legend] = GetParam();
    Chart chart = TestChart(curves);
    chart.legend = legend;
    chart.x.bounds = {0.0, 123'456.0};
    chart.y2 = ChartAxis{{1e-7, 1e4}, AxisForm::kLogarithmic, L"Second"};
    const ChartLayout layout = LayOut(chart, size);
    const Rect area{0.0, 0.0, size.width, size.height};
    EXPECT_GE(layout.plot.Width(), 0.35 * size.width);
    EXPECT_GE(layout.plot.Height(), 0.3 * size.height);
    const std::vector<PlacedText> texts = AllTexts(layout);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Rect& box = texts[i].box;
        EXPECT_TRUE(area.Contains({box.left, box.top}) && area.Contains({box.right, box.bottom})) << i;
        EXPECT_FALSE(Overlap(box, layout.plot)) << i;
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_FALSE(Overlap(box, texts[k].box)) << ToUtf8(texts[i].text + L" and " + texts[k].text);
    }
    if (layout.legend) {
        EXPECT_FALSE(Overlap(*layout.legend, layout.plot));
        EXPECT_EQ(layout.entries.size(), curves);
        for (const LegendEntry& entry : layout.entries) {
            EXPECT_TRUE(layout.legend->Contains({entry.sample.left, entry.name.box.top}));
            EXPECT_TRUE(layout.legend->Contains({entry.name.box.right, entry.name.box.bottom}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ChartOfAnySize,
                         testing::Combine(testing::Values(Size{80.0, 60.0}, Size{200.0, 150.0},
                                                          Size{800.0, 500.0}, Size{1200.0, 150.0},
                                                          Size{300.0, 900.0}, Size{6000.0, 4000.0},
                                                          Size{2.0, 2.0}),
                                          testing::Values(1U, 5U, 20U, 64U),
                                          testing::Values(LegendPlace::kRight, LegendPlace::kBelow)));

TEST(ChartLayout, MapsTheBoundsOntoTheEdgesOfThePlot) {
    Chart chart = TestChart();
    chart.y2 = ChartAxis{{1.0, 100.0}, AxisForm::kLogarithmic, L""};
    const ChartLayout layout = LayOut(chart, {800.0, 500.0});
    EXPECT_DOUBLE_EQ(layout.x.mapping.ToPixel(0.0), layout.plot.left);
    EXPECT_DOUBLE_EQ(layout.x.mapping.ToPixel(5.0), layout.plot.right);
    EXPECT_DOUBLE_EQ(layout.y.mapping.ToPixel(0.0), layout.plot.bottom);
    EXPECT_DOUBLE_EQ(layout.y.mapping.ToPixel(4.0), layout.plot.top);
    EXPECT_DOUBLE_EQ(layout.y2->mapping.ToPixel(10.0), layout.plot.Center().y);
    for (const PlacedText& number : layout.y.numbers) {
        EXPECT_DOUBLE_EQ(number.anchor.y, layout.y.mapping.ToPixel(std::stod(number.text)));
    }
    for (const PlacedText& number : layout.x.numbers) {
        EXPECT_DOUBLE_EQ(number.anchor.x, layout.x.mapping.ToPixel(std::stod(number.text)));
    }
}

TEST(ChartLayout, GivesTheLegendAFifthOrWhatItsNamesNeed) {
    Chart chart = TestChart(3);
    chart.curves[1].name = L"A name of considerable length, too long for a fifth";
    EXPECT_NEAR(LayOut(chart, {800.0, 500.0}).legend->Width(), 160.0, 2.0);
    EXPECT_FALSE(LayOut(chart, {180.0, 110.0}).legend);
    EXPECT_NE(LayOut(chart, {800.0, 500.0}).entries[1].name.text.find(L"…"), std::wstring::npos);
    chart.isLegendWidthFromText = true;
    const ChartLayout wide = LayOut(chart, {1600.0, 1000.0});
    EXPECT_EQ(wide.entries[1].name.text, chart.curves[1].name);
    chart.curves[1].name = L"b";
    EXPECT_LT(LayOut(chart, {1600.0, 1000.0}).legend->Width(), wide.legend->Width() / 2.0);
    chart.curves[1].name.clear();
    EXPECT_EQ(LayOut(chart, {800.0, 500.0}).entries.size(), 2U);
    chart.legend = LegendPlace::kNone;
    EXPECT_FALSE(LayOut(chart, {800.0, 500.0}).legend);
}

TEST(ChartLayout, KeepsStackedPlotsInLine) {
    std::vector<Chart> charts = {TestChart(), TestChart()};
    charts[0].y.bounds = {0.0, 123'456.0};
    charts[1].legend = LegendPlace::kNone;
    const std::vector<ChartPlace> places = {{&charts[0], {0.0, 0.0, 800.0, 400.0}, 12.0},
                                            {&charts[1], {0.0, 400.0, 800.0, 600.0}, 12.0}};
    const std::vector<ChartLayout> stack = LayOutInLine(places, kPoint, RecordingCanvas());
    ASSERT_EQ(stack.size(), 2U);
    EXPECT_EQ(stack[0].plot.left, stack[1].plot.left);
    EXPECT_EQ(stack[0].plot.right, stack[1].plot.right);
    EXPECT_LE(stack[0].plot.bottom, 400.0);
    EXPECT_GE(stack[1].plot.top, 400.0);
    // The one that needs the most on both sides stands as it does alone; without it there is more room.
    EXPECT_EQ(LayOutInLine({&places[0], 1}, kPoint, RecordingCanvas())[0].plot, stack[0].plot);
    const Rect alone = LayOutInLine({&places[1], 1}, kPoint, RecordingCanvas())[0].plot;
    EXPECT_LT(alone.left, stack[1].plot.left);
    EXPECT_GT(alone.right, stack[1].plot.right);
}

TEST(ChartLayout, HasAxesToScaleWhenWanted) {
    Chart chart = TestChart();
    chart.isToScale = true;
    for (const AxisRange& x : {AxisRange{-1.0, 1.0}, {100.0, 200.0}}) {
        chart.x.bounds = x;
        const ChartLayout layout = LayOut(chart, {800.0, 500.0});
        EXPECT_NEAR(layout.x.mapping.scale, -layout.y.mapping.scale, 0.01 * layout.x.mapping.scale);
        EXPECT_GE(layout.x.mapping.ToPixel(x.low), layout.plot.left - 1e-9);
        EXPECT_LE(layout.y.mapping.ToPixel(chart.y.bounds.low), layout.plot.bottom + 1e-9);
    }
    chart.y.form = AxisForm::kLogarithmic;
    chart.y.bounds = {1.0, 10.0};
    EXPECT_DOUBLE_EQ(LayOut(chart, {800.0, 500.0}).x.mapping.ToValue(LayOut(chart, {800.0, 500.0}).plot.left),
                     100.0);
}

TEST(ChartLayout, TakesTheShortTitleWhereTheWholeOneHasNoRoom) {
    Chart chart = TestChart();
    chart.y.title = L"A title of considerable length, too long for the height of the plot";
    chart.y.shortTitle = L"[m/s#u2#n]";
    EXPECT_EQ(LayOut(chart, {800.0, 300.0}).y.titles.at(0).text, chart.y.shortTitle);
    EXPECT_EQ(LayOut(chart, {800.0, 2000.0}).y.titles.at(0).text, chart.y.title);
}

TEST(CutText, KeepsAsMuchAsFits) {
    const RecordingCanvas measure;  // 6 per letter of size 10
    EXPECT_EQ(CutText(L"abcdef", 10.0, 36.0, measure), L"abcdef");
    EXPECT_EQ(CutText(L"abcdefgh", 10.0, 36.0, measure), L"ab#n…h");
    EXPECT_EQ(CutText(L"ab#u2#nabc", 10.0, 36.0, measure), L"ab#n…");
    EXPECT_EQ(CutText(L"abcdef", 10.0, 5.0, measure), L"");
    EXPECT_LE(CutText(std::wstring(100'000, L'x'), 10.0, 1e9, measure).size(), 400U);
}

class DrawnChart : public testing::Test {
protected:
    void Draw(const Chart& chart, CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY) {
        canvas = RecordingCanvas();
        layout = LayOut(chart, canvas.GetSize());
        DrawChart(chart, layout, {&colors, output}, canvas);
    }

    CGraphColorInfo colors;
    RecordingCanvas canvas;
    ChartLayout layout;
};

TEST_F(DrawnChart, ConfinesCurvesToThePlot) {
    Chart chart = TestChart(1);
    for (const CurveShape shape :
         {CurveShape::kLine, CurveShape::kSteps, CurveShape::kBars, CurveShape::kMarks}) {
        chart.curves[0].shape = shape;
        chart.curves[0].look.m_eMarkType = CKvxGraphLineSample::MARK_FILLED_SQUARE;
        chart.curves[0].look.m_rgbMark = chart.curves[0].look.m_rgbLine;
        Draw(chart);
        int inPlot = 0;
        for (const RecordingCanvas::Shape& drawn : canvas.Of(Rgb(1, 2, 0))) {
            if (drawn.clips.empty()) {  // the sample in the legend
                for (const Point& point : drawn.path.GetPoints()) EXPECT_TRUE(layout.legend->Contains(point));
                continue;
            }
            EXPECT_THAT(drawn.clips, Each(layout.plot.Inset(-0.5)));  // with the lines of the frame
            ++inPlot;
        }
        EXPECT_EQ(inPlot, 1);
    }
}

TEST_F(DrawnChart, NamesEveryCurveAndTick) {
    Chart chart = TestChart(20);
    Draw(chart);
    std::vector<std::wstring> wanted = {L"Title", L"Time [s]", L"Level [m/s#u2#n]", L"1.5", L"4.5"};
    for (const ChartCurve& curve : chart.curves) wanted.push_back(curve.name);
    EXPECT_THAT(canvas.Texts(), IsSupersetOf(wanted));
    chart.hasNumbers = false;
    Draw(chart);
    EXPECT_THAT(canvas.Texts(), Not(Contains(L"4.5")));
}

TEST_F(DrawnChart, TakesItsColorsFromTheScheme) {
    Chart chart = TestChart();
    chart.cursors = {2.5, 99.0};
    using Compo = CGraphColorInfo;
    for (const auto output : {Compo::OUTPUT_DISPLAY, Compo::OUTPUT_PRINTER}) {
        for (std::uint32_t compo = 0; compo < 8; ++compo) {
            colors.SetCompoInfo(static_cast<Compo::COMPO_KIND>(compo), Rgb(200, compo, output), output);
        }
        Draw(chart, output);
        const auto of = [&](Compo::COMPO_KIND compo) { return canvas.Of(Rgb(200, compo, output)); };
        EXPECT_EQ(of(Compo::COMPO_WINDOW_BACK).at(0).path.GetRun(0)[2], (Point{800.0, 500.0}));
        EXPECT_EQ(of(Compo::COMPO_GRAPH_BACK).at(0).path.GetRun(0)[0],
                  (Point{layout.plot.left, layout.plot.top}));
        EXPECT_FALSE(of(Compo::COMPO_FRAME).empty());
        EXPECT_FALSE(of(Compo::COMPO_GRID).empty());
        EXPECT_FALSE(of(Compo::COMPO_LEGEND_BACK).empty());
        ASSERT_EQ(of(Compo::COMPO_CURSOR).size(), 1U);
        ASSERT_EQ(of(Compo::COMPO_CURSOR)[0].path.GetRunNum(), 1U);  // the other cursor is outside
        EXPECT_DOUBLE_EQ(of(Compo::COMPO_CURSOR)[0].path.GetRun(0)[0].x, layout.plot.Center().x);
        for (const RecordingCanvas::Text& text : canvas.texts) {
            const bool isName = text.text.starts_with(L"Channel");
            EXPECT_EQ(text.color, Rgb(200, isName ? Compo::COMPO_LEGEND_TEXT : Compo::COMPO_TEXT, output));
        }
    }
}

TEST_F(DrawnChart, PutsSecondAxisCurvesOnTheirScale) {
    Chart chart = TestChart();
    chart.y2 = ChartAxis{{0.0, 8.0}, AxisForm::kLinear, L"Twice"};
    chart.curves[1].isOnSecondAxis = true;
    Draw(chart);
    const auto end = [&](std::uint32_t curve) {
        return canvas.Of(Rgb(1, 2, curve)).at(0).path.GetRun(0).back();
    };
    EXPECT_DOUBLE_EQ(end(1).y, layout.y2->mapping.ToPixel(5.0));
    EXPECT_NEAR(end(0).y, layout.plot.top, 0.5);  // leaves the plot at 4
    EXPECT_THAT(canvas.Texts(), Contains(L"Twice"));
}

TEST_F(DrawnChart, ShowsASampleWithoutNeighbours) {
    Chart chart = TestChart(1);
    const std::vector<double> lone = {kNone, 2.0, kNone};
    chart.curves[0].samples = SamplesOf(lone);
    Draw(chart);
    const auto drawn = canvas.Of(Rgb(1, 2, 0));
    const auto dot = std::ranges::find_if(drawn, [](const auto& shape) { return shape.pen.width == 0.0; });
    ASSERT_NE(dot, drawn.end());
    EXPECT_NEAR(dot->path.GetRun(0)[0].x, layout.x.mapping.ToPixel(1.0), 2.0);
}

TEST(LineLook, IsThickOnTheDisplayAndMeasuredOnThePrinter) {
    CGraphColorInfo colors;
    const auto line = static_cast<CGraphColorInfo::DATALINE_KIND>(9);
    colors.SetThickKind(line, GRAPH_COLOR_LINE_TAG::THICK_EXTRA, CGraphColorInfo::OUTPUT_DISPLAY);
    colors.SetPoint(line, 1.25);
    colors.SetLineColorRef(line, Rgb(9, 8, 7), CGraphColorInfo::OUTPUT_PRINTER);
    const auto pen = [&](CGraphColorInfo::OUTPUT_KIND output) {
        return LinePen(LineSampleOf(colors, line, output), output, 2.0);
    };
    EXPECT_DOUBLE_EQ(pen(CGraphColorInfo::OUTPUT_DISPLAY).width, 6.0);
    EXPECT_EQ(pen(CGraphColorInfo::OUTPUT_DISPLAY).type, CKvxGraphLineSample::LINE_DOT);
    EXPECT_DOUBLE_EQ(pen(CGraphColorInfo::OUTPUT_PRINTER).width, 2.5);
    EXPECT_EQ(pen(CGraphColorInfo::OUTPUT_PRINTER).color, Rgb(9, 8, 7));
    for (const double wrong : {kNaN, -1.0, 1e300}) {
        colors.SetPoint(line, wrong);
        EXPECT_DOUBLE_EQ(pen(CGraphColorInfo::OUTPUT_PRINTER).width, 1.6);
    }
}

TEST(Marks, StandAtTheirPlacesInTheirSize) {
    Path places;
    places.MoveTo({10.0, 20.0});
    places.MoveTo({50.0, 60.0});
    CKvxGraphLineSample look;
    for (int type = 0; type <= 12; ++type) {
        RecordingCanvas canvas;
        look.m_eMarkType = static_cast<CKvxGraphLineSample::EMarkType>(type);
        DrawMarks(canvas, places, look);
        SCOPED_TRACE(type);
        ASSERT_EQ(canvas.shapes.size(), type >= 1 && type <= 11 ? 1U : 0U);
        if (canvas.shapes.empty()) continue;
        EXPECT_EQ(canvas.shapes[0].pen.width == 0.0, type <= 4);
        const auto corners = canvas.shapes[0].path.GetPoints();
        Point sum;
        for (std::size_t i = 0; i < corners.size() / 2; ++i) {
            EXPECT_NEAR(std::hypot(corners[i].x - 10.0, corners[i].y - 20.0), 4.3, 0.7);  // 6 points across
            sum = {sum.x + corners[i].x, sum.y + corners[i].y};
        }
        EXPECT_NEAR(sum.x / (static_cast<double>(corners.size()) / 2.0), 10.0, 1e-9);
        EXPECT_NEAR(sum.y / (static_cast<double>(corners.size()) / 2.0), 20.0, 1e-9);
    }
}

}  // namespace
}  // namespace kvx::plot
