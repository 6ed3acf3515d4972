// SPDX-License-Identifier: MIT
//
// kvx pulse: the waveform of a shock test.
#include <fmt/format.h>
#include <cmath>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/ShockPulse.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Text.h>

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

constexpr double kPercent = 100.0;
constexpr double kMillimetres = 1000.0;  // in a metre

struct PulseOptions {
    OutputChoice output;
    std::string shape = "half-sine";
    std::string peak;
    std::string duration;
    std::optional<double> rise;
    std::optional<double> fall;
    std::optional<double> rateHz;
    std::string compensation = "none";
    std::optional<double> before;
    std::optional<double> after;
    bool isCentred = false;
    double leadSeconds = 0.0;
    double tailSeconds = 0.0;
    std::string name = "pulse";
    bool json = false;
};

/// The pulse, in standard units, and how it is shown.
struct Target {
    Pulse pulse;
    PulseWaveSettings settings;
    CUnitCtrl unit;
};

Target TargetOf(const PulseOptions& options) {
    const Quantity peak = RequireQuantity("--peak", options.peak, "50 g");
    const Quantity duration = RequireQuantity("--duration", options.duration, "11 ms");
    if (!(duration.unit.unit == CUnitCtrl::DIM_TIME))
        throw ValueError("--duration: " + Quote(UnitText(duration.unit.unit)) + " is no unit of time");
    Target target;
    target.unit = peak.unit.unit;
    Pulse& pulse = target.pulse;
    pulse.shape = Choose(NamedPulseShapes(), "--shape", options.shape).shape;
    if (pulse.shape != PulseShape::kTrapezoid && (options.rise || options.fall))
        throw ValueError("--rise and --fall are of a trapezoid");
    pulse.peak = peak.Standard();
    pulse.durationSeconds = duration.Standard();
    pulse.rise = options.rise.value_or(kPercent * pulse.rise) / kPercent;
    pulse.fall = options.fall.value_or(kPercent * pulse.fall) / kPercent;
    PulseWaveSettings& settings = target.settings;
    settings.compensation =
        Choose(NamedPulseCompensations(), "--compensation", options.compensation).compensation;
    if (settings.compensation == PulseCompensation::kNone &&
        (options.before || options.after || options.isCentred)) {
        throw ValueError("--before, --after and --centred need a --compensation");
    }
    settings.before = options.before.value_or(kPercent * settings.before) / kPercent;
    settings.after = options.after.value_or(kPercent * settings.after) / kPercent;
    settings.isCentred = options.isCentred;
    settings.leadSeconds = options.leadSeconds;
    settings.tailSeconds = options.tailSeconds;
    constexpr double kUsualSamples = 256.0;
    settings.rateHz =
        options.rateHz.value_or(std::exp2(std::ceil(std::log2(kUsualSamples / pulse.durationSeconds))));
    return target;
}

CComDataWave RecordOf(const PulseWave& wave, const Target& target, const std::wstring& name) {
    const CStringArray names = {name};
    CComDataWave record(1.0 / target.settings.rateHz, 1, 1, std::ssize(wave.samples), -wave.start,
                        target.unit, &names, nullptr);
    if (record.GetReal(0, 0) == nullptr) throw std::bad_alloc();
    std::ranges::copy(wave.samples, Samples(record, 0, 0).begin());
    return record;
}

nlohmann::ordered_json JsonOf(const PulseOptions& options, const Target& target, const PulseWave& wave) {
    const bool isCompensated = target.settings.compensation != PulseCompensation::kNone;
    nlohmann::ordered_json json = {
        {"output", options.output.name},
        {"shape", options.shape},
        {"peak", target.unit.ConvDtoI(target.pulse.peak, 1.0, 0)},
        {"unit", JsonUnit(target.unit)},
        {"duration", target.pulse.durationSeconds},
        {"rate", target.settings.rateHz},
        {"samples", wave.samples.size()},
        {"start", wave.start},
        {"compensation", options.compensation},
    };
    if (target.pulse.shape == PulseShape::kTrapezoid) {
        json["rise"] = target.pulse.rise;
        json["fall"] = target.pulse.fall;
    }
    if (isCompensated) {
        json["before"] = target.settings.before;
        json["after"] = target.settings.after;
        json["centred"] = target.settings.isCentred;
        json["beforeDuration"] = wave.beforeSeconds;
        json["afterDuration"] = wave.afterSeconds;
    }
    if (target.unit.IsAcc()) {
        json["velocityChange"] = wave.velocityChange;
        json["velocityLowest"] = wave.lowestVelocity;
        json["velocityHighest"] = wave.highestVelocity;
        json["velocityUnit"] = "m/s";
        json["displacementLowest"] = kMillimetres * wave.lowestDisplacement;
        json["displacementHighest"] = kMillimetres * wave.highestDisplacement;
        json["displacementUnit"] = "mm";
    }
    return json;
}

std::string ReportText(const PulseOptions& options, const Target& target, const PulseWave& wave) {
    const PulseWaveSettings& settings = target.settings;
    std::vector<std::vector<std::string>> lines;
    const auto span = [](double low, double high, double factor, const char* unit) {
        // A motion to one side ends at 0 but for rounding.
        const double nothing = 1e-9 * (high - low);
        const auto shown = [&](double value) {
            return FormatNumber(std::abs(value) < nothing ? 0.0 : factor * value);
        };
        return shown(low) + " to " + shown(high) + " " + unit;
    };
    const Pulse& pulse = target.pulse;
    lines.push_back(
        {"pulse", fmt::format("{}, {} {}, {} ms", options.shape,
                              FormatNumber(target.unit.ConvDtoI(pulse.peak, 1.0, 0)), UnitText(target.unit),
                              FormatNumber(1000.0 * pulse.durationSeconds))});
    if (pulse.shape == PulseShape::kTrapezoid) {
        lines.back().back() +=
            fmt::format(", rising in {} % and falling in {} % of it", FormatNumber(kPercent * pulse.rise),
                        FormatNumber(kPercent * pulse.fall));
    }
    if (settings.compensation != PulseCompensation::kNone) {
        lines.push_back(
            {"compensation",
             fmt::format("{}, {} ms at {} % before, {} ms at {} % after{}", options.compensation,
                         FormatNumber(1000.0 * wave.beforeSeconds), FormatNumber(kPercent * settings.before),
                         FormatNumber(1000.0 * wave.afterSeconds), FormatNumber(kPercent * settings.after),
                         settings.isCentred ? ", centred" : "")});
    }
    if (target.unit.IsAcc()) {
        lines.push_back({"velocity change", FormatNumber(wave.velocityChange) + " m/s"});
        lines.push_back({"velocity", span(wave.lowestVelocity, wave.highestVelocity, 1.0, "m/s")});
        if (settings.compensation != PulseCompensation::kNone)
            lines.push_back({"displacement",
                             span(wave.lowestDisplacement, wave.highestDisplacement, kMillimetres, "mm")});
    }
    return fmt::format("{}: {} at {} Hz ({} s)\n", OutputName(options.output.name),
                       Count(std::ssize(wave.samples), "sample"), FormatNumber(settings.rateHz, 10),
                       FormatNumber(static_cast<double>(wave.samples.size()) / settings.rateHz, 7)) +
           FormatTable({Align::left, Align::left}, lines);
}

void RunPulse(const PulseOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RecordingFormatOf(options.output);
    const std::wstring name = FromUtf8(options.name).value_or(L"");
    if (name.empty()) throw ValueError("--name: " + Quote(options.name) + " is empty or not UTF-8");
    const Target target = TargetOf(options);
    const PulseWave wave =
        Doing("make", output, [&] { return MakePulseWave(target.pulse, target.settings); });
    const std::wstring text =
        FromUtf8(options.shape + " " + options.peak + " " + options.duration).value_or(L"");
    Doing("write", output, [&] { StoreRecords(options.output, text, RecordOf(wave, target, name)); });
    WriteText(ReportStream(output, out), options.json ? JsonOf(options, target, wave).dump(2) + "\n"
                                                      : ReportText(options, target, wave));
}

}  // namespace

void AddPulse(Command app) {
    const auto options = std::make_shared<PulseOptions>();
    Command command = app.AddCommand("pulse", "Make the pulse of a shock test");
    AddOutputOptions(command, "Output", RecordingFormats(), &options->output).Required();
    command.AddOption("--shape", options->shape, "Shape: " + Names(NamedPulseShapes()))
        .Type("NAME")
        .Suggest(NameList(NamedPulseShapes()))
        .ShowDefault();
    command.AddOption("--peak", options->peak, "Peak with its unit: '50 g', '-300 m/s2'")
        .Type("VALUE")
        .Required();
    command.AddOption("--duration", options->duration, "Duration with its unit: '11 ms'")
        .Type("TIME")
        .Required();
    AddPositive(command, "--rise", "PERCENT", options->rise,
                "Part of its duration in which a trapezoid rises (default: 10)");
    AddPositive(command, "--fall", "PERCENT", options->fall, "Part in which it falls (default: 10)");
    AddPositive(command, "--rate", "HZ", options->rateHz,
                "Sampling rate; without it the power of two that gives the pulse 256 samples or more");
    command
        .AddOption("--compensation", options->compensation,
                   "Pulses before and after that leave the table at rest where it began: " +
                       Names(NamedPulseCompensations()))
        .Type("NAME")
        .Suggest(NameList(NamedPulseCompensations()))
        .ShowDefault();
    AddPositive(command, "--before", "PERCENT", options->before,
                "Peak of those before, in percent of the peak (default: 10)");
    AddPositive(command, "--after", "PERCENT", options->after, "Peak of those after (default: 10)");
    command.AddFlag("--centred", options->isCentred,
                    "Begin and end in the middle of the stroke, with a further pair of pulses at either end");
    command.AddOption("--lead", options->leadSeconds, "Rest before all pulses")
        .Type("S")
        .Check(NonNegativeNumber());
    command.AddOption("--tail", options->tailSeconds, "Rest after all pulses")
        .Type("S")
        .Check(NonNegativeNumber());
    command.AddOption("--name", options->name, "Name of the channel").Type("NAME").ShowDefault();
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(R"(
The pulse itself begins at 0 s. Velocity and displacement are those of a table that follows the
samples from rest; with a compensation both end at 0. The heights of its pulses are adjusted to the
samples for that, by less the higher the rate is.
)",
                      R"(
kvx pulse -o shock.vdf2 --shape half-sine --peak '50 g' --duration '11 ms' --compensation half-sine
kvx plot shock.vdf2 -o shock.svg
kvx pulse -o saw.csv --shape terminal-sawtooth --peak '500 m/s2' --duration '6 ms' --rate 10000
)");
    command.OnRun([=](ByteStream& out) { RunPulse(*options, out); });
}

}  // namespace kvx::tool
