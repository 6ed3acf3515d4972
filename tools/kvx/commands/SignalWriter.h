// SPDX-License-Identifier: MIT
//
// Signals as the command line has them written.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxRecording01/Formats.h>

#include "cli/Command.h"

namespace kvx::tool {

/// How a WAV file holds samples, as options say it.
struct WavChoice {
    std::optional<std::string> samples = std::nullopt;  ///< floats without it
    std::optional<double> fullScale = std::nullopt;
};
void AddSamplesOption(Command& command, std::optional<std::string>* samples);
/// Throw ValueError.
WavSamples WavSamplesOf(const WavChoice& choice);
WavOptions WavOptionsOf(const WavChoice& choice);

/// As CreateSignalFile; "-" is standard output.
std::unique_ptr<SignalWriter> CreateSignal(const std::string& path, Format format,
                                           const std::vector<SignalRun>& runs,
                                           const SignalFileOptions& options);

}  // namespace kvx::tool
