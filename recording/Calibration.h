// SPDX-License-Identifier: MIT
//
// What a calibrator's tone in a recording tells of the sensors and the recorder.
//
//     const auto reader = kvx::OpenSignal("calibrator.wav");
//     const auto channels = kvx::CalibrationsOf(*reader, {.level = 1.0, .unit = kvx::NamedUnit("g")});
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <KvxDevCommon01/dsp/SineFit.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Sensitivity.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

struct CalibrationChoice {
    double level = 1.0;  ///< of the tone, above 0
    EntryUnit unit = {};
    bool isPeak = false;  ///< whether the level is the amplitude, not the rms
    std::optional<double> frequencyHz =
        std::nullopt;  ///< where it is known; else the strongest tone is taken
};

struct ChannelCalibration {
    SignalRun::Channel channel;
    SineFit tone;  ///< in the unit of the channel
    /// Of an electrical signal, and of plain numbers taken as volts.
    std::optional<Sensitivity> sensitivity = std::nullopt;
    /// Of a signal in the unit of the level: by what it is too large.
    std::optional<double> gain = std::nullopt;
    bool isClean = true;  ///< whether the rest is below a tenth of the tone
};

/// Fits a sine to the first samples of each channel of a reader that nothing was read from: 1048576 at most,
/// of more than 16 channels 16777216 of all together. Throws Error for a level that is not above 0 or a
/// ratio, a channel whose unit is neither electrical nor that of the level, and as FitSine.
KVX_RECORDING_API std::vector<ChannelCalibration> CalibrationsOf(SignalReader& reader,
                                                                 const CalibrationChoice& choice,
                                                                 const ProgressFunction& progress = {});

}  // namespace kvx
