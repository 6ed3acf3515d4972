// SPDX-License-Identifier: MIT
//
// The filtering of breakpoint profiles.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/detail/FilterResponse.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

double PowerOf(const kvx::FilterResponse& h) {
    return h.re * h.re + h.im * h.im;
}

/// A filter as its gain in power.
class PsdFilter {
public:
    PsdFilter(double fc, int kind, double parameter) : fc_(fc), kind_(kind), parameter_(parameter) {}

    bool IsValid() const {
        if (!kvx::IsFilterParameter(fc_)) return false;
        switch (kind_) {
            case CMatSpec::FILTER_LPF1:
            case CMatSpec::FILTER_HPF1:
            case CMatSpec::FILTER_TRANC_LPF:
            case CMatSpec::FILTER_TRANC_HPF:
                return true;
            case CMatSpec::FILTER_LPF2:
            case CMatSpec::FILTER_HPF2:
                return kvx::IsFilterParameter(parameter_);
            case CMatSpec::FILTER_BW_LPF:
            case CMatSpec::FILTER_BW_HPF:
                return parameter_ >= 1.0 && parameter_ <= kvx::kMaxButterworthOrder;
            case CMatSpec::FILTER_LIN_LPF:
            case CMatSpec::FILTER_LIN_HPF:
                return std::isfinite(parameter_);
            default:
                return false;
        }
    }

    bool Passes(double f) const {
        return kind_ == CMatSpec::FILTER_TRANC_LPF   ? f <= fc_
               : kind_ == CMatSpec::FILTER_TRANC_HPF ? f >= fc_
                                                     : true;
    }

    /// Natural logarithm of the gain in power, f > 0.
    double LogGain(double f) const {
        switch (kind_) {
            case CMatSpec::FILTER_LPF1:
                return std::log(PowerOf(kvx::LowPass1(f, fc_)));
            case CMatSpec::FILTER_HPF1:
                return std::log(PowerOf(kvx::HighPass1(f, fc_)));
            case CMatSpec::FILTER_LPF2:
                return std::log(PowerOf(kvx::LowPass2(f, fc_, parameter_)));
            case CMatSpec::FILTER_HPF2:
                return std::log(PowerOf(kvx::HighPass2(f, fc_, parameter_)));
            case CMatSpec::FILTER_BW_LPF:
                return LogButterworth(std::log(f / fc_));
            case CMatSpec::FILTER_BW_HPF:
                return LogButterworth(std::log(fc_ / f));
            case CMatSpec::FILTER_LIN_LPF:
                return f > fc_ ? 2.0 * parameter_ * std::log(fc_ / f) : 0.0;
            case CMatSpec::FILTER_LIN_HPF:
                return f < fc_ ? 2.0 * parameter_ * std::log(f / fc_) : 0.0;
            default:
                return 0.0;
        }
    }

private:
    /// -ln(1 + x^2N) from ln x, without overflow.
    double LogButterworth(double logX) const {
        const double exponent = 2.0 * std::floor(parameter_) * logX;
        return exponent > 0.0 ? -exponent - std::log1p(std::exp(-exponent)) : -std::log1p(std::exp(exponent));
    }

    double fc_;
    int kind_;
    double parameter_;
};

/// A profile in the making.
class FilteredProfile {
public:
    FilteredProfile(const CDataArrayDouble& freq, const CDataArrayDouble& level, const PsdFilter& filter)
        : sourceFreq_(freq), sourceLevel_(level), filter_(filter) {}

    /// Appends the filtered level at f.
    void AddPoint(double f) {
        if (!filter_.Passes(f)) return;
        const double level = kvx::ProfileLevelAt(sourceFreq_, sourceLevel_, f) * std::exp(filter_.LogGain(f));
        isComplete_ =
            isComplete_ && freq_.Append(f) && level_.Append(std::clamp(level, Limits::min(), Limits::max()));
    }

    /// Appends points between f1 and f2 so that straight lines follow the filter.
    void AddBetween(double f1, double f2, int splitsLeft = kMaxSplits) {
        const double logGain1 = filter_.LogGain(f1);
        const double logGain2 = filter_.LogGain(f2);
        const auto strays = [&](double part) {
            const double f = f1 * std::pow(f2 / f1, part);
            return std::abs(filter_.LogGain(f) - (logGain1 + part * (logGain2 - logGain1))) > kTolerance;
        };
        if (splitsLeft == 0 || !(strays(0.25) || strays(0.5) || strays(0.75))) return;
        const double middle = std::sqrt(f1) * std::sqrt(f2);
        AddBetween(f1, middle, splitsLeft - 1);
        AddPoint(middle);
        AddBetween(middle, f2, splitsLeft - 1);
    }

    bool IsComplete() const { return isComplete_ && freq_.GetNum() >= 2; }
    const CDataArrayDouble& GetFrequencies() const { return freq_; }
    const CDataArrayDouble& GetLevels() const { return level_; }

private:
    using Limits = std::numeric_limits<double>;
    static constexpr double kTolerance = 0.0023;  // 0.01 dB of power, in nepers of power
    static constexpr int kMaxSplits = 12;

    const CDataArrayDouble& sourceFreq_;
    const CDataArrayDouble& sourceLevel_;
    const PsdFilter& filter_;
    CDataArrayDouble freq_;
    CDataArrayDouble level_;
    bool isComplete_ = true;
};

}  // namespace

int CMatSpec::FilteringPsd(double fc, int filter, CDataArrayDouble* freq, CDataArrayDouble* psd,
                           double parameter) {
    const PsdFilter response(fc, filter, parameter);
    if (freq == nullptr || psd == nullptr || !kvx::IsProfile(*freq, *psd) || !response.IsValid()) return 0;

    FilteredProfile filtered(*freq, *psd, response);
    const double* const points = freq->GetData();
    const __int64 count = freq->GetNum();
    for (__int64 i = 0; i + 1 < count; ++i) {
        filtered.AddPoint(points[i]);
        const bool holdsCorner = points[i] < fc && fc < points[i + 1];
        const double corner = holdsCorner ? fc : points[i + 1];
        filtered.AddBetween(points[i], corner);
        if (holdsCorner) {
            filtered.AddPoint(fc);
            filtered.AddBetween(fc, points[i + 1]);
        }
    }
    filtered.AddPoint(points[count - 1]);
    if (!filtered.IsComplete()) return 0;
    *freq = filtered.GetFrequencies();
    *psd = filtered.GetLevels();
    return freq->GetNum() == psd->GetNum() && freq->GetNum() > 0 ? 1 : 0;
}
