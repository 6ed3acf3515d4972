// SPDX-License-Identifier: MIT
//
// Where an axis has its ticks and which numbers stand at them. Pure functions, safe from any thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

struct Tick {
    double value = 0.0;
    bool isMajor = false;
    std::wstring number;  ///< empty for none

    bool operator==(const Tick&) const = default;
};

/// The ticks of an axis in ascending order, all within its bounds.
struct TickPlan {
    std::vector<Tick> ticks;
    std::wstring factor;  ///< what all numbers are to be multiplied by ("×10#u-6#n"); empty for 1

    bool operator==(const TickPlan&) const = default;
};

/// An axis whose bounds lie closer or farther apart has no ticks: on the way to them numbers would leave the
/// range of a double.
inline constexpr double kLeastAxisSpan = 1e-290;
inline constexpr double kMostAxisSpan = 1e290;

/// Which ticks there are and how their numbers are written; by default with as many decimals as tell the
/// ticks apart.
struct TickStyle {
    std::optional<int> decimals;           ///< exactly as many, 0 to 15
    std::optional<int> significantDigits;  ///< at most as many, 1 to 15; counts when `decimals` does not
    bool isDegrees =
        false;  ///< a linear axis of angles, which has steps of 15, 30, 45, 90 ... when it is wide
};

/// Plans the ticks between `bounds` (low below high, both above 0 on a logarithmic axis; otherwise there are
/// none) of an axis that is `length` long, in the unit of `minorDistance`, the least distance of minor ticks.
///
/// A linear axis has major ticks in steps of 1, 2 or 5 times a power of ten, a logarithmic one at the
/// decades, or at every n-th of many. Numbers stand at the major ticks; on a logarithmic axis with room also
/// at 2 and 5, with few decades at 2 to 9; one that shows less than that has the ticks of a linear one. Of
/// the plans from fine to coarse the first is taken whose numbers have room, as `fits` says; when none has,
/// the coarsest without its numbers.
KVX_PLOT_API TickPlan PlanTicks(const AxisRange& bounds, AxisForm form, double length, double minorDistance,
                                const TickStyle& style, const std::function<bool(const TickPlan&)>& fits);

}  // namespace kvx::plot
