// SPDX-License-Identifier: MIT
//
// PsdProfile: a power spectral density given by breakpoints, straight between them on log-log axes and 0
// outside, as random-vibration tests are specified. Levels are in unit^2/Hz. A value that
// does not change; ProfileEditing.h makes changed ones of it.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

class KVX_API PsdProfile {
public:
    /// A profile without points, which is 0 everywhere.
    PsdProfile() = default;

    /// A profile of breakpoints: at least two, the frequencies [Hz] positive and strictly ascending, the
    /// levels positive, all finite. Throws Error (kBadValue) otherwise.
    PsdProfile(std::span<const double> freqHz, std::span<const double> levels);

    /// The breakpoints; good for as long as the profile is neither assigned nor destroyed.
    std::span<const double> Frequencies() const { return freqHz_; }
    std::span<const double> Levels() const { return levels_; }

    /// Level at a frequency; 0 outside the profile.
    double LevelAt(double freqHz) const;

    /// Rms of a signal of this density: the square root of the exact integral. It may be infinite or 0 where
    /// levels are near the limits of double.
    double Rms() const;

    /// The power from one frequency to a higher one: the exact integral over what of it lies in the profile.
    double Power(double fromHz, double toHz) const;

    /// Rms of the signal integrated `times` >= 0 times over time: with levels of an acceleration in
    /// (m/s2)^2/Hz that of the velocity in m/s for 1 and of the displacement in m for 2. The exact integral
    /// of level/(2 pi f)^(2 times), which is straight between the breakpoints, too.
    double RmsOfIntegral(int times) const;

    /// The profile on lines k dfHz, k = 0..count-1: each line gets the mean of the profile over its cell from
    /// (k - 1/2) dfHz to (k + 1/2) dfHz, so that dfHz times the sum of the lines is the power of the profile,
    /// wherever its ends and corners lie between the lines. A line whose cell the profile fills only in part
    /// is the lower for it. The DC line stays 0: what lies below dfHz/2 or above the last cell is left out.
    /// Throws Error (kBadValue) for a spacing that is not positive and finite, no lines and a profile without
    /// points.
    std::vector<double> Lines(double dfHz, std::size_t count) const;

private:
    std::vector<double> freqHz_;
    std::vector<double> levels_;
};

}  // namespace kvx
