// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/detail/DefaultColors.h>

#include <array>
#include <cstddef>
#include <iterator>

namespace kvx::detail {
namespace {

using Sample = CKvxGraphLineSample;

/// A colour of each scheme, in the order of ColorScheme.
using SchemeColors = std::array<COLORREF, 3>;

struct LineRow {
    Sample::EMarkType mark;
    Sample::ELineType printerType;  ///< in the first half of a group
    SchemeColors colors;            ///< of line and mark
};

struct SpecialRow {
    std::array<Sample::ELineType, 3> types;
    SchemeColors colors;
};

// clang-format off
constexpr SchemeColors kCompoColors[] = {
    // on black            on white             printer
    {Rgb(212, 208, 200),   Rgb(233, 236, 245),  Rgb(255, 255, 255)},  // window background
    {Rgb(  0,   0,   0),   Rgb(255, 255, 255),  Rgb(255, 255, 255)},  // graph background
    {Rgb(192, 192, 192),   Rgb(192, 192, 192),  Rgb(  0,   0,   0)},  // frame
    {Rgb(  0,   0,   0),   Rgb(  0,   0,   0),  Rgb(  0,   0,   0)},  // text
    {Rgb( 85,  85,  85),   Rgb(192, 192, 192),  Rgb(128, 128, 128)},  // grid
    {Rgb(255,   0,   0),   Rgb(255,   0,   0),  Rgb(255,  32,   0)},  // cursor
    {Rgb(223, 223, 223),   Rgb(255, 255, 255),  Rgb(255, 255, 255)},  // legend background
    {Rgb(  0,   0,   0),   Rgb(  0,   0,   0),  Rgb(  0,   0,   0)},  // legend text
};

// Half a group of data lines; the second half repeats the first.
constexpr LineRow kLines[] = {
    // mark                         on the printer            on black            on white            printer
    {Sample::MARK_CIRCLE,           Sample::LINE_SOLID,      {Rgb(  0, 255,   0), Rgb(  0,   0, 255), Rgb(  0,   0, 255)}},
    {Sample::MARK_CROSS,            Sample::LINE_DASH,       {Rgb(255,   0, 255), Rgb(190,   0, 190), Rgb(183,   0, 183)}},
    {Sample::MARK_DIAMOND,          Sample::LINE_DOT,        {Rgb(255, 255,   0), Rgb(  0, 227, 114), Rgb(  0, 227, 114)}},
    {Sample::MARK_TRIANGLE,         Sample::LINE_DASHDOT,    {Rgb(  0,   0, 255), Rgb(  0, 189, 230), Rgb(  0, 189, 230)}},
    {Sample::MARK_TRIANGLE_DOWN,    Sample::LINE_DASHDOTDOT, {Rgb(128,   0, 255), Rgb(128, 128,   0), Rgb(128,   0, 128)}},
    {Sample::MARK_SQUARE,           Sample::LINE_SOLID,      {Rgb(255,   0, 128), Rgb(  0,   0, 160), Rgb(  0,   0, 160)}},
    {Sample::MARK_FILLED_CIRCLE,    Sample::LINE_SOLID,      {Rgb(128, 128, 255), Rgb( 28,  28,  28), Rgb( 66,  66,  66)}},
    {Sample::MARK_PLUS,             Sample::LINE_SOLID,      {Rgb(255, 128, 192), Rgb(  0, 128, 128), Rgb(183,   0,   0)}},
};

constexpr SpecialRow kSpecialLines[] = {
    // on black             on white            printer              on black            on white            printer
    {{Sample::LINE_SOLID,   Sample::LINE_SOLID, Sample::LINE_SOLID}, {Rgb(236, 198,  19), Rgb(255, 128,   0), Rgb(255, 128,   0)}},  // phase
    {{Sample::LINE_DASH,    Sample::LINE_DASH,  Sample::LINE_DOT},   {Rgb(236, 198,  19), Rgb(255, 128,   0), Rgb(255, 128,   0)}},  // warning
    {{Sample::LINE_DASH,    Sample::LINE_DASH,  Sample::LINE_DOT},   {Rgb(255,   0,   0), Rgb(255,   0,   0), Rgb(255,   0,   0)}},  // abort
    {{Sample::LINE_DASH,    Sample::LINE_DASH,  Sample::LINE_DOT},   {Rgb(255,   0,   0), Rgb(255,   0,   0), Rgb(255,   0,   0)}},  // limit
};
// clang-format on

constexpr Sample::EMarkType kSpecialMark = Sample::MARK_PLUS;

static_assert(std::size(kCompoColors) == std::size(GRAPH_COLOR_INFO_TAG{}.Compo));
static_assert(2 * std::size(kLines) == CGraphColorInfo::kGroupLines);
static_assert(CGraphColorInfo::DATALINE_PHASE + std::size(kSpecialLines) ==
              std::size(GRAPH_COLOR_INFO_TAG{}.Line));

GRAPH_COLOR_LINE_TAG Line(Sample::ELineType type, COLORREF color, Sample::EMarkType mark) {
    GRAPH_COLOR_LINE_TAG line = {};
    line.LineType = type;
    line.Thick = GRAPH_COLOR_LINE_TAG::THICK_NORMAL;
    line.Point = kDefaultPoint;
    line.LineColor = color;
    line.MarkType = mark;
    line.MarkColor = color;
    return line;
}

/// The two halves of a group have the same colours, so their types tell them apart; on paper, which may show
/// no colours, types tell apart the lines that come first.
Sample::ELineType LineType(const LineRow& row, ColorScheme scheme, bool isSecondHalf) {
    if (scheme == ColorScheme::printer) return isSecondHalf ? Sample::LINE_SOLID : row.printerType;
    return isSecondHalf ? Sample::LINE_DOT : Sample::LINE_SOLID;
}

}  // namespace

GRAPH_COLOR_INFO_TAG DefaultColors(ColorScheme scheme) {
    const auto column = static_cast<std::size_t>(scheme);
    constexpr std::size_t kHalf = std::size(kLines);
    GRAPH_COLOR_INFO_TAG set = {};
    for (std::size_t i = 0; i < std::size(kCompoColors); ++i) set.Compo[i] = kCompoColors[i][column];
    for (std::size_t i = 0; i < CGraphColorInfo::DATALINE_PHASE; ++i) {
        const LineRow& row = kLines[i % kHalf];
        set.Line[i] = Line(LineType(row, scheme, i / kHalf % 2 == 1), row.colors[column], row.mark);
    }
    for (std::size_t i = 0; i < std::size(kSpecialLines); ++i) {
        const SpecialRow& row = kSpecialLines[i];
        set.Line[CGraphColorInfo::DATALINE_PHASE + i] =
            Line(row.types[column], row.colors[column], kSpecialMark);
    }
    return set;
}

}  // namespace kvx::detail
