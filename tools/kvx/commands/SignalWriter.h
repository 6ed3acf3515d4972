// SPDX-License-Identifier: MIT
//
// Signals as the command line has them written.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxRecording01/SignalWriter.h>

#include "cli/Command.h"

namespace kvx::tool {

/// How a WAV file holds samples, as options say it.
struct WavChoice {
    std::string samples = "float";
    std::optional<double> fullScale;
};
void AddSamplesOption(Command& command, std::string* samples);
/// Throw ValueError.
WavSamples WavSamplesOf(const WavChoice& choice);
WavOptions WavOptionsOf(const WavChoice& choice);

/// Begins a data file with one record per run and unit; "-" is standard output.
std::unique_ptr<SignalWriter> CreateDataFile(const std::string& path, const std::wstring& text,
                                             const std::vector<SignalRun>& runs);
/// Begins a WAV file, for which there must be one run.
std::unique_ptr<SignalWriter> CreateWavFile(const std::string& path, const std::vector<SignalRun>& runs,
                                            const WavChoice& choice);

}  // namespace kvx::tool
