// SPDX-License-Identifier: MIT
#include <KvxPlot01/ColorMap.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/ValueColors.h>
#include <KvxPlot01/detail/FineLines.h>
#include <KvxPlot01/detail/ShownValues.h>
#include <KvxPlot01/detail/SliceAxisLayout.h>

namespace kvx::plot {
namespace {

using Compo = CGraphColorInfo;
using detail::DrawSliceAxis;
using detail::LayOutSliceAxis;
using detail::SliceAxisLayout;
using detail::SliceLine;

// Lengths over the size of the letters.
constexpr double kScaleGap = 0.8;  // between the plot and the scale of its colours
constexpr double kScaleWidth = 1.3;

constexpr double kMostPixels = 16'000.0;  // of a side

constexpr float kNone = -1.0F;  // in between; parts of the scale are 0 to 1

/// What a column or row of pixels shows: the largest of `count` samples (or slices) from `first` on or, with
/// a `weight`, of two neighbours the blend in which the second one weighs so much.
struct Origin {
    __int64 first = 0;
    __int64 count = 0;
    float weight = 0.0F;
};

/// The origins of `pixels` pixels for samples at these places, which ascend.
std::vector<Origin> FindOrigins(std::span<const double> places, __int64 pixels, bool isBlended) {
    std::vector<Origin> origins(static_cast<std::size_t>(std::max<__int64>(pixels, 0)));
    const __int64 count = std::ssize(places);
    const auto at = [&](__int64 i) { return places[static_cast<std::size_t>(i)]; };
    __int64 next = std::ranges::lower_bound(places, 0.0) - places.begin();
    for (std::size_t pixel = 0; pixel < origins.size(); ++pixel) {
        const __int64 first = next;
        while (next < count && at(next) < static_cast<double>(pixel + 1)) ++next;
        Origin& origin = origins[pixel];
        if (next > first) {
            origin = {first, next - first, 0.0F};
            continue;
        }
        const double middle = static_cast<double>(pixel) + 0.5;
        const __int64 before = first - 1;
        if (before >= 0 && first < count) {
            const double part = (middle - at(before)) / (at(first) - at(before));
            if (isBlended && part > 0.0) {
                origin = {before, 2, static_cast<float>(part)};
            } else {
                origin = {part < 0.5 ? before : first, 1, 0.0F};
            }
        } else if (count == 1) {
            origin = {0, 1, 0.0F};
        } else if (first < count) {
            if (at(0) - middle <= (at(1) - at(0)) / 2.0) origin = {0, 1, 0.0F};
        } else if (before >= 0) {
            if (middle - at(before) <= (at(before) - at(before - 1)) / 2.0) origin = {before, 1, 0.0F};
        }
    }
    return origins;
}

float Blend(float first, float second, float weight) {
    if (first == kNone || second == kNone) return weight < 0.5F ? first : second;
    return std::lerp(first, second, weight);
}

/// Standard values become shown ones.
void Show(const CValConv* shown, std::vector<double>& values) {
    if (shown != nullptr) ToShown(*shown, values);
}

/// Reduces slices to rows of pixels.
class MapReducer {
public:
    MapReducer(std::span<const CurveSamples> slices, const MapFrame& frame)
        : slices_(slices),
          frame_(frame),
          scale_(AxisMapping::Between(frame.values, 0.0, 1.0, frame.valueForm)),
          first_(static_cast<std::size_t>(std::max<__int64>(frame.columns, 0))),
          second_(first_.size()) {}

    /// The row of one slice, as wide as the frame.
    void Reduce(__int64 slice, std::span<float> row) {
        const CurveSamples& samples = slices_[static_cast<std::size_t>(slice)];
        FindColumns(samples);
        for (std::size_t i = 0; i < row.size(); ++i) {
            const Origin& origin = columns_[i];
            const bool isBlend = origin.weight > 0.0F;
            const auto first = static_cast<std::size_t>(origin.first);
            const auto count = static_cast<std::size_t>(isBlend ? 1 : origin.count);
            first_[i] = Largest(samples.y.subspan(first, count));
            second_[i] = isBlend ? Largest(samples.y.subspan(first + 1, 1)) : 0.0;
        }
        Show(samples.shownY, first_);
        Show(samples.shownY, second_);
        for (std::size_t i = 0; i < row.size(); ++i) {
            const float weight = columns_[i].weight;
            row[i] = weight > 0.0F ? Blend(PartOf(first_[i]), PartOf(second_[i]), weight) : PartOf(first_[i]);
        }
    }

private:
    /// What tells where the samples of a slice lie.
    struct Places {
        __int64 count = 0;
        const double* x = nullptr;
        double start = 0.0;
        double step = 0.0;
        const CValConv* shown = nullptr;

        bool operator==(const Places&) const = default;
    };

    /// Slices usually lie at the same X; then the columns' origins are found only once.
    void FindColumns(const CurveSamples& samples) {
        const Places wanted{samples.Count(), samples.x.data(), samples.start, samples.step, samples.shownX};
        if (places_ == wanted) return;
        places_ = wanted;
        std::vector<double> places(static_cast<std::size_t>(wanted.count));
        for (std::size_t i = 0; i < places.size(); ++i) places[i] = samples.XAt(static_cast<__int64>(i));
        Show(wanted.shown, places);
        double farthest = -std::numeric_limits<double>::infinity();
        for (double& place : places) place = farthest = std::fmax(farthest, frame_.x.ToPixel(place));
        columns_ = FindOrigins(places, frame_.columns, frame_.isBlended);
    }

    /// The largest of some samples; NaN when there is none.
    static double Largest(std::span<const double> samples) {
        // The no-value marker is the lowest of all values, and nothing is above NaN.
        double largest = kNoValue<double>;
        for (const double sample : samples) largest = sample > largest ? sample : largest;
        return largest > kNoValue<double> ? largest : std::numeric_limits<double>::quiet_NaN();
    }

    float PartOf(double shown) const {
        const double part = scale_.ToPixel(shown);
        return std::isnan(part) ? kNone : static_cast<float>(std::clamp(part, 0.0, 1.0));
    }

    std::span<const CurveSamples> slices_;
    const MapFrame& frame_;
    AxisMapping scale_;
    Places places_{.count = -1};  // of no slice yet
    std::vector<Origin> columns_;
    std::vector<double> first_;  // of each column the largest sample, or the first of two to be blended
    std::vector<double> second_;
};

__int64 PixelsOf(double length, double pixel) {
    return static_cast<__int64>(std::clamp(std::round(length / pixel), 1.0, kMostPixels));
}

/// A strip of all colours, the highest on top.
void DrawScale(const Rect& strip, const std::vector<PlacedTick>& ticks, COLORREF frame, Canvas& canvas) {
    std::vector<COLORREF> colors(ValueColors().rbegin(), ValueColors().rend());
    canvas.DrawImage(strip, colors, 1, std::ssize(colors), true);
    detail::FineLines lines(canvas);
    for (const PlacedTick& tick : ticks)
        lines.AddHorizontal(tick.pixel, strip.right - detail::TickLength(tick.isMajor, canvas), strip.right);
    lines.Draw(frame);
    canvas.StrokeRect(strip, {frame, lines.GetWidth()});
}

/// The colours of values; `ground` where there is none.
std::vector<COLORREF> ColorsOf(std::span<const float> values, COLORREF ground) {
    const auto& scale = ValueColors();
    std::vector<COLORREF> colors(values.size());
    std::ranges::transform(values, colors.begin(), [&](float value) {
        if (std::isnan(value)) return ground;
        const auto index = static_cast<std::size_t>(value * static_cast<float>(scale.size()));
        return scale[std::min(index, scale.size() - 1)];
    });
    return colors;
}

/// A plot without curves, with the scale of the colours as its second axis.
Chart FrameChart(const DepthChart& chart, double letterSize) {
    Chart frame;
    frame.title = chart.title;
    frame.x = chart.x;
    frame.y.bounds = {0.0, 0.0};  // no ticks: the axis of the slices has its own
    frame.y2 = chart.y;
    frame.cursors = chart.cursors;
    frame.legend = LegendPlace::kNone;
    frame.hasGrid = false;
    frame.letterSize = letterSize;
    frame.hasNumbers = chart.hasNumbers;
    return frame;
}

/// Draws the slices into the plot, pixel by pixel where there are any.
void DrawMap(const DepthChart& chart, const ChartLayout& layout, COLORREF ground, Canvas& canvas) {
    // The frame covers half a pixel at each edge.
    const Rect image = layout.plot.Inset(canvas.GetFineness() / 2.0);
    const AxisMapping& x = layout.x.mapping;
    if (image.IsEmpty() || !(x.scale > 0.0)) return;
    MapFrame map;
    map.columns = PixelsOf(image.Width(), canvas.GetFineness());
    map.rows = PixelsOf(image.Height(), canvas.GetFineness());
    const double density = static_cast<double>(map.columns) / image.Width();
    map.x = {x.scale * density, (x.origin - image.left) * density, x.form};
    map.values = chart.y.bounds;
    map.valueForm = chart.y.form;
    map.isLastAtBottom = chart.isLastInFront;
    map.isBlended = chart.isSolid;
    canvas.DrawImage(image, ColorsOf(MapPixels(chart.slices, map), ground), map.columns, map.rows, false);
}

void Move(PlacedText& text, double distance) {
    text.anchor.x += distance;
    text.box.left += distance;
    text.box.right += distance;
}

/// Where everything of a colour map stands.
struct ColorMapLayout {
    ChartLayout frame;  ///< its second axis has the numbers beside the scale of the colours, without ticks
    Rect scale;
    std::vector<PlacedTick> scaleTicks;
    SliceLine sliceLine;
    SliceAxisLayout axis;  ///< of the slices
};

/// Width and height of the plot do not depend on each other: the first layout tells which numbers the slices
/// get, the second leaves room for them.
ColorMapLayout LayOutColorMap(const DepthChart& chart, const Chart& frame, const Rect& area,
                              double pointLength, const TextMeasure& measure) {
    const double gap = kScaleGap * frame.letterSize;
    const double scaleWidth = kScaleWidth * frame.letterSize;
    ColorMapLayout layout;
    Rect room = area;
    room.right -= gap + scaleWidth;
    const Rect& plot = layout.frame.plot;
    for (const bool isLast : {false, true}) {
        layout.frame = LayOutChart(frame, room, pointLength, measure);
        const double half = plot.Height() / static_cast<double>(2 * chart.slices.size());
        layout.sliceLine = {{plot.left, plot.bottom - half}, {plot.left, plot.top + half}, true};
        if (chart.isLastInFront) std::swap(layout.sliceLine.first, layout.sliceLine.last);
        layout.axis = LayOutSliceAxis(chart, layout.sliceLine, frame.letterSize, pointLength, measure);
        if (!isLast) room.left += layout.axis.LeftOf(plot.left);
    }
    layout.scale = {plot.right + gap, plot.top, plot.right + gap + scaleWidth, plot.bottom};
    layout.scaleTicks = std::exchange(layout.frame.y2->ticks, {});
    for (PlacedText& text : layout.frame.y2->numbers) Move(text, gap + scaleWidth);
    for (PlacedText& text : layout.frame.y2->titles) Move(text, gap + scaleWidth);
    return layout;
}

}  // namespace

std::vector<float> MapPixels(std::span<const CurveSamples> slices, const MapFrame& frame) {
    const auto columns = static_cast<std::size_t>(std::max<__int64>(frame.columns, 0));
    const auto rows = static_cast<std::size_t>(std::max<__int64>(frame.rows, 0));
    std::vector<float> pixels(columns * rows, kNone);
    std::vector<double> places(slices.size());
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i] =
            (static_cast<double>(i) + 0.5) * static_cast<double>(rows) / static_cast<double>(places.size());

    MapReducer reducer(slices, frame);
    std::vector<float> one(columns), two(columns);
    std::pair<__int64, __int64> blended{-1, -1};  // the slices in these rows
    const std::vector<Origin> origins = FindOrigins(places, frame.rows, frame.isBlended);
    for (std::size_t i = 0; i < rows; ++i) {
        const Origin& origin = origins[i];
        const std::size_t line = frame.isLastAtBottom ? i : rows - 1 - i;
        const std::span<float> row(pixels.data() + line * columns, columns);
        if (origin.weight > 0.0F) {
            const std::pair wanted{origin.first, origin.first + 1};
            if (blended != wanted) {
                reducer.Reduce(wanted.first, one);
                reducer.Reduce(wanted.second, two);
                blended = wanted;
            }
            for (std::size_t column = 0; column < columns; ++column)
                row[column] = Blend(one[column], two[column], origin.weight);
            continue;
        }
        for (__int64 slice = origin.first; slice < origin.first + origin.count; ++slice) {
            reducer.Reduce(slice, one);
            std::ranges::transform(row, one, row.begin(), [](float a, float b) { return std::max(a, b); });
        }
        blended = {-1, -1};
    }
    std::ranges::replace(pixels, kNone, std::numeric_limits<float>::quiet_NaN());
    return pixels;
}

void DrawColorMap(const DepthChart& chart, const Rect& area, const ChartColors& colors, Canvas& canvas) {
    if (chart.slices.empty()) return;
    const Chart frame =
        FrameChart(chart, LetterSizeFor({area.Width(), area.Height()}, canvas.GetPointLength()));
    const ColorMapLayout layout = LayOutColorMap(chart, frame, area, canvas.GetPointLength(), canvas);
    const COLORREF lineColor = colors.Of(Compo::COMPO_FRAME);
    canvas.FillRect(area, colors.Of(Compo::COMPO_WINDOW_BACK));
    DrawChartGround(frame, layout.frame, colors, canvas);
    DrawMap(chart, layout.frame, colors.Of(Compo::COMPO_GRAPH_BACK), canvas);
    DrawScale(layout.scale, layout.scaleTicks, lineColor, canvas);
    DrawChartFrame(frame, layout.frame, colors, canvas);
    DrawSliceAxis(layout.axis, layout.sliceLine, lineColor, colors.Of(Compo::COMPO_TEXT), canvas);
}

}  // namespace kvx::plot
