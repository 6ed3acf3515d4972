// SPDX-License-Identifier: MIT
//
// What the commands that tell levels have in common: weightings, references, and the course of levels in
// time.
#pragma once

#include <optional>
#include <string>

#include <KvxRecording01/SignalLevels.h>

#include "cli/Command.h"
#include "commands/Stream.h"

namespace kvx::tool {

struct LevelOptions {
    StreamOptions stream;
    std::string weighting;  ///< empty for what the command takes
    std::string time;       ///< empty for none
    std::optional<double> stepSeconds;
    std::string reference;
    bool isLinear = false;
    bool json = false;
};

/// Describes --reference, --step and --json, then the options of the input and the output.
void AddLevelOptions(Command& command, LevelOptions* options);

/// A level for a person, in dB: "93.98"; "-" of silence.
std::string FormatLevel(double decibel);

/// Throw ValueError.
FrequencyWeighting WeightingOf(const std::string& name);
TimeWeighting TimeWeightingOf(const std::string& name);

/// "1 g" as a number with its unit; none of an empty text. Throws ValueError.
std::optional<StatedReference> ReferenceOf(const LevelOptions& options);

/// Writes the course of levels of the input to the output.
void WriteCourses(const LevelOptions& options, const CourseChoice& choice);

}  // namespace kvx::tool
