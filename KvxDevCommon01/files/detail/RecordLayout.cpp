// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/RecordLayout.h>

#include <algorithm>
#include <string>
#include <string_view>

#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

namespace kvx {
namespace {

/// The name of an unnamed row or column, from its 0-based index.
CString DefaultName(TextId format, __int64 index) {
    constexpr std::wstring_view kNumber = L"%.3Id";
    CString number = std::to_wstring(index + 1);
    if (number.size() < 3) number.insert(0, 3 - number.size(), L'0');
    CString name(ResourceText(format));
    if (const std::size_t place = name.find(kNumber); place != name.npos) {
        name.replace(place, kNumber.size(), number);
    }
    return name;
}

/// Exactly `count` names: the given ones, then default ones.
CStringArray CompleteNames(const CStringArray& given, __int64 count, TextId format) {
    const auto total = static_cast<std::size_t>(count);
    CStringArray names(given.begin(),
                       given.begin() + static_cast<std::ptrdiff_t>(std::min(given.size(), total)));
    names.reserve(total);
    while (names.size() < total) names.push_back(DefaultName(format, static_cast<__int64>(names.size())));
    return names;
}

}  // namespace

void LoadRecordHead(CArchive& archive, RecordGeneration generation, RecordFields* fields) {
    const bool isFirst = generation == RecordGeneration::kFirst;
    if (!isFirst) {
        std::int32_t version = 0;  // all versions share one layout
        archive >> version;
    }
    std::uint32_t mode = 0;
    archive >> mode;
    fields->mode = static_cast<CComDataBase::DATA_MODE>(mode);
    for (CUnitCtrl* unit : {&fields->hunit, &fields->unit})
        isFirst ? unit->Serialize1st(archive) : unit->Serialize(archive);
    archive >> fields->rowNames >> fields->colNames;
}

void StoreRecordHead(CArchive& archive, const RecordFields& fields) {
    archive << kRecordVersion << static_cast<std::uint32_t>(fields.mode);
    for (CUnitCtrl unit : {fields.hunit, fields.unit}) unit.Serialize(archive);
    archive << fields.rowNames << fields.colNames;
}

void LoadRecordSpacing(CArchive& archive, RecordFields* fields) {
    if (fields->mode != CComDataBase::MODE_SPACING) return;
    std::int32_t offset = 0;
    archive >> fields->delta >> offset;
    fields->offset = offset;
}

void StoreRecordSpacing(CArchive& archive, const RecordFields& fields) {
    if (fields.mode != CComDataBase::MODE_SPACING) return;
    archive << fields.delta << static_cast<std::int32_t>(fields.offset);
}

void CompleteRowNames(const CStringArray& given, __int64 rows, RecordFields* fields) {
    fields->rowNames = CompleteNames(given, rows, kTextRowName);
}

void CompleteColNames(const CStringArray& given, __int64 cols, RecordFields* fields) {
    fields->colNames = CompleteNames(given, cols, kTextColumnName);
}

}  // namespace kvx
