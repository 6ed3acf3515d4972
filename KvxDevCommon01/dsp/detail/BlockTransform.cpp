// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
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

BlockTransform::BlockTransform(std::span<const double> window)
    : size_(std::ssize(window)),
      memory_(4 * (size_ + kApart)),
      window_(memory_.Data()),
      work_(window_ + size_ + kApart),
      real_(work_ + size_ + kApart),
      imaginary_(real_ + size_ + kApart) {
    RequireBlockSize(size_);
    const CDataArrayDouble samples(size_, window.data());
    if (samples.GetNum() == 0) throw std::bad_alloc();
    sum_ = samples.GetSum();
    squareSum_ = samples.GetSqSum(0, size_);
    if (sum_ == 0.0 || !std::isfinite(sum_) || !std::isfinite(squareSum_))
        throw Error(ErrorKind::kBadValue, "the sum of a window is neither 0 nor beyond the range of numbers");
    CMatWIND::CalcWindENBW(samples, &noiseBandwidth_, nullptr);
    std::ranges::copy(window, window_);
    const int log2Size = std::countr_zero(static_cast<std::uint64_t>(size_));
    if (log2Size >= kMinLog2PlannedSize) plan_ = &TransformPlan(log2Size);
}

void BlockTransform::Transform(std::span<const double> samples) {
    if (plan_ != nullptr) {
        ActiveKernels<FftKernels>().forward(*plan_, samples.data(), window_, work_,
                                            {real_, imaginary_, Lines(), 1.0});
        return;
    }
    std::transform(samples.begin(), samples.end(), window_, real_, [](double x, double w) { return x * w; });
    CMatFFT::XfrRfft(real_, imaginary_, size_, real_, imaginary_, Lines());
}

void BlockTransform::AddPowers(std::span<const double> samples, double* sums) {
    if (plan_ != nullptr) {
        ActiveKernels<FftKernels>().addPowers(*plan_, samples.data(), window_, work_, sums);
        return;
    }
    Transform(samples);
    const double* const re = Real();
    const double* const im = Imaginary();
    for (std::int64_t k = 0; k < Lines(); ++k) sums[k] += 4.0 * (re[k] * re[k] + im[k] * im[k]);
}

void PowerAverage::Add(std::span<const double> block) {
    transform_.AddPowers(block, sums_.Data());
    ++blocks_;
}

void PowerAverage::Clear() {
    std::fill_n(sums_.Data(), transform_.Lines() + 1, 0.0);
    blocks_ = 0;
}

std::vector<double> PowerAverage::Power(double dcFactor, double factor) const {
    const double perSum = 0.25 / static_cast<double>(blocks_);
    std::vector<double> power(sums_.Data(), sums_.Data() + transform_.Lines());
    for (double& line : power) line *= factor * perSum;
    power.front() = sums_.Data()[0] * (dcFactor * perSum);
    return power;
}

std::vector<double> PowerAverage::Psd(double rateHz) const {
    const double dcFactor = 1.0 / (rateHz * transform_.SquareSum());
    return Power(dcFactor, 2.0 * dcFactor);
}

std::vector<double> PowerAverage::Amplitude() const {
    const double dcFactor = 1.0 / (transform_.Sum() * transform_.Sum());
    std::vector<double> lines = Power(dcFactor, 4.0 * dcFactor);
    for (double& line : lines) line = std::sqrt(line);
    return lines;
}

}  // namespace kvx
