// SPDX-License-Identifier: MIT
//
// Averaged spectra of sampled signals: the signal is cut into overlapping blocks, each block is windowed and
// transformed, and the powers of the lines are averaged (Welch's method). The signal may come in calls of any
// length: the result has the same bits however it was cut. Only full blocks count. Averaging.h has what may
// be chosen; without a choice the average is linear and nothing is taken out of the blocks. Of a transform of
// N points, line k = 0..N/2-1 stands at k rate/N; the line N/2 is kept on request.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/Averaging.h>

namespace kvx {

/// The average over blocks of the power of one channel. Nothing is allocated between calls. An object that
/// was moved from can only be assigned to or destroyed.
class KVX_API AveragedSpectrum {
public:
    /// Blocks of as many samples as the window has, of which neighbours share `overlap`. Throws Error
    /// (kBadValue) for a window whose count is no block size (RequireBlockSize), nor goes into that of the
    /// transform, or whose sum is 0 or not finite, for a weight out of its range, and unless 0 <= overlap <
    /// count.
    AveragedSpectrum(std::span<const double> window, std::int64_t overlap, const Averaging& averaging = {});
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

    /// Samples of a block.
    std::int64_t BlockSize() const;
    /// Points N of its transform.
    std::int64_t TransformSize() const;
    /// Of the results: N/2, or one more with the line N/2.
    std::size_t Lines() const;
    /// That of the window, in lines; see Windows.h.
    double NoiseBandwidth() const;

    /// Those of each line but the ones at 0 Hz and N/2, which have half as many; see Averaging.h. No value
    /// for peak-hold and minimum averages, and without blocks. An exponential average counts as one of a
    /// single signal.
    std::optional<double> DegreesOfFreedom() const;

    /// One-sided power spectral density in unit^2/Hz of a signal sampled at `rateHz`: |X|^2/(rateHz sum w^2),
    /// doubled on all lines but those at 0 Hz and N/2. Throws Error (kBadValue) for a rate that is not above
    /// 0 and without blocks.
    std::vector<double> Psd(double rateHz) const;

    /// Peak amplitudes, the root of the averaged power over the window's mean: a sine of amplitude A on a
    /// line reads A, a constant c reads |c| on the line at 0 Hz. Throws Error (kBadValue) without blocks.
    std::vector<double> Amplitude() const;

    /// The mean square of the sine on each line: half the square of its amplitude, at 0 Hz and N/2 all of it.
    /// Throws Error (kBadValue) without blocks.
    std::vector<double> Power() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

/// Spectrum of one block, of as many samples as the window has, in complex peak amplitudes over the window's
/// mean; of `averaging` the detrending, the transform's size and the line N/2 count. Throws Error (kBadValue)
/// for other counts and windows that AveragedSpectrum does not take.
KVX_API std::vector<std::complex<double>> BlockSpectrum(std::span<const double> block,
                                                        std::span<const double> window,
                                                        const Averaging& averaging = {});

}  // namespace kvx
