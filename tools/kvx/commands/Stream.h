// SPDX-License-Identifier: MIT
//
// Signals from file to file, block by block, through what becomes of each channel: memory does not grow with
// their length.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Command.h"
#include "cli/OutputFormat.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"

namespace kvx::tool {

/// What the commands that stream have in common.
struct StreamOptions {
    std::string input;
    OutputChoice output;
    ChannelOptions channels;
    RecordingOptions recording;  ///< its full scale is that of the output, too
    std::string samples = "float";

    /// Throws ValueError when the output's name tells neither.
    bool IsForSound() const;
};
/// Describes the input and the output.
void AddStreamFiles(Command& command, StreamOptions* options);
/// Describes the other options; `rateName` is that of the input's true rate.
void AddStreamOptions(Command& command, const std::string& rateName, StreamOptions* options);

/// Opens the input on behalf of `verb`; throws Failure, ValueError or UsageError.
std::unique_ptr<SignalReader> OpenInput(std::string_view verb, const StreamOptions& options);
/// Begins the data file or WAV file that the output's name asks for, on behalf of its writing.
std::unique_ptr<SignalWriter> CreateOutput(const StreamOptions& options, const std::wstring& text,
                                           const std::vector<SignalRun>& runs);

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
    std::string verb;
    std::string input;
    std::string output;
};

/// Samples of all channels that a block has at most.
inline constexpr std::size_t kStreamBlock = std::size_t{1} << 18;

/// Makes the process of a channel of a run (both 0-based).
using MakeProcess = std::function<std::unique_ptr<ChannelProcess>(std::size_t run, std::size_t channel)>;

/// Takes every run of `reader` through its processes into the same run of `writer`, and commits that. All
/// channels of a run must come out equally long. Throws Failure.
void Stream(const StreamNames& names, SignalReader& reader, SignalWriter& writer, const MakeProcess& process,
            std::size_t blockSamples = kStreamBlock);

}  // namespace kvx::tool
