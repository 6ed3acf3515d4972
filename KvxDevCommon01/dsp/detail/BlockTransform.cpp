// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>

namespace kvx {

BlockTransform::BlockTransform(std::span<const double> window)
    : window_(std::ssize(window), window.data()), real_(window.size()), imaginary_(window.size()) {
    RequireBlockSize(std::ssize(window));
    if (window_.GetNum() == 0) throw std::bad_alloc();
    sum_ = window_.GetSum();
    squareSum_ = window_.GetSqSum(0, Size());
    if (sum_ == 0.0 || !std::isfinite(sum_) || !std::isfinite(squareSum_))
        throw Error(ErrorKind::kBadValue, "the sum of a window is neither 0 nor beyond the range of numbers");
}

double BlockTransform::NoiseBandwidth() const {
    double bandwidth = 0.0;
    CMatWIND::CalcWindENBW(window_, &bandwidth, nullptr);
    return bandwidth;
}

void BlockTransform::Transform(std::span<const double> samples) {
    std::transform(samples.begin(), samples.end(), window_.GetData(), real_.data(),
                   [](double x, double w) { return x * w; });
    CMatFFT::XfrRfft(real_.data(), imaginary_.data(), Size(), real_.data(), imaginary_.data(), Lines());
}

void PowerAverage::Add(std::span<const double> block) {
    transform_.Transform(block);
    const double* const re = transform_.Real();
    const double* const im = transform_.Imaginary();
    double* const sum = sums_.data();
    for (std::size_t k = 0; k < sums_.size(); ++k) sum[k] += re[k] * re[k] + im[k] * im[k];
    ++blocks_;
}

void PowerAverage::Clear() {
    std::ranges::fill(sums_, 0.0);
    blocks_ = 0;
}

std::vector<double> PowerAverage::Power(double dcFactor, double factor) const {
    const auto blocks = static_cast<double>(blocks_);
    const double perBlock = factor / blocks;
    std::vector<double> power = sums_;
    for (double& line : power) line *= perBlock;
    power.front() = sums_.front() * (dcFactor / blocks);
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
