// SPDX-License-Identifier: MIT
#include "commands/Stream.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "cli/Failure.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

constexpr std::array kSignalFormats = {OutputFormat::dataFile, OutputFormat::wav};

/// The samples that runs have in all channels together.
std::uint64_t CountSamples(const std::vector<SignalRun>& runs) {
    std::uint64_t count = 0;
    for (const SignalRun& run : runs) count += static_cast<std::uint64_t>(run.samples) * run.channels.size();
    return count;
}

}  // namespace

bool StreamOptions::IsForSound() const {
    return FormatOf(output, kSignalFormats) == OutputFormat::wav;
}

void AddStreamFiles(Command& command, StreamOptions* options) {
    command
        .AddOption("FILE", options->input,
                   "Data file with time waveforms, text table or sound file, of any length")
        .Required();
    AddOutputOptions(command, "Output: a data file or sound", kSignalFormats, &options->output).Required();
}

void AddStreamOptions(Command& command, const std::string& rateName, StreamOptions* options) {
    AddChannelOptions(command, &options->channels);
    options->recording.rateName = rateName;
    AddRecordingOptions(command, &options->recording);
    AddSamplesOption(command, &options->samples);
}

std::unique_ptr<SignalReader> OpenInput(std::string_view verb, const StreamOptions& options) {
    RequireAnotherFile(options.input, options.output.name);
    const bool isForSound = options.IsForSound();
    WavSamplesOf({options.samples, {}});  // a wrong kind is told before the work
    return Doing(verb, options.input, [&] {
        Progress progress("reading " + InputName(options.input));
        return OpenSignal(options.input, options.channels, options.recording, isForSound, progress);
    });
}

std::unique_ptr<SignalWriter> CreateOutput(const StreamOptions& options, const std::wstring& text,
                                           const std::vector<SignalRun>& runs) {
    const std::string& name = options.output.name;
    return Doing("write", name, [&] {
        if (!options.IsForSound()) return CreateDataFile(name, text, runs);
        return CreateWavFile(name, runs, {options.samples, options.recording.fullScale});
    });
}

void Stream(const StreamNames& names, SignalReader& reader, SignalWriter& writer, const MakeProcess& process,
            std::size_t blockSamples) {
    Progress progress("reading " + InputName(names.input));
    const std::uint64_t total = CountSamples(reader.Runs());
    std::uint64_t done = 0;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const std::size_t channels = reader.Runs()[r].channels.size();
        const std::size_t room = std::max<std::size_t>(1, blockSamples / channels);
        std::vector<std::vector<double>> in(channels, std::vector<double>(room));
        std::vector<std::vector<double>> out(channels);
        std::vector<std::unique_ptr<ChannelProcess>> processes(channels);
        std::vector<double*> targets(channels);
        for (std::size_t c = 0; c < channels; ++c) {
            processes[c] = process(r, c);
            targets[c] = in[c].data();
        }
        for (bool isOver = false; !isOver;) {
            std::size_t count = 0;
            std::vector<double*> results(channels);
            std::size_t resultCount = 0;
            Doing(names.verb, names.input, [&] {
                count = reader.Read(r, targets, room);
                isOver = count == 0;
                for (std::size_t c = 0; c < channels; ++c) {
                    out[c].clear();
                    isOver ? processes[c]->Finish(&out[c]) : processes[c]->Feed({targets[c], count}, &out[c]);
                    results[c] = out[c].data();
                }
                resultCount = out.front().size();
            });
            if (resultCount > 0) {
                Doing("write", names.output, [&] { writer.Write(r, results, resultCount); });
            }
            done += count * channels;
            progress.Update(done, total);
        }
    }
    Doing("write", names.output, [&] { writer.Commit(); });
}

std::unique_ptr<ChannelProcess> NoChange() {
    class Copy : public ChannelProcess {
    public:
        void Feed(std::span<const double> samples, std::vector<double>* out) override {
            out->insert(out->end(), samples.begin(), samples.end());
        }
        void Finish(std::vector<double>*) override {}
    };
    return std::make_unique<Copy>();
}

}  // namespace kvx::tool
