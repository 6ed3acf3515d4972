// SPDX-License-Identifier: MIT
//
// CGraphConfigInfo: what a graph window shows beside the curves, and how it searches their peaks. A plain
// value; one object belongs to one thread at a time.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/text/ItemInfo.h>

/// A peak search. A peak counts when it stands out from the valleys on both its sides by the threshold. The
/// record lies in files as it lies in memory, little-endian.
struct GRAPHCONFIGINFO_PEAKSEARCH_TAG {
    enum THRESHOLD_KIND : std::int32_t {
        THRESHOLD_LINEAR = 0,  ///< by a difference: LinearThreshold
        THRESHOLD_LOG = 1,     ///< by a ratio: RatioThreshold
        THRESHOLD_DB = 2,      ///< by the same ratio, entered and shown as 10 log10 of it
    };
    enum SEARCH_TYPE : std::int32_t {
        SEARCH_BOTH = 0,
        SEARCH_MAXIMA = 1,
        SEARCH_MINIMA = 2,
    };

    double LinearThreshold = 0.05;               ///< as a part of the visible range of the values
    double RatioThreshold = 1.2589254117941673;  ///< 1 dB
    THRESHOLD_KIND ThresholdKind = THRESHOLD_LINEAR;
    SEARCH_TYPE SearchType = SEARCH_BOTH;
    std::uint8_t Reserved[104] = {};
};
static_assert(sizeof(GRAPHCONFIGINFO_PEAKSEARCH_TAG) == 128);

class KVX_API CGraphConfigInfo {
public:
    /// Everything at its default.
    CGraphConfigInfo() = default;

    /// The search records count byte by byte, the digits of the scale only when both sides have them enabled.
    bool operator==(const CGraphConfigInfo& other) const;

    /// Back to the defaults.
    void Clear();

    /// The peak search itself, to be read and changed.
    GRAPHCONFIGINFO_PEAKSEARCH_TAG* GetPeakSearchInfo() { return &peakSearch_; }
    const GRAPHCONFIGINFO_PEAKSEARCH_TAG* GetPeakSearchInfo() const { return &peakSearch_; }

    /// The marks put on peaks: the search, the most marks shown, whether they are shown (`flag1`) and whether
    /// each has its value beside it (`flag2`). Null outputs are skipped.
    void GetPeakMarkInfo(GRAPHCONFIGINFO_PEAKSEARCH_TAG* search, std::int32_t* count, int* flag1,
                         int* flag2) const;
    void SetPeakMarkInfo(const GRAPHCONFIGINFO_PEAKSEARCH_TAG& search, std::int32_t count, int flag1,
                         int flag2);

    /// Whether the times of the test's start and end are shown.
    BOOL IsDispTestTime() const { return isTestTimeShown_; }
    void SetDispTestTime(BOOL isShown) { isTestTimeShown_ = isShown; }
    /// Whether the status is shown.
    BOOL IsDispStat() const { return isStatusShown_; }
    void SetDispStat(BOOL isShown) { isStatusShown_ = isShown; }
    /// Whether the legend is as wide as its texts need.
    BOOL IsLegendWidthText() const { return isLegendWidthText_; }
    void SetLegendWidthText(BOOL isFromText) { isLegendWidthText_ = isFromText; }
    /// Whether the labels of the vertical axis have a fixed number of decimals, and how many.
    BOOL GetScaleDigitFlg() const { return hasScaleDigits_; }
    void SetScaleDigitFlg(BOOL hasDigits) { hasScaleDigits_ = hasDigits; }
    std::int32_t GetScaleDigit() const { return scaleDigits_; }
    void SetScaleDigit(std::int32_t digits) { scaleDigits_ = digits; }

    /// Empties `list` and fills it with the search types; 0 when it is null or allocation fails.
    static BOOL GetPeakSearchTypeItemInfoList(CItemInfoList* list);

    /// The configuration record, 292 bytes. Loading reads any version; what an older one lacks gets its
    /// default. A short read throws the end-of-file exception and leaves everything at its default.
    void Serialize(CArchive& archive);
    /// Reads the first generation's record, which has no version word and knows the peak search and the test
    /// time only. Throws as above, and on a storing archive.
    void Serialize1st(CArchive& archive);

    /// Loads a configuration file of either generation from the folder of CAppFunc::GetKvxQ7Dir. `fileName`
    /// is its name there; null or empty is "GraphConfig.dat2". `headerText` (may be null) receives the free
    /// text of the header. On failure everything is at its default, the result is 0 and, when `showMessage`
    /// is not 0, the person is told.
    BOOL LoadGraphConfigInfo(CString* fileName, CString* headerText, int showMessage);
    /// The same for the first generation alone: a current file is refused.
    BOOL LoadGraphConfigInfo1st(CString* fileName, CString* headerText, int showMessage);
    /// Stores a current file there, creating the folder if missing, with `headerText` (may be null) in its
    /// header; an existing file is replaced only when everything was written. Failure is reported as above;
    /// the object stays as it is.
    BOOL StoreGraphConfigInfo(CString* fileName, CString* headerText, int showMessage);

private:
    void LclTransfer(CArchive& archive, std::int32_t version);

    __int64 tagSize_ = sizeof(GRAPHCONFIGINFO_PEAKSEARCH_TAG);
    GRAPHCONFIGINFO_PEAKSEARCH_TAG peakSearch_;
    BOOL isTestTimeShown_ = 0;
    BOOL isStatusShown_ = 0;
    BOOL isLegendWidthText_ = 0;
    BOOL hasScaleDigits_ = 0;
    std::int32_t scaleDigits_ = 1;
    GRAPHCONFIGINFO_PEAKSEARCH_TAG peakMark_;
    std::int32_t peakMarkCount_ = 5;
    BOOL peakMarkFlag1_ = 0;
    BOOL peakMarkFlag2_ = 0;
};
