// SPDX-License-Identifier: MIT
//
// What the commands that analyse read: the waveforms of a recording.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxRecording01/SignalRuns.h>

#include "cli/Command.h"
#include "cli/Progress.h"
#include "commands/Signal.h"

namespace kvx::tool {

struct InputOptions {
    std::string file;
    ChannelOptions channels;
    RecordingOptions recording;
};

/// Describes the input; AddRecordingOptions describes what may be stated of it.
void AddInputFile(Command& command, InputOptions* options);

/// Opens the recording; throws Error or ValueError.
std::unique_ptr<SignalReader> OpenWaveforms(const InputOptions& options, Progress& progress);

/// The names of channels at these positions of a run.
CStringArray NamesOf(const SignalRun& run, const std::vector<std::size_t>& channels);

}  // namespace kvx::tool
