// SPDX-License-Identifier: MIT
//
// The inner loop of shock response spectra. Multiplications and additions are never fused, so that all sets
// give the same bits.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// Oscillators that the loop runs side by side.
inline constexpr std::int64_t kShockOscillators = 8;

/// kShockOscillators oscillators, each field of all of them side by side. From the excitation u0 of one
/// sample to u1 of the next, between which it runs straight, the response y and its companion z, the second
/// quantity of the oscillator's state, grow by
///
///   y: (yy y + yz z) + (y0 u0 + y1 u1)
///   z: (zy y + zz z) + (z0 u0 + z1 u1)
///
/// with every product and sum rounded on its own. Fields that are 0 make an oscillator that rests.
struct ShockGroup {
    using Row = double[kShockOscillators];
    Row yy, yz, y0, y1;
    Row zy, zz, z0, z1;
    Row y, z;
    Row highest, lowest;  ///< of y at the samples
};

struct ShockKernels {
    /// Runs `count` samples of the excitation, `before` being the one before the first of them.
    void (*run)(ShockGroup* group, double before, const double* data, std::int64_t count);
};

KVX_DECLARE_KERNELS(ShockKernels)

}  // namespace kvx
