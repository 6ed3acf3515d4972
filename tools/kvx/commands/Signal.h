// SPDX-License-Identifier: MIT
//
// Signals as the command line names them: a file of any format, which part of it is meant, and what is stated
// of it.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include <KvxRecording01/SignalReader.h>

#include "cli/Command.h"
#include "cli/Progress.h"

namespace kvx::tool {

/// What of a recording a command works on.
struct PartOptions {
    std::string channels = {};
    std::size_t record = 0;
    std::optional<double> start = std::nullopt;
    std::optional<double> end = std::nullopt;

    bool IsAll() const { return channels.empty() && record == 0 && !start && !end; }
};

void AddPartOptions(Command command, PartOptions* options);
/// The same without --channels.
void AddRangeOptions(Command command, PartOptions* options);

/// What a person states of a recording of another format than the suite's.
struct RecordingOptions {
    std::string rateName = "--rate";  ///< option of the rate
    std::string unitName = "--unit";  ///< option of the units
    std::optional<double> rateHz;
    std::string units;
    std::string names;
    std::string sensitivities;
    std::string gains;
    std::optional<double> fullScale;
    std::string time = "auto";
    std::string axis;
    std::optional<double> spacing;
    bool keepsUneven = false;  ///< whether a text keeps times that are not evenly spaced
    std::string separator = "auto";
    std::optional<double> skippedLines;
    std::optional<std::string> comments;
    std::optional<std::string> missing;
    std::string decimal = "auto";
    std::string encoding = "auto";
    std::string dates;       ///< what ambiguous dates of a text begin with
    bool isPartial = false;  ///< whether a sound file that is cut short is taken as far as it goes
};

void AddRecordingOptions(Command& command, RecordingOptions* options);

/// Whether an input is a file of the suite, not a text table or a sound file.
bool IsDataFile(const std::string& input);

/// How the options name what they state.
StatementNames OptionNames(const RecordingOptions& options = {});

/// Throws Error when something is stated, as it cannot be of a data file; ValueError.
void RequireNothingStated(const RecordingOptions& options);

/// Opens a part of a file of any format. Of what is no sound a full scale may be stated only when a sound
/// file is to be written (`isForSound`). Remarks go to standard error. Throws Error or ValueError.
std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const PartOptions& part,
                                         const RecordingOptions& options, bool isForSound, Progress& progress,
                                         const SignalKinds& kinds = {});

}  // namespace kvx::tool
