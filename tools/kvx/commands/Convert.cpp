// SPDX-License-Identifier: MIT
//
// kvx convert: recordings of any format into any format that is written. kvx edit: the same with other names,
// units, text and levels.
#include "commands/Convert.h"

#include <memory>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalEdit.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kHeaderTextLength = 257;

/// The pieces of a list, one for all channels or one each; empty where nothing is listed.
std::vector<std::string> PiecesOf(const std::string& option, const std::string& list, std::size_t count) {
    return list.empty() ? std::vector<std::string>(count) : SpreadList(option, list, count);
}

/// The names of a list, one for each channel.
std::vector<std::string> NamesOf(const std::string& list, std::size_t count) {
    std::vector<std::string> names(count);
    if (list.empty()) return names;
    names = SplitList(list);
    if (names.size() == count) return names;
    throw Error(ErrorKind::kBadValue, "--name gives " + Count(std::ssize(names), "name") + " for " +
                                          Count(static_cast<long long>(count), "channel"));
}

/// What is to be changed of the channels of a recording; `states` says that its names and units are stated
/// anew.
SignalEdit EditOf(const ConvertOptions& options, const SignalReader& reader, bool states) {
    SignalEdit edit = {.channels = {}, .text = StatedText(options)};
    const std::vector<SignalRun::Channel> channels = ChannelsOf(reader);
    const RecordingOptions& recording = options.stream.recording;
    const std::vector<std::string> names = NamesOf(states ? recording.names : "", channels.size());
    const std::vector<std::string> units =
        PiecesOf(recording.unitName, states ? recording.units : "", channels.size());
    const std::vector<std::string> shown =
        PiecesOf(options.shownUnitsName, options.shownUnits, channels.size());
    const std::vector<std::string> scales = PiecesOf("--scale", options.scales, channels.size());
    const std::vector<std::string> offsets = PiecesOf("--offset", options.offsets, channels.size());
    for (std::size_t c = 0; c < channels.size(); ++c) {
        ChannelEdit& change = edit.channels.emplace_back();
        if (!names[c].empty()) {
            change.name = FromUtf8(names[c]);
            if (!change.name) throw ValueError("the name " + Quote(names[c]) + " is not UTF-8");
        }
        if (!scales[c].empty()) change.scale = ParseArgument(scales[c]);
        if (!offsets[c].empty()) change.offset = ParseArgument(offsets[c]);
        if (!units[c].empty()) {
            const EntryUnit unit = RequireEntryUnit(units[c]);
            change.unit = unit.unit;
            change.scale *= unit.scale;
            change.offset *= unit.scale;
        }
        if (shown[c].empty()) continue;
        const CUnitCtrl unit = change.unit.value_or(channels[c].unit);
        change.shownIn = RequireUnit(shown[c], DimensionOf(unit));
        if (IsConvertible(unit, *change.shownIn)) continue;
        throw Error(ErrorKind::kBadValue, options.shownUnitsName + ": channel " + Quote(channels[c].name) +
                                              " is in " + Quote(UnitText(unit)) +
                                              ", which does not convert to " + Quote(shown[c]));
    }
    return edit;
}

/// "7400 samples at 2560 Hz (2.890625 s)", "1024 samples every 1.25 Hz", "20 samples at listed places"
std::string ExtentText(const SignalRun& run) {
    const std::string samples = Count(run.samples, "sample");
    if (run.isListed) return samples + " at listed places";
    if (run.axisUnit == CUnitCtrl::DIM_TIME) {
        return samples + " at " + FormatNumber(1.0 / run.delta, 10) + " Hz (" +
               FormatNumber(static_cast<double>(run.samples) * run.delta, 7) + " s)";
    }
    return samples + " every " + FormatNumber(run.delta, 10) + " " +
           UnitText(CUnitCtrl(DimensionOf(run.axisUnit)));
}

/// The channels of a data file that was written, with their records.
std::string TableOf(const std::string& output, const std::vector<SignalRun>& runs,
                    const std::vector<RecordOutline>& records) {
    std::vector<std::vector<std::string>> lines = {{"channel", "name", "unit", "record"}};
    for (const Channel& channel : ListChannels(records)) {
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name),
                         UnitText(records[channel.record].fields.unit), std::to_string(channel.record + 1)});
    }
    return OutputName(output) + ": " + ExtentText(runs.front()) + ", " +
           Count(std::ssize(records), "record") + "\n" +
           FormatTable({Align::right, Align::left, Align::left, Align::right}, lines);
}

/// "a.csv: 3 channels of 7400 samples"
std::string LineOf(const std::string& output, const std::vector<SignalRun>& runs) {
    std::size_t channels = 0;
    for (const SignalRun& run : runs) channels += run.channels.size();
    std::string text = OutputName(output) + ": " + Count(static_cast<long long>(channels), "channel");
    text += runs.size() == 1 ? " of " + Count(runs.front().samples, "sample")
                             : " in " + Count(std::ssize(runs), "record");
    return text + "\n";
}

}  // namespace

std::optional<std::wstring> StatedText(const ConvertOptions& options) {
    if (!options.text) return std::nullopt;
    std::optional<std::wstring> text = FromUtf8(*options.text);
    if (!text) throw ValueError("the text " + Quote(*options.text) + " is not valid UTF-8");
    return text;
}

void AddTextOption(Command& command, ConvertOptions* options) {
    command
        .AddOption("--text", options->text,
                   "Free text of the file; without it that of the input, or its name")
        .Type("TEXT");
}

void AddShownUnitsOption(Command& command, ConvertOptions* options) {
    AddList(command, options->shownUnitsName, options->shownUnits,
            "Convert the values to this unit, one for all channels or a list");
}

SignalKinds KindsFor(Format format) {
    return {.anyRun = true, .missing = !IsSound(format), .isJoined = RowOf(format).hasOneRun};
}

void WriteSignal(std::string_view verb, const ConvertOptions& options, SignalReader& reader, bool hasTable,
                 ByteStream& out) {
    const std::string& output = options.stream.output.name;
    const bool isDataFile = options.stream.FormatOfOutput() == Format::dataFile;
    if (isDataFile && ToUtf16(reader.Text()).size() > kHeaderTextLength)
        Note("the header keeps 257 characters of the text");
    const std::vector<SignalRun>& runs = reader.Runs();
    const std::unique_ptr<SignalWriter> writer = CreateOutput(options.stream, reader, runs);
    CopySignal({std::string(verb), options.stream.input, output}, reader, *writer);
    if (hasTable && isDataFile) {
        WriteText(ReportStream(output, out), TableOf(output, runs, writer->Records()));
    } else if (!IsStandardStream(output)) {
        WriteText(out, LineOf(output, runs));
    }
}

void RunConversion(std::string_view verb, const ConvertOptions& options, bool hasTable, bool edits,
                   ByteStream& out) {
    StreamOptions stream = options.stream;
    const bool states = edits && Doing(verb, stream.input, [&] { return IsDataFile(stream.input); });
    if (states) {
        stream.recording.names.clear();
        stream.recording.units.clear();
    }
    StatedText(options);
    std::unique_ptr<SignalReader> reader = OpenInput(verb, stream, KindsFor(stream.FormatOfOutput()));
    reader = Doing(verb, stream.input, [&] {
        const SignalEdit edit = EditOf(options, *reader, states);
        return EditSignal(std::move(reader), edit);
    });
    WriteSignal(verb, options, *reader, hasTable, out);
}

/// Describes the inputs and the output of conversions.
void AddRecordingFiles(Command& command, BatchOptions* batch) {
    AddInputs(command, "FILE", "Recordings of any format ('kvx formats' lists them); - is standard input",
              batch);
    AddOutputOptions(command, "Output, of several inputs a folder", RecordingFormats(), &batch->output)
        .Required();
    AddBatchOptions(command, batch);
}

void AddConvert(Command app) {
    const auto options = std::make_shared<ConvertOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("convert", "Write recordings of any format in another");
    AddRecordingFiles(command, batch.get());
    AddTextOption(command, options.get());
    AddShownUnitsOption(command, options.get());
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(R"(
What the input holds decides how it is read, the end of the output's name what is written. Waveforms,
spectra and transfer functions go through, real or complex, evenly spaced or not, as far as the
format can hold them. Several inputs become files in a folder; one that fails does not stop the
others.
)",
                      R"(
printf 'time,top [g],base [g]\n0,0.1,0.2\n0.5,0.3,-0.1\n1,0.2,0.4\n' > shaker.csv
kvx convert shaker.csv -o shaker.wav --to-unit m/s2 --full-scale 50
kvx convert shaker.csv -o - --channels top --start 0.5
kvx convert shaker.csv shaker.wav -o both/ --name-pattern '{number}-{stem}.{ext}' --as vdf2
)");
    command.OnRun([=](ByteStream& out) {
        const auto convert = [](const ConvertOptions& one, ByteStream& report) {
            RunConversion("convert", one, false, false, report);
        };
        RunStreams(*batch, BatchReports::asTheyAre, *options, convert, out);
    });
}

void AddEdit(Command app) {
    const auto options = std::make_shared<ConvertOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("edit", "Write a recording with other names, units, text or levels");
    AddRecordingFiles(command, batch.get());
    AddTextOption(command, options.get());
    AddList(command, "--scale", options->scales,
            "Multiply the values by this, one for all channels or a list: 1,-1,0.5");
    AddList(command, "--offset", options->offsets,
            "Then add this, in the unit of the values, one for all channels or a list");
    AddShownUnitsOption(command, options.get());
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(R"(
--unit says what unit the numbers are in, whatever the file says: they stay as they are. --to-unit
converts: the values stay what they are. With both, the numbers are first taken for those of --unit,
multiplied, shifted, then converted. --name and --unit are for files of all formats, the other
options that state something for those that do not know it.
)",
                      R"(
printf 'time,top [g],base [g]\n0,0.1,0.2\n0.5,0.3,-0.1\n1,0.2,0.4\n' > shaker.csv
kvx import shaker.csv -o shaker.vdf2
kvx edit shaker.vdf2 -o renamed.vdf2 --name roof,ground --text 'Shaker 3, second run'
kvx edit shaker.vdf2 -o turned.csv --scale=-1 --to-unit m/s2
kvx edit shaker.vdf2 -o force.vdf2 --channels base --unit N --offset 0.5
)");
    command.OnRun([=](ByteStream& out) {
        const auto edit = [](const ConvertOptions& one, ByteStream& report) {
            RunConversion("edit", one, false, true, report);
        };
        RunStreams(*batch, BatchReports::asTheyAre, *options, edit, out);
    });
}

}  // namespace kvx::tool
