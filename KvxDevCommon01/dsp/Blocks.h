// SPDX-License-Identifier: MIT
//
// How a signal is cut into blocks for analysis, and the two numbers on which the suite's signal processing
// agrees: its largest block, and the sampling rate over the highest frequency that counts.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>

namespace kvx {

inline constexpr std::int64_t kSmallestBlock = 2;
inline constexpr std::int64_t kLargestBlock = 131072;

/// A signal sampled at `rate` is good up to rate/kRateOverBand.
inline constexpr double kRateOverBand = 2.56;

/// Throws Error (kBadValue) unless `size` is a power of two from `smallest` to kLargestBlock.
KVX_API void RequireBlockSize(std::int64_t size, std::int64_t smallest = kSmallestBlock);

/// How a signal is cut: block b starts at sample b (size - overlap). Only full blocks count.
struct BlockCut {
    std::int64_t size;
    std::int64_t overlap;

    /// Whether `size` is a power of two from kSmallestBlock to kLargestBlock and 0 <= overlap < size.
    KVX_API bool IsValid() const;

    /// Full blocks in a signal of `samples` samples; 0 for a cut that is not valid.
    KVX_API std::int64_t Count(std::int64_t samples) const;

    /// Samples from the start of a block to that of the next.
    std::int64_t Step() const { return size - overlap; }
};

/// The cut; throws Error (kBadValue) unless it is valid.
KVX_API BlockCut RequireCut(const BlockCut& cut);

/// Blocks of `size` samples that overlap by `percent` of it, rounded to samples. Throws Error (kBadValue) for
/// another size than RequireBlockSize takes, and unless 0 <= overlap < size.
KVX_API BlockCut CutWithOverlap(std::int64_t size, double percent);

}  // namespace kvx
