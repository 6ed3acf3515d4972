// SPDX-License-Identifier: MIT
//
// What the commands that analyse read: the waveforms of a recording, block by block, and the records into
// which results go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

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

/// The rate of a run, in hertz.
double RateOf(const SignalRun& run);

/// Reads the rest of a run, or its next `most` samples, and calls use(targets, count) for each piece: `count`
/// samples of each channel.
void ReadRun(SignalReader& reader, std::size_t run, Progress& progress,
             const std::function<void(std::span<double* const> targets, std::size_t count)>& use,
             std::int64_t most = -1);

/// The channels of a run that have one unit, of which results become one record, as those of an import do.
struct RunRecord {
    std::size_t run;
    std::size_t number;  ///< in the source, from 1
    CUnitCtrl unit;
    std::vector<std::size_t> channels;  ///< positions in the run
};
std::vector<RunRecord> RecordsOf(const std::vector<SignalRun>& runs);

CStringArray NamesOf(const SignalRun& run, const std::vector<std::size_t>& channels);

}  // namespace kvx::tool
