// SPDX-License-Identifier: MIT
//
// Bounds for people: an axis fitted to its data, and numbers rounded to a few digits. Pure functions, safe
// from any thread.
#pragma once

#include <cstdint>
#include <optional>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/AxisMapping.h>

namespace kvx {

/// How the bounds of automatic axes relate to the data. A step is about 1 % of the data's range.
enum class RangeRounding : std::uint32_t {
    kNearest = 1,          ///< to the nearest step
    kOutward = 2,          ///< outward to a step
    kStrictlyOutward = 3,  ///< outward, and always beyond the data
    kInward = 4,           ///< inward to a step
    kStrictlyInward = 5,   ///< inward, and always within the data
};

/// Bounds for data between `first` and `second`, which come in either order: multiples of a step of the
/// series 1, 2, 5. The step is a hundredth of the range, or on a logarithmic axis, for positive data that
/// reach over a factor of 2, a twentieth of each bound. Data without a step (of one value) are their own
/// bounds. No value for another mode and for data whose range is not finite.
KVX_API std::optional<AxisRange> AutoRange(double first, double second, AxisForm form, RangeRounding mode);

/// Rounds a bound to `digits` significant digits for display: a positive one to the nearest, a negative one
/// down by half a unit or up to one and a half. That the two differ is deliberate. A value that cannot be
/// rounded so stays as it is.
KVX_API double RoundToSignificantDigits(double value, int digits);

}  // namespace kvx
