// SPDX-License-Identifier: MIT
#include <KvxRecording01/RecordTable.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/CsvFile.h>
#include <KvxRecording01/detail/DataFileBlocks.h>
#include <KvxRecording01/detail/DataFileCells.h>

namespace kvx {
namespace {

/// Values of all columns that a block has at most.
constexpr std::size_t kBlock = std::size_t{1} << 18;

/// Passes the table on, block by block: use(rows).
template <typename Use>
void ForEachBlock(RecordTable& table, const ProgressFunction& progress, Use use) {
    const std::size_t room = std::max<std::size_t>(1, kBlock / (2 * table.Columns().size() + 1));
    for (__int64 done = 0; done < table.Count();) {
        const RecordTable::Rows& rows = table.Read(done, room);
        use(rows, done);
        done += std::ssize(rows.axis);
        if (progress) progress(static_cast<std::uint64_t>(done), static_cast<std::uint64_t>(table.Count()));
    }
}

/// The samples of a waveform as a WAV file holds them, block by block.
class WavBlocks {
public:
    WavBlocks(const RecordTable& table, const WavOptions& options) : samples_(table.Columns().size()) {
        for (const RecordTable::Column& column : table.Columns()) {
            scales_.emplace_back(column.name, column.unit, options);
        }
    }

    /// The scaled samples of all columns.
    std::vector<const double*> Scale(const RecordTable::Rows& rows) {
        std::vector<const double*> channels;
        for (std::size_t c = 0; c < samples_.size(); ++c) {
            samples_[c] = rows.real[c];
            scales_[c].Apply(samples_[c]);
            channels.push_back(samples_[c].data());
        }
        return channels;
    }
    void RequireUnclipped() const {
        for (const WavScale& scale : scales_) scale.RequireUnclipped();
    }

private:
    std::vector<WavScale> scales_;
    std::vector<std::vector<double>> samples_;
};

}  // namespace

struct RecordTable::State {
    DataFileInput file;
    std::vector<Cell> cells = {};
    std::vector<Column> columns = {};
    Rows rows = {};

    const RecordOutline& Record(const Cell& cell) const { return file.Records()[cell.record]; }

    bool HaveSameAxis(const Cell& a, const Cell& b);
};

bool RecordTable::State::HaveSameAxis(const Cell& a, const Cell& b) {
    const RecordOutline& first = Record(a);
    const RecordOutline& second = Record(b);
    if (a.record == b.record) return true;
    if (first.fields.mode != second.fields.mode || first.nsamp != second.nsamp ||
        first.fields.hunit != second.fields.hunit) {
        return false;
    }
    if (first.fields.mode == CComDataBase::MODE_SPACING)
        return first.fields.delta == second.fields.delta && first.fields.offset == second.fields.offset;
    std::vector<double> values[2];
    for (__int64 done = 0; done < first.nsamp; done += std::ssize(values[0])) {
        const auto count = std::min(static_cast<__int64>(kBlock), first.nsamp - done);
        for (const Cell* cell : {&a, &b}) {
            std::vector<double>& axis = values[cell == &b];
            axis.resize(static_cast<std::size_t>(count));
            file.ReadAxis(cell->record, done, axis);
        }
        if (values[0] != values[1]) return false;
    }
    return true;
}

RecordTable::RecordTable(const std::string& path, const SignalChoice& choice, const StatementNames& called)
    : state_(new State{DataFileInput(path)}) {
    State& state = *state_;
    state.cells = SelectCells(state.file.Records(), choice);
    for (const Cell& cell : state.cells) RequireEvenAxis(state.Record(cell), cell.record);
    for (const Cell& cell : state.cells) {
        const RecordOutline& record = state.Record(cell);
        state.columns.push_back({cell.name, record.fields.unit, record.isComplex});
        if (state.HaveSameAxis(state.cells.front(), cell)) continue;
        throw Error(ErrorKind::kUnsupported, "records " + std::to_string(state.cells.front().record + 1) +
                                                 " and " + std::to_string(cell.record + 1) +
                                                 " differ in their axis; choose one with " + called.record);
    }
}

RecordTable::~RecordTable() = default;
RecordTable::RecordTable(RecordTable&&) noexcept = default;
RecordTable& RecordTable::operator=(RecordTable&&) noexcept = default;

const std::vector<RecordTable::Column>& RecordTable::Columns() const {
    return state_->columns;
}

void RecordTable::SetUnit(std::size_t column, const CUnitCtrl& unit) {
    if (column >= state_->columns.size())
        throw Error(ErrorKind::kBadValue, "there is no column " + std::to_string(column));
    if (!IsConvertible(state_->columns[column].unit, unit)) {
        throw Error(ErrorKind::kBadValue,
                    UnitText(state_->columns[column].unit) + " does not convert to " + UnitText(unit));
    }
    state_->columns[column].unit = unit;
}

__int64 RecordTable::Count() const {
    return state_->Record(state_->cells.front()).nsamp;
}

CUnitCtrl RecordTable::AxisUnit() const {
    return state_->Record(state_->cells.front()).fields.hunit;
}

double RecordTable::Spacing() const {
    const CComDataBase::Fields& fields = state_->Record(state_->cells.front()).fields;
    return fields.mode == CComDataBase::MODE_SPACING ? fields.delta : 0.0;
}

bool RecordTable::IsWaveform() const {
    return std::ranges::all_of(state_->cells,
                               [&](const Cell& cell) { return kvx::IsWaveform(state_->Record(cell)); });
}

const RecordTable::Rows& RecordTable::Read(__int64 first, std::size_t count) {
    State& state = *state_;
    Rows& rows = state.rows;
    const __int64 left = std::max<__int64>(0, Count() - first);
    count = static_cast<std::size_t>(std::min(left, static_cast<__int64>(count)));
    rows.axis.resize(count);
    rows.real.resize(state.cells.size());
    rows.imaginary.resize(state.cells.size());
    if (count > 0) state.file.ReadAxis(state.cells.front().record, first, rows.axis);
    for (std::size_t c = 0; c < state.cells.size(); ++c) {
        rows.real[c].resize(count);
        rows.imaginary[c].resize(state.columns[c].isComplex ? count : 0);
        if (count > 0) state.file.ReadReal(state.cells[c], first, rows.real[c]);
        if (!rows.imaginary[c].empty()) state.file.ReadImaginary(state.cells[c], first, rows.imaginary[c]);
    }
    return rows;
}

void WriteCsv(RecordTable& table, ByteStream& stream, const ProgressFunction& progress) {
    std::vector<CsvColumn> columns;
    for (const auto& [name, unit, isComplex] : table.Columns()) {
        columns.push_back({name, isComplex ? " re" : "", unit});
        if (isComplex) columns.push_back({name, " im", unit});
    }
    CsvWriter csv(stream, table.AxisUnit(), columns);
    ForEachBlock(table, progress, [&](const RecordTable::Rows& rows, __int64) {
        std::vector<const double*> values;
        for (std::size_t c = 0; c < rows.real.size(); ++c) {
            values.push_back(rows.real[c].data());
            if (!rows.imaginary[c].empty()) values.push_back(rows.imaginary[c].data());
        }
        csv.Write(rows.axis, values);
    });
    csv.Flush();
}

void RequireWav(RecordTable& table, const WavOptions& options) {
    if (!table.IsWaveform())
        throw Error(ErrorKind::kUnsupported, "a WAV file holds time waveforms only; choose CSV");
    WavRate(table.Spacing());
    WavBlocks blocks(table, options);
    ForEachBlock(table, {}, [&](const RecordTable::Rows& rows, __int64 done) {
        for (std::size_t c = 0; c < rows.real.size(); ++c) {
            RequireValues(rows.real[c], table.Columns()[c].name, done);
        }
        blocks.Scale(rows);
    });
    blocks.RequireUnclipped();
}

void WriteWav(RecordTable& table, const std::string& path, const WavOptions& options,
              const ProgressFunction& progress) {
    WavWriter file(path, table.Columns().size(), table.Count(), WavRate(table.Spacing()), options.samples);
    WavBlocks blocks(table, options);
    ForEachBlock(table, progress, [&](const RecordTable::Rows& rows, __int64) {
        file.Write(blocks.Scale(rows), rows.axis.size());
    });
    file.Commit();
}

}  // namespace kvx
