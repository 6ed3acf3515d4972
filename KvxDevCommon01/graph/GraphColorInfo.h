// SPDX-License-Identifier: MIT
//
// CGraphColorInfo: the colours of a graph's components and the line and mark of each kind of data line, in
// two complete sets: one for the display, one for the printer. A plain value; one object belongs to one
// thread at a time. The records below lie in files as they lie in memory, little-endian.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

/// How one kind of data line is drawn.
struct GRAPH_COLOR_LINE_TAG {
    /// Thickness of a line on the display.
    enum THICK_KIND : std::int32_t {
        THICK_NORMAL = 0,
        THICK_MEDIUM = 1,  ///< somewhat thick
        THICK_EXTRA = 2,   ///< extra thick
    };

    CKvxGraphLineSample::ELineType LineType;
    THICK_KIND Thick;
    double Point;  ///< width on the printer, in points
    COLORREF LineColor;
    std::uint8_t Reserved1[108];
    CKvxGraphLineSample::EMarkType MarkType;
    COLORREF MarkColor;
    std::uint8_t Reserved2[120];
};
static_assert(sizeof(GRAPH_COLOR_LINE_TAG) == 256);

/// One complete set: 8 component colours and 68 lines.
struct GRAPH_COLOR_INFO_TAG {
    COLORREF Compo[8];  ///< by CGraphColorInfo::COMPO_KIND
    std::uint8_t Reserved[96];
    GRAPH_COLOR_LINE_TAG Line[68];  ///< by CGraphColorInfo::DATALINE_KIND
};
static_assert(sizeof(GRAPH_COLOR_INFO_TAG) == 17'536);

class KVX_API CGraphColorInfo {
public:
    enum OUTPUT_KIND : std::uint32_t {
        OUTPUT_DISPLAY = 0,
        OUTPUT_PRINTER = 1,
        OUTPUT_BOTH = 2,  ///< for the defaults only; everywhere else what is not 0 is the printer
    };

    enum COMPO_KIND : std::uint32_t {
        COMPO_WINDOW_BACK = 0,
        COMPO_GRAPH_BACK = 1,
        COMPO_FRAME = 2,
        COMPO_TEXT = 3,
        COMPO_GRID = 4,
        COMPO_CURSOR = 5,
        COMPO_LEGEND_BACK = 6,
        COMPO_LEGEND_TEXT = 7,  ///< what is not one of those before it means this, too
    };

    /// Four groups of sixteen data lines, 0 to 63, then the special lines. A kind of 68 or more must not be
    /// passed; it would mean the last.
    enum DATALINE_KIND : std::uint32_t {
        DATALINE_FIRST = 0,
        DATALINE_PHASE = 64,
        DATALINE_WARNING = 65,
        DATALINE_ABORT = 66,
        DATALINE_LIMIT = 67,
    };

    /// Number of data lines in a group.
    static constexpr std::uint32_t kGroupLines = 16;

    /// Both sets as SetDefault1 makes them.
    CGraphColorInfo();

    /// Byte by byte over both sets.
    bool operator==(const CGraphColorInfo& other) const;

    /// Zeroes both sets, then SetDefault1 for both.
    void Clear();
    /// The default colours of the printer and, for the display, those on black (1) or on white (2). `output`
    /// 0 sets the display's set, 1 the printer's, anything else both.
    void SetDefault1(OUTPUT_KIND output);
    void SetDefault2(OUTPUT_KIND output);

    /// Copies a whole set out; 0 when `out` is null.
    BOOL GetColorInfoT(GRAPH_COLOR_INFO_TAG* out, OUTPUT_KIND output) const;
    /// Replaces a whole set.
    void SetColorInfoT(const GRAPH_COLOR_INFO_TAG& set, OUTPUT_KIND output);

    COLORREF GetCompoInfo(COMPO_KIND compo, OUTPUT_KIND output) const;
    void SetCompoInfo(COMPO_KIND compo, COLORREF color, OUTPUT_KIND output);

    COLORREF GetLineColorRef(DATALINE_KIND line, OUTPUT_KIND output) const;
    void SetLineColorRef(DATALINE_KIND line, COLORREF color, OUTPUT_KIND output);
    CKvxGraphLineSample::ELineType GetLineType(DATALINE_KIND line, OUTPUT_KIND output) const;
    void SetLineKind(DATALINE_KIND line, CKvxGraphLineSample::ELineType type, OUTPUT_KIND output);
    COLORREF GetMarkColorRef(DATALINE_KIND line, OUTPUT_KIND output) const;
    void SetMarkColorRef(DATALINE_KIND line, COLORREF color, OUTPUT_KIND output);
    CKvxGraphLineSample::EMarkType GetMarkKind(DATALINE_KIND line, OUTPUT_KIND output) const;
    void SetMarkKind(DATALINE_KIND line, CKvxGraphLineSample::EMarkType type, OUTPUT_KIND output);
    GRAPH_COLOR_LINE_TAG::THICK_KIND GetThickKind(DATALINE_KIND line, OUTPUT_KIND output) const;
    void SetThickKind(DATALINE_KIND line, GRAPH_COLOR_LINE_TAG::THICK_KIND thick, OUTPUT_KIND output);

    /// Width of a line in points: always the printer's. The display's set only carries its own along.
    double GetPoint(DATALINE_KIND line) const;
    void SetPoint(DATALINE_KIND line, double widthPoints);

    /// The colour record, 35,076 bytes. Loading reads any version; a short read throws the end-of-file
    /// exception and leaves both sets zero.
    void Serialize(CArchive& archive);
    /// Reads what follows the version word of the versions before 2, whose sets have sixteen data lines and
    /// the special ones; all groups then get the same lines. Throws on a short read, with both sets zero, and
    /// on a storing archive.
    void SerializeLine16(CArchive& archive);
    /// Reads the first generation's record, which has no version word, no reserve and no widths; otherwise as
    /// SerializeLine16.
    void Serialize1st(CArchive& archive);

    /// Loads a graph colour file of either generation; `headerText` (may be null) receives the free text of
    /// its header. On failure the colours are the defaults, the result is 0 and, when `showMessage` is not 0,
    /// the person is told.
    BOOL LoadGraphColorInfo(const CString& path, CString* headerText, int showMessage);
    /// The same for the first generation alone: a current file is refused.
    BOOL LoadGraphColorInfo1st(const CString& path, CString* headerText, int showMessage);
    /// Stores a current file, with `headerText` (may be null) in its header, replacing an existing one only
    /// when everything was written. Failure is reported as above; the colours stay.
    BOOL StoreGraphColorInfo(const CString& path, CString* headerText, int showMessage);

private:
    void LclInit();
    void LclSetDefault(const GRAPH_COLOR_INFO_TAG& display, OUTPUT_KIND output);
    GRAPH_COLOR_INFO_TAG& LclSet(OUTPUT_KIND output);
    const GRAPH_COLOR_INFO_TAG& LclSet(OUTPUT_KIND output) const;
    GRAPH_COLOR_LINE_TAG& LclLine(DATALINE_KIND line, OUTPUT_KIND output);
    const GRAPH_COLOR_LINE_TAG& LclLine(DATALINE_KIND line, OUTPUT_KIND output) const;

    GRAPH_COLOR_INFO_TAG display_;
    GRAPH_COLOR_INFO_TAG printer_;
    __int64 setSize_ = sizeof(GRAPH_COLOR_INFO_TAG);
};
