// SPDX-License-Identifier: MIT
//
// The inner loops over complex numbers in split form, amplitude and phase among them. Products and sums are
// rounded one by one, so that all sets give the same bits.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// Blocks of real and imaginary parts, to read or to write.
struct SplitValues {
    const double* re;
    const double* im;
};
struct SplitResults {
    double* re;
    double* im;
};

/// The unit of a phase.
struct PhaseUnit {
    double factor;          ///< of an angle in radians
    double factorHigh;      ///< the first 26 bits of the factor's significand
    double eighthTurn;      ///< rounded; three times it is exact
    double eighthTurnRest;  ///< what the rounding took away
};
inline constexpr PhaseUnit kPhaseInRadians{1.0, 1.0, 0.7853981633974483, 3.061616997868383e-17};
inline constexpr PhaseUnit kPhaseInDegrees{57.29577951308232, 57.29577922821045, 45.0, 0.0};

/// The loops of one instruction set over `count` numbers. Blocks need no alignment; results may replace
/// operands.
struct ComplexKernels {
    /// a b
    void (*multiply)(const SplitResults& to, const SplitValues& a, const SplitValues& b, std::int64_t count);
    /// a conj(b) factor, no-value in both parts where one of the four parts has none
    void (*crossPower)(const SplitResults& to, const SplitValues& a, const SplitValues& b, double factor,
                       std::int64_t count);
    /// The magnitude, scaled by the larger part
    void (*magnitude)(double* to, const SplitValues& a, std::int64_t count);
    /// Amplitude and phase, each within two units in the last place (see numerics.md); no-value in both where
    /// one part has none. 0 + 0i has phase 0.
    void (*polar)(double* amplitude, double* phase, const SplitValues& a, const PhaseUnit& unit,
                  std::int64_t count);
};

KVX_DECLARE_KERNELS(ComplexKernels)

}  // namespace kvx
