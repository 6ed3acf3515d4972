// SPDX-License-Identifier: MIT
#include <KvxPlot01/Curve.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxPlot01/detail/ShownValues.h>
#include <KvxPlot01/detail/VisibleSamples.h>

namespace kvx::plot {
namespace {

// Far enough from any plot that cutting a line there does not turn it visibly.
constexpr double kFarthestPixel = 1e9;
constexpr double kBarWidth = 0.8;  // over the distance of the samples

struct Sample {
    Point pixel;
    __int64 index = 0;
};

/// Calls `use` with X, Y and index of each `stride`-th sample in the range, as shown values; Y of a gap is
/// NaN.
template <typename Use>
void ForEachShown(const CurveSamples& samples, const IndexRange& range, __int64 stride, Use use) {
    std::array<double, 512> x;
    std::array<double, 512> y;
    const __int64 end = range.first + range.count;
    for (__int64 first = (range.first + stride - 1) / stride * stride; first < end;) {
        const __int64 left = (end - first + stride - 1) / stride;
        const auto filled = static_cast<std::size_t>(std::min(left, static_cast<__int64>(x.size())));
        for (std::size_t i = 0; i < filled; ++i) {
            const __int64 index = first + static_cast<__int64>(i) * stride;
            x[i] = samples.XAt(index);
            y[i] = samples.YAt(index);
            if (x[i] == kNoValue<double> || y[i] == kNoValue<double>)
                y[i] = std::numeric_limits<double>::quiet_NaN();
        }
        if (samples.shownX != nullptr) ToShown(*samples.shownX, std::span(x).first(filled));
        if (samples.shownY != nullptr) ToShown(*samples.shownY, std::span(y).first(filled));
        for (std::size_t i = 0; i < filled; ++i) use(x[i], y[i], first + static_cast<__int64>(i) * stride);
        first += static_cast<__int64>(filled) * stride;
    }
}

/// Calls `use` with each `stride`-th sample that the frame may show, and `skip` where there is a gap.
template <typename Use, typename Skip>
void ForEachSample(const CurveSamples& samples, const CurveFrame& frame, __int64 stride, Use use, Skip skip) {
    if (samples.Count() == 0) return;
    stride = std::clamp<__int64>(stride, 1, samples.Count());
    const IndexRange visible =
        SamplesWithin(samples, frame.x.ToValue(frame.plot.left), frame.x.ToValue(frame.plot.right));
    ForEachShown(samples, visible, stride, [&](double x, double y, __int64 index) {
        const Point pixel{frame.x.ToPixel(x), frame.y.ToPixel(y)};
        if (std::isnan(pixel.x) || std::isnan(pixel.y)) {
            skip();
            return;
        }
        use(Sample{{std::clamp(pixel.x, -kFarthestPixel, kFarthestPixel),
                    std::clamp(pixel.y, -kFarthestPixel, kFarthestPixel)},
                   index});
    });
}

/// Gathers an extent.
class ExtentScan {
public:
    void Add(double value) {
        if (!std::isfinite(value)) return;
        low_ = std::min(low_, value);
        high_ = std::max(high_, value);
        if (value > 0.0) lowAboveZero_ = std::min(lowAboveZero_, value);
    }
    /// Adds many values, several at once.
    void Add(std::span<const double> values) {
        constexpr std::size_t kLanes = 8;
        constexpr double kHighest = std::numeric_limits<double>::max();
        std::array<ExtentScan, kLanes> lanes;
        std::size_t i = 0;
        for (; i + kLanes <= values.size(); i += kLanes) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                const double value = values[i + lane];
                const bool isFinite = std::abs(value) <= kHighest;
                const double low = isFinite ? value : kInfinity;
                const double high = isFinite ? value : -kInfinity;
                const double above = low > 0.0 ? low : kInfinity;
                ExtentScan& scan = lanes[lane];
                scan.low_ = low < scan.low_ ? low : scan.low_;
                scan.high_ = high > scan.high_ ? high : scan.high_;
                scan.lowAboveZero_ = above < scan.lowAboveZero_ ? above : scan.lowAboveZero_;
            }
        }
        for (const ExtentScan& scan : lanes) Add(scan);
        for (; i < values.size(); ++i) Add(values[i]);
    }
    /// Adds what another scan gathered.
    void Add(const ExtentScan& later) {
        low_ = std::min(low_, later.low_);
        high_ = std::max(high_, later.high_);
        lowAboveZero_ = std::min(lowAboveZero_, later.lowAboveZero_);
    }
    CurveExtent GetExtent() const {
        if (low_ > high_) return {};
        return {low_, high_, std::isinf(lowAboveZero_) ? 0.0 : lowAboveZero_};
    }

private:
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();

    double low_ = kInfinity;
    double high_ = -kInfinity;
    double lowAboveZero_ = kInfinity;
};

/// The extent of what `add(piece, scan)` adds of pieces of the range, side by side on the cores.
template <typename AddPiece>
CurveExtent ExtentOf(const IndexRange& range, AddPiece add) {
    constexpr __int64 kPiece = 1 << 16;
    std::vector<ExtentScan> scans(static_cast<std::size_t>((range.count + kPiece - 1) / kPiece));
    ForEachInParallel(scans.size(), [&](std::size_t i) {
        const __int64 before = static_cast<__int64>(i) * kPiece;
        ExtentScan scan;
        add(IndexRange{range.first + before, std::min(kPiece, range.count - before)}, scan);
        scans[i] = scan;
    });
    ExtentScan all;
    for (const ExtentScan& scan : scans) all.Add(scan);
    return all.GetExtent();
}

/// The extent of the shown values in the range.
CurveExtent ExtentOfValues(const CurveSamples& samples, const IndexRange& range) {
    return ExtentOf(range, [&](const IndexRange& piece, ExtentScan& scan) {
        std::array<double, 512> values;
        const __int64 end = piece.first + piece.count;
        for (__int64 first = piece.first; first < end; first += std::ssize(values)) {
            const auto count = static_cast<std::size_t>(std::min(end - first, std::ssize(values)));
            const std::span<double> block = std::span(values).first(count);
            const double* const y = samples.y.data() + first;
            for (std::size_t i = 0; i < count; ++i)
                block[i] = y[i] == kNoValue<double> ? std::numeric_limits<double>::quiet_NaN() : y[i];
            if (samples.shownY != nullptr) ToShown(*samples.shownY, block);
            scan.Add(block);
        }
    });
}

/// Whether X rises from sample to sample, so that an interval of it is a range of samples.
bool IsRising(const CurveSamples& samples) {
    if (!samples.IsEven() || samples.Count() < 2 || !(samples.step > 0.0)) return false;
    const double first = samples.ShownXAt(0);
    const double last = samples.ShownXAt(samples.Count() - 1);
    return std::isfinite(first) && std::isfinite(last) && first < last;
}

/// Number of samples, of those whose X rises, in front of the first for which `isBehind(x)`.
template <typename Condition>
__int64 CountInFront(const CurveSamples& samples, Condition isBehind) {
    __int64 low = 0;
    for (__int64 high = samples.Count(); low < high;) {
        const __int64 middle = low + (high - low) / 2;
        if (isBehind(samples.ShownXAt(middle))) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

bool HasValue(const CurveSamples& samples, __int64 index) {
    const double y = samples.YAt(index);
    if (y == kNoValue<double> || std::isnan(y)) return false;
    return samples.shownY == nullptr || !std::isnan(ToShown(*samples.shownY, y));
}

/// Points one after the other in the same column become at most four: first, lowest and highest as they
/// came, last. `Sink` takes the points and the ends of runs.
template <typename Sink>
class ColumnReducer {
public:
    ColumnReducer(double columnWidth, Sink& sink) : columnWidth_(columnWidth), sink_(sink) {}

    void Add(Point point) {
        const double place = point.x / columnWidth_;
        if (gathered_ != 0 && place >= column_ && place < column_ + 1.0) {
            if (point.y < low_.point.y) low_ = {point, gathered_};
            if (point.y > high_.point.y) high_ = {point, gathered_};
            last_ = {point, gathered_};
            ++gathered_;
            return;
        }
        Flush();
        column_ = std::floor(place);
        first_ = low_ = high_ = last_ = {point, 0};
        gathered_ = 1;
    }
    void Break() {
        Flush();
        sink_.Break();
    }
    void Flush() {
        if (gathered_ == 0) return;
        const bool isLowFirst = low_.order < high_.order;
        __int64 done = -1;
        for (const Extreme& extreme : {first_, isLowFirst ? low_ : high_, isLowFirst ? high_ : low_, last_}) {
            if (extreme.order <= done) continue;
            sink_.Add(extreme.point);
            done = extreme.order;
        }
        gathered_ = 0;
    }

private:
    struct Extreme {
        Point point;
        __int64 order = 0;
    };

    double columnWidth_;
    Sink& sink_;
    __int64 gathered_ = 0;
    double column_ = 0.0;
    Extreme first_, low_, high_, last_;
};

/// Joins points by lines and keeps what lies within a rectangle.
class ClippedLine {
public:
    ClippedLine(const Rect& clip, Path* path) : clip_(clip), path_(path) {}

    void Add(Point point) {
        if (previous_) {
            AddSegment(*previous_, point);
            isLone_ = false;
        } else {
            isLone_ = true;
        }
        previous_ = point;
    }
    void Break() {
        if (previous_ && isLone_ && clip_.Contains(*previous_)) path_->MoveTo(*previous_);
        previous_.reset();
        pathEnd_.reset();
    }

private:
    /// By the parameters at which the segment crosses the edges (Liang and Barsky, 1984).
    void AddSegment(Point from, Point to) {
        const double dx = to.x - from.x;
        const double dy = to.y - from.y;
        double enter = 0.0;
        double leave = 1.0;
        const auto cut = [&](double run, double room) {
            if (run == 0.0) return room >= 0.0;
            const double t = room / run;
            if (run < 0.0) {
                enter = std::max(enter, t);
            } else {
                leave = std::min(leave, t);
            }
            return enter <= leave;
        };
        const bool isVisible = cut(-dx, from.x - clip_.left) && cut(dx, clip_.right - from.x) &&
                               cut(-dy, from.y - clip_.top) && cut(dy, clip_.bottom - from.y);
        if (!isVisible) return;
        // Points on an edge are put exactly on it.
        const auto at = [&](double t) {
            return Point{std::clamp(from.x + t * dx, clip_.left, clip_.right),
                         std::clamp(from.y + t * dy, clip_.top, clip_.bottom)};
        };
        const Point start = enter == 0.0 ? from : at(enter);
        const Point end = leave == 1.0 ? to : at(leave);
        if (pathEnd_ != start) path_->MoveTo(start);
        path_->LineTo(end);
        pathEnd_ = end;
    }

    Rect clip_;
    Path* path_;
    std::optional<Point> previous_;
    std::optional<Point> pathEnd_;
    bool isLone_ = false;
};

/// Keeps the points within a rectangle, each as a run of its own.
class PointsWithin {
public:
    PointsWithin(const Rect& clip, Path* path) : clip_(clip), path_(path) {}

    void Add(Point point) {
        if (clip_.Contains(point)) path_->MoveTo(point);
    }
    void Break() {}

private:
    Rect clip_;
    Path* path_;
};

/// Where bars begin.
double BarBase(const CurveFrame& frame) {
    return std::clamp(frame.y.ToPixel(0.0), frame.plot.top, frame.plot.bottom);
}

}  // namespace

IndexRange SamplesWithin(const CurveSamples& samples, double shownFrom, double shownTo) {
    if (!samples.IsEven()) return {0, samples.Count()};
    const auto stored = [&](double shown) {
        return samples.shownX != nullptr ? ToStandard(*samples.shownX, shown) : shown;
    };
    const double from = stored(shownFrom);
    const double to = stored(shownTo);
    const std::optional<IndexRange> range =
        FindVisibleRange({std::min(from, to), std::max(from, to)}, samples.start, samples.step, samples.y);
    if (!range) return {0, 0};
    // The bounds may be a rounding error off, and a step begins one sample earlier.
    const __int64 first = std::max<__int64>(0, range->first - 1);
    return {first, std::min(samples.Count(), range->first + range->count + 1) - first};
}

__int64 CurveSamples::Count() const {
    return std::ssize(IsEven() ? y : y.first(std::min(x.size(), y.size())));
}

double CurveSamples::ShownXAt(__int64 index) const {
    return shownX != nullptr ? ToShown(*shownX, XAt(index)) : XAt(index);
}

void CurveExtent::Include(const CurveExtent& other) {
    if (other.IsEmpty()) return;
    if (IsEmpty()) {
        *this = other;
        return;
    }
    low = std::min(low, other.low);
    high = std::max(high, other.high);
    if (other.lowAboveZero > 0.0 && !(lowAboveZero > 0.0 && lowAboveZero <= other.lowAboveZero)) {
        lowAboveZero = other.lowAboveZero;
    }
}

CurveExtent ExtentOfX(const CurveSamples& samples) {
    const __int64 count = samples.Count();
    if (IsRising(samples)) {
        // The first and the last one with a value, and the first of those above 0.
        ExtentScan scan;
        const __int64 positive = CountInFront(samples, [](double x) { return x > 0.0; });
        const auto addFirstFrom = [&](__int64 index) {
            while (index < count && !HasValue(samples, index)) ++index;
            if (index < count) scan.Add(samples.ShownXAt(index));
        };
        addFirstFrom(0);
        addFirstFrom(positive);
        __int64 last = count - 1;
        while (last > 0 && !HasValue(samples, last)) --last;
        if (HasValue(samples, last)) scan.Add(samples.ShownXAt(last));
        return scan.GetExtent();
    }
    return ExtentOf({0, count}, [&](const IndexRange& piece, ExtentScan& scan) {
        ForEachShown(samples, piece, 1, [&](double x, double y, __int64) {
            if (!std::isnan(y)) scan.Add(x);
        });
    });
}

CurveExtent ExtentOfY(const CurveSamples& samples, const AxisRange& x) {
    if (samples.Count() == 0) return {};
    const IndexRange range = SamplesWithin(samples, x.low, x.high);
    CurveExtent within;
    if (IsRising(samples)) {
        const __int64 first = CountInFront(samples, [&](double at) { return at >= x.low; });
        const __int64 behind = CountInFront(samples, [&](double at) { return at > x.high; });
        within = ExtentOfValues(samples, {first, std::max<__int64>(0, behind - first)});
    } else {
        within = ExtentOf(range, [&](const IndexRange& piece, ExtentScan& scan) {
            ForEachShown(samples, piece, 1, [&](double at, double y, __int64) {
                if (at >= x.low && at <= x.high) scan.Add(y);
            });
        });
    }
    if (!within.IsEmpty()) return within;
    ExtentScan around;
    Point previous{x.low, std::numeric_limits<double>::quiet_NaN()};
    ForEachShown(samples, range, 1, [&](double at, double y, __int64) {
        const bool isAcross = std::min(at, previous.x) < x.low && std::max(at, previous.x) > x.high;
        if (isAcross && !std::isnan(y) && !std::isnan(previous.y)) {
            around.Add(previous.y);
            around.Add(y);
        }
        previous = {at, y};
    });
    return around.GetExtent();
}

Path LinePath(const CurveSamples& samples, const CurveFrame& frame) {
    Path path;
    ClippedLine line(frame.plot, &path);
    ColumnReducer reducer(frame.columnWidth, line);
    ForEachSample(
        samples, frame, 1, [&](const Sample& sample) { reducer.Add(sample.pixel); },
        [&] { reducer.Break(); });
    reducer.Break();
    return path;
}

Path StepPath(const CurveSamples& samples, const CurveFrame& frame) {
    Path path;
    ClippedLine line(frame.plot, &path);
    ColumnReducer reducer(frame.columnWidth, line);
    std::optional<Sample> previous;
    // An evenly spaced sample counts up to where the next one would be.
    const auto holdLast = [&] {
        if (!previous || !samples.IsEven()) return;
        const double next = samples.ShownXAt(previous->index + 1);
        const double pixel = std::clamp(frame.x.ToPixel(next), -kFarthestPixel, kFarthestPixel);
        if (!std::isnan(pixel)) reducer.Add({pixel, previous->pixel.y});
    };
    ForEachSample(
        samples, frame, 1,
        [&](const Sample& sample) {
            if (previous) reducer.Add({sample.pixel.x, previous->pixel.y});
            reducer.Add(sample.pixel);
            previous = sample;
        },
        [&] {
            holdLast();
            previous.reset();
            reducer.Break();
        });
    holdLast();
    reducer.Break();
    return path;
}

Path BarPath(const CurveSamples& samples, const CurveFrame& frame) {
    Path path;
    const double base = BarBase(frame);
    Rect bar;
    double barColumn = 0.0;
    bool hasBar = false;
    const auto finishBar = [&] {
        if (!hasBar) return;
        hasBar = false;
        const Rect& plot = frame.plot;
        const Rect seen{std::max(bar.left, plot.left), std::max(bar.top, plot.top),
                        std::min(bar.right, plot.right), std::min(bar.bottom, plot.bottom)};
        if (seen.IsEmpty()) return;
        path.Append(Path::Around(seen));
    };
    const auto pixelOfX = [&](__int64 index) { return frame.x.ToPixel(samples.ShownXAt(index)); };
    // A bar reaches nearly half-way to its neighbours, at the ends as far as to the other side.
    const auto halfWidths = [&](__int64 index, double x) {
        const bool hasNext = samples.IsEven() || index + 1 < samples.Count();
        const bool hasPrevious = samples.IsEven() || index > 0;
        double left = hasPrevious ? x - pixelOfX(index - 1) : 0.0;
        double right = hasNext ? pixelOfX(index + 1) - x : left;
        if (!hasPrevious) left = right;
        const auto half = [&](double distance) {
            return std::max(frame.columnWidth, kBarWidth * std::min(std::abs(distance), kFarthestPixel)) /
                   2.0;
        };
        return std::pair(half(left), half(right));
    };
    ForEachSample(
        samples, frame, 1,
        [&](const Sample& sample) {
            const auto [x, y] = sample.pixel;
            const auto [toLeft, toRight] = halfWidths(sample.index, x);
            const Rect added{x - toLeft, std::min(base, y), x + toRight, std::max(base, y)};
            const double column = std::floor(x / frame.columnWidth);
            if (hasBar && column == barColumn) {
                bar = {std::min(bar.left, added.left), std::min(bar.top, added.top),
                       std::max(bar.right, added.right), std::max(bar.bottom, added.bottom)};
                return;
            }
            finishBar();
            bar = added;
            barColumn = column;
            hasBar = true;
        },
        [] {});
    finishBar();
    return path;
}

Path MarkPlaces(const CurveSamples& samples, const CurveFrame& frame, __int64 interval) {
    Path path;
    PointsWithin points(frame.plot, &path);
    ColumnReducer reducer(frame.columnWidth, points);
    ForEachSample(
        samples, frame, std::max<__int64>(interval, 1),
        [&](const Sample& sample) { reducer.Add(sample.pixel); }, [] {});
    reducer.Flush();
    return path;
}

}  // namespace kvx::plot
