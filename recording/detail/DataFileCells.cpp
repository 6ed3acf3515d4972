// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/DataFileCells.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ChannelChoice.h>

namespace kvx {
namespace {

std::vector<Cell> ListCells(const std::vector<RecordOutline>& records) {
    std::vector<Cell> cells;
    for (std::size_t r = 0; r < records.size(); ++r) {
        const CStringArray& rows = records[r].fields.rowNames;
        const CStringArray& columns = records[r].fields.colNames;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            for (std::size_t column = 0; column < columns.size(); ++column) {
                std::wstring name = columns.size() > 1 ? rows[row] + L"/" + columns[column] : rows[row];
                cells.push_back({cells.size() + 1, r, static_cast<__int64>(row), static_cast<__int64>(column),
                                 std::move(name)});
            }
        }
    }
    return cells;
}

}  // namespace

std::vector<Cell> SelectCells(const std::vector<RecordOutline>& records, const SignalChoice& choice) {
    if (choice.record > records.size()) {
        throw Error(ErrorKind::kUnknownName, "it has no record " + std::to_string(choice.record) + ", only " +
                                                 Count(std::ssize(records), "record"));
    }
    const std::vector<Cell> all = ListCells(records);
    // A name that the record has is not looked for in the others: a response and its coherence share one.
    const auto isInRecord = [&](const Cell& cell) { return cell.record + 1 == choice.record; };
    std::set<std::wstring> own;
    for (const Cell& cell : all) {
        if (isInRecord(cell)) own.insert(cell.name);
    }
    std::vector<std::wstring> names;
    for (const Cell& cell : all) {
        names.push_back(isInRecord(cell) || !own.contains(cell.name) ? cell.name : L"");
    }
    std::vector<Cell> chosen;
    for (const std::size_t at : ChannelPositions(choice.channels, names)) {
        if (choice.record == 0 || isInRecord(all[at])) {
            chosen.push_back(all[at]);
        } else if (!choice.channels.empty()) {
            throw Error(ErrorKind::kBadValue, "channel " + std::to_string(all[at].number) + " is in record " +
                                                  std::to_string(all[at].record + 1) + ", not in record " +
                                                  std::to_string(choice.record));
        }
    }
    std::ranges::stable_sort(chosen, {}, &Cell::record);
    return chosen;
}

bool IsEvenAxis(double delta, __int64 offset, __int64 samples) {
    const auto first = static_cast<double>(offset);
    return delta > 0.0 && std::isfinite(1.0 / delta) && std::isfinite(first * delta) &&
           std::isfinite((first + static_cast<double>(samples)) * delta);
}

void RequireEvenAxis(const RecordOutline& record, std::size_t index) {
    const CComDataBase::Fields& fields = record.fields;
    if (fields.mode != CComDataBase::MODE_SPACING || IsEvenAxis(fields.delta, fields.offset, record.nsamp)) {
        return;
    }
    throw Error(ErrorKind::kDamaged, "record " + std::to_string(index + 1) + " has a spacing of " +
                                         FormatNumber(fields.delta) + ", which makes no axis");
}

bool IsWaveform(const RecordOutline& record) {
    const CComDataBase::Fields& fields = record.fields;
    return fields.mode == CComDataBase::MODE_SPACING && fields.hunit == CUnitCtrl::DIM_TIME &&
           !record.isComplex;
}

void RequireValues(std::span<const double> samples, const std::wstring& name, __int64 start) {
    const auto bad =
        std::ranges::find_if(samples, [](double v) { return v == kNoValue<double> || !std::isfinite(v); });
    if (bad == samples.end()) return;
    throw Error(ErrorKind::kUnsupported, "sample " + std::to_string(start + (bad - samples.begin()) + 1) +
                                             " of channel " + Quote(name) + " holds no value");
}

}  // namespace kvx
