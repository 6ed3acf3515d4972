// SPDX-License-Identifier: MIT
//
// Windows and transforms one block after another, and averages the powers of their lines. Nothing is
// allocated after construction.
#pragma once

#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace kvx {

/// Zeros that begin at a multiple of 64 bytes, so that no vector of a kernel lies across two lines of the
/// cache. Aligned here: the allocator would give back what lies before and behind, and tidy up for that.
class AlignedBlock {
public:
    explicit AlignedBlock(std::int64_t count)
        : values_(new double[static_cast<std::size_t>(count) + kAlignment]()),
          first_(values_.get() + (-Place() & (kAlignment - 1))) {}

    double* Data() const { return first_; }

private:
    static constexpr std::size_t kAlignment = 64 / sizeof(double);
    std::size_t Place() const { return reinterpret_cast<std::uintptr_t>(values_.get()) / sizeof(double); }

    std::unique_ptr<double[]> values_;
    double* first_;
};

class BlockTransform {
public:
    /// Throws Error (kBadValue) for a window whose count is no block size, or does not go into that of the
    /// transform, or whose sum is 0 or not finite.
    explicit BlockTransform(std::span<const double> window, Detrend detrend = Detrend::kNone,
                            std::int64_t transformSize = 0);

    /// Samples of a block.
    std::int64_t BlockSize() const { return blockSize_; }
    std::span<const double> Window() const { return {window_, static_cast<std::size_t>(blockSize_)}; }
    /// Points of the transform.
    std::int64_t Size() const { return size_; }
    std::int64_t Lines() const { return size_ / 2; }
    /// Sum of the window, which scales amplitudes.
    double Sum() const { return sum_; }
    /// Sum of the squared window, which scales densities.
    double SquareSum() const { return squareSum_; }
    double NoiseBandwidth() const { return noiseBandwidth_; }

    /// Transforms BlockSize() samples, without their trend, times the window.
    void Transform(std::span<const double> samples);

    /// The lines of the last Transform and the line N/2, unscaled.
    const double* Real() const { return real_; }
    const double* Imaginary() const { return imaginary_; }

    /// Transforms as well, but adds 4 |X|^2 of each line and of the line N/2 to `sums`.
    void AddPowers(std::span<const double> samples, double* sums);

private:
    /// Size() samples: the block itself where nothing is taken out of it or appended.
    const double* Prepared(std::span<const double> samples);

    /// Two lines of the cache lie between the parts, so that they do not begin at the same place of a page.
    static constexpr std::int64_t kApart = 16;

    std::int64_t blockSize_;
    std::int64_t size_;
    Detrend detrend_;
    const FftPlan* plan_ = nullptr;  // of blocks that have one
    AlignedBlock memory_;            // of all that follow
    double* window_;                 // followed by zeros
    double* work_;
    double* real_;
    double* imaginary_;
    std::optional<AlignedBlock> prepared_;
    double sum_;
    double squareSum_;
    double noiseBandwidth_ = 0.0;
};

/// The power of the lines, averaged over blocks.
class PowerAverage {
public:
    /// Throws Error (kBadValue) as BlockTransform and for a weight that is not above 0 and at most 1.
    explicit PowerAverage(std::span<const double> window, const Averaging& averaging = {});

    void Add(std::span<const double> block);
    void Clear();

    const BlockTransform& Transform() const { return transform_; }
    std::int64_t Blocks() const { return blocks_; }

    /// As AveragedSpectrum has them; there must be a block.
    std::vector<double> Psd(double rateHz) const;
    std::vector<double> Amplitude() const;
    std::vector<double> Power() const;

private:
    /// Averaged |X|^2 times `factor`, on the lines without a twin, at 0 Hz and N/2, times `singleFactor`.
    std::vector<double> Scaled(double singleFactor, double factor) const;

    Averaging averaging_;
    BlockTransform transform_;
    AlignedBlock sums_;                  // of a linear average; of the others 4 |X|^2 as averaged so far
    std::optional<AlignedBlock> block_;  // the powers of one block, where they are not just added up
    std::int64_t blocks_ = 0;
};

}  // namespace kvx
