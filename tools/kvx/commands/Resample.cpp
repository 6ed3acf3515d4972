// SPDX-License-Identifier: MIT
//
// kvx resample: another sampling rate for signals of any length, by the suite's multi-rate filters or, for
// every other ratio and for shifts by parts of a sample, by a windowed sinc.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/PolyphaseResampling.h>
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
    std::string method = "auto";
    std::optional<std::string> shifts;  ///< seconds, one for all channels or one each
};

/// What becomes of a run: one of the two plans.
struct RunPlan {
    std::optional<ResamplingPlan> cascade = {};
    std::optional<PolyphasePlan> polyphase = {};
    std::vector<double> shifts = {};  ///< of the channels

    const SampleTimes& After() const { return cascade ? cascade->after : polyphase->after; }
    std::unique_ptr<SampleProcess> Make(std::size_t channel, Ends ends) const {
        return cascade ? MakeResampler(*cascade, ends) : MakePolyphase(*polyphase, ends, shifts[channel]);
    }
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

[[noreturn]] void RefuseRate(double rateHz, double fromHz) {
    std::string nearest;
    for (const RateChange& change : NearestRateChanges(fromHz, rateHz))
        nearest += (nearest.empty() ? "" : " and ") + ChangeText(change, fromHz);
    throw Error(ErrorKind::kUnsupported, "no ratio leads from its rate of " + FormatNumber(fromHz, 10) +
                                             " Hz to " + FormatNumber(rateHz, 10) +
                                             " Hz; the nearest that can be reached: " + nearest);
}

/// The change by a cascade that was stated or leads to the rate; none where a windowed sinc is wanted.
std::optional<RateChange> ChooseChange(const ResampleOptions& options, const SignalRun& run) {
    if (options.down) return ChangeBy("--down", CMatFir::RATE_DECIMATE, *options.down);
    if (options.up) return ChangeBy("--up", CMatFir::RATE_INTERPOLATE, *options.up);
    if (options.method == "polyphase" || options.shifts || !options.rateHz) return std::nullopt;
    const std::optional<RateChange> change = FindRateChange(1.0 / run.delta, *options.rateHz);
    if (!change && options.method == "cascade") RefuseRate(*options.rateHz, 1.0 / run.delta);
    return change;
}

std::vector<double> ShiftsOf(const ResampleOptions& options, const SignalRun& run) {
    std::vector<double> shifts;
    for (const std::string& text : SpreadList("--shift", options.shifts.value_or("0"), run.channels.size()))
        shifts.push_back(ParseArgument(text));
    return shifts;
}

RunPlan PlanRun(const ResampleOptions& options, const SignalRun& run) {
    const SampleTimes times = {run.delta, run.offset, run.samples};
    if (const auto change = ChooseChange(options, run))
        return {PlanResampling(times, *change, options.keepDelay)};
    if (options.keepDelay) throw UsageError("--keep-delay is for the ratios of --down and --up");
    const PolyphasePlan plan =
        options.rateHz ? PlanPolyphase(times, *options.rateHz) : PlanPolyphase(times, RateRatio{1, 1});
    return {{}, plan, ShiftsOf(options, run)};
}

std::string RunText(const SignalRun& run, const RunPlan& plan) {
    const SampleTimes& after = plan.After();
    std::string text =
        "record " + std::to_string(run.record) + ": " + Count(std::ssize(run.channels), "channel") + " of " +
        Count(run.samples, "sample") + " at " + FormatNumber(1.0 / run.delta, 10) + " Hz become " +
        std::to_string(after.samples) + " at " + FormatNumber(1.0 / after.delta, 10) + " Hz, band up to " +
        FormatNumber(plan.cascade ? plan.cascade->bandHz : plan.polyphase->bandHz) + " Hz";
    if (plan.cascade) {
        return text + ", delay of " + FormatNumber(plan.cascade->delaySeconds) + " s " +
               (plan.cascade->keepsDelay ? "kept" : "taken out") + "\n";
    }
    text += ", " + FormatNumber(kPolyphaseAttenuationDb) + " dB from half the lower rate on";
    std::string shifts;
    for (const double shift : plan.shifts)
        shifts += (shifts.empty() ? "" : ", ") + FormatNumber(shift, 10) + " s";
    const bool isShifted = std::ranges::any_of(plan.shifts, [](double shift) { return shift != 0.0; });
    return text + (isShifted ? ", shifted by " + shifts : "") + "\n";
}

void RunResample(const ResampleOptions& options, ByteStream& out) {
    const int rates =
        int{options.down.has_value()} + int{options.up.has_value()} + int{options.rateHz.has_value()};
    if (rates > 1 || (rates == 0 && !options.shifts)) {
        throw UsageError("one of --down, --up and --rate is required");
    }
    if ((options.down || options.up) && (options.shifts || options.method == "polyphase"))
        throw UsageError("--shift and --method polyphase go with --rate, not with --down and --up");
    if (options.shifts && options.method == "cascade") throw UsageError("--shift is for --method polyphase");
    const Ends ends = Choose(kEndNames, "--ends", options.ends).ends;
    const std::string& input = options.stream.input;
    const std::unique_ptr<SignalReader> reader =
        OpenInput("resample", options.stream, WaveformsFor(options.stream.FormatOfOutput()));
    std::vector<RunPlan> plans;
    std::vector<SignalRun> runs = reader->Runs();
    std::string report;
    std::size_t growth = 1;
    Doing("resample", input, [&] {
        RequireLinearUnits(runs);
        for (SignalRun& run : runs) {
            plans.push_back(PlanRun(options, run));
            report += RunText(run, plans.back());
            const SampleTimes& after = plans.back().After();
            const auto startOf = [](double delta, __int64 offset) {
                return static_cast<double>(offset) * delta;
            };
            const double later = startOf(after.delta, after.offset) - startOf(run.delta, run.offset);
            if (run.start && later != 0.0) run.start = run.start->Later(later);
            growth = std::max(growth, static_cast<std::size_t>(std::ceil(run.delta / after.delta)));
            run.delta = after.delta;
            run.offset = after.offset;
            run.samples = after.samples;
        }
    });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(options.stream, *reader, runs);
    const auto process = [&](std::size_t run, std::size_t c) {
        const double zero = ZeroOf(runs[run].channels[c].unit);
        return MakeShifted(plans[run].Make(c, ends), zero, zero);
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
    AddPositive(command, "--rate", "HZ", options->rateHz, "The new rate, any");
    command
        .AddOption("--method", options->method,
                   "How --rate is reached: cascade, polyphase, or auto: by a cascade where one of the ratios "
                   "leads to it")
        .Type("NAME")
        .ShowDefault()
        .OneOf({"auto", "cascade", "polyphase"});
    command
        .AddOption("--shift", options->shifts,
                   "Move the channels to so many seconds later, parts of a sample too: one value for all or "
                   "one each")
        .Type("LIST");
    command.AddFlag("--keep-delay", options->keepDelay,
                    "Leave the delay of the filters in the signal, as a filter at work has it");
    command.AddOption("--ends", options->ends, "What the signal is outside its ends: " + Names(kEndNames))
        .Type("NAME")
        .ShowDefault()
        .Suggest(NameList(kEndNames));
    AddStreamOptions(command, "--input-rate", &options->stream);
    command.SetFooter(R"(
Ratios: 1, 2, 4, 5, 8, 10, 16, 20, 25, 32, 40, 50, 80, 100, 160, 200, 250, 320, 400, 500, by cascades
of a controller's filters. The band up to the lower rate over 2.56 passes. All other rates, --shift
and --method polyphase go through a windowed sinc: it passes 0.9 of half the lower rate, and what lies
above that half is 120 dB down. Samples stand at whole multiples of their distance from 0 s,
so that every event stays at its time. Files are read and written block by block, however long they
are. Channels in dB are refused.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 8000; ++i) print sin(0.02 * i) }' > sine.txt
kvx import sine.txt -o sine.vdf2 --rate 8000 --unit g --name sine
kvx resample sine.vdf2 -o slow.vdf2 --down 8
kvx resample slow.vdf2 -o fast.vdf2 --rate 8000
kvx resample sine.vdf2 -o other.vdf2 --rate 5120
kvx resample sine.vdf2 -o aligned.vdf2 --shift 0.0000417
kvx resample sine.txt -o sine.wav --input-rate 8000 --up 2
)");
    command.OnRun(
        [=](ByteStream& out) { RunStreams(*batch, BatchReports::withHeading, *options, RunResample, out); });
}

}  // namespace kvx::tool
