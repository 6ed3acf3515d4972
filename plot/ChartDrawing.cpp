// SPDX-License-Identifier: MIT
#include <KvxPlot01/ChartDrawing.h>

#include <algorithm>
#include <optional>
#include <vector>

#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxPlot01/Curve.h>
#include <KvxPlot01/LineLook.h>
#include <KvxPlot01/detail/FineLines.h>

namespace kvx::plot {
namespace {

using Compo = CGraphColorInfo;
using detail::FineLines;

constexpr double kMarkDistance = 0.4;  // of a mark's text over the size of the letters
constexpr double kDotWidths = 2.5;     // a lone sample over the width of its line

/// The plot with its frame, whose lines reach half their width outwards: a curve on a bound is seen on the
/// frame.
Rect WithFrame(const Rect& plot, Canvas& canvas) {
    return plot.Inset(-FineLines(canvas).GetWidth() / 2.0);
}

void DrawGrid(const ChartLayout& layout, const ChartColors& colors, Canvas& canvas) {
    const Rect& plot = layout.plot;
    const COLORREF major = colors.Of(Compo::COMPO_GRID);
    const COLORREF minor = detail::MinorGridColor(major, colors.Of(Compo::COMPO_GRAPH_BACK));
    FineLines lines(canvas);
    for (const bool isMajor : {false, true}) {
        for (const PlacedTick& tick : layout.x.ticks) {
            if (tick.isMajor == isMajor) lines.AddVertical(tick.pixel, plot.top, plot.bottom);
        }
        for (const PlacedTick& tick : layout.y.ticks) {
            if (tick.isMajor == isMajor) lines.AddHorizontal(tick.pixel, plot.left, plot.right);
        }
        lines.Draw(isMajor ? major : minor);
    }
}

/// The frame and its ticks, short strokes into the plot.
void DrawFrameLines(const ChartLayout& layout, COLORREF color, Canvas& canvas) {
    const Rect& plot = layout.plot;
    FineLines lines(canvas);
    const auto length = [&](const PlacedTick& tick) { return detail::TickLength(tick.isMajor, canvas); };
    for (const PlacedTick& tick : layout.x.ticks) {
        lines.AddVertical(tick.pixel, plot.bottom - length(tick), plot.bottom);
    }
    for (const PlacedTick& tick : layout.y.ticks) {
        lines.AddHorizontal(tick.pixel, plot.left, plot.left + length(tick));
    }
    if (layout.y2) {
        for (const PlacedTick& tick : layout.y2->ticks) {
            lines.AddHorizontal(tick.pixel, plot.right - length(tick), plot.right);
        }
    }
    lines.Draw(color);
    canvas.StrokeRect(plot, {color, lines.GetWidth()});
}

void DrawCursors(const Chart& chart, const ChartLayout& layout, COLORREF color, Canvas& canvas) {
    FineLines lines(canvas);
    for (const double value : chart.cursors) {
        const double x = layout.x.mapping.ToPixel(value);
        if (x >= layout.plot.left && x <= layout.plot.right) {
            lines.AddVertical(x, layout.plot.top, layout.plot.bottom);
        }
    }
    lines.Draw(color);
}

void DrawTexts(const std::vector<PlacedText>& texts, COLORREF color, Canvas& canvas) {
    for (const PlacedText& text : texts) DrawPlacedText(text, color, canvas);
}

void DrawLegend(const Chart& chart, const ChartLayout& layout, const ChartColors& colors, Canvas& canvas) {
    if (!layout.legend) return;
    const FineLines lines(canvas);
    canvas.FillRect(*layout.legend, colors.Of(Compo::COMPO_LEGEND_BACK));
    canvas.StrokeRect(*layout.legend, {colors.Of(Compo::COMPO_FRAME), lines.GetWidth()});
    for (const LegendEntry& entry : layout.entries) {
        const ChartCurve& curve = chart.curves[entry.curve];
        const Point center = entry.sample.Center();
        const Pen pen = LinePen(curve.look, colors.output, canvas.GetPointLength());
        if (curve.shape == CurveShape::kBars) {
            canvas.FillRect(entry.sample.Inset(0.25 * entry.sample.Height()), curve.look.m_rgbLine);
        } else if (curve.shape != CurveShape::kMarks) {
            const double y = canvas.Sharp(center.y, pen.width);
            canvas.StrokeLine({entry.sample.left, y}, {entry.sample.right, y}, pen);
        }
        if (curve.look.m_bMark || curve.shape == CurveShape::kMarks) {
            Path place;
            place.MoveTo(center);
            DrawMarks(canvas, place, curve.look);
        }
        DrawPlacedText(entry.name, colors.Of(Compo::COMPO_LEGEND_TEXT), canvas);
    }
}

/// Cursors, and what stands around the plot.
void DrawSurroundings(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                      Canvas& canvas) {
    DrawCursors(chart, layout, colors.Of(Compo::COMPO_CURSOR), canvas);
    const COLORREF text = colors.Of(Compo::COMPO_TEXT);
    if (layout.title) DrawPlacedText(*layout.title, text, canvas);
    DrawTexts(layout.x.numbers, text, canvas);
    DrawTexts(layout.x.titles, text, canvas);
    DrawTexts(layout.y.numbers, text, canvas);
    DrawTexts(layout.y.titles, text, canvas);
    if (layout.y2) {
        DrawTexts(layout.y2->numbers, text, canvas);
        DrawTexts(layout.y2->titles, text, canvas);
    }
    DrawLegend(chart, layout, colors, canvas);
}

/// Fills small squares where a line of one point would not be seen.
void DrawLonePoints(const Path& path, const Pen& pen, Canvas& canvas) {
    Path dots;
    const double half = kDotWidths / 2.0 * std::max(pen.width, canvas.GetFineness());
    for (std::size_t i = 0; i < path.GetRunNum(); ++i) {
        const std::span<const Point> run = path.GetRun(i);
        if (run.size() != 1) continue;
        dots.Append(Path::Around({run[0].x - half, run[0].y - half, run[0].x + half, run[0].y + half}));
    }
    if (!dots.IsEmpty()) canvas.Fill(dots, pen.color);
}

/// Where the text of a mark has room in the plot and beside the texts before it: above or below the mark, to
/// the right, to the left.
std::optional<Rect> FreePlace(const ChartMark& mark, Point place, const ChartLayout& layout,
                              const std::vector<Rect>& taken, const Canvas& canvas) {
    const auto [width, height] = canvas.Measure(mark.text, layout.letterSize);
    const double distance = kMarkDistance * layout.letterSize;
    const double outside = mark.isAbove ? place.y - distance - height : place.y + distance;
    const Point starts[] = {{place.x - width / 2.0, outside},
                            {place.x + 2.0 * distance, place.y - height / 2.0},
                            {place.x - 2.0 * distance - width, place.y - height / 2.0},
                            {place.x + 2.0 * distance, outside + (mark.isAbove ? 2.0 : -2.0) * height}};
    for (const Point& start : starts) {
        const Rect box{start.x, start.y, start.x + width, start.y + height};
        const bool isInside = layout.plot.Contains(start) && layout.plot.Contains({box.right, box.bottom});
        const bool isFree = std::ranges::none_of(taken, [&](const Rect& other) {
            return box.left < other.right && other.left < box.right && box.top < other.bottom &&
                   other.top < box.bottom;
        });
        if (isInside && isFree) return box;
    }
    return std::nullopt;
}

}  // namespace

void DrawPlacedText(const PlacedText& text, COLORREF color, Canvas& canvas) {
    TextStyle style = text.style;
    style.color = color;
    canvas.DrawText(text.text, text.anchor, style);
}

void DrawChartGround(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                     Canvas& canvas) {
    canvas.FillRect(layout.area, colors.Of(Compo::COMPO_WINDOW_BACK));
    canvas.FillRect(layout.plot, colors.Of(Compo::COMPO_GRAPH_BACK));
    if (chart.hasGrid) DrawGrid(layout, colors, canvas);
}

namespace {

/// A curve on its way to the canvas.
struct CurveDrawing {
    const ChartCurve* curve = nullptr;
    bool isSeen = false;
    CurveFrame frame = {};
    Rect barPlot = {};
    Pen pen = {};
    Path line = {};
    Path marks = {};

    bool HasMarks() const { return curve->look.m_bMark || curve->shape == CurveShape::kMarks; }
    bool HasLine() const {
        return curve->shape != CurveShape::kBars && curve->shape != CurveShape::kMarks &&
               pen.type != CKvxGraphLineSample::LINE_NONE;
    }
};

CurveDrawing BeginCurve(const ChartCurve& curve, const ChartLayout& layout,
                        CGraphColorInfo::OUTPUT_KIND output, Canvas& canvas) {
    CurveDrawing drawing = {&curve};
    const bool isOnSecondAxis = curve.isOnSecondAxis && layout.y2;
    const AxisMapping& y = isOnSecondAxis ? layout.y2->mapping : layout.y.mapping;
    if (layout.plot.IsEmpty() || layout.x.mapping.scale == 0.0 || y.scale == 0.0) return drawing;
    drawing.isSeen = true;
    drawing.frame = {layout.x.mapping, y, WithFrame(layout.plot, canvas), canvas.GetFineness()};
    // Bars stand on the frame and leave it whole.
    drawing.barPlot = layout.plot.Inset(FineLines(canvas).GetWidth() / 2.0);
    drawing.pen = LinePen(curve.look, output, canvas.GetPointLength());
    return drawing;
}

/// Goes through the samples, which asks nothing of the canvas.
void MakePaths(CurveDrawing& drawing) {
    if (!drawing.isSeen) return;
    const ChartCurve& curve = *drawing.curve;
    if (curve.shape == CurveShape::kBars) {
        CurveFrame inside = drawing.frame;
        inside.plot = drawing.barPlot;
        drawing.line = BarPath(curve.samples, inside);
    } else if (drawing.HasLine()) {
        drawing.line = curve.shape == CurveShape::kSteps ? StepPath(curve.samples, drawing.frame)
                                                         : LinePath(curve.samples, drawing.frame);
    }
    if (drawing.HasMarks())
        drawing.marks = MarkPlaces(curve.samples, drawing.frame, curve.look.m_lMarkInterval);
}

void FinishCurve(const CurveDrawing& drawing, Canvas& canvas) {
    if (!drawing.isSeen) return;
    const ChartCurve& curve = *drawing.curve;
    const ClipScope clip(canvas, drawing.frame.plot);
    if (curve.shape == CurveShape::kBars) {
        canvas.Fill(drawing.line, curve.look.m_rgbLine);
    } else if (drawing.HasLine()) {
        canvas.Stroke(drawing.line, drawing.pen);
        DrawLonePoints(drawing.line, drawing.pen, canvas);
    }
    if (drawing.HasMarks()) DrawMarks(canvas, drawing.marks, curve.look);
}

}  // namespace

void DrawCurve(const ChartCurve& curve, const ChartLayout& layout, CGraphColorInfo::OUTPUT_KIND output,
               Canvas& canvas) {
    CurveDrawing drawing = BeginCurve(curve, layout, output, canvas);
    MakePaths(drawing);
    FinishCurve(drawing, canvas);
}

void DrawChartMarks(const Chart& chart, const ChartLayout& layout, Canvas& canvas) {
    const Rect seen = WithFrame(layout.plot, canvas);
    const ClipScope clip(canvas, seen);
    std::vector<Rect> taken;
    for (const ChartMark& mark : chart.marks) {
        const ChartCurve& curve = chart.curves[mark.curve];
        const bool isOnSecondAxis = curve.isOnSecondAxis && layout.y2;
        const AxisMapping& y = isOnSecondAxis ? layout.y2->mapping : layout.y.mapping;
        const Point place{layout.x.mapping.ToPixel(mark.at.x), y.ToPixel(mark.at.y)};
        if (!seen.Contains(place)) continue;
        Path places;
        places.MoveTo(place);
        DrawMarks(canvas, places, curve.look);
        if (mark.text.empty()) continue;
        if (const std::optional<Rect> box = FreePlace(mark, place, layout, taken, canvas)) {
            canvas.DrawText(mark.text, {box->left, box->top},
                            {layout.letterSize, curve.look.m_rgbLine, Align::kStart, Align::kStart});
            taken.push_back(*box);
        }
    }
}

void DrawChartFrame(const Chart& chart, const ChartLayout& layout, const ChartColors& colors,
                    Canvas& canvas) {
    DrawFrameLines(layout, colors.Of(Compo::COMPO_FRAME), canvas);
    DrawSurroundings(chart, layout, colors, canvas);
}

void DrawChart(const Chart& chart, const ChartLayout& layout, const ChartColors& colors, Canvas& canvas) {
    DrawChartGround(chart, layout, colors, canvas);
    // Below the curves: it would cover those that lie on a bound.
    DrawFrameLines(layout, colors.Of(Compo::COMPO_FRAME), canvas);
    std::vector<CurveDrawing> drawings;
    for (const ChartCurve& curve : chart.curves) {
        drawings.push_back(BeginCurve(curve, layout, colors.output, canvas));
    }
    ForEachInParallel(drawings.size(), [&](std::size_t i) { MakePaths(drawings[i]); });
    for (const CurveDrawing& drawing : drawings) FinishCurve(drawing, canvas);
    DrawChartMarks(chart, layout, canvas);
    DrawSurroundings(chart, layout, colors, canvas);
}

}  // namespace kvx::plot
