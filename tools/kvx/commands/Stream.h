// SPDX-License-Identifier: MIT
//
// Signals from file to file, block by block, through what becomes of each channel: memory does not grow with
// their length.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/SampleProcess.h>

#include "cli/Batch.h"
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
    PartOptions part;
    RecordingOptions recording;          ///< its full scale is that of the output, too
    std::optional<std::string> samples;  ///< of a sound file
    std::string uffNumbers = "binary";

    /// Throws ValueError when the output's name tells none.
    Format FormatOfOutput() const;

    Format first = Format::dataFile;  ///< of an output that tells none
};
/// Describes the inputs and the output.
void AddStreamFiles(Command& command, BatchOptions* options);
/// Runs `work` for each input with the options that name it and its output.
template <class Options, class Work>
void RunStreams(const BatchOptions& batch, BatchReports reports, const Options& options, Work work,
                ByteStream& out) {
    const auto one = [&](const std::string& input, const OutputChoice& output, ByteStream& report) {
        Options own = options;
        own.stream.input = input;
        own.stream.output = output;
        work(own, report);
    };
    RunBatch(batch, RecordingFormats(options.stream.first), reports, one, out);
}

/// Describes the other options; `rateName` is that of the input's true rate.
void AddStreamOptions(Command& command, const std::string& rateName, StreamOptions* options);

/// Time waveforms, as one run where an output of that format has room for one.
SignalKinds WaveformsFor(Format format);

/// Opens the input on behalf of `verb`; throws Failure, ValueError or UsageError.
std::unique_ptr<SignalReader> OpenInput(std::string_view verb, const StreamOptions& options,
                                        const SignalKinds& kinds);
/// Begins the file that the output's name asks for, on behalf of its writing: of these runs, with what the
/// reader tells besides. What the format has no place for is noted once the file is in place.
std::unique_ptr<SignalWriter> CreateOutput(const StreamOptions& options, const SignalReader& reader,
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
