// SPDX-License-Identifier: MIT
//
// Recordings of any format, block by block in standard units, with their axes, names and units settled,
// however long they are: time waveforms, and where they are asked for all that a file holds.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>

namespace kvx {

/// Channels that were sampled together: sample i of each stands at (offset + i) * delta, or where the file
/// lists it, in the standard unit of the axis.
struct SignalRun {
    struct Channel {
        std::wstring name;
        CUnitCtrl unit;
        std::size_t number = 0;  ///< in the source, from 1
        bool isComplex = false;
    };

    std::size_t record = 1;  ///< in the source, from 1
    double delta = 0.0;
    __int64 offset = 0;
    __int64 samples = 0;  ///< of each channel
    std::vector<Channel> channels;
    CUnitCtrl axisUnit = CUnitCtrl(CUnitCtrl::DIM_TIME);
    bool isListed = false;  ///< whether each sample has a place of its own
    std::wstring title = {};
    std::optional<StartTime> start = std::nullopt;  ///< when the first sample was taken

    /// What a block of it has: places where they are listed, then per channel its samples, the imaginary
    /// parts of complex ones behind the real parts. As many as channels for waveforms.
    KVX_RECORDING_API std::size_t Columns() const;
    /// Whether it is real, over time and evenly spaced.
    KVX_RECORDING_API bool IsWaveform() const;
};

/// What a reader may deliver besides time waveforms with a value in every place.
struct SignalKinds {
    bool anyRun = false;    ///< also spectra, complex lines and samples with a listed place
    bool missing = false;   ///< also no-value markers
    bool isJoined = false;  ///< the records of a data file as one run, which must have one axis
};

/// One object belongs to one thread at a time.
class KVX_RECORDING_API SignalReader {
public:
    virtual ~SignalReader() = default;
    SignalReader(const SignalReader&) = delete;
    SignalReader& operator=(const SignalReader&) = delete;

    const std::vector<SignalRun>& Runs() const { return runs_; }
    /// The free text of the file; the name of one that has none.
    const std::wstring& Text() const { return text_; }
    /// Sentences on what was assumed of the file.
    const std::vector<std::string>& Remarks() const { return remarks_; }
    /// What the file tells about itself.
    const std::vector<RecordingInfo::Property>& Properties() const { return properties_; }
    /// Delivers the next samples of a run, at most `room`, to a target per column, in the standard units, and
    /// returns how many; 0 at the end. Runs are read one after the other. Throws Error, also for a sample
    /// that holds no value unless missing ones were asked for.
    virtual std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) = 0;
    /// Passes over the next samples of a run, `count` or as many as there are; those of a data file are not
    /// read. Throws Error.
    virtual void Skip(std::size_t run, __int64 count);

protected:
    SignalReader() = default;

    std::vector<SignalRun> runs_;
    std::wstring text_;
    std::vector<std::string> remarks_;
    std::vector<RecordingInfo::Property> properties_;
};

/// Throws Error when something is stated, as it cannot be of a data file.
KVX_RECORDING_API void RequireNothingStated(const RecordingStatements& stated);

/// Opens a file of any format, whatever its name. Channels are chosen as ChooseChannels does, through all
/// runs or records; all chosen ones must be what `kinds` allows. Of data files nothing can be stated. Throws
/// StatementError or Error.
KVX_RECORDING_API std::unique_ptr<SignalReader> OpenSignal(const std::string& path,
                                                           const ChannelChoice& choice = {},
                                                           const RecordingStatements& statements = {},
                                                           const ProgressFunction& progress = {},
                                                           const SignalKinds& kinds = {});

/// The runs of a recording that is open: its chosen channels with the names, units and rate that were stated,
/// else with its own. Its text is the source that was stated. Throws StatementError or Error.
KVX_RECORDING_API std::unique_ptr<SignalReader> SettleSignal(std::unique_ptr<RecordingReader> recording,
                                                             const ChannelChoice& choice = {},
                                                             const RecordingStatements& statements = {},
                                                             const SignalKinds& kinds = {});

}  // namespace kvx
