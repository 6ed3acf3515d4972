// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace kvx {
namespace {

constexpr __int64 kSmallestBlock = 2;

}  // namespace

bool BlockCut::IsValid() const {
    return IsTransformSize(size, kSmallestBlock) && overlap >= 0 && overlap < size;
}

__int64 BlockCut::Count(__int64 samples) const {
    if (!IsValid() || samples < size) return 0;
    return (samples - size) / (size - overlap) + 1;
}

int BlockTransform::SetWindow(const CDataArrayDouble& window) {
    const __int64 size = window.GetNum();
    sum_ = window.GetSum();
    squareSum_ = window.GetSqSum(0, size);
    if (IsTransformSize(size, kSmallestBlock) && sum_ != 0.0 && std::isfinite(sum_) &&
        std::isfinite(squareSum_) && window_.SetData(size, window.GetData()) &&
        real_.SetData(size, nullptr) && imaginary_.SetData(size, nullptr)) {
        return 1;
    }
    *this = BlockTransform();
    return 0;
}

int BlockTransform::Transform(std::span<const double> samples) {
    if (std::ssize(samples) != GetSize() || GetSize() == 0) return 0;
    double* const real = real_.GetData();
    double* const imaginary = imaginary_.GetData();
    std::transform(samples.begin(), samples.end(), window_.GetData(), real,
                   [](double x, double w) { return x * w; });
    return CMatFFT::XfrRfft(real, imaginary, GetSize(), real, imaginary, GetNumLines());
}

int AveragedSpectrum::Begin(const CDataArrayDouble& window, __int64 overlap) {
    cut_ = {window.GetNum(), overlap};
    blockCount_ = 0;
    if (cut_.IsValid() && transform_.SetWindow(window) &&
        powerSum_.SetData(transform_.GetNumLines(), nullptr))
        return 1;
    cut_ = {};
    return 0;
}

__int64 AveragedSpectrum::Add(std::span<const double> signal) {
    const double* const re = transform_.GetReal().data();
    const double* const im = transform_.GetImaginary().data();
    double* const sum = powerSum_.GetData();
    const __int64 lineCount = transform_.GetNumLines();
    const __int64 added = cut_.Count(std::ssize(signal));
    for (__int64 block = 0; block < added; ++block) {
        transform_.Transform(cut_.Block(signal, block));
        for (__int64 k = 0; k < lineCount; ++k) sum[k] += re[k] * re[k] + im[k] * im[k];
    }
    blockCount_ += added;
    return added;
}

int AveragedSpectrum::GetPower(double dcFactor, double factor, CDataArrayDouble* power) const {
    if (power == nullptr || blockCount_ == 0) return 0;
    if (!power->SetData(powerSum_.GetNum(), powerSum_.GetData())) return 0;
    *power *= factor / static_cast<double>(blockCount_);
    (*power)[0] = powerSum_[0] * (dcFactor / static_cast<double>(blockCount_));
    return 1;
}

int AveragedSpectrum::GetPsd(double rateHz, CDataArrayDouble* psd) const {
    if (!(rateHz > 0.0)) return 0;
    const double dcFactor = 1.0 / (rateHz * transform_.GetSquareSum());
    return GetPower(dcFactor, 2.0 * dcFactor, psd);
}

int AveragedSpectrum::GetAmplitude(CDataArrayDouble* amp) const {
    const double dcFactor = 1.0 / (transform_.GetSum() * transform_.GetSum());
    if (!GetPower(dcFactor, 4.0 * dcFactor, amp)) return 0;
    std::transform(amp->GetData(), amp->GetData() + amp->GetNum(), amp->GetData(),
                   [](double p) { return std::sqrt(p); });
    return 1;
}

int CalcBlockSpectrum(CDataArrayDoubleCplx* spec, std::span<const double> signal, __int64 start,
                      const CDataArrayDouble& window) {
    BlockTransform transform;
    if (spec == nullptr || !transform.SetWindow(window)) return 0;
    const __int64 size = transform.GetSize();
    if (start < 0 || std::ssize(signal) < size || start > std::ssize(signal) - size) return 0;
    const auto block = signal.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(size));
    if (!transform.Transform(block) || !spec->Create(1, transform.GetNumLines())) return 0;
    spec->SetReal(transform.GetReal().data());
    spec->SetImaginary(transform.GetImaginary().data());
    *spec *= 2.0 / transform.GetSum();
    spec->GetReal()[0] *= 0.5;
    spec->GetImaginary()[0] *= 0.5;
    return 1;
}

}  // namespace kvx
