// SPDX-License-Identifier: MIT
#include <KvxPlot01/ChartLayout.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <KvxPlot01/detail/AxisPlacing.h>
#include <KvxPlot01/detail/LayoutStyle.h>
#include <KvxPlot01/detail/LegendPlacing.h>

namespace kvx::plot {
namespace {

using namespace detail;

/// What gives way when there is little room, step by step.
struct Parts {
    double legendScale = 1.0;
    bool hasLegend = true;
    bool hasTitles = true;
    bool hasNumbers = true;
};
constexpr std::array kPartSteps = {
    Parts{},
    Parts{.legendScale = 0.8},
    Parts{.hasLegend = false},
    Parts{.hasLegend = false, .hasTitles = false},
    Parts{.hasLegend = false, .hasTitles = false, .hasNumbers = false},
};

/// Room beside a plot: from the left and the right edge of its area.
struct PlotMargins {
    double left = 0.0;
    double right = 0.0;

    bool operator==(const PlotMargins&) const = default;
};

PlotMargins MarginsOf(const ChartLayout& layout) {
    return {layout.plot.left - layout.area.left, layout.area.right - layout.plot.right};
}

/// What a chart is laid out in.
struct ChartRoom {
    Rect area;
    double letterSize = 0.0;
    PlotMargins least = {};
};

bool IsLargeEnough(const Rect& plot, const ChartRoom& chartRoom) {
    return plot.Width() >= std::max(0.4 * chartRoom.area.Width(), 5.0 * chartRoom.letterSize) &&
           plot.Height() >= std::max(0.35 * chartRoom.area.Height(), 3.0 * chartRoom.letterSize);
}

/// The room inside the outer margin, which is narrower in a small area.
Rect Inside(const ChartRoom& chartRoom) {
    const double least = std::min(chartRoom.area.Width(), chartRoom.area.Height());
    return chartRoom.area.Inset(std::min(kOuterMargin * chartRoom.letterSize, 0.05 * least));
}

/// Takes the legend's room from `room`.
std::optional<LegendPlan> TakeLegend(const Chart& chart, const ChartRoom& chartRoom,
                                     const LayoutStyle& legendStyle, Rect& room) {
    std::optional<LegendPlan> legend = PlanLegend(chart, chartRoom.area.Width(), room, legendStyle);
    if (legend && chart.legend == LegendPlace::kBelow) {
        room.bottom -= legend->frame.Height() + kTextGap * chartRoom.letterSize;
    } else if (legend) {
        room.right -= legend->frame.Width() + kOuterMargin * chartRoom.letterSize;
    }
    return legend;
}

/// The plans of the axes and the plot between them.
struct PlannedAxes {
    TickPlan x;
    TickPlan y;
    TickPlan y2;
    Rect plot;
};

/// Plans the axes in `room`, of which the title and the legend have taken theirs. The heights come first:
/// they do not depend on any number's width.
PlannedAxes PlanAxes(const Chart& chart, const ChartRoom& chartRoom, const LayoutStyle& style, Rect room) {
    PlannedAxes axes;
    const bool hasXTitle = style.hasTitles && !chart.x.title.empty();
    const double titleOfX = style.Ems(kLineHeight + kBelowNumbers);
    if (style.hasNumbers) {
        room.bottom -= style.Ems(kLineHeight + kBelowPlot);
        room.top += style.Ems(kHalfNumberHeight);
    }
    if (hasXTitle) room.bottom -= titleOfX;
    room.right -= chart.rightRoom;
    const auto planVertical = [&] {
        axes.y = PlanVertical(chart.y, room.Height(), style);
        if (chart.y2) axes.y2 = PlanVertical(*chart.y2, room.Height(), style);
    };
    planVertical();
    if (!axes.y.factor.empty() || !axes.y2.factor.empty()) {
        room.top += style.Ems(kLineHeight);
        planVertical();
    }
    room.left += WidthBeside(chart.y, axes.y, style);
    if (chart.y2) {
        room.right -= WidthBeside(*chart.y2, axes.y2, style);
    } else if (style.hasNumbers) {
        room.right -= style.Ems(kHalfNumberWidth);
    }
    room.left = std::max(room.left, chartRoom.area.left + chartRoom.least.left);
    room.right = std::min(room.right, chartRoom.area.right - chartRoom.least.right);
    axes.plot = OnPixels(room);
    axes.x = PlanHorizontal(chart.x, axes.plot.Width(), style);
    // The factor of the numbers stands where the title would.
    if (!axes.x.factor.empty() && !hasXTitle) axes.plot.bottom = OnPixel(axes.plot.bottom - titleOfX);
    return axes;
}

void PlaceAxes(const Chart& chart, const PlannedAxes& axes, const LayoutStyle& style, ChartLayout& layout) {
    layout.plot = axes.plot;
    layout.x = PlaceHorizontal(chart.x, axes.x, axes.plot, style);
    layout.y = PlaceVertical(chart.y, axes.y, Side::kLeft, axes.plot, style);
    if (chart.y2) layout.y2 = PlaceVertical(*chart.y2, axes.y2, Side::kRight, axes.plot, style);
}

/// The chart with these parts; nothing when its plot would be too small.
std::optional<ChartLayout> LayOutParts(const Chart& chart, const ChartRoom& chartRoom, const Parts& parts,
                                       double pointLength, const TextMeasure& measure) {
    const LayoutStyle style{chartRoom.letterSize, pointLength, measure, parts.hasTitles,
                            parts.hasNumbers && chart.hasNumbers};
    LayoutStyle legendStyle = style;
    legendStyle.letterSize *= parts.legendScale;
    Rect room = Inside(chartRoom);
    const bool hasTitle = style.hasTitles && !chart.title.empty();
    const double titleTop = room.top;
    if (hasTitle) room.top += style.Ems(kTitleLetters * kLineHeight + kTextGap);
    std::optional<LegendPlan> legend;
    if (parts.hasLegend) legend = TakeLegend(chart, chartRoom, legendStyle, room);
    const PlannedAxes axes = PlanAxes(chart, chartRoom, style, room);
    if (!IsLargeEnough(axes.plot, chartRoom)) return std::nullopt;

    ChartLayout layout;
    layout.area = chartRoom.area;
    layout.letterSize = chartRoom.letterSize;
    PlaceAxes(chart, axes, style, layout);
    if (hasTitle) {
        const double size = style.Ems(kTitleLetters);
        std::wstring title = CutText(chart.title, size, chartRoom.area.Width(), measure);
        if (!title.empty()) {
            layout.title = PlaceText(std::move(title), {axes.plot.Center().x, titleTop},
                                     {size, 0, Align::kMiddle, Align::kStart}, measure);
        }
    }
    if (legend) PlaceLegend(chart, *legend, legendStyle, layout);
    return layout;
}

/// Nothing but the plot over the whole area.
ChartLayout LayOutBare(const Chart& chart, const ChartRoom& chartRoom, const TextMeasure& measure) {
    const Rect& area = chartRoom.area;
    const Rect inner = OnPixels({area.left, area.top, area.right - 1.0, area.bottom - 1.0});
    ChartLayout layout;
    layout.area = area;
    layout.letterSize = chartRoom.letterSize;
    const LayoutStyle style{
        .letterSize = chartRoom.letterSize, .measure = measure, .hasTitles = false, .hasNumbers = false};
    PlaceAxes(chart, {{}, {}, {}, inner.IsEmpty() ? area : inner}, style, layout);
    return layout;
}

ChartLayout LayOutAsIs(const ChartRoom& chartRoom, const Chart& chart, double pointLength,
                       const TextMeasure& measure) {
    for (const Parts& parts : kPartSteps) {
        std::optional<ChartLayout> layout = LayOutParts(chart, chartRoom, parts, pointLength, measure);
        if (layout) return *std::move(layout);
    }
    return LayOutBare(chart, chartRoom, measure);
}

/// Widens bounds about their middle until a pixel stands for that much.
void Widen(AxisRange& bounds, double perPixel, double pixels) {
    const double room = (perPixel * pixels - (bounds.high - bounds.low)) / 2.0;
    if (room > 0.0) bounds = {bounds.low - room, bounds.high + room};
}

ChartLayout LayOutIn(const ChartRoom& chartRoom, const Chart& chart, double pointLength,
                     const TextMeasure& measure) {
    ChartLayout layout = LayOutAsIs(chartRoom, chart, pointLength, measure);
    const bool isLinear = chart.x.form == AxisForm::kLinear && chart.y.form == AxisForm::kLinear;
    if (!chart.isToScale || !isLinear) return layout;
    // The numbers of wider bounds may leave the plot another width: the second time it is the same.
    for (int pass = 0; pass < 2; ++pass) {
        const double width = layout.plot.Width();
        const double height = layout.plot.Height();
        Chart scaled = chart;
        const double perPixel = std::max((chart.x.bounds.high - chart.x.bounds.low) / width,
                                         (chart.y.bounds.high - chart.y.bounds.low) / height);
        if (!std::isfinite(perPixel)) break;
        Widen(scaled.x.bounds, perPixel, width);
        Widen(scaled.y.bounds, perPixel, height);
        layout = LayOutAsIs(chartRoom, scaled, pointLength, measure);
    }
    return layout;
}

}  // namespace

ChartLayout LayOutChart(const Chart& chart, const Rect& area, double pointLength,
                        const TextMeasure& measure) {
    const double letterSize =
        chart.letterSize > 0.0 ? chart.letterSize : LetterSizeFor({area.Width(), area.Height()}, pointLength);
    return LayOutIn({area, letterSize}, chart, pointLength, measure);
}

std::vector<ChartLayout> LayOutInLine(std::span<const ChartPlace> places, double pointLength,
                                      const TextMeasure& measure) {
    const auto layOut = [&](const ChartPlace& place, const PlotMargins& least) {
        return LayOutIn({place.area, place.letterSize, least}, *place.chart, pointLength, measure);
    };
    // First each as it likes, then those that have less than the widest margins with these.
    std::vector<ChartLayout> layouts;
    PlotMargins widest;
    for (const ChartPlace& place : places) {
        const PlotMargins own = MarginsOf(layouts.emplace_back(layOut(place, {})));
        widest = {std::max(widest.left, own.left), std::max(widest.right, own.right)};
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (MarginsOf(layouts[i]) != widest) layouts[i] = layOut(places[i], widest);
    }
    return layouts;
}

}  // namespace kvx::plot
