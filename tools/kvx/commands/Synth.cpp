// SPDX-License-Identifier: MIT
//
// kvx synth: a random waveform of a given power spectral density.
#include <fmt/format.h>
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
#include <KvxDevCommon01/files/RecordSamples.h>
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
};

Target ReadTarget(const SynthOptions& options) {
    const ProfileText text = ReadProfileText(InputPath(options.profile));
    std::optional<CUnitCtrl> given;
    if (!options.unit.empty()) given = RequireUnit(options.unit);
    const CUnitCtrl unit = given ? *given : text.signalUnit.value_or(CUnitCtrl());
    // Without a unit of their own the levels are in that of the waveform, squared per hertz.
    const CUnitCtrl levelUnit = text.signalUnit.value_or(unit);
    if (!IsConvertible(levelUnit, unit)) {
        throw ValueError(fmt::format("--unit: the profile is for {}, which does not convert to {}",
                                     Quote(UnitText(levelUnit)), Quote(options.unit)));
    }
    const std::optional<CUnitCtrl> density = DensityUnit(levelUnit);
    if (!density) throw ValueError("--unit: " + Quote(options.unit) + " is a compound, which has no density");
    return {ProfileIn(text, *density), unit};
}

/// A record of `seconds` with room for a channel of that name.
CComDataWave MakeRecord(double seconds, double rateHz, const CUnitCtrl& unit, const std::wstring& name) {
    constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
    const double count = std::round(rateHz * seconds);
    if (!(count >= 1.0 && count <= kMost)) {
        throw ValueError(fmt::format("{} s at {} Hz are {} samples; a record holds 1 to {}",
                                     FormatNumber(seconds), FormatNumber(rateHz, 10), FormatNumber(count),
                                     kMost));
    }
    const CStringArray names = {name};
    CComDataWave wave(1.0 / rateHz, 1, 1, static_cast<__int64>(count), 0, unit, &names, nullptr);
    if (wave.GetReal(0, 0) == nullptr) throw std::bad_alloc();
    return wave;
}

void RunSynth(const SynthOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.profile, output);
    RecordingFormatOf(options.output);
    const std::wstring name = FromUtf8(options.name).value_or(L"");
    if (name.empty()) throw ValueError("--name: " + Quote(options.name) + " is empty or not UTF-8");
    CComDataWave wave;
    std::string summary;
    std::wstring text;
    Doing("synthesise", options.profile, [&] {
        const Target target = ReadTarget(options);
        text = FromUtf8(SourceText(options.profile)).value_or(L"");
        RandomWaveSettings settings = {options.rateHz ? *options.rateHz : RandomWaveRate(target.profile)};
        settings.seed = options.seed;
        if (options.rms) settings.targetRms = target.unit.ConvItoD(*options.rms, 1.0, 0);
        wave = MakeRecord(options.durationSeconds, settings.rateHz, target.unit, name);
        const RandomWaveFigures figures = GenerateRandomWave(Samples(wave, 0, 0), target.profile, settings);
        const double half = settings.rateHz / 2.0;
        if (target.profile.Frequencies().back() > half) {
            Note(fmt::format("the profile above {} Hz, half the rate, is left out", FormatNumber(half, 10)));
        }
        const auto shown = [&](double value) {
            return fmt::format("{} {}", FormatNumber(target.unit.ConvDtoI(value, 1.0, 0)),
                               UnitText(target.unit));
        };
        summary =
            fmt::format("{}: {} at {} Hz ({} s), seed {}\n{}", OutputName(output),
                        Count(wave.GetNsamp(), "sample"), FormatNumber(settings.rateHz, 10),
                        FormatNumber(static_cast<double>(wave.GetNsamp()) / settings.rateHz, 7), options.seed,
                        FormatTable({Align::left, Align::left},
                                    {{"profile rms", shown(target.profile.Rms())},
                                     {"signal rms", shown(figures.rms)},
                                     {"peak", shown(figures.peak)},
                                     {"crest factor", FormatNumber(figures.peak / figures.rms, 4)}}));
    });
    Doing("write", output, [&] { StoreRecords(options.output, text, std::move(wave)); });
    WriteText(ReportStream(output, out), summary);
}

}  // namespace

void AddSynth(Command app) {
    const auto options = std::make_shared<SynthOptions>();
    Command command = app.AddCommand("synth", "Make a random waveform of a given power spectral density");
    command
        .AddOption("PROFILE", options->profile,
                   "Text file: 'frequency level' or a slope such as '+3 dB/oct' per line, 'unit g2/Hz', '#' "
                   "comments")
        .Required();
    AddOutputOptions(command, "Output", RecordingFormats(), &options->output).Required();
    AddPositive(command, "--rate", "HZ", options->rateHz,
                "Sampling rate; without it the power of two from 2.56 times the highest frequency on");
    AddPositive(command, "--duration", "S", options->durationSeconds, "Length of the signal").ShowDefault();
    AddPositive(command, "--rms", "VALUE", options->rms,
                "Scale the signal to this rms; without it that of the profile");
    command.AddOption("--seed", options->seed, "Start of the random numbers; equal seeds make equal signals")
        .Type("N")
        .Check(WholeNumber(0, std::numeric_limits<std::uint32_t>::max()))
        .ShowDefault();
    command.AddOption("--unit", options->unit, "Unit of the signal; without it that of the profile")
        .Type("UNIT");
    command.AddOption("--name", options->name, "Name of the channel").Type("NAME").ShowDefault();
    command.SetFooter(R"(
The density runs straight between breakpoints on log-log axes. The noise is Gaussian and stationary.
)",
                      R"(
printf 'unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n' > profile.txt
kvx synth profile.txt -o random.vdf2 --rms 3 --seed 7 --duration 4
kvx info random.vdf2
)");
    command.OnRun([=](ByteStream& out) { RunSynth(*options, out); });
}

}  // namespace kvx::tool
