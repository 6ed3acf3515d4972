// SPDX-License-Identifier: MIT
//
// The axes of a chart: which ticks and numbers have room, how wide what stands beside the plot is, and where
// all of it stands.
#pragma once

#include <KvxPlot01/Chart.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/Ticks.h>
#include <KvxPlot01/detail/LayoutStyle.h>

namespace kvx::plot::detail {

/// The ticks of an axis of that length, with as many numbers as have room; none of one that cannot be shown.
TickPlan PlanHorizontal(const ChartAxis& axis, double length, const LayoutStyle& style);
TickPlan PlanVertical(const ChartAxis& axis, double length, const LayoutStyle& style);

/// Width of the numbers and the title beside the plot.
double WidthBeside(const ChartAxis& axis, const TickPlan& plan, const LayoutStyle& style);

/// The axis below the plot.
AxisLayout PlaceHorizontal(const ChartAxis& axis, const TickPlan& plan, const Rect& plot,
                           const LayoutStyle& style);

enum class Side { kLeft, kRight };
/// An axis beside the plot.
AxisLayout PlaceVertical(const ChartAxis& axis, const TickPlan& plan, Side side, const Rect& plot,
                         const LayoutStyle& style);

}  // namespace kvx::plot::detail
