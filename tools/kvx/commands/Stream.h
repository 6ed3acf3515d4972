// SPDX-License-Identifier: MIT
//
// Signals from file to file, block by block, through what becomes of each channel: memory does not grow with
// their length.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/SampleProcess.h>

#include "cli/Command.h"
#include "cli/OutputFormat.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"

namespace kvx::tool {

struct EndName {
    std::string_view name;
    Ends ends;
};
inline constexpr std::array kEndNames = {EndName{"hold", Ends::held}, EndName{"zeros", Ends::zero}};

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

/// The files of a stream and what is done with them, for sentences.
struct StreamNames {
    std::string verb;
    std::string input;
    std::string output;
};

/// Samples of all channels that a block has at most.
inline constexpr std::size_t kStreamBlock = std::size_t{1} << 18;

/// Makes the process of a channel of a run (both 0-based).
using MakeProcess = std::function<std::unique_ptr<SampleProcess>(std::size_t run, std::size_t channel)>;

/// Takes every run of `reader` through its processes (RunProcesses) into the same run of `writer`, and
/// commits that. Throws Failure.
void Stream(const StreamNames& names, SignalReader& reader, SignalWriter& writer, const MakeProcess& process,
            std::size_t blockSamples = kStreamBlock);

/// Passes every run of `reader` on to the same run of `writer`, and commits that. Throws Failure.
void CopySignal(const StreamNames& names, SignalReader& reader, SignalWriter& writer);

}  // namespace kvx::tool
