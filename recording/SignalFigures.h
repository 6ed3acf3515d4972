// SPDX-License-Identifier: MIT
//
// What the runs of a recording hold, for a person: the places of their ends, and mean, rms and extremes of
// every channel, in one pass, channels side by side.
#pragma once

#include <vector>

#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

struct RunFigures {
    double first = 0.0;  ///< where the first sample stands, in the standard unit of the axis
    double last = 0.0;
    std::vector<SampleFigures> channels = {};  ///< in their units; of complex ones those of the magnitudes
};

/// Measures all runs of a reader that nothing was read from. Throws what the reader throws.
KVX_RECORDING_API std::vector<RunFigures> MeasureSignal(SignalReader& reader,
                                                        const ProgressFunction& progress = {});

}  // namespace kvx
