// SPDX-License-Identifier: MIT
//
// A two-dimensional graph of the suite as a picture: its panes with the title and the texts of the test
// above.
#pragma once

#include <optional>
#include <vector>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/GraphCharts.h>

namespace kvx::plot {

/// Where the panes of a graph and the texts around them stand.
struct GraphLayout {
    Rect area;
    std::optional<PlacedText> title;
    std::vector<PlacedText> notes;             ///< test time and status
    std::vector<std::vector<Rect>> paneAreas;  ///< of each chart of each pane
};
KVX_PLOT_API GraphLayout LayOutGraph(const GraphView& view, const GraphCharts& charts, const Rect& area,
                                     double pointLength, const TextMeasure& measure);

/// The widest margins beside the plots of a two-dimensional graph that is to fill the whole canvas.
KVX_PLOT_API PlotMargins GraphMargins(const GraphView& view, const Canvas& canvas);

/// Draws a two-dimensional graph over the whole canvas, its plots in line with each other and, by margins of
/// at least `least`, with those of other graphs. 0, with nothing drawn, when it has no panes.
KVX_PLOT_API int DrawGraph(const GraphView& view, Canvas& canvas, const PlotMargins& least = {});

}  // namespace kvx::plot
