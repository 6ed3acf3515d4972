// SPDX-License-Identifier: MIT
//
// The channels of a data file, which are the cells of all its records under one numbering: listing them,
// choosing some as a person names them, and what is asked of the records and samples of the chosen ones. For
// files that were loaded and for such that are read block by block.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// One cell of one record.
struct Channel {
    std::size_t number;  ///< from 1, through all records of the file, row by row
    std::size_t record;  ///< from 0
    __int64 row;
    __int64 column;
    std::wstring name;  ///< of the row; "row/column" where the record has several columns
};

KVX_API std::vector<Channel> ListChannels(const DataFileContent& content);
KVX_API std::vector<Channel> ListChannels(std::span<const RecordOutline> records);

KVX_API CStringArray NamesOf(std::span<const Channel> channels);

/// 0-based positions of the chosen ones among channels of those names, in the order of the choice: a comma
/// list of names, 1-based numbers, ranges "2-4" and "3-" to the last, and patterns "acc*" and "a?", which
/// take what was not chosen before them; empty chooses all. A name goes before a number, a range and a
/// pattern. Throws Error for a channel that is not there or chosen twice, a name that several bear, and a
/// pattern that no name is of.
KVX_API std::vector<std::size_t> ChooseChannels(std::string_view choice, std::span<const std::wstring> names);

/// Which channels of a data file are taken.
struct ChannelChoice {
    std::string channels = {};  ///< as ChooseChannels takes it; empty for all
    std::size_t record = 0;     ///< only those of this record, from 1; 0 for all
};

/// The chosen ones of all channels of a file, those of one record together and in the order of the records.
/// Numbers are those of the file, also with a record chosen; a name is looked for in that record first, and a
/// pattern only there.
/// Throws Error for a channel or record that is not there, and for a chosen record that is evenly spaced but
/// has no axis.
KVX_API std::vector<Channel> SelectChannels(const DataFileContent& content, const ChannelChoice& choice);
KVX_API std::vector<Channel> SelectChannels(std::span<const RecordOutline> records,
                                            const ChannelChoice& choice);

/// Whether samples `delta` apart have an axis: the spacing is above 0, it has a reciprocal, and every sample
/// stands at a finite place.
KVX_API bool IsEvenAxis(double delta, __int64 offset, __int64 samples);

/// Throws Error when a record, number `index` from 0 on, is evenly spaced but has no axis.
KVX_API void RequireAxis(const CComDataBase& record, std::size_t index);
KVX_API void RequireAxis(const RecordOutline& record, std::size_t index);

/// Whether the axis of the record is the time, evenly spaced, and the samples are real.
KVX_API bool IsWaveform(const CComDataBase& record);
KVX_API bool IsWaveform(const RecordOutline& record);

/// Throws Error unless the record, number `index` from 0 on, is one.
KVX_API void RequireWaveform(const CComDataBase& record, std::size_t index);
KVX_API void RequireWaveform(const RecordOutline& record, std::size_t index);

/// Whether all samples are finite and none is no-value.
KVX_API bool AreValues(std::span<const double> samples);

/// Throws Error when one of `samples`, which follow `before` others of channel `name`, is the no-value marker
/// or no finite number.
KVX_API void RequireValues(std::span<const double> samples, std::wstring_view name, __int64 before = 0);

}  // namespace kvx
