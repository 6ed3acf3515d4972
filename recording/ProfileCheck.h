// SPDX-License-Identifier: MIT
//
// Whether the channels of a recording have the density that a profile asks for: recordings of time waveforms,
// which are averaged, and such that hold densities.
#pragma once

#include <cstdint>
#include <vector>

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/ProfileText.h>
#include <KvxRecording01/RecordingAnalysis.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

/// Levels are in the unit of the profile or, where it states none, in that of the channel.
struct ChannelComparison {
    SignalRun::Channel channel;
    CUnitCtrl signal;     ///< unit of the rms; none where neither profile nor channel tells it
    CUnitCtrl density;    ///< unit of the levels
    double spacingHz;     ///< of the lines
    std::int64_t blocks;  ///< averaged; 0 where the recording holds densities
    ProfileComparison result;
};

/// Compares every channel of a reader that nothing was read from, and that was opened for runs of any kind.
/// Throws Error for a channel whose density does not convert to the profile's unit, for runs over frequency
/// that are no densities on an even axis, and what SpectraOf and CompareWithProfile throw.
KVX_RECORDING_API std::vector<ChannelComparison> CompareRecording(SignalReader& reader,
                                                                  const ProfileText& profile,
                                                                  const BlockPlan& blocks,
                                                                  const ComparisonChoice& choice = {},
                                                                  const ProgressFunction& progress = {});

}  // namespace kvx
