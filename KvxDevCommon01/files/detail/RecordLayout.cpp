// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/RecordLayout.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

namespace kvx {
namespace {

constexpr std::size_t NumberBytes(Generation generation) {
    return generation == Generation::first ? sizeof(float) : sizeof(double);
}

void RequireRecord(bool isRecord) {
    if (!isRecord) throw Error(ErrorKind::kDamaged, "it is empty or damaged");
}

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

}  // namespace

RecordPlan::RecordPlan(const RecordOutline& record, Generation generation)
    : cellHeadBytes(HeadBytes<CplxArrayHead>(generation)),
      numberBytes(NumberBytes(generation)),
      numbersPerCell(static_cast<std::uint64_t>(record.nsamp) * (record.isComplex ? 2 : 1)),
      cells(static_cast<std::uint64_t>(record.rows) * static_cast<std::uint64_t>(record.cols)),
      axisValues(record.fields.mode == CComDataBase::MODE_AXIS ? static_cast<std::uint64_t>(record.nsamp)
                                                               : 0) {}

RecordOutline LoadRecordHead(CArchive& archive, Generation generation) {
    RecordOutline record;
    CComDataBase::Fields& fields = record.fields;
    SkipVersion(archive, generation);
    std::uint32_t mode = 0;
    archive >> mode;
    fields.mode = static_cast<CComDataBase::DATA_MODE>(mode);
    for (CUnitCtrl* unit : {&fields.hunit, &fields.unit})
        generation == Generation::first ? unit->Serialize1st(archive) : unit->Serialize(archive);
    const std::size_t smallestCell = HeadBytes<CplxArrayHead>(generation) + NumberBytes(generation);
    for (CStringArray* names : {&fields.rowNames, &fields.colNames})
        *names = archive.ReadStrings(archive.Remaining() / smallestCell);
    RequireRecord(mode <= CComDataBase::MODE_AXIS);

    const auto head = LoadHead<CplxArrayMatrixHead>(archive, generation);
    RequireRecord(head.rows >= 1 && head.cols >= 1 && head.num >= 1);
    record.isComplex = head.isComplex != 0;
    record.rows = head.rows;
    record.cols = head.cols;
    record.nsamp = head.num;
    archive.RequireRemaining(record.rows * record.cols,
                             static_cast<std::size_t>(RecordPlan(record, generation).CellBytes()));
    return record;
}

void StoreRecordHead(CArchive& archive, const CComDataBase::Fields& fields) {
    StoreVersion(archive, Generation::current);
    archive << static_cast<std::uint32_t>(fields.mode);
    for (CUnitCtrl unit : {fields.hunit, fields.unit}) unit.Serialize(archive);
    archive << fields.rowNames << fields.colNames;
}

void StoreMatrixHead(CArchive& archive, const RecordOutline& record) {
    StoreHead(archive, Generation::current,
              CplxArrayMatrixHead{record.isComplex, record.rows, record.cols, record.nsamp});
}

void LoadCellHead(CArchive& archive, Generation generation, const RecordOutline& record) {
    const auto head = LoadHead<CplxArrayHead>(archive, generation);
    RequireRecord(head.num == record.nsamp && (head.isComplex != 0) == record.isComplex);
}

void StoreCellHead(CArchive& archive, const RecordOutline& record) {
    StoreHead(archive, Generation::current, CplxArrayHead{record.isComplex, record.nsamp});
}

void LoadRecordSpacing(CArchive& archive, CComDataBase::Fields* fields) {
    if (fields->mode != CComDataBase::MODE_SPACING) return;
    std::int32_t offset = 0;
    archive >> fields->delta >> offset;
    fields->offset = offset;
}

void StoreRecordSpacing(CArchive& archive, const CComDataBase::Fields& fields) {
    if (fields.mode != CComDataBase::MODE_SPACING) return;
    archive << fields.delta << static_cast<std::int32_t>(fields.offset);
}

void LoadAxisHead(CArchive& archive, Generation generation, const RecordOutline& record) {
    const auto head = LoadHead<ArrayHead>(archive, generation);
    RequireRecord(head.num == record.nsamp);
    archive.RequireRemaining(head.num, NumberBytes(generation));
}

void StoreAxisHead(CArchive& archive, const RecordOutline& record) {
    StoreHead(archive, Generation::current, ArrayHead{record.nsamp});
}

void LoadSamples(CArchive& archive, Generation generation, std::span<double> samples) {
    if (generation == Generation::current) {
        archive.ReadNumbers(samples.data(), samples.size());
        return;
    }
    std::array<float, 4096> narrow;
    while (!samples.empty()) {
        const std::size_t piece = std::min(samples.size(), narrow.size());
        archive.ReadNumbers(narrow.data(), piece);
        std::transform(narrow.begin(), narrow.begin() + static_cast<std::ptrdiff_t>(piece), samples.begin(),
                       WidenedSample);
        samples = samples.subspan(piece);
    }
}

void CompleteRowNames(CStringArray given, __int64 rows, CComDataBase::Fields* fields) {
    fields->rowNames = CompleteNames(std::move(given), rows, kTextRowName);
}

void CompleteColNames(CStringArray given, __int64 cols, CComDataBase::Fields* fields) {
    fields->colNames = CompleteNames(std::move(given), cols, kTextColumnName);
}

}  // namespace kvx
