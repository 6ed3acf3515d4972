// SPDX-License-Identifier: MIT
//
// A recording as a file of another format than the suite's holds it, before its axis and its units are
// settled: what the file says of it, and its samples block by block, however long it is.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/StartTime.h>

namespace kvx {

/// What an axis needs to know of a time column, in seconds.
struct TimeStamps {
    struct Stray {
        __int64 index;
        double stamp;
    };
    /// Where neighbours stand two steps apart, or on one place, as far as the resolution lets them.
    struct Gaps {
        __int64 count = 0;
        __int64 first = 0;  ///< index of the sample behind the first one
        int steps = 0;      ///< of the first one
    };

    __int64 count = 0;
    double first = 0.0;
    double last = 0.0;
    double resolution = 0.0;     ///< what the last decimal stands for
    std::optional<Stray> stray;  ///< the first stamp that stands where it should not
    Gaps gaps = {};

    /// Mean distance of stamps, of which there must be two.
    double Step() const { return (last - first) / static_cast<double>(count - 1); }
    /// Where even spacing would put a stamp.
    double Expected(__int64 index) const { return first + static_cast<double>(index) * Step(); }
    /// Whether stamps rise and none strays by more than the resolution and 1 % of a step.
    bool IsEven() const { return count >= 2 && Step() > 0.0 && !stray; }
};

/// Finds the first stray and the gaps of stamps whose number, ends and resolution are known, as they pass in
/// their order.
class KVX_RECORDING_API StrayFinder {
public:
    explicit StrayFinder(TimeStamps* stamps);
    void Add(std::span<const double> stamps);

private:
    void AddGap(double steps);

    TimeStamps* stamps_;
    double step_ = 0.0;
    double tolerance_ = 0.0;
    double previous_ = 0.0;
    bool areGapsSeen_ = false;
    __int64 index_ = 0;
};

/// Where the samples of a run stand, as far as the file says it. Numbers are those of the standard unit.
struct RecordedAxis {
    CUnitCtrl unit = CUnitCtrl(CUnitCtrl::DIM_TIME);
    double delta = 0.0;                ///< distance of samples; 0 where the file does not state it
    double first = 0.0;                ///< place of the first sample
    bool isListed = false;             ///< whether each sample has a place of its own, which Read delivers
    std::optional<TimeStamps> stamps;  ///< of the time column of a text, when there is one
    std::string rateHint;              ///< what else the file says of its rate, for a sentence; may be empty
    std::string unevenHint = {};       ///< what else can be done about uneven stamps, for a sentence
    /// What the file states in the place of a unit that places can be converted from; they are plain numbers,
    /// and `unit` is none.
    std::wstring unknownUnit = {};
};

struct RecordingInfo {
    struct Channel {
        std::wstring name = {};                        ///< empty where the file gives none
        std::optional<CUnitCtrl> unit = std::nullopt;  ///< where the file states one that is known
        std::wstring unknownUnit = {};                 ///< what the file states instead
        bool isComplex = false;
        double scale = 1.0;               ///< what a value is multiplied by to be one of `unit`
        std::wstring convertedUnit = {};  ///< that of the file, where the scale leads from it to `unit`
        std::string unitRemark = {};      ///< on what was assumed of the unit, as long as none is stated
    };
    /// Channels that were sampled together.
    struct Run {
        std::wstring title = {};  ///< may be empty
        RecordedAxis axis = {};
        std::vector<Channel> channels = {};
        __int64 samples = 0;                            ///< of each channel, 1 or more
        std::optional<StartTime> start = std::nullopt;  ///< when the first sample was taken
    };
    /// A fact that the file tells about itself.
    struct Property {
        std::string name;
        std::string text;
    };
    std::vector<Run> runs;             ///< one or more
    bool hasFullScale = false;         ///< whether samples are parts of a full scale, read as 1.0
    std::vector<std::string> remarks;  ///< sentences on what was assumed of the file
    std::vector<Property> properties;  ///< other than those that have a member of their own
    std::wstring text = {};            ///< the free text of the file; may be empty
};

class KVX_RECORDING_API RecordingReader {
public:
    virtual ~RecordingReader() = default;
    RecordingReader(const RecordingReader&) = delete;
    RecordingReader& operator=(const RecordingReader&) = delete;

    const RecordingInfo& Info() const { return info_; }
    /// Delivers the next samples of a run, at most `room` of each channel, in the unit of the channel, and
    /// returns how many; 0 at the end. Runs are read one after the other. Targets are, in this order: one for
    /// places on a listed axis; one per channel, two (real, imaginary) for a complex one. Null ones are not
    /// wanted. Throws Error.
    virtual std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) = 0;
    /// Passes over the next samples of a run, `count` or as many as there are. Throws Error.
    virtual void Skip(std::size_t run, __int64 count);
    /// What is wrong with a sample of those that Read delivered last (both 0-based), told with its place in
    /// the file: "line 7, column 2: the value overflows". Of a text without one for a sample that was not.
    virtual Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                          const std::string& sentence) const = 0;
    /// Whether all numbers that Read delivered last are known to be finite and none is missing; it need not
    /// be known.
    bool AreKnownValues() const { return areKnownValues_; }

protected:
    RecordingReader() = default;

    RecordingInfo info_;
    bool areKnownValues_ = false;  ///< what a reader that looks at them anyway says of them
};

/// Throws Error unless `run` is one of so many runs, counted from 0.
KVX_RECORDING_API void RequireRun(std::size_t run, std::size_t runs);

/// The targets of Read that a run has.
KVX_RECORDING_API std::size_t CountColumns(const RecordingInfo::Run& run);

/// Where the samples stand: sample i at (offset + i) * delta.
struct EvenAxis {
    double delta = 0.0;
    __int64 offset = 0;
    std::vector<std::string> remarks = {};  ///< sentences on what was assumed
};

/// The axis of a run, not a listed one, by the given rate (Hz), else by the file's spacing, else by the first
/// and last time stamp. Throws Error when there is no spacing, or one that cannot be stored, or the stamps
/// are uneven, or a rate is given of what is not over time. Sentences name the given rate `rateName`.
KVX_RECORDING_API EvenAxis SettleAxis(const RecordedAxis& recorded, std::optional<double> rateHz,
                                      const std::string& rateName);

}  // namespace kvx
