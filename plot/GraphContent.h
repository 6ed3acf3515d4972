// SPDX-License-Identifier: MIT
//
// What a graph of the suite is drawn from: its parameters, scales and settings together with its samples.
// Samples and bounds are in standard units; what is shown of them is in the graph's.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxPlot01/Chart.h>

namespace kvx::plot {

/// The samples of one series; they stay where they are while the graph is drawn.
struct GraphSeries {
    std::span<const double> real = {};
    std::span<const double> imaginary = {};  ///< as many; empty: all 0
    std::span<const double> x = {};          ///< X of each sample; empty: as the graph's parameters say
    /// Drawn as one of the special lines instead of the colour of its line setting.
    std::optional<CGraphColorInfo::DATALINE_KIND> special = {};
};

/// What a graph shows besides its settings.
struct GraphContent {
    /// In the order of CGraphParam's series: first the cells, row by row, then what is drawn in every pane.
    /// Of a waterfall or colour map the slices: all of the first series, then all of the next.
    std::vector<GraphSeries> series;
    std::wstring testTime;        ///< start and end of the test; shown when the configuration says so
    std::wstring status;          ///< shown when the configuration says so
    std::vector<double> cursors;  ///< X values in the standard unit
    std::wstring xName;           ///< of the axes, shown with their units
    std::wstring yName;
    std::wstring lowerName;  ///< of Y in the lower plot of a kind that has two; empty: as in the upper one
    std::wstring y2Name;
    LegendPlace legend = LegendPlace::kRight;
    /// Automatic bounds lie 2 % of the range beyond the values; not in a depth graph, whose slices stand on
    /// its floor.
    bool hasRoom = true;
};

/// Everything a graph is drawn from; none may be null, and all must outlive the graph's use.
struct GraphView {
    const CGraphParam* param = nullptr;
    const CScaleParam* scale = nullptr;
    const CGraphInfo* info = nullptr;
    const GraphContent* content = nullptr;
    CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY;
};

}  // namespace kvx::plot
