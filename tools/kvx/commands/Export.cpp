// SPDX-License-Identifier: MIT
//
// kvx export: records become a CSV table or, when they are waveforms, a WAV file.
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"
#include "commands/Stream.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::array kExportFormats = {OutputFormat::csv, OutputFormat::text, OutputFormat::wav};

struct ExportOptions {
    std::string input;
    OutputChoice output;
    std::string units;
    ChannelOptions channels;
    WavChoice wav;
};

void ChooseUnits(std::vector<SignalRun::Channel>& channels, const std::string& list) {
    if (list.empty()) return;
    const std::vector<std::string> units = SpreadList("--unit", list, channels.size());
    for (std::size_t c = 0; c < channels.size(); ++c) {
        const CUnitCtrl stored = channels[c].unit;
        channels[c].unit = RequireUnit(units[c], DimensionOf(stored));
        if (IsConvertible(stored, channels[c].unit)) continue;
        throw ValueError("--unit: channel " + Quote(channels[c].name) + " is in " + Quote(UnitText(stored)) +
                         ", which does not convert to " + Quote(units[c]));
    }
}

void RunExport(const ExportOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.input, output);
    const bool isWav = FormatOf(options.output, kExportFormats) == OutputFormat::wav;
    if (options.wav.fullScale && !isWav) throw UsageError("--full-scale is for WAV files");
    const SignalFileOptions file = {.wav = WavOptionsOf(options.wav), .called = OptionNames()};
    std::vector<SignalRun> runs;
    const std::unique_ptr<SignalReader> reader = Doing("export", options.input, [&] {
        Progress progress("reading " + InputName(options.input));
        auto opened = OpenSignal(options.input, options.channels, {}, isWav, progress,
                                 {.anyRun = true, .missing = !isWav, .isJoined = true});
        runs = opened->Runs();
        for (SignalRun& run : runs) ChooseUnits(run.channels, options.units);
        return opened;
    });
    const std::unique_ptr<SignalWriter> writer = Doing("write", output, [&] {
        return CreateSignal(output, isWav ? Format::wav : Format::text, runs, file);
    });
    CopySignal({"export", options.input, output}, *reader, *writer);
    if (IsStandardStream(output)) return;
    WriteText(out, OutputName(output) + ": " + Count(std::ssize(runs.front().channels), "channel") + " of " +
                       Count(runs.front().samples, "sample") + "\n");
}

}  // namespace

void AddExport(Command app) {
    const auto options = std::make_shared<ExportOptions>();
    Command command = app.AddCommand("export", "Write records as a CSV table or a WAV file");
    command.AddOption("FILE", options->input, "Data file").Required();
    AddOutputOptions(command, "Output: a CSV table or sound", kExportFormats, &options->output).Required();
    command.AddOption("--unit", options->units, "Unit of the values, one for all channels or a list")
        .Type("LIST");
    AddChannelOptions(command, &options->channels);
    AddSamplesOption(command, &options->wav.samples);
    command
        .AddOption("--full-scale", options->wav.fullScale,
                   "Value that becomes full scale of the WAV file (default 1)")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.SetFooter(R"(
CSV has a heading line, the time in s or the frequency in Hz, and every number with the digits that
read back as the same value; complex channels take two columns.
)",
                      R"(
printf '0,0.1\n0.5,0.3\n1,-0.2\n' > shaker.csv
kvx import shaker.csv -o shaker.vdf2 --unit g --name top
kvx export shaker.vdf2 -o - --unit m/s2
kvx export shaker.vdf2 -o shaker.wav --samples pcm24 --full-scale 0.5
)");
    command.OnRun([=](ByteStream& out) { RunExport(*options, out); });
}

}  // namespace kvx::tool
