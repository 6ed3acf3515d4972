// SPDX-License-Identifier: MIT
//
// CairoCanvas: a canvas on a Cairo context, with text by Pango. Latin, Japanese and symbol fonts are chosen
// by name, with what the host has in their stead.
#pragma once

#include <memory>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>

extern "C" {
typedef struct _cairo cairo_t;
}

namespace kvx::plot {

class KVX_PLOT_API CairoCanvas final : public Canvas {
public:
    /// A canvas of that size at the origin of `cairo`, which must outlive it. One point is `pointLength`
    /// units long. `hasPixels` tells that a unit is a pixel, so that fine lines are put onto pixels.
    CairoCanvas(cairo_t* cairo, Size size, double pointLength, bool hasPixels);
    ~CairoCanvas() override;
    CairoCanvas(const CairoCanvas&) = delete;
    CairoCanvas& operator=(const CairoCanvas&) = delete;

    Size Measure(std::wstring_view text, double letterSize) const override;
    Size GetSize() const override { return size_; }
    double GetPointLength() const override { return pointLength_; }
    double GetFineness() const override { return hasPixels_ ? 1.0 : 0.25 * pointLength_; }
    double Sharp(double coordinate, double lineWidth) const override;

    void Fill(const Path& path, COLORREF color) override;
    void Stroke(const Path& path, const Pen& pen, bool isClosed) override;
    void DrawText(std::wstring_view text, Point anchor, const TextStyle& style) override;
    void DrawImage(const Rect& rect, std::span<const COLORREF> colors, std::int64_t columns,
                   std::int64_t rows, bool isSmooth) override;
    void PushClip(const Rect& rect) override;
    void PopClip() override;

private:
    class TextSetter;

    void SetColor(COLORREF color);
    void AddPath(const Path& path, bool isClosed);

    cairo_t* cairo_;
    Size size_;
    double pointLength_;
    bool hasPixels_;
    std::unique_ptr<TextSetter> text_;
};

}  // namespace kvx::plot
