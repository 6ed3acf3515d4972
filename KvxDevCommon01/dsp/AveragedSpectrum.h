// SPDX-License-Identifier: MIT
//
// Averaged spectra of sampled signals: the signal is cut into overlapping blocks, each block is windowed and
// transformed, and the powers of the lines are averaged (Welch's method). Only full blocks count and no mean
// or trend is removed. Block sizes N are powers of two from 2 to 131072, line k = 0..N/2-1 stands at k fs/N.
#pragma once

#include <cstddef>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// How a signal is cut: block b starts at sample b (size - overlap).
struct BlockCut {
    __int64 size;
    __int64 overlap;

    /// Whether `size` is a block size and 0 <= overlap < size.
    KVX_API bool IsValid() const;

    /// Full blocks in a signal of `samples` samples; 0 for a cut that is not valid.
    KVX_API __int64 Count(__int64 samples) const;

    /// The samples of block `block`, 0 <= block < Count(signal.size()).
    std::span<const double> Block(std::span<const double> signal, __int64 block) const {
        return signal.subspan(static_cast<std::size_t>(block * (size - overlap)),
                              static_cast<std::size_t>(size));
    }
};

/// Windows and transforms one block after another in buffers of its own; nothing is allocated after
/// SetWindow.
class KVX_API BlockTransform {
public:
    /// Takes over a window, whose count is the block size. Fails (0) when that is no block size, when the sum
    /// of the window is 0 or not finite, or when memory runs out; then there is no window.
    int SetWindow(const CDataArrayDouble& window);

    /// Block size; 0 without a window.
    __int64 GetSize() const { return window_.GetNum(); }
    __int64 GetNumLines() const { return GetSize() / 2; }
    /// Sum of the window, which scales amplitudes.
    double GetSum() const { return sum_; }
    /// Sum of the squared window, which scales densities.
    double GetSquareSum() const { return squareSum_; }

    /// Transforms GetSize() samples times the window; 0 for another count and without a window.
    int Transform(std::span<const double> samples);

    /// The last transform, unscaled: GetNumLines() lines.
    std::span<const double> GetReal() const { return Lines(real_); }
    std::span<const double> GetImaginary() const { return Lines(imaginary_); }

private:
    std::span<const double> Lines(std::span<const double> values) const {
        return values.first(static_cast<std::size_t>(GetNumLines()));
    }

    CDataArrayDouble window_;
    CDataArrayDouble real_;
    CDataArrayDouble imaginary_;
    double sum_ = 0.0;
    double squareSum_ = 0.0;
};

/// The average over blocks of the power of one channel.
class KVX_API AveragedSpectrum {
public:
    /// Begins anew with a window, whose count is the block size, and an overlap in samples, 0 <= overlap <
    /// count. Fails (0) as BlockTransform::SetWindow and for another overlap; then nothing can be added.
    int Begin(const CDataArrayDouble& window, __int64 overlap);

    /// Adds all full blocks of a signal to the average and returns their number. Signals may follow one
    /// another, as the shots of one test do; no block spans two of them.
    __int64 Add(std::span<const double> signal);

    /// Blocks added so far.
    __int64 GetNumBlocks() const { return blockCount_; }

    /// One-sided power spectral density in unit^2/Hz of a signal sampled at `rateHz`: |X|^2/(rateHz sum w^2),
    /// doubled on all lines but that at 0 Hz. Fails (0) for a null array, a rate that is not positive,
    /// without blocks or when memory runs out.
    int GetPsd(double rateHz, CDataArrayDouble* psd) const;

    /// Peak amplitudes, the root of the averaged power over the window's mean: a sine of amplitude A on a
    /// line reads A, a constant c reads |c| on the line at 0 Hz. Fails (0) for a null array, without blocks
    /// or when memory runs out.
    int GetAmplitude(CDataArrayDouble* amp) const;

private:
    /// Averaged |X|^2 times `factor`, on the line at 0 Hz times `dcFactor`.
    int GetPower(double dcFactor, double factor, CDataArrayDouble* power) const;

    BlockCut cut_{};
    BlockTransform transform_;
    CDataArrayDouble powerSum_;
    __int64 blockCount_ = 0;
};

/// Spectrum of the one block of `signal` that starts at sample `start`, in complex peak amplitudes over the
/// window's mean. Fails (0) as BlockTransform::SetWindow, when the block is not wholly in the signal and for
/// a null array.
KVX_API int CalcBlockSpectrum(CDataArrayDoubleCplx* spec, std::span<const double> signal, __int64 start,
                              const CDataArrayDouble& window);

}  // namespace kvx
