// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace kvx {
namespace {

bool IsPositive(double value) {
    return value > 0.0 && std::isfinite(value);
}

/// As many elements as `values` has, or none when memory runs out.
int Assign(CDataArrayDouble* array, std::span<const double> values) {
    return array->SetData(std::ssize(values), values.data());
}

}  // namespace

int PsdProfile::SetPoints(std::span<const double> freqHz, std::span<const double> level) {
    const bool valid = freqHz.size() >= 2 && freqHz.size() == level.size() &&
                       std::ranges::all_of(freqHz, IsPositive) && std::ranges::all_of(level, IsPositive);
    // Both are copied before either is replaced: they may be this profile's own.
    CDataArrayDouble newFreqHz, newLevel;
    if (valid && Assign(&newFreqHz, freqHz) && Assign(&newLevel, level) && newFreqHz.IsSorted()) {
        freqHz_ = std::move(newFreqHz);
        level_ = std::move(newLevel);
        return 1;
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
