// SPDX-License-Identifier: MIT
//
// CGraphParam: what a graph shows: the cells of a matrix of data with their names, how they are drawn, the X
// axis, the units, the depth of a waterfall or colour map and what stands around the plot. The samples
// themselves are not part of it. A value, in groups, that an application fills in; an object belongs to one
// thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/graph/GraphLineInfo.h>
#include <KvxDevCommon01/graph/OwnedCopy.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/ValConv.h>

class CItemInfoList;

namespace kvx {

/// A text per slice of a waterfall or colour map, for slices that no number tells apart.
class KVX_API SliceTexts {
public:
    virtual ~SliceTexts();
    /// The text of slice `index`, counted from 0.
    virtual CString GetText(__int64 index) const = 0;
    /// A copy with a life of its own; null when allocation fails.
    virtual std::unique_ptr<SliceTexts> Clone() const = 0;

protected:
    SliceTexts() = default;
    SliceTexts(const SliceTexts&) = default;
    SliceTexts& operator=(const SliceTexts&) = default;
};

}  // namespace kvx

class KVX_API CGraphParam {
public:
    /// Bits, so that a mask can offer several.
    enum GRAPHDISP_TYPE : std::uint32_t {
        GRAPHDISP_2D = 1,
        GRAPHDISP_WATERFALL = 2,
        GRAPHDISP_COLORMAP = 4,
    };
    /// All display types.
    static constexpr std::int32_t s_lGraphDispTypeMask = 7;

    /// What is drawn of the samples, which may be complex, over X unless stated otherwise. A kind of two
    /// parts has two plots, one below the other.
    enum GRAPH_KIND : std::uint32_t {
        GRAPH_VALUE = 1,  ///< the value itself: waveforms, densities, coherences
        GRAPH_MAGNITUDE = 2,
        GRAPH_PHASE = 3,            ///< from -pi to pi
        GRAPH_UNWRAPPED_PHASE = 4,  ///< without the jumps by a whole turn
        GRAPH_REAL = 5,
        GRAPH_IMAGINARY = 6,
        GRAPH_MAGNITUDE_PHASE = 7,
        GRAPH_REAL_IMAGINARY = 8,
        GRAPH_NYQUIST = 9,  ///< imaginary over real part
        GRAPH_ORBIT = 10,   ///< every second series over the one before it
        GRAPH_STEPS = 11,   ///< the value, held up to the next sample
        GRAPH_BARS = 12,    ///< the value, as a bar
        GRAPH_MARKS = 13,   ///< the value, as marks without a line
    };

    /// What the values are. From 101 on they are the course of a whole test.
    enum DATA_KIND : std::uint32_t {
        DATA_WAVEFORM = 1,
        DATA_SPECTRUM = 2,  ///< amplitudes of spectral lines
        DATA_COMPLEX_SPECTRUM = 3,
        DATA_POWER_SPECTRUM = 4,
        DATA_PSD = 5,
        DATA_CROSS_SPECTRUM = 6,
        DATA_TRANSFER = 7,
        DATA_COHERENCE = 8,
        DATA_SHOCK_RESPONSE = 9,
        DATA_DISTRIBUTION = 10,     ///< of amplitudes
        DATA_LEVEL_COURSE = 101,    ///< level over time
        DATA_SWEEP = 102,           ///< level over the frequency of a sweep
        DATA_SWEEP_TRANSFER = 105,  ///< transfer function over the frequency of a sweep
        DATA_COUNT_COURSE = 106,    ///< cycles or damage over time
    };

    enum X_OPTION : std::uint32_t {
        X_PLAIN = 0,
        X_WITHOUT_FIRST = 1,  ///< sample 0 is not drawn: the line at 0 Hz, which is offset and drift
    };

    enum WATERFALL_OPTION : std::uint32_t {
        WATERFALL_LINES = 0,
        WATERFALL_FILLED = 1,  ///< what lies below a slice is tinted with its colour
    };

    /// Where the values of the slices come from when they are not evenly spaced.
    enum Z_SOURCE : std::uint32_t {
        Z_INTEGERS = 1,
        Z_VALUES = 2,
        Z_TEXTS = 3,
    };

    /// Which series share a pane.
    enum PANE_MODE : std::uint32_t {
        PANE_SINGLE = 0,  ///< all
        PANE_PER_ROW = 1,
        PANE_PER_COL = 2,
        PANE_PER_CELL = 3,
    };

    /// The data as a matrix of series, one for each row (channel) and column (reference).
    struct Cells {
        __int64 rowNum = 0;
        __int64 colNum = 0;
        GRAPH_KIND graphKind = GRAPH_VALUE;
        DATA_KIND dataKind = DATA_WAVEFORM;
        CStringArray rowNames;
        CStringArray colNames;
    };

    struct XAxis {
        __int64 num = 0;        ///< samples of a series
        double interval = 0.0;  ///< sample i lies at start + (i + offset) * interval unless this is 0
        double start = 0.0;
        __int64 offset = 0;
        CDataArrayDouble values;  ///< X of each sample when the interval is 0
        X_OPTION option = X_PLAIN;
    };

    /// The shown units; the values are in standard units.
    struct Units {
        CUnitCtrl x;
        CUnitCtrl y;
        BOOL y2Enable = 0;  ///< there is a second Y axis, on the right
        CUnitCtrl y2;
    };

    /// The series to be drawn: first the cells, row by row; what comes behind them (profiles, limits) is
    /// drawn in every pane.
    struct Series {
        __int64 num = 0;       ///< not 0
        __int64 y2Num = 0;     ///< how many of them are on the second Y axis
        __int64 selected = 0;  ///< whether one cell stands out: that of the row and column below
        __int64 selectedRow = 0;
        __int64 selectedCol = 0;
        std::array<__int64, 10> user{};  ///< the application's own; copied and otherwise left alone
    };

    struct ZAxis {
        CString title;  ///< of the whole graph
        GRAPHDISP_TYPE dispType = GRAPHDISP_2D;
        WATERFALL_OPTION waterfallOption = WATERFALL_LINES;  ///< must be 0 for a colour map
        __int64 num = 0;                                     ///< slices
        CString name;
        CUnitCtrl unit;
        double interval = 0.0;  ///< slice i lies at start + i * interval unless this is 0
        double start = 0.0;
        Z_SOURCE source = Z_INTEGERS;  ///< which of these tells the slices apart when the interval is 0
        kvx::OwnedCopy<CDataArrayLong> integers;
        kvx::OwnedCopy<CDataArrayDouble> values;
        kvx::OwnedCopy<kvx::SliceTexts> texts;
    };

    /// What stands in and around the plots.
    struct Frame {
        /// Something of each axis.
        template <typename Value>
        struct PerAxis {
            Value x{};
            Value y{};
            Value y2{};
        };

        PANE_MODE paneMode = PANE_SINGLE;
        PerAxis<CValConv::UNIT_SUFFIX> suffix;  ///< amplitude that is shown; 0 counts as none
        PerAxis<std::int32_t> digits;           ///< significant digits of the numbers; 0 for enough
        BOOL title = 1;
        BOOL legend = 1;
        BOOL grid = 1;
        BOOL numbers = 1;  ///< at the axes
    };

    /// Nothing but defaults: an empty waveform in two dimensions, which Check refuses.
    CGraphParam();
    ~CGraphParam();
    /// Copies everything, the sources of the Z values included; the copy is cleared when allocation fails.
    CGraphParam(const CGraphParam& other);
    CGraphParam& operator=(const CGraphParam& other);
    /// Leaves `other` cleared.
    CGraphParam(CGraphParam&& other) noexcept;
    CGraphParam& operator=(CGraphParam&& other) noexcept;

    /// Back to the defaults; the sources of the Z values are released.
    void Clear();

    /// Whether the fields are complete and do not contradict each other: counts with as many names, known
    /// kinds, at least one line, sample and series, X values, no series on an axis that is not there, a
    /// selected cell that exists, and slices with values where there is a depth.
    BOOL Check() const;

    /// Display name of a display type; 0, with `text` unchanged, for any other value and for null.
    static BOOL GetGraphDispTypeString(GRAPHDISP_TYPE type, CString* text);
    /// Fills a selection list with the display types (item code: the type); those outside `enabledMask`
    /// cannot be chosen. 0 when the list is null or allocation fails.
    static BOOL GetGraphDispTypeItemInfoList(CItemInfoList* list, std::int32_t enabledMask);

    /// X of a sample in the standard unit; outside the explicit X values 0.
    double GetXValue(__int64 index) const;
    /// Value of a slice with its unit. 0, with `text` unchanged, when there is no depth, when `index` is
    /// outside [0, m_z.num) or the source holds nothing for it, and for null.
    BOOL GetZDataString(__int64 index, CString* text) const;

    Cells m_cells;
    CGraphLineInfoList m_lines;  ///< setting of each series; series k takes entry k modulo their number
    XAxis m_x;
    Units m_units;
    Series m_series;
    ZAxis m_z;
    Frame m_frame;

private:
    bool LclCheckSelection() const;
    bool LclCheckDepth() const;
    bool LclHasSource() const;
    bool LclGetSliceValue(__int64 index, CString* text) const;
};
