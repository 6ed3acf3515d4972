// SPDX-License-Identifier: MIT
//
// kvx shock: peak, duration and change of velocity of recorded pulses.
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/RecordingShock.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct ShockOptions {
    InputOptions input;
    double thresholdPercent = 10.0;
    double before = 0.4;
    double after = 0.1;
    double baselineSeconds = 0.0;
    bool json = false;
};

double ShownPeak(const ChannelPulse& pulse) {
    return pulse.channel.unit.ConvDtoI(pulse.figures.peak, 1.0, 0);
}

nlohmann::ordered_json JsonOf(const ShockOptions& options, const std::vector<ChannelPulse>& pulses) {
    nlohmann::ordered_json json = {{"file", options.input.file},
                                   {"threshold", options.thresholdPercent / 100.0},
                                   {"before", options.before},
                                   {"after", options.after},
                                   {"baseline", options.baselineSeconds},
                                   {"channels", nlohmann::ordered_json::array()}};
    for (const ChannelPulse& pulse : pulses) {
        const PulseFigures& figures = pulse.figures;
        nlohmann::ordered_json shown = {{"channel", pulse.channel.number},
                                        {"name", ToUtf8(pulse.channel.name)},
                                        {"peak", ShownPeak(pulse)},
                                        {"unit", JsonUnit(pulse.channel.unit)},
                                        {"peakTime", figures.peakSeconds},
                                        {"start", figures.startSeconds},
                                        {"duration", figures.durationSeconds},
                                        {"isWhole", figures.isWhole}};
        if (pulse.channel.unit.IsAcc()) {
            shown["velocityChange"] = figures.velocityChange;
            shown["velocityUnit"] = "m/s";
            shown["velocityFrom"] = figures.fromSeconds;
            shown["velocityTo"] = figures.toSeconds;
        }
        json["channels"].push_back(std::move(shown));
    }
    return json;
}

std::string ReportText(const ShockOptions& options, const std::vector<ChannelPulse>& pulses) {
    std::string text = "durations above " + FormatNumber(options.thresholdPercent) +
                       " % of the peak, velocities from " + FormatNumber(options.before) +
                       " durations before to " + FormatNumber(options.after) + " after\n";
    ChannelTable table({"peak", "", "at", "", "duration", "", "change of velocity", ""});
    for (const ChannelPulse& pulse : pulses) {
        constexpr double kMilliseconds = 1000.0;
        const PulseFigures& figures = pulse.figures;
        const bool isAcceleration = pulse.channel.unit.IsAcc() != 0;
        table.Add(
            pulse.channel,
            {FormatNumber(ShownPeak(pulse)), UnitText(pulse.channel.unit), FormatNumber(figures.peakSeconds),
             "s", FormatNumber(kMilliseconds * figures.durationSeconds), "ms",
             isAcceleration ? FormatNumber(figures.velocityChange) : "-", isAcceleration ? "m/s" : ""});
    }
    return text + table.Text();
}

void RunOne(const ShockOptions& options, ByteStream& out) {
    const PulseChoice choice = {{options.thresholdPercent / 100.0, options.before, options.after},
                                options.baselineSeconds};
    const auto pulses = AnalyseInput(options.input, [&](Progress& progress) {
        return PulsesOf(*OpenWaveforms(options.input, progress), choice, progress.Function());
    });
    for (const ChannelPulse& pulse : pulses) {
        if (pulse.figures.isWhole) continue;
        Note("the pulse of channel " + Quote(pulse.channel.name) +
             " is cut: the signal begins or ends above the threshold");
    }
    WriteText(out, options.json ? JsonOf(options, pulses).dump(2) + "\n" : ReportText(options, pulses));
}

void RunShock(const ShockOptions& options, const BatchOptions& batch, ByteStream& out) {
    const auto one = [&](const std::string& input, const OutputChoice&, ByteStream& report) {
        ShockOptions own = options;
        own.input.file = input;
        RunOne(own, report);
    };
    RunBatch(batch, {}, options.json ? BatchReports::json : BatchReports::withHeading, one, out);
}

}  // namespace

void AddShock(Command app) {
    const auto options = std::make_shared<ShockOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("shock", "Peak, duration and change of velocity of a recorded pulse");
    AddWaveformInputs(command, batch.get());
    AddJobsOption(command, batch.get());
    AddPositive(command, "--threshold", "PERCENT", options->thresholdPercent,
                "The pulse lasts as long as it is above this part of its peak")
        .ShowDefault();
    command
        .AddOption("--before", options->before, "The velocity is integrated from so many durations before it")
        .Type("N")
        .Check(NonNegativeNumber())
        .ShowDefault();
    command.AddOption("--after", options->after, "to so many after it")
        .Type("N")
        .Check(NonNegativeNumber())
        .ShowDefault();
    command
        .AddOption("--baseline", options->baselineSeconds,
                   "Take the mean of so many seconds at the start off the signal")
        .Type("S")
        .Check(NonNegativeNumber());
    AddPartOptions(command, &options->input.part);
    AddRecordingOptions(command, &options->input.recording);
    command.AddFlag("--json", options->json, "As JSON, with all digits");
    command.SetFooter(R"(
The pulse of a channel is the one around its sample of the largest magnitude; --start and --end choose
another. It lasts without a break above the threshold, so that ringing on it is filtered out first.
Its ends are interpolated between samples. The limits of the velocity are by default those of IEC
60068-2-27, of the measured duration; where the signal is shorter they are its ends. An offset adds to
the velocity: --baseline takes it off.
)",
                      R"(
kvx pulse -o shock.vdf2 --shape half-sine --peak '50 g' --duration '11 ms' --rate 20000 --lead 0.05
kvx shock shock.vdf2 --baseline 0.04
)");
    command.OnRun([=](ByteStream& out) { RunShock(*options, *batch, out); });
}

}  // namespace kvx::tool
