// SPDX-License-Identifier: MIT
//
// A graph of the suite as a picture: its parameters, scales and settings together with its samples become
// charts in panes. Samples and bounds are held in standard units and shown in the graph's units.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/platform/Types.h>
#include <plot/Canvas.h>
#include <plot/Chart.h>
#include <plot/ChartLayout.h>
#include <plot/Export.h>

namespace kvx::plot {

/// The samples of one series, in standard units; they stay where they are while the graph is drawn.
struct GraphSeries {
    const double* real = nullptr;
    const double* imaginary = nullptr;  ///< null: all 0
    __int64 count = 0;
    const double* x = nullptr;  ///< X of each sample; null: as the graph's parameters say
    /// Drawn as one of the special lines instead of the colour of its line setting.
    std::optional<CGraphColorInfo::DATALINE_KIND> special = {};
};

/// What a graph shows besides its settings.
struct GraphContent {
    /// In the order of CGraphParam's series: first the cells, row by row, then what is drawn in every pane.
    std::vector<GraphSeries> series;
    std::wstring testTime;        ///< start and end of the test; shown when the configuration says so
    std::wstring status;          ///< shown when the configuration says so
    std::vector<double> cursors;  ///< X values in the standard unit
    std::wstring xName;           ///< of the axes, shown with their units
    std::wstring yName;
    std::wstring y2Name;
    LegendPlace legend = LegendPlace::kRight;
};

/// Everything a graph is drawn from; the objects must outlive its use.
struct GraphView {
    const CGraphParam* param = nullptr;
    const CScaleParam* scale = nullptr;
    const CGraphInfo* info = nullptr;
    const GraphContent* content = nullptr;
    CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY;
};

/// Draws a two-dimensional graph over the whole canvas. 0, with nothing drawn, when a pointer is null, the
/// parameters or scales fail their Check, they are not those of a two-dimensional graph, or the series are
/// not as many as the parameters say.
KVX_PLOT_API int DrawGraph(const GraphView& view, Canvas& canvas);

}  // namespace kvx::plot
