// SPDX-License-Identifier: MIT
//
// Averaged spectra of sampled signals: the signal is cut into overlapping blocks, each block is windowed and
// transformed, and the powers of the lines are averaged (Welch's method). The signal may come in calls of any
// length: the result has the same bits however it was cut. Only full blocks count and no mean or trend is
// removed. Of a block of N samples, line k = 0..N/2-1 stands at k rate/N.
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// The average over blocks of the power of one channel. Nothing is allocated between calls. An object that
/// was moved from can only be assigned to or destroyed.
class KVX_API AveragedSpectrum {
public:
    /// Blocks of as many samples as the window has, of which neighbours share `overlap`. Throws Error
    /// (kBadValue) for a window whose count is no block size (RequireBlockSize) or whose sum is 0 or not
    /// finite, and unless 0 <= overlap < count.
    AveragedSpectrum(std::span<const double> window, std::int64_t overlap);
    ~AveragedSpectrum();
    AveragedSpectrum(AveragedSpectrum&& other) noexcept;
    AveragedSpectrum& operator=(AveragedSpectrum&& other) noexcept;

    /// Takes the next samples of the signal and averages the blocks that they complete, which are read in
    /// place where they lie within this call.
    void Add(std::span<const double> samples);

    /// Ends the signal: the samples to come belong to another one, as the shots of a test do, and no block
    /// spans the two. The average goes on.
    void NextSignal();

    /// Blocks averaged so far.
    std::int64_t Blocks() const;

    std::int64_t BlockSize() const;
    /// That of the window, in lines; see Windows.h.
    double NoiseBandwidth() const;

    /// One-sided power spectral density in unit^2/Hz of a signal sampled at `rateHz`: |X|^2/(rateHz sum w^2),
    /// doubled on all lines but that at 0 Hz. Throws Error (kBadValue) for a rate that is not above 0 and
    /// without blocks.
    std::vector<double> Psd(double rateHz) const;

    /// Peak amplitudes, the root of the averaged power over the window's mean: a sine of amplitude A on a
    /// line reads A, a constant c reads |c| on the line at 0 Hz. Throws Error (kBadValue) without blocks.
    std::vector<double> Amplitude() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

/// Spectrum of one block, of as many samples as the window has, in complex peak amplitudes over the window's
/// mean. Throws Error (kBadValue) for other counts and windows that AveragedSpectrum does not take.
KVX_API std::vector<std::complex<double>> BlockSpectrum(std::span<const double> block,
                                                        std::span<const double> window);

}  // namespace kvx
