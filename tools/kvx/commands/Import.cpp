// SPDX-License-Identifier: MIT
//
// kvx import: text tables and sound files become vibration data files.
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Output.h"
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

constexpr std::size_t kHeaderTextLength = 257;

constexpr std::array kImportFormats = {OutputFormat::dataFile};

struct ImportOptions {
    std::string input;
    OutputChoice output;
    std::string channels;
    std::optional<std::string> text;
    RecordingOptions recording;
};

std::string Summary(const std::string& output, const std::vector<RecordOutline>& records) {
    const RecordOutline& first = records.front();
    std::string text = OutputName(output) + ": " + Count(first.nsamp, "sample") + " at " +
                       FormatNumber(1.0 / first.fields.delta, 10) + " Hz (" +
                       FormatNumber(static_cast<double>(first.nsamp) * first.fields.delta, 7) + " s), " +
                       Count(std::ssize(records), "record") + "\n";
    std::vector<std::vector<std::string>> lines = {{"channel", "name", "unit", "record"}};
    for (const Channel& channel : ListChannels(records)) {
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name),
                         UnitText(records[channel.record].fields.unit), std::to_string(channel.record + 1)});
    }
    return text + FormatTable({Align::right, Align::left, Align::left, Align::right}, lines);
}

void RunImport(const ImportOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.input, output);
    FormatOf(options.output, kImportFormats);
    const std::string file = std::filesystem::path(SourceText(options.input)).filename().string();
    const std::string given = options.text.value_or(file);
    const std::optional<std::wstring> text = FromUtf8(given);
    if (!text) throw ValueError("the text " + Quote(given) + " is not valid UTF-8");
    if (ToUtf16(*text).size() > kHeaderTextLength) Note("the header keeps 257 characters of the text");
    const std::unique_ptr<SignalReader> reader = Doing("import", options.input, [&] {
        Progress progress("reading " + InputName(options.input));
        return OpenRecording(options.input, options.channels, options.recording, progress);
    });
    const std::unique_ptr<SignalWriter> writer = Doing("write", output, [&] {
        return CreateSignal(output, Format::dataFile, reader->Runs(), {.text = *text});
    });
    Stream({"import", options.input, output}, *reader, *writer, [](auto...) { return MakeChain({}); });
    WriteText(ReportStream(output, out), Summary(output, writer->Records()));
}

}  // namespace

void AddImport(Command app) {
    const auto options = std::make_shared<ImportOptions>();
    Command command = app.AddCommand("import", "Make a data file from a text table or a sound file");
    command
        .AddOption(
            "INPUT", options->input,
            "Text table (columns apart by comma, semicolon, tab or blanks; logger files .lvm) or sound "
            "file (WAV, RF64, Wave64, AIFF, AU, CAF or FLAC); - is standard input")
        .Required();
    AddOutputOptions(command, "Data file to write", kImportFormats, &options->output).Required();
    command
        .AddOption("--channels", options->channels,
                   "Channels to take, by number, range or name, in this order: 1,3-4,top")
        .Type("LIST");
    command.AddOption("--text", options->text, "Free text of the header; without it the input's name")
        .Type("TEXT");
    AddRecordingOptions(command, &options->recording);
    command.SetFooter(R"(
Values are stored in the standard unit of their dimension and shown in the unit given. Channels of
one unit make one record.
)",
                      R"(
printf 'time,top [g],base [g]\n0,0.1,0.2\n0.5,0.3,-0.1\n1,0.2,0.4\n' > shaker.csv
kvx import shaker.csv -o shaker.vdf2
kvx import shaker.csv -o force.vdf2 --rate 2.0004 --channels base --unit N --name force
)");
    command.OnRun([=](ByteStream& out) { RunImport(*options, out); });
}

}  // namespace kvx::tool
