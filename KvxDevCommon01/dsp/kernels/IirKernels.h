// SPDX-License-Identifier: MIT
//
// The inner loop of the recursive filters. Multiplications and additions are never fused, so that all sets
// give the same bits.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// Magnitudes below this count as 0: far below every signal and far above the subnormal numbers.
inline constexpr double kIirSilence = 0x1p-512;

/// A section of a recursive filter, its coefficients and its memory. A sample x makes the output y:
///
///   v1 = (glide v1 + ((n0 x + n2 x2) + n1 x1)) - leak r1
///   r1 = side r1 + v1, then 0 below kIirSilence, and v1 with it
///   y = direct x + r1
///
/// with every product and sum rounded on its own; x1 and x2 are the samples before.
struct IirSection {
    double side{}, direct{}, n0{}, n1{}, n2{}, glide{}, leak{};
    double x1{}, x2{}, r1{}, v1{};
};

/// Sections that the loop runs side by side.
inline constexpr std::int64_t kIirSections = 8;

struct IirKernels {
    /// Runs `count` >= 1 samples through 2 to kIirSections sections, one after the other. `out` may be
    /// `data`. Samples below kIirSilence count as 0 where `isInput`.
    void (*runSections)(IirSection* sections, std::int64_t sectionCount, bool isInput, const double* data,
                        double* out, std::int64_t count);
};

KVX_DECLARE_KERNELS(IirKernels)

}  // namespace kvx
