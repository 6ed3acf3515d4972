// SPDX-License-Identifier: MIT
//
// Sound files being written, block by block: WAV and its relatives. A WAV file that is too long for the sizes
// of its header becomes an RF64 file.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/StartTime.h>

namespace kvx {

/// How the samples of a sound file are held.
enum class WavSamples { pcm16, pcm24, pcm32, floating, doubleFloating };

/// The kinds and how a person calls them.
struct NamedWavSamples {
    std::string_view name;
    WavSamples samples;
};
inline constexpr std::array kWavSamples = {
    NamedWavSamples{"float", WavSamples::floating}, NamedWavSamples{"double", WavSamples::doubleFloating},
    NamedWavSamples{"pcm16", WavSamples::pcm16},    NamedWavSamples{"pcm24", WavSamples::pcm24},
    NamedWavSamples{"pcm32", WavSamples::pcm32},
};

constexpr bool IsInteger(WavSamples samples) {
    return samples != WavSamples::floating && samples != WavSamples::doubleFloating;
}

struct WavOptions {
    WavSamples samples = WavSamples::floating;
    double fullScale = 1.0;  ///< the value that becomes full scale, above 0, in the unit of its channel
};

/// The rate of samples `delta` seconds apart as the header of a sound file holds it: whole, to the accuracy
/// of a sampling clock. Throws Error, whose sentence names the format.
KVX_RECORDING_API int WavRate(double delta, std::string_view format = "a WAV file");

/// Turns a channel's samples of the standard unit, block by block, into what a WAV file holds.
class KVX_RECORDING_API WavScale {
public:
    /// Sentences name the full scale `fullScaleName`.
    WavScale(std::wstring name, const CUnitCtrl& unit, const WavOptions& options, std::string fullScaleName);
    void Apply(std::span<double> samples);
    /// Throws Error when the integers or floats could not hold the samples so far.
    void RequireUnclipped() const;

private:
    std::wstring name_;
    CUnitCtrl unit_;
    WavOptions options_;
    std::string fullScaleName_;
    double peak_ = 0.0;
};

/// What a sound file tells about itself.
struct WavTexts {
    std::wstring comment = {};
    std::wstring title = {};
    std::optional<StartTime> start = std::nullopt;
    std::vector<RecordingInfo::Property> facts = {};
};

/// Writes a sound file through a temporary neighbour. Operations throw Error.
class KVX_RECORDING_API WavWriter {
public:
    /// Begins a file of `frames` samples in each channel, in one of the formats of sound, with a comment
    /// where the format has one.
    WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz, WavSamples samples,
              Format format = Format::wav, std::wstring_view comment = {});
    /// The same with what is told about the recording, as far as the format has a place for it.
    WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz, WavSamples samples,
              Format format, const WavTexts& texts);
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    /// Appends `count` samples of each channel, within [-1, 1] (integer samples) or any (floating).
    void Write(std::span<const double* const> channels, std::size_t count);
    void Commit();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kvx
