// SPDX-License-Identifier: MIT
//
// DepthChart: slices one behind the other, described in shown values: what a waterfall or colour map consists
// of when its settings, units and data are resolved (see Graph.h), and what any other data can be drawn
// with.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/Curve.h>

namespace kvx::plot {

/// What tells the slices apart.
struct SliceAxis {
    std::wstring title;  ///< with its unit
    bool isEven = true;  ///< slice i stands for start + i * step; otherwise for its text
    double start = 0.0;
    double step = 1.0;
    std::function<std::wstring(__int64)> textOf;  ///< of slice i; empty for none
};

struct DepthChart {
    std::wstring title;
    ChartAxis x;
    ChartAxis y;  ///< of the values: height in a waterfall, colour in a colour map
    SliceAxis z;
    std::vector<CurveSamples> slices;
    std::vector<double> cursors;  ///< X values with a cursor line, in a waterfall on the front slice
    bool isLastInFront = false;   ///< in a colour map: at the bottom
    bool isSolid = true;       ///< slices hide what lies behind; in a colour map they blend into each other
    bool isFilled = false;     ///< slices of a solid waterfall are tinted with the colour of their line
    double rise = 0.7;         ///< of a waterfall: from first to last slice over the height of a slice
    double shift = 0.2;        ///< of a waterfall: to the right on that way over the width of a slice
    CKvxGraphLineSample look;  ///< of a waterfall's lines
    bool hasGrid = true;
    bool hasNumbers = true;
};

}  // namespace kvx::plot
