// SPDX-License-Identifier: MIT
#include <KvxPlot01/ChartLayout.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace kvx::plot {
namespace {

constexpr double kLetterPoints = 9.0;
constexpr Size kUsualPoints{600.0, 375.0};

// Lengths over the size of the letters.
constexpr double kLine = 1.25;        // height of a line of text
constexpr double kMargin = 0.7;       // around everything
constexpr double kGap = 0.45;         // between a plot and its numbers, between numbers and titles
constexpr double kTitleGap = 0.2;     // between the numbers and the title of X
constexpr double kBelow = 0.65;       // between a plot and the numbers of X: clear of the lowest one of Y
constexpr double kNumberGap = 1.5;    // least room between numbers side by side
constexpr double kNumberPitch = 2.6;  // least distance of numbers one above the other
constexpr double kSample = 2.8;       // length of a line's sample in the legend
constexpr double kEntry = 1.45;       // height of an entry in the legend
constexpr double kLeastName = 2.0;    // least room for a name there
constexpr double kTitle = 1.15;       // size of the title's letters
// Distance of minor grid lines in points.
constexpr double kMinorPoints = 3.5;
constexpr double kLegendShare = 0.2;
constexpr double kMostLegendShare = 0.45;
constexpr std::size_t kMostLetters = 300;

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

bool IsShowable(const ChartAxis& axis) {
    const AxisMapping mapping = AxisMapping::Between(axis.bounds, 0.0, 1.0, axis.form);
    return axis.bounds.low < axis.bounds.high && mapping.scale > 0.0 &&
           (axis.form == AxisForm::kLinear || axis.bounds.low > 0.0);
}

/// Edges between pixels would be blurred lines.
Rect OnPixels(const Rect& rect) {
    const auto middle = [](double coordinate) { return std::floor(coordinate) + 0.5; };
    return {middle(rect.left), middle(rect.top), middle(rect.right), middle(rect.bottom)};
}

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
struct Frame {
    Rect area;
    double letterSize = 0.0;
    PlotMargins least = {};
};

/// Works out one chart with certain parts. The heights come first: they do not depend on any number's width.
class Layouter {
public:
    Layouter(const Chart& chart, const Frame& frame, double pointLength, const TextMeasure& measure)
        : chart_(chart), frame_(frame), pointLength_(pointLength), measure_(measure), em_(frame.letterSize) {
        layout_.area = frame.area;
        layout_.letterSize = frame.letterSize;
    }

    /// Whether the plot is large enough.
    bool LayOut(const Parts& parts) {
        parts_ = parts;
        Rect room = layout_.area.Inset(
            std::min(kMargin * em_, 0.05 * std::min(layout_.area.Width(), layout_.area.Height())));
        const bool hasTitle = parts_.hasTitles && !chart_.title.empty();
        const double titleTop = room.top;
        if (hasTitle) room.top += kTitle * kLine * em_ + kGap * em_;
        TakeLegend(&room);

        const bool hasNumbers = parts_.hasNumbers && chart_.hasNumbers;
        room.bottom -= hasNumbers ? (kLine + kBelow) * em_ : 0.0;
        const bool hasXTitle = parts_.hasTitles && !chart_.x.title.empty();
        if (hasXTitle) room.bottom -= (kLine + kTitleGap) * em_;
        room.top += hasNumbers ? 0.5 * em_ : 0.0;  // the upper half of the highest number
        room.right -= chart_.rightRoom;

        TickPlan y = PlanUpright(chart_.y, room.Height());
        TickPlan y2 = chart_.y2 ? PlanUpright(*chart_.y2, room.Height()) : TickPlan{};
        if (!y.factor.empty() || !y2.factor.empty()) {
            room.top += kLine * em_;
            y = PlanUpright(chart_.y, room.Height());
            if (chart_.y2) y2 = PlanUpright(*chart_.y2, room.Height());
        }
        room.left += UprightWidth(chart_.y, y);
        const double overhang = hasNumbers ? 1.2 * em_ : 0.0;  // half of the last number of X
        room.right -= chart_.y2 ? UprightWidth(*chart_.y2, y2) : overhang;
        room.left = std::max(room.left, frame_.area.left + frame_.least.left);
        room.right = std::min(room.right, frame_.area.right - frame_.least.right);
        Rect plot = OnPixels(room);
        TickPlan x = PlanLevel(plot.Width());
        if (!x.factor.empty() && !hasXTitle) {
            plot.bottom = std::floor(plot.bottom - (kLine + kTitleGap) * em_) + 0.5;
        }
        layout_.plot = plot;
        if (!IsLargeEnough()) return false;

        PlaceLevel(x);
        PlaceUpright(chart_.y, y, Side::kLeft, &layout_.y);
        if (chart_.y2) PlaceUpright(*chart_.y2, y2, Side::kRight, &layout_.y2.emplace());
        if (hasTitle) {
            const Point anchor{plot.Center().x, titleTop};
            PlaceCut(chart_.title, anchor, {kTitle * em_, 0, Align::kMiddle, Align::kStart},
                     layout_.area.Width(), &layout_.title);
        }
        PlaceLegend();
        return true;
    }

    /// Nothing but the plot over the whole area.
    void LayOutBare() {
        const Rect& area = layout_.area;
        const Rect inner = OnPixels({area.left, area.top, area.right - 1.0, area.bottom - 1.0});
        layout_.plot = inner.IsEmpty() ? area : inner;
        parts_ = kPartSteps.back();
        PlaceLevel({});
        PlaceUpright(chart_.y, {}, Side::kLeft, &layout_.y);
        if (chart_.y2) PlaceUpright(*chart_.y2, {}, Side::kRight, &layout_.y2.emplace());
    }

    ChartLayout TakeLayout() { return std::move(layout_); }

private:
    enum class Side { kLeft, kRight };

    double WidthOf(std::wstring_view text) const { return measure_.Measure(text, em_).width; }

    void PlaceCut(const std::wstring& text, Point anchor, const TextStyle& style, double room,
                  std::optional<PlacedText>* placed) const {
        std::wstring cut = CutText(text, style.size, room, measure_);
        if (!cut.empty()) *placed = PlaceText(std::move(cut), anchor, style, measure_);
    }

    /// The title of an axis, or in little room its short one.
    void PlaceTitle(const ChartAxis& described, Point anchor, const TextStyle& style, double room,
                    AxisLayout* axis) const {
        if (!parts_.hasTitles) return;
        const bool isShort = !described.shortTitle.empty() && WidthOf(described.title) > room;
        std::optional<PlacedText> title;
        PlaceCut(isShort ? described.shortTitle : described.title, anchor, style, room, &title);
        if (title) axis->titles.push_back(*std::move(title));
    }

    bool IsLargeEnough() const {
        const Rect& area = layout_.area;
        const double width = std::max(0.4 * area.Width(), 5.0 * em_);
        const double height = std::max(0.35 * area.Height(), 3.0 * em_);
        return layout_.plot.Width() >= width && layout_.plot.Height() >= height;
    }

    // ---- Axes ----

    TickPlan Plan(const ChartAxis& axis, double length,
                  const std::function<bool(const TickPlan&)>& fits) const {
        if (!IsShowable(axis) || !(length > 0.0)) return {};
        TickPlan plan =
            PlanTicks(axis.bounds, axis.form, length, kMinorPoints * pointLength_, axis.ticks, fits);
        if (!parts_.hasNumbers || !chart_.hasNumbers) {
            plan.factor.clear();
            for (Tick& tick : plan.ticks) tick.number.clear();
        }
        return plan;
    }

    TickPlan PlanUpright(const ChartAxis& axis, double length) const {
        const AxisMapping mapping = AxisMapping::Between(axis.bounds, 0.0, length, axis.form);
        return Plan(axis, length, [&](const TickPlan& plan) {
            double last = -1e300;
            for (const Tick& tick : plan.ticks) {
                if (tick.number.empty()) continue;
                const double pixel = mapping.ToPixel(tick.value);
                if (pixel - last < kNumberPitch * em_) return false;
                last = pixel;
            }
            return true;
        });
    }

    TickPlan PlanLevel(double length) const {
        const AxisMapping mapping = AxisMapping::Between(chart_.x.bounds, 0.0, length, chart_.x.form);
        return Plan(chart_.x, length, [&](const TickPlan& plan) {
            double lastEnd = -1e300;
            for (const Tick& tick : plan.ticks) {
                if (tick.number.empty()) continue;
                const double pixel = mapping.ToPixel(tick.value);
                const double width = std::max(WidthOf(tick.number), kNumberGap * em_);
                if (pixel - width / 2.0 - lastEnd < kNumberGap * em_) return false;
                lastEnd = pixel + width / 2.0;
            }
            return true;
        });
    }

    double WidestNumber(const TickPlan& plan) const {
        double widest = 0.0;
        for (const Tick& tick : plan.ticks) {
            if (!tick.number.empty()) widest = std::max(widest, WidthOf(tick.number));
        }
        return widest;
    }

    /// Width of what stands beside the plot for an upright axis.
    double UprightWidth(const ChartAxis& axis, const TickPlan& plan) const {
        const double numbers = WidestNumber(plan);
        const bool hasTitle = parts_.hasTitles && !axis.title.empty();
        return (numbers > 0.0 ? numbers + kGap * em_ : 0.0) + (hasTitle ? (kLine + kGap) * em_ : 0.0);
    }

    void PlaceLevel(const TickPlan& plan) {
        const Rect& plot = layout_.plot;
        AxisLayout& axis = layout_.x;
        axis.mapping = AxisMapping::Between(chart_.x.bounds, plot.left, plot.right, chart_.x.form);
        double below = plot.bottom + kBelow * em_;
        const TextStyle numberStyle{em_, 0, Align::kMiddle, Align::kStart};
        for (const Tick& tick : plan.ticks) {
            const double pixel = axis.mapping.ToPixel(tick.value);
            axis.ticks.push_back({pixel, tick.isMajor});
            if (tick.number.empty()) continue;
            axis.numbers.push_back(PlaceText(tick.number, {pixel, below}, numberStyle, measure_));
        }
        if (parts_.hasNumbers && chart_.hasNumbers) below += (kLine + kTitleGap) * em_;
        double titleRoom = plot.Width();
        if (!plan.factor.empty()) {
            axis.titles.push_back(
                PlaceText(plan.factor, {plot.right, below}, {em_, 0, Align::kEnd, Align::kStart}, measure_));
            titleRoom -= 2.0 * (WidthOf(plan.factor) + kNumberGap * em_);
        }
        PlaceTitle(chart_.x, {plot.Center().x, below}, {em_, 0, Align::kMiddle, Align::kStart}, titleRoom,
                   &axis);
    }

    void PlaceUpright(const ChartAxis& described, const TickPlan& plan, Side side, AxisLayout* axis) const {
        const Rect& plot = layout_.plot;
        const double outward = side == Side::kLeft ? -1.0 : 1.0;
        const double edge = side == Side::kLeft ? plot.left : plot.right;
        const Align nearEdge = side == Side::kLeft ? Align::kEnd : Align::kStart;
        axis->mapping = AxisMapping::Between(described.bounds, plot.bottom, plot.top, described.form);
        const TextStyle numberStyle{em_, 0, nearEdge, Align::kMiddle};
        for (const Tick& tick : plan.ticks) {
            const double pixel = axis->mapping.ToPixel(tick.value);
            axis->ticks.push_back({pixel, tick.isMajor});
            if (tick.number.empty()) continue;
            const Point anchor{edge + outward * kGap * em_, pixel};
            axis->numbers.push_back(PlaceText(tick.number, anchor, numberStyle, measure_));
        }
        if (!plan.factor.empty()) {
            const Align across = side == Side::kLeft ? Align::kStart : Align::kEnd;
            axis->titles.push_back(PlaceText(plan.factor, {edge, plot.top - kGap * em_},
                                             {em_, 0, across, Align::kEnd}, measure_));
        }
        const double numbers = WidestNumber(plan);
        const double beside = (numbers > 0.0 ? numbers + kGap * em_ : 0.0) + kGap * em_;
        const Align towardsPlot = side == Side::kLeft ? Align::kEnd : Align::kStart;
        PlaceTitle(described, {edge + outward * beside, plot.Center().y},
                   {em_, 0, Align::kMiddle, towardsPlot, true}, plot.Height(), axis);
    }

    // ---- Legend ----

    double LegendLetters() const { return parts_.legendScale * em_; }

    std::vector<std::size_t> NamedCurves() const {
        std::vector<std::size_t> named;
        for (std::size_t i = 0; i < chart_.curves.size(); ++i) {
            if (!chart_.curves[i].name.empty()) named.push_back(i);
        }
        return named;
    }

    /// Takes the legend's room from `*room`: columns of entries on the right, or rows of them below.
    void TakeLegend(Rect* room) {
        layout_.legend.reset();
        named_ = NamedCurves();
        if (!parts_.hasLegend || chart_.legend == LegendPlace::kNone || named_.empty()) return;
        const double letters = LegendLetters();
        const double padding = kGap * letters;
        double widest = 0.0;
        for (const std::size_t curve : named_) {
            const std::wstring_view name =
                std::wstring_view(chart_.curves[curve].name).substr(0, kMostLetters);
            widest = std::max(widest, measure_.Measure(name, letters).width);
        }
        const double besideName = (kSample + 3.0 * kGap) * letters;
        const double count = static_cast<double>(named_.size());
        const double inside = room->Width() - 2.0 * padding;
        if (chart_.legend == LegendPlace::kBelow) {
            cellWidth_ = std::min(widest + besideName, inside);
            perColumn_ =
                static_cast<std::size_t>(std::ceil(count / std::max(1.0, std::floor(inside / cellWidth_))));
            const double height = static_cast<double>(perColumn_) * kEntry * letters + 2.0 * padding;
            layout_.legend = Rect{room->left, room->bottom - height, room->right, room->bottom};
            room->bottom -= height + kGap * em_;
            return;
        }
        const double rows = std::max(1.0, std::floor((room->Height() - 2.0 * padding) / (kEntry * letters)));
        const double columns = std::ceil(count / rows);
        perColumn_ = static_cast<std::size_t>(std::ceil(count / columns));
        const double share = chart_.isLegendWidthFromText ? kMostLegendShare : kLegendShare * columns;
        const double most = std::min(share, kMostLegendShare) * layout_.area.Width();
        cellWidth_ = std::min(widest + besideName, (most - 2.0 * padding) / columns);
        if (!chart_.isLegendWidthFromText) cellWidth_ = (most - 2.0 * padding) / columns;
        if (cellWidth_ < besideName + std::min(widest, kLeastName * letters)) return;
        const double width = columns * cellWidth_ + 2.0 * padding;
        const double height = static_cast<double>(perColumn_) * kEntry * letters + 2.0 * padding;
        layout_.legend = Rect{room->right - width, room->top, room->right, room->top + height};
        room->right -= width + kMargin * em_;
    }

    void PlaceLegend() {
        layout_.entries.clear();
        if (!layout_.legend) return;
        const double letters = LegendLetters();
        const double padding = kGap * letters;
        Rect& legend = *layout_.legend;
        if (chart_.legend != LegendPlace::kBelow) {
            const double height = legend.Height();
            legend.top = std::min(layout_.plot.top, layout_.area.bottom - height);
            legend.bottom = legend.top + height;
        }
        legend = OnPixels(legend);
        for (std::size_t i = 0; i < named_.size(); ++i) {
            const std::size_t column = i / perColumn_;
            const std::size_t row = i % perColumn_;
            const double left = legend.left + padding + static_cast<double>(column) * cellWidth_;
            const double top = legend.top + padding + static_cast<double>(row) * kEntry * letters;
            LegendEntry entry;
            entry.curve = named_[i];
            entry.sample = {left + kGap * letters, top, left + (kGap + kSample) * letters,
                            top + kEntry * letters};
            const double nameLeft = entry.sample.right + kGap * letters;
            const double nameRoom = left + cellWidth_ - nameLeft;
            std::wstring name = CutText(chart_.curves[named_[i]].name, letters, nameRoom, measure_);
            entry.name = PlaceText(std::move(name), {nameLeft, entry.sample.Center().y},
                                   {letters, 0, Align::kStart, Align::kMiddle}, measure_);
            layout_.entries.push_back(std::move(entry));
        }
    }

    const Chart& chart_;
    const Frame& frame_;
    double pointLength_;
    const TextMeasure& measure_;
    ChartLayout layout_;
    Parts parts_;
    double em_;
    std::vector<std::size_t> named_;
    double cellWidth_ = 0.0;
    std::size_t perColumn_ = 1;
};

ChartLayout LayOutIn(const Frame& frame, const Chart& chart, double pointLength, const TextMeasure& measure) {
    for (const Parts& parts : kPartSteps) {
        Layouter layouter(chart, frame, pointLength, measure);
        if (layouter.LayOut(parts)) return layouter.TakeLayout();
    }
    Layouter layouter(chart, frame, pointLength, measure);
    layouter.LayOutBare();
    return layouter.TakeLayout();
}

/// Where a text of that extent begins when this part of it lies at 0.
double StartOf(Align align, double extent) {
    switch (align) {
        case Align::kMiddle:
            return -extent / 2.0;
        case Align::kEnd:
            return -extent;
        default:
            return 0.0;
    }
}

}  // namespace

PlacedText PlaceText(std::wstring text, Point anchor, const TextStyle& style, const TextMeasure& measure) {
    const Size size = measure.Measure(text, style.size);
    const double along = StartOf(style.across, size.width);
    const double down = StartOf(style.down, size.height);
    const Rect box = style.isUpright ? Rect{anchor.x + down, anchor.y - along - size.width,
                                            anchor.x + down + size.height, anchor.y - along}
                                     : Rect{anchor.x + along, anchor.y + down, anchor.x + along + size.width,
                                            anchor.y + down + size.height};
    return {std::move(text), anchor, style, box};
}

std::wstring CutText(std::wstring_view text, double letterSize, double width, const TextMeasure& measure) {
    const std::wstring whole(text.substr(0, kMostLetters));
    if (text.size() <= kMostLetters && measure.Measure(whole, letterSize).width <= width) return whole;
    // An end without its beginning would lose markup.
    const bool hasMarkup = text.find(L'#') != std::wstring_view::npos;
    const auto cut = [&](std::size_t letters) {
        const std::size_t end = hasMarkup ? 0 : letters / 2;
        return whole.substr(0, letters - end).append(L"#n…").append(text.substr(text.size() - end));
    };
    const auto fits = [&](std::size_t letters) {
        return measure.Measure(cut(letters), letterSize).width <= width;
    };
    if (!fits(0)) return {};
    std::size_t fitting = 0;
    for (std::size_t tooMany = whole.size() + 1; tooMany - fitting > 1;) {
        const std::size_t middle = fitting + (tooMany - fitting) / 2;
        (fits(middle) ? fitting : tooMany) = middle;
    }
    // Half a markup would show as a "#".
    if (fitting > 0 && whole[fitting - 1] == L'#') --fitting;
    return cut(fitting);
}

double LetterSizeFor(Size size, double pointLength) {
    const double ratio = std::min(size.width / (kUsualPoints.width * pointLength),
                                  size.height / (kUsualPoints.height * pointLength));
    return kLetterPoints * pointLength * std::clamp(std::sqrt(std::max(ratio, 0.0)), 0.75, 4.0);
}

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
