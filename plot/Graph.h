// SPDX-License-Identifier: MIT
//
// Graphs of the suite as pictures, in two dimensions or with depth (waterfalls, colour maps). A graph is
// resolved once: settings, units and samples become charts in shown values. What is resolved can be looked
// at, laid out for any canvas, in line with other graphs, and drawn.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/GraphContent.h>

namespace kvx::plot {

/// The charts that share a pane, one below the other, with the same X axis.
struct GraphPane {
    std::vector<Chart> charts;
};

/// Where the panes of a graph and the texts around them stand.
struct GraphLayout {
    Rect area;
    std::optional<PlacedText> title;
    std::vector<PlacedText> notes;                 ///< test time and status
    std::vector<std::vector<Rect>> paneAreas;      ///< of each chart of each pane
    std::vector<std::vector<ChartLayout>> charts;  ///< in the pane areas; none of a graph with depth
};

/// A graph with everything resolved. Immutable; copies share what they hold. It refers to the parts of its
/// view.
class KVX_PLOT_API ResolvedGraph {
public:
    /// Throws Error (kBadValue) when a part of the view is null, the parameters or scales fail their Check or
    /// are of different display types, the series are not those of the parameters or one has no samples, and
    /// of a graph with depth when no slice is to be drawn or its kind draws values over values.
    explicit ResolvedGraph(const GraphView& view);

    /// A waterfall or colour map has its slices as curves of its charts.
    const std::vector<GraphPane>& GetPanes() const;
    bool HasDepth() const;
    /// What stands above the panes, as far as the settings want it: the title, empty for none, and test time
    /// and status.
    const std::wstring& GetTitle() const;
    const std::vector<std::wstring>& GetNotes() const;

    /// Draws the graph where it was laid out.
    void Draw(const GraphLayout& layout, Canvas& canvas) const;

private:
    struct Content;

    std::shared_ptr<const Content> content_;
};

/// Lays out graphs, each from the origin over its size, with the left and right edges of all their plots in
/// line. The letters have that size, in canvas units; 0 for one that suits each pane. There are as many sizes
/// as graphs.
KVX_PLOT_API std::vector<GraphLayout> LayOutGraphs(std::span<const ResolvedGraph> graphs,
                                                   std::span<const Size> sizes, double letterSize,
                                                   double pointLength, const TextMeasure& measure);

/// Draws a graph over the whole canvas. Throws as ResolvedGraph does, with nothing drawn.
KVX_PLOT_API void DrawGraph(const GraphView& view, Canvas& canvas);

}  // namespace kvx::plot
