// SPDX-License-Identifier: MIT
#include <KvxPlot01/LineLook.h>

#include <cmath>
#include <cstdint>
#include <numbers>

namespace kvx::plot {
namespace {

using Sample = CKvxGraphLineSample;

constexpr double kHundredths = 0.01;

// As far as the middle of a stroke lies from the centre, so that shapes look equally large.
constexpr double kRound = 0.5;
constexpr double kSquare = 0.44;
constexpr double kPointed = 0.62;

double DisplayWidthPoints(std::int32_t thick) {
    switch (thick) {
        case GRAPH_COLOR_LINE_TAG::THICK_MEDIUM:
            return 1.5;
        case GRAPH_COLOR_LINE_TAG::THICK_EXTRA:
            return 3.0;
        default:
            return 0.75;
    }
}

/// A regular polygon around `center`, its first corner in the direction of `firstTurn` turns from the right.
void AddPolygon(Path* path, Point center, double radius, int corners, double firstTurn) {
    for (int i = 0; i < corners; ++i) {
        const double angle = 2.0 * std::numbers::pi * (firstTurn + static_cast<double>(i) / corners);
        const Point corner{center.x + radius * std::cos(angle), center.y - radius * std::sin(angle)};
        i == 0 ? path->MoveTo(corner) : path->LineTo(corner);
    }
}

void AddShape(Path* path, Sample::EMarkType type, Point center, double size) {
    const double reach = size * kSquare;
    switch (type) {
        case Sample::MARK_FILLED_CIRCLE:
        case Sample::MARK_CIRCLE:
            AddPolygon(path, center, size * kRound, 24, 0.0);
            break;
        case Sample::MARK_FILLED_SQUARE:
        case Sample::MARK_SQUARE:
            AddPolygon(path, center, reach * std::numbers::sqrt2, 4, 0.125);
            break;
        case Sample::MARK_FILLED_DIAMOND:
        case Sample::MARK_DIAMOND:
            AddPolygon(path, center, size * kPointed, 4, 0.25);
            break;
        case Sample::MARK_FILLED_TRIANGLE:
        case Sample::MARK_TRIANGLE:
            AddPolygon(path, center, size * kPointed, 3, 0.25);
            break;
        case Sample::MARK_TRIANGLE_DOWN:
            AddPolygon(path, center, size * kPointed, 3, 0.75);
            break;
        case Sample::MARK_CROSS:
            path->AddLine({center.x - reach, center.y - reach}, {center.x + reach, center.y + reach});
            path->AddLine({center.x - reach, center.y + reach}, {center.x + reach, center.y - reach});
            break;
        case Sample::MARK_PLUS:
            path->AddLine({center.x - size * kRound, center.y}, {center.x + size * kRound, center.y});
            path->AddLine({center.x, center.y - size * kRound}, {center.x, center.y + size * kRound});
            break;
        case Sample::MARK_NONE:
            break;
    }
}

bool IsFilled(Sample::EMarkType type) {
    return type >= Sample::MARK_FILLED_CIRCLE && type <= Sample::MARK_FILLED_TRIANGLE;
}

bool IsOutline(Sample::EMarkType type) {
    return type >= Sample::MARK_CIRCLE && type <= Sample::MARK_TRIANGLE_DOWN;
}

}  // namespace

CKvxGraphLineSample LineSampleOf(const CGraphColorInfo& colors, CGraphColorInfo::DATALINE_KIND line,
                                 CGraphColorInfo::OUTPUT_KIND output) {
    Sample look;
    look.m_eLineType = colors.GetLineType(line, output);
    look.m_lLineThick = colors.GetThickKind(line, output);
    // A width from a file may be anything.
    const double widthPoints = colors.GetPoint(line);
    const bool isWidth = widthPoints >= 0.0 && widthPoints <= 1000.0;
    if (isWidth) look.m_lLineWidth = static_cast<std::int32_t>(std::lround(widthPoints / kHundredths));
    look.m_rgbLine = colors.GetLineColorRef(line, output);
    look.m_eMarkType = colors.GetMarkKind(line, output);
    look.m_rgbMark = colors.GetMarkColorRef(line, output);
    return look;
}

Pen LinePen(const CKvxGraphLineSample& look, CGraphColorInfo::OUTPUT_KIND output, double pointLength) {
    const double widthPoints = output == CGraphColorInfo::OUTPUT_DISPLAY
                                   ? DisplayWidthPoints(look.m_lLineThick)
                                   : look.m_lLineWidth * kHundredths;
    return {look.m_rgbLine, widthPoints * pointLength, look.m_bLine ? look.m_eLineType : Sample::LINE_NONE};
}

void DrawMarks(Canvas& canvas, const Path& places, const CKvxGraphLineSample& look) {
    const double size = look.m_lMarkSize * kHundredths * canvas.GetPointLength();
    if (places.IsEmpty() || !(size > 0.0)) return;
    Path shapes;
    for (const Point& place : places.GetPoints()) AddShape(&shapes, look.m_eMarkType, place, size);
    if (shapes.IsEmpty()) return;
    if (IsFilled(look.m_eMarkType)) {
        canvas.Fill(shapes, look.m_rgbMark);
        return;
    }
    const Pen pen{look.m_rgbMark, look.m_lMarkLineWidth * kHundredths * canvas.GetPointLength()};
    canvas.Stroke(shapes, pen, IsOutline(look.m_eMarkType));
}

}  // namespace kvx::plot
