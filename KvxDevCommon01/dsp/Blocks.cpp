// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <bit>
#include <cmath>
#include <string>

namespace kvx {

static_assert(kLargestBlock == std::int64_t{1} << kMaxLog2PlannedSize);
static_assert(kLargestGivenBlock == std::int64_t{1} << kMaxLog2Size);

namespace {

bool IsBlockSize(std::int64_t size, std::int64_t smallest, std::int64_t largest) {
    return size >= smallest && size <= largest && std::has_single_bit(static_cast<std::uint64_t>(size));
}

/// Throws Error unless blocks of that size can be transformed at `transformSize` points, 0 for as many as the
/// block has.
void RequireTransformed(std::int64_t size, std::int64_t transformSize) {
    RequireBlockSize(transformSize == 0 ? size : transformSize);
    if (transformSize == 0 || (size >= kSmallestBlock && size <= transformSize)) return;
    throw Error(ErrorKind::kBadValue, "a block of " + std::to_string(size) +
                                          " does not go into a transform of " +
                                          Count(transformSize, "point"));
}

}  // namespace

void RequireBlockSize(std::int64_t size, std::int64_t smallest, std::int64_t largest) {
    if (IsBlockSize(size, smallest, largest)) return;
    throw Error(ErrorKind::kBadValue, std::to_string(size) + " is not a power of two from " +
                                          std::to_string(smallest) + " to " + std::to_string(largest));
}

std::int64_t BlockSizeFor(double rateHz, double spacingHz) {
    if (!(rateHz > 0.0) || !(spacingHz > 0.0))
        throw Error(ErrorKind::kBadValue, "a sampling rate and the spacing of lines are above 0");
    // A rate over its own power of two is that power in spite of rounding.
    constexpr double kSlack = 1.0 + 1e-12;
    std::int64_t size = kSmallestBlock;
    while (rateHz / static_cast<double>(size) > spacingHz * kSlack) {
        size *= 2;
        if (size <= kLargestBlock) continue;
        throw Error(ErrorKind::kBadValue, "lines " + FormatNumber(spacingHz) + " Hz apart at " +
                                              FormatNumber(rateHz, 10) + " Hz take more than the " +
                                              std::to_string(kLargestBlock) +
                                              " samples of the largest block");
    }
    return size;
}

bool BlockCut::IsValid() const {
    return IsBlockSize(size, kSmallestBlock, kLargestBlock) && overlap >= 0 && overlap < size;
}

std::int64_t BlockCut::Count(std::int64_t samples) const {
    if (!IsValid() || samples < size) return 0;
    return (samples - size) / Step() + 1;
}

BlockCut RequireCut(const BlockCut& cut, std::int64_t transformSize) {
    RequireTransformed(cut.size, transformSize);
    if (cut.overlap >= 0 && cut.overlap < cut.size) return cut;
    throw Error(ErrorKind::kBadValue, "an overlap of " + Count(cut.overlap, "sample") +
                                          " leaves no step between blocks of " + std::to_string(cut.size));
}

BlockCut CutWithOverlap(std::int64_t size, double percent, std::int64_t transformSize) {
    RequireTransformed(size, transformSize);
    const double overlap = std::round(static_cast<double>(size) * percent / 100.0);
    if (!(percent >= 0.0 && overlap < static_cast<double>(size))) {
        throw Error(ErrorKind::kBadValue,
                    FormatNumber(percent) + " % leaves no step between blocks of " + std::to_string(size));
    }
    return {size, static_cast<std::int64_t>(overlap)};
}

}  // namespace kvx
