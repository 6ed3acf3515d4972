// SPDX-License-Identifier: MIT
//
// Chart: one plot with its axes and legend, described in shown values: what a graph of the suite consists of
// when its settings, units and data are resolved (see Graph.h), and what anything else can be drawn with.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/Ticks.h>

namespace kvx::plot {

struct ChartAxis {
    AxisRange bounds{0.0, 1.0};  ///< an axis whose bounds cannot be shown has no ticks and no curves
    AxisForm form = AxisForm::kLinear;
    std::wstring title = {};       ///< with its unit
    std::wstring shortTitle = {};  ///< stands in for a title that is too long; empty for none
    TickStyle ticks = {};
};

struct ChartCurve {
    std::wstring name;  ///< in the legend; empty for none there
    CurveSamples samples;
    CurveShape shape = CurveShape::kLine;
    bool isOnSecondAxis = false;
    CKvxGraphLineSample look;
};

/// A mark on a sample of a curve.
struct ChartMark {
    std::size_t curve = 0;  ///< whose look it has
    Point at;               ///< shown values of X and Y
    bool isAbove = true;    ///< whether its text stands above it
    std::wstring text;      ///< left out where it has no room; may be empty
};

enum class LegendPlace { kNone, kRight, kBelow };

struct Chart {
    std::wstring title;
    ChartAxis x;
    ChartAxis y;
    std::optional<ChartAxis> y2;  ///< on the right
    std::vector<ChartCurve> curves;
    std::vector<ChartMark> marks;
    std::vector<double> cursors;  ///< X values with a cursor line
    LegendPlace legend = LegendPlace::kRight;
    bool isLegendWidthFromText = false;  ///< else it has a fifth of the width and cuts longer names
    bool hasGrid = true;
    bool hasNumbers = true;
    bool isToScale = false;   ///< of linear axes one is widened until both have the same length for a unit
    double letterSize = 0.0;  ///< in canvas units; 0 for one that suits the area
    double rightRoom = 0.0;   ///< left free between the plot and what stands right of it, in canvas units
};

/// The colours to draw with.
struct ChartColors {
    const CGraphColorInfo* colors = nullptr;
    CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY;

    COLORREF Of(CGraphColorInfo::COMPO_KIND compo) const { return colors->GetCompoInfo(compo, output); }
};

}  // namespace kvx::plot
