// SPDX-License-Identifier: MIT
//
// What can be read from the lines of a spectrum: the motion behind the density of an acceleration, and peaks.
#pragma once

#include <optional>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Types.h>

#include "commands/Blocks.h"

namespace kvx::tool {

inline constexpr double kMillimetresPerMetre = 1000.0;

/// Overall rms values of the lines from `fromHz` on, in m/s2, m/s and m.
struct Motion {
    double fromHz;
    double acceleration;
    double velocity;
    double displacement;
};

/// The motion of which `density`, in (m/s2)2/Hz on lines `spacingHz` apart from 0 Hz on, tells: of the lines
/// in the band from the cut-off on, without the one at 0 Hz. No value for a band of that line alone; throws
/// Error when a cut-off above 0 leaves no line.
std::optional<Motion> MotionOf(const CDataArrayDouble& density, const Band& band, double spacingHz,
                               double cutoffHz);

struct Peak {
    double hz;
    double level;
    std::optional<double> q;  ///< none where a side does not fall to half the power
};

/// The `count` highest peaks among the lines in the band, highest first. `isDensity` tells that the levels
/// are powers, not amplitudes.
std::vector<Peak> FindPeaks(const CDataArrayDouble& levels, const Band& band, double spacingHz, __int64 count,
                            bool isDensity);

}  // namespace kvx::tool
