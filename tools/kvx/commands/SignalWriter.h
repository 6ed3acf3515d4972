// SPDX-License-Identifier: MIT
//
// Time waveforms into a data file or a WAV file, block by block.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxRecording01/SoundFile.h>

#include "cli/Command.h"
#include "commands/Signal.h"

namespace kvx::tool {

/// How a WAV file holds samples.
struct WavOptions {
    std::string samples = "float";
    std::optional<double> fullScale;
};
void AddSamplesOption(Command& command, std::string* samples);
/// Throws ValueError.
WavSamples WavSamplesOf(const WavOptions& options);

/// The rate of samples `delta` seconds apart as a WAV header holds it: whole, to the accuracy of a sampling
/// clock. Throws Error.
int WavRate(double delta);

/// Turns a channel's samples of the standard unit, block by block, into what a WAV file holds.
class WavScale {
public:
    WavScale(const SignalRun::Channel& channel, const WavOptions& options);
    void Apply(std::span<double> samples);
    /// Throws Error when integers could not hold the samples so far.
    void RequireUnclipped() const;

private:
    SignalRun::Channel channel_;
    double fullScale_;
    bool isInteger_;
    double peak_ = 0.0;
};

/// Takes the samples of runs; the file is in place after Commit. Operations throw Error or CFileException.
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
}  // namespace kvx::tool
