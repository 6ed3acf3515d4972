// SPDX-License-Identifier: MIT
//
// The legend of a chart: columns of entries on the right of the plot, or rows of them below it.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <KvxPlot01/Chart.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/detail/LayoutStyle.h>

namespace kvx::plot::detail {

/// How large a legend is.
struct LegendPlan {
    std::vector<std::size_t> curves;  ///< those that have a name
    std::size_t perColumn = 1;
    double cellWidth = 0.0;  ///< of an entry
    Rect frame;              ///< on the right its top edge is not final
};

/// The legend at the edge of `room` in a chart of that width; nothing when there is none, or no room for any
/// of a name.
std::optional<LegendPlan> PlanLegend(const Chart& chart, double chartWidth, const Rect& room,
                                     const LayoutStyle& style);

/// Puts a planned legend and its entries into the layout, whose plot is known; on the right their tops are in
/// line.
void PlaceLegend(const Chart& chart, const LegendPlan& plan, const LayoutStyle& style, ChartLayout& layout);

}  // namespace kvx::plot::detail
