// SPDX-License-Identifier: MIT
//
// kvx compare: measured densities beside the profile that they should have.
#include <fmt/format.h>
#include <atomic>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/ProfileCheck.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct CompareOptions {
    std::string profile;
    InputOptions input;
    BlockOptions blocks;
    FrequencyBand part;
    std::string bands;
    bool judgesBands = false;
    double allowedPercent = 0.0;
    bool json = false;
};

/// Of all inputs together.
struct Tally {
    std::atomic<int> channels = 0;
    std::atomic<int> outside = 0;
};

const char* NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::kWithin:
            return "within";
        case Verdict::kOutOfTolerance:
            return "out of tolerance";
        case Verdict::kBeyondAbort:
            return "beyond abort";
    }
    return "";
}

/// A difference in dB; without power there is none to tell.
std::string Decibels(double value) {
    return std::isfinite(value) ? fmt::format("{:+.2f}", value) : "none";
}

Json DecibelsIn(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json JsonOf(const ComparedLine& line) {
    return {{"hz", line.hz},
            {"target", line.target},
            {"measured", line.measured},
            {"difference", DecibelsIn(line.differenceDb)},
            {"verdict", NameOf(line.verdict)}};
}

Json JsonOf(const ChannelComparison& channel) {
    const ProfileComparison& result = channel.result;
    Json json = {{"channel", channel.channel.number},
                 {"name", ToUtf8(channel.channel.name)},
                 {"levelUnit", JsonUnit(channel.density)},
                 {"lineSpacing", channel.spacingHz},
                 {"blocks", channel.blocks},
                 {"rmsUnit", JsonUnit(channel.signal)},
                 {"targetRms", result.targetRms},
                 {"measuredRms", result.measuredRms},
                 {"difference", DecibelsIn(result.differenceDb)},
                 {"differenceUnit", "dB"},
                 {"lines", result.lines},
                 {"outOfTolerance", result.outOfTolerance},
                 {"beyondAbort", result.beyondAbort},
                 {"highest", JsonOf(result.highest)},
                 {"lowest", JsonOf(result.lowest)},
                 {"verdict", NameOf(result.verdict)},
                 {"bands", Json::array()}};
    for (const ComparedBand& band : result.bands) {
        json["bands"].push_back({{"fromHz", band.fromHz},
                                 {"toHz", band.toHz},
                                 {"target", band.target},
                                 {"measured", band.measured},
                                 {"difference", DecibelsIn(band.differenceDb)},
                                 {"verdict", NameOf(band.verdict)}});
    }
    return json;
}

std::string ReportText(const CompareOptions& options, const std::vector<ChannelComparison>& channels) {
    ChannelTable bands({"from", "to", "", "profile", "measured", "", "difference", "", "verdict", ""});
    ChannelTable lines({"profile rms", "rms", "", "difference", "", "highest", "", "at", "", "lowest", "",
                        "at", "", options.judgesBands ? "bands out" : "lines out", "verdict", ""});
    for (const ChannelComparison& each : channels) {
        const ProfileComparison& result = each.result;
        for (const ComparedBand& band : result.bands) {
            bands.Add(each.channel,
                      {FormatNumber(band.fromHz), FormatNumber(band.toHz), "Hz", FormatNumber(band.target, 4),
                       FormatNumber(band.measured, 4), UnitText(each.density), Decibels(band.differenceDb),
                       "dB", NameOf(band.verdict), ""});
        }
        const auto judged =
            options.judgesBands ? std::ssize(result.bands) : static_cast<std::ptrdiff_t>(result.lines);
        lines.Add(
            each.channel,
            {FormatNumber(result.targetRms, 4), FormatNumber(result.measuredRms, 4),
             each.signal == CUnitCtrl::DIM_NONE ? "" : UnitText(each.signal), Decibels(result.differenceDb),
             "dB", Decibels(result.highest.differenceDb), "dB", FormatNumber(result.highest.hz), "Hz",
             Decibels(result.lowest.differenceDb), "dB", FormatNumber(result.lowest.hz), "Hz",
             fmt::format("{} of {}", result.outOfTolerance, judged), NameOf(result.verdict), ""});
    }
    const ChannelComparison& first = channels.front();
    const std::string measured = first.blocks > 0
                                     ? fmt::format("{} of {}, {} window", Count(first.blocks, "block"),
                                                   options.blocks.SizeText(), options.blocks.window)
                                     : "stored densities";
    return fmt::format("{}, lines {} Hz apart, profile {}\n", measured, FormatNumber(first.spacingHz, 10),
                       Printable(InputName(options.profile))) +
           bands.Text() + lines.Text();
}

void RunOne(const CompareOptions& options, const ProfileText& profile, Tally* tally, ByteStream& out) {
    ComparisonChoice choice = {
        options.part.fromHz, options.part.toHz, {}, options.judgesBands, options.allowedPercent};
    if (!options.bands.empty()) {
        for (const std::string& piece : SplitList(options.bands))
            choice.edgesHz.push_back(ParseArgument(piece));
    }
    const BlockPlan blocks = PlanBlocks(options.blocks);
    const std::vector<ChannelComparison> channels = AnalyseInput(options.input, [&](Progress& progress) {
        const InputOptions& input = options.input;
        const std::unique_ptr<SignalReader> reader =
            OpenSignal(input.file, input.part, input.recording, false, progress, {.anyRun = true});
        return CompareRecording(*reader, profile, blocks, choice, progress.Function());
    });
    for (const ChannelComparison& each : channels) {
        ++tally->channels;
        if (each.result.verdict != Verdict::kWithin) ++tally->outside;
    }
    if (!options.json) {
        WriteText(out, ReportText(options, channels));
        return;
    }
    Json json = {{"file", options.input.file}, {"profile", options.profile}, {"channels", Json::array()}};
    for (const ChannelComparison& each : channels) json["channels"].push_back(JsonOf(each));
    WriteText(out, json.dump(2) + "\n");
}

void RunCompare(const CompareOptions& options, const BatchOptions& batch, ByteStream& out) {
    std::vector<std::string> inputs = batch.inputs;
    inputs.push_back(options.profile);
    RequireOneStandardInput(inputs);
    const ProfileText profile =
        Doing("read", options.profile, [&] { return ReadProfileText(InputPath(options.profile)); });
    if (profile.tolerance.empty() && profile.abort.empty())
        Note(
            "the profile has no limits, to which everything is within; a line 'tolerance +3 -3 dB' states "
            "some");
    Tally tally;
    const auto one = [&](const std::string& input, const OutputChoice&, ByteStream& report) {
        CompareOptions own = options;
        own.input.file = input;
        RunOne(own, profile, &tally, report);
    };
    RunBatch(batch, RecordingFormats(), options.json ? BatchReports::json : BatchReports::withHeading, one,
             out);
    if (tally.outside > 0) {
        throw OutOfLimits(fmt::format("outside the limits: {} of {}", tally.outside.load(),
                                      Count(tally.channels, "channel")));
    }
}

}  // namespace

void AddCompare(Command app) {
    const auto options = std::make_shared<CompareOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("compare", "Compare measured densities with their profile and limits");
    command
        .AddOption("PROFILE", options->profile,
                   "Text file: breakpoints or slopes, 'unit g2/Hz', 'tolerance +3 -3 dB', 'abort +6 -6 dB'")
        .Required();
    AddInputs(command, "FILE", "Recordings of any format with time waveforms or densities", batch.get());
    AddBlockOptions(command, &options->blocks);
    AddPositive(command, "--from", "HZ", options->part.fromHz, "Compare from this frequency on");
    AddPositive(command, "--to", "HZ", options->part.toHz, "Compare up to this frequency");
    AddList(command, "--bands", options->bands,
            "Edges of bands whose means are compared: 20,80,350,2000 (default: the breakpoints)");
    command.AddFlag("--judge-bands", options->judgesBands,
                    "Let the means of the bands decide, not the lines");
    command
        .AddOption("--allow", options->allowedPercent,
                   "Part of the lines, or bands, that may be out of tolerance")
        .Type("PERCENT")
        .Check(NonNegativeNumber())
        .ShowDefault();
    AddPartOptions(command, &options->input.part);
    AddRecordingOptions(command, &options->input.recording);
    AddJobsOption(command, batch.get());
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(R"(
Differences are 10 lg(measured/profile) in dB. A line is compared where its whole cell, half a spacing
to each side, lies within the profile; bands count lines at their edges by the part that is inside. A
single line of B independent averages scatters by 4.34/sqrt(B) dB: take enough blocks, allow some
lines, or judge bands. Time waveforms are averaged as 'kvx psd' does; densities that a recording
holds are taken as they are. When a channel is outside its limits the exit status is 3.
)",
                      R"(
printf 'unit g2/Hz\n20\n+3 dB/oct\n80 0.04\n350 0.04\n-3 dB/oct\n2000\ntolerance +3 -3 dB\n' > test.txt
kvx synth test.txt -o random.vdf2 --rate 8192 --duration 60
kvx compare test.txt random.vdf2 --block 2048
)");
    command.OnRun([=](ByteStream& out) { RunCompare(*options, *batch, out); });
}

}  // namespace kvx::tool
