// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphMarkInfo.h>

#include <algorithm>
#include <iterator>
#include <new>

CGraphMarkInfo::CGraphMarkInfo(std::int32_t code, const CKvxGraphLineSample* sample) : code_(code) {
    Set(sample);
}

CGraphMarkInfo::~CGraphMarkInfo() = default;

BOOL CGraphMarkInfo::operator=(const CKvxGraphLineSample* sample) {
    return Set(sample);
}

BOOL CGraphMarkInfo::Set(const CKvxGraphLineSample* sample) {
    if (sample == nullptr) return 0;
    sample_ = *sample;
    return 1;
}

BOOL CGraphMarkInfo::Get(CKvxGraphLineSample* sample) const {
    if (sample == nullptr) return 0;
    *sample = sample_;
    return 1;
}

bool CGraphMarkInfo::operator==(const CGraphMarkInfo& other) const {
    return sample_ == other.sample_ && code_ == other.code_;
}

__int64 CGraphMarkInfoList::LclFind(std::int32_t code) const {
    const auto mark = std::ranges::find(marks_, code, &CGraphMarkInfo::GetCode);
    return mark != marks_.end() ? mark - marks_.begin() : -1;
}

BOOL CGraphMarkInfoList::Append(const CGraphMarkInfo& info) try {
    if (LclFind(info.GetCode()) >= 0) return 0;
    marks_.push_back(info);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

BOOL CGraphMarkInfoList::GetInfoByCode(std::int32_t code, __int64* index, CGraphMarkInfo* info) const {
    const __int64 found = LclFind(code);
    if (found < 0) return 0;
    if (index != nullptr) *index = found;
    if (info != nullptr) GetInfoByIndex(found, info);
    return 1;
}

BOOL CGraphMarkInfoList::GetInfoByIndex(__int64 index, CGraphMarkInfo* info) const {
    if (info == nullptr || index < 0 || index >= GetNum()) return 0;
    *info = marks_[static_cast<std::size_t>(index)];
    return 1;
}

BOOL CGraphMarkInfoList::UpdateByCode(std::int32_t code, const CGraphMarkInfo& info) {
    return UpdateByIndex(LclFind(code), info);
}

BOOL CGraphMarkInfoList::UpdateByIndex(__int64 index, const CGraphMarkInfo& info) {
    if (index < 0 || index >= GetNum()) return 0;
    const __int64 owner = LclFind(info.GetCode());
    if (owner >= 0 && owner != index) return 0;
    marks_[static_cast<std::size_t>(index)] = info;
    return 1;
}

BOOL CGraphMarkInfoList::DeleteByCode(std::int32_t code) {
    return DeleteByIndex(LclFind(code));
}

BOOL CGraphMarkInfoList::DeleteByIndex(__int64 index) {
    if (index < 0 || index >= GetNum()) return 0;
    marks_.erase(marks_.begin() + index);
    return 1;
}

void CGraphMarkInfoList::ClearAll() {
    marks_.clear();
}

__int64 CGraphMarkInfoList::GetNum() const {
    return std::ssize(marks_);
}
