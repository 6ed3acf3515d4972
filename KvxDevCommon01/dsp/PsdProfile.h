// SPDX-License-Identifier: MIT
//
// PsdProfile: a power spectral density given by breakpoints, straight between them on log-log axes and 0
// outside, as random-vibration tests are specified. Levels are in unit^2/Hz. Not thread-safe while it is
// changed.
#pragma once

#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class KVX_API PsdProfile {
public:
    /// A profile without points, which is 0 everywhere.
    PsdProfile() = default;

    /// Takes over breakpoints: at least two, the frequencies [Hz] positive and strictly ascending, the levels
    /// positive, all finite. Fails (0) otherwise, leaving the profile without points.
    int SetPoints(std::span<const double> freqHz, std::span<const double> level);

    __int64 GetNumPoints() const { return freqHz_.GetNum(); }
    const CDataArrayDouble& GetFrequencies() const { return freqHz_; }
    const CDataArrayDouble& GetLevels() const { return level_; }

    /// Level at a frequency; 0 outside the profile.
    double GetLevel(double freqHz) const;

    /// Rms of a signal of this density: the square root of the exact integral.
    double CalcRms() const;

    /// Multiplies the levels so that the rms becomes `rms`. Fails (0) for rms <= 0 or not finite and without
    /// points.
    int ScaleToRms(double rms);

    /// The profile on lines k dfHz, k = 0..num-1: each line gets the mean of the profile over its cell from
    /// (k - 1/2) dfHz to (k + 1/2) dfHz, so that dfHz times the sum of the lines is the power of the profile,
    /// wherever its ends and corners lie between the lines. A line whose cell the profile fills only in part
    /// is the lower for it. The DC line stays 0: what lies below dfHz/2 or above the last cell is left out.
    /// Fails (0) for a null array, num < 1, dfHz <= 0, a profile without points or when memory runs out.
    int GetLines(double dfHz, __int64 num, CDataArrayDouble* psd) const;

private:
    CDataArrayDouble freqHz_;
    CDataArrayDouble level_;
};

}  // namespace kvx
