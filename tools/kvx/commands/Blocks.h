// SPDX-License-Identifier: MIT
//
// What the commands that analyse blocks of a signal have in common: how it is cut, the window, and the band
// that a report looks at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>

#include "cli/Command.h"
#include "cli/OutputFormat.h"
#include "commands/Signal.h"

namespace kvx::tool {

struct BlockOptions {
    std::int64_t size = 1024;
    std::string window = "hann";
    double overlapPercent = 50.0;
};

void AddBlockOptions(Command command, BlockOptions* options);

/// The cut and the window of the options.
struct BlockPlan {
    BlockCut cut;
    std::vector<double> window;
};
/// Throws ValueError.
BlockPlan PlanBlocks(const BlockOptions& options);

/// Throws Error when the waveforms of a run do not fill a block.
void RequireBlock(const SignalRun& run, const BlockCut& cut);

/// "3 blocks of 1024 at 2048 Hz, hann window, line spacing 2 Hz"
std::string BlocksText(const BlockOptions& options, std::int64_t count, double rateHz);

/// Describes -o for the lines of an analysis, a data file; without it there is only a report.
void AddLinesOutput(Command& command, OutputChoice* output);

/// Throws ValueError when the lines cannot go to the output, if one is named.
void RequireLinesOutput(const std::string& input, const OutputChoice& output);

struct BandOptions {
    double fromHz = 0.0;
    std::optional<double> toHz;

    LineBand Lines(double spacingHz, std::int64_t lines) const {
        return LinesInBand(fromHz, toHz, spacingHz, lines);
    }
};

/// --from and --to, which bound where a report looks for `figures`.
void AddBandOptions(Command command, const std::string& figures, BandOptions* options);

/// ", band from 20 Hz to 2000 Hz"; nothing for all lines.
std::string BandText(const BandOptions& options);

}  // namespace kvx::tool
