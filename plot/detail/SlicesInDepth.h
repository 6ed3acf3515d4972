// SPDX-License-Identifier: MIT
//
// A graph with depth resolved: its slices, pane by pane.
#pragma once

#include <vector>

#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/Graph.h>
#include <KvxPlot01/detail/ResolvedCharts.h>

namespace kvx::plot::detail {

/// The graph with its slices side by side: in two dimensions, a pane for each series, which has them as its
/// curves. So units, axes and what is shown of a sample are resolved as in every other graph.
struct FlatGraph {
    /// Throws Error (kBadValue) unless the view is consistent, has a depth and shows at least one slice.
    explicit FlatGraph(const GraphView& deep);

    GraphView View() const { return {&param, &scale, info, &content, output}; }

    std::vector<__int64> series;  ///< those that are drawn, by their pane
    CGraphParam param;
    CScaleParam scale;
    GraphContent content;
    const CGraphInfo* info;
    CGraphColorInfo::OUTPUT_KIND output;
};

/// The charts of a view with depth, as many as `panes` has, which are those of `flat`.
std::vector<std::vector<DepthChart>> StackSlices(const GraphView& deep, const FlatGraph& flat,
                                                 const std::vector<GraphPane>& panes);

}  // namespace kvx::plot::detail
