// SPDX-License-Identifier: MIT
//
// Values and pixels along one axis, and the bounds that follow when a person zooms or scrolls. Pure
// functions, safe from any thread. Whatever the numbers are, nothing traps and no loop runs on; results are
// finite for finite bounds unless stated otherwise.
#pragma once

#include <KvxDevCommon01/Export.h>

namespace kvx {

enum class AxisForm { kLinear, kLogarithmic };

/// Bounds of an axis, of data or of what an axis may show.
struct AxisRange {
    double low = 0.0;
    double high = 0.0;

    bool operator==(const AxisRange&) const = default;
};

/// What stands for log10 of values that have none: far off every plot.
inline constexpr double kNoLogarithm = -30.0;

/// Position of a value on the axis, in its own measure: the value or its log10, for a value not above 0
/// kNoLogarithm. NaN stays NaN.
KVX_API double AxisCoordinate(double value, AxisForm form);
/// The value at a position.
KVX_API double ValueAtCoordinate(double coordinate, AxisForm form);

/// The pixels of an axis: pixel = scale * coordinate + origin.
struct KVX_API AxisMapping {
    double scale = 0.0;
    double origin = 0.0;
    AxisForm form = AxisForm::kLinear;

    /// The mapping that puts the bounds on these pixels. Bounds without a distance, or with one that is not
    /// finite, all lie on `lowPixel`.
    static AxisMapping Between(const AxisRange& bounds, double lowPixel, double highPixel, AxisForm form);

    double ToPixel(double value) const {
        return scale * (form == AxisForm::kLinear ? value : AxisCoordinate(value, form)) + origin;
    }
    /// The inverse; with the scale 0 the value at coordinate 0.
    double ToValue(double pixel) const;
};

/// Bounds between two pixels, in their order, of an axis whose bounds are on `lowPixel` and `highPixel`. If
/// those are the same pixel, both are the lower bound.
KVX_API AxisRange ZoomedRange(const AxisRange& bounds, AxisForm form, double lowPixel, double highPixel,
                              double firstPixel, double secondPixel);

enum class ScrollDirection { kDown, kUp };

/// Bounds moved by a quarter of their span (of their decades on a logarithmic axis), each then brought into
/// `limits`: not below their low, then not above their high.
KVX_API AxisRange ScrolledRange(const AxisRange& bounds, AxisForm form, ScrollDirection direction,
                                const AxisRange& limits);

/// `high`, or when it equals `low` a value a little above it: 1e-7, then ten times as much and so on is added
/// until they differ. Infinity when only that differs.
KVX_API double UpperBoundApart(double low, double high);

}  // namespace kvx
