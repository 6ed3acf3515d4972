// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphLineInfo.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace {

constexpr __int64 kMaxLines = 64;
constexpr __int64 kMaxWaterfallLines = 255;

}  // namespace

BOOL CGraphLineInfo::IsIndexValid() const {
    return m_lColorIndex >= 0 && m_lColorIndex < kMaxLines;
}

__int64 CGraphLineInfoList::GetMaxColorNum() {
    return kMaxLines;
}

__int64 CGraphLineInfoList::GetMaxLineNum() {
    return kMaxLines;
}

__int64 CGraphLineInfoList::GetWaterfallMaxLineNum() {
    return kMaxWaterfallLines;
}

BOOL CGraphLineInfoList::Append(const CGraphLineInfo& info) try {
    if (GetNum() >= kMaxLines) return 0;
    lines_.push_back(info);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

BOOL CGraphLineInfoList::CreateInfo(__int64 count) try {
    if (count > kMaxLines) return 0;
    std::list<CGraphLineInfo> created;
    for (__int64 i = 0; i < count; ++i) created.emplace_back().m_lColorIndex = i;
    lines_.swap(created);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

BOOL CGraphLineInfoList::Delete(__int64 index) {
    if (index < 0 || index >= GetNum()) return 0;
    lines_.erase(std::next(lines_.begin(), index));
    return 1;
}

void CGraphLineInfoList::ClearAll() {
    lines_.clear();
}

__int64 CGraphLineInfoList::GetNum() const {
    return std::ssize(lines_);
}

CGraphLineInfo* CGraphLineInfoList::GetInfoPtr(__int64 index) const {
    return index >= 0 && index < GetNum() ? &*std::next(lines_.begin(), index) : nullptr;
}

CGraphLineInfo* CGraphLineInfoList::LclGetInfoPtr(std::uint32_t axis, __int64 n) const {
    if (n < 0) return nullptr;
    for (CGraphLineInfo& line : lines_) {
        if (line.m_lAxis == axis && n-- == 0) return &line;
    }
    return nullptr;
}

CGraphLineInfo* CGraphLineInfoList::GetInfoPtr1stAxis(__int64 n) const {
    return LclGetInfoPtr(0, n);
}

CGraphLineInfo* CGraphLineInfoList::GetInfoPtr2ndAxis(__int64 n) const {
    return LclGetInfoPtr(1, n);
}

__int64 CGraphLineInfoList::Get2ndAxisDataNum() const {
    return std::ranges::count_if(lines_, [](const CGraphLineInfo& line) { return line.m_lAxis != 0; });
}
