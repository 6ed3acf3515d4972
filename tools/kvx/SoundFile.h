// SPDX-License-Identifier: MIT
//
// Sound files: WAV and whatever else the sound library reads, and WAV for writing.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Progress.h"
#include "Recording.h"

namespace kvx::tool {

/// How the samples of a WAV file are held.
enum class WavSamples { pcm16, pcm24, floating, doubleFloating };

/// Reads a sound file, its full scale as 1.0; no value when the file at `path` (UTF-8) is none. Throws Reason
/// when it is one that cannot be read.
std::optional<Recording> ReadSoundFile(const std::string& path, Progress& progress);

/// Writes equally long channels with values within [-1, 1] (integer samples) or any (floating) through a
/// temporary neighbour. Throws Reason or CFileException.
void WriteWavFile(const std::string& path, std::span<const std::vector<double>> channels, int rateHz,
                  WavSamples samples, Progress& progress);

}  // namespace kvx::tool
