// SPDX-License-Identifier: MIT
//
// kvx filter: low-pass and high-pass filtering of time waveforms through spectra, and recursive and FIR
// filters, sample by sample, for signals of any length.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <numbers>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/SampleFilters.h"
#include "commands/Stream.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr __int64 kSmallestBlock = 16;
constexpr __int64 kLargestBlock = 131072;

struct FilterOptions {
    StreamOptions stream;
    std::optional<double> lowPassHz;
    std::optional<double> highPassHz;
    std::optional<std::string> kind;
    std::optional<double> q;
    std::optional<double> order;
    std::optional<__int64> block;
    std::optional<std::string> ends;
    SampleFilterOptions bySamples;

    bool IsBySpectra() const { return lowPassHz || highPassHz || kind || q || order || block; }
};

/// A kind of filter: how it acts on spectra, and which of the parameters it has.
struct Kind {
    using Apply = int (*)(CDataArrayDoubleCplx*, double spacingHz, double cornerHz, double parameter);

    std::string_view name;
    Apply lowPass;
    Apply highPass;
    std::string_view parameter;  ///< the option's name; empty when there is none
    double usual;                ///< its value without the option
    bool isAnalogue;             ///< causal with a phase; otherwise a real gain
};

using Spectrum = CDataArrayDoubleCplx;

// clang-format off
constexpr std::array kKinds = {
    Kind{"first",
         [](Spectrum* s, double df, double fc, double) { return CMatBasic::SpecLPF1Ex(s, 0.0, df, fc); },
         [](Spectrum* s, double df, double fc, double) { return CMatBasic::SpecHPF1Ex(s, 0.0, df, fc); },
         "", 0.0, true},
    Kind{"second",
         [](Spectrum* s, double df, double fc, double q) { return CMatBasic::SpecLPF2Ex(s, 0.0, df, fc, q); },
         [](Spectrum* s, double df, double fc, double q) { return CMatBasic::SpecHPF2Ex(s, 0.0, df, fc, q); },
         "--q", 0.5 * std::numbers::sqrt2, true},
    Kind{"butterworth",
         [](Spectrum* s, double df, double fc, double order) { return CMatBasic::SpecBwLPFN(s, 0.0, df, fc, static_cast<std::int32_t>(order)); },
         [](Spectrum* s, double df, double fc, double order) { return CMatBasic::SpecBwHPFN(s, 0.0, df, fc, static_cast<std::int32_t>(order)); },
         "--order", 4.0, true},
    Kind{"slope",
         [](Spectrum* s, double df, double fc, double order) { return CMatBasic::SpecLinLPFN(s, 0.0, df, fc, order); },
         [](Spectrum* s, double df, double fc, double order) { return CMatBasic::SpecLinHPFN(s, 0.0, df, fc, order); },
         "--order", 4.0, false},
    Kind{"cut",
         [](Spectrum* s, double df, double fc, double) { return CMatBasic::SpecTrancLPF(s, 0.0, df, fc); },
         [](Spectrum* s, double df, double fc, double) { return CMatBasic::SpecTrancHPF(s, 0.0, df, fc); },
         "", 0.0, false},
};

struct End {
    std::string_view name;
    CMatBasic::DATA_TERM term;
};
constexpr std::array kEnds = {
    End{"hold",     CMatBasic::TERM_HOLD},
    End{"zeros",    CMatBasic::TERM_ZERO},
    End{"periodic", CMatBasic::TERM_PERIODIC},
};
// clang-format on

/// The filter of the options.
struct Filter {
    const Kind& kind;
    double parameter;
    CMatBasic::DATA_TERM term;
};

Filter ReadFilter(const FilterOptions& options) {
    if (!options.lowPassHz && !options.highPassHz) {
        throw UsageError("one of --lowpass, --highpass, --butterworth, --fir and --fir-set is required");
    }
    if (options.lowPassHz && options.highPassHz && *options.lowPassHz < *options.highPassHz) {
        throw ValueError("--lowpass " + FormatNumber(*options.lowPassHz) + " lies below --highpass " +
                         FormatNumber(*options.highPassHz) + ", which leaves no band");
    }
    const Kind& kind = Choose(kKinds, "--kind", options.kind.value_or("butterworth"));
    if (options.q && kind.parameter != "--q") throw UsageError("--q is for --kind second");
    if (options.order && kind.parameter != "--order") {
        throw UsageError("--order is for --kind butterworth and slope");
    }
    const double parameter = options.q.value_or(options.order.value_or(kind.usual));
    if (kind.name == "butterworth" && !(parameter == std::floor(parameter) && parameter <= 16.0)) {
        throw ValueError("--order: " + FormatNumber(parameter) +
                         " is not a whole number from 1 to 16, as Butterworth filters have them");
    }
    if (options.block && !(*options.block >= kSmallestBlock && *options.block <= kLargestBlock &&
                           CMatBasic::GreaterEqPow2(*options.block) == *options.block)) {
        throw ValueError("--block: " + std::to_string(*options.block) +
                         " is not a power of two from 16 to 131072");
    }
    return {kind, parameter,
            Choose(kEnds, "--ends", options.ends.value_or(options.highPassHz ? "zeros" : "hold")).term};
}

/// Periods of the lowest corner that a block must hold, so that an analogue filter's impulse response falls
/// by the factor e^decay within the quarter of a block that counts, and a gain is as sharp beside its corner.
double BlockPeriods(const Filter& filter, double decay) {
    if (!filter.kind.isAnalogue) return 2.0 * decay;
    double q = 0.5;
    // The least damped section of a Butterworth filter; below 1/2 the slower of two real poles.
    if (filter.kind.name == "butterworth") {
        q = std::max(q, 0.5 / std::sin(0.5 * std::numbers::pi / filter.parameter));
    } else if (filter.kind.name == "second") {
        const double damping = 0.5 / filter.parameter;
        q = damping < 1.0 ? filter.parameter : 0.5 * (damping + std::sqrt(damping * damping - 1.0));
    }
    return 4.0 * decay * q / std::numbers::pi;
}

/// The block size for a signal of this rate; throws Error when none that is allowed will do.
__int64 ChooseBlock(const FilterOptions& options, const Filter& filter, double rateHz) {
    // To a millionth where blocks can be that long, to a thousandth everywhere.
    constexpr double kWanted = 13.8;
    constexpr double kRequired = 6.9;
    constexpr double kUsual = 4096.0;
    for (const std::optional<double>& corner : {options.lowPassHz, options.highPassHz}) {
        if (corner) RequireCorner(*corner, rateHz);
    }
    const double lowestHz = std::min(options.lowPassHz.value_or(rateHz), options.highPassHz.value_or(rateHz));
    const double required = BlockPeriods(filter, kRequired) * rateHz / lowestHz;
    const double wanted = std::max(BlockPeriods(filter, kWanted) * rateHz / lowestHz, kUsual);
    const __int64 block = options.block.value_or(
        CMatBasic::GreaterEqPow2(static_cast<__int64>(std::min(std::ceil(wanted), double{kLargestBlock}))));
    if (static_cast<double>(block) < required) {
        throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(lowestHz) + " Hz at its rate of " +
                                              FormatNumber(rateHz, 10) + " Hz needs blocks of more than " +
                                              std::to_string(block) + " samples");
    }
    return block;
}

/// The response of the filter for blocks of `block` samples.
Spectrum MakeResponse(const FilterOptions& options, const Filter& filter, double rateHz, __int64 block) {
    // A gain has no end in time of its own. Designed on a block of half the size, it is given one.
    const __int64 designBlock = filter.kind.isAnalogue ? block : block / 2;
    const double spacingHz = rateHz / static_cast<double>(designBlock);
    Spectrum response(1, designBlock / 2);
    if (response.GetImaginary() == nullptr) throw std::bad_alloc();
    std::fill_n(response.GetReal(), response.GetNum(), 1.0);
    // A gain that ends beyond the last line leaves all lines alone, and says so.
    if (options.lowPassHz) filter.kind.lowPass(&response, spacingHz, *options.lowPassHz, filter.parameter);
    if (options.highPassHz) filter.kind.highPass(&response, spacingHz, *options.highPassHz, filter.parameter);
    if (filter.kind.isAnalogue) return response;

    Spectrum limited, workSpectrum;
    CDataArrayDouble workWave, workImaginary;
    const auto dcMode = options.highPassHz ? CMatBasic::IXFR_DC_ZERO : CMatBasic::IXFR_DC_FIRST_LINE;
    if (!CMatBasic::CalcConvolCoef(response, &limited, &workSpectrum, &workWave, designBlock, &workImaginary,
                                   0.5, 0.5, dcMode, 0.0, 0.0)) {
        throw std::bad_alloc();
    }
    return limited;
}

std::string FilterText(const FilterOptions& options, const Filter& filter) {
    std::string text(filter.kind.name);
    if (!filter.kind.parameter.empty()) {
        text += " " + std::string(filter.kind.parameter.substr(2)) + " " + FormatNumber(filter.parameter, 4);
    }
    if (options.highPassHz) text += ", high-pass " + FormatNumber(*options.highPassHz) + " Hz";
    if (options.lowPassHz) text += ", low-pass " + FormatNumber(*options.lowPassHz) + " Hz";
    return text;
}

/// Filters a channel as a whole.
class SpectralFilter : public ChannelProcess {
public:
    SpectralFilter(Spectrum response, __int64 block, CMatBasic::DATA_TERM term)
        : response_(std::move(response)), block_(block), term_(term) {}

    void Feed(std::span<const double> samples, std::vector<double>*) override {
        samples_.insert(samples_.end(), samples.begin(), samples.end());
    }
    void Finish(std::vector<double>* out) override {
        const CDataArrayDouble samples(std::ssize(samples_), samples_.data());
        samples_ = {};
        CDataArrayDouble result(samples.GetNum(), nullptr);
        if (!CMatBasic::SpecFiltering(&result, samples, term_, response_, block_)) throw std::bad_alloc();
        out->insert(out->end(), result.GetData(), result.GetData() + result.GetNum());
    }

private:
    Spectrum response_;
    __int64 block_;
    CMatBasic::DATA_TERM term_;
    std::vector<double> samples_;
};

/// The rms of samples as they pass.
class RunningRms {
public:
    void Add(std::span<const double> samples) {
        for (const double sample : samples) squares_ += sample * sample;
        count_ += std::ssize(samples);
    }
    double Get() const { return std::sqrt(squares_ / static_cast<double>(count_)); }

private:
    double squares_ = 0.0;
    __int64 count_ = 0;
};

struct Levels {
    RunningRms before;
    RunningRms after;
};

/// Measures what a process does to the level.
class Measured : public ChannelProcess {
public:
    Measured(std::unique_ptr<ChannelProcess> process, Levels* levels)
        : process_(std::move(process)), levels_(levels) {}

    void Feed(std::span<const double> samples, std::vector<double>* out) override {
        levels_->before.Add(samples);
        const std::size_t begin = out->size();
        process_->Feed(samples, out);
        levels_->after.Add(std::span(*out).subspan(begin));
    }
    void Finish(std::vector<double>* out) override {
        const std::size_t begin = out->size();
        process_->Finish(out);
        levels_->after.Add(std::span(*out).subspan(begin));
    }

private:
    std::unique_ptr<ChannelProcess> process_;
    Levels* levels_;
};

/// What the command does to a run, and what it says of it.
struct RunFilters {
    std::string text;
    std::function<std::unique_ptr<ChannelProcess>()> make;
    std::vector<Levels> levels;  ///< per channel
};

using PlanRun = std::function<RunFilters(const SignalRun& run)>;

PlanRun PlanSpectra(const FilterOptions& options) {
    const Filter filter = ReadFilter(options);
    return [&options, filter](const SignalRun& run) {
        const double rateHz = 1.0 / run.delta;
        const __int64 block = ChooseBlock(options, filter, rateHz);
        const Spectrum response = MakeResponse(options, filter, rateHz, block);
        RunFilters filters;
        filters.text = FilterText(options, filter) + ", blocks of " + std::to_string(block);
        filters.make = [=, term = filter.term] {
            return std::make_unique<SpectralFilter>(response, block, term);
        };
        return filters;
    };
}

PlanRun PlanSamples(const FilterOptions& options) {
    if (options.IsBySpectra()) {
        throw UsageError(
            "--butterworth, --fir and --fir-set do not go with the options of --lowpass and "
            "--highpass, which filter through spectra");
    }
    std::optional<Ends> ends;
    if (options.ends) ends = Choose(kEndNames, "--ends", *options.ends).ends;
    const auto filters = std::make_shared<const SampleFilters>(options.bySamples, ends);
    return [filters](const SignalRun& run) {
        filters->RequireRate(1.0 / run.delta);
        return RunFilters{filters->Text(), [&run, filters] { return filters->Make(run); }, {}};
    };
}

std::string Report(const SignalRun& run, const RunFilters& filters) {
    std::vector<std::vector<std::string>> lines = {{"channel", "name", "rms before", "", "after", ""}};
    for (std::size_t c = 0; c < run.channels.size(); ++c) {
        const SignalRun::Channel& channel = run.channels[c];
        const std::string unit = UnitText(channel.unit);
        const auto shown = [&](const RunningRms& rms) {
            return FormatNumber(channel.unit.ConvDtoI(rms.Get(), 1.0, 0));
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
    if (options.bySamples.keepDelay && !options.bySamples.firFile && !options.bySamples.firSet) {
        throw UsageError("--keep-delay is for --fir and --fir-set");
    }
    const std::string& output = options.stream.output.name;
    RequireAnotherFile(options.bySamples.firFile.value_or(""), output);
    RequireOneStandardInput({options.stream.input, options.bySamples.firFile.value_or("")});
    const PlanRun plan = options.bySamples.IsAny() ? PlanSamples(options) : PlanSpectra(options);
    const std::string& input = options.stream.input;
    const std::unique_ptr<SignalReader> reader = OpenInput("filter", options.stream);
    const std::vector<SignalRun>& runs = reader->Runs();
    std::vector<RunFilters> filters;
    Doing("filter", input, [&] {
        for (const SignalRun& run : runs) {
            filters.push_back(plan(run));
            filters.back().levels.resize(run.channels.size());
        }
    });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(options.stream, reader->Text(), runs);
    Stream({"filter", input, output}, *reader, *writer, [&](std::size_t run, std::size_t c) {
        return std::make_unique<Measured>(filters[run].make(), &filters[run].levels[c]);
    });
    std::string report;
    for (std::size_t r = 0; r < runs.size(); ++r) report += Report(runs[r], filters[r]);
    WriteText(ReportStream(output, out), report);
}

}  // namespace

void AddFilter(Command app) {
    const auto options = std::make_shared<FilterOptions>();
    Command command = app.AddCommand("filter", "Low-pass and high-pass filtering of time waveforms");
    AddStreamFiles(command, &options->stream);
    command.AddOption("--lowpass", options->lowPassHz, "Keep what lies below this frequency")
        .Type("HZ")
        .Check(PositiveNumber());
    command.AddOption("--highpass", options->highPassHz, "Keep what lies above this frequency")
        .Type("HZ")
        .Check(PositiveNumber());
    command.AddOption("--kind", options->kind, "Kind of filter: " + Names(kKinds) + " (default: butterworth)")
        .Type("NAME");
    command.AddOption("--q", options->q, "Quality of --kind second (default: 0.7071)")
        .Type("Q")
        .Check(PositiveNumber());
    command
        .AddOption("--order", options->order,
                   "Order of --kind butterworth, 1 to 16, and of the amplitude of --kind slope (default: 4)")
        .Type("N")
        .Check(PositiveNumber());
    command
        .AddOption("--block", options->block,
                   "Samples per block, a power of two from 16 to 131072 (default: by the corner)")
        .Type("N")
        .Check(WholeNumber(kSmallestBlock, kLargestBlock));
    command
        .AddOption("--ends", options->ends,
                   "How the signal goes on outside its ends: " + Names(kEnds) +
                       " (default: zeros with a high-pass, otherwise hold)")
        .Type("NAME");
    AddSampleFilterOptions(command, &options->bySamples);
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(
        "Through spectra (--lowpass, --highpass): first, second and butterworth are the analogue filters, "
        "with "
        "their\n"
        "phase: -3 dB at the corner (second: the gain is Q there). slope and cut are gains without phase, 1 "
        "on "
        "one\n"
        "side of the corner; on the other slope falls by 6 dB per octave and order and cut leaves nothing, "
        "sharp to\n"
        "about four line spacings, rate/block. With both corners the filters follow one another. Every "
        "sample "
        "stays\n"
        "in its place. Near the ends, as far as the impulse response reaches (at most a quarter of a block), "
        "the\n"
        "result depends on what --ends assumes. The signal is kept in memory.\n\n"
        "With --ends hold the signal has always had its first value, with zeros it begins from nothing. A "
        "high-pass\n"
        "would take a first value in the middle of a vibration for an offset, and its end for a step: there "
        "zeros is\n"
        "the default, and hold is for a signal that rests on an offset before it begins.\n\n"
        "Sample by sample (--butterworth, --fir, --fir-set): one filter after the other, FIR first, block by "
        "block\n"
        "however long the file is. --butterworth is the digital filter of a controller, causal, -3 dB at "
        "the\n"
        "corner. The delay of symmetric FIR filters is taken out.\n\n"
        "Example:\n"
        "  awk 'BEGIN { for (i = 0; i < 5000; ++i) print 1 + sin(0.1 * i) + sin(2 * i) }' > mixed.txt\n"
        "  kvx import mixed.txt -o mixed.vdf2 --rate 1000 --unit g --name mixed\n"
        "  kvx filter mixed.vdf2 -o low.vdf2 --lowpass 50\n"
        "  kvx filter mixed.vdf2 -o sine.vdf2 --highpass 5 --lowpass 50 --kind second --q 1 --ends zeros\n"
        "  kvx filter mixed.vdf2 -o band.vdf2 --butterworth hp 2 5 --butterworth lp 6 50\n"
        "  echo 0.25 0.5 0.25 > mean.txt\n"
        "  kvx filter mixed.txt -o mean.wav --rate 1000 --fir mean.txt --full-scale 4");
    command.OnRun([=](ByteStream& out) { RunFilter(*options, out); });
}

}  // namespace kvx::tool
