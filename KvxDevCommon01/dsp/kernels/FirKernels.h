// SPDX-License-Identifier: MIT
//
// The inner loops of the FIR filters. Multiplications and additions are never fused and every sum has its one
// order, so that all sets give the same bits.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// How many results more than asked for the loops may compute, to fill their last vector.
inline constexpr std::int64_t kFirOverrun = 15;

/// The FIR loops of one instruction set. Blocks need no alignment.
struct FirKernels {
    /// y[k] = coef[0] x[offsets[0] + k] + coef[1] x[offsets[1] + k] + ... over `taps` >= 1 terms, added in
    /// this order, for k = 0..count-1. `x` and `y` have room for kFirOverrun results more, of whatever value.
    /// `y` must not overlap the rest.
    void (*weightedSums)(const double* coef, const std::int64_t* offsets, std::int64_t taps, const double* x,
                         double* y, std::int64_t count);

    /// sums[k] = sums[k + 1] + coef[k] x for k = 0..count-1, with the same room in both blocks.
    void (*addScaledShifted)(const double* coef, double x, double* sums, std::int64_t count);
};

KVX_DECLARE_KERNELS(FirKernels)

}  // namespace kvx
