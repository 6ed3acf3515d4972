// SPDX-License-Identifier: MIT
//
// What the records of a data file hold, for a person: their type, where their axis begins and ends, and mean,
// rms and extremes of every channel. Files of any length are read block by block, channels side by side.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// "time waveform", "complex spectrum", "real data" and so on, by the axis and the imaginary parts.
KVX_API std::string_view RecordType(const RecordOutline& record);

/// The axis of a record, in the standard unit of its dimension: seconds, hertz.
struct RecordAxis {
    CUnitCtrl unit;
    bool isEven = false;  ///< whether sample i stands at (offset + i) delta; else delta and offset are 0
    double delta = 0.0;
    __int64 offset = 0;
    double first = 0.0;
    double last = 0.0;
};

/// The axis of record number `record` (from 0). Throws Error.
KVX_API RecordAxis ReadRecordAxis(DataFileReader& file, std::size_t record);

/// Figures of samples that come in standard units, as those of their unit. An object that was moved from can
/// only be assigned to or destroyed.
class KVX_API ShownStatistics {
public:
    explicit ShownStatistics(const CUnitCtrl& unit) : unit_(unit) {}

    /// Takes the next samples; with imaginary parts, as many, the magnitudes count.
    void Add(std::span<const double> real, std::span<const double> imaginary = {});
    /// The figures of what was taken so far.
    SampleFigures Figures() const { return statistics_.Figures(); }

private:
    CUnitCtrl unit_;
    std::vector<double> shown_;
    std::vector<double> imaginary_;
    SampleStatistics statistics_;
};

/// The figures of channels of one record, in its unit; of complex samples those of the magnitudes. All of
/// the channels have a block in memory at a time. Throws Error.
KVX_API std::vector<SampleFigures> MeasureChannels(DataFileReader& file, std::span<const Channel> channels);

/// A record with the figures of its channels.
struct RecordFigures {
    std::size_t record = 0;  ///< from 0
    RecordAxis axis = {};
    std::vector<Channel> channels = {};
    std::vector<SampleFigures> figures = {};  ///< of each channel
};

/// Measures all records; `progress` counts channels. Throws Error.
KVX_API std::vector<RecordFigures> MeasureRecords(DataFileReader& file,
                                                  const ProgressFunction& progress = {});

}  // namespace kvx
