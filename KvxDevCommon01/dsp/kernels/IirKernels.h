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
///   v = glide v1 + ((n0 x + n2 x2) + (n1 x1 - leak r2))
///   r = side r1 + v, then 0 below kIirSilence, and v with it
///   y = direct x + r
///
/// with every product and sum rounded on its own, side being 1 or -1; x1, r1, v1 are those of the sample
/// before and x2, r2 of the one before that. No more than a product and a sum lie between v1 and v, nor
/// between r1 and r: this is what a sample takes at least.
struct IirSection {
    double side{}, direct{}, n0{}, n1{}, n2{}, glide{}, leak{};
    double x1{}, x2{}, r1{}, r2{}, v1{};
};

/// Sections that the loop runs side by side.
inline constexpr std::int64_t kIirSections = 8;

/// Up to kIirSections sections that follow each other, each field of all of them side by side. Behind the
/// last one the sections idle: side, r1 and r2 are 1, all else 0.
struct IirGroup {
    using Row = double[kIirSections];
    Row side, direct, n0, n1, n2, glide, leak;
    Row x1, x2, r1, r2, v1;
};

/// A group gets its samples in rounds; each section is one round behind the one before.
inline constexpr std::int64_t kIirRound = 4;

struct IirKernels {
    /// Runs `count` samples, no fewer than kIirRound for each section, through the first 2 to kIirSections
    /// sections of a group, one after the other. `out` may be `data`. Samples below kIirSilence count as 0
    /// where `isInput`.
    void (*runSections)(IirGroup* group, std::int64_t sectionCount, bool isInput, const double* data,
                        double* out, std::int64_t count);
};

KVX_DECLARE_KERNELS(IirKernels)

}  // namespace kvx
