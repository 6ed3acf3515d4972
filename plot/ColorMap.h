// SPDX-License-Identifier: MIT
//
// Colour maps: slices as rows of colours, with a scale that tells which colour is which value. Maps of any
// size become one value per pixel, the largest of all samples that fall onto it, so that no peak is lost.
#pragma once

#include <span>
#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

/// How samples become pixels.
struct MapFrame {
    AxisMapping x;     ///< of shown values to pixel columns, 0 the left edge of the first
    AxisRange values;  ///< shown values of the lowest and the highest colour
    AxisForm valueForm = AxisForm::kLinear;
    __int64 columns = 0;
    __int64 rows = 0;
    bool isLastAtBottom = false;
    bool isBlended = true;  ///< pixels between samples or slices blend them, else they take the nearer
};

/// The values of `frame.rows` times `frame.columns` pixels, row by row from the top: 0 for the lowest colour
/// to 1 for the highest, NaN where there is none. The slices share the height evenly. Of the samples of a
/// slice, whose X ascends, and of the slices that fall onto a pixel the largest counts; no-value and NaN do
/// not. Beside the outermost samples the map goes on for half their distance.
KVX_PLOT_API std::vector<float> MapPixels(std::span<const CurveSamples> slices, const MapFrame& frame);

/// Draws a colour map with its axes and the scale of its colours over `area`.
KVX_PLOT_API void DrawColorMap(const DepthChart& chart, const Rect& area, const ChartColors& colors,
                               Canvas& canvas);

}  // namespace kvx::plot
