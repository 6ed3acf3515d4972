// SPDX-License-Identifier: MIT
//
// Runs of a signal from their first sample to their last, and the records that results on them make.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

/// The rate of a run, in hertz.
inline double RateOf(const SignalRun& run) {
    return 1.0 / run.delta;
}

/// Takes the next `count` samples of each column of the run.
using TakeSamples = std::function<void(std::span<double* const> columns, std::size_t count)>;

/// Reads the rest of a run, or its next `most` samples, piece by piece, each while the one before it is
/// taken, perhaps by another thread: `take` leaves the reader alone. Throws what either throws.
KVX_RECORDING_API void ReadRun(SignalReader& reader, std::size_t run, const TakeSamples& take,
                               const ProgressFunction& progress = {},
                               std::optional<std::int64_t> most = std::nullopt);

/// The samples that runs have in all channels together.
KVX_RECORDING_API std::uint64_t CountSamples(std::span<const SignalRun> runs);

/// Takes the next `count` samples of each column of a run.
using TakeRunSamples =
    std::function<void(std::size_t run, std::span<double* const> columns, std::size_t count)>;

/// Reads all runs, one after the other, as ReadRun does.
KVX_RECORDING_API void ReadRuns(SignalReader& reader, const TakeRunSamples& take,
                                const ProgressFunction& progress = {});

/// Throws Error for a channel in dB or another logarithmic unit, which nothing calculates with.
KVX_RECORDING_API void RequireLinearUnit(const SignalRun::Channel& channel);
KVX_RECORDING_API void RequireLinearUnits(std::span<const SignalRun> runs);

/// The signal as analyses take it: temperatures in "°C" or "°F" are differences from the zero of their unit,
/// in K. The second form reads from a reader that outlives it.
KVX_RECORDING_API std::unique_ptr<SignalReader> AsDifferences(std::unique_ptr<SignalReader> reader);
KVX_RECORDING_API std::unique_ptr<SignalReader> AsDifferences(SignalReader& reader);

/// The channels of a run that have one unit: results on them become one record, as they do in an import.
struct RunRecord {
    std::size_t run;
    std::size_t number;  ///< in the source, from 1; in a file with a record per unit where runs have several
    CUnitCtrl unit;
    std::vector<std::size_t> channels;  ///< positions in the run
};
KVX_RECORDING_API std::vector<RunRecord> RecordsOf(std::span<const SignalRun> runs);

}  // namespace kvx
