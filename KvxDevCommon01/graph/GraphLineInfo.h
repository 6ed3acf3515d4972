// SPDX-License-Identifier: MIT
//
// CGraphLineInfo: one plotted series: its name, the line it is drawn with and the axis it belongs to.
// CGraphLineInfoList: the series of a graph in the order in which they are drawn, owned by value. One object
// belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <list>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CGraphLineInfo {
public:
    /// Whether the colour index names a data line (0 to 63).
    BOOL IsIndexValid() const;

    BOOL m_bDisp = 1;           ///< whether the series is drawn
    __int64 m_lColorIndex = 0;  ///< the CGraphColorInfo::DATALINE_KIND it is drawn with
    CString m_strName;
    std::uint32_t m_lAxis = 0;   ///< 0 the first Y axis, else the second
    std::uint32_t m_lUser1 = 0;  ///< at the application's disposal
    std::uint32_t m_lUser2 = 0;
};

class KVX_API CGraphLineInfoList {
public:
    /// 64: as many series as there are colours for them.
    static __int64 GetMaxColorNum();
    static __int64 GetMaxLineNum();
    /// 255: most slices of a waterfall.
    static __int64 GetWaterfallMaxLineNum();

    /// Appends a copy; 0 when the list is full or allocation fails.
    BOOL Append(const CGraphLineInfo& info);
    /// Fills the list anew with `count` default series, each with its own index as colour index. 0, with the
    /// list unchanged, when that is more than the list takes or allocation fails.
    BOOL CreateInfo(__int64 count);
    /// 0 when `index` is outside [0, count).
    BOOL Delete(__int64 index);
    void ClearAll();

    __int64 GetNum() const;
    /// A series, to be read and changed, as long as it is in the list; null when `index` is outside
    /// [0, count).
    CGraphLineInfo* GetInfoPtr(__int64 index) const;
    /// The n-th series among those whose axis word is 0, or is 1; null when there is none.
    CGraphLineInfo* GetInfoPtr1stAxis(__int64 n) const;
    CGraphLineInfo* GetInfoPtr2ndAxis(__int64 n) const;
    /// How many series have an axis word other than 0.
    __int64 Get2ndAxisDataNum() const;

private:
    CGraphLineInfo* LclGetInfoPtr(std::uint32_t axis, __int64 n) const;

    mutable std::list<CGraphLineInfo> lines_;  // a list that is const still hands out its series for changing
};
