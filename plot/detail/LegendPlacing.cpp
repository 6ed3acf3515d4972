// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/LegendPlacing.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

namespace kvx::plot::detail {
namespace {

// Of the width of the chart.
constexpr double kColumnShare = 0.2;
constexpr double kMostShare = 0.45;
// Over the size of the letters: the line of a curve with the gaps around it.
constexpr double kBesideName = kSampleLength + 3.0 * kTextGap;

double WidestName(const Chart& chart, const std::vector<std::size_t>& curves, const LayoutStyle& style) {
    double widest = 0.0;
    for (const std::size_t curve : curves) {
        const std::wstring_view name = chart.curves[curve].name;
        widest = std::max(widest, style.WidthOf(name.substr(0, kMostLetters)));
    }
    return widest;
}

}  // namespace

std::optional<LegendPlan> PlanLegend(const Chart& chart, double chartWidth, const Rect& room,
                                     const LayoutStyle& style) {
    LegendPlan plan;
    for (std::size_t i = 0; i < chart.curves.size(); ++i) {
        if (!chart.curves[i].name.empty()) plan.curves.push_back(i);
    }
    if (chart.legend == LegendPlace::kNone || plan.curves.empty()) return std::nullopt;
    const double widest = WidestName(chart, plan.curves, style);
    const double besideName = style.Ems(kBesideName);
    const double padding = 2.0 * style.Ems(kTextGap);
    const double entryHeight = style.Ems(kEntryHeight);
    const double count = static_cast<double>(plan.curves.size());
    const auto height = [&] { return static_cast<double>(plan.perColumn) * entryHeight + padding; };
    if (chart.legend == LegendPlace::kBelow) {
        const double inside = room.Width() - padding;
        plan.cellWidth = std::min(widest + besideName, inside);
        const double columns = std::max(1.0, std::floor(inside / plan.cellWidth));
        plan.perColumn = static_cast<std::size_t>(std::ceil(count / columns));
        plan.frame = {room.left, room.bottom - height(), room.right, room.bottom};
        return plan;
    }
    const double rows = std::max(1.0, std::floor((room.Height() - padding) / entryHeight));
    const double columns = std::ceil(count / rows);
    plan.perColumn = static_cast<std::size_t>(std::ceil(count / columns));
    const double share = chart.isLegendWidthFromText ? kMostShare : kColumnShare * columns;
    plan.cellWidth = (std::min(share, kMostShare) * chartWidth - padding) / columns;
    if (chart.isLegendWidthFromText) plan.cellWidth = std::min(widest + besideName, plan.cellWidth);
    if (plan.cellWidth < besideName + std::min(widest, style.Ems(kLeastNameWidth))) return std::nullopt;
    plan.frame = {room.right - (columns * plan.cellWidth + padding), room.top, room.right,
                  room.top + height()};
    return plan;
}

void PlaceLegend(const Chart& chart, const LegendPlan& plan, const LayoutStyle& style, ChartLayout& layout) {
    Rect frame = plan.frame;
    if (chart.legend != LegendPlace::kBelow) {
        frame.top = std::min(layout.plot.top, layout.area.bottom - plan.frame.Height());
        frame.bottom = frame.top + plan.frame.Height();
    }
    frame = OnPixels(frame);
    layout.legend = frame;
    const double gap = style.Ems(kTextGap);
    const double entryHeight = style.Ems(kEntryHeight);
    for (std::size_t i = 0; i < plan.curves.size(); ++i) {
        const std::size_t column = i / plan.perColumn;
        const std::size_t row = i % plan.perColumn;
        const double left = frame.left + gap + static_cast<double>(column) * plan.cellWidth;
        const double top = frame.top + gap + static_cast<double>(row) * entryHeight;
        LegendEntry& entry = layout.entries.emplace_back();
        entry.curve = plan.curves[i];
        entry.sample = {left + gap, top, left + gap + style.Ems(kSampleLength), top + entryHeight};
        const double nameLeft = entry.sample.right + gap;
        std::wstring name = CutText(chart.curves[entry.curve].name, style.letterSize,
                                    left + plan.cellWidth - nameLeft, style.measure);
        entry.name = PlaceText(std::move(name), {nameLeft, entry.sample.Center().y},
                               {style.letterSize, 0, Align::kStart, Align::kMiddle}, style.measure);
    }
}

}  // namespace kvx::plot::detail
