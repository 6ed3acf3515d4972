// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <cmath>
#include <string>

namespace kvx {

static_assert(kLargestBlock == std::int64_t{1} << kMaxLog2Size);

void RequireBlockSize(std::int64_t size, std::int64_t smallest) {
    if (IsTransformSize(size, smallest)) return;
    throw Error(ErrorKind::kBadValue, std::to_string(size) + " is not a power of two from " +
                                          std::to_string(smallest) + " to " + std::to_string(kLargestBlock));
}

bool BlockCut::IsValid() const {
    return IsTransformSize(size, kSmallestBlock) && overlap >= 0 && overlap < size;
}

std::int64_t BlockCut::Count(std::int64_t samples) const {
    if (!IsValid() || samples < size) return 0;
    return (samples - size) / Step() + 1;
}

BlockCut RequireCut(const BlockCut& cut) {
    RequireBlockSize(cut.size);
    if (cut.IsValid()) return cut;
    throw Error(ErrorKind::kBadValue, "an overlap of " + Count(cut.overlap, "sample") +
                                          " leaves no step between blocks of " + std::to_string(cut.size));
}

BlockCut CutWithOverlap(std::int64_t size, double percent) {
    RequireBlockSize(size);
    const double overlap = std::round(static_cast<double>(size) * percent / 100.0);
    if (!(percent >= 0.0 && overlap < static_cast<double>(size))) {
        throw Error(ErrorKind::kBadValue,
                    FormatNumber(percent) + " % leaves no step between blocks of " + std::to_string(size));
    }
    return {size, static_cast<std::int64_t>(overlap)};
}

}  // namespace kvx
