// SPDX-License-Identifier: MIT
#include "commands/Stream.h"

#include <algorithm>
#include <cstdint>
#include <span>

#include <KvxRecording01/SignalRuns.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {

Format StreamOptions::FormatOfOutput() const {
    return RecordingFormatOf(output, first);
}

void AddStreamFiles(Command& command, BatchOptions* options) {
    AddInputs(command, "FILE", "Recordings of any format with time waveforms, of any length", options);
    AddOutputOptions(command, "Output, of several inputs a folder", RecordingFormats(), &options->output)
        .Required();
    AddBatchOptions(command, options);
}

void AddStreamOptions(Command& command, const std::string& rateName, StreamOptions* options) {
    AddPartOptions(command, &options->part);
    options->recording.rateName = rateName;
    AddRecordingOptions(command, &options->recording);
    AddSamplesOption(command, &options->samples);
    command.AddOption("--uff", options->uffNumbers, "Numbers of a universal file: " + Names(kUffNumbers))
        .Type("KIND")
        .ShowDefault()
        .Suggest(NameList(kUffNumbers));
}

SignalKinds WaveformsFor(Format format) {
    return {.isJoined = RowOf(format).hasOneRun};
}

std::unique_ptr<SignalReader> OpenInput(std::string_view verb, const StreamOptions& options,
                                        const SignalKinds& kinds) {
    RequireAnotherFile(options.input, options.output.name);
    const bool isForSound = IsSound(options.FormatOfOutput());
    if (options.samples && !isForSound) {
        throw UsageError("--samples is for sound files, and " + OutputName(options.output.name) + " is " +
                         std::string(RowOf(options.FormatOfOutput()).name));
    }
    WavSamplesOf({options.samples, {}});  // wrong kinds are told before the work
    Choose(kUffNumbers, "--uff", options.uffNumbers);
    return Doing(verb, options.input, [&] {
        Progress progress("reading " + InputName(options.input));
        return OpenSignal(options.input, options.part, options.recording, isForSound, progress, kinds);
    });
}

std::unique_ptr<SignalWriter> CreateOutput(const StreamOptions& options, const SignalReader& reader,
                                           const std::vector<SignalRun>& runs) {
    const std::string& name = options.output.name;
    const WavOptions wav = WavOptionsOf({options.samples, options.recording.fullScale});
    return Doing("write", name, [&] {
        return CreateSignal(name, options.FormatOfOutput(), runs,
                            {.text = reader.Text(),
                             .wav = wav,
                             .uff = {Choose(kUffNumbers, "--uff", options.uffNumbers).numbers},
                             .called = OptionNames(options.recording),
                             .facts = reader.Properties()});
    });
}

void Stream(const StreamNames& names, SignalReader& reader, SignalWriter& writer, const MakeProcess& process,
            std::size_t blockSamples) {
    Progress progress("reading " + InputName(names.input));
    const std::uint64_t total = CountSamples(reader.Runs());
    std::uint64_t done = 0;
    Doing(names.verb, names.input, [&] {
        for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
            const std::size_t channels = reader.Runs()[r].channels.size();
            std::vector<std::unique_ptr<SampleProcess>> processes;
            for (std::size_t c = 0; c < channels; ++c) processes.push_back(process(r, c));
            const auto read = [&](std::span<double* const> targets, std::size_t room) {
                const std::size_t count = reader.Read(r, targets, room);
                done += count * channels;
                progress.Update(done, total);
                return count;
            };
            const auto write = [&](std::span<double* const> results, std::size_t count) {
                Doing("write", names.output, [&] { writer.Write(r, results, count); });
            };
            RunProcesses(processes, std::max<std::size_t>(1, blockSamples / channels), read, write);
        }
    });
    Doing("write", names.output, [&] { writer.Commit(); });
}

void CopySignal(const StreamNames& names, SignalReader& reader, SignalWriter& writer) {
    Progress progress("reading " + InputName(names.input));
    Doing(names.verb, names.input, [&] {
        ReadRuns(
            reader,
            [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
                Doing("write", names.output, [&] { writer.Write(run, columns, count); });
            },
            progress.Function());
    });
    Doing("write", names.output, [&] { writer.Commit(); });
}

}  // namespace kvx::tool
