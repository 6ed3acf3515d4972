// SPDX-License-Identifier: MIT
//
// Channels of a data file that have one axis, as the columns of a table, block by block: real and complex
// ones, on evenly spaced and on other axes, missing values included. What any data file holds becomes text or
// sound by it; SignalReader.h is for waveforms alone.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/WavFile.h>

namespace kvx {

class KVX_RECORDING_API RecordTable {
public:
    struct Column {
        std::wstring name;
        CUnitCtrl unit;  ///< in which the values are written; stored they are in its standard unit
        bool isComplex = false;
    };
    /// Rows of all columns, in standard units.
    struct Rows {
        std::vector<double> axis;
        std::vector<std::vector<double>> real;
        std::vector<std::vector<double>> imaginary;  ///< empty for a real column
    };

    /// Opens the data file at `path` (UTF-8). Throws Error, also for channels that differ in their axis.
    explicit RecordTable(const std::string& path, const ChannelChoice& choice = {},
                         const StatementNames& called = {});
    ~RecordTable();
    RecordTable(RecordTable&&) noexcept;
    RecordTable& operator=(RecordTable&&) noexcept;

    const std::vector<Column>& Columns() const;
    /// Chooses the unit of a column. Throws Error for one that its values do not convert to.
    void SetUnit(std::size_t column, const CUnitCtrl& unit);
    __int64 Count() const;  ///< of rows
    CUnitCtrl AxisUnit() const;
    /// Distance of the rows, in the standard unit of the axis; 0 where each has a value of its own.
    double Spacing() const;
    /// Whether all columns are real and the axis is the time, evenly spaced.
    bool IsWaveform() const;

    /// At most `count` rows from number `first` (0-based) on; they last until the next call. Throws Error.
    const Rows& Read(__int64 first, std::size_t count);

private:
    struct State;

    std::unique_ptr<State> state_;
};

/// Writes the table as CSV, as CsvWriter does. Throws Error, or what the stream throws.
KVX_RECORDING_API void WriteCsv(RecordTable& table, ByteStream& stream,
                                const ProgressFunction& progress = {});

/// Goes through the table for what a WAV file cannot hold, so that it is told before the writing: throws
/// Error unless it is a waveform with a value in every row, a whole rate and, as integers, no clipping.
KVX_RECORDING_API void RequireWav(RecordTable& table, const WavOptions& options);

/// Writes the table as a WAV file at `path` (UTF-8). Throws Error, as RequireWav does as well; then no
/// file is left.
KVX_RECORDING_API void WriteWav(RecordTable& table, const std::string& path, const WavOptions& options,
                                const ProgressFunction& progress = {});

}  // namespace kvx
