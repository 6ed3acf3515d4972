// SPDX-License-Identifier: MIT
//
// Data files as the commands see them: loading and storing with a reason on failure, and the channels of all
// records under one numbering.
#pragma once

#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/files/DataFileStream.h>

#include "cli/Command.h"

namespace kvx::tool {

/// Throws Error.
DataFileContent LoadDataFile(const std::string& path);

/// Stores records as a vibration data file with the free text `text`, of which the header keeps 257
/// characters. Throws Error.
void StoreDataFile(const std::string& path, const std::wstring& text, std::vector<CComDataBase> records);

/// One cell of one record.
struct Channel {
    std::size_t number;  ///< from 1, through all records of the file, row by row
    std::size_t record;  ///< 0-based
    __int64 row;
    __int64 column;
    std::wstring name;
};

std::vector<Channel> ListChannels(const DataFileContent& content);
std::vector<Channel> ListChannels(const std::vector<RecordOutline>& records);

/// Which channels a command works on.
struct ChannelOptions {
    std::string channels;    ///< as ChooseChannels takes it; empty for all
    std::size_t record = 0;  ///< 1-based; 0 for all
};
void AddChannelOptions(Command command, ChannelOptions* options);

/// The chosen ones of all channels of a file, those of one record together and in the order of the records.
/// Throws Error.
std::vector<Channel> SelectChannels(const std::vector<Channel>& all, std::size_t records,
                                    const ChannelOptions& options);
/// The same; throws Error also when a record has no axis.
std::vector<Channel> SelectChannels(const DataFileContent& content, const ChannelOptions& options);

CStringArray NamesOf(const std::vector<Channel>& channels);

/// Whether samples `delta` apart have an axis: the spacing is above 0, it has a reciprocal, and every sample
/// stands at a finite place.
bool IsAxis(double delta, __int64 offset, __int64 samples);

/// Throws Error when the record, number `index` from 0 on, is evenly spaced but has no axis.
void RequireAxis(const CComDataBase& record, std::size_t index);

/// Whether the axis of the record is the time, evenly spaced, and the samples are real.
bool IsWaveform(const CComDataBase& record);
/// Throws Error unless the record is one.
void RequireWaveform(const RecordOutline& record, std::size_t index);

/// A waveform record and the channels chosen from it, one or more.
struct ChosenWaveforms {
    const CComDataBase* record;
    std::vector<Channel> channels;
};

/// The chosen channels record by record. Throws Error, also when a record is no waveform.
std::vector<ChosenWaveforms> SelectWaveforms(const DataFileContent& content, const ChannelOptions& options);

/// Sampling rate of a waveform, in hertz.
double RateOf(const CComDataBase& record);

/// Throws Error when one of `count` samples, which follow `done` others of channel `name`, holds no value.
void RequireValues(const double* samples, __int64 count, std::wstring_view name, __int64 done = 0);

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
