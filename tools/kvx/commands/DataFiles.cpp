// SPDX-License-Identifier: MIT
#include "commands/DataFiles.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

/// Appends the channels of record number `r` (0-based).
void AppendChannels(const CStringArray& rows, const CStringArray& columns, std::size_t r,
                    std::vector<Channel>* channels) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (std::size_t column = 0; column < columns.size(); ++column) {
            std::wstring name = rows[row];
            if (columns.size() > 1) name += L"/" + columns[column];
            channels->push_back({channels->size() + 1, r, static_cast<__int64>(row),
                                 static_cast<__int64>(column), std::move(name)});
        }
    }
}

/// Throws Error unless IsAxis; `index` is that of the record, 0-based.
void RequireSpacing(double delta, __int64 offset, __int64 samples, std::size_t index) {
    if (IsAxis(delta, offset, samples)) return;
    throw Error(ErrorKind::kBadValue, "record " + std::to_string(index + 1) + " has a spacing of " +
                                          FormatNumber(delta) + ", which makes no axis");
}

[[noreturn]] void RefuseAsWaveform(std::size_t index) {
    throw Error(ErrorKind::kBadValue, "record " + std::to_string(index + 1) + " is not a time waveform");
}

}  // namespace

DataFileContent LoadDataFile(const std::string& path) {
    return kvx::LoadDataFile(WidePath(InputPath(path)));
}

void StoreDataFile(const std::string& path, const std::wstring& text, std::vector<CComDataBase> records) {
    const DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), std::move(records)};
    for (std::size_t r = 0; r < content.records.size(); ++r) RequireAxis(content.records[r], r);
    OutputTarget target(path);
    kvx::StoreDataFile(WidePath(target.Path()), content);
    target.Deliver();
}

std::vector<Channel> ListChannels(const DataFileContent& content) {
    std::vector<Channel> channels;
    for (std::size_t r = 0; r < content.records.size(); ++r) {
        AppendChannels(content.records[r].GetRowName(), content.records[r].GetColName(), r, &channels);
    }
    return channels;
}

std::vector<Channel> ListChannels(const std::vector<RecordOutline>& records) {
    std::vector<Channel> channels;
    for (std::size_t r = 0; r < records.size(); ++r) {
        AppendChannels(records[r].fields.rowNames, records[r].fields.colNames, r, &channels);
    }
    return channels;
}

void AddChannelOptions(Command command, ChannelOptions* options) {
    command
        .AddOption("--channels", options->channels,
                   "Channels by name, number or range of numbers as 'kvx info' shows them: 1,3-4,top")
        .Type("LIST");
    command.AddOption("--record", options->record, "Only the channels of this record, counted from 1")
        .Type("N")
        .Check(WholeNumber(1, 1'000'000));
}

std::vector<Channel> SelectChannels(const std::vector<Channel>& all, std::size_t records,
                                    const ChannelOptions& options) {
    if (options.record > records) {
        throw Error(ErrorKind::kBadValue, "it has no record " + std::to_string(options.record) + ", only " +
                                              Count(static_cast<long long>(records), "record"));
    }
    // A name that the record has is not looked for in the others: a response and its coherence share one.
    const auto isInRecord = [&](const Channel& channel) { return channel.record + 1 == options.record; };
    std::set<std::wstring> own;
    for (const Channel& channel : all) {
        if (isInRecord(channel)) own.insert(channel.name);
    }
    std::vector<std::wstring> names;
    for (const Channel& channel : all) {
        names.push_back(isInRecord(channel) || !own.contains(channel.name) ? channel.name : L"");
    }
    std::vector<Channel> chosen;
    for (const std::size_t at : ChooseChannels(options.channels, names)) {
        if (options.record == 0 || all[at].record == options.record - 1) {
            chosen.push_back(all[at]);
        } else if (!options.channels.empty()) {
            throw Error(ErrorKind::kBadValue, "channel " + std::to_string(all[at].number) + " is in record " +
                                                  std::to_string(all[at].record + 1) + ", not in record " +
                                                  std::to_string(options.record));
        }
    }
    std::ranges::stable_sort(chosen, {}, &Channel::record);
    return chosen;
}

std::vector<Channel> SelectChannels(const DataFileContent& content, const ChannelOptions& options) {
    std::vector<Channel> chosen = SelectChannels(ListChannels(content), content.records.size(), options);
    for (const Channel& channel : chosen) RequireAxis(content.records[channel.record], channel.record);
    return chosen;
}

CStringArray NamesOf(const std::vector<Channel>& channels) {
    CStringArray names;
    for (const Channel& channel : channels) names.push_back(channel.name);
    return names;
}

bool IsAxis(double delta, __int64 offset, __int64 samples) {
    const auto first = static_cast<double>(offset);
    return delta > 0.0 && std::isfinite(1.0 / delta) && std::isfinite(first * delta) &&
           std::isfinite((first + static_cast<double>(samples)) * delta);
}

void RequireAxis(const CComDataBase& record, std::size_t index) {
    if (record.GetDataMode() != CComDataBase::MODE_SPACING) return;
    RequireSpacing(record.GetDelta(), record.GetOffset(), record.GetNsamp(), index);
}

bool IsWaveform(const CComDataBase& record) {
    return record.GetDataMode() == CComDataBase::MODE_SPACING && record.GetHUnit() == CUnitCtrl::DIM_TIME &&
           record.GetImaginary(0, 0) == nullptr &&
           IsAxis(record.GetDelta(), record.GetOffset(), record.GetNsamp());
}

void RequireWaveform(const RecordOutline& record, std::size_t index) {
    const CComDataBase::Fields& fields = record.fields;
    if (fields.mode != CComDataBase::MODE_SPACING || fields.hunit != CUnitCtrl::DIM_TIME || record.isComplex)
        RefuseAsWaveform(index);
    RequireSpacing(fields.delta, fields.offset, record.nsamp, index);
}

std::vector<ChosenWaveforms> SelectWaveforms(const DataFileContent& content, const ChannelOptions& options) {
    std::vector<ChosenWaveforms> chosen;
    for (Channel& channel : SelectChannels(content, options)) {
        const CComDataBase& record = content.records[channel.record];
        if (!IsWaveform(record)) RefuseAsWaveform(channel.record);
        if (chosen.empty() || chosen.back().record != &record) chosen.push_back({&record, {}});
        chosen.back().channels.push_back(std::move(channel));
    }
    return chosen;
}

double RateOf(const CComDataBase& record) {
    return 1.0 / record.GetDelta();
}

void RequireValues(const double* samples, __int64 count, std::wstring_view name, __int64 done) {
    const double* end = samples + count;
    const double* bad =
        std::find_if(samples, end, [](double v) { return v == kNoValue<double> || !std::isfinite(v); });
    if (bad != end) {
        throw Error(ErrorKind::kBadValue, "sample " + std::to_string(done + (bad - samples) + 1) +
                                              " of channel " + Quote(name) + " holds no value");
    }
}

void RequireNumbers(const CDataArrayDouble& lines, std::wstring_view name) {
    const double* const begin = lines.GetData();
    if (std::any_of(begin, begin + lines.GetNum(), [](double line) { return !std::isfinite(line); }))
        throw Error(ErrorKind::kBadValue,
                    "the squares of channel " + Quote(name) + " leave the range of numbers");
}

CDataArrayDouble StandardSamples(const CComDataBase& record, const Channel& channel) {
    const double* samples = record.GetReal(channel.row, channel.column);
    RequireValues(samples, record.GetNsamp(), channel.name);
    CDataArrayDouble copy;
    if (!copy.SetData(record.GetNsamp(), samples)) throw std::bad_alloc();
    return copy;
}

double Viewed(const CUnitCtrl& unit, double value) {
    // A single temperature is a reading, not a difference; compounds only ever hold differences.
    return value == kNoValue<double> ? value : unit.ConvDtoI(value, 1.0, unit.IsSingle());
}

CDataArrayDouble ViewedSamples(const CComDataBase& record, const double* samples) {
    CDataArrayDouble viewed;
    if (samples != nullptr && viewed.SetData(record.GetNsamp(), samples)) {
        for (__int64 i = 0; i < viewed.GetNum(); ++i) viewed[i] = Viewed(record.GetUnit(), samples[i]);
    }
    if (viewed.GetNum() == 0) throw std::bad_alloc();
    return viewed;
}

}  // namespace kvx::tool
