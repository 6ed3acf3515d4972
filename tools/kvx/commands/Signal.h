// SPDX-License-Identifier: MIT
//
// Time waveforms from a data file, a text table or a sound file, block by block in standard units, with their
// axes, names and units settled.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include "cli/Command.h"
#include "cli/Progress.h"
#include "commands/DataFiles.h"

namespace kvx::tool {

/// Channels that were sampled together: sample i of each stands at (offset + i) * delta seconds.
struct SignalRun {
    struct Channel {
        std::wstring name;
        CUnitCtrl unit;
        std::size_t number = 0;  ///< in the source, from 1
    };

    std::size_t record = 1;  ///< in the source, from 1
    double delta = 0.0;
    __int64 offset = 0;
    __int64 samples = 0;  ///< of each channel
    std::vector<Channel> channels;
};

class SignalReader {
public:
    virtual ~SignalReader() = default;
    SignalReader(const SignalReader&) = delete;
    SignalReader& operator=(const SignalReader&) = delete;

    const std::vector<SignalRun>& Runs() const { return runs_; }
    /// The free text of a data file; the name of another file.
    const std::wstring& Text() const { return text_; }
    /// Delivers the next samples of a run, at most `room`, to a target per channel, in the standard units,
    /// and returns how many; 0 at the end. Runs are read one after the other. Throws Error, also for a
    /// sample that holds no value.
    virtual std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) = 0;

protected:
    SignalReader() = default;

    std::vector<SignalRun> runs_;
    std::wstring text_;
};

/// What a person states of a text table or sound file.
struct RecordingOptions {
    std::string rateName = "--rate";  ///< option of the rate
    std::optional<double> rateHz;
    std::string units;
    std::string names;
    std::optional<double> fullScale;
    std::string time = "auto";
    std::string decimal = "auto";
    std::string encoding = "auto";
    bool isPartial = false;  ///< whether a sound file that is cut short is taken as far as it goes
};

void AddRecordingOptions(Command& command, RecordingOptions* options);

/// Opens a text table or a sound file. `channels` chooses as ChooseChannels does; a full scale may be stated
/// for a text only when a sound file is to be written (`isForSound`). Remarks go to standard error. Throws
/// Error or ValueError.
std::unique_ptr<SignalReader> OpenRecording(const std::string& path, const std::string& channels,
                                            const RecordingOptions& options, bool isForSound,
                                            Progress& progress);

/// Opens a data file, in which all chosen channels must be waveforms, or else as OpenRecording. Of a data
/// file nothing may be stated but, when a sound file is to be written, the full scale.
std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const ChannelOptions& channels,
                                         const RecordingOptions& options, bool isForSound,
                                         Progress& progress);

}  // namespace kvx::tool
