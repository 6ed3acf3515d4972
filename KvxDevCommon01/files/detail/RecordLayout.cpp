// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/RecordLayout.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <KvxDevCommon01/files/detail/DataFileAccess.h>
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
CStringArray CompleteNames(CStringArray names, __int64 count, TextId format) {
    const auto total = static_cast<std::size_t>(count);
    if (names.size() > total) {
        names.resize(total);
        names.shrink_to_fit();
    }
    names.reserve(total);
    while (names.size() < total) names.push_back(DefaultName(format, static_cast<__int64>(names.size())));
    return names;
}

void SkipVersion(CArchive& archive, RecordGeneration generation) {
    std::int32_t version = 0;  // all versions share one layout
    if (generation == RecordGeneration::kCurrent) archive >> version;
}

}  // namespace

void LoadRecordHead(CArchive& archive, RecordGeneration generation, RecordFields* fields) {
    const bool isFirst = generation == RecordGeneration::kFirst;
    SkipVersion(archive, generation);
    std::uint32_t mode = 0;
    archive >> mode;
    fields->mode = static_cast<CComDataBase::DATA_MODE>(mode);
    for (CUnitCtrl* unit : {&fields->hunit, &fields->unit})
        isFirst ? unit->Serialize1st(archive) : unit->Serialize(archive);
    const auto [cellHead, sample] = CellLayoutOf(generation);
    for (CStringArray* names : {&fields->rowNames, &fields->colNames})
        archive.ReadStrings(names, archive.Remaining() / (cellHead + sample));
    if (mode > CComDataBase::MODE_AXIS) throw Refused{DataFileFailure::kBadRecord};
}

void StoreRecordHead(CArchive& archive, const RecordFields& fields) {
    archive << kRecordVersion << static_cast<std::uint32_t>(fields.mode);
    for (CUnitCtrl unit : {fields.hunit, fields.unit}) unit.Serialize(archive);
    archive << fields.rowNames << fields.colNames;
}

void LoadMatrixHead(CArchive& archive, RecordGeneration generation, RecordOutline* record) {
    SkipVersion(archive, generation);
    std::int32_t isComplex = 0;
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    std::int32_t nsamp = 0;
    archive >> isComplex >> rows >> cols >> nsamp;
    if (rows < 1 || cols < 1 || nsamp < 1) throw Refused{DataFileFailure::kBadRecord};
    record->isComplex = isComplex != 0;
    record->rows = rows;
    record->cols = cols;
    record->nsamp = nsamp;
    const auto [head, sample] = CellLayoutOf(generation);
    const auto samples = static_cast<std::uint64_t>(nsamp) * (record->isComplex ? 2 : 1);
    archive.RequireRemaining(record->rows * record->cols, static_cast<std::size_t>(head + samples * sample));
}

void StoreMatrixHead(CArchive& archive, const RecordOutline& record) {
    archive << kRecordVersion << std::int32_t{record.isComplex} << static_cast<std::int32_t>(record.rows)
            << static_cast<std::int32_t>(record.cols) << static_cast<std::int32_t>(record.nsamp);
}

void LoadCellHead(CArchive& archive, RecordGeneration generation, const RecordOutline& record) {
    SkipVersion(archive, generation);
    std::int32_t isComplex = 0;
    std::int32_t count = 0;
    archive >> isComplex >> count;
    if (count != record.nsamp || (isComplex != 0) != record.isComplex)
        throw Refused{DataFileFailure::kBadRecord};
}

void StoreCellHead(CArchive& archive, const RecordOutline& record) {
    archive << kRecordVersion << std::int32_t{record.isComplex} << static_cast<std::int32_t>(record.nsamp);
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

void LoadAxisHead(CArchive& archive, RecordGeneration generation, const RecordOutline& record) {
    SkipVersion(archive, generation);
    std::int32_t count = 0;
    archive >> count;
    if (count != record.nsamp) throw Refused{DataFileFailure::kBadRecord};
    archive.RequireRemaining(count, static_cast<std::size_t>(CellLayoutOf(generation).sampleBytes));
}

void LoadSamples(CArchive& archive, RecordGeneration generation, double* samples, __int64 count) {
    if (generation == RecordGeneration::kCurrent) {
        archive.ReadNumbers(samples, static_cast<std::size_t>(count));
        return;
    }
    std::array<float, 4096> narrow;
    for (__int64 done = 0; done < count;) {
        const auto piece = std::min(static_cast<std::size_t>(count - done), narrow.size());
        archive.ReadNumbers(narrow.data(), piece);
        for (std::size_t i = 0; i < piece; ++i) samples[done++] = WidenedSample(narrow[i]);
    }
}

void CompleteRowNames(CStringArray given, __int64 rows, RecordFields* fields) {
    fields->rowNames = CompleteNames(std::move(given), rows, kTextRowName);
}

void CompleteColNames(CStringArray given, __int64 cols, RecordFields* fields) {
    fields->colNames = CompleteNames(std::move(given), cols, kTextColumnName);
}

}  // namespace kvx
