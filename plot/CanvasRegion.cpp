// SPDX-License-Identifier: MIT
#include <KvxPlot01/CanvasRegion.h>

namespace kvx::plot {

CanvasRegion::CanvasRegion(Canvas& whole, const Rect& rect) : whole_(whole), rect_(rect) {
    whole_.PushClip(rect_);
}

CanvasRegion::~CanvasRegion() {
    whole_.PopClip();
}

Size CanvasRegion::Measure(std::wstring_view text, double letterSize) const {
    return whole_.Measure(text, letterSize);
}

double CanvasRegion::Sharp(double coordinate, double lineWidth) const {
    return whole_.Sharp(coordinate, lineWidth);
}

void CanvasRegion::Fill(const Path& path, COLORREF color) {
    whole_.Fill(Moved(path), color);
}

void CanvasRegion::Stroke(const Path& path, const Pen& pen, bool isClosed) {
    whole_.Stroke(Moved(path), pen, isClosed);
}

void CanvasRegion::DrawText(std::wstring_view text, Point anchor, const TextStyle& style) {
    whole_.DrawText(text, Moved(anchor), style);
}

void CanvasRegion::DrawImage(const Rect& rect, std::span<const COLORREF> colors, std::int64_t columns,
                             std::int64_t rows, bool isSmooth) {
    whole_.DrawImage(Moved(rect), colors, columns, rows, isSmooth);
}

void CanvasRegion::PushClip(const Rect& rect) {
    whole_.PushClip(Moved(rect));
}

void CanvasRegion::PopClip() {
    whole_.PopClip();
}

Rect CanvasRegion::Moved(const Rect& rect) const {
    return {rect.left + rect_.left, rect.top + rect_.top, rect.right + rect_.left, rect.bottom + rect_.top};
}

Path CanvasRegion::Moved(const Path& path) const {
    Path moved;
    for (std::size_t run = 0; run < path.GetRunNum(); ++run) {
        const auto points = path.GetRun(run);
        moved.MoveTo(Moved(points.front()));
        for (const Point& point : points.subspan(1)) moved.LineTo(Moved(point));
    }
    return moved;
}

}  // namespace kvx::plot
