// SPDX-License-Identifier: MIT
//
// Items of a selection list: a code for the program, a text for the person and whether the item can be
// chosen. A list keeps its items by value in the order in which they were put there. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CItemInfo {
public:
    /// Longest text, in characters, that an item takes over from the string table.
    static constexpr std::size_t kTextLimit = 130;

    CItemInfo() = default;
    CItemInfo(std::int32_t code, CString text, int enabled = 1);

    std::int32_t GetCode() const { return code_; }
    const CString& GetText() const { return text_; }
    /// 0 when the item is shown but cannot be chosen.
    int IsEnabled() const { return enabled_; }

    bool operator==(const CItemInfo&) const = default;

private:
    std::int32_t code_ = 0;
    CString text_;
    int enabled_ = 1;
};

class KVX_API CItemInfoList {
public:
    /// Empties the list.
    void Init() { items_.clear(); }
    __int64 GetNum() const { return std::ssize(items_); }

    /// Copies an item out; 0, with `out` unchanged, when it is null, `index` is outside [0, count) or
    /// allocation fails.
    int GetItem(__int64 index, CItemInfo* out) const;
    /// Index of the first item with `code`, -1 when there is none.
    __int64 Find(std::int32_t code) const;

    /// The operations that add an item return 0, with the list unchanged, when allocation fails.
    int Append(const CItemInfo& item);
    int Append(std::int32_t code, const CString& text, int enabled = 1);
    /// Appends the text `id` of the string table, cut to CItemInfo::kTextLimit; 0 when there is no such text.
    int AppendResource(std::int32_t code, unsigned int id, int enabled = 1);
    /// Puts an item in front of the one at `index`; 0 when `index` is outside [0, count].
    int Insert(__int64 index, const CItemInfo& item);
    /// 0 when `index` is outside [0, count).
    int Remove(__int64 index);

private:
    std::vector<CItemInfo> items_;
};
