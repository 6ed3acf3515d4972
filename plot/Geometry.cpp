// SPDX-License-Identifier: MIT
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

Path Path::Around(const Rect& rect) {
    Path path;
    path.MoveTo({rect.left, rect.top});
    path.LineTo({rect.right, rect.top});
    path.LineTo({rect.right, rect.bottom});
    path.LineTo({rect.left, rect.bottom});
    return path;
}

void Path::MoveTo(Point point) {
    starts_.push_back(points_.size());
    points_.push_back(point);
}

void Path::LineTo(Point point) {
    if (points_.empty()) starts_.push_back(0);
    points_.push_back(point);
}

void Path::Append(const Path& other) {
    for (const std::size_t start : other.starts_) starts_.push_back(points_.size() + start);
    points_.insert(points_.end(), other.points_.begin(), other.points_.end());
}

void Path::AddLine(Point from, Point to) {
    MoveTo(from);
    LineTo(to);
}

std::span<const Point> Path::GetRun(std::size_t index) const {
    const std::size_t start = starts_[index];
    const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] : points_.size();
    return std::span(points_).subspan(start, end - start);
}

}  // namespace kvx::plot
