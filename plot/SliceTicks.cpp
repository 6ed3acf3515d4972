// SPDX-License-Identifier: MIT
#include <KvxPlot01/SliceTicks.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kvx::plot {
namespace {

using Fits = std::function<bool(const std::vector<SliceTick>&)>;

/// The ticks of a plan of numbers, as places among the slices.
std::vector<SliceTick> InSlices(const TickPlan& plan, const SliceAxis& axis) {
    std::vector<SliceTick> ticks;
    ticks.reserve(plan.ticks.size());
    for (const Tick& tick : plan.ticks)
        ticks.push_back({(tick.value - axis.start) / axis.step, tick.isMajor, tick.number});
    if (axis.step < 0.0) std::ranges::reverse(ticks);
    return ticks;
}

std::vector<SliceTick> EveryNth(const SliceAxis& axis, __int64 count, __int64 stride) {
    std::vector<SliceTick> ticks;
    for (__int64 i = 0; i < count; i += stride)
        ticks.push_back({static_cast<double>(i), true, axis.textOf ? axis.textOf(i) : std::wstring()});
    return ticks;
}

std::vector<SliceTick> PlanTexts(const SliceAxis& axis, __int64 count, const Fits& fits) {
    for (__int64 decade = 1;; decade *= 10) {
        for (const __int64 digit : {1, 2, 5}) {
            std::vector<SliceTick> ticks = EveryNth(axis, count, digit * decade);
            if (ticks.size() <= 1 || fits(ticks)) return ticks;
        }
    }
}

}  // namespace

SliceTickPlan PlanSliceTicks(const SliceAxis& axis, __int64 count, double length, double minorDistance,
                             const Fits& fits) {
    if (count < 1) return {};
    const double last = axis.start + axis.step * static_cast<double>(count - 1);
    const bool isEven = axis.isEven && axis.start != last && std::isfinite(last - axis.start);
    if (!isEven) return {PlanTexts(axis, count, fits), {}};
    const AxisRange bounds{std::min(axis.start, last), std::max(axis.start, last)};
    TickPlan plan = PlanTicks(bounds, AxisForm::kLinear, length, minorDistance, TickStyle(),
                              [&](const TickPlan& candidate) { return fits(InSlices(candidate, axis)); });
    return {InSlices(plan, axis), std::move(plan.factor)};
}

}  // namespace kvx::plot
