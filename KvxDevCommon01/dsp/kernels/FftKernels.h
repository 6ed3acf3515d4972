// SPDX-License-Identifier: MIT
//
// The inner loops of the Fourier transform of real blocks. All sets give the same results within the error
// bound of docs/numerics.md; they are not bit-identical, because some of them fuse multiplications and
// additions.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// Twiddle factors of the transforms up to one size. Entry m belongs to n = 2^m points and, with quarter =
/// n/4, holds six runs of `quarter` values: cos a, sin a, cos 2a, sin 2a, cos 3a, sin 3a for a = 2 pi p/n, p
/// = 0..quarter-1. Entries 0 and 1 are not used; the largest entry may hold its first two runs only.
using TwiddleTables = const double* const*;

/// The transforms of one instruction set. A block has 2^log2Size points, log2Size >= 4; blocks need no
/// alignment.
struct FftKernels {
    /// X[k] = sum over n of wave[n] e^(-2 pi i k n/N) for k = 0..N-1, split into `re` and `im` of N values
    /// each. `wave` may be `re`; else the blocks must not overlap. Needs twiddle entries up to log2Size.
    void (*forward)(std::int64_t log2Size, TwiddleTables twiddles, const double* wave, double* re,
                    double* im);

    /// wave[n] = sum over k of X[k] e^(+2 pi i k n/N), X[N-k] = conj X[k], from the lines 0..N/2 in `re` and
    /// `im`, of which im[0] and im[N/2] are taken as 0. The wave replaces `re`; `im`, of N values too, is
    /// left undefined.
    void (*inverse)(std::int64_t log2Size, TwiddleTables twiddles, double* re, double* im);
};

KVX_DECLARE_KERNELS(FftKernels)

}  // namespace kvx
