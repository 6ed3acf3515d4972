// SPDX-License-Identifier: MIT
//
// A recording as a text table or a sound file holds it, before its axis and its units are settled.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx::tool {

struct Recording {
    struct Channel {
        std::wstring name;              ///< empty where the file gives none
        std::optional<CUnitCtrl> unit;  ///< where the file states one that is known
        std::string unknownUnit;        ///< what the file states instead
        std::vector<double> values;     ///< in that unit; equally many in every channel
    };
    std::vector<Channel> channels;
    double rateHz = 0.0;  ///< as the file states it; 0 where it does not
    std::vector<double>
        times;  ///< the time column in seconds, one stamp per sample; empty where there is none
    double timeResolution = 0.0;     ///< what the last decimal of the time column stands for, in seconds
    std::string rateHint;            ///< what else the file says of its rate, for a sentence; may be empty
    std::vector<std::string> notes;  ///< sentences about what was left out or assumed
};

/// Where the samples stand: sample i at (offset + i) / rateHz seconds.
struct TimeAxis {
    double rateHz = 0.0;
    __int64 offset = 0;
};

/// Whether stamps rise and follow their first and last one within the resolution or 1 % of a step.
bool IsEven(const std::vector<double>& times, double resolution);

/// The axis by the given rate (Hz), else by the file's rate, else by the first and last time stamp. Appends
/// to the recording's notes; throws Reason when there is no rate or the stamps are uneven.
TimeAxis SettleAxis(Recording& recording, std::optional<double> rateHz);

}  // namespace kvx::tool
