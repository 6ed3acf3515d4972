// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ItemInfo.h>

#include <algorithm>
#include <new>
#include <utility>

#include <KvxDevCommon01/resources/StringTable.h>

CItemInfo::CItemInfo(std::int32_t code, CString text, int enabled)
    : code_(code), text_(std::move(text)), enabled_(enabled) {}

int CItemInfoList::GetItem(__int64 index, CItemInfo* out) const {
    if (out == nullptr || index < 0 || index >= GetNum()) return 0;
    *out = items_[static_cast<std::size_t>(index)];
    return 1;
}

__int64 CItemInfoList::Find(std::int32_t code) const {
    const auto item = std::ranges::find(items_, code, &CItemInfo::GetCode);
    return item != items_.end() ? item - items_.begin() : -1;
}

int CItemInfoList::Append(const CItemInfo& item) {
    return Insert(GetNum(), item);
}

int CItemInfoList::Append(std::int32_t code, const CString& text, int enabled) {
    return Append(CItemInfo(code, text, enabled));
}

int CItemInfoList::AppendResource(std::int32_t code, unsigned int id, int enabled) {
    CString text;
    return kvx::LoadResourceText(id, &text, CItemInfo::kTextLimit) && Append(code, text, enabled);
}

int CItemInfoList::Insert(__int64 index, const CItemInfo& item) {
    if (index < 0 || index > GetNum()) return 0;
    try {
        items_.insert(items_.begin() + index, item);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}

int CItemInfoList::Remove(__int64 index) {
    if (index < 0 || index >= GetNum()) return 0;
    items_.erase(items_.begin() + index);
    return 1;
}
