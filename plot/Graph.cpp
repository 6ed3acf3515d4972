// SPDX-License-Identifier: MIT
#include <KvxPlot01/Graph.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxPlot01/ChartDrawing.h>

namespace kvx::plot {
namespace {

constexpr double kPaneAspect = 1.6;
// Of a pane with two charts the upper one has more.
constexpr double kUpperShare = 0.58;
constexpr double kNoteGap = 0.4;  // over the size of the letters
constexpr double kTitleSize = 1.25;
constexpr double kHeightForTexts = 24.0;

}  // namespace

GraphLayout LayOutGraph(const GraphView& view, const GraphCharts& charts, const Rect& area,
                        double pointLength, const TextMeasure& measure) {
    GraphLayout layout;
    layout.area = area;
    const double wanted = view.content->letterSize;
    const double em = wanted > 0.0 ? wanted : LetterSizeFor({area.Width(), area.Height()}, pointLength);
    Rect room = area;
    const auto addLine = [&](const std::wstring& text, double size, Align across) {
        std::wstring cut = CutText(text, size, area.Width() - 2.0 * em, measure);
        const double x = across == Align::kMiddle ? area.Center().x : area.left + em;
        PlacedText placed = PlaceText(std::move(cut), {x, room.top + kNoteGap * em},
                                      {size, 0, across, Align::kStart}, measure);
        room.top = placed.box.bottom;
        return placed;
    };
    // A small picture is for the plots.
    const bool hasRoom = area.Height() > kHeightForTexts * em;
    if (hasRoom && view.param->m_frame.title && !view.param->m_z.title.empty()) {
        layout.title = addLine(view.param->m_z.title, kTitleSize * em, Align::kMiddle);
    }
    const CGraphConfigInfo& config = *view.info->GetGraphConfigInfo();
    if (hasRoom && config.IsDispTestTime() && !view.content->testTime.empty()) {
        layout.notes.push_back(addLine(view.content->testTime, em, Align::kStart));
    }
    if (hasRoom && config.IsDispStat() && !view.content->status.empty()) {
        layout.notes.push_back(addLine(view.content->status, em, Align::kStart));
    }

    const auto paneNum = static_cast<__int64>(charts.GetPanes().size());
    const PaneGrid grid = TilePanes(paneNum, room.Width(), room.Height(), kPaneAspect);
    for (__int64 i = 0; i < paneNum; ++i) {
        const auto edge = [](double from, double to, __int64 index, __int64 count) {
            return std::round(from + (to - from) * static_cast<double>(index) / static_cast<double>(count));
        };
        const __int64 column = i % grid.columns;
        const __int64 row = i / grid.columns;
        const Rect pane{edge(room.left, room.right, column, grid.columns),
                        edge(room.top, room.bottom, row, grid.rows),
                        edge(room.left, room.right, column + 1, grid.columns),
                        edge(room.top, room.bottom, row + 1, grid.rows)};
        std::vector<Rect>& areas = layout.paneAreas.emplace_back();
        if (charts.GetPanes()[static_cast<std::size_t>(i)].charts.size() == 1) {
            areas = {pane};
            continue;
        }
        const double middle = std::round(pane.top + kUpperShare * pane.Height());
        areas = {{pane.left, pane.top, pane.right, middle}, {pane.left, middle, pane.right, pane.bottom}};
    }
    return layout;
}

namespace {

/// The layouts of each pane's charts.
std::vector<std::vector<ChartLayout>> LayOutPanes(const GraphCharts& charts, const GraphLayout& layout,
                                                  const Canvas& canvas, const PlotMargins& least) {
    std::vector<std::vector<ChartLayout>> panes;
    for (std::size_t i = 0; i < layout.paneAreas.size(); ++i) {
        panes.push_back(LayOutStack(charts.GetPanes()[i].charts, layout.paneAreas[i], canvas.GetPointLength(),
                                    canvas, least));
    }
    return panes;
}

GraphLayout LayOutOver(const GraphView& view, const GraphCharts& charts, const Canvas& canvas) {
    const auto [width, height] = canvas.GetSize();
    return LayOutGraph(view, charts, {0.0, 0.0, width, height}, canvas.GetPointLength(), canvas);
}

PlotMargins WidestOf(const std::vector<std::vector<ChartLayout>>& panes, PlotMargins widest) {
    for (const std::vector<ChartLayout>& pane : panes) {
        const PlotMargins margins = WidestMargins(pane);
        widest = {std::max(widest.left, margins.left), std::max(widest.right, margins.right)};
    }
    return widest;
}

}  // namespace

PlotMargins GraphMargins(const GraphView& view, const Canvas& canvas) {
    const GraphCharts charts(view);
    if (charts.GetPanes().empty()) return {};
    return WidestOf(LayOutPanes(charts, LayOutOver(view, charts, canvas), canvas, {}), {});
}

int DrawGraph(const GraphView& view, Canvas& canvas, const PlotMargins& least) {
    const GraphCharts charts(view);
    if (charts.GetPanes().empty()) return 0;
    const GraphLayout layout = LayOutOver(view, charts, canvas);
    const PlotMargins margins = WidestOf(LayOutPanes(charts, layout, canvas, least), least);
    const std::vector<std::vector<ChartLayout>> panes = LayOutPanes(charts, layout, canvas, margins);

    const ChartColors colors{view.info->GetGraphColorInfo(), view.output};
    canvas.FillRect(layout.area, colors.Of(CGraphColorInfo::COMPO_WINDOW_BACK));
    for (std::size_t i = 0; i < panes.size(); ++i) {
        const std::vector<Chart>& pane = charts.GetPanes()[i].charts;
        for (std::size_t k = 0; k < pane.size(); ++k) DrawChart(pane[k], panes[i][k], colors, canvas);
    }
    const COLORREF text = colors.Of(CGraphColorInfo::COMPO_TEXT);
    if (layout.title) DrawPlacedText(*layout.title, text, canvas);
    for (const PlacedText& note : layout.notes) DrawPlacedText(note, text, canvas);
    return 1;
}

}  // namespace kvx::plot
