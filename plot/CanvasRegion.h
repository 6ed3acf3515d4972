// SPDX-License-Identifier: MIT
//
// CanvasRegion: a part of a canvas as a canvas of its own, for what draws over a whole canvas.
#pragma once

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

class KVX_PLOT_API CanvasRegion final : public Canvas {
public:
    /// The region `rect` of `whole`, which must outlive it. Drawing is confined to the region as long as it
    /// lives. Edges on whole units keep lines as sharp as they are on the whole canvas.
    CanvasRegion(Canvas& whole, const Rect& rect);
    ~CanvasRegion() override;
    CanvasRegion(const CanvasRegion&) = delete;
    CanvasRegion& operator=(const CanvasRegion&) = delete;

    Size Measure(std::wstring_view text, double letterSize) const override;
    Size GetSize() const override { return {rect_.Width(), rect_.Height()}; }
    double GetPointLength() const override { return whole_.GetPointLength(); }
    double GetFineness() const override { return whole_.GetFineness(); }
    double Sharp(double coordinate, double lineWidth) const override;

    void Fill(const Path& path, COLORREF color) override;
    void Stroke(const Path& path, const Pen& pen, bool isClosed) override;
    void DrawText(std::wstring_view text, Point anchor, const TextStyle& style) override;
    void DrawImage(const Rect& rect, std::span<const COLORREF> colors, std::int64_t columns,
                   std::int64_t rows, bool isSmooth) override;
    void PushClip(const Rect& rect) override;
    void PopClip() override;

private:
    Point Moved(Point point) const { return {point.x + rect_.left, point.y + rect_.top}; }
    Rect Moved(const Rect& rect) const;
    Path Moved(const Path& path) const;

    Canvas& whole_;
    Rect rect_;
};

}  // namespace kvx::plot
