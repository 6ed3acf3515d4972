// SPDX-License-Identifier: MIT
//
// What the psd and the spectrum command have in common: their options, the analysis and the report.
#pragma once

#include <cstddef>

#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/platform/ByteStream.h>

#include "cli/Command.h"
#include "commands/Blocks.h"
#include "commands/Runs.h"

namespace kvx::tool {

struct AnalysisOptions {
    InputOptions input;
    OutputChoice output;  ///< empty for a report only
    BlockOptions blocks;
    BandOptions band;
    LineKind kind = LineKind::kAmplitude;
    double startSeconds = 0.0;  ///< of the block whose complex lines are wanted
    double cutoffHz = 0.0;      ///< of the motion that densities of accelerations tell of
    std::size_t peaks = 0;      ///< how many to report
    bool json = false;
};

/// Describes the options that both commands have.
void AddAnalysisOptions(Command& command, AnalysisOptions* options);

/// Analyses the chosen channels, stores the lines when an output is given and prints the report.
void RunAnalysis(const AnalysisOptions& options, ByteStream& out);

}  // namespace kvx::tool
