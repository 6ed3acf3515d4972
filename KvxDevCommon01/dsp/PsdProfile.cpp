// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

namespace kvx {

PsdProfile::PsdProfile(std::span<const double> freqHz, std::span<const double> levels) {
    if (!IsProfile(freqHz, levels)) {
        throw Error(ErrorKind::kBadValue,
                    "a profile needs two breakpoints or more with rising frequencies and levels above 0");
    }
    freqHz_.assign(freqHz.begin(), freqHz.end());
    levels_.assign(levels.begin(), levels.end());
}

double PsdProfile::LevelAt(double freqHz) const {
    return ProfileLevelAt(freqHz_, levels_, freqHz);
}

double PsdProfile::Rms() const {
    return freqHz_.empty() ? 0.0 : std::sqrt(ProfilePower(freqHz_, levels_, 0, freqHz_.size() - 1));
}

double PsdProfile::Power(double fromHz, double toHz) const {
    double power = 0.0;
    for (std::size_t i = 0; i + 1 < freqHz_.size(); ++i) {
        const ProfileSegment whole = SegmentAt(freqHz_, levels_, i);
        const double lower = std::max(whole.f1, fromHz);
        const double upper = std::min(whole.f2, toHz);
        if (lower < upper)
            power += ProfileSegment{lower, whole.LevelAt(lower), upper, whole.LevelAt(upper)}.Area();
    }
    return power;
}

double PsdProfile::RmsOfIntegral(int times) const {
    std::vector<double> levels(levels_);
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] *= std::pow(2.0 * std::numbers::pi * freqHz_[i], -2 * times);
    return levels.empty() ? 0.0 : std::sqrt(ProfilePower(freqHz_, levels, 0, levels.size() - 1));
}

std::vector<double> PsdProfile::Lines(double dfHz, std::size_t count) const {
    if (freqHz_.empty() || count == 0 || !(dfHz > 0.0) || !std::isfinite(dfHz)) {
        throw Error(ErrorKind::kBadValue,
                    "lines need breakpoints, a spacing above 0 and a count of 1 or more");
    }
    if (count > std::vector<double>().max_size()) throw std::bad_alloc();
    std::vector<double> lines(count);
    // Each segment is cut at the borders of the cells it crosses.
    for (std::size_t i = 0; i + 1 < freqHz_.size(); ++i) {
        const ProfileSegment whole = SegmentAt(freqHz_, levels_, i);
        const double firstCell = std::max(1.0, std::floor(whole.f1 / dfHz + 0.5));
        if (firstCell >= static_cast<double>(count)) break;
        for (auto k = static_cast<std::size_t>(firstCell); k < count; ++k) {
            const double lower = std::max(whole.f1, (static_cast<double>(k) - 0.5) * dfHz);
            const double upper = std::min(whole.f2, (static_cast<double>(k) + 0.5) * dfHz);
            if (lower >= whole.f2) break;
            if (lower < upper) {
                lines[k] +=
                    ProfileSegment{lower, whole.LevelAt(lower), upper, whole.LevelAt(upper)}.Area() / dfHz;
            }
        }
    }
    return lines;
}

}  // namespace kvx
