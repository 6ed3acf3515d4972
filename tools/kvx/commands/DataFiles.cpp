// SPDX-License-Identifier: MIT
#include "commands/DataFiles.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>

#include <KvxDevCommon01/files/RecordSamples.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {

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

void AddChannelOptions(Command command, ChannelOptions* options) {
    command
        .AddOption("--channels", options->channels,
                   "Channels by name, number or range of numbers as 'kvx info' shows them: 1,3-4,top")
        .Type("LIST");
    command.AddOption("--record", options->record, "Only the channels of this record, counted from 1")
        .Type("N")
        .Check(WholeNumber(1, 1'000'000));
}

std::vector<ChosenWaveforms> SelectWaveforms(const DataFileContent& content, const ChannelOptions& options) {
    std::vector<ChosenWaveforms> chosen;
    for (Channel& channel : SelectChannels(content, options)) {
        const CComDataBase& record = content.records[channel.record];
        RequireWaveform(record, channel.record);
        if (chosen.empty() || chosen.back().record != &record) chosen.push_back({&record, {}});
        chosen.back().channels.push_back(std::move(channel));
    }
    return chosen;
}

double RateOf(const CComDataBase& record) {
    return 1.0 / record.GetDelta();
}

void RequireNumbers(const CDataArrayDouble& lines, std::wstring_view name) {
    const double* const begin = lines.GetData();
    if (std::any_of(begin, begin + lines.GetNum(), [](double line) { return !std::isfinite(line); }))
        throw Error(ErrorKind::kBadValue,
                    "the squares of channel " + Quote(name) + " leave the range of numbers");
}

CDataArrayDouble StandardSamples(const CComDataBase& record, const Channel& channel) {
    const double* samples = record.GetReal(channel.row, channel.column);
    RequireValues(Samples(record, channel.row, channel.column), channel.name);
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
