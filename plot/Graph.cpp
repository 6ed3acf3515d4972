// SPDX-License-Identifier: MIT
#include <KvxPlot01/Graph.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>

#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ColorMap.h>
#include <KvxPlot01/Waterfall.h>
#include <KvxPlot01/detail/ResolvedCharts.h>
#include <KvxPlot01/detail/SlicesInDepth.h>

namespace kvx::plot {
namespace {

constexpr double kPaneAspect = 1.6;
// Of a pane with two charts the upper one has more.
constexpr double kUpperShare = 0.58;
constexpr double kNoteGap = 0.4;  // over the size of the letters
constexpr double kTitleSize = 1.25;
constexpr double kHeightForTexts = 24.0;

/// The places of a pane's charts, one below the other.
std::vector<Rect> ChartAreas(const Rect& pane, std::size_t charts) {
    if (charts == 1) return {pane};
    const double middle = std::round(pane.top + kUpperShare * pane.Height());
    return {{pane.left, pane.top, pane.right, middle}, {pane.left, middle, pane.right, pane.bottom}};
}

/// Everything but the charts.
GraphLayout Arrange(const ResolvedGraph& graph, Size size, double letterSize, double pointLength,
                    const TextMeasure& measure) {
    GraphLayout layout;
    layout.area = {0.0, 0.0, size.width, size.height};
    const double em = letterSize > 0.0 ? letterSize : LetterSizeFor(size, pointLength);
    Rect room = layout.area;
    const auto addLine = [&](const std::wstring& text, double textSize, Align across) {
        std::wstring cut = CutText(text, textSize, size.width - 2.0 * em, measure);
        const double x = across == Align::kMiddle ? layout.area.Center().x : layout.area.left + em;
        PlacedText placed = PlaceText(std::move(cut), {x, room.top + kNoteGap * em},
                                      {textSize, 0, across, Align::kStart}, measure);
        room.top = placed.box.bottom;
        return placed;
    };
    // A small picture is for the plots.
    if (size.height > kHeightForTexts * em) {
        if (!graph.GetTitle().empty())
            layout.title = addLine(graph.GetTitle(), kTitleSize * em, Align::kMiddle);
        for (const std::wstring& note : graph.GetNotes())
            layout.notes.push_back(addLine(note, em, Align::kStart));
    }
    const std::vector<GraphPane>& panes = graph.GetPanes();
    const PaneGrid grid = TilePanes(std::ssize(panes), room.Width(), room.Height(), kPaneAspect);
    const auto edge = [](double from, double to, __int64 index, __int64 count) {
        return std::round(from + (to - from) * static_cast<double>(index) / static_cast<double>(count));
    };
    for (std::size_t i = 0; i < panes.size(); ++i) {
        const __int64 column = static_cast<__int64>(i) % grid.columns;
        const __int64 row = static_cast<__int64>(i) / grid.columns;
        const Rect pane{edge(room.left, room.right, column, grid.columns),
                        edge(room.top, room.bottom, row, grid.rows),
                        edge(room.left, room.right, column + 1, grid.columns),
                        edge(room.top, room.bottom, row + 1, grid.rows)};
        layout.paneAreas.push_back(ChartAreas(pane, panes[i].charts.size()));
    }
    return layout;
}

}  // namespace

struct ResolvedGraph::Content {
    std::optional<detail::FlatGraph> flat;  // of a graph with depth; its charts refer to it
    detail::ResolvedCharts charts;
    std::vector<std::vector<DepthChart>> stacks;  // as the panes; none in two dimensions
    bool isWaterfall = false;
    std::wstring title;
    std::vector<std::wstring> notes;
    ChartColors colors;
};

ResolvedGraph::ResolvedGraph(const GraphView& view) {
    detail::RequireConsistent(view);
    const CGraphParam& param = *view.param;
    const auto content = std::make_shared<Content>();
    if (param.m_z.dispType == CGraphParam::GRAPHDISP_2D) {
        content->charts = detail::ResolveCharts(view);
    } else {
        const detail::FlatGraph& flat = content->flat.emplace(view);
        content->charts = detail::ResolveCharts(flat.View());
        content->stacks = detail::StackSlices(view, flat, content->charts.panes);
        content->isWaterfall = param.m_z.dispType == CGraphParam::GRAPHDISP_WATERFALL;
    }
    if (param.m_frame.title) content->title = param.m_z.title;
    const CGraphConfigInfo& config = *view.info->GetGraphConfigInfo();
    const auto addNote = [&](BOOL isWanted, const std::wstring& text) {
        if (isWanted && !text.empty()) content->notes.push_back(text);
    };
    addNote(config.IsDispTestTime(), view.content->testTime);
    addNote(config.IsDispStat(), view.content->status);
    content->colors = {view.info->GetGraphColorInfo(), view.output};
    content_ = content;
}

const std::vector<GraphPane>& ResolvedGraph::GetPanes() const {
    return content_->charts.panes;
}

bool ResolvedGraph::HasDepth() const {
    return content_->flat.has_value();
}

const std::wstring& ResolvedGraph::GetTitle() const {
    return content_->title;
}

const std::vector<std::wstring>& ResolvedGraph::GetNotes() const {
    return content_->notes;
}

void ResolvedGraph::Draw(const GraphLayout& layout, Canvas& canvas) const {
    const ChartColors& colors = content_->colors;
    canvas.FillRect(layout.area, colors.Of(CGraphColorInfo::COMPO_WINDOW_BACK));
    for (std::size_t i = 0; i < GetPanes().size(); ++i) {
        const std::vector<Chart>& charts = GetPanes()[i].charts;
        for (std::size_t k = 0; k < charts.size(); ++k) {
            if (!HasDepth()) {
                DrawChart(charts[k], layout.charts[i][k], colors, canvas);
            } else if (content_->isWaterfall) {
                DrawWaterfall(content_->stacks[i][k], layout.paneAreas[i][k], colors, canvas);
            } else {
                DrawColorMap(content_->stacks[i][k], layout.paneAreas[i][k], colors, canvas);
            }
        }
    }
    const COLORREF text = colors.Of(CGraphColorInfo::COMPO_TEXT);
    if (layout.title) DrawPlacedText(*layout.title, text, canvas);
    for (const PlacedText& note : layout.notes) DrawPlacedText(note, text, canvas);
}

std::vector<GraphLayout> LayOutGraphs(std::span<const ResolvedGraph> graphs, std::span<const Size> sizes,
                                      double letterSize, double pointLength, const TextMeasure& measure) {
    std::vector<GraphLayout> layouts;
    std::vector<ChartPlace> places;
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        const ResolvedGraph& graph = graphs[i];
        const GraphLayout& layout =
            layouts.emplace_back(Arrange(graph, sizes[i], letterSize, pointLength, measure));
        for (std::size_t pane = 0; pane < layout.paneAreas.size() && !graph.HasDepth(); ++pane) {
            const std::vector<Rect>& areas = layout.paneAreas[pane];
            const Size whole{areas.front().Width(), areas.back().bottom - areas.front().top};
            const double letters = letterSize > 0.0 ? letterSize : LetterSizeFor(whole, pointLength);
            for (std::size_t k = 0; k < areas.size(); ++k)
                places.push_back({&graph.GetPanes()[pane].charts[k], areas[k], letters});
        }
    }
    std::vector<ChartLayout> charts = LayOutInLine(places, pointLength, measure);
    auto next = charts.begin();
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        for (std::size_t pane = 0; pane < layouts[i].paneAreas.size() && !graphs[i].HasDepth(); ++pane) {
            const auto end = next + std::ssize(layouts[i].paneAreas[pane]);
            layouts[i].charts.emplace_back(std::move_iterator(next), std::move_iterator(end));
            next = end;
        }
    }
    return layouts;
}

void DrawGraph(const GraphView& view, Canvas& canvas) {
    const ResolvedGraph graph(view);
    const Size size = canvas.GetSize();
    const std::vector<GraphLayout> layouts =
        LayOutGraphs({&graph, 1}, {&size, 1}, 0.0, canvas.GetPointLength(), canvas);
    graph.Draw(layouts.front(), canvas);
}

}  // namespace kvx::plot
