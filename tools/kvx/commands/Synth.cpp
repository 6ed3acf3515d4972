// SPDX-License-Identifier: MIT
//
// kvx synth: a random waveform of a given power spectral density.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/ProfileText.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::array kSynthFormats = {OutputFormat::dataFile};

struct SynthOptions {
    std::string profile;
    OutputChoice output;
    std::optional<double> rateHz;
    double durationSeconds = 10.0;
    std::optional<double> rms;
    std::uint32_t seed = 1;
    std::string unit;
    std::string name = "random";
};

/// The profile in standard units, and the unit that the waveform is shown in.
struct Target {
    PsdProfile profile;
    CUnitCtrl unit;
    double topHz = 0.0;
};

Target ReadTarget(const SynthOptions& options) {
    const ProfileText text = ReadProfileText(InputPath(options.profile));
    Target target;
    std::optional<CUnitCtrl> given;
    if (!options.unit.empty()) given = RequireUnit(options.unit);
    target.unit = given ? *given : text.signalUnit.value_or(CUnitCtrl());
    // Without a unit of their own the levels are in that of the waveform, squared per hertz.
    const CUnitCtrl levelUnit = text.signalUnit.value_or(target.unit);
    if (!IsConvertible(levelUnit, target.unit)) {
        throw ValueError("--unit: the profile is for " + Quote(UnitText(levelUnit)) +
                         ", which does not convert to " + Quote(options.unit));
    }
    const std::optional<CUnitCtrl> density = DensityUnit(levelUnit);
    if (!density) throw ValueError("--unit: " + Quote(options.unit) + " is a compound, which has no density");
    target.profile = ProfileIn(text, *density);
    target.topHz = text.frequencies.back();
    return target;
}

/// Throws Error where the profile gives no signal at that rate: when no line of the shortest or the longest
/// frame lies within it, or the squares of samples vanish.
void RequireSignal(const PsdProfile& profile, double rateHz) {
    constexpr double kShortestFrame = 1024.0;
    constexpr double kLongestFrame = 131072.0;
    const CDataArrayDouble& hz = profile.GetFrequencies();
    if (hz[0] >= (0.5 - 0.5 / kShortestFrame) * rateHz) {
        throw Error(ErrorKind::kBadValue,
                    "nothing of the profile lies below half the rate of " + FormatNumber(rateHz, 10) + " Hz");
    }
    if (hz[hz.GetNum() - 1] <= 0.5 / kLongestFrame * rateHz) {
        throw Error(ErrorKind::kBadValue, "the frequencies of the profile are too low for a rate of " +
                                              FormatNumber(rateHz, 10) + " Hz");
    }
    const double rms = profile.CalcRms();
    if (rms * rms < std::numeric_limits<double>::min())
        throw Error(ErrorKind::kBadValue, "its rms is too small for a signal");
}

/// Throws Error for the rms of a signal that became 0 or infinite.
void RequireSquares(double rms) {
    if (rms > 0.0 && std::isfinite(rms)) return;
    throw Error(ErrorKind::kBadValue, "the squares of the signal leave the range of numbers");
}

/// The least power of two that leaves room above the profile for an anti-aliasing filter's slope.
double DefaultRate(double topHz) {
    return std::exp2(std::ceil(std::log2(2.56 * topHz)));
}

void RunSynth(const SynthOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.profile, output);
    FormatOf(options.output, kSynthFormats);
    const CStringArray names = {FromUtf8(options.name).value_or(L"")};
    if (names.front().empty()) throw ValueError("--name: " + Quote(options.name) + " is empty or not UTF-8");
    CComDataWave wave;
    std::string summary;
    std::wstring text;
    Doing("synthesise", options.profile, [&] {
        const Target target = ReadTarget(options);
        text = FromUtf8(SourceText(options.profile)).value_or(L"");
        const double rate = options.rateHz.value_or(DefaultRate(target.topHz));
        const double count = std::round(rate * options.durationSeconds);
        if (!(count >= 1.0 && count <= std::numeric_limits<std::int32_t>::max())) {
            throw ValueError(FormatNumber(options.durationSeconds) + " s at " + FormatNumber(rate, 10) +
                             " Hz are " + FormatNumber(count) + " samples; a record holds 1 to 2147483647");
        }
        RandomWaveSettings settings = {rate};
        if (options.rms) {
            const double targetRms = target.unit.ConvItoD(*options.rms, 1.0, 0);
            RequireSquares(targetRms);
            settings.targetRms = targetRms;
        }
        CDataArrayDouble samples(static_cast<__int64>(count), 0.0);
        if (samples.GetNum() == 0) throw std::bad_alloc();
        std::uint32_t seed = options.seed;
        RequireSignal(target.profile, rate);
        if (!GenerateRandomWave(samples, target.profile, settings, &seed)) throw std::bad_alloc();
        const double rms = samples.CalcRms(0, 0);
        const double peak = samples.GetAbsMax(0, 0);
        RequireSquares(rms);
        if (target.topHz > rate / 2.0) {
            Note("the profile above " + FormatNumber(rate / 2.0, 10) + " Hz, half the rate, is left out");
        }
        wave.Create(1.0 / rate, 1, 1, samples.GetNum(), 0, target.unit, &names, nullptr);
        double* stored = wave.GetReal(0, 0);
        if (stored == nullptr) throw std::bad_alloc();
        std::copy_n(samples.GetData(), samples.GetNum(), stored);

        const std::string unit = UnitText(target.unit);
        const auto shown = [&](double value) {
            return FormatNumber(target.unit.ConvDtoI(value, 1.0, 0)) + " " + unit;
        };
        summary = OutputName(output) + ": " + Count(samples.GetNum(), "sample") + " at " +
                  FormatNumber(rate, 10) + " Hz (" + FormatNumber(count / rate, 7) + " s), seed " +
                  std::to_string(options.seed) + "\n" +
                  FormatTable({Align::left, Align::left}, {{"profile rms", shown(target.profile.CalcRms())},
                                                           {"signal rms", shown(rms)},
                                                           {"peak", shown(peak)},
                                                           {"crest factor", FormatNumber(peak / rms, 4)}});
    });
    Doing("write", output, [&] {
        std::vector<CComDataBase> records;
        records.push_back(std::move(wave));
        StoreDataFile(output, text, std::move(records));
    });
    WriteText(ReportStream(output, out), summary);
}

}  // namespace

void AddSynth(Command app) {
    const auto options = std::make_shared<SynthOptions>();
    Command command = app.AddCommand("synth", "Make a random waveform of a given power spectral density");
    command
        .AddOption("PROFILE", options->profile,
                   "Text file: a line 'frequency level' per breakpoint, '#' comments, a line 'unit g2/Hz'")
        .Required();
    AddOutputOptions(command, "Data file to write", kSynthFormats, &options->output).Required();
    command
        .AddOption("--rate", options->rateHz,
                   "Sampling rate; without it the power of two from 2.56 times the highest frequency on")
        .Type("HZ")
        .Check(PositiveNumber());
    command.AddOption("--duration", options->durationSeconds, "Length of the signal")
        .Type("S")
        .Check(PositiveNumber())
        .ShowDefault();
    command.AddOption("--rms", options->rms, "Scale the signal to this rms; without it that of the profile")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.AddOption("--seed", options->seed, "Start of the random numbers; equal seeds make equal signals")
        .Type("N")
        .Check(WholeNumber(0, std::numeric_limits<std::uint32_t>::max()))
        .ShowDefault();
    command.AddOption("--unit", options->unit, "Unit of the signal; without it that of the profile")
        .Type("UNIT");
    command.AddOption("--name", options->name, "Name of the channel").Type("NAME").ShowDefault();
    command.SetFooter(
        "The density runs straight between breakpoints on log-log axes. The noise is Gaussian and "
        "stationary.\n\n"
        "Example:\n"
        "  printf 'unit g2/Hz\\n20 0.01\\n80 0.04\\n350 0.04\\n2000 0.007\\n' > profile.txt\n"
        "  kvx synth profile.txt -o random.vdf2 --rms 3 --seed 7 --duration 4\n"
        "  kvx info random.vdf2");
    command.OnRun([=](ByteStream& out) { RunSynth(*options, out); });
}

}  // namespace kvx::tool
