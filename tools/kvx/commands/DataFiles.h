// SPDX-License-Identifier: MIT
//
// Data files as the commands see them: loading and storing with a reason on failure, and the channels of all
// records under one numbering.
#pragma once

#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/DataFileContent.h>

#include "cli/Command.h"

namespace kvx::tool {

/// Throws Error.
DataFileContent LoadDataFile(const std::string& path);

/// Stores records as a vibration data file with the free text `text`, of which the header keeps 257
/// characters. Throws Error.
void StoreDataFile(const std::string& path, const std::wstring& text, std::vector<CComDataBase> records);

/// Which channels a command works on.
using ChannelOptions = ChannelChoice;
void AddChannelOptions(Command command, ChannelOptions* options);

/// A waveform record and the channels chosen from it, one or more.
struct ChosenWaveforms {
    const CComDataBase* record;
    std::vector<Channel> channels;
};

/// The chosen channels record by record. Throws Error, also when a record is no waveform.
std::vector<ChosenWaveforms> SelectWaveforms(const DataFileContent& content, const ChannelOptions& options);

/// Sampling rate of a waveform, in hertz.
double RateOf(const CComDataBase& record);

/// Throws Error when a line that was calculated of channel `name` is no number: squares of its samples leave
/// the range.
void RequireNumbers(const CDataArrayDouble& lines, std::wstring_view name);

/// The samples of a channel in the standard unit. Throws Error when one holds no value, or std::bad_alloc.
CDataArrayDouble StandardSamples(const CComDataBase& record, const Channel& channel);

/// The samples of a channel in the unit of its record; no-value markers stay what they are. Throws
/// std::bad_alloc.
CDataArrayDouble ViewedSamples(const CComDataBase& record, const double* samples);

/// A value of the record's standard unit in the record's unit.
double Viewed(const CUnitCtrl& unit, double value);

}  // namespace kvx::tool
