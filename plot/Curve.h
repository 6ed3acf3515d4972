// SPDX-License-Identifier: MIT
//
// From samples to lines on the picture: what is drawn of a curve of any length is at most a few points per
// column of pixels, and no peak is lost. Pure functions, safe from any thread.
#pragma once

#include <cstddef>
#include <span>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

/// The samples of a curve, which stay where they are. No-value and NaN are gaps.
struct KVX_PLOT_API CurveSamples {
    std::span<const double> y = {};
    std::span<const double> x = {};  ///< X of each sample; empty: sample i lies at start + i * step
    double start = 0.0;
    double step = 1.0;
    const CValConv* shownX = nullptr;  ///< how standard values become shown ones; null: they are
    const CValConv* shownY = nullptr;

    /// Samples with both an X and a Y.
    __int64 Count() const;
    bool IsEven() const { return x.empty(); }
    /// X of a sample as it is stored; evenly spaced samples go on beyond either end.
    double XAt(__int64 index) const {
        return IsEven() ? start + static_cast<double>(index) * step : x[static_cast<std::size_t>(index)];
    }
    double YAt(__int64 index) const { return y[static_cast<std::size_t>(index)]; }
    /// The same as shown.
    double ShownXAt(__int64 index) const;
};

enum class CurveShape {
    kLine,
    kSteps,  ///< each value is held up to the next sample
    kBars,   ///< from 0, on a logarithmic axis from the bottom
    kMarks,  ///< marks without a line
};

/// Where a curve is drawn.
struct CurveFrame {
    AxisMapping x;  ///< of shown values
    AxisMapping y;
    Rect plot;                 ///< nothing is drawn outside
    double columnWidth = 1.0;  ///< samples closer than that, one after the other, are drawn as their extremes
};

/// What the shown values of a curve reach; `low` is above `high` when there are none.
struct KVX_PLOT_API CurveExtent {
    double low = 0.0;
    double high = -1.0;
    double lowAboveZero = 0.0;  ///< 0 when no value is above 0

    bool IsEmpty() const { return !(low <= high); }
    /// Widens it to what another one reaches.
    void Include(const CurveExtent& other);
};

/// The extent of X over all samples that have a value.
KVX_PLOT_API CurveExtent ExtentOfX(const CurveSamples& samples);
/// The extent of the values whose shown X lies within `x`, where there is none that of the samples whose line
/// crosses it. Infinite values do not count.
KVX_PLOT_API CurveExtent ExtentOfY(const CurveSamples& samples, const AxisRange& x);

/// The line through the samples, cut at the edges of the plot. A run of one point is a sample without
/// neighbours. On a logarithmic axis values not above 0 lie far below the plot.
KVX_PLOT_API Path LinePath(const CurveSamples& samples, const CurveFrame& frame);
/// The same with horizontal lines from sample to sample; when X is evenly spaced the last one is as long as
/// the others.
KVX_PLOT_API Path StepPath(const CurveSamples& samples, const CurveFrame& frame);
/// A rectangle per sample, per column where they are closer; each is a run to be filled.
KVX_PLOT_API Path BarPath(const CurveSamples& samples, const CurveFrame& frame);
/// The places of marks: every `interval`-th sample inside the plot, of samples within a column the extremes.
KVX_PLOT_API Path MarkPlaces(const CurveSamples& samples, const CurveFrame& frame, __int64 interval);

}  // namespace kvx::plot
