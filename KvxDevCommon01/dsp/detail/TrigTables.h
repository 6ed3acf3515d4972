// SPDX-License-Identifier: MIT
//
// The sine table of the signal processing and the twiddle factors read from it. All are built on first use,
// behind a once-guard, and only read from then on; any thread may ask for them.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

#include <bit>
#include <cstdint>

namespace kvx {

/// Entries of the sine table to the half turn: entry k is sin(k pi/65536).
inline constexpr std::int64_t kSineHalfTurn = 65536;

/// Entries of the sine table, which covers [0, 3 pi/2).
inline constexpr std::int64_t kSineCount = 98304;

/// The largest transform of the given classes, of 2^17 points.
inline constexpr int kMaxLog2Size = 17;

/// Whether `size` is a power of two from `smallest` to that size.
inline bool IsTransformSize(std::int64_t size, std::int64_t smallest = 1) {
    return size >= smallest && size <= std::int64_t{1} << kMaxLog2Size &&
           std::has_single_bit(static_cast<std::uint64_t>(size));
}

/// The sine table. Exactly symmetric: sin(pi - x) and sin x, cos x and sin(pi/2 + x) are the same bits.
KVX_API const double* SineTable();

/// Cosine and sine of 2 pi k/131072, 0 <= k < 131072.
struct TableAngle {
    double cosine;
    double sine;

    explicit TableAngle(std::int64_t k) {
        const double sign = k < kSineHalfTurn ? 1.0 : -1.0;
        const double* const entry = SineTable() + k % kSineHalfTurn;
        cosine = sign * entry[kSineHalfTurn / 2];
        sine = sign * entry[0];
    }
};

/// The smallest and the largest transform that the kernels have, of 2^4 and 2^22 points.
inline constexpr int kMinLog2PlannedSize = 4;
inline constexpr int kMaxLog2PlannedSize = 22;

/// The plan of the transforms of 2^log2Size points, kMinLog2PlannedSize <= log2Size <= kMaxLog2PlannedSize.
/// Throws std::bad_alloc only above kMaxLog2Size.
KVX_API const FftPlan& TransformPlan(int log2Size);

}  // namespace kvx
