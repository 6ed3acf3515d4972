// SPDX-License-Identifier: MIT
//
// Points, sizes, rectangles and paths of a picture. Coordinates are in the canvas's own unit; x grows to the
// right, y downwards.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <KvxPlot01/Export.h>

namespace kvx::plot {

struct Point {
    double x = 0.0;
    double y = 0.0;

    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0.0;
    double height = 0.0;

    bool operator==(const Size&) const = default;
};

struct Rect {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;

    double Width() const { return right - left; }
    double Height() const { return bottom - top; }
    Point Center() const { return {(left + right) / 2.0, (top + bottom) / 2.0}; }
    /// Whether it has no area.
    bool IsEmpty() const { return !(right > left && bottom > top); }
    /// Whether the point lies inside or on the edge.
    bool Contains(Point point) const {
        return point.x >= left && point.x <= right && point.y >= top && point.y <= bottom;
    }
    /// The rectangle with each edge moved inwards, outwards when `distance` is negative.
    Rect Inset(double distance) const {
        return {left + distance, top + distance, right - distance, bottom - distance};
    }

    bool operator==(const Rect&) const = default;
};

/// Runs of points joined by straight lines.
class KVX_PLOT_API Path {
public:
    Path() = default;
    /// One run around a rectangle.
    static Path Around(const Rect& rect);

    /// Starts a new run.
    void MoveTo(Point point);
    /// Goes on with the run; starts one when there is none.
    void LineTo(Point point);
    /// Adds the runs of another path.
    void Append(const Path& other);
    /// One run of two points.
    void AddLine(Point from, Point to);

    bool IsEmpty() const { return points_.empty(); }
    std::size_t GetRunNum() const { return starts_.size(); }
    /// A run of at least one point; `index` is below GetRunNum.
    std::span<const Point> GetRun(std::size_t index) const;
    /// The points of all runs.
    std::span<const Point> GetPoints() const { return points_; }

private:
    std::vector<Point> points_;
    std::vector<std::size_t> starts_;
};

}  // namespace kvx::plot
