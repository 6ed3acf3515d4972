// SPDX-License-Identifier: MIT
//
// Draws a laid-out chart. The steps are there one by one for what draws something else than curves into the
// plot: the ground, then the inside confined to the plot's rectangle, then the frame.
#pragma once

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

/// Backgrounds and grid.
KVX_PLOT_API void DrawChartGround(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                                  Canvas& canvas);
/// One curve, confined to the plot and the lines of its frame.
KVX_PLOT_API void DrawCurve(const ChartCurve& curve, const ChartLayout& layout,
                            CGraphColorInfo::OUTPUT_KIND output, Canvas& canvas);
/// The marks of the curves with their texts, confined likewise.
KVX_PLOT_API void DrawChartMarks(const Chart& chart, const ChartLayout& layout, Canvas& canvas);
/// Frame, ticks, numbers and titles, cursors and the legend.
KVX_PLOT_API void DrawChartFrame(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                                 Canvas& canvas);
/// All of it, the curves over the frame so that none is hidden on a bound.
KVX_PLOT_API void DrawChart(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                            Canvas& canvas);
/// Draws a text where it was placed.
KVX_PLOT_API void DrawPlacedText(const PlacedText& text, COLORREF color, Canvas& canvas);

}  // namespace kvx::plot
