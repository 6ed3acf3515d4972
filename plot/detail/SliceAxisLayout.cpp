// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/SliceAxisLayout.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/SliceTicks.h>
#include <KvxPlot01/detail/FineLines.h>
#include <KvxPlot01/detail/LayoutStyle.h>

namespace kvx::plot::detail {
namespace {

// Lengths over the size of the letters.
constexpr double kSlicePitch = 1.7;         // least distance of numbers one above the other
constexpr double kSliceGap = 0.9;           // least room between numbers side by side
constexpr double kLeastTitleLength = 12.0;  // a title may have that length where the line is shorter

double Height(const SliceLine& line) {
    return std::abs(line.last.y - line.first.y);
}

double Length(const SliceLine& line) {
    return std::hypot(line.last.x - line.first.x, line.last.y - line.first.y);
}

/// Beside the numbers: at the middle of a vertical line, at the lower end of a slanted one, where there is
/// most room.
void PlaceTitle(std::wstring title, const SliceLine& line, double letterSize, const TextMeasure& measure,
                SliceAxisLayout* layout) {
    const double half = measure.Measure(title, letterSize).width / 2.0;
    const bool isSlanted = std::abs(line.last.x - line.first.x) > letterSize;
    const double lower = std::max(line.first.y, line.last.y);
    const double middle = isSlanted ? lower - half : lower - Height(line) / 2.0;
    const double outward = line.isTextAtLeft ? -1.0 : 1.0;
    double edge = outward * (line.first.y > line.last.y ? line.first.x : line.last.x);
    for (const PlacedText& text : layout->texts) {
        const bool isBeside = text.box.bottom > middle - half && text.box.top < middle + half;
        if (isBeside) edge = std::max(edge, line.isTextAtLeft ? -text.box.left : text.box.right);
    }
    const TextStyle style{letterSize, 0, Align::kMiddle, line.isTextAtLeft ? Align::kEnd : Align::kStart,
                          true};
    const Point anchor{outward * (edge + kTextGap * letterSize), middle};
    layout->texts.push_back(PlaceText(std::move(title), anchor, style, measure));
}

}  // namespace

Point SliceLine::At(double index, __int64 count) const {
    const double part = count > 1 ? index / static_cast<double>(count - 1) : 0.0;
    return {std::lerp(first.x, last.x, part), std::lerp(first.y, last.y, part)};
}

double SliceAxisLayout::LeftOf(double left) const {
    double least = left;
    for (const PlacedText& text : texts) least = std::min(least, text.box.left);
    return left - least;
}

double SliceAxisLayout::RightOf(double right) const {
    double most = right;
    for (const PlacedText& text : texts) most = std::max(most, text.box.right);
    return most - right;
}

SliceAxisLayout LayOutSliceAxis(const DepthChart& chart, const SliceLine& line, double letterSize,
                                double pointLength, const TextMeasure& measure) {
    const __int64 count = std::ssize(chart.slices);
    const auto fits = [&](const std::vector<SliceTick>& ticks) {
        const SliceTick* previous = nullptr;
        for (const SliceTick& tick : ticks) {
            if (tick.text.empty()) continue;
            if (previous != nullptr) {
                const Point a = line.At(previous->place, count);
                const Point b = line.At(tick.place, count);
                const double width = std::max(measure.Measure(previous->text, letterSize).width,
                                              measure.Measure(tick.text, letterSize).width);
                const bool isApart = std::abs(b.y - a.y) >= kSlicePitch * letterSize ||
                                     std::abs(b.x - a.x) >= width + kSliceGap * letterSize;
                if (!isApart) return false;
            }
            previous = &tick;
        }
        return true;
    };
    const SliceTickPlan plan =
        PlanSliceTicks(chart.z, count, Length(line), kMinorPitchPoints * pointLength, fits);

    SliceAxisLayout layout;
    const double outward = line.isTextAtLeft ? -1.0 : 1.0;
    const TextStyle style{letterSize, 0, line.isTextAtLeft ? Align::kEnd : Align::kStart, Align::kMiddle};
    for (const SliceTick& tick : plan.ticks) {
        const Point place = line.At(tick.place, count);
        layout.ticks.push_back({place, tick.isMajor});
        if (!chart.hasNumbers || tick.text.empty()) continue;
        const Point anchor{place.x + outward * kTextGap * letterSize, place.y};
        layout.texts.push_back(PlaceText(tick.text, anchor, style, measure));
    }
    std::wstring title = chart.z.title;
    if (!plan.factor.empty()) title += (title.empty() ? L"" : L"  ") + plan.factor;
    if (title.empty()) return layout;
    title = CutText(title, letterSize, std::max(Height(line), kLeastTitleLength * letterSize), measure);
    if (!title.empty()) PlaceTitle(std::move(title), line, letterSize, measure, &layout);
    return layout;
}

void DrawSliceAxis(const SliceAxisLayout& layout, const SliceLine& line, COLORREF frame, COLORREF text,
                   Canvas& canvas) {
    FineLines lines(canvas);
    const double inward = line.isTextAtLeft ? 1.0 : -1.0;
    for (const SliceAxisLayout::PlacedTick& tick : layout.ticks)
        lines.AddHorizontal(tick.place.y, tick.place.x,
                            tick.place.x + inward * TickLength(tick.isMajor, canvas));
    lines.Draw(frame);
    for (const PlacedText& placed : layout.texts) DrawPlacedText(placed, text, canvas);
}

}  // namespace kvx::plot::detail
