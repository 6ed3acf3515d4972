// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/DataFileBlocks.h>

#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/Path.h>

namespace kvx {
namespace {

SamplePlace PlaceOf(const Cell& cell, __int64 start) {
    return {static_cast<__int64>(cell.record), cell.row, cell.column, start};
}

}  // namespace

DataFileInput::DataFileInput(const std::string& path) : file_(WidePath(path)) {}

void DataFileInput::ReadReal(const Cell& cell, __int64 start, std::span<double> samples) {
    file_.ReadReal(PlaceOf(cell, start), samples);
}

void DataFileInput::ReadImaginary(const Cell& cell, __int64 start, std::span<double> samples) {
    file_.ReadImaginary(PlaceOf(cell, start), samples);
}

void DataFileInput::ReadAxis(std::size_t record, __int64 start, std::span<double> values) {
    const CComDataBase::Fields& fields = Records()[record].fields;
    if (fields.mode != CComDataBase::MODE_SPACING) {
        file_.ReadAxis(static_cast<__int64>(record), start, values);
        return;
    }
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<double>(fields.offset + start + static_cast<__int64>(i)) * fields.delta;
}

DataFileOutput::DataFileOutput(const std::string& path, const std::wstring& text,
                               const std::vector<RecordOutline>& records)
    : file_(WidePath(path), CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), records) {}

void DataFileOutput::WriteReal(__int64 record, __int64 row, __int64 start, std::span<const double> samples) {
    file_.WriteReal({record, row, 0, start}, samples);
}

void DataFileOutput::Commit() {
    file_.Commit();
}

}  // namespace kvx
