// SPDX-License-Identifier: MIT
//
// Changes of breakpoint profiles: levels in a band, the rms, a profile from the lines of a spectrum. Each
// function returns a changed copy. Outside the band that it is about a profile stays as it is: breakpoints
// are added where that takes some.
//
// All of them throw Error (kBadValue) for arguments outside the ranges below, for a profile without points,
// and when a level or the rms leaves the range of numbers.
#pragma once

#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>

namespace kvx {

/// The profile with `level` > 0 from lowHz to highHz, 0 < lowHz < highHz, a band that overlaps the profile.
/// Its flanks are 0.1 % of the frequency wide, beside the band.
KVX_API PsdProfile WithLevel(const PsdProfile& profile, double lowHz, double highHz, double level);

/// The profile with the levels of such a band multiplied by `ratio` > 0. With a finite `slope` other than 0
/// the factor goes back to 1 beside the band as (f/corner)^slope, where it does: a ratio below 1 with a
/// positive slope, one above 1 with a negative one. Above the band this holds up to the profile's next
/// breakpoint. Other edges are flanks as WithLevel has them.
KVX_API PsdProfile WithLevelRatio(const PsdProfile& profile, double lowHz, double highHz, double ratio,
                                  double slope = 0.0);

/// The profile with all levels multiplied so that its rms becomes `rms` > 0.
KVX_API PsdProfile WithRms(const PsdProfile& profile, double rms);

/// The lines k dfHz, k = 1, 2, ..., of a density that are above 0 as breakpoints; there must be two of them.
KVX_API PsdProfile ProfileOfLines(std::span<const double> lines, double dfHz);

}  // namespace kvx
