// SPDX-License-Identifier: MIT
#include "commands/Runs.h"

namespace kvx::tool {

void AddInputFile(Command& command, InputOptions* options) {
    command
        .AddOption("FILE", options->file,
                   "Data file with time waveforms, text table or sound file, of any length")
        .Required();
}

std::unique_ptr<SignalReader> OpenWaveforms(const InputOptions& options, Progress& progress) {
    return OpenSignal(options.file, options.channels, options.recording, false, progress);
}

CStringArray NamesOf(const SignalRun& run, const std::vector<std::size_t>& channels) {
    CStringArray names;
    for (const std::size_t c : channels) names.push_back(run.channels[c].name);
    return names;
}

}  // namespace kvx::tool
