// SPDX-License-Identifier: MIT
//
// Which slices of a waterfall or colour map are marked at their axis, and with which text. Pure functions.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

struct SliceTick {
    double place = 0.0;  ///< in slices: 0 the first, fractions between two
    bool isMajor = false;
    std::wstring text;  ///< empty for none

    bool operator==(const SliceTick&) const = default;
};

struct SliceTickPlan {
    std::vector<SliceTick> ticks;  ///< from the first slice to the last
    std::wstring factor;           ///< what all numbers are to be multiplied by; empty for 1
};

/// Plans the ticks of `count` slices along an axis that is `length` long, in the unit of `minorDistance`, the
/// least distance of minor ticks. Evenly spaced slices have round numbers, others the texts of every n-th
/// slice of the series 1, 2, 5, 10 ... Of the plans from fine to coarse the first is taken whose texts have
/// room, as `fits` says.
KVX_PLOT_API SliceTickPlan PlanSliceTicks(const SliceAxis& axis, __int64 count, double length,
                                          double minorDistance,
                                          const std::function<bool(const std::vector<SliceTick>&)>& fits);

}  // namespace kvx::plot
