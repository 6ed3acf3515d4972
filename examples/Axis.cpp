// SPDX-License-Identifier: MIT
//
// The arithmetic of a graph's axis: bounds that suit the data, values to pixels and back, and what a zoom
// between two pixels shows.
//
// It prints:
//
//     the axis goes from 0.0003 to 0.04, 0.01 stands at pixel 113.3
//     zoomed from 0.001 to 0.02; from 10 to 30 Hz 3 samples are drawn
#include <cmath>
#include <cstdio>
#include <vector>

#include <KvxDevCommon01/Kvx.h>

int main() {
    const std::vector<double> levels = {3e-4, 2e-3, 0.04, 0.035, 9e-3, 6e-4};
    const kvx::AxisRange bounds =
        kvx::AutoRange(3e-4, 0.04, kvx::AxisForm::kLogarithmic, kvx::RangeRounding::kOutward).value();
    const auto axis = kvx::AxisMapping::Between(bounds, 400.0, 0.0, kvx::AxisForm::kLogarithmic);
    std::printf("the axis goes from %s to %s, 0.01 stands at pixel %.1f\n",
                kvx::FormatNumber(bounds.low).c_str(), kvx::FormatNumber(bounds.high).c_str(),
                axis.ToPixel(0.01));
    const kvx::AxisRange zoomed = kvx::ZoomedRange(bounds, kvx::AxisForm::kLogarithmic, 400.0, 0.0,
                                                   axis.ToPixel(1e-3), axis.ToPixel(0.02));
    const kvx::IndexRange shown = kvx::FindVisibleRange({10.0, 30.0}, 0.0, 10.0, levels).value();
    std::printf("zoomed from %s to %s; from 10 to 30 Hz %lld samples are drawn\n",
                kvx::FormatNumber(zoomed.low).c_str(), kvx::FormatNumber(zoomed.high).c_str(),
                static_cast<long long>(shown.count));
    return std::abs(zoomed.low / 1e-3 - 1.0) < 1e-9 && axis.ToPixel(bounds.low) == 400.0 ? 0 : 1;
}
