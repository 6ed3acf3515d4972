// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>

#include <algorithm>
#include <cmath>

namespace kvx {
namespace {

bool IsPositive(double value) {
    return value > 0.0 && std::isfinite(value);
}

bool AllPositive(const CDataArrayDouble& values) {
    return std::all_of(values.GetData(), values.GetData() + values.GetNum(), IsPositive);
}

}  // namespace

int PsdProfile::SetPoints(const CDataArrayDouble& freqHz, const CDataArrayDouble& level) {
    const bool valid = freqHz.GetNum() >= 2 && freqHz.GetNum() == level.GetNum() && freqHz.IsSorted() &&
                       AllPositive(freqHz) && AllPositive(level);
    if (valid) {
        freqHz_ = freqHz;
        level_ = level;
        if (freqHz_.GetNum() == freqHz.GetNum() && level_.GetNum() == level.GetNum()) return 1;
    }
    freqHz_.Free();
    level_.Free();
    return 0;
}

double PsdProfile::GetLevel(double freqHz) const {
    const __int64 count = GetNumPoints();
    if (count == 0 || !(freqHz_[0] <= freqHz && freqHz <= freqHz_[count - 1])) return 0.0;
    const double* const begin = freqHz_.GetData();
    const __int64 above = std::upper_bound(begin, begin + count, freqHz) - begin;
    return SegmentAt(freqHz_, level_, std::min(above, count - 1) - 1).LevelAt(freqHz);
}

double PsdProfile::CalcRms() const {
    return CMatSpec::CalcPsdRms(level_, freqHz_, 0, 0);
}

int PsdProfile::ScaleToRms(double rms) {
    if (!IsPositive(rms)) return 0;
    return CMatSpec::ChangePsdLevel(rms, freqHz_, &level_);
}

int PsdProfile::GetLines(double dfHz, __int64 num, CDataArrayDouble* psd) const {
    if (psd == nullptr || num < 1 || !IsPositive(dfHz) || GetNumPoints() == 0) return 0;
    if (!psd->SetData(num, nullptr)) return 0;
    double* const lines = psd->GetData();

    // Each segment is cut at the borders of the cells it crosses.
    for (__int64 i = 0; i + 1 < GetNumPoints(); ++i) {
        const ProfileSegment whole = SegmentAt(freqHz_, level_, i);
        const double firstCell = std::max(1.0, std::floor(whole.f1 / dfHz + 0.5));
        if (firstCell >= static_cast<double>(num)) break;
        for (auto k = static_cast<__int64>(firstCell); k < num; ++k) {
            const double lower = std::max(whole.f1, (static_cast<double>(k) - 0.5) * dfHz);
            const double upper = std::min(whole.f2, (static_cast<double>(k) + 0.5) * dfHz);
            if (lower >= whole.f2) break;
            if (lower < upper) {
                lines[k] +=
                    ProfileSegment{lower, whole.LevelAt(lower), upper, whole.LevelAt(upper)}.Area() / dfHz;
            }
        }
    }
    return 1;
}

}  // namespace kvx
