// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphConfigInfo.h>

#include <cstddef>
#include <cstring>

#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/graph/detail/FieldStream.h>
#include <KvxDevCommon01/graph/detail/SettingsFile.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Path.h>

using kvx::detail::FieldStream;

static_assert(offsetof(GRAPHCONFIGINFO_PEAKSEARCH_TAG, RatioThreshold) == 8);
static_assert(offsetof(GRAPHCONFIGINFO_PEAKSEARCH_TAG, ThresholdKind) == 16);
static_assert(offsetof(GRAPHCONFIGINFO_PEAKSEARCH_TAG, SearchType) == 20);
static_assert(offsetof(GRAPHCONFIGINFO_PEAKSEARCH_TAG, Reserved) == 24);

namespace {

constexpr std::int32_t kVersion = 4;
constexpr std::int32_t kVersionOfLegend = 3;  // the first versions that hold these fields
constexpr std::int32_t kVersionOfStatus = 4;

constexpr kvx::detail::SettingsFileKind kFileKind = {
    CComHdr::EXT_INFO_GRAPH_CONFIG, kvx::kTextLoadGraphInfoFailed, kvx::kTextStoreGraphInfoFailed};

constexpr const wchar_t* kStandardFileName = L"GraphConfig.dat2";

void TransferCriteria(FieldStream& fields, GRAPHCONFIGINFO_PEAKSEARCH_TAG& search) {
    fields(search.LinearThreshold);
    fields(search.RatioThreshold);
    fields(search.ThresholdKind);
    fields(search.SearchType);
}

void TransferSearch(FieldStream& fields, GRAPHCONFIGINFO_PEAKSEARCH_TAG& search) {
    TransferCriteria(fields, search);
    fields(search.Reserved);
}

/// The path of a file in the controller's folder; empty, which no file has, when it would be too long.
CString ControllerPath(const CString* fileName) {
    const CString name = fileName != nullptr && !fileName->empty() ? *fileName : kStandardFileName;
    CString folder;
    if (!CAppFunc::GetKvxQ7Dir(&folder, 0)) return {};
    return kvx::JoinPath({L"", folder, name, L""}).value_or(L"");
}

bool IsSame(const GRAPHCONFIGINFO_PEAKSEARCH_TAG& a, const GRAPHCONFIGINFO_PEAKSEARCH_TAG& b, __int64 size) {
    return std::memcmp(&a, &b, static_cast<std::size_t>(size)) == 0;
}

}  // namespace

bool CGraphConfigInfo::operator==(const CGraphConfigInfo& other) const {
    const bool hasDigits = hasScaleDigits_ && other.hasScaleDigits_;
    return IsSame(peakSearch_, other.peakSearch_, tagSize_) && isTestTimeShown_ == other.isTestTimeShown_ &&
           isStatusShown_ == other.isStatusShown_ && isLegendWidthText_ == other.isLegendWidthText_ &&
           hasScaleDigits_ == other.hasScaleDigits_ && (!hasDigits || scaleDigits_ == other.scaleDigits_) &&
           IsSame(peakMark_, other.peakMark_, tagSize_) && peakMarkCount_ == other.peakMarkCount_ &&
           peakMarkFlag1_ == other.peakMarkFlag1_ && peakMarkFlag2_ == other.peakMarkFlag2_;
}

void CGraphConfigInfo::Clear() {
    *this = {};
}

void CGraphConfigInfo::GetPeakMarkInfo(GRAPHCONFIGINFO_PEAKSEARCH_TAG* search, std::int32_t* count,
                                       int* flag1, int* flag2) const {
    if (search != nullptr) *search = peakMark_;
    if (count != nullptr) *count = peakMarkCount_;
    if (flag1 != nullptr) *flag1 = peakMarkFlag1_;
    if (flag2 != nullptr) *flag2 = peakMarkFlag2_;
}

void CGraphConfigInfo::SetPeakMarkInfo(const GRAPHCONFIGINFO_PEAKSEARCH_TAG& search, std::int32_t count,
                                       int flag1, int flag2) {
    peakMark_ = search;
    peakMarkCount_ = count;
    peakMarkFlag1_ = flag1;
    peakMarkFlag2_ = flag2;
}

BOOL CGraphConfigInfo::GetPeakSearchTypeItemInfoList(CItemInfoList* list) {
    using Tag = GRAPHCONFIGINFO_PEAKSEARCH_TAG;
    if (list == nullptr) return 0;
    list->Init();
    return list->AppendResource(Tag::SEARCH_BOTH, kvx::kTextPeakSearchBoth) &&
           list->AppendResource(Tag::SEARCH_MAXIMA, kvx::kTextPeakSearchMaxima) &&
           list->AppendResource(Tag::SEARCH_MINIMA, kvx::kTextPeakSearchMinima);
}

void CGraphConfigInfo::LclTransfer(CArchive& archive, std::int32_t version) {
    FieldStream fields(archive);
    TransferSearch(fields, peakSearch_);
    fields(isTestTimeShown_);
    TransferSearch(fields, peakMark_);
    fields(peakMarkCount_);
    fields(peakMarkFlag1_);
    fields(peakMarkFlag2_);
    if (version >= kVersionOfLegend) fields(isLegendWidthText_);
    if (version >= kVersionOfStatus) {
        fields(isStatusShown_);
        fields(hasScaleDigits_);
        fields(scaleDigits_);
    }
}

void CGraphConfigInfo::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << kVersion;
        LclTransfer(archive, kVersion);
        return;
    }
    Clear();
    std::int32_t version = 0;
    archive >> version;
    CGraphConfigInfo loaded;
    loaded.LclTransfer(archive, version);
    *this = loaded;
}

void CGraphConfigInfo::Serialize1st(CArchive& archive) {
    if (archive.IsStoring()) throw CFileException(CFileException::endOfFile);
    Clear();
    CGraphConfigInfo loaded;
    FieldStream fields(archive);
    TransferCriteria(fields, loaded.peakSearch_);
    fields(loaded.isTestTimeShown_);
    *this = loaded;
}

BOOL CGraphConfigInfo::LoadGraphConfigInfo(CString* fileName, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, ControllerPath(fileName), headerText, showMessage,
                                     {[this] { Clear(); }, [this](CArchive& a) { Serialize1st(a); },
                                      [this](CArchive& a) { Serialize(a); }});
}

BOOL CGraphConfigInfo::LoadGraphConfigInfo1st(CString* fileName, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, ControllerPath(fileName), headerText, showMessage,
                                     {[this] { Clear(); }, [this](CArchive& a) { Serialize1st(a); }});
}

BOOL CGraphConfigInfo::StoreGraphConfigInfo(CString* fileName, CString* headerText, int showMessage) {
    CString folder;
    CAppFunc::GetKvxQ7Dir(&folder, 1);  // without the folder, storing fails and says so
    return kvx::detail::StoreSettings(kFileKind, ControllerPath(fileName), headerText, showMessage,
                                      [this](CArchive& a) { Serialize(a); });
}
