// SPDX-License-Identifier: MIT
//
// What statistics beyond the figures of SignalFigures.h tell of a recording: how its values are distributed,
// and how its rms moves.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/data/Histogram.h>
#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

struct HistogramChoice {
    std::int64_t classes = 100;
    /// The outer edges for all channels, in their units. Without them those of a channel are its extremes; of
    /// one that has a single value v they are v - 0.5 and v + 0.5.
    std::optional<double> low = std::nullopt;
    std::optional<double> high = std::nullopt;
};

/// The histograms of the channels of each run of a reader that nothing was read from, in their units.
/// `figures` are those of MeasureSignal. Throws Error for complex channels and for channels without a finite
/// range, as Histogram does, and what the reader throws.
KVX_RECORDING_API std::vector<std::vector<Histogram>> HistogramsOf(SignalReader& reader,
                                                                   std::span<const RunFigures> figures,
                                                                   const HistogramChoice& choice,
                                                                   const ProgressFunction& progress = {});

/// The run of the moving rms of a run: its results stand where their windows end, to the nearest step.
/// Temperatures become differences, in K. Throws Error for a window that is longer than the run.
KVX_RECORDING_API SignalRun MovingRmsRun(const SignalRun& run, const MovingWindow& window);

}  // namespace kvx
