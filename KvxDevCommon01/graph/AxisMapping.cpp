// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/AxisMapping.h>

#include <cmath>

namespace kvx {

namespace {

/// Difference of pixels over difference of coordinates, or the other way round; 0 where there is none.
double Slope(double rise, double run) {
    const double slope = rise / run;
    return run != 0.0 && std::isfinite(slope) ? slope : 0.0;
}

double Clamped(double value, const AxisRange& limits) {
    return std::fmin(std::fmax(value, limits.low), limits.high);
}

}  // namespace

double AxisCoordinate(double value, AxisForm form) {
    if (form == AxisForm::kLinear) return value;
    return value <= 0.0 ? kNoLogarithm : std::log10(value);
}

double ValueAtCoordinate(double coordinate, AxisForm form) {
    return form == AxisForm::kLinear ? coordinate : std::pow(10.0, coordinate);
}

AxisMapping AxisMapping::Between(const AxisRange& bounds, double lowPixel, double highPixel, AxisForm form) {
    const double low = AxisCoordinate(bounds.low, form);
    const double scale = Slope(highPixel - lowPixel, AxisCoordinate(bounds.high, form) - low);
    return {scale, scale == 0.0 ? lowPixel : lowPixel - scale * low, form};
}

double AxisMapping::ToValue(double pixel) const {
    return ValueAtCoordinate(Slope(pixel - origin, scale), form);
}

AxisRange ZoomedRange(const AxisRange& bounds, AxisForm form, double lowPixel, double highPixel,
                      double firstPixel, double secondPixel) {
    const double low = AxisCoordinate(bounds.low, form);
    const double slope = Slope(AxisCoordinate(bounds.high, form) - low, highPixel - lowPixel);
    const double offset = low - slope * lowPixel;
    return {ValueAtCoordinate(slope * firstPixel + offset, form),
            ValueAtCoordinate(slope * secondPixel + offset, form)};
}

AxisRange ScrolledRange(const AxisRange& bounds, AxisForm form, ScrollDirection direction,
                        const AxisRange& limits) {
    const double span = AxisCoordinate(bounds.high, form) - AxisCoordinate(bounds.low, form);
    const double shift = direction == ScrollDirection::kUp ? span * 0.25 : span * -0.25;
    // The centre moves by the shift and the bounds with it, as a sum or, in decades, as a product.
    const auto moved = [&](double bound) {
        return form == AxisForm::kLinear ? bound + shift : bound * std::pow(10.0, shift);
    };
    return {Clamped(moved(bounds.low), limits), Clamped(moved(bounds.high), limits)};
}

double UpperBoundApart(double low, double high) {
    for (double step = 1e-7; low == high && std::isfinite(high); step *= 10.0) high += step;
    return high;
}

}  // namespace kvx
