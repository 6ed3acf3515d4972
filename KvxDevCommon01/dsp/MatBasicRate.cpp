// SPDX-License-Identifier: MIT
//
// Changes of rate: a spectrum onto another frequency grid, a waveform to another sampling rate.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <utility>

namespace {

using kvx::kNoValue;
using std::numbers::pi;

/// A spectrum with its frequency grid, interpolated between its bins.
class SpectrumGrid {
public:
    SpectrumGrid(const CDataArrayDouble& values, double f0, double df, CMatBasic::CONV_RATE law)
        : values_(values.GetData()),
          count_(values.GetNum()),
          f0_(f0),
          df_(df),
          isLog_(law == CMatBasic::RATE_LOG_AMPLITUDE || law == CMatBasic::RATE_LOG_POWER),
          isPower_(law == CMatBasic::RATE_LINEAR_POWER || law == CMatBasic::RATE_LOG_POWER) {}

    /// Value at f for a grid of steps newDf.
    double At(double f, double newDf) const {
        const double position = (f - f0_) / df_;
        const double nearest = std::floor(position + 0.5);
        if (!(nearest >= 0.0 && nearest < static_cast<double>(count_))) return 0.0;
        if (isLog_ && f < 0.999 * newDf) return 0.0;
        const auto bin = static_cast<__int64>(nearest);
        if (std::abs(Frequency(bin) - f) <= 0.001 * newDf) return values_[bin];

        const auto lower = static_cast<__int64>(std::floor(position));
        const double lowerValue = ValueOrLast(lower);
        const double upperValue = ValueOrLast(lower + 1);
        if (lowerValue == kNoValue<double> || upperValue == kNoValue<double>) return kNoValue<double>;
        const double x1 = Scaled(Frequency(lower));
        const double x2 = Scaled(Frequency(lower + 1));
        const double y1 = Scaled(lowerValue);
        const double y2 = Scaled(upperValue);
        return Unscaled(x1 == x2 ? y1 : y1 + (y2 - y1) * ((Scaled(f) - x1) / (x2 - x1)));
    }

private:
    double Frequency(__int64 bin) const { return f0_ + static_cast<double>(bin) * df_; }
    double ValueOrLast(__int64 bin) const { return values_[bin < 0 || bin >= count_ ? count_ - 1 : bin]; }

    // To the axes of the law, on which the interpolation is linear, and back.
    double Scaled(double value) const {
        constexpr double kLogFloor = 1e-20;
        if (isPower_) value *= value;
        return isLog_ ? CMatBasic::LimitedLog(value, kLogFloor) : value;
    }
    double Unscaled(double value) const {
        if (isLog_) value = std::exp(value);
        return isPower_ ? std::copysign(std::sqrt(std::abs(value)), value) : value;
    }

    const double* values_;
    __int64 count_;
    double f0_;
    double df_;
    bool isLog_;
    bool isPower_;
};

/// Modified Bessel function of order 0, by its power series.
double BesselI0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > sum * std::numeric_limits<double>::epsilon(); ++k) {
        const double factor = 0.5 * x / k;
        term *= factor * factor;
        sum += term;
    }
    return sum;
}

/// Low-pass interpolation between samples: a sinc under a Kaiser window [Kaiser 1974], tabulated as one row
/// of taps per phase, that is position between two samples; between phases the taps follow a cubic.
class Interpolator {
public:
    /// For output at `ratio` times the input's rate.
    explicit Interpolator(double ratio) : bandwidth_(std::min(1.0, ratio)) {
        tapsPerSide_ = 2 * static_cast<__int64>(std::ceil(kZeroCrossings / bandwidth_ / 2.0));
        phaseCount_ = std::max<__int64>(4, static_cast<__int64>(std::ceil(kPhases * bandwidth_)));
        // The cubic reaches one phase before and two behind.
        if (!rows_.SetData((phaseCount_ + 3) * TapCount(), nullptr)) return;
        for (__int64 row = 0; row < phaseCount_ + 3; ++row) {
            FillRow(rows_.GetData() + row * TapCount(),
                    static_cast<double>(row - 1) / static_cast<double>(phaseCount_));
        }
    }

    bool IsReady() const { return rows_.GetNum() > 0; }
    /// Samples needed on either side of a position.
    __int64 GetReach() const { return tapsPerSide_; }

    /// Value `fraction` of a sample, 0 <= fraction < 1, behind *sample.
    double At(const double* sample, double fraction) const {
        const double phase = fraction * static_cast<double>(phaseCount_);
        // A fraction next to 1 may round up to the last phase, which the cubic reaches with t = 1.
        const __int64 first = std::min(static_cast<__int64>(phase), phaseCount_ - 1);
        const double t = phase - static_cast<double>(first);
        // Lagrange's cubic through the phases -1, 0, 1 and 2.
        const std::array<double, 4> weights = {
            -t * (t - 1.0) * (t - 2.0) / 6.0, (t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0,
            -(t + 1.0) * t * (t - 2.0) / 2.0, (t + 1.0) * t * (t - 1.0) / 6.0};
        const __int64 taps = TapCount();
        const double* const row = rows_.GetData() + first * taps;
        const double* const x = sample - (tapsPerSide_ - 1);
        // Lanes of sums, in an order that does not depend on the machine; the number of taps is a multiple.
        std::array<double, kLanes> lanes{};
        for (__int64 j = 0; j < taps; j += kLanes) {
            for (__int64 lane = 0; lane < kLanes; ++lane) {
                const __int64 tap = j + lane;
                const double h = (weights[0] * row[tap] + weights[1] * row[taps + tap]) +
                                 (weights[2] * row[2 * taps + tap] + weights[3] * row[3 * taps + tap]);
                lanes[static_cast<std::size_t>(lane)] += h * x[tap];
            }
        }
        return (lanes[0] + lanes[2]) + (lanes[1] + lanes[3]);
    }

private:
    // 64 zero crossings on either side and 120 dB leave a transition of 12.2 % of half the rate, which ends
    // at half the rate. 128 phases per zero crossing keep the error of the cubic below -150 dB.
    static constexpr double kZeroCrossings = 64.0;
    static constexpr double kAttenuationDb = 120.0;
    static constexpr double kTransition = (kAttenuationDb - 8.0) / (2.285 * 2.0 * kZeroCrossings) / pi;
    static constexpr double kBeta = 0.1102 * (kAttenuationDb - 8.7);
    static constexpr double kPhases = 128.0;
    static constexpr __int64 kLanes = 4;

    __int64 TapCount() const { return 2 * tapsPerSide_; }

    /// Taps for a position `fraction` of a sample behind tap tapsPerSide_ - 1, of sum 1.
    void FillRow(double* row, double fraction) const {
        const double cutoff = bandwidth_ * (1.0 - kTransition / 2.0);
        double sum = 0.0;
        for (__int64 tap = 0; tap < TapCount(); ++tap) {
            const double distance = fraction + static_cast<double>(tapsPerSide_ - 1 - tap);
            const double part = distance * bandwidth_ / kZeroCrossings;
            if (!(std::abs(part) < 1.0)) continue;
            const double angle = pi * cutoff * distance;
            const double sinc = angle == 0.0 ? 1.0 : std::sin(angle) / angle;
            row[tap] = sinc * BesselI0(kBeta * std::sqrt(1.0 - part * part));
            sum += row[tap];
        }
        CMatBasic::MulArr(row, 1.0 / sum, TapCount());
    }

    double bandwidth_;
    __int64 tapsPerSide_ = 0;
    __int64 phaseCount_ = 0;
    CDataArrayDouble rows_;
};

}  // namespace

void CMatBasic::ConvRate(double newF0, double oldF0, double newDf, double oldDf, CONV_RATE law,
                         CDataArrayDouble* out, const CDataArrayDouble& in) {
    if (out == nullptr || out == &in || in.GetNum() < 1 || law > RATE_LOG_POWER) return;
    const SpectrumGrid spectrum(in, oldF0, oldDf, law);
    for (__int64 i = 0; i < out->GetNum(); ++i) {
        out->GetData()[i] = spectrum.At(newF0 + static_cast<double>(i) * newDf, newDf);
    }
}

__int64 CMatBasic::GetNumConvFs(double a, double b, __int64 n, double c) {
    const double count = std::floor(static_cast<double>(n) * a / (b * c) + 0.5);
    return std::abs(count) < 0x1p63 ? static_cast<__int64>(count) : 0;
}

int CMatBasic::ConvFs(CDataArrayDouble* out, const CDataArrayDouble& in, double newFs, double oldFs,
                      DATA_TERM term) {
    constexpr double kLargestRatio = 1000.0;
    if (out == nullptr || out == &in || in.GetNum() < 1 || !(newFs > 0.0 && oldFs > 0.0)) return 0;
    const double ratio = newFs / oldFs;
    if (!(ratio <= kLargestRatio && ratio >= 1.0 / kLargestRatio)) return 0;
    if (term != TERM_ZERO && term != TERM_PERIODIC && term != TERM_HOLD) return 0;
    if (ratio == 1.0) return out->SetData(in.GetNum(), in.GetData());

    const __int64 count = GetNumConvFs(newFs, oldFs, in.GetNum(), 1.0);
    const Interpolator interpolator(ratio);
    const __int64 reach = interpolator.GetReach();
    CDataArrayDouble padded(in.GetNum() + 2 * reach, nullptr);
    if (count < 1 || !interpolator.IsReady() || padded.GetNum() < 1 || !out->SetData(count, nullptr))
        return 0;
    kvx::SelectSamples(padded.GetData(), padded.GetNum(), in.GetData(), in.GetNum(), -reach, term);
    const double* const samples = padded.GetData() + reach;
    for (__int64 i = 0; i < count; ++i) {
        const double position = static_cast<double>(i) * oldFs / newFs;
        const auto whole = static_cast<__int64>(position);
        out->GetData()[i] = interpolator.At(samples + whole, position - static_cast<double>(whole));
    }
    return 1;
}
