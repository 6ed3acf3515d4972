// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <new>

namespace kvx {

namespace {

/// The points of the transform of a block of that size; throws Error where there is none.
std::int64_t RequireTransform(std::int64_t blockSize, std::int64_t transformSize) {
    RequireCut({blockSize, 0}, transformSize);
    return transformSize == 0 ? blockSize : transformSize;
}

/// Writes the samples without their trend, from one to the next in a fixed order of additions.
void RemoveTrend(std::span<const double> samples, Detrend detrend, double* to, double* work) {
    const auto& sums = ActiveKernels<ReductionKernels>();
    const std::int64_t count = std::ssize(samples);
    const auto size = static_cast<double>(count);
    const double mean = sums.sum(samples.data(), count) / size;
    if (detrend == Detrend::kMean) {
        for (std::int64_t n = 0; n < count; ++n) to[n] = samples[static_cast<std::size_t>(n)] - mean;
        return;
    }
    // The slope of least squares, of places that count from the middle of the block.
    const double middle = 0.5 * (size - 1.0);
    for (std::int64_t n = 0; n < count; ++n) {
        to[n] = samples[static_cast<std::size_t>(n)] - mean;
        work[n] = to[n] * (static_cast<double>(n) - middle);
    }
    const double slope = sums.sum(work, count) * 12.0 / (size * (size * size - 1.0));
    for (std::int64_t n = 0; n < count; ++n) to[n] -= slope * (static_cast<double>(n) - middle);
}

}  // namespace

BlockTransform::BlockTransform(std::span<const double> window, Detrend detrend, std::int64_t transformSize)
    : blockSize_(std::ssize(window)),
      size_(RequireTransform(blockSize_, transformSize)),
      detrend_(detrend),
      memory_(4 * (size_ + kApart)),
      window_(memory_.Data()),
      work_(window_ + size_ + kApart),
      real_(work_ + size_ + kApart),
      imaginary_(real_ + size_ + kApart) {
    std::ranges::copy(window, window_);
    if (detrend_ != Detrend::kNone || blockSize_ < size_) prepared_.emplace(size_);
    const CDataArrayDouble samples(size_, window_);
    if (samples.GetNum() == 0) throw std::bad_alloc();
    sum_ = samples.GetSum();
    squareSum_ = samples.GetSqSum(0, size_);
    if (sum_ == 0.0 || !std::isfinite(sum_) || !std::isfinite(squareSum_))
        throw Error(ErrorKind::kBadValue, "the sum of a window is neither 0 nor beyond the range of numbers");
    CMatWIND::CalcWindENBW(samples, &noiseBandwidth_, nullptr);
    const int log2Size = std::countr_zero(static_cast<std::uint64_t>(size_));
    if (log2Size >= kMinLog2PlannedSize) plan_ = &TransformPlan(log2Size);
}

const double* BlockTransform::Prepared(std::span<const double> samples) {
    if (!prepared_) return samples.data();
    if (detrend_ == Detrend::kNone) {
        std::ranges::copy(samples, prepared_->Data());
    } else {
        RemoveTrend(samples, detrend_, prepared_->Data(), work_);
    }
    return prepared_->Data();
}

void BlockTransform::Transform(std::span<const double> samples) {
    double* const re = real_;
    double* const im = imaginary_;
    const double* const block = Prepared(samples);
    if (plan_ != nullptr) {
        re[Lines()] =
            ActiveKernels<FftKernels>().forward(*plan_, block, window_, work_, {re, im, Lines(), 1.0});
    } else {
        std::transform(block, block + size_, window_, re, [](double x, double w) { return x * w; });
        CMatFFT::XfrRfft(re, im, size_, re, im, Lines() + 1);
    }
    im[Lines()] = 0.0;
}

void BlockTransform::AddPowers(std::span<const double> samples, double* sums) {
    if (plan_ != nullptr) {
        ActiveKernels<FftKernels>().addPowers(*plan_, Prepared(samples), window_, work_, sums);
        return;
    }
    Transform(samples);
    const double* const re = Real();
    const double* const im = Imaginary();
    for (std::int64_t k = 0; k <= Lines(); ++k) sums[k] += 4.0 * (re[k] * re[k] + im[k] * im[k]);
}

PowerAverage::PowerAverage(std::span<const double> window, const Averaging& averaging)
    : averaging_(averaging),
      transform_(window, averaging.detrend, averaging.transformSize),
      sums_(transform_.Lines() + 1) {
    if (averaging.mode != AverageMode::kLinear) block_.emplace(transform_.Lines() + 1);
    if (averaging.mode == AverageMode::kExponential && !(averaging.weight > 0.0 && averaging.weight <= 1.0))
        throw Error(ErrorKind::kBadValue,
                    "the weight of a block in an exponential average is above 0 and at most 1");
}

void PowerAverage::Add(std::span<const double> block) {
    ++blocks_;
    if (!block_) {
        transform_.AddPowers(block, sums_.Data());
        return;
    }
    const std::int64_t count = transform_.Lines() + 1;
    double* const powers = block_->Data();
    double* const sums = sums_.Data();
    std::fill_n(powers, count, 0.0);
    transform_.AddPowers(block, powers);
    // A power that is no number stays, so that it is seen in the end.
    if (blocks_ == 1) {
        std::copy_n(powers, count, sums);
    } else if (averaging_.mode == AverageMode::kPeakHold) {
        for (std::int64_t k = 0; k < count; ++k)
            sums[k] = powers[k] > sums[k] || std::isnan(powers[k]) ? powers[k] : sums[k];
    } else if (averaging_.mode == AverageMode::kMinimum) {
        for (std::int64_t k = 0; k < count; ++k)
            sums[k] = powers[k] < sums[k] || std::isnan(powers[k]) ? powers[k] : sums[k];
    } else {
        const double weight = std::max(averaging_.weight, 1.0 / static_cast<double>(blocks_));
        for (std::int64_t k = 0; k < count; ++k) sums[k] += weight * (powers[k] - sums[k]);
    }
}

void PowerAverage::Clear() {
    std::fill_n(sums_.Data(), transform_.Lines() + 1, 0.0);
    blocks_ = 0;
}

std::vector<double> PowerAverage::Scaled(double singleFactor, double factor) const {
    const double perSum = block_ ? 0.25 : 0.25 / static_cast<double>(blocks_);
    const std::int64_t lines = transform_.Lines();
    std::vector<double> power(sums_.Data(), sums_.Data() + lines + (averaging_.hasMiddleLine ? 1 : 0));
    for (double& line : power) line *= factor * perSum;
    power.front() = sums_.Data()[0] * (singleFactor * perSum);
    if (averaging_.hasMiddleLine) power.back() = sums_.Data()[lines] * (singleFactor * perSum);
    return power;
}

std::vector<double> PowerAverage::Psd(double rateHz) const {
    const double singleFactor = 1.0 / (rateHz * transform_.SquareSum());
    return Scaled(singleFactor, 2.0 * singleFactor);
}

std::vector<double> PowerAverage::Power() const {
    const double singleFactor = 1.0 / (transform_.Sum() * transform_.Sum());
    return Scaled(singleFactor, 2.0 * singleFactor);
}

std::vector<double> PowerAverage::Amplitude() const {
    const double singleFactor = 1.0 / (transform_.Sum() * transform_.Sum());
    std::vector<double> lines = Scaled(singleFactor, 4.0 * singleFactor);
    for (double& line : lines) line = std::sqrt(line);
    return lines;
}

}  // namespace kvx
