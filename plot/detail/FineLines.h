// SPDX-License-Identifier: MIT
//
// What axes and grids are drawn with: fine lines on pixels, ticks of two lengths, colours between others.
#pragma once

#include <algorithm>
#include <cmath>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot::detail {

inline constexpr double kFinePoints = 0.5;  // frame, grid and cursor
inline constexpr double kMajorTickPoints = 4.5;
inline constexpr double kMinorTickPoints = 2.5;

/// Length of a tick on a canvas.
inline double TickLength(bool isMajor, const Canvas& canvas) {
    return (isMajor ? kMajorTickPoints : kMinorTickPoints) * canvas.GetPointLength();
}

/// A colour between two, `part` of the way from the first.
inline COLORREF MixColors(COLORREF from, COLORREF to, double part) {
    const auto mix = [&](unsigned shift) {
        const double start = (from >> shift) & 0xFFu;
        const double end = (to >> shift) & 0xFFu;
        return static_cast<COLORREF>(std::lround(start + part * (end - start))) << shift;
    };
    return mix(0) | mix(8) | mix(16);
}

/// The colour of minor grid lines.
inline COLORREF MinorGridColor(COLORREF major, COLORREF ground) {
    return MixColors(major, ground, 0.6);
}

/// Lines as fine as they get, on pixels where there are any.
class FineLines {
public:
    explicit FineLines(Canvas& canvas)
        : canvas_(canvas), width_(std::max(kFinePoints * canvas.GetPointLength(), canvas.GetFineness())) {}

    void AddVertical(double x, double top, double bottom) {
        x = canvas_.Sharp(x, width_);
        path_.AddLine({x, top}, {x, bottom});
    }
    void AddHorizontal(double y, double left, double right) {
        y = canvas_.Sharp(y, width_);
        path_.AddLine({left, y}, {right, y});
    }
    void AddSlanted(Point from, Point to) { path_.AddLine(from, to); }
    void Draw(COLORREF color) {
        if (!path_.IsEmpty()) canvas_.Stroke(path_, {color, width_});
        path_ = {};
    }
    double GetWidth() const { return width_; }

private:
    Canvas& canvas_;
    double width_;
    Path path_;
};

}  // namespace kvx::plot::detail
