// SPDX-License-Identifier: MIT
//
// CKvxGraphLineSample: everything needed to draw the sample of one plotted line: the line, its marks and the
// ground behind them. A plain value of thirteen 32-bit attributes; what draws it is the application's or the
// plotting library's business.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

/// A colour as the interface and the files hold it: 0x00BBGGRR.
using COLORREF = std::uint32_t;

namespace kvx {

/// The colour of red, green and blue parts, 0 to 255 each.
constexpr COLORREF Rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8 | blue << 16;
}

}  // namespace kvx

class KVX_API CKvxGraphLineSample {
public:
    /// How a line is broken up. The numbers are stored in files; unknown ones are drawn solid.
    enum ELineType : std::int32_t {
        LINE_SOLID = 0,
        LINE_DASH = 1,
        LINE_DOT = 2,
        LINE_DASHDOT = 3,
        LINE_DASHDOTDOT = 4,
        LINE_NONE = 5,  ///< marks only
    };

    /// Shape of the marks on the samples. The numbers are stored in files; unknown ones are not drawn.
    enum EMarkType : std::int32_t {
        MARK_NONE = 0,
        MARK_FILLED_CIRCLE = 1,
        MARK_FILLED_SQUARE = 2,
        MARK_FILLED_DIAMOND = 3,
        MARK_FILLED_TRIANGLE = 4,
        MARK_CIRCLE = 5,
        MARK_SQUARE = 6,
        MARK_DIAMOND = 7,
        MARK_TRIANGLE = 8,
        MARK_TRIANGLE_DOWN = 9,
        MARK_CROSS = 10,  ///< two diagonal strokes
        MARK_PLUS = 11,   ///< a vertical and a horizontal stroke
    };

    /// Equal in all thirteen attributes.
    bool operator==(const CKvxGraphLineSample&) const = default;

    BOOL m_bLine = 1;  ///< whether the line is drawn
    ELineType m_eLineType = LINE_SOLID;
    std::int32_t m_lLineThick = 0;   ///< GRAPH_COLOR_LINE_TAG::THICK_KIND, used on the display
    std::int32_t m_lLineWidth = 80;  ///< in hundredths of a point, used on the printer
    COLORREF m_rgbLine = kvx::Rgb(0, 0, 0);
    BOOL m_bMark = 0;  ///< whether marks are drawn
    EMarkType m_eMarkType = MARK_NONE;
    std::int32_t m_lMarkSize = 600;      ///< across, in hundredths of a point
    std::int32_t m_lMarkLineWidth = 80;  ///< of its outline, in hundredths of a point
    std::int32_t m_lMarkInterval = 1;    ///< every n-th sample has a mark
    COLORREF m_rgbMark = kvx::Rgb(0, 0, 0);
    BOOL m_bBack = 0;  ///< whether the ground is filled
    COLORREF m_rgbBack = kvx::Rgb(255, 255, 255);
};
static_assert(sizeof(CKvxGraphLineSample) == 13 * 4);
