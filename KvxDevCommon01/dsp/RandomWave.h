// SPDX-License-Identifier: MIT
//
// Stationary random signals of a given power spectral density, reproducible from a seed.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/platform/Types.h>

#include <cstdint>
#include <span>

namespace kvx {

/// How a random signal is made.
struct RandomWaveSettings {
    /// Sampling rate [Hz]. What the profile holds above half of it is left out.
    double rateHz = 0.0;
    /// Rms that the signal is scaled to in the end; 0 leaves it as it comes, with that of the profile on
    /// average.
    double targetRms = 0.0;
    /// Samples of the frames the signal is put together from, a power of two from 16 to 131072; 0 chooses one
    /// whose lines are at least eight times closer than the lowest frequency of the profile, within
    /// 1024..131072.
    __int64 frameSize = 0;
};

/// Fills `wave` with Gaussian noise of the density of `profile`. Frames of
/// lines with the amplitudes of the profile (PsdProfile::GetLines) and random phases
/// (CMatSpec::GenRandomPhaseSpec) are laid over each other by half, under a sine window: the squares of its
/// two halves add to 1, so that the variance and the density are the same everywhere, the ends included.
/// `seed` is advanced by at least one random number per line and frame; the same seed gives the same signal.
/// Fails (0), leaving the wave as it is, for a null seed, an empty wave, settings outside the ranges above,
/// a profile without power below half the rate, or when memory runs out.
KVX_API int GenerateRandomWave(std::span<double> wave, const PsdProfile& profile,
                               const RandomWaveSettings& settings, std::uint32_t* seed);

}  // namespace kvx
