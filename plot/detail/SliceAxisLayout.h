// SPDX-License-Identifier: MIT
//
// Where the ticks, numbers and title of the axis of slices stand: at the left of a colour map, along the edge
// of a waterfall that leads to its back.
#pragma once

#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot::detail {

/// The line along which slices are told apart, and the side on which its texts stand.
struct SliceLine {
    Point first;  ///< place of the first slice
    Point last;   ///< of the last one
    bool isTextAtLeft = true;

    /// The place of slice `index` of `count`.
    Point At(double index, __int64 count) const;
};

struct SliceAxisLayout {
    struct PlacedTick {
        Point place;
        bool isMajor = false;
    };
    std::vector<PlacedTick> ticks;
    std::vector<PlacedText> texts;

    /// How far the texts reach beyond `left` to the left, and beyond `right` to the right.
    double LeftOf(double left) const;
    double RightOf(double right) const;
};

SliceAxisLayout LayOutSliceAxis(const DepthChart& chart, const SliceLine& line, double letterSize,
                                double pointLength, const TextMeasure& measure);

/// Draws ticks of the colour `frame` inwards and the texts.
void DrawSliceAxis(const SliceAxisLayout& layout, const SliceLine& line, COLORREF frame, COLORREF text,
                   Canvas& canvas);

}  // namespace kvx::plot::detail
