// SPDX-License-Identifier: MIT
//
// How a signal is cut into blocks for analysis, and the numbers on which the suite's signal processing
// agrees: its largest blocks, and the sampling rate over the highest frequency that counts.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>

namespace kvx {

inline constexpr std::int64_t kSmallestBlock = 2;
inline constexpr std::int64_t kLargestBlock = 4194304;
/// That of the given classes and of filters through spectra.
inline constexpr std::int64_t kLargestGivenBlock = 131072;

/// A signal sampled at `rate` is good up to rate/kRateOverBand.
inline constexpr double kRateOverBand = 2.56;

/// Throws Error (kBadValue) unless `size` is a power of two from `smallest` to `largest`.
KVX_API void RequireBlockSize(std::int64_t size, std::int64_t smallest = kSmallestBlock,
                              std::int64_t largest = kLargestBlock);

/// The smallest block size whose lines are at most `spacingHz` apart. Throws Error (kBadValue) where that
/// takes more than kLargestBlock, and for a rate or spacing that is not above 0.
KVX_API std::int64_t BlockSizeFor(double rateHz, double spacingHz);

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

/// The cut; throws Error (kBadValue) unless it is valid. With a `transformSize` above 0 zeros follow the
/// block up to that block size, and it may itself have any size from kSmallestBlock to that.
KVX_API BlockCut RequireCut(const BlockCut& cut, std::int64_t transformSize = 0);

/// Blocks of `size` samples that overlap by `percent` of it, rounded to samples. Throws Error (kBadValue) as
/// RequireCut.
KVX_API BlockCut CutWithOverlap(std::int64_t size, double percent, std::int64_t transformSize = 0);

}  // namespace kvx
