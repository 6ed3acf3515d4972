// SPDX-License-Identifier: MIT
//
// kvx levels: what a sound or vibration level meter tells of a recording.
#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/LevelOptions.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct LevelsOptions : LevelOptions {
    std::string peak = "C";
    std::string percentages = "10,50,90";
};

/// What of the levels is told, by its name: "LAeq", "LAFmax".
struct NamedLevel {
    std::string name;
    std::optional<double> meanSquare;
};

std::vector<NamedLevel> NamedLevels(const LevelsOptions& options, const std::string& weighting,
                                    const ChannelLevels& levels) {
    const LevelFigures& figures = levels.figures;
    const std::string whole = "L" + weighting;
    const std::string timed = whole + options.time;
    std::vector<NamedLevel> named = {{whole + "eq", figures.meanSquare},
                                     {timed + "max", figures.maxSquare},
                                     {timed + "min", figures.minSquare},
                                     {whole + "E", figures.exposure},
                                     {"L" + options.peak + "peak", figures.peakSquare}};
    const std::vector<std::string> percentages = SplitList(options.percentages);
    for (std::size_t i = 0; i < percentages.size(); ++i)
        named.push_back({timed + percentages[i], levels.exceeded[i]});
    return named;
}

std::string JsonText(const LevelsOptions& options, const std::string& weighting,
                     const std::vector<RunLevels>& runs) {
    Json json = {{"file", options.stream.input},  {"weighting", weighting}, {"timeWeighting", options.time},
                 {"peakWeighting", options.peak}, {"levelUnit", "dB"},      {"records", Json::array()}};
    const std::optional<StatedReference> stated = ReferenceOf(options);
    for (const RunLevels& run : runs) {
        Json record = {{"record", run.record}, {"rate", run.rateHz}, {"channels", Json::array()}};
        for (const ChannelLevels& channel : run.channels) {
            const LevelReference reference = ReferenceFor(channel.channel, stated);
            Json shown = {{"channel", channel.channel.number},
                          {"name", ToUtf8(channel.channel.name)},
                          {"unit", JsonUnit(channel.channel.unit)},
                          {"duration", channel.figures.seconds},
                          {"durationUnit", "s"},
                          {"reference", reference.text},
                          {"levels", Json::object()}};
            for (const NamedLevel& level : NamedLevels(options, weighting, channel)) {
                Json& value = shown["levels"][level.name];
                if (level.meanSquare) value = LevelOf(*level.meanSquare, reference);
            }
            record["channels"].push_back(std::move(shown));
        }
        json["records"].push_back(std::move(record));
    }
    return json.dump(2) + "\n";
}

std::string ReportText(const LevelsOptions& options, const std::string& weighting,
                       const std::vector<RunLevels>& runs) {
    const std::optional<StatedReference> stated = ReferenceOf(options);
    std::string text;
    for (const RunLevels& run : runs) {
        text += "record " + std::to_string(run.record) + ": " +
                FormatNumber(run.channels.front().figures.seconds, 10) + " s at " +
                FormatNumber(run.rateHz, 10) + " Hz, " + weighting + "-weighted, " +
                std::string(RowOf(TimeWeightingOf(options.time)).spoken) + ", in dB\n";
        std::vector<std::string> headings;
        for (const NamedLevel& level : NamedLevels(options, weighting, run.channels.front()))
            headings.push_back(level.name);
        headings.push_back("re");
        ChannelTable table(headings);
        for (const ChannelLevels& channel : run.channels) {
            const LevelReference reference = ReferenceFor(channel.channel, stated);
            std::vector<std::string> line;
            for (const NamedLevel& level : NamedLevels(options, weighting, channel))
                line.push_back(level.meanSquare ? FormatLevel(LevelOf(*level.meanSquare, reference)) : "-");
            line.push_back(reference.text);
            table.Add(channel.channel, line);
        }
        text += table.Text();
    }
    return text;
}

void RunOne(const LevelsOptions& options, ByteStream& out) {
    const StreamOptions& stream = options.stream;
    const std::string& output = stream.output.name;
    if (options.stepSeconds && output.empty()) throw UsageError("--step is for the running levels of -o");
    if (options.isLinear && output.empty()) throw UsageError("--linear is for the running levels of -o");
    std::vector<double> percentages;
    for (const std::string& text : SplitList(options.percentages)) {
        percentages.push_back(ParseArgument(text));
        if (!(percentages.back() >= 0.0 && percentages.back() <= 100.0))
            throw ValueError("--exceeded: " + Quote(text) + " is not a percentage from 0 to 100");
    }
    const std::optional<StatedReference> stated = ReferenceOf(options);
    LevelChoice choice = {FrequencyWeighting::kA, TimeWeightingOf(options.time),
                          Choose(kWeightings, "--peak-weighting", options.peak).weighting};
    if (!options.weighting.empty()) choice.frequency = WeightingOf(options.weighting);
    const std::vector<RunLevels> runs =
        AnalyseInput({stream.input, stream.part, stream.recording}, [&](Progress& progress) {
            const std::unique_ptr<SignalReader> reader =
                OpenWaveforms({stream.input, stream.part, stream.recording}, progress);
            bool isSound = true;
            for (const SignalRun& run : reader->Runs()) {
                for (const SignalRun::Channel& channel : run.channels) {
                    ReferenceFor(channel, stated);
                    isSound = isSound && channel.unit == CUnitCtrl::DIM_PRESSURE;
                }
            }
            if (options.weighting.empty() && !isSound) choice.frequency = FrequencyWeighting::kZ;
            return LevelsOf(*reader, choice, percentages, progress.Function());
        });
    if (!output.empty()) {
        CourseChoice course;
        course.time = choice.time;
        course.stepSeconds = options.stepSeconds.value_or(course.stepSeconds);
        course.weighting = choice.frequency;
        course.areLevels = !options.isLinear;
        course.reference = stated;
        WriteCourses(options, course);
    }
    const std::string weighting(NameOf(choice.frequency));
    WriteText(ReportStream(output, out),
              options.json ? JsonText(options, weighting, runs) : ReportText(options, weighting, runs));
}

}  // namespace

void AddLevels(Command app) {
    const auto options = std::make_shared<LevelsOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    options->time = "F";
    Command command =
        app.AddCommand("levels", "Sound and vibration levels of time waveforms: Leq, Lmax, LE, LN");
    AddWaveformInputs(command, batch.get());
    AddOutputOptions(command,
                     "File for the running levels, of several inputs a folder; else there is only a report",
                     RecordingFormats(), &batch->output);
    AddBatchOptions(command, batch.get());
    command
        .AddOption("--weighting", options->weighting,
                   "Frequency weighting: " + Names(kWeightings) + " (default: A of sound pressures, else Z)")
        .Type("NAME")
        .Suggest(NameList(kWeightings));
    command
        .AddOption("--time-weighting", options->time, "Time weighting: F (0.125 s), S (1 s) or I (impulse)")
        .Type("NAME")
        .Suggest(NameList(kTimeWeightings))
        .ShowDefault();
    command
        .AddOption("--peak-weighting", options->peak,
                   "Frequency weighting of the peak: " + Names(kWeightings))
        .Type("NAME")
        .Suggest(NameList(kWeightings))
        .ShowDefault();
    AddList(command, "--exceeded", options->percentages,
            "Report the levels exceeded in these percentages of the time")
        .ShowDefault();
    command.AddFlag("--linear", options->isLinear,
                    "Write running rms in the unit of the channel instead of dB");
    AddLevelOptions(command, options.get());
    command.SetFooter(R"(
By IEC 61672-1:2013: LAeq is averaged over the whole signal, LAFmax and LAFmin are the extremes of
the time-weighted level, LAE is the exposure level (over 1 s), LCpeak the peak, LAF10 what was
exceeded in 10 % of the time. Meters start from rest: minimum and percentages count from five time
constants on.
)",
                      R"(
awk 'BEGIN { srand(4); print "mic [Pa]"; for (i = 0; i < 32768; ++i) print 0.2 * sin(i / 2) + 0.1 * rand() }' > mic.csv
kvx levels mic.csv --rate 8192
kvx levels mic.csv --rate 8192 --weighting C --time-weighting S -o slow.vdf2 --step 0.5
)");
    command.OnRun([=](ByteStream& out) {
        const auto reports = options->json ? BatchReports::json : BatchReports::withHeading;
        RunStreams(*batch, reports, *options, RunOne, out);
    });
}

}  // namespace kvx::tool
