// SPDX-License-Identifier: MIT
//
// What the psd and the spectrum command have in common: their options, the analysis and the report.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include "cli/Command.h"
#include "commands/Blocks.h"
#include "commands/DataFiles.h"

namespace kvx::tool {

struct AnalysisOptions {
    std::string input;
    OutputChoice output;  ///< empty for a report only
    ChannelOptions channels;
    BlockOptions blocks;
    BandOptions band;
    double cutoffHz = 0.0;  ///< of the motion that densities of accelerations tell of
    __int64 peaks = 0;      ///< how many to report
    bool json = false;
};

/// Describes the options that both commands have.
void AddAnalysisOptions(Command command, AnalysisOptions* options);

/// A waveform to be analysed, in the standard unit of its dimension.
struct Signal {
    const CDataArrayDouble& samples;
    double rateHz;
    const CDataArrayDouble& window;  ///< its count is the block size
    __int64 overlap;                 ///< in samples
};

/// How a command turns a signal into block/2 lines.
struct LineMethod {
    bool isComplex;
    bool isDensity;
    /// Unit of the lines of a signal's unit; no value when the signal cannot be analysed.
    std::function<std::optional<CUnitCtrl>(const CUnitCtrl&)> unitOf;
    /// Writes the lines (`imaginary` is null unless isComplex) and returns the number of blocks averaged;
    /// throws Error or std::bad_alloc.
    std::function<__int64(const Signal&, double* real, double* imaginary)> calculate;
    /// Rms of the signal that `count` lines tell of, the one at 0 Hz at index `dc`, which may lie outside;
    /// `bandwidth` is the window's noise bandwidth in lines.
    std::function<double(double* levels, __int64 count, __int64 dc, double spacingHz, double bandwidth)> rms;
};

/// Analyses the chosen channels, stores the lines when an output is given and prints the report.
void RunAnalysis(const AnalysisOptions& options, const LineMethod& method, ByteStream& out);

}  // namespace kvx::tool
