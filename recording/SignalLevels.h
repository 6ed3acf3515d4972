// SPDX-License-Identifier: MIT
//
// Levels of recordings: in octave bands and fractions of them, over the whole signal or as they run in time,
// and as a sound or vibration level meter tells them. Channels are measured side by side, block by block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/LevelMeter.h>
#include <KvxDevCommon01/dsp/LevelReference.h>
#include <KvxDevCommon01/dsp/OctaveFilters.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {

/// A reference that was stated: "1 g", "50 nm/s"; how sentences call it.
struct StatedReference {
    double value = 1.0;
    EntryUnit unit;
    std::string text;
    std::string name = "the reference";
};
/// The stated reference for a channel, else the customary one of its unit. Throws Error (kBadValue) for one
/// whose unit does not convert to the channel's, and unless it is above 0 and finite.
KVX_RECORDING_API LevelReference ReferenceFor(const SignalRun::Channel& channel,
                                              const std::optional<StatedReference>& stated);

struct BandsChoice {
    std::int32_t fraction = 3;  ///< bands per octave
    /// From the band of this frequency on; without it, from the one of 1 Hz or of ten periods of the run.
    std::optional<double> fromHz = std::nullopt;
    std::optional<double> toHz = std::nullopt;  ///< up to that of this one; without it all that there are
    FrequencyWeighting weighting = FrequencyWeighting::kZ;
};

/// The bands of a run. Throws Error (kBadValue) for one that does not end below 0.47 of its rate and when
/// none is left.
KVX_RECORDING_API std::vector<OctaveBand> BandsFor(const SignalRun& run, const BandsChoice& choice);

/// Of a channel, in the square of the standard unit.
struct ChannelBands {
    SignalRun::Channel channel;
    double total = 0.0;                    ///< the weighted mean square of the whole signal
    std::vector<double> meanSquares = {};  ///< of each band
};

struct RunBands {
    std::size_t record = 1;
    double rateHz = 0.0;
    std::int64_t samples = 0;
    std::vector<OctaveBand> bands = {};
    std::vector<ChannelBands> channels = {};
};

/// The mean squares in bands of all channels; temperatures are differences, in K. Throws Error for channels
/// in dB, what BandsFor throws, and what the reader throws.
KVX_RECORDING_API std::vector<RunBands> BandsOf(SignalReader& reader, const BandsChoice& choice,
                                                const ProgressFunction& progress = {});

/// The unit of levels in decibels: the standard value is the rms over the reference.
KVX_RECORDING_API CUnitCtrl LevelUnit();

/// The rms of the bands as records over frequency, at the exact mid-band frequencies: one per unit, or, with
/// `areLevels`, one in dB per run, each channel over its reference.
KVX_RECORDING_API std::vector<CComDataBase> DataRecords(
    std::span<const RunBands> runs, bool areLevels,
    const std::optional<StatedReference>& stated = std::nullopt);

struct ChannelLevels {
    SignalRun::Channel channel;
    LevelFigures figures;
    /// Of the percentages of LevelsOf: mean squares exceeded in so much of the time.
    std::vector<std::optional<double>> exceeded = {};
};

struct RunLevels {
    std::size_t record = 1;
    double rateHz = 0.0;
    std::vector<ChannelLevels> channels = {};
};

/// The levels of all channels, in squares of standard units. Throws Error for channels in dB, for a
/// percentage outside 0 to 100, and what the reader throws.
KVX_RECORDING_API std::vector<RunLevels> LevelsOf(SignalReader& reader, const LevelChoice& choice,
                                                  std::span<const double> percentages,
                                                  const ProgressFunction& progress = {});

/// What runs along with time: the time-weighted rms, of whole channels or of bands.
struct CourseChoice {
    TimeWeighting time = TimeWeighting::kFast;
    double stepSeconds = 0.125;
    std::optional<BandsChoice> bands = std::nullopt;
    FrequencyWeighting weighting = FrequencyWeighting::kZ;  ///< of whole channels
    bool areLevels = true;                                  ///< in dB
    std::optional<StatedReference> reference = std::nullopt;
};

/// Runs with the time-weighted rms of another reader's channels, or of each band of them ("mic 31.5 Hz"),
/// once every step; a value stands at the end of its step, to the nearest step from 0 s. Throws Error as
/// BandsOf and LevelsOf do, and for steps below one sample or longer than a run.
KVX_RECORDING_API std::unique_ptr<SignalReader> LevelCourses(std::unique_ptr<SignalReader> reader,
                                                             const CourseChoice& choice);

}  // namespace kvx
