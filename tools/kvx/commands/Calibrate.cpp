// SPDX-License-Identifier: MIT
//
// kvx calibrate: what a calibrator's tone tells of sensors and recorders.
#include <charconv>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/Calibration.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct CalibrateOptions {
    InputOptions input;
    std::string level;
    bool isPeak = false;
    std::optional<double> frequencyHz;
    bool json = false;
};

CalibrationChoice ChoiceOf(const CalibrateOptions& options) {
    const Quantity level = RequireQuantity("--level", options.level, "1 g");
    CalibrationChoice choice = {.level = level.value, .unit = level.unit};
    choice.isPeak = options.isPeak;
    choice.frequencyHz = options.frequencyHz;
    return choice;
}

/// What the tone tells, as the option that states it.
std::string Outcome(const ChannelCalibration& calibration) {
    constexpr int kDigits = 6;
    if (calibration.sensitivity)
        return "--sensitivity '" + SensitivityText(*calibration.sensitivity, kDigits) + "'";
    return "--gain " + FormatNumber(calibration.gain.value_or(1.0), kDigits);
}

nlohmann::ordered_json JsonOf(const std::string& input, const ChannelCalibration& calibration) {
    const SineFit& tone = calibration.tone;
    nlohmann::ordered_json json = {{"file", input},
                                   {"channel", calibration.channel.number},
                                   {"name", ToUtf8(calibration.channel.name)},
                                   {"unit", JsonUnit(calibration.channel.unit)},
                                   {"frequency", tone.frequencyHz},
                                   {"amplitude", tone.amplitude},
                                   {"offset", tone.offset},
                                   {"residualRms", tone.residualRms},
                                   {"isClean", calibration.isClean}};
    if (calibration.sensitivity)
        json["sensitivity"] = SensitivityText(*calibration.sensitivity, 17, Language::kEnglish);
    if (calibration.gain) json["gain"] = *calibration.gain;
    return json;
}

void RunOne(const CalibrateOptions& options, ByteStream& out) {
    const CalibrationChoice choice = ChoiceOf(options);
    const auto calibrations = AnalyseInput(options.input, [&](Progress& progress) {
        return CalibrationsOf(*OpenWaveforms(options.input, progress), choice, progress.Function());
    });
    if (options.json) {
        nlohmann::ordered_json json = nlohmann::ordered_json::array();
        for (const ChannelCalibration& calibration : calibrations)
            json.push_back(JsonOf(options.input.file, calibration));
        WriteText(out, json.dump(2) + "\n");
        return;
    }
    std::vector<std::vector<std::string>> lines = {
        {"channel", "name", "frequency [Hz]", "amplitude", "unit", "rest", "tells"}};
    for (const ChannelCalibration& calibration : calibrations) {
        const SineFit& tone = calibration.tone;
        lines.push_back({std::to_string(calibration.channel.number), ToUtf8(calibration.channel.name),
                         FormatNumber(tone.frequencyHz, 6), FormatNumber(tone.amplitude, 6),
                         UnitText(calibration.channel.unit), FormatNumber(tone.residualRms, 3),
                         Outcome(calibration)});
        if (calibration.isClean) continue;
        Note("channel " + Quote(calibration.channel.name) +
             " holds more than the tone: what is left of it without the tone exceeds a tenth of it");
    }
    WriteText(out, FormatTable({Align::right, Align::left, Align::right, Align::right, Align::left,
                                Align::right, Align::left},
                               lines));
}

void RunCalibrate(const CalibrateOptions& options, const BatchOptions& batch, ByteStream& out) {
    const auto one = [&](const std::string& input, const OutputChoice&, ByteStream& report) {
        CalibrateOptions own = options;
        own.input.file = input;
        RunOne(own, report);
    };
    RunBatch(batch, {}, options.json ? BatchReports::json : BatchReports::withHeading, one, out);
}

}  // namespace

void AddCalibrate(Command app) {
    const auto options = std::make_shared<CalibrateOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("calibrate", "Sensitivities from the recorded tone of a calibrator");
    AddWaveformInputs(command, batch.get());
    AddJobsOption(command, batch.get());
    command.AddOption("--level", options->level, "Level of the tone with its unit, rms: '1 g', '10 m/s2'")
        .Type("LEVEL")
        .Required();
    command.AddFlag("--peak", options->isPeak, "The level is the amplitude, not the rms");
    AddPositive(command, "--frequency", "HZ", options->frequencyHz,
                "Frequency of the tone, if it is known exactly (default: that of the strongest tone)");
    AddPartOptions(command, &options->input.part);
    AddRecordingOptions(command, &options->input.recording);
    command.AddFlag("--json", options->json, "As JSON, with all digits");
    command.SetFooter(R"(
A sine is fitted to the first 1048576 samples of each channel by least squares. Of electrical
signals, and of plain numbers, which are taken as volts, it tells the sensitivity of the sensor; of
signals in the unit of the level the gain. Either is given to other commands as it is printed.
"rest" is the rms of what is left without the tone.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 4096; ++i) print 0.1414 * sin(0.5 * i) }' > tone.txt
kvx calibrate tone.txt --rate 2000 --level '1 g'
kvx import tone.txt -o tone.vdf2 --rate 2000 --sensitivity '0.1 V/g'
)");
    command.OnRun([=](ByteStream& out) { RunCalibrate(*options, *batch, out); });
}

}  // namespace kvx::tool
