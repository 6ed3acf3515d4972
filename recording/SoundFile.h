// SPDX-License-Identifier: MIT
//
// Sound files, block by block: the formats of FileContent.h for reading, and WAV for writing.
#pragma once

#include <memory>
#include <span>
#include <string>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Opens the sound file of this format at `path` (UTF-8), a regular file. Full scale reads as 1.0. A file
/// that holds fewer samples than its header states is read as far as it goes when `isPartial`, with a remark.
/// Throws Error for that file otherwise, and for one that cannot be read.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenSoundFile(const std::string& path, SoundFormat format,
                                                                 bool isPartial);

/// How the samples of a WAV file are held.
enum class WavSamples { pcm16, pcm24, floating, doubleFloating };

constexpr bool IsInteger(WavSamples samples) {
    return samples == WavSamples::pcm16 || samples == WavSamples::pcm24;
}

/// Writes a WAV file through a temporary neighbour. Operations throw Error or CFileException.
class KVX_RECORDING_API WavWriter {
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

}  // namespace kvx
