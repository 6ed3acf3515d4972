// SPDX-License-Identifier: MIT
#include <KvxPlot01/GraphSheet.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxPlot01/CanvasRegion.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/Graph.h>
#include <KvxPlot01/detail/AxisSpan.h>

namespace kvx::plot {
namespace {

constexpr double kGraphAspect = 2.4;  // the wanted width of a graph over its height
constexpr double kTwoPlots = 1.7;     // height of a graph with two plots over that of the others

// Lengths over the size of the letters.
constexpr double kTitleSize = 1.25;
constexpr double kTitleHeight = 1.8 * kTitleSize;  // room that the title takes

/// Where the graphs stand: in a grid, whose rows are higher where a graph has two plots.
std::vector<Rect> PlaceGraphs(std::span<const ResolvedGraph> graphs, const Rect& room) {
    const __int64 count = std::ssize(graphs);
    const PaneGrid grid = TilePanes(count, room.Width(), room.Height(), kGraphAspect);
    std::vector<double> heights(static_cast<std::size_t>(grid.rows), 1.0);
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        if (graphs[i].GetPanes().front().charts.size() > 1)
            heights[i / static_cast<std::size_t>(grid.columns)] = kTwoPlots;
    }
    const double total = std::accumulate(heights.begin(), heights.end(), 0.0);
    std::vector<Rect> places;
    double above = 0.0;
    for (const double height : heights) {
        const double top = std::round(room.top + room.Height() * above / total);
        above += height;
        const double bottom = std::round(room.top + room.Height() * above / total);
        for (__int64 column = 0; column < grid.columns && std::ssize(places) < count; ++column) {
            const auto edge = [&](__int64 index) {
                return std::round(room.left + room.Width() * static_cast<double>(index) /
                                                  static_cast<double>(grid.columns));
            };
            places.push_back({edge(column), top, edge(column + 1), bottom});
        }
    }
    return places;
}

/// Draws the title of several graphs over the top of the canvas and returns where it ends.
double DrawTitle(const std::wstring& title, const GraphLook& look, Canvas& canvas) {
    const Size size = canvas.GetSize();
    const double em = LetterSizeFor(size, canvas.GetPointLength());
    const double letters = kTitleSize * em;
    const double bottom = title.empty() ? 0.0 : std::round(kTitleHeight * em);
    const CGraphColorInfo& colors = *look.settings.GetGraphColorInfo();
    canvas.FillRect({0.0, 0.0, size.width, size.height},
                    colors.GetCompoInfo(CGraphColorInfo::COMPO_WINDOW_BACK, look.output));
    canvas.DrawText(CutText(title, letters, size.width - letters, canvas), {size.width / 2.0, bottom},
                    {letters, colors.GetCompoInfo(CGraphColorInfo::COMPO_TEXT, look.output), Align::kMiddle,
                     Align::kEnd});
    return bottom;
}

}  // namespace

struct GraphSheet::Content {
    std::vector<RecordGraph> records;
    std::wstring title;
    GraphLook look;
    std::vector<ResolvedGraph> graphs;  // they refer to all of these
};

GraphSheet::GraphSheet(std::vector<RecordGraph> graphs, std::wstring title, const GraphLook& look) {
    const auto content = std::make_shared<Content>();
    content->records = std::move(graphs);
    content->title = std::move(title);
    content->look = look;
    // The only graph has the title within its own frame.
    if (content->records.size() == 1) content->records.front().param.m_z.title = content->title;
    for (const RecordGraph& graph : content->records) {
        content->graphs.emplace_back(GraphView{&graph.param, &graph.scale, &content->look.settings,
                                               &graph.content, content->look.output});
    }
    content_ = content;
}

std::size_t GraphSheet::Count() const {
    return content_->graphs.size();
}

void GraphSheet::RequireSomethingSeen(const std::string& yName) const {
    bool isSeen = false;
    std::string why = "it holds no value that can be drawn";
    for (std::size_t i = 0; i < Count(); ++i) {
        const CScaleParam& scale = content_->records[i].scale;
        for (const GraphPane& pane : content_->graphs[i].GetPanes()) {
            const Chart& chart = pane.charts.front();
            const AxisRange& bounds = chart.y.bounds;
            detail::RequireAxisSpan(bounds);
            for (const ChartCurve& curve : chart.curves) {
                const CurveExtent reach = ExtentOfY(curve.samples, chart.x.bounds);
                if (reach.IsEmpty()) continue;
                isSeen = isSeen || (reach.low <= bounds.high && reach.high >= bounds.low);
                why = scale.m_bYAuto ? yName + "-scale log: it has no value above 0"
                                     : yName + " shows none of its values, which reach from " +
                                           FormatNumber(reach.low) + " to " + FormatNumber(reach.high);
            }
        }
    }
    if (!isSeen) throw Error(ErrorKind::kBadValue, why);
}

void GraphSheet::Draw(Canvas& canvas) const {
    const std::vector<ResolvedGraph>& graphs = content_->graphs;
    if (graphs.empty()) return;
    Rect room = {0.0, 0.0, canvas.GetSize().width, canvas.GetSize().height};
    if (graphs.size() > 1) room.top = DrawTitle(content_->title, content_->look, canvas);
    const std::vector<Rect> places = PlaceGraphs(graphs, room);
    std::vector<Size> sizes;
    double letters = 0.0;
    for (const Rect& place : places) {
        const Size& size = sizes.emplace_back(Size{place.Width(), place.Height()});
        letters = std::max(letters, LetterSizeFor(size, canvas.GetPointLength()));
    }
    const std::vector<GraphLayout> layouts =
        LayOutGraphs(graphs, sizes, letters, canvas.GetPointLength(), canvas);
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        CanvasRegion region(canvas, places[i]);
        graphs[i].Draw(layouts[i], region);
    }
}

}  // namespace kvx::plot
