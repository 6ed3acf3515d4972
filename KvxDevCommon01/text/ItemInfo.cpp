// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ItemInfo.h>

#include <algorithm>
#include <new>
#include <utility>

#include <KvxDevCommon01/resources/StringTable.h>

CItemInfo::CItemInfo(std::int32_t code, CString text, int enabled)
    : code_(code), text_(std::move(text)), enabled_(enabled) {}

int CItemInfoList::GetItem(__int64 index, CItemInfo* out) const try {
    if (out == nullptr || index < 0 || index >= GetNum()) return 0;
    CItemInfo copy = items_[static_cast<std::size_t>(index)];
    *out = std::move(copy);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

__int64 CItemInfoList::Find(std::int32_t code) const {
    const auto item = std::ranges::find(items_, code, &CItemInfo::GetCode);
    return item != items_.end() ? item - items_.begin() : -1;
}

int CItemInfoList::Append(const CItemInfo& item) {
    return Insert(GetNum(), item);
}

int CItemInfoList::Append(std::int32_t code, const CString& text, int enabled) try {
    return Append(CItemInfo(code, text, enabled));
} catch (const std::bad_alloc&) {
    return 0;
}

int CItemInfoList::AppendResource(std::int32_t code, unsigned int id, int enabled) try {
    const CString text(kvx::ResourceText(id).substr(0, CItemInfo::kTextLimit));
    return !text.empty() && Append(code, text, enabled);
} catch (const std::bad_alloc&) {
    return 0;
}

int CItemInfoList::Insert(__int64 index, const CItemInfo& item) try {
    if (index < 0 || index > GetNum()) return 0;
    items_.insert(items_.begin() + index, item);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

int CItemInfoList::Remove(__int64 index) {
    if (index < 0 || index >= GetNum()) return 0;
    items_.erase(items_.begin() + index);
    return 1;
}
