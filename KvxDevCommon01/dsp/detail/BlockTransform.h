// SPDX-License-Identifier: MIT
//
// Windows and transforms one block after another, and averages the powers of their lines. Nothing is
// allocated after construction.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>

#include <cstdint>
#include <span>
#include <vector>

namespace kvx {

class BlockTransform {
public:
    /// Throws Error (kBadValue) for a window whose count is no block size or whose sum is 0 or not finite.
    explicit BlockTransform(std::span<const double> window);

    std::int64_t Size() const { return window_.GetNum(); }
    std::int64_t Lines() const { return Size() / 2; }
    /// Sum of the window, which scales amplitudes.
    double Sum() const { return sum_; }
    /// Sum of the squared window, which scales densities.
    double SquareSum() const { return squareSum_; }
    double NoiseBandwidth() const;

    /// Transforms Size() samples times the window.
    void Transform(std::span<const double> samples);

    /// The last transform, unscaled: Lines() lines.
    const double* Real() const { return real_.data(); }
    const double* Imaginary() const { return imaginary_.data(); }

private:
    CDataArrayDouble window_;
    std::vector<double> real_;
    std::vector<double> imaginary_;
    double sum_;
    double squareSum_;
};

/// The power of the lines, averaged over blocks.
class PowerAverage {
public:
    explicit PowerAverage(std::span<const double> window)
        : transform_(window), sums_(static_cast<std::size_t>(transform_.Lines())) {}

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
    std::vector<double> sums_;
    std::int64_t blocks_ = 0;
};

}  // namespace kvx
