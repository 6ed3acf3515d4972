// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/AxisPlacing.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

namespace kvx::plot::detail {
namespace {

constexpr double kBeforeAll = -1e300;

bool IsShowable(const ChartAxis& axis) {
    const AxisMapping mapping = AxisMapping::Between(axis.bounds, 0.0, 1.0, axis.form);
    return axis.bounds.low < axis.bounds.high && mapping.scale > 0.0 &&
           (axis.form == AxisForm::kLinear || axis.bounds.low > 0.0);
}

/// `fits` tells of a number's text, its place and the number before whether both have room.
template <typename Fits>
TickPlan Plan(const ChartAxis& axis, double length, const LayoutStyle& style, Fits fits) {
    if (!IsShowable(axis) || !(length > 0.0)) return {};
    const AxisMapping mapping = AxisMapping::Between(axis.bounds, 0.0, length, axis.form);
    const auto haveRoom = [&](const TickPlan& plan) {
        double end = kBeforeAll;
        return std::ranges::all_of(plan.ticks, [&](const Tick& tick) {
            return tick.number.empty() || fits(tick.number, mapping.ToPixel(tick.value), &end);
        });
    };
    TickPlan plan = PlanTicks(axis.bounds, axis.form, length, kMinorPitchPoints * style.pointLength,
                              axis.ticks, haveRoom);
    if (!style.hasNumbers) {
        plan.factor.clear();
        for (Tick& tick : plan.ticks) tick.number.clear();
    }
    return plan;
}

/// Width of the numbers beside the plot with the gap to it.
double WidthOfNumbers(const TickPlan& plan, const LayoutStyle& style) {
    double widest = 0.0;
    for (const Tick& tick : plan.ticks) {
        if (!tick.number.empty()) widest = std::max(widest, style.WidthOf(tick.number));
    }
    return widest > 0.0 ? widest + style.Ems(kTextGap) : 0.0;
}

/// The title of an axis, or in little room its short one.
void PlaceTitle(const ChartAxis& axis, Point anchor, const TextStyle& textStyle, double room,
                const LayoutStyle& style, AxisLayout& layout) {
    if (!style.hasTitles) return;
    const bool isShort = !axis.shortTitle.empty() && style.WidthOf(axis.title) > room;
    std::wstring title = CutText(isShort ? axis.shortTitle : axis.title, textStyle.size, room, style.measure);
    if (!title.empty())
        layout.titles.push_back(PlaceText(std::move(title), anchor, textStyle, style.measure));
}

}  // namespace

TickPlan PlanHorizontal(const ChartAxis& axis, double length, const LayoutStyle& style) {
    return Plan(axis, length, style, [&](const std::wstring& number, double pixel, double* end) {
        const double half = std::max(style.WidthOf(number), style.Ems(kNumberWidth)) / 2.0;
        if (pixel - half - *end < style.Ems(kNumberGap)) return false;
        *end = pixel + half;
        return true;
    });
}

TickPlan PlanVertical(const ChartAxis& axis, double length, const LayoutStyle& style) {
    return Plan(axis, length, style, [&](const std::wstring&, double pixel, double* last) {
        if (pixel - *last < style.Ems(kNumberPitch)) return false;
        *last = pixel;
        return true;
    });
}

double WidthBeside(const ChartAxis& axis, const TickPlan& plan, const LayoutStyle& style) {
    const bool hasTitle = style.hasTitles && !axis.title.empty();
    return WidthOfNumbers(plan, style) + (hasTitle ? style.Ems(kLineHeight + kTextGap) : 0.0);
}

AxisLayout PlaceHorizontal(const ChartAxis& axis, const TickPlan& plan, const Rect& plot,
                           const LayoutStyle& style) {
    const double em = style.letterSize;
    AxisLayout layout;
    layout.mapping = AxisMapping::Between(axis.bounds, plot.left, plot.right, axis.form);
    double below = plot.bottom + style.Ems(kBelowPlot);
    for (const Tick& tick : plan.ticks) {
        const double pixel = layout.mapping.ToPixel(tick.value);
        layout.ticks.push_back({pixel, tick.isMajor});
        if (tick.number.empty()) continue;
        layout.numbers.push_back(
            PlaceText(tick.number, {pixel, below}, {em, 0, Align::kMiddle, Align::kStart}, style.measure));
    }
    if (style.hasNumbers) below += style.Ems(kLineHeight + kBelowNumbers);
    double titleRoom = plot.Width();
    if (!plan.factor.empty()) {
        layout.titles.push_back(
            PlaceText(plan.factor, {plot.right, below}, {em, 0, Align::kEnd, Align::kStart}, style.measure));
        titleRoom -= 2.0 * (style.WidthOf(plan.factor) + style.Ems(kNumberGap));
    }
    PlaceTitle(axis, {plot.Center().x, below}, {em, 0, Align::kMiddle, Align::kStart}, titleRoom, style,
               layout);
    return layout;
}

AxisLayout PlaceVertical(const ChartAxis& axis, const TickPlan& plan, Side side, const Rect& plot,
                         const LayoutStyle& style) {
    const double em = style.letterSize;
    const bool isLeft = side == Side::kLeft;
    const double outward = isLeft ? -1.0 : 1.0;
    const double edge = isLeft ? plot.left : plot.right;
    const Align towardsPlot = isLeft ? Align::kEnd : Align::kStart;
    const Align awayFromPlot = isLeft ? Align::kStart : Align::kEnd;
    AxisLayout layout;
    layout.mapping = AxisMapping::Between(axis.bounds, plot.bottom, plot.top, axis.form);
    for (const Tick& tick : plan.ticks) {
        const double pixel = layout.mapping.ToPixel(tick.value);
        layout.ticks.push_back({pixel, tick.isMajor});
        if (tick.number.empty()) continue;
        const Point anchor{edge + outward * style.Ems(kTextGap), pixel};
        layout.numbers.push_back(
            PlaceText(tick.number, anchor, {em, 0, towardsPlot, Align::kMiddle}, style.measure));
    }
    if (!plan.factor.empty()) {
        layout.titles.push_back(PlaceText(plan.factor, {edge, plot.top - style.Ems(kTextGap)},
                                          {em, 0, awayFromPlot, Align::kEnd}, style.measure));
    }
    const double beside = WidthOfNumbers(plan, style) + style.Ems(kTextGap);
    PlaceTitle(axis, {edge + outward * beside, plot.Center().y}, {em, 0, Align::kMiddle, towardsPlot, true},
               plot.Height(), style, layout);
    return layout;
}

}  // namespace kvx::plot::detail
