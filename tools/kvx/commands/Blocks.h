// SPDX-License-Identifier: MIT
//
// What the commands that analyse blocks of a signal have in common: how it is cut, the windows by name, and
// the lines that a report looks at.
#pragma once

#include <optional>
#include <string>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Types.h>

#include "cli/Command.h"
#include "cli/OutputFormat.h"

namespace kvx::tool {

struct BlockOptions {
    __int64 size = 1024;
    std::string window = "hann";
    double overlapPercent = 50.0;
};

void AddBlockOptions(Command command, BlockOptions* options);

/// The window of the options; throws ValueError.
CDataArrayDouble MakeWindow(const BlockOptions& options);

/// The overlap of the options in samples; throws ValueError.
__int64 OverlapSamples(const BlockOptions& options);

/// Throws Error when the record's waveforms do not fill a block.
void RequireBlock(const CComDataBase& record, const BlockOptions& options);

/// "3 blocks of 1024 at 2048 Hz, hann window, line spacing 2 Hz"
std::string BlocksText(const BlockOptions& options, __int64 count, double rateHz);

/// Describes -o for the lines of an analysis, a data file; without it there is only a report.
void AddLinesOutput(Command& command, OutputChoice* output);

/// Throws ValueError when the lines cannot go to the output, if one is named.
void RequireLinesOutput(const std::string& input, const OutputChoice& output);

struct BandOptions {
    double fromHz = 0.0;
    std::optional<double> toHz;
};

/// --from and --to, which bound where a report looks for `figures`.
void AddBandOptions(Command command, const std::string& figures, BandOptions* options);

/// ", band from 20 Hz to 2000 Hz"; nothing for all lines.
std::string BandText(const BandOptions& options);

/// Lines first to last of a spectrum.
struct Band {
    __int64 first;
    __int64 last;
};

/// The lines, `spacingHz` apart from 0 Hz on, that lie in the band of the options; throws Error when there
/// is none.
Band BandLines(const BandOptions& options, double spacingHz, __int64 lines);

/// The highest of the lines in the band, the one at 0 Hz left out where there is another.
__int64 HighestLine(const CDataArrayDouble& lines, const Band& band);

}  // namespace kvx::tool
