// SPDX-License-Identifier: MIT
//
// Windows and transforms one block after another, and averages the powers of their lines. Nothing is
// allocated after construction.
#pragma once

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

#include <cstddef>
#include <cstdint>
#include <memory>
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
    /// Throws Error (kBadValue) for a window whose count is no block size or whose sum is 0 or not finite.
    explicit BlockTransform(std::span<const double> window);

    std::int64_t Size() const { return size_; }
    std::int64_t Lines() const { return size_ / 2; }
    /// Sum of the window, which scales amplitudes.
    double Sum() const { return sum_; }
    /// Sum of the squared window, which scales densities.
    double SquareSum() const { return squareSum_; }
    double NoiseBandwidth() const { return noiseBandwidth_; }

    /// Transforms Size() samples times the window.
    void Transform(std::span<const double> samples);

    /// The lines of the last Transform, unscaled.
    const double* Real() const { return real_; }
    const double* Imaginary() const { return imaginary_; }

    /// Transforms as well, but adds 4 |X|^2 of each line to `sums`, of one value more than there are lines.
    void AddPowers(std::span<const double> samples, double* sums);

private:
    /// Two lines of the cache lie between the parts, so that they do not begin at the same place of a page.
    static constexpr std::int64_t kApart = 16;

    std::int64_t size_;
    const FftPlan* plan_ = nullptr;  // of blocks that have one
    AlignedBlock memory_;            // of all that follow
    double* window_;
    double* work_;
    double* real_;
    double* imaginary_;
    double sum_;
    double squareSum_;
    double noiseBandwidth_ = 0.0;
};

/// The power of the lines, averaged over blocks.
class PowerAverage {
public:
    explicit PowerAverage(std::span<const double> window)
        : transform_(window), sums_(transform_.Lines() + 1) {}

    void Add(std::span<const double> block);
    void Clear();

    const BlockTransform& Transform() const { return transform_; }
    std::int64_t Blocks() const { return blocks_; }

    /// As AveragedSpectrum has them; there must be a block.
    std::vector<double> Psd(double rateHz) const;
    std::vector<double> Amplitude() const;

private:
    /// Averaged |X|^2 times `factor`, on the line at 0 Hz times `dcFactor`.
    std::vector<double> Power(double dcFactor, double factor) const;

    BlockTransform transform_;
    AlignedBlock sums_;
    std::int64_t blocks_ = 0;
};

}  // namespace kvx
