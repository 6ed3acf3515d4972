// SPDX-License-Identifier: MIT
#include <KvxRecording01/RecordTable.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/CsvFile.h>
#include <KvxRecording01/detail/SignalFiles.h>

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

/// The samples of a waveform as a WAV file holds them, block by block. Operations throw Error for what a WAV
/// file cannot hold.
class WavBlocks {
public:
    WavBlocks(const RecordTable& table, const WavOptions& options)
        : columns_(table.Columns()), samples_(columns_.size()) {
        if (!table.IsWaveform())
            throw Error(ErrorKind::kUnsupported, "a WAV file holds time waveforms only; choose CSV");
        WavRate(table.Spacing());
        for (const RecordTable::Column& column : columns_) {
            scales_.emplace_back(column.name, column.unit, options);
        }
    }

    /// The scaled samples of all columns, of which `done` rows came before.
    std::vector<const double*> Scale(const RecordTable::Rows& rows, __int64 done) {
        std::vector<const double*> channels;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            RequireValues(rows.real[c], columns_[c].name, done);
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
    const std::vector<RecordTable::Column>& columns_;
    std::vector<WavScale> scales_;
    std::vector<std::vector<double>> samples_;
};

}  // namespace

struct RecordTable::State {
    DataFileReader file;
    std::vector<Channel> channels = {};
    std::vector<Column> columns = {};
    Rows rows = {};

    const RecordOutline& Record(const Channel& channel) const { return file.Records()[channel.record]; }

    bool HaveSameAxis(const Channel& a, const Channel& b);
    void ReadAxis(__int64 first, std::span<double> values);
    /// Throws Error for an axis value of the first channel that is no number.
    void RequireAxisNumbers();
};

bool RecordTable::State::HaveSameAxis(const Channel& a, const Channel& b) {
    const RecordOutline& first = Record(a);
    const RecordOutline& second = Record(b);
    if (first.fields.mode != second.fields.mode || first.nsamp != second.nsamp ||
        first.fields.hunit != second.fields.hunit) {
        return false;
    }
    if (first.fields.mode == CComDataBase::MODE_SPACING)
        return first.fields.delta == second.fields.delta && first.fields.offset == second.fields.offset;
    std::vector<double> values[2];
    for (__int64 done = 0; done < first.nsamp; done += std::ssize(values[0])) {
        const auto count = std::min(static_cast<__int64>(kBlock), first.nsamp - done);
        for (const Channel* channel : {&a, &b}) {
            std::vector<double>& axis = values[channel == &b];
            axis.resize(static_cast<std::size_t>(count));
            file.ReadAxis(static_cast<__int64>(channel->record), done, axis);
        }
        if (values[0] != values[1]) return false;
    }
    return true;
}

void RecordTable::State::ReadAxis(__int64 first, std::span<double> values) {
    const CComDataBase::Fields& fields = Record(channels.front()).fields;
    if (fields.mode == CComDataBase::MODE_AXIS)
        return file.ReadAxis(static_cast<__int64>(channels.front().record), first, values);
    for (double& value : values) value = static_cast<double>(fields.offset + first++) * fields.delta;
}

void RecordTable::State::RequireAxisNumbers() {
    const Channel& channel = channels.front();
    const RecordOutline& record = Record(channel);
    if (record.fields.mode == CComDataBase::MODE_SPACING) return;
    std::vector<double> values;
    for (__int64 done = 0; done < record.nsamp; done += std::ssize(values)) {
        values.resize(static_cast<std::size_t>(std::min(static_cast<__int64>(kBlock), record.nsamp - done)));
        ReadAxis(done, values);
        const auto bad = std::ranges::find_if(values, [](double value) { return !std::isfinite(value); });
        if (bad == values.end()) continue;
        throw Error(ErrorKind::kDamaged, "its place on the axis is no number",
                    {.record = static_cast<std::int64_t>(channel.record) + 1,
                     .sample = done + (bad - values.begin()) + 1});
    }
}

RecordTable::RecordTable(const std::string& path, const ChannelChoice& choice, const StatementNames& called)
    : state_(new State{DataFileReader(WidePath(path))}) {
    State& state = *state_;
    state.channels = SelectChannels(state.file.Records(), choice);
    state.RequireAxisNumbers();
    const Channel* before = &state.channels.front();
    for (const Channel& channel : state.channels) {
        const RecordOutline& record = state.Record(channel);
        state.columns.push_back({channel.name, record.fields.unit, record.isComplex});
        const bool isOfSameRecord = channel.record == std::exchange(before, &channel)->record;
        if (isOfSameRecord || state.HaveSameAxis(state.channels.front(), channel)) continue;
        throw Error(ErrorKind::kUnsupported, "records " + std::to_string(state.channels.front().record + 1) +
                                                 " and " + std::to_string(channel.record + 1) +
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
    return state_->Record(state_->channels.front()).nsamp;
}

CUnitCtrl RecordTable::AxisUnit() const {
    return state_->Record(state_->channels.front()).fields.hunit;
}

double RecordTable::Spacing() const {
    const CComDataBase::Fields& fields = state_->Record(state_->channels.front()).fields;
    return fields.mode == CComDataBase::MODE_SPACING ? fields.delta : 0.0;
}

bool RecordTable::IsWaveform() const {
    return std::ranges::all_of(
        state_->channels, [&](const Channel& channel) { return kvx::IsWaveform(state_->Record(channel)); });
}

const RecordTable::Rows& RecordTable::Read(__int64 first, std::size_t count) {
    State& state = *state_;
    Rows& rows = state.rows;
    const __int64 left = std::max<__int64>(0, Count() - first);
    count = static_cast<std::size_t>(std::min(static_cast<std::uint64_t>(left), std::uint64_t{count}));
    rows.axis.resize(count);
    rows.real.resize(state.channels.size());
    rows.imaginary.resize(state.channels.size());
    if (count > 0) state.ReadAxis(first, rows.axis);
    for (std::size_t c = 0; c < state.channels.size(); ++c) {
        rows.real[c].resize(count);
        rows.imaginary[c].resize(state.columns[c].isComplex ? count : 0);
        if (count > 0) state.file.ReadReal(PlaceOf(state.channels[c], first), rows.real[c]);
        if (!rows.imaginary[c].empty())
            state.file.ReadImaginary(PlaceOf(state.channels[c], first), rows.imaginary[c]);
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
    WavBlocks blocks(table, options);
    ForEachBlock(table, {}, [&](const RecordTable::Rows& rows, __int64 done) { blocks.Scale(rows, done); });
    blocks.RequireUnclipped();
}

void WriteWav(RecordTable& table, const std::string& path, const WavOptions& options,
              const ProgressFunction& progress) {
    WavBlocks blocks(table, options);
    WavWriter file(path, table.Columns().size(), table.Count(), WavRate(table.Spacing()), options.samples);
    ForEachBlock(table, progress, [&](const RecordTable::Rows& rows, __int64 done) {
        file.Write(blocks.Scale(rows, done), rows.axis.size());
    });
    blocks.RequireUnclipped();
    file.Commit();
}

}  // namespace kvx
