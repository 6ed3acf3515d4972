// SPDX-License-Identifier: MIT
//
// kvx filter: low-pass and high-pass filtering of time waveforms through spectra, and recursive and FIR
// filters, sample by sample or forward and backward, for signals of any length.
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/SpectralFilter.h>
#include <KvxDevCommon01/dsp/ZeroPhase.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/FilterChoice.h"
#include "commands/Stream.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct FilterOptions {
    StreamOptions stream;
    FilterChoice filters;
    std::optional<std::string> kind;
    std::optional<double> q;
    std::optional<__int64> block;
    std::optional<std::string> ends;
    bool isZeroPhase = false;

    bool IsBySpectra() const { return kind || q || block; }
};

/// What the command does to a run, and what it says of it.
struct RunFilters {
    std::string text;
    std::function<std::unique_ptr<SampleProcess>()> make;
    std::vector<RmsChange> levels;  ///< per channel
    bool keepsLevels = true;        ///< whether a constant passes as it is
};
using PlanRun = std::function<RunFilters(const SignalRun& run)>;

// ---- through spectra ----

struct TermName {
    std::string_view name;
    CMatBasic::DATA_TERM term;
};
// clang-format off
constexpr std::array kTerms = {
    TermName{kEndNames[0].name, CMatBasic::TERM_HOLD},
    TermName{kEndNames[1].name, CMatBasic::TERM_ZERO},
    TermName{"periodic",        CMatBasic::TERM_PERIODIC},
};
// clang-format on

SpectralFilter ReadSpectralFilter(const FilterOptions& options) {
    const FilterChoice& corners = options.filters;
    SpectralFilter filter;
    filter.kind = Choose(kFilterKinds, "--kind", options.kind.value_or("butterworth")).kind;
    if (!corners.lowPassHz && !corners.highPassHz) {
        throw UsageError(
            "one of --lowpass, --highpass, --bandpass, --bandstop, --notch, --peak, --butterworth, --fir and "
            "--fir-set is required");
    }
    if (corners.lowPassHz && corners.highPassHz && *corners.lowPassHz < *corners.highPassHz) {
        throw ValueError("--lowpass " + FormatNumber(*corners.lowPassHz) + " lies below --highpass " +
                         FormatNumber(*corners.highPassHz) + ", which leaves no band");
    }
    if (corners.keepDelay) throw UsageError("--keep-delay is for --fir and --fir-set");
    if (options.isZeroPhase) {
        throw UsageError(
            "--zero-phase is for filters sample by sample; --family makes these of --lowpass and --highpass");
    }
    if (options.q && !filter.HasQ()) throw UsageError("--q is for --kind second");
    if (corners.order && !filter.HasOrder()) {
        throw UsageError("--order is for --kind butterworth and slope");
    }
    filter.lowPassHz = corners.lowPassHz;
    filter.highPassHz = corners.highPassHz;
    filter.q = options.q.value_or(filter.q);
    filter.order = corners.order.value_or(filter.order);
    if (filter.kind == SpectralFilter::Kind::butterworth &&
        !(filter.order == std::floor(filter.order) && filter.order <= 16.0)) {
        throw ValueError("--order: " + FormatNumber(filter.order) +
                         " is not a whole number from 1 to 16, as Butterworth filters have them");
    }
    if (options.block && CMatBasic::GreaterEqPow2(*options.block) != *options.block) {
        throw ValueError("--block: " + std::to_string(*options.block) +
                         " is not a power of two from 16 to 131072");
    }
    return filter;
}

PlanRun PlanSpectra(const FilterOptions& options) {
    const SpectralFilter filter = ReadSpectralFilter(options);
    const std::string ends = options.ends.value_or(options.filters.highPassHz ? "zeros" : "hold");
    const CMatBasic::DATA_TERM term = Choose(kTerms, "--ends", ends).term;
    return [=, block = options.block](const SignalRun& run) {
        const auto response =
            std::make_shared<const SpectralResponse>(DesignSpectralFilter(filter, 1.0 / run.delta, block));
        return RunFilters{FilterText(filter) + ", blocks of " + std::to_string(response->block),
                          [=] { return MakeSpectralFilter(response, term); },
                          {},
                          !filter.highPassHz};
    };
}

// ---- sample by sample ----

PlanRun PlanSamples(const FilterOptions& options) {
    const FilterChoice& choice = options.filters;
    const bool hasCorners = choice.lowPassHz || choice.highPassHz || choice.order;
    if (options.IsBySpectra() || (hasCorners && !choice.IsDesigned())) {
        throw UsageError(
            "--butterworth, --fir and --fir-set do not go with the options of --lowpass and "
            "--highpass, which filter through spectra unless --family is given");
    }
    if (options.ends && options.isZeroPhase)
        throw UsageError("--ends does not go with --zero-phase, which extends the signal by itself");
    ChosenFilters chosen = ReadSampleFilters(choice);
    if (options.ends) chosen.filters.ends = Choose(kEndNames, "--ends", *options.ends).ends;
    return [chosen, isZeroPhase = options.isZeroPhase](const SignalRun& run) {
        const auto fitted = std::make_shared<const FittedFilters>(FiltersAt(chosen, 1.0 / run.delta));
        if (isZeroPhase)
            MakeZeroPhase(fitted->filters, run.delta);  // what rings too long is told before the work
        return RunFilters{fitted->text + (isZeroPhase ? ", forward and backward" : ""),
                          [fitted, isZeroPhase, delta = run.delta] {
                              return isZeroPhase ? MakeZeroPhase(fitted->filters, delta)
                                                 : MakeSampleFilters(fitted->filters, delta);
                          },
                          {},
                          KeepsLevels(fitted->filters)};
    };
}

std::string Report(const SignalRun& run, const RunFilters& filters) {
    std::vector<std::vector<std::string>> lines = {{"channel", "name", "rms before", "", "after", ""}};
    for (std::size_t c = 0; c < run.channels.size(); ++c) {
        const SignalRun::Channel& channel = run.channels[c];
        const CUnitCtrl differences = DifferenceUnit(channel.unit);
        const std::string unit = UnitText(differences);
        const auto shown = [&](const RunningRms& rms) {
            return FormatNumber(differences.ConvDtoI(rms.Get(), 1.0, 0));
        };
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name),
                         shown(filters.levels[c].before), unit, shown(filters.levels[c].after), unit});
    }
    return "record " + std::to_string(run.record) + ": " + filters.text + " at " +
           FormatNumber(1.0 / run.delta, 10) + " Hz\n" +
           FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right, Align::left},
                       lines);
}

void RunFilter(const FilterOptions& options, ByteStream& out) {
    const std::string& output = options.stream.output.name;
    RequireAnotherFile(options.filters.firFile.value_or(""), output);
    RequireOneStandardInput(
        std::vector<std::string>{options.stream.input, options.filters.firFile.value_or("")});
    const PlanRun plan = options.filters.IsBySamples() ? PlanSamples(options) : PlanSpectra(options);
    const std::string& input = options.stream.input;
    const std::unique_ptr<SignalReader> reader =
        OpenInput("filter", options.stream, WaveformsFor(options.stream.FormatOfOutput()));
    const std::vector<SignalRun>& runs = reader->Runs();
    std::vector<RunFilters> filters;
    std::vector<SignalRun> written = runs;
    Doing("filter", input, [&] {
        RequireLinearUnits(runs);
        for (const SignalRun& run : runs) {
            filters.push_back(plan(run));
            filters.back().levels.resize(run.channels.size());
            if (filters.back().keepsLevels) continue;
            for (SignalRun::Channel& channel : written[filters.size() - 1].channels)
                channel.unit = DifferenceUnit(channel.unit);
        }
    });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(options.stream, *reader, written);
    Stream({"filter", input, output}, *reader, *writer, [&](std::size_t run, std::size_t c) {
        const double zero = ZeroOf(runs[run].channels[c].unit);
        return MakeShifted(MakeMeasured(filters[run].make(), filters[run].levels[c]), zero,
                           filters[run].keepsLevels ? zero : 0.0);
    });
    std::string report;
    for (std::size_t r = 0; r < runs.size(); ++r) report += Report(runs[r], filters[r]);
    WriteText(ReportStream(output, out), report);
}

}  // namespace

void AddFilter(Command app) {
    const auto options = std::make_shared<FilterOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("filter", "Pass or stop bands of frequencies in time waveforms");
    AddStreamFiles(command, batch.get());
    AddCorners(command, &options->filters);
    command
        .AddOption("--kind", options->kind,
                   "Kind of filter: " + Names(kFilterKinds) + " (default: butterworth)")
        .Type("NAME")
        .Suggest(NameList(kFilterKinds));
    AddPositive(command, "--q", "Q", options->q, "Quality of --kind second (default: 0.7071)");
    AddPositive(
        command, "--order", "N", options->filters.order,
        "Order of recursive filters, 1 to 32, of --kind butterworth, 1 to 16, and of the amplitude of "
        "--kind slope (default: 4)");
    command
        .AddOption("--block", options->block,
                   "Samples per block, a power of two from 16 to 131072 (default: by the corner)")
        .Type("N")
        .Check(WholeNumber(kSmallestSpectralBlock, kLargestSpectralBlock));
    command
        .AddOption("--ends", options->ends,
                   "How the signal goes on outside its ends: " + Names(kTerms) +
                       " (default: zeros with a high-pass, otherwise hold)")
        .Type("NAME")
        .Suggest(NameList(kTerms));
    AddSampleFilters(command, &options->filters);
    command.AddFlag("--zero-phase", options->isZeroPhase,
                    "Filter sample by sample forward and backward: no delay, and the gain squared");
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(R"(
Through spectra (--lowpass, --highpass): first, second and butterworth are the analogue filters,
with their phase: -3 dB at the corner (second: the gain is Q there). slope and cut are gains without
phase, 1 on one side of the corner; on the other slope falls by 6 dB per octave and order and cut
leaves nothing, sharp to about four line spacings, rate/block. With both corners the filters follow
one another. Every sample stays in its place. Near the ends, as far as the impulse response reaches
(at most a quarter of a block), the result depends on what --ends assumes. With --ends periodic the
signal is kept in memory.

With --ends hold the signal has always had its first value, with zeros it begins from nothing. A
high-pass would take a first value in the middle of a vibration for an offset, and its end for a
step: there zeros is the default, and hold is for a signal that rests on an offset before it begins.

Temperatures are filtered as differences from the zero of their unit. What a low-pass leaves of them
is in their unit again; what a high-pass leaves, or coefficients that do not add up to 1, is a
difference and is written in K. Channels in dB are refused.

Sample by sample (--family, --bandpass, --bandstop, --notch, --peak, --butterworth, --fir, --fir-set):
one filter after the other, FIR first, then high-pass, low-pass, bands, notches, peaks and
--butterworth, block by block however long the file is. Recursive filters are the digital ones of a
controller, causal, by the bilinear transform; with one of these options --lowpass and --highpass
are recursive, too. At the corners butterworth and bessel have -3 dB, chebyshev1 and elliptic the
ripple, chebyshev2 the attenuation. --family kaiser and equiripple design FIR filters that keep
--ripple up to the corners and --attenuation from --transition behind them. The delay of symmetric FIR
filters is taken out.

--zero-phase runs the filters forward and then backward: nothing is delayed, and levels in dB double,
so that -3 dB become -6 dB. The signal goes on beyond its ends turned around its first and last
sample. 'kvx design' shows what a filter does to every frequency.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 5000; ++i) print 1 + sin(0.1 * i) + sin(2 * i) }' > mixed.txt
kvx import mixed.txt -o mixed.vdf2 --rate 1000 --unit g --name mixed
kvx filter mixed.vdf2 -o low.vdf2 --lowpass 50
kvx filter mixed.vdf2 -o sine.vdf2 --highpass 5 --lowpass 50 --kind second --q 1 --ends zeros
kvx filter mixed.vdf2 -o band.vdf2 --butterworth hp 2 5 --butterworth lp 6 50
kvx filter mixed.vdf2 -o smooth.vdf2 --family elliptic --lowpass 50 --ripple 0.1 --zero-phase
kvx filter mixed.vdf2 -o hum.vdf2 --notch 50,20 --bandpass 5,200
kvx filter mixed.vdf2 -o linear.vdf2 --family equiripple --lowpass 50 --transition 20
echo 0.25 0.5 0.25 > mean.txt
kvx filter mixed.txt -o mean.wav --rate 1000 --fir mean.txt --full-scale 4
)");
    command.OnRun(
        [=](ByteStream& out) { RunStreams(*batch, BatchReports::withHeading, *options, RunFilter, out); });
}

}  // namespace kvx::tool
