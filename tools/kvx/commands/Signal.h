// SPDX-License-Identifier: MIT
//
// Signals as the command line names them: a data file, a text table or a sound file and what is stated of it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <KvxRecording01/SignalReader.h>

#include "cli/Command.h"
#include "cli/Progress.h"
#include "commands/DataFiles.h"

namespace kvx::tool {

/// What a person states of a text table or sound file.
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
    std::string decimal = "auto";
    std::string encoding = "auto";
    bool isPartial = false;  ///< whether a sound file that is cut short is taken as far as it goes
};

void AddRecordingOptions(Command& command, RecordingOptions* options);

/// Whether an input is a file of the suite, not a text table or a sound file.
bool IsDataFile(const std::string& input);

/// How the options name what they state.
StatementNames OptionNames(const RecordingOptions& options = {});

/// Opens a text table or a sound file, of which `channels` chooses. Remarks go to standard error. Throws
/// Error or ValueError.
std::unique_ptr<SignalReader> OpenRecording(const std::string& path, const std::string& channels,
                                            const RecordingOptions& options, Progress& progress);

/// Opens a file of any format. Of what is no sound a full scale may be stated only when a sound file is to be
/// written (`isForSound`). Remarks go to standard error. Throws Error or ValueError.
std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const ChannelOptions& channels,
                                         const RecordingOptions& options, bool isForSound, Progress& progress,
                                         const SignalKinds& kinds = {});

}  // namespace kvx::tool
