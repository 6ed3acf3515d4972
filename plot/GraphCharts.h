// SPDX-License-Identifier: MIT
//
// GraphCharts: a graph of the suite as charts: its parameters, scales and settings together with its samples.
// Samples and bounds are in standard units; what is shown of them is in the graph's.
#pragma once

#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

/// The samples of one series, in standard units; they stay where they are while the graph is drawn.
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
    std::vector<GraphSeries> series;
    std::wstring testTime;        ///< start and end of the test; shown when the configuration says so
    std::wstring status;          ///< shown when the configuration says so
    std::vector<double> cursors;  ///< X values in the standard unit
    std::wstring xName;           ///< of the axes, shown with their units
    std::wstring yName;
    std::wstring lowerName;  ///< of Y in the lower plot of a kind that has two; empty: as in the upper one
    std::wstring y2Name;
    double letterSize = 0.0;  ///< in canvas units; 0 for one that suits the area
    LegendPlace legend = LegendPlace::kRight;
    /// Automatic bounds lie a little beyond the values; not in a depth graph, whose slices stand on its
    /// floor.
    bool hasRoom = true;
};

/// Everything a graph is drawn from; the objects must outlive its use.
struct GraphView {
    const CGraphParam* param = nullptr;
    const CScaleParam* scale = nullptr;
    const CGraphInfo* info = nullptr;
    const GraphContent* content = nullptr;
    CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY;
};

/// The charts that share a pane, one below the other, with the same X axis.
struct GraphPane {
    std::vector<Chart> charts;
};

/// What a two-dimensional graph consists of: its panes with everything resolved. The charts refer to the
/// samples of the view and to values derived from them, which this holds.
class KVX_PLOT_API GraphCharts {
public:
    /// Without panes when a pointer is null, the parameters or scales fail their Check or are not those of a
    /// two-dimensional graph, a series has no samples to its count, or the series are not as many as the
    /// parameters say.
    explicit GraphCharts(const GraphView& view);
    ~GraphCharts();
    GraphCharts(const GraphCharts&) = delete;
    GraphCharts& operator=(const GraphCharts&) = delete;

    const std::vector<GraphPane>& GetPanes() const { return panes_; }

private:
    class Builder;

    std::vector<GraphPane> panes_;
    std::deque<std::vector<double>> derived_;  // their places stay, as charts refer to them
    std::deque<CValConv> converters_;
};

}  // namespace kvx::plot
