// SPDX-License-Identifier: MIT
//
// Waterfalls: slices as curves one behind the other, each a little higher and further to the side than the
// one before it, in a box whose walls bear the grid.
#pragma once

#include <span>
#include <vector>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

/// Where slices stand: the front one in the lower corner, the others behind it.
struct KVX_PLOT_API WaterfallSpace {
    Rect front;          ///< the slice in front
    double up = 0.0;     ///< the way from there to the slice at the back
    double aside = 0.0;  ///< the same to the right, to the left when negative

    /// The space that fills `area`, for the ratios of the way up to a slice's height and of the way to the
    /// right to its width. What is not finite, and a negative rise, count as 0.
    static WaterfallSpace Within(const Rect& area, double rise, double shift);

    /// The rectangle of the slice at `depth`, 0 in front to 1 at the back.
    Rect At(double depth) const;
};

/// A line whose points are brought between two heights: where it crosses them it gets a point, beyond it runs
/// along them.
KVX_PLOT_API std::vector<Point> ClampedRun(std::span<const Point> run, double top, double bottom);

/// Draws a waterfall with its axes over `area`. Lines fade towards the back. Values beyond the bounds are
/// drawn on them. Of more slices than CGraphLineInfoList::GetWaterfallMaxLineNum neighbours are joined to one
/// that has their largest values.
KVX_PLOT_API void DrawWaterfall(const DepthChart& chart, const Rect& area, const ChartColors& colors,
                                Canvas& canvas);

}  // namespace kvx::plot
