// SPDX-License-Identifier: MIT
//
// Shock response spectra and pulses of recordings from end to end, as RecordingAnalysis.h has spectra: all
// channels of a run are read together and calculated side by side on the cores. Spectra are calculated as the
// samples come, in constant memory; pulses keep the samples. What cannot be analysed is refused before the
// first sample is read: channels in dB, too.
//
//     const auto reader = kvx::OpenSignal("shock.vdf2");
//     const auto spectra = kvx::ShockSpectraOf(*reader, {.damping = kvx::DampingOfQ(10.0)});
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/ShockPulse.h>
#include <KvxDevCommon01/dsp/ShockSpectrum.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>

namespace kvx {

struct ShockChoice {
    /// Natural frequencies [Hz]: those that are listed, else those `stepHz` apart, else `perOctave` in an
    /// octave; from a thousandth of the highest to rate/2.56 without bounds.
    std::vector<double> frequencies = {};
    std::optional<double> fromHz = std::nullopt;
    std::optional<double> toHz = std::nullopt;
    std::optional<double> stepHz = std::nullopt;
    int perOctave = 12;
    double damping = 0.05;
    ShockResponse response = ShockResponse::kAcceleration;
    std::optional<double> peakError = 0.01;  ///< as ShockSettings has it
    /// The mean of so many seconds at the start, an offset of the sensor, is taken off all samples.
    double baselineSeconds = 0.0;
};

struct ChannelShockSpectrum {
    SignalRun::Channel channel;
    ShockExtremes extremes;  ///< in the standard unit of the responses
};

/// The spectra of the channels of a run that have one unit.
struct RecordShockSpectra {
    std::size_t record;  ///< from 1, as RecordsOf numbers them
    double rateHz;
    CUnitCtrl unit;  ///< that responses are shown in
    std::vector<double> frequencies;
    /// By how much the signal was interpolated at most, and from which frequency on it was at all.
    std::int32_t interpolation;
    std::optional<double> interpolatedFromHz;
    std::vector<ChannelShockSpectrum> channels;
};

/// The spectra of all channels of a reader that nothing was read from. Throws Error as FrequenciesPerOctave,
/// ShockUnit and ShockSpectrum do, for a baseline that is longer than a run, and what the reader throws.
KVX_RECORDING_API std::vector<RecordShockSpectra> ShockSpectraOf(SignalReader& reader,
                                                                 const ShockChoice& choice = {},
                                                                 const ProgressFunction& progress = {});

/// The spectra as records of a data file, over their frequencies: a row for each of the extremes of each
/// channel, with the name of the channel, and behind it that of the extreme where there are several. Throws
/// std::bad_alloc.
KVX_RECORDING_API std::vector<CComDataBase> DataRecords(std::span<const RecordShockSpectra> spectra,
                                                        std::span<const ShockExtreme> extremes);

struct PulseChoice {
    PulseMeasure measure = {};
    double baselineSeconds = 0.0;  ///< as ShockChoice has it
};

struct ChannelPulse {
    SignalRun::Channel channel;
    PulseFigures figures;  ///< in standard units; the velocity has one where the channel is an acceleration
};

/// The highest pulse of each channel of a reader that nothing was read from. Times are those of the axis.
/// Throws Error as MeasurePulse does, naming the channel, for a baseline that is longer than a run, and what
/// the reader throws; std::bad_alloc when memory runs out.
KVX_RECORDING_API std::vector<ChannelPulse> PulsesOf(SignalReader& reader, const PulseChoice& choice = {},
                                                     const ProgressFunction& progress = {});

}  // namespace kvx
