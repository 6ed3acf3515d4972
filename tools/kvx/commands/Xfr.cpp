// SPDX-License-Identifier: MIT
//
// kvx xfr: averaged transfer functions and their coherence.
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct XfrOptions : LinesOptions {
    std::string reference = "1";
    std::string referenceFile;  ///< empty for that of the responses
    std::string at;
};

/// The frequencies that --at lists; throws ValueError.
std::vector<double> WantedFrequencies(const XfrOptions& options) {
    std::vector<double> frequencies;
    if (options.at.empty()) return frequencies;
    for (const std::string& piece : SplitList(options.at)) {
        frequencies.push_back(ParseArgument(piece));
        if (frequencies.back() < 0.0) throw ValueError("--at: there is no line below 0 Hz");
    }
    return frequencies;
}

Json JsonOf(const TransferLine& line) {
    return {{"hz", line.hz},
            {"real", line.real},
            {"imaginary", line.imaginary},
            {"magnitude", line.magnitude},
            {"phase", line.phaseDegrees},
            {"coherence", line.coherence}};
}

std::string JsonText(const RecordingTransfers& transfers, const XfrOptions& options) {
    const SignalRun::Channel& reference = transfers.reference.channels.front();
    Json json = JsonOf(options);
    json["rate"] = RateOf(transfers.reference);
    json["lineSpacing"] = transfers.spacingHz;
    json["blocks"] = transfers.blocks;
    json["reference"] = {
        {"channel", reference.number}, {"name", ToUtf8(reference.name)}, {"unit", JsonUnit(reference.unit)}};
    if (!options.referenceFile.empty()) json["reference"]["file"] = options.referenceFile;
    json["responses"] = Json::array();
    for (const std::vector<ChannelTransfer>& record : transfers.records) {
        for (const ChannelTransfer& channel : record) {
            Json response = {{"channel", channel.channel.number},
                             {"name", ToUtf8(channel.channel.name)},
                             {"unit", JsonUnit(channel.transfer.unit)},
                             {"largest", JsonOf(channel.largest)}};
            for (const TransferLine& line : channel.lines) response["at"].push_back(JsonOf(line));
            json["responses"].push_back(std::move(response));
        }
    }
    return json.dump(2) + "\n";
}

std::string ReportText(const RecordingTransfers& transfers, const XfrOptions& options) {
    ChannelTable largest({"largest", "", "line", "", "coherence"});
    ChannelTable lines({"line", "", "real", "imaginary", "magnitude", "", "phase", "", "coherence"});
    for (const std::vector<ChannelTransfer>& record : transfers.records) {
        for (const ChannelTransfer& channel : record) {
            const std::string unit = UnitText(channel.transfer.unit);
            largest.Add(channel.channel,
                        {FormatNumber(channel.largest.magnitude), unit, FormatNumber(channel.largest.hz, 7),
                         "Hz", FormatNumber(channel.largest.coherence)});
            for (const TransferLine& line : channel.lines) {
                lines.Add(channel.channel,
                          {FormatNumber(line.hz, 7), "Hz", FormatNumber(line.real),
                           FormatNumber(line.imaginary), FormatNumber(line.magnitude), unit,
                           FormatNumber(line.phaseDegrees, 4), "deg", FormatNumber(line.coherence)});
            }
        }
    }
    const std::string& file = options.referenceFile;
    return "reference " + Printable(ToUtf8(transfers.reference.channels.front().name)) +
           (file.empty() ? "" : " of " + InputName(file)) + ": " +
           BlocksText(options, PlanBlocks(options.blocks).At(RateOf(transfers.reference)), transfers.blocks,
                      RateOf(transfers.reference)) +
           "\n" + largest.Text() + (lines.IsEmpty() ? "" : lines.Text());
}

/// How the reference is opened where it is in another recording, or may be in another record than the chosen
/// one; else nothing.
OpenChannels OpenerOfReference(const XfrOptions& options, Progress& progress) {
    const bool isElsewhere = !options.referenceFile.empty();
    if (!isElsewhere && options.input.part.record == 0) return nullptr;
    return [&, isElsewhere](const std::string& channels) {
        InputOptions input = options.input;
        input.part.channels = channels;
        input.part.record = 0;
        if (!isElsewhere) return OpenWaveforms(input, progress);
        input.file = options.referenceFile;
        return Doing("read", input.file, [&] { return OpenWaveforms(input, progress); });
    };
}

void RunOne(const XfrOptions& options, ByteStream& out) {
    RequireLinesOutput(options);
    if (!options.referenceFile.empty()) RequireAnotherFile(options.referenceFile, options.output.name);
    const std::string& responses = options.input.part.channels;
    TransferChoice choice = {PlanBlocks(options.blocks), options.reference, responses, options.band,
                             WantedFrequencies(options), "--reference"};
    choice.isElsewhere = !options.referenceFile.empty();
    const RecordingTransfers transfers = AnalyseInput(options.input, [&](Progress& progress) {
        choice.isByPart = !responses.empty() && IsDataFile(options.input.file);
        choice.openReference = OpenerOfReference(options, progress);
        const auto open = [&](const std::string& channels) {
            InputOptions input = options.input;
            input.part.channels = channels;
            return OpenWaveforms(input, progress);
        };
        return TransfersOf(open, choice, progress.Function());
    });
    StoreLines(options, transfers.text, transfers);
    if (transfers.blocks == 1) Note("the coherence of a single block is always 1");
    WriteText(ReportStream(options.output.name, out),
              options.json ? JsonText(transfers, options) : ReportText(transfers, options));
}

void RunXfr(const XfrOptions& options, const BatchOptions& batch, ByteStream& out) {
    std::vector<std::string> inputs = batch.inputs;
    inputs.push_back(options.referenceFile);
    RequireOneStandardInput(inputs);
    RunLines(options, batch, RunOne, out);
}

}  // namespace

void AddXfr(Command app) {
    const auto options = std::make_shared<XfrOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("xfr", "Transfer functions and coherence of time waveforms");
    AddWaveformInputs(command, batch.get());
    AddLinesOutput(command, batch.get());
    command
        .AddOption("--reference", options->reference, "Channel that excites the others: its name or number")
        .Type("CHANNEL")
        .ShowDefault();
    AddList(command, "--channels,--response", options->input.part.channels,
            "The responses, by number, range, name or pattern: 2,4-6,acc* (default: all others)");
    command
        .AddOption("--reference-file", options->referenceFile,
                   "Recording of the reference, if it is another: sampled together with the responses")
        .Type("FILE");
    AddBlockOptions(command, &options->blocks);
    AddBandOptions(command, "the largest magnitude", &options->band);
    AddList(command, "--at", options->at, "Report the lines nearest to these frequencies: 21,160.75");
    AddRangeOptions(command, &options->input.part);
    AddRecordingOptions(command, &options->input.recording);
    AddJsonFlag(command, options.get());
    command.SetFooter(R"(
H1: the averaged cross power over the averaged power of the reference. The output holds one complex
record per unit of the responses, in that unit over the reference's, and last a record with the
coherences; each response is a row, the reference the column. Blocks are cut as 'kvx psd' cuts them;
blows that each fill a block, begin and end at rest, want --window rectangular --overlap 0.
With --reference-file what is stated, such as --rate, is stated of both recordings.
)",
                      R"(
awk 'BEGIN { srand(1); print "force [N],top [m/s2]"; for (i = 0; i < 8192; ++i) {
    f = rand() - 0.5; a = 1.9 * b - 0.95 * c + f; c = b; b = a; print f "," a } }' > beam.csv
kvx import beam.csv -o beam.vdf2 --rate 1024
kvx xfr beam.vdf2 -o beam-xfr.vdf2 --reference force --block 512 --at 20,40
)");
    command.OnRun([=](ByteStream& out) { RunXfr(*options, *batch, out); });
}

}  // namespace kvx::tool
