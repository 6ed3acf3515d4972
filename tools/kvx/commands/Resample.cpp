// SPDX-License-Identifier: MIT
//
// kvx resample: another sampling rate for signals of any length, by the suite's multi-rate filters.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/Stream.h"

namespace kvx::tool {
namespace {

struct ResampleOptions {
    StreamOptions stream;
    std::optional<std::int64_t> down;
    std::optional<std::int64_t> up;
    std::optional<double> rateHz;
    bool keepDelay = false;
    std::string ends = "hold";
};

/// "3000 Hz (--down 16)"
std::string ChangeText(const RateChange& change, double rateHz) {
    const std::string text = FormatNumber(change.RateAfter(rateHz), 10) + " Hz";
    if (change.mode == CMatFir::RATE_NONE) return text;
    return text + (change.mode == CMatFir::RATE_INTERPOLATE ? " (--up " : " (--down ") +
           std::to_string(change.Ratio()) + ")";
}

RateChange ChangeBy(const std::string& option, CMatFir::RATE_CONV mode, std::int64_t ratio) {
    if (const std::optional<RateChange> change = FindRateChange(mode, ratio)) return *change;
    std::string ratios;
    for (const RateChange& change : RateChanges()) {
        if (change.mode == CMatFir::RATE_DECIMATE) ratios += ", " + std::to_string(change.Ratio());
    }
    throw ValueError(option + ": " + std::to_string(ratio) + " is not one of the ratios 1" + ratios);
}

RateChange ChangeTo(double rateHz, double fromHz) {
    if (const std::optional<RateChange> change = FindRateChange(fromHz, rateHz)) return *change;
    std::string nearest;
    for (const RateChange& change : NearestRateChanges(fromHz, rateHz))
        nearest += (nearest.empty() ? "" : " and ") + ChangeText(change, fromHz);
    throw Error(ErrorKind::kUnsupported, "no ratio leads from its rate of " + FormatNumber(fromHz, 10) +
                                             " Hz to " + FormatNumber(rateHz, 10) +
                                             " Hz; the nearest that can be reached: " + nearest);
}

RateChange ChooseChange(const ResampleOptions& options, const SignalRun& run) {
    if (options.down) return ChangeBy("--down", CMatFir::RATE_DECIMATE, *options.down);
    if (options.up) return ChangeBy("--up", CMatFir::RATE_INTERPOLATE, *options.up);
    return ChangeTo(*options.rateHz, 1.0 / run.delta);
}

std::string RunText(const SignalRun& run, const ResamplingPlan& plan) {
    return "record " + std::to_string(run.record) + ": " + Count(std::ssize(run.channels), "channel") +
           " of " + Count(run.samples, "sample") + " at " + FormatNumber(1.0 / run.delta, 10) +
           " Hz become " + std::to_string(plan.after.samples) + " at " +
           FormatNumber(1.0 / plan.after.delta, 10) + " Hz, band up to " + FormatNumber(plan.bandHz) +
           " Hz, delay of " + FormatNumber(plan.delaySeconds) + " s " +
           (plan.keepsDelay ? "kept" : "taken out") + "\n";
}

void RunResample(const ResampleOptions& options, ByteStream& out) {
    if (int{options.down.has_value()} + int{options.up.has_value()} + int{options.rateHz.has_value()} != 1) {
        throw UsageError("one of --down, --up and --rate is required");
    }
    const Ends ends = Choose(kEndNames, "--ends", options.ends).ends;
    const std::string& input = options.stream.input;
    const std::unique_ptr<SignalReader> reader =
        OpenInput("resample", options.stream, WaveformsFor(options.stream.FormatOfOutput()));
    std::vector<ResamplingPlan> plans;
    std::vector<SignalRun> runs = reader->Runs();
    std::string report;
    std::size_t growth = 1;
    Doing("resample", input, [&] {
        RequireLinearUnits(runs);
        for (SignalRun& run : runs) {
            const RateChange change = ChooseChange(options, run);
            plans.push_back(PlanResampling({run.delta, run.offset, run.samples}, change, options.keepDelay));
            const ResamplingPlan& plan = plans.back();
            report += RunText(run, plan);
            const auto startOf = [](double delta, __int64 offset) {
                return static_cast<double>(offset) * delta;
            };
            const double later =
                startOf(plan.after.delta, plan.after.offset) - startOf(run.delta, run.offset);
            if (run.start && later != 0.0) run.start = run.start->Later(later);
            run.delta = plan.after.delta;
            run.offset = plan.after.offset;
            run.samples = plan.after.samples;
            if (change.mode == CMatFir::RATE_INTERPOLATE)
                growth = std::max(growth, static_cast<std::size_t>(change.Ratio()));
        }
    });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(options.stream, *reader, runs);
    const auto process = [&](std::size_t run, std::size_t c) {
        const double zero = ZeroOf(runs[run].channels[c].unit);
        return MakeShifted(MakeResampler(plans[run], ends), zero, zero);
    };
    Stream({"resample", input, options.stream.output.name}, *reader, *writer, process, kStreamBlock / growth);
    WriteText(ReportStream(options.stream.output.name, out), report);
}

}  // namespace

void AddResample(Command app) {
    const auto options = std::make_shared<ResampleOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("resample", "Change the sampling rate of time waveforms of any length");
    AddStreamFiles(command, batch.get());
    command.AddOption("--down", options->down, "Divide the rate by 2, 4, 5, 8, 10 ... up to 500")
        .Type("RATIO");
    command.AddOption("--up", options->up, "Multiply the rate by such a ratio").Type("RATIO");
    AddPositive(command, "--rate", "HZ", options->rateHz,
                "The new rate, where one of the ratios leads to it");
    command.AddFlag("--keep-delay", options->keepDelay,
                    "Leave the delay of the filters in the signal, as a filter at work has it");
    command.AddOption("--ends", options->ends, "What the signal is outside its ends: " + Names(kEndNames))
        .Type("NAME")
        .ShowDefault()
        .Suggest(NameList(kEndNames));
    AddStreamOptions(command, "--input-rate", &options->stream);
    command.SetFooter(R"(
Ratios: 1, 2, 4, 5, 8, 10, 16, 20, 25, 32, 40, 50, 80, 100, 160, 200, 250, 320, 400, 500. The band
up to the lower rate over 2.56 passes. Samples stand at whole multiples of their distance from 0 s,
so that every event stays at its time. Files are read and written block by block, however long they
are. Channels in dB are refused.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 8000; ++i) print sin(0.02 * i) }' > sine.txt
kvx import sine.txt -o sine.vdf2 --rate 8000 --unit g --name sine
kvx resample sine.vdf2 -o slow.vdf2 --down 8
kvx resample slow.vdf2 -o fast.vdf2 --rate 8000
kvx resample sine.txt -o sine.wav --input-rate 8000 --up 2
)");
    command.OnRun(
        [=](ByteStream& out) { RunStreams(*batch, BatchReports::withHeading, *options, RunResample, out); });
}

}  // namespace kvx::tool
