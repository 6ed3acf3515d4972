// SPDX-License-Identifier: MIT
//
// From a sum of powers to an rms.
#pragma once

#include <cmath>

namespace kvx {

/// Square root of a sum of powers, 0 for a negative one; a NaN stays.
inline double RootOfPower(double power) {
    return power < 0.0 ? 0.0 : std::sqrt(power);
}

}  // namespace kvx
