// SPDX-License-Identifier: MIT
//
// Values in the standard unit as shown ones and back. Temperatures are readings, not differences, unless they
// are a member of a compound.
#pragma once

#include <span>

#include <KvxDevCommon01/units/ValConv.h>

namespace kvx::plot {

inline double ToShown(const CValConv& shown, double value) {
    return shown.ConvDtoI(value, shown.GetUnit().IsSingle());
}

inline double ToStandard(const CValConv& shown, double value) {
    return shown.ConvItoD(value, shown.GetUnit().IsSingle());
}

/// In place.
inline void ToShown(const CValConv& shown, std::span<double> values) {
    shown.ConvDtoI(values.data(), values.data(), std::ssize(values), shown.GetUnit().IsSingle());
}

}  // namespace kvx::plot
