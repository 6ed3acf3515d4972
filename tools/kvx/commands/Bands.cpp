// SPDX-License-Identifier: MIT
//
// kvx bands: levels in octave bands and fractions of them.
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
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/LevelOptions.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct BandsOptions : LevelOptions {
    std::int64_t fraction = 3;

    std::int32_t Fraction() const { return static_cast<std::int32_t>(fraction); }
    std::optional<double> fromHz;
    std::optional<double> toHz;
};

double RmsOf(const SignalRun::Channel& channel, double meanSquare) {
    return channel.unit.ConvDtoI(std::sqrt(meanSquare), 1.0, 0);
}

std::string JsonText(const BandsOptions& options, const std::vector<RunBands>& runs) {
    Json json = {{"file", options.stream.input},
                 {"bandsPerOctave", options.fraction},
                 {"weighting", options.weighting},
                 {"frequencyUnit", "Hz"},
                 {"levelUnit", "dB"},
                 {"records", Json::array()}};
    const std::optional<StatedReference> stated = ReferenceOf(options);
    for (const RunBands& run : runs) {
        Json record = {{"record", run.record}, {"rate", run.rateHz}, {"samples", run.samples}};
        for (const OctaveBand& band : run.bands) {
            record["bands"].push_back({{"nominal", band.nominalHz},
                                       {"low", band.lowHz},
                                       {"mid", band.midHz},
                                       {"high", band.highHz}});
        }
        for (const ChannelBands& channel : run.channels) {
            const LevelReference reference = ReferenceFor(channel.channel, stated);
            Json shown = {{"channel", channel.channel.number},
                          {"name", ToUtf8(channel.channel.name)},
                          {"unit", JsonUnit(channel.channel.unit)},
                          {"reference", reference.text},
                          {"rms", RmsOf(channel.channel, channel.total)},
                          {"level", LevelOf(channel.total, reference)},
                          {"bandRms", Json::array()},
                          {"bandLevels", Json::array()}};
            for (const double square : channel.meanSquares) {
                shown["bandRms"].push_back(RmsOf(channel.channel, square));
                shown["bandLevels"].push_back(LevelOf(square, reference));
            }
            record["channels"].push_back(std::move(shown));
        }
        json["records"].push_back(std::move(record));
    }
    return json.dump(2) + "\n";
}

std::string ReportText(const BandsOptions& options, const std::vector<RunBands>& runs) {
    const std::optional<StatedReference> stated = ReferenceOf(options);
    std::string text;
    for (const RunBands& run : runs) {
        text += "record " + std::to_string(run.record) + ": " + FractionText(options.Fraction()) +
                " bands of " + Count(run.samples, "sample") + " at " + FormatNumber(run.rateHz, 10) +
                " Hz, " + options.weighting + "-weighted, " + (options.isLinear ? "rms" : "levels") + "\n";
        std::vector<std::vector<std::string>> lines = {{"band [Hz]"}, {"all"}};
        for (const OctaveBand& band : run.bands) lines.push_back({FormatNumber(band.nominalHz)});
        std::vector<Align> columns = {Align::right};
        for (const ChannelBands& channel : run.channels) {
            const LevelReference reference = ReferenceFor(channel.channel, stated);
            const auto figure = [&](double square) {
                return options.isLinear ? FormatNumber(RmsOf(channel.channel, square))
                                        : FormatLevel(LevelOf(square, reference));
            };
            lines[0].push_back(
                ToUtf8(channel.channel.name) + " [" +
                (options.isLinear ? UnitText(channel.channel.unit) : "dB re " + reference.text) + "]");
            lines[1].push_back(figure(channel.total));
            for (std::size_t b = 0; b < run.bands.size(); ++b)
                lines[b + 2].push_back(figure(channel.meanSquares[b]));
            columns.push_back(Align::right);
        }
        text += FormatTable(columns, lines);
    }
    return text;
}

void RunOne(const BandsOptions& options, ByteStream& out) {
    const StreamOptions& stream = options.stream;
    const std::string& output = stream.output.name;
    const BandsChoice choice = {options.Fraction(), options.fromHz, options.toHz,
                                WeightingOf(options.weighting)};
    const std::optional<StatedReference> stated = ReferenceOf(options);
    if (!options.time.empty() && output.empty())
        throw UsageError("the running levels of --time-weighting need a file, -o");
    if (options.stepSeconds && options.time.empty()) throw UsageError("--step is for --time-weighting");
    if (!output.empty()) {
        RequireAnotherFile(stream.input, output);
        RecordingFormatOf(stream.output);
    }
    std::wstring text;
    const std::vector<RunBands> runs =
        AnalyseInput({stream.input, stream.part, stream.recording}, [&](Progress& progress) {
            const std::unique_ptr<SignalReader> reader =
                OpenWaveforms({stream.input, stream.part, stream.recording}, progress);
            text = reader->Text();
            for (const SignalRun& run : reader->Runs())
                for (const SignalRun::Channel& channel : run.channels) ReferenceFor(channel, stated);
            return BandsOf(*reader, choice, progress.Function());
        });
    if (!options.time.empty()) {
        CourseChoice course;
        course.time = TimeWeightingOf(options.time);
        course.stepSeconds = options.stepSeconds.value_or(course.stepSeconds);
        course.bands = choice;
        course.areLevels = !options.isLinear;
        course.reference = stated;
        WriteCourses(options, course);
    } else if (!output.empty()) {
        Doing("write", output,
              [&] { StoreRecords(stream.output, text, DataRecords(runs, !options.isLinear, stated)); });
    }
    WriteText(ReportStream(output, out), options.json ? JsonText(options, runs) : ReportText(options, runs));
}

}  // namespace

void AddBands(Command app) {
    const auto options = std::make_shared<BandsOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    options->weighting = "Z";
    Command command =
        app.AddCommand("bands", "Levels of time waveforms in octave bands and fractions of them");
    AddWaveformInputs(command, batch.get());
    AddLinesOutput(command, batch.get());
    command.AddOption("--fraction", options->fraction, "Bands per octave: 1, 3, 6, 12, 24 or any up to 96")
        .Type("N")
        .Check(WholeNumber(1, kMostBandsPerOctave))
        .ShowDefault();
    AddPositive(command, "--from", "HZ", options->fromHz,
                "Lowest band, by a frequency in it (default: 1 Hz, or that of ten periods)");
    AddPositive(command, "--to", "HZ", options->toHz, "Highest band (default: all up to 0.47 of the rate)");
    command.AddOption("--weighting", options->weighting, "Frequency weighting: " + Names(kWeightings))
        .Type("NAME")
        .Suggest(NameList(kWeightings))
        .ShowDefault();
    command
        .AddOption("--time-weighting", options->time,
                   "Write running levels of the bands, weighted F (0.125 s), S (1 s) or I (impulse)")
        .Type("NAME")
        .Suggest(NameList(kTimeWeightings));
    command.AddFlag("--linear", options->isLinear, "Rms in the unit of the channel instead of dB");
    AddLevelOptions(command, options.get());
    command.SetFooter(R"(
Filters of class 1 of IEC 61260-1:2014, base 10; bands are called by their nominal frequencies. The
output holds the rms of the bands, at their exact mid-band frequencies, in dB over the reference or
in the unit; with --time-weighting the running rms of every band instead, once every step.
)",
                      R"(
awk 'BEGIN { srand(3); print "mic [Pa]"; for (i = 0; i < 16384; ++i) print 0.2 * sin(i / 2) + 0.1 * rand() }' > mic.csv
kvx bands mic.csv --rate 8192 --fraction 1 --from 63 --weighting A
kvx bands mic.csv --rate 8192 --from 100 -o thirds.csv
kvx bands mic.csv --rate 8192 --fraction 1 --from 125 --time-weighting F -o running.vdf2
)");
    command.OnRun([=](ByteStream& out) {
        const auto reports = options->json ? BatchReports::json : BatchReports::withHeading;
        RunStreams(*batch, reports, *options, RunOne, out);
    });
}

}  // namespace kvx::tool
