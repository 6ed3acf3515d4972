// SPDX-License-Identifier: MIT
//
// The inner loops of the FIR filters. Every sum begins with the oldest sample and takes one term after the
// other; multiplication and addition are one operation, rounded once, where the set has it. Within a set all
// loops therefore give the same bits for the same sum.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// How many elements behind those asked for some of the loops read or write, to fill their last vector.
inline constexpr std::int64_t kFirOverrun = 7;

/// The FIR loops of one instruction set. Blocks need no alignment; results must not overlap what is read.
struct FirKernels {
    /// y[k] = coef[0] x[k] + coef[1] x[k + 1] + ... over `taps` >= 1 terms, for k = 0..count-1.
    void (*convolve)(const double* coef, std::int64_t taps, const double* x, double* y, std::int64_t count);

    /// Deals `count` samples out to rows[row * rowLength + k] = x[k * ratio + row] for row = 0..rowCount-1,
    /// rowCount <= ratio. All rows have room for kFirOverrun samples more.
    void (*deal)(const double* x, std::int64_t count, std::int64_t ratio, double* rows, std::int64_t rowCount,
                 std::int64_t rowLength);

    /// y[k] = coef[0] x[offsets[0] + k] + coef[1] x[offsets[1] + k] + ..., as above, where
    /// offsets[tap + ratio] = offsets[tap] + 1. `x` has room for kFirOverrun samples more.
    void (*weightedSums)(const double* coef, const std::int64_t* offsets, std::int64_t taps,
                         std::int64_t ratio, const double* x, double* y, std::int64_t count);

    /// `ratio` results of each of `count` samples. Result r of sample k, y[k * ratio + r], is the sum over
    /// the taps t for which taps - 1 - r - t is a multiple of the ratio: of coef[t] times the sample as many
    /// before x[k] as the multiple says. Without such a tap, from r = taps on, y is left alone.
    void (*interpolate)(const double* coef, std::int64_t taps, std::int64_t ratio, const double* x, double* y,
                        std::int64_t count);

    /// sums[k] = sums[k + 1] + coef[k + 1] x for k = 0..taps-2, with the room of kFirOverrun in both blocks;
    /// returns sums[0] + coef[0] x.
    double (*addTerms)(const double* coef, double x, double* sums, std::int64_t taps);
};

KVX_DECLARE_KERNELS(FirKernels)

}  // namespace kvx
