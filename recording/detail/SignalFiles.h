// SPDX-License-Identifier: MIT
//
// What reads and writes the formats, for their rows in Formats.cpp: one source file per format.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalWriter.h>

namespace kvx {

/// Throws Error unless the columns of a run are the `expected` ones, 0 where there is no such run, and those
/// of `count` samples are there.
void RequireChannels(std::span<const double* const> channels, std::size_t expected, std::size_t count);

/// Throws Error for a run that is evenly spaced but has no axis.
void RequireAxis(const SignalRun& run);

/// The only run of what becomes a file of a format that has room for one. Throws Error for several.
const SignalRun& SingleRun(const std::vector<SignalRun>& runs, const std::string& format,
                           const StatementNames& called);

/// What was written of a file of one run.
class WrittenRun {
public:
    /// Throws Error for a run without channels or samples, or without an axis.
    explicit WrittenRun(const SignalRun& run);
    /// Counts what comes next. Throws Error for channels that are not those of the run, and for more samples
    /// than it has.
    void Add(std::size_t run, std::span<double* const> channels, std::size_t count);
    /// Throws Error while samples are missing.
    void RequireAll() const;

private:
    std::size_t columns_;
    __int64 left_;
};

/// Sample number `start` of a channel in its file.
inline SamplePlace PlaceOf(const Channel& channel, __int64 start) {
    return {static_cast<__int64>(channel.record), channel.row, channel.column, start};
}

/// The records of a data file.
std::unique_ptr<SignalReader> OpenDataFileSignal(const std::string& path, const ChannelChoice& choice,
                                                 const SignalKinds& kinds, const StatementNames& called);

/// A data file with one record per run, unit and kind of values, in the order in which the units first
/// appear.
std::unique_ptr<SignalWriter> CreateDataFileSignal(const std::string& path,
                                                   const std::vector<SignalRun>& runs,
                                                   const SignalFileOptions& options);

/// A sound file of a format, for which there must be one run.
std::unique_ptr<SignalWriter> CreateSoundSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                                const SignalFileOptions& options, Format format);

/// Whether a SAC file says in what values of the unit are counted, or they are plain numbers.
bool IsSacUnit(const CUnitCtrl& unit);

/// A SAC file, for which there must be one run of one channel.
std::unique_ptr<SignalWriter> CreateSacSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

/// A CSV table, for which there must be one run.
std::unique_ptr<SignalWriter> CreateCsvSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

/// A MATLAB file of level 5.
std::unique_ptr<SignalWriter> CreateMatSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

/// A NumPy file, for which there must be one run of time waveforms.
std::unique_ptr<SignalWriter> CreateNpySignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

/// An archive of NumPy arrays.
std::unique_ptr<SignalWriter> CreateNpzSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

/// A universal file with a function for each channel.
std::unique_ptr<SignalWriter> CreateUffSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options);

}  // namespace kvx
