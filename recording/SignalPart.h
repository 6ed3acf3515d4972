// SPDX-License-Identifier: MIT
//
// A part of a recording: along its axis, from one time or one frequency to another, or some of its channels.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

/// The samples from one place on and before another, both in the standard unit of the axis: seconds, hertz.
/// So parts that follow one another have no sample in common.
struct AxisPart {
    std::optional<double> start = std::nullopt;
    std::optional<double> end = std::nullopt;
    std::string startName = "start";  ///< how sentences name them
    std::string endName = "end";

    bool IsAll() const { return !start && !end; }
};

/// Opens a recording, each time anew from its start.
using OpenReader = std::function<std::unique_ptr<SignalReader>()>;

/// A reader of that part of every run; what lies before it is skipped. Runs that have nothing there are left
/// out, with a remark. Where places are listed, which may be in any order, they are passed over once before,
/// and the recording is opened a second time. Throws StatementError for an end that is not above the start,
/// Error when nothing is left, and what `open` and its reader throw.
KVX_RECORDING_API std::unique_ptr<SignalReader> OpenPart(const OpenReader& open, const AxisPart& part,
                                                         const ProgressFunction& progress = {});

/// A reader of the channels that `channels` names, as ChooseChannels does through all runs, in that order in
/// each run. Channels keep their numbers; runs of which none is chosen are left out. Throws Error for no
/// reader, and as ChooseChannels.
KVX_RECORDING_API std::unique_ptr<SignalReader> PickChannels(std::unique_ptr<SignalReader> reader,
                                                             std::string_view channels);

}  // namespace kvx
