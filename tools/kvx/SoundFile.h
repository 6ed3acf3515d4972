// SPDX-License-Identifier: MIT
//
// Sound files, block by block: WAV and whatever else the sound library reads, and WAV for writing.
#pragma once

#include <memory>
#include <span>
#include <string>

#include <KvxDevCommon01/platform/Types.h>

#include "Recording.h"

namespace kvx::tool {

/// Opens a sound file, whose full scale reads as 1.0; null when the regular file at `path` (UTF-8) is none.
/// Throws Reason when it is one that cannot be read.
std::unique_ptr<RecordingReader> OpenSoundFile(const std::string& path);

/// How the samples of a WAV file are held.
enum class WavSamples { pcm16, pcm24, floating, doubleFloating };

constexpr bool IsInteger(WavSamples samples) {
    return samples == WavSamples::pcm16 || samples == WavSamples::pcm24;
}

/// Writes a WAV file through a temporary neighbour. Operations throw Reason or CFileException.
class WavWriter {
public:
    /// Begins a file of `frames` samples in each channel.
    WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz, WavSamples samples);
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

}  // namespace kvx::tool
