// SPDX-License-Identifier: MIT
#include <KvxPlot01/Graph.h>
#include <KvxPlot01/SliceTicks.h>
#include <KvxPlot01/Waterfall.h>

#include <functional>
#include <vector>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

TEST(WaterfallSpace, FillsItsAreaFromTheFrontToTheBack) {
    const Rect area{10.0, 20.0, 610.0, 420.0};
    for (const auto& [rise, shift] : {std::pair{0.7, 0.2}, {0.0, 0.0}, {3.0, -0.5}, {0.5, 2.0}}) {
        const WaterfallSpace space = WaterfallSpace::Within(area, rise, shift);
        const Rect front = space.At(0.0), back = space.At(1.0);
        EXPECT_DOUBLE_EQ(std::min(front.left, back.left), area.left);
        EXPECT_NEAR(std::max(front.right, back.right), area.right, 1e-9);
        EXPECT_NEAR(back.top, area.top, 1e-9);
        EXPECT_DOUBLE_EQ(front.bottom, area.bottom);
        EXPECT_NEAR(front.top - back.top, rise * front.Height(), 1e-9);
        EXPECT_NEAR(back.left - front.left, shift * front.Width(), 1e-9);
    }
    EXPECT_EQ(WaterfallSpace::Within(area, kNaN, kNaN).At(1.0), area);
}

TEST(Waterfall, CutsLinesWhereTheyCrossTheEdges) {
    const std::vector<Point> run = {{0.0, -10.0}, {10.0, 30.0}, {20.0, 5.0}, {30.0, 5.0}};
    EXPECT_THAT(ClampedRun(run, 0.0, 20.0),
                ElementsAre(Point{0.0, 0.0}, Point{2.5, 0.0}, Point{7.5, 20.0}, Point{10.0, 20.0},
                            Point{14.0, 20.0}, Point{20.0, 5.0}, Point{30.0, 5.0}));
    EXPECT_TRUE(ClampedRun({}, 0.0, 20.0).empty());
}

TEST(SliceTicks, AreRoundNumbersOrEveryNthText) {
    const auto places = [](const SliceTickPlan& plan) {
        std::vector<std::pair<double, std::wstring>> majors;
        for (const SliceTick& tick : plan.ticks) {
            if (tick.isMajor) majors.emplace_back(tick.place, tick.text);
        }
        return majors;
    };
    const auto fits = [](const std::vector<SliceTick>& ticks) {
        return std::ranges::count_if(ticks, [](const SliceTick& tick) { return !tick.text.empty(); }) <= 3;
    };
    SliceAxis axis;
    axis.start = 2.0;
    axis.step = -0.5;
    using Place = std::pair<double, std::wstring>;
    EXPECT_THAT(places(PlanSliceTicks(axis, 5, 100.0, 50.0, fits)),
                ElementsAre(Place(0.0, L"2"), Place(2.0, L"1"), Place(4.0, L"0")));
    axis.isEven = false;
    axis.textOf = [](__int64 i) { return L"run " + std::to_wstring(i); };
    EXPECT_THAT(places(PlanSliceTicks(axis, 12, 100.0, 50.0, fits)),
                ElementsAre(Place(0.0, L"run 0"), Place(5.0, L"run 5"), Place(10.0, L"run 10")));
    axis.isEven = true;
    EXPECT_THAT(places(PlanSliceTicks(axis, 1, 100.0, 50.0, fits)), ElementsAre(Place(0.0, L"run 0")));
    EXPECT_TRUE(PlanSliceTicks(axis, 0, 100.0, 50.0, fits).ticks.empty());
}

/// Two series of three slices with four samples each, as a waterfall.
class DepthGraph : public testing::Test {
public:
    DepthGraph() {
        param_.m_cells.rowNum = 2;
        param_.m_cells.colNum = 1;
        param_.m_cells.rowNames = {L"control", L"monitor"};
        param_.m_cells.colNames = {L""};
        param_.m_lines.CreateInfo(2);
        param_.m_x.num = 4;
        param_.m_x.interval = 1.0;
        param_.m_units.x = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
        param_.m_series.num = 2;
        param_.m_z.dispType = CGraphParam::GRAPHDISP_WATERFALL;
        param_.m_z.num = 3;
        param_.m_z.name = L"run";
        param_.m_z.interval = 1.0;
        scale_.m_bXAuto = 1;
        scale_.m_eDispType = CGraphParam::GRAPHDISP_WATERFALL;
        scale_.m_lZNum = 3;
        content_.xName = L"f";
        content_.series.assign(6, {samples_, {}});
    }

    void Draw(Canvas& canvas) { DrawGraph(view_, canvas); }
    COLORREF Back() const {
        return info_.GetGraphColorInfo()->GetCompoInfo(CGraphColorInfo::COMPO_GRAPH_BACK, view_.output);
    }
    /// The lines of more than two points: those of slices.
    static std::vector<Path> Lines(const RecordingCanvas& canvas) {
        std::vector<Path> lines;
        for (const RecordingCanvas::Shape& shape : canvas.shapes) {
            if (shape.pen.width > 0.0 && !shape.path.IsEmpty() && shape.path.GetRun(0).size() > 2)
                lines.push_back(shape.path);
        }
        return lines;
    }

    std::vector<double> samples_ = {0.0, 5.0, 1.0, 2.0};
    CGraphParam param_;
    CScaleParam scale_;
    CGraphInfo info_;
    GraphContent content_;
    GraphView view_{&param_, &scale_, &info_, &content_};
};

TEST_F(DepthGraph, DrawsSlicesFromTheBackToTheFrontOverWhatTheyHide) {
    content_.cursors = {1.0};
    RecordingCanvas canvas;
    Draw(canvas);
    EXPECT_EQ(canvas.Of(0x0000FF).size(), 2U) << "a red cursor in each pane";
    const std::vector<Path> lines = Lines(canvas);
    ASSERT_EQ(lines.size(), 6U) << "three in each pane";
    EXPECT_LT(lines[0].GetPoints()[0].y, lines[1].GetPoints()[0].y);
    EXPECT_GT(lines[0].GetPoints()[0].x, lines[1].GetPoints()[0].x);
    const auto fills = [&] {
        return std::ranges::count_if(canvas.Of(Back()), [](const auto& shape) {
            return shape.pen.width == 0.0 && shape.path.GetRun(0).size() > 4;
        });
    };
    EXPECT_EQ(fills(), 6);
    // The axes of a pane come right before the line of its front slice, which may lie on them.
    const auto front = std::ranges::find_if(canvas.shapes, [&](const RecordingCanvas::Shape& shape) {
        return std::ranges::equal(shape.path.GetPoints(), lines[2].GetPoints());
    });
    ASSERT_NE(front, canvas.shapes.end());
    EXPECT_EQ((front - 1)->pen.color,
              info_.GetGraphColorInfo()->GetCompoInfo(CGraphColorInfo::COMPO_FRAME, view_.output));
    EXPECT_THAT(canvas.Texts(), Contains(L"control"));
    EXPECT_THAT(canvas.Texts(), Contains(L"monitor"));
    EXPECT_THAT(canvas.Texts(), Contains(L"run"));

    scale_.m_bZFlag2 = 0;
    param_.m_lines.GetInfoPtr(1)->m_bDisp = 0;
    scale_.m_lZStart = 1;
    canvas = RecordingCanvas();
    Draw(canvas);
    EXPECT_EQ(Lines(canvas).size(), 2U) << "slices 1 and 2 of the series that is shown";
    EXPECT_EQ(fills(), 0);
    EXPECT_THAT(canvas.Texts(), Not(Contains(L"monitor")));
}

TEST_F(DepthGraph, JoinsTooManySlicesWithoutLosingAPeak) {
    param_.m_cells.rowNum = param_.m_series.num = 1;
    param_.m_cells.rowNames = {L""};
    param_.m_z.num = scale_.m_lZNum = 1000;
    content_.series.assign(1000, {samples_, {}});
    const std::vector<double> peak = {0.0, kNaN, 50.0, kNone};
    content_.series[501].real = peak;
    RecordingCanvas canvas;
    Draw(canvas);
    const std::vector<Path> lines = Lines(canvas);
    ASSERT_EQ(lines.size(), 255U);
    const auto heights = [](const Path& line) {
        const auto [low, high] = std::ranges::minmax(line.GetPoints(), {}, &Point::y);
        return high.y - low.y;
    };
    EXPECT_EQ(std::ranges::count_if(lines, [&](const Path& line) { return heights(line) > 100.0; }), 1);
}

TEST_F(DepthGraph, IsDrawnWhateverItsRatiosNumbersAndSizeAre) {
    const std::vector<double> odd = {kNaN, kNone, 1e300, -1e300};
    content_.series[1].real = odd;
    content_.series[3].real = std::span(samples_).first(1);
    for (const auto type : {CGraphParam::GRAPHDISP_WATERFALL, CGraphParam::GRAPHDISP_COLORMAP}) {
        param_.m_z.dispType = scale_.m_eDispType = type;
        for (const double ratio : {0.0, -0.5, 1e9, kNaN}) {
            scale_.m_dZRatio1 = std::isnan(ratio) ? 0.7 : std::abs(ratio);
            scale_.m_dZRatio2 = ratio;
            for (const Size size : {Size{800.0, 500.0}, {40.0, 30.0}, {1.0, 1.0}}) {
                for (const BOOL flag : {0, 1}) {
                    scale_.m_bZFlag1 = scale_.m_bZFlag2 = flag;
                    RecordingCanvas canvas(size);
                    EXPECT_NO_THROW(Draw(canvas)) << type << ' ' << ratio;
                    EXPECT_FALSE(canvas.shapes.empty());
                }
            }
        }
    }
}

TEST_F(DepthGraph, IsRefusedWhenItsPartsDoNotFit) {
    const std::function<void(DepthGraph&)> damages[] = {
        [](auto& g) { g.view_.content = nullptr; },
        [](auto& g) { g.param_.m_z.num = 2; },
        [](auto& g) { g.param_.m_cells.graphKind = CGraphParam::GRAPH_NYQUIST; },
        [](auto& g) { g.scale_.m_eDispType = CGraphParam::GRAPHDISP_COLORMAP; },
        [](auto& g) {
            g.param_.m_lines.GetInfoPtr(0)->m_bDisp = g.param_.m_lines.GetInfoPtr(1)->m_bDisp = 0;
        },
        [](auto& g) { g.param_.m_z.dispType = g.scale_.m_eDispType = CGraphParam::GRAPHDISP_2D; },
        [](auto& g) { g.scale_.m_lZStart = 3; },
        [](auto& g) { g.content_.series[5].real = {}; },
        [](auto& g) { g.content_.series.pop_back(); },
        [](auto& g) { g.scale_.m_bXAuto = 0; },
    };
    for (const auto& damage : damages) {
        struct Fresh : DepthGraph {
            void TestBody() override {}
        } graph;
        damage(graph);
        RecordingCanvas canvas;
        EXPECT_THROW(graph.Draw(canvas), Error) << &damage - damages;
        EXPECT_TRUE(canvas.shapes.empty());
    }
}

}  // namespace
}  // namespace kvx::plot
