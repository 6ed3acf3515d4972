// SPDX-License-Identifier: MIT
#include <KvxPlot01/Waterfall.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include <KvxDevCommon01/graph/GraphLineInfo.h>
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/LineLook.h>
#include <KvxPlot01/detail/FineLines.h>
#include <KvxPlot01/detail/LayoutStyle.h>
#include <KvxPlot01/detail/SliceAxisLayout.h>

namespace kvx::plot {
namespace {

using Compo = CGraphColorInfo;
using detail::DrawSliceAxis;
using detail::FineLines;
using detail::LayOutSliceAxis;
using detail::MixColors;
using detail::SliceAxisLayout;
using detail::SliceLine;

constexpr double kFade = 0.5;   // how much the last slice takes of the ground's colour
constexpr double kTint = 0.25;  // how much of its line's colour a filled slice takes
// Lines are cut beside their slice only: their heights are brought between its edges later.
constexpr double kNoEdge = 1e9;

// What a layout leaves above its plot, over the size of the letters.
constexpr double kAbovePlot = detail::kOuterMargin + detail::kHalfNumberHeight;

double FiniteOrZero(double value) {
    return std::isfinite(value) ? value : 0.0;
}

/// How deep slice `index` of `count` stands.
double Depth(__int64 index, __int64 count, bool isLastInFront) {
    const double place = count > 1 ? static_cast<double>(index) / static_cast<double>(count - 1) : 0.0;
    return isLastInFront ? 1.0 - place : place;
}

/// The space behind `front`, the slice of `wanted` as its layout has placed it, as far as it lies in `whole`.
WaterfallSpace Placed(const WaterfallSpace& wanted, const Rect& front, const Rect& whole) {
    const double up = std::clamp(front.top - whole.top, 0.0, wanted.up);
    const double least = std::min(whole.left - front.left, 0.0);
    const double most = std::max(whole.right - front.right, 0.0);
    return {front, up, std::clamp(wanted.aside, least, most)};
}

/// The edge along which the slices stand, beside which there is nothing else.
SliceLine DepthLine(const WaterfallSpace& space, bool isLastInFront) {
    const Rect back = space.At(1.0);
    const bool isLeft = space.aside < 0.0;
    SliceLine line{{isLeft ? space.front.left : space.front.right, space.front.bottom},
                   {isLeft ? back.left : back.right, back.bottom},
                   isLeft};
    if (isLastInFront) std::swap(line.first, line.last);
    return line;
}

/// Slices with the largest values of neighbours, so that there are not more than `most`; the memory of those
/// that are new is in `values`.
std::vector<CurveSamples> Joined(std::span<const CurveSamples> slices, std::size_t most,
                                 std::vector<std::vector<double>>* values) {
    if (slices.size() <= most) return {slices.begin(), slices.end()};
    std::vector<CurveSamples> joined;
    for (std::size_t i = 0; i < most; ++i) {
        const std::size_t first = i * slices.size() / most;
        const std::size_t end = (i + 1) * slices.size() / most;
        CurveSamples& sum = joined.emplace_back(slices[first]);
        std::vector<double>& largest = values->emplace_back(sum.y.begin(), sum.y.end());
        for (const CurveSamples& slice : slices.subspan(first + 1, end - first - 1)) {
            const std::size_t count = std::min(largest.size(), slice.y.size());
            for (std::size_t k = 0; k < count; ++k) {
                // The no-value marker is the lowest of all values; NaN gives way to any other.
                if (!(largest[k] >= slice.y[k])) largest[k] = slice.y[k];
            }
        }
        sum.y = largest;
    }
    return joined;
}

/// Where everything of a waterfall stands.
struct WaterfallLayout {
    std::optional<PlacedText> title;
    ChartLayout frame;  ///< of the front slice
    WaterfallSpace space;
    SliceLine depthLine;
    SliceAxisLayout axis;  ///< along the depth
};

/// A plot without curves, with the axis of the values at the left, or at the right where slices go to the
/// left.
Chart FrameChart(const DepthChart& chart, double letterSize) {
    Chart frame;
    frame.title = chart.title;
    frame.x = chart.x;
    frame.legend = LegendPlace::kNone;
    frame.hasNumbers = chart.hasNumbers;
    frame.letterSize = letterSize;
    if (chart.shift < 0.0) {
        frame.y.bounds = {0.0, 0.0};  // no ticks: the values stand at the right
        frame.y2 = chart.y;
    } else {
        frame.y = chart.y;
    }
    return frame;
}

/// The first layout tells how large the whole is and where its title stands; the others are those of the
/// front slice, with room for the way to the back and finally for the texts beside it.
WaterfallLayout LayOutWaterfall(const DepthChart& chart, const Rect& area, double pointLength,
                                const TextMeasure& measure) {
    const double em = LetterSizeFor({area.Width(), area.Height()}, pointLength);
    Chart frame = FrameChart(chart, em);
    WaterfallLayout layout;
    layout.frame = LayOutChart(frame, area, pointLength, measure);
    layout.title = std::move(layout.frame.title);
    frame.title.clear();
    Rect whole = layout.frame.plot;
    const double left = whole.left - area.left;
    const double right = area.right - whole.right;
    const double below = area.bottom - whole.bottom;
    for (const bool isLast : {false, true}) {
        layout.space = WaterfallSpace::Within(whole, chart.rise, chart.shift);
        const Rect& front = layout.space.front;
        const Rect around{front.left - left, front.top - kAbovePlot * em, front.right + right,
                          front.bottom + below};
        layout.frame = LayOutChart(frame, around, pointLength, measure);
        layout.space = Placed(layout.space, layout.frame.plot, whole);
        layout.depthLine = DepthLine(layout.space, chart.isLastInFront);
        layout.axis = LayOutSliceAxis(chart, layout.depthLine, em, pointLength, measure);
        if (isLast) break;
        const double margin = detail::kOuterMargin * em;
        whole.left += layout.axis.LeftOf(area.left + margin);
        whole.right -= layout.axis.RightOf(area.right - margin);
    }
    return layout;
}

/// The walls and the floor of the box, the axes at its edges and the slices in it.
class WaterfallPainter {
public:
    WaterfallPainter(const DepthChart& chart, const ChartLayout& layout, const WaterfallSpace& space,
                     const ChartColors& colors, Canvas& canvas)
        : chart_(chart),
          layout_(layout),
          colors_(colors),
          canvas_(canvas),
          space_(space),
          front_(space.front),
          back_(space.At(1.0)),
          isMirrored_(space.aside < 0.0) {}

    void DrawWalls() const {
        const COLORREF ground = colors_.Of(Compo::COMPO_GRAPH_BACK);
        canvas_.FillRect(back_, ground);
        FillBetween({front_.left, front_.bottom}, {front_.right, front_.bottom}, ground);
        FillBetween({Side(front_), front_.top}, {Side(front_), front_.bottom}, ground);
        if (chart_.hasGrid) DrawGrid();
        FineLines lines(canvas_);
        lines.AddHorizontal(back_.bottom, back_.left, back_.right);
        lines.AddHorizontal(back_.top, back_.left, back_.right);
        lines.AddVertical(back_.left, back_.top, back_.bottom);
        lines.AddVertical(back_.right, back_.top, back_.bottom);
        lines.AddSlanted({front_.left, front_.bottom}, {back_.left, back_.bottom});
        lines.AddSlanted({front_.right, front_.bottom}, {back_.right, back_.bottom});
        lines.AddSlanted({Side(front_), front_.top}, {Side(back_), back_.top});
        lines.Draw(colors_.Of(Compo::COMPO_FRAME));
    }

    /// The axes at the front lie on the slices behind, and below the line of the slice that is in front.
    void DrawSlices() const {
        std::vector<std::vector<double>> values;
        const auto most = static_cast<std::size_t>(CGraphLineInfoList::GetWaterfallMaxLineNum());
        const std::vector<CurveSamples> slices = Joined(chart_.slices, most, &values);
        const __int64 count = std::ssize(slices);
        for (__int64 i = 0; i < count; ++i) {
            const __int64 index = chart_.isLastInFront ? i : count - 1 - i;  // from the back to the front
            const double depth = Depth(index, count, chart_.isLastInFront);
            const SlicePaths paths = PathsOf(slices[static_cast<std::size_t>(index)], depth);
            FillSlice(paths, depth);
            if (i + 1 == count) DrawAxisLines();
            StrokeSlice(paths, depth);
        }
    }

    /// Cursors, and the texts of the axes.
    void DrawRest() const {
        FineLines lines(canvas_);
        for (const double cursor : chart_.cursors) {
            const double x = layout_.x.mapping.ToPixel(cursor);
            if (x >= front_.left && x <= front_.right) lines.AddVertical(x, front_.top, front_.bottom);
        }
        lines.Draw(colors_.Of(Compo::COMPO_CURSOR));
        const COLORREF text = colors_.Of(Compo::COMPO_TEXT);
        for (const AxisLayout* axis : {&layout_.x, &Values()}) {
            for (const PlacedText& number : axis->numbers) DrawPlacedText(number, text, canvas_);
            for (const PlacedText& title : axis->titles) DrawPlacedText(title, text, canvas_);
        }
    }

private:
    /// What is drawn of a slice.
    struct SlicePaths {
        Path line;
        Path below;  ///< around what lies between the line and the foot of the slice
    };

    void DrawAxisLines() const {
        FineLines lines(canvas_);
        lines.AddHorizontal(front_.bottom, front_.left, front_.right);
        lines.AddVertical(Side(front_), front_.top, front_.bottom);
        const double inward = isMirrored_ ? -1.0 : 1.0;
        for (const PlacedTick& tick : layout_.x.ticks)
            lines.AddVertical(tick.pixel, front_.bottom - detail::TickLength(tick.isMajor, canvas_),
                              front_.bottom);
        for (const PlacedTick& tick : Values().ticks) {
            const double length = inward * detail::TickLength(tick.isMajor, canvas_);
            lines.AddHorizontal(tick.pixel, Side(front_), Side(front_) + length);
        }
        lines.Draw(colors_.Of(Compo::COMPO_FRAME));
    }

    const AxisLayout& Values() const { return isMirrored_ && layout_.y2 ? *layout_.y2 : layout_.y; }

    /// The side of a slice at which the axis of the values stands, away from where the slices go.
    double Side(const Rect& slice) const { return isMirrored_ ? slice.right : slice.left; }

    Point AtBack(Point front) const {
        return {front.x + back_.left - front_.left, front.y + back_.top - front_.top};
    }

    /// Fills what lies between an edge in front and the same at the back.
    void FillBetween(Point from, Point to, COLORREF color) const {
        Path path;
        path.MoveTo(from);
        path.LineTo(to);
        path.LineTo(AtBack(to));
        path.LineTo(AtBack(from));
        canvas_.Fill(path, color);
    }

    /// At the major ticks: more would hatch the slanted wall.
    void DrawGrid() const {
        FineLines lines(canvas_);
        for (const PlacedTick& tick : layout_.x.ticks) {
            if (!tick.isMajor) continue;
            const Point foot{tick.pixel, front_.bottom};
            lines.AddSlanted(foot, AtBack(foot));
            lines.AddVertical(AtBack(foot).x, back_.top, back_.bottom);
        }
        for (const PlacedTick& tick : Values().ticks) {
            if (!tick.isMajor) continue;
            const Point end{Side(front_), tick.pixel};
            lines.AddSlanted(end, AtBack(end));
            lines.AddHorizontal(AtBack(end).y, back_.left, back_.right);
        }
        lines.Draw(colors_.Of(Compo::COMPO_GRID));
    }

    SlicePaths PathsOf(const CurveSamples& samples, double depth) const {
        const Rect slice = space_.At(depth);
        const CurveFrame frame{AxisMapping::Between(chart_.x.bounds, slice.left, slice.right, chart_.x.form),
                               AxisMapping::Between(chart_.y.bounds, slice.bottom, slice.top, chart_.y.form),
                               {slice.left, -kNoEdge, slice.right, kNoEdge},
                               canvas_.GetFineness()};
        SlicePaths paths;
        if (!(frame.x.scale > 0.0) || !(frame.y.scale < 0.0)) return paths;
        auto& [line, below] = paths;
        const Path path = LinePath(samples, frame);
        for (std::size_t i = 0; i < path.GetRunNum(); ++i) {
            const std::vector<Point> run = ClampedRun(path.GetRun(i), slice.top, slice.bottom);
            below.MoveTo({run.front().x, slice.bottom});
            line.MoveTo(run.front());
            for (const Point& point : run) {
                below.LineTo(point);
                line.LineTo(point);
            }
            below.LineTo({run.back().x, slice.bottom});
        }
        return paths;
    }

    Pen PenAt(double depth) const {
        Pen pen = LinePen(chart_.look, colors_.output, canvas_.GetPointLength());
        pen.color = MixColors(pen.color, colors_.Of(Compo::COMPO_GRAPH_BACK), kFade * depth);
        return pen;
    }

    void FillSlice(const SlicePaths& paths, double depth) const {
        if (!chart_.isSolid) return;
        const COLORREF ground = colors_.Of(Compo::COMPO_GRAPH_BACK);
        canvas_.Fill(paths.below, chart_.isFilled ? MixColors(ground, PenAt(depth).color, kTint) : ground);
    }

    void StrokeSlice(const SlicePaths& paths, double depth) const {
        const Pen pen = PenAt(depth);
        if (pen.type != CKvxGraphLineSample::LINE_NONE) canvas_.Stroke(paths.line, pen);
    }

    const DepthChart& chart_;
    const ChartLayout& layout_;
    const ChartColors& colors_;
    Canvas& canvas_;
    WaterfallSpace space_;
    Rect front_;
    Rect back_;
    bool isMirrored_;
};

}  // namespace

WaterfallSpace WaterfallSpace::Within(const Rect& area, double rise, double shift) {
    const double height = area.Height() / (1.0 + std::max(FiniteOrZero(rise), 0.0));
    const double width = area.Width() / (1.0 + std::abs(FiniteOrZero(shift)));
    WaterfallSpace space{area, area.Height() - height, std::copysign(area.Width() - width, shift)};
    space.front.top = area.bottom - height;
    (space.aside < 0.0 ? space.front.left : space.front.right) -= space.aside;
    return space;
}

Rect WaterfallSpace::At(double depth) const {
    const double x = aside * depth;
    const double y = up * depth;
    return {front.left + x, front.top - y, front.right + x, front.bottom - y};
}

std::vector<Point> ClampedRun(std::span<const Point> run, double top, double bottom) {
    std::vector<Point> clamped;
    const auto add = [&](Point point) { clamped.push_back({point.x, std::clamp(point.y, top, bottom)}); };
    for (std::size_t i = 0; i < run.size(); ++i) {
        if (i > 0) {
            const Point& from = run[i - 1];
            const Point& to = run[i];
            // The edges in the order in which the segment may cross them.
            const double edges[] = {to.y > from.y ? top : bottom, to.y > from.y ? bottom : top};
            for (const double edge : edges) {
                if ((from.y < edge) == (to.y < edge) || from.y == edge || to.y == edge) continue;
                add({std::lerp(from.x, to.x, (edge - from.y) / (to.y - from.y)), edge});
            }
        }
        add(run[i]);
    }
    return clamped;
}

void DrawWaterfall(const DepthChart& chart, const Rect& area, const ChartColors& colors, Canvas& canvas) {
    if (chart.slices.empty()) return;
    const WaterfallLayout layout = LayOutWaterfall(chart, area, canvas.GetPointLength(), canvas);
    canvas.FillRect(area, colors.Of(Compo::COMPO_WINDOW_BACK));
    const WaterfallPainter painter(chart, layout.frame, layout.space, colors, canvas);
    painter.DrawWalls();
    painter.DrawSlices();
    painter.DrawRest();
    const COLORREF text = colors.Of(Compo::COMPO_TEXT);
    if (layout.title) DrawPlacedText(*layout.title, text, canvas);
    DrawSliceAxis(layout.axis, layout.depthLine, colors.Of(Compo::COMPO_FRAME), text, canvas);
}

}  // namespace kvx::plot
