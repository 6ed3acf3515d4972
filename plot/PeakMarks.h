// SPDX-License-Identifier: MIT
//
// The peaks of a curve, as the peak search of a graph's configuration finds them. Pure functions, safe from
// any thread.
#pragma once

#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphConfigInfo.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

struct CurvePeak {
    __int64 index = 0;
    bool isMaximum = true;

    bool operator==(const CurvePeak&) const = default;
};

/// The peaks among the samples whose shown X lies within `x`: the extremes from which the values come back on
/// both sides by the threshold of `search`. Of more than `most` the highest maxima and the lowest minima,
/// when both are wanted in turn. The highest comes first.
KVX_PLOT_API std::vector<CurvePeak> FindPeaks(const CurveSamples& samples, const AxisRange& x,
                                              const GRAPHCONFIGINFO_PEAKSEARCH_TAG& search, __int64 most);

}  // namespace kvx::plot
