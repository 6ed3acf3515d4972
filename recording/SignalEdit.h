// SPDX-License-Identifier: MIT
//
// A recording with other names, units, text or levels, changed as it is read.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

/// What becomes of a channel. Its numbers, in the unit in which it is shown, are first taken for numbers of
/// another unit, then multiplied, then shifted; last they are converted.
struct ChannelEdit {
    std::optional<std::wstring> name = std::nullopt;
    std::optional<CUnitCtrl> unit = std::nullopt;  ///< that its numbers are in, whatever the file says
    double scale = 1.0;
    double offset = 0.0;                              ///< in its unit; of real samples only
    std::optional<CUnitCtrl> shownIn = std::nullopt;  ///< unit to convert to: its values stay what they are
};

struct SignalEdit {
    std::vector<ChannelEdit> channels = {};  ///< one per channel through all runs, or none
    std::optional<std::wstring> text = std::nullopt;
};

/// The channels of all runs, in their order.
KVX_RECORDING_API std::vector<SignalRun::Channel> ChannelsOf(const SignalReader& reader);

/// A reader with these changes; samples of channels that keep their levels keep their bits, and missing ones
/// stay missing. Throws Error for another number of edits than channels, a unit that values do not convert
/// to, and a shift of complex samples; while reading for a result that leaves the range of numbers.
KVX_RECORDING_API std::unique_ptr<SignalReader> EditSignal(std::unique_ptr<SignalReader> reader,
                                                           const SignalEdit& edit);

}  // namespace kvx
