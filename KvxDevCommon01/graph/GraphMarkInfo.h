// SPDX-License-Identifier: MIT
//
// CGraphMarkInfo: a code with the sample setting that draws it. CGraphMarkInfoList: such marks by value, in
// the order of insertion, no two with the same code. One object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CGraphMarkInfo {
public:
    CGraphMarkInfo() = default;
    /// A mark with `code` and the setting of `sample` (null: the default setting).
    CGraphMarkInfo(std::int32_t code, const CKvxGraphLineSample* sample);
    virtual ~CGraphMarkInfo();
    CGraphMarkInfo(const CGraphMarkInfo&) = default;
    CGraphMarkInfo& operator=(const CGraphMarkInfo&) = default;

    /// Copy the setting in or out; 0 when the pointer is null.
    BOOL operator=(const CKvxGraphLineSample* sample);
    BOOL Set(const CKvxGraphLineSample* sample);
    BOOL Get(CKvxGraphLineSample* sample) const;

    std::int32_t GetCode() const { return code_; }
    void SetCode(std::int32_t code) { code_ = code; }

    /// Equal in the setting and the code.
    bool operator==(const CGraphMarkInfo& other) const;

private:
    std::int32_t code_ = 0;
    CKvxGraphLineSample sample_;
};

class KVX_API CGraphMarkInfoList {
public:
    // The operations return 0, with the list unchanged, when there is no such entry, the code is that of
    // another entry, or allocation fails.

    BOOL Append(const CGraphMarkInfo& info);
    /// Finds an entry; each output may be null.
    BOOL GetInfoByCode(std::int32_t code, __int64* index, CGraphMarkInfo* info) const;
    BOOL GetInfoByIndex(__int64 index, CGraphMarkInfo* info) const;
    /// Replace code and setting of an entry.
    BOOL UpdateByCode(std::int32_t code, const CGraphMarkInfo& info);
    BOOL UpdateByIndex(__int64 index, const CGraphMarkInfo& info);
    BOOL DeleteByCode(std::int32_t code);
    BOOL DeleteByIndex(__int64 index);
    void ClearAll();
    __int64 GetNum() const;

    /// The same entries in the same order.
    bool operator==(const CGraphMarkInfoList& other) const = default;

private:
    __int64 LclFind(std::int32_t code) const;

    std::vector<CGraphMarkInfo> marks_;
};
