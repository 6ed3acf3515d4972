// SPDX-License-Identifier: MIT
//
// Ranges of rings, cut into contiguous runs.
#pragma once

#include <KvxDevCommon01/platform/Types.h>

#include <algorithm>

namespace kvx {

/// Calls visit(position, count) for each contiguous run of `num` positions on from `start` of a ring of
/// `length` >= 1. `start` is taken into the ring by whole turns: below 0 it counts from the end.
template <class Visit>
void ForEachRingRun(__int64 start, __int64 num, __int64 length, Visit visit) {
    __int64 position = start % length;
    if (position < 0) position += length;
    while (num > 0) {
        const __int64 run = std::min(num, length - position);
        visit(position, run);
        num -= run;
        position = 0;
    }
}

}  // namespace kvx
