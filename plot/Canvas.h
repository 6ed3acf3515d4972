// SPDX-License-Identifier: MIT
//
// Canvas: what a picture is drawn on. The library brings CairoCanvas; an application may bring another one,
// and tests record what is drawn. An object belongs to one thread at a time.
//
// Text may hold markup: "#u" raises what follows, "#l" lowers it, "#n" returns to normal.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

/// Which part of a text lies on its anchor: left or top, middle, right or bottom.
enum class Align { kStart, kMiddle, kEnd };

struct TextStyle {
    double size = 12.0;  ///< of the letters, in canvas units
    COLORREF color = 0;
    Align across = Align::kStart;  ///< along the text
    Align down = Align::kMiddle;   ///< at a right angle to the text
    bool isVertical = false;       ///< turned to run from the bottom to the top; alignment turns with it
};

struct Pen {
    COLORREF color = 0;
    double width = 1.0;  ///< in canvas units
    CKvxGraphLineSample::ELineType type = CKvxGraphLineSample::LINE_SOLID;
};

/// Tells how large texts are.
class KVX_PLOT_API TextMeasure {
public:
    virtual ~TextMeasure();
    /// Extent of a text on one line, not turned, with letters of that size.
    virtual Size Measure(std::wstring_view text, double letterSize) const = 0;

protected:
    TextMeasure() = default;
    TextMeasure(const TextMeasure&) = default;
    TextMeasure& operator=(const TextMeasure&) = default;
};

class KVX_PLOT_API Canvas : public TextMeasure {
public:
    virtual Size GetSize() const = 0;
    /// Length of a typographic point (1/72 inch) in canvas units.
    virtual double GetPointLength() const = 0;
    /// The least distance that is worth drawing: a pixel, or a fraction of a point where there are none.
    virtual double GetFineness() const = 0;
    /// The coordinate nearest to `coordinate` at which a vertical or horizontal line of that width is sharp.
    virtual double Sharp(double coordinate, double lineWidth) const = 0;

    /// Fills the inside of each run.
    virtual void Fill(const Path& path, COLORREF color) = 0;
    /// Draws along each run; `isClosed` joins the end of each to its start.
    virtual void Stroke(const Path& path, const Pen& pen, bool isClosed = false) = 0;
    virtual void DrawText(std::wstring_view text, Point anchor, const TextStyle& style) = 0;
    /// Fills a rectangle with an image of `columns` times `rows` colours, row by row from the top left. Each
    /// colour is a block with hard edges, or with `isSmooth` they blend into each other.
    virtual void DrawImage(const Rect& rect, std::span<const COLORREF> colors, std::int64_t columns,
                           std::int64_t rows, bool isSmooth) = 0;

    /// Nothing is drawn outside the rectangle any more, until the matching PopClip.
    virtual void PushClip(const Rect& rect) = 0;
    virtual void PopClip() = 0;

    void FillRect(const Rect& rect, COLORREF color) { Fill(Path::Around(rect), color); }
    void StrokeRect(const Rect& rect, const Pen& pen) { Stroke(Path::Around(rect), pen, true); }
    void StrokeLine(Point from, Point to, const Pen& pen);
};

/// Confines drawing to a rectangle while it lives.
class ClipScope {
public:
    ClipScope(Canvas& canvas, const Rect& rect) : canvas_(canvas) { canvas_.PushClip(rect); }
    ~ClipScope() { canvas_.PopClip(); }
    ClipScope(const ClipScope&) = delete;
    ClipScope& operator=(const ClipScope&) = delete;

private:
    Canvas& canvas_;
};

}  // namespace kvx::plot
