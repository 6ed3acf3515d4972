// SPDX-License-Identifier: MIT
//
// Stationary random signals of a given power spectral density, reproducible from a seed.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// How a random signal is made.
struct RandomWaveSettings {
    /// Sampling rate [Hz]. What the profile holds above half of it is left out.
    double rateHz = 0.0;
    /// Rms that the signal is scaled to in the end, above 0; without it the signal stays as it comes, with
    /// that of the profile on average.
    std::optional<double> targetRms = std::nullopt;
    /// Samples of the frames the signal is put together from, a power of two from 16 to 131072; 0 chooses one
    /// whose lines are at least eight times closer than the lowest frequency of the profile, within
    /// 1024..131072.
    __int64 frameSize = 0;
    /// Start of the random numbers; the same seed gives the same signal.
    std::uint32_t seed = 1;
};

/// Figures of a signal that was made.
struct RandomWaveFigures {
    double rms;
    double peak;             ///< largest magnitude of a sample
    std::uint32_t nextSeed;  ///< goes on where this signal ends: at least a number per line and frame further
};

/// Fills `wave` with Gaussian noise of the density of `profile`. Frames of
/// lines with the amplitudes of the profile (PsdProfile::Lines) and random phases
/// (CMatSpec::GenRandomPhaseSpec) are laid over each other by half, under a sine window: the squares of its
/// two halves add to 1, so that the variance and the density are the same everywhere, the ends included.
/// Throws Error (kBadValue), leaving the wave as it is, for an empty wave, settings outside the ranges above,
/// a profile without power below half the rate, and when squares of samples leave the range of numbers.
KVX_API RandomWaveFigures GenerateRandomWave(std::span<double> wave, const PsdProfile& profile,
                                             const RandomWaveSettings& settings);

/// The least power of two in hertz that leaves room above the profile for an anti-aliasing filter's slope: at
/// least 2.56 times its highest frequency. Throws Error (kBadValue) for a profile without points.
KVX_API double RandomWaveRate(const PsdProfile& profile);

}  // namespace kvx
