// SPDX-License-Identifier: MIT
#include "commands/LevelOptions.h"

#include <fmt/format.h>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "commands/Analysis.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {

void AddLevelOptions(Command& command, LevelOptions* options) {
    command
        .AddOption(
            "--reference", options->reference,
            "Reference of 0 dB: '50 nm/s' (default: 20 µPa, 1 µm/s2, 1 nm/s, 1 pm, 1 µN, else 1 of the unit)")
        .Type("VALUE");
    AddPositive(command, "--step", "SECONDS", options->stepSeconds,
                "Distance of the running levels in time (default: 0.125)");
    AddStreamOptions(command, "--rate", &options->stream);
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
}

std::string FormatLevel(double decibel) {
    return std::isfinite(decibel) ? fmt::format("{:.2f}", decibel) : "-";
}

FrequencyWeighting WeightingOf(const std::string& name) {
    return Choose(kWeightings, "--weighting", name).weighting;
}

TimeWeighting TimeWeightingOf(const std::string& name) {
    return Choose(kTimeWeightings, "--time-weighting", name).weighting;
}

std::optional<StatedReference> ReferenceOf(const LevelOptions& options) {
    const std::string& text = options.reference;
    if (text.empty()) return std::nullopt;
    const std::size_t end = std::min(text.find_first_not_of("0123456789.+-eE"), text.size());
    const std::size_t unit = text.find_first_not_of(' ', end);
    StatedReference reference = {ParseArgument(text.substr(0, end)), {}, text, "--reference"};
    if (!(reference.value > 0.0)) throw ValueError("--reference: " + Quote(text) + " is not above 0");
    if (unit != text.npos) reference.unit = RequireEntryUnit(text.substr(unit));
    return reference;
}

void WriteCourses(const LevelOptions& options, const CourseChoice& choice) {
    const StreamOptions& stream = options.stream;
    std::unique_ptr<SignalReader> source =
        OpenInput("analyse", stream, WaveformsFor(stream.FormatOfOutput()));
    const std::unique_ptr<SignalReader> courses =
        Doing("analyse", stream.input, [&] { return LevelCourses(std::move(source), choice); });
    const std::unique_ptr<SignalWriter> writer = CreateOutput(stream, *courses, courses->Runs());
    CopySignal({"analyse", stream.input, stream.output.name}, *courses, *writer);
}

}  // namespace kvx::tool
