// SPDX-License-Identifier: MIT
//
// kvx stats: moments, extremes and distribution of the values of a recording, and its moving rms.
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>
#include <KvxRecording01/SignalStatistics.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/Stream.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct StatsOptions {
    StreamOptions stream;
    std::optional<std::int64_t> classes;
    std::string limits;
    std::optional<double> windowSeconds;
    std::optional<double> stepSeconds;
    bool json = false;
};

struct Statistics {
    std::vector<SignalRun> runs;
    std::vector<RunFigures> figures;
    std::vector<std::vector<Histogram>> histograms;  ///< none unless they are asked for
};

std::optional<HistogramChoice> HistogramChoiceOf(const StatsOptions& options) {
    if (!options.classes) {
        if (!options.limits.empty()) throw UsageError("--limits is for --histogram");
        return std::nullopt;
    }
    HistogramChoice choice;
    choice.classes = *options.classes;
    if (!options.limits.empty()) {
        const std::vector<std::string> limits = SplitList(options.limits);
        if (limits.size() != 2)
            throw ValueError("--limits: two values are wanted, the lowest edge and the highest");
        choice.low = ParseArgument(limits[0]);
        choice.high = ParseArgument(limits[1]);
        if (!(*choice.low < *choice.high)) throw ValueError("--limits: the lowest edge comes first");
    }
    return choice;
}

Statistics Measure(const StatsOptions& options) {
    const StreamOptions& stream = options.stream;
    const std::optional<HistogramChoice> choice = HistogramChoiceOf(options);
    return AnalyseInput({stream.input, stream.part, stream.recording}, [&](Progress& progress) {
        const auto open = [&] {
            return OpenSignal(stream.input, stream.part, stream.recording, false, progress,
                              {.missing = true});
        };
        const std::unique_ptr<SignalReader> reader = open();
        Statistics statistics = {reader->Runs(), MeasureSignal(*reader, progress.Function()), {}};
        if (choice)
            statistics.histograms = HistogramsOf(*open(), statistics.figures, *choice, progress.Function());
        return statistics;
    });
}

/// The unit of a density of values, one over theirs.
std::string DensityText(const std::string& unit) {
    return unit == "-" ? unit : "1/(" + unit + ")";
}

Json JsonOf(const Histogram& histogram, const std::string& unit) {
    Json json = {{"edges", Json::array()},          {"edgeUnit", unit},
                 {"counts", histogram.Counts()},    {"below", histogram.Below()},
                 {"above", histogram.Above()},      {"density", histogram.Density()},
                 {"densityUnit", DensityText(unit)}};
    for (std::int64_t i = 0; i <= std::ssize(histogram.Counts()); ++i)
        json["edges"].push_back(histogram.Edge(i));
    return json;
}

double TimeOf(const SignalRun& run, std::int64_t sample) {
    return static_cast<double>(run.offset + sample) * run.delta;
}

std::string JsonText(const StatsOptions& options, const Statistics& statistics) {
    Json json = {{"file", options.stream.input}, {"timeUnit", "s"}, {"records", Json::array()}};
    for (std::size_t r = 0; r < statistics.runs.size(); ++r) {
        const SignalRun& run = statistics.runs[r];
        Json record = {{"record", run.record},
                       {"samples", run.samples},
                       {"rate", RateOf(run)},
                       {"channels", Json::array()}};
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            const SignalRun::Channel& channel = run.channels[c];
            const SampleFigures& figures = statistics.figures[r].channels[c];
            Json shown = {{"channel", channel.number},
                          {"name", ToUtf8(channel.name)},
                          {"unit", JsonUnit(channel.unit)},
                          {"count", figures.count},
                          {"missing", figures.missing},
                          {"mean", figures.mean},
                          {"deviation", figures.deviation},
                          {"rms", figures.rms},
                          {"min", figures.min},
                          {"minTime", TimeOf(run, figures.places.min)},
                          {"max", figures.max},
                          {"maxTime", TimeOf(run, figures.places.max)},
                          {"peak", figures.peak},
                          {"peakTime", TimeOf(run, figures.places.peak)},
                          {"crest", figures.Crest()},
                          {"skewness", figures.skewness},
                          {"kurtosis", figures.kurtosis}};
            if (options.classes)
                shown["histogram"] = JsonOf(statistics.histograms[r][c], JsonUnit(channel.unit));
            record["channels"].push_back(std::move(shown));
        }
        json["records"].push_back(std::move(record));
    }
    return json.dump(2) + "\n";
}

/// A number, and "-" for none, as the crest factor of zeros.
std::string Figure(double value) {
    return std::isnan(value) ? "-" : FormatNumber(value);
}

std::string HistogramText(const SignalRun::Channel& channel, const Histogram& histogram) {
    const std::string unit = UnitText(channel.unit);
    std::vector<std::vector<std::string>> lines = {
        {"from [" + unit + "]", "to [" + unit + "]", "count", "density [" + DensityText(unit) + "]"}};
    const std::vector<double> density = histogram.Density();
    for (std::size_t i = 0; i < density.size(); ++i) {
        const auto edge = static_cast<std::int64_t>(i);
        lines.push_back({FormatNumber(histogram.Edge(edge)), FormatNumber(histogram.Edge(edge + 1)),
                         std::to_string(histogram.Counts()[i]), FormatNumber(density[i])});
    }
    std::string text =
        "histogram of channel " + std::to_string(channel.number) + ", " + Printable(ToUtf8(channel.name));
    if (histogram.Below() > 0 || histogram.Above() > 0) {
        text += ": " + Count(histogram.Below(), "value") + " below, " + std::to_string(histogram.Above()) +
                " above";
    }
    return text + "\n" + FormatTable({Align::right, Align::right, Align::right, Align::right}, lines);
}

std::string ReportText(const Statistics& statistics) {
    std::string text;
    for (std::size_t r = 0; r < statistics.runs.size(); ++r) {
        const SignalRun& run = statistics.runs[r];
        text += "record " + std::to_string(run.record) + ": " + Count(run.samples, "sample") + " at " +
                FormatNumber(RateOf(run), 10) + " Hz, from " + FormatNumber(TimeOf(run, 0)) + " s\n";
        ChannelTable levels({"", "mean", "deviation", "rms", "peak", "at [s]", "crest"});
        ChannelTable shape({"", "min", "at [s]", "max", "at [s]", "skewness", "kurtosis"});
        std::int64_t missing = 0;
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            const SampleFigures& figures = statistics.figures[r].channels[c];
            const std::string unit = UnitText(run.channels[c].unit);
            const auto at = [&](std::int64_t sample) { return FormatNumber(TimeOf(run, sample)); };
            missing += figures.missing;
            levels.Add(run.channels[c],
                       {unit, Figure(figures.mean), Figure(figures.deviation), Figure(figures.rms),
                        Figure(figures.peak), at(figures.places.peak), Figure(figures.Crest())});
            shape.Add(run.channels[c],
                      {unit, Figure(figures.min), at(figures.places.min), Figure(figures.max),
                       at(figures.places.max), Figure(figures.skewness), Figure(figures.kurtosis)});
        }
        if (missing > 0) text += "  " + Count(missing, "sample") + " without a value left out\n";
        text += levels.Text() + shape.Text();
        if (statistics.histograms.empty()) continue;
        for (std::size_t c = 0; c < run.channels.size(); ++c)
            text += HistogramText(run.channels[c], statistics.histograms[r][c]);
    }
    return text;
}

/// Writes the moving rms of the recording.
void WriteMovingRms(const StatsOptions& options) {
    const StreamOptions& stream = options.stream;
    const std::unique_ptr<SignalReader> reader =
        OpenInput("analyse", stream, WaveformsFor(stream.FormatOfOutput()));
    std::vector<MovingWindow> windows;
    std::vector<SignalRun> moving;
    Doing("analyse", stream.input, [&] {
        RequireLinearUnits(reader->Runs());
        for (const SignalRun& run : reader->Runs()) {
            windows.push_back(
                MovingWindowOf(*options.windowSeconds, options.stepSeconds.value_or(0.0), RateOf(run)));
            moving.push_back(MovingRmsRun(run, windows.back()));
        }
    });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(stream, *reader, moving);
    Stream({"analyse", stream.input, stream.output.name}, *reader, *writer,
           [&](std::size_t run, std::size_t c) {
               return MakeShifted(MakeMovingRms(windows[run]), ZeroOf(reader->Runs()[run].channels[c].unit),
                                  0.0);
           });
}

void RunStats(const StatsOptions& options, ByteStream& out) {
    const std::string& output = options.stream.output.name;
    if (output.empty() == options.windowSeconds.has_value())
        throw UsageError("--running-rms and -o belong together: the rms of each window goes to the output");
    if (options.stepSeconds && !options.windowSeconds) throw UsageError("--step is for --running-rms");
    const Statistics statistics = Measure(options);
    if (!output.empty()) WriteMovingRms(options);
    WriteText(ReportStream(output, out),
              options.json ? JsonText(options, statistics) : ReportText(statistics));
}

}  // namespace

void AddStats(Command app) {
    const auto options = std::make_shared<StatsOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command =
        app.AddCommand("stats", "Moments, extremes and distribution of the values of waveforms");
    AddWaveformInputs(command, batch.get());
    AddOutputOptions(command, "File for --running-rms, of several inputs a folder", RecordingFormats(),
                     &batch->output);
    AddBatchOptions(command, batch.get());
    command.AddOption("--histogram", options->classes, "Report how many values fall into each of N classes")
        .Type("N")
        .Check(WholeNumber(1, Histogram::kMostClasses));
    AddList(command, "--limits", options->limits,
            "Lowest and highest edge of the classes: -2,2 (default: the extremes of each channel)");
    AddPositive(command, "--running-rms", "SECONDS", options->windowSeconds,
                "Write the rms over a window of this length that moves along");
    AddPositive(command, "--step", "SECONDS", options->stepSeconds,
                "By how much the window moves (default: its length)");
    AddStreamOptions(command, "--rate", &options->stream);
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(R"(
The deviation is the standard deviation, the rms about the mean. Crest is peak over rms; kurtosis is
3 for Gaussian noise and 1.5 for a sine. A class holds its lower edge, the last one both; the density
is the count over that of all values and the width. An rms stands where its window ends.
)",
                      R"(
awk 'BEGIN { srand(2); for (i = 0; i < 8192; ++i) print sin(0.3 * i) + rand() - 0.5 }' > mixed.txt
kvx import mixed.txt -o mixed.vdf2 --rate 1024 --unit g --name mixed
kvx stats mixed.vdf2 --histogram 6 --limits -1.5,1.5
kvx stats mixed.vdf2 --running-rms 0.5 --step 0.125 -o rms.vdf2
)");
    command.OnRun([=](ByteStream& out) {
        const auto reports = options->json ? BatchReports::json : BatchReports::withHeading;
        RunStreams(*batch, reports, *options, RunStats, out);
    });
}

}  // namespace kvx::tool
