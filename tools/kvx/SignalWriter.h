// SPDX-License-Identifier: MIT
//
// Time waveforms into a data file or a WAV file, block by block, and the loop that takes them from a reader
// through what becomes of each channel.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/files/DataFileStream.h>

#include "Command.h"
#include "Progress.h"
#include "Signal.h"
#include "SoundFile.h"

namespace kvx::tool {

/// How a WAV file holds samples.
struct WavOptions {
    std::string samples = "float";
    std::optional<double> fullScale;
};
void AddWavOptions(Command& command, WavOptions* options);
/// Throws ValueError.
WavSamples WavSamplesOf(const WavOptions& options);

/// Whether the name of a file is one of a WAV file.
bool IsWavName(const std::string& path);

/// The rate of samples `delta` seconds apart as a WAV header holds it: whole, to the accuracy of a sampling
/// clock. Throws Reason.
int WavRate(double delta);

/// Turns a channel's samples of the standard unit, block by block, into what a WAV file holds.
class WavScale {
public:
    WavScale(const SignalRun::Channel& channel, const WavOptions& options);
    void Apply(std::span<double> samples);
    /// Throws Reason when integers could not hold the samples so far.
    void RequireUnclipped() const;

private:
    SignalRun::Channel channel_;
    double fullScale_;
    bool isInteger_;
    double peak_ = 0.0;
};

/// Takes the samples of runs; the file is in place after Commit. Operations throw Reason or CFileException.
class SignalWriter {
public:
    virtual ~SignalWriter() = default;
    SignalWriter(const SignalWriter&) = delete;
    SignalWriter& operator=(const SignalWriter&) = delete;

    /// Appends `count` samples, in standard units, of each channel of a run.
    virtual void Write(std::size_t run, std::span<double* const> channels, std::size_t count) = 0;
    virtual void Commit() = 0;
    /// The records being written; none in a WAV file.
    virtual std::vector<RecordOutline> Records() const { return {}; }

protected:
    SignalWriter() = default;
};

/// Begins a data file with one record per run and unit, in the order in which the units first appear.
std::unique_ptr<SignalWriter> CreateDataFile(const std::string& path, const std::wstring& text,
                                             const std::vector<SignalRun>& runs);
/// Begins a WAV file, for which there must be one run.
std::unique_ptr<SignalWriter> CreateWavFile(const std::string& path, const std::vector<SignalRun>& runs,
                                            const WavOptions& options);
/// Throws UsageError when the options are for a WAV file and the output is none, ValueError for wrong ones.
void RequireWavOptions(const std::string& output, const WavOptions& options);

/// What becomes of one channel, block by block. May keep samples back.
class ChannelProcess {
public:
    virtual ~ChannelProcess() = default;
    ChannelProcess(const ChannelProcess&) = delete;
    ChannelProcess& operator=(const ChannelProcess&) = delete;

    /// Takes the next samples, at least one, and appends what comes out.
    virtual void Feed(std::span<const double> samples, std::vector<double>* out) = 0;
    /// Appends what is due after the last sample.
    virtual void Finish(std::vector<double>* out) = 0;

protected:
    ChannelProcess() = default;
};

std::unique_ptr<ChannelProcess> NoChange();

/// The files of a stream and what is done with them, for sentences.
struct StreamNames {
    std::string_view verb;
    std::string_view input;
    std::string_view output;
};

/// Samples of all channels that a block has at most.
inline constexpr std::size_t kStreamBlock = std::size_t{1} << 18;

/// Makes the process of a channel of a run (both 0-based).
using MakeProcess = std::function<std::unique_ptr<ChannelProcess>(std::size_t run, std::size_t channel)>;

/// Takes every run of `reader` through its processes into the same run of `writer`, and commits that. All
/// channels of a run must come out equally long. Throws Failure, or Stopped when a person ends the program
/// meanwhile.
void Stream(const StreamNames& names, SignalReader& reader, SignalWriter& writer, const MakeProcess& process,
            std::size_t blockSamples = kStreamBlock);

}  // namespace kvx::tool
