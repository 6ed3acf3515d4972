// SPDX-License-Identifier: MIT
//
// Blocks of elements walked as rings: an index that reaches the end of its block restarts at 0. All loops
// over rings are cut into contiguous stretches here.
#pragma once

#include <algorithm>

#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A position on the ring of `count` >= 1 elements at `data`, 0 <= position < count.
template <typename Element>
struct Ring {
    Element* data;
    __int64 count;
    __int64 position;

    Element* Here() const { return data + position; }
    __int64 ToEnd() const { return count - position; }
    void Advance(__int64 step) {
        position += step;
        if (position == count) position = 0;
    }
};

/// Walks `num` elements along all rings in step and calls `action(length, pointers...)` for every stretch in
/// which none of them wraps; calls nothing for num < 1.
template <class Action, typename... Elements>
void WalkRings(__int64 num, Action action, Ring<Elements>... rings) {
    while (num > 0) {
        const __int64 step = std::min({num, rings.ToEnd()...});
        action(step, rings.Here()...);
        if (step == num) return;
        (rings.Advance(step), ...);
        num -= step;
    }
}

/// `index` brought into [0, count) by whole turns; negative indices count from the end.
inline __int64 WrapIndex(__int64 index, __int64 count) {
    if (index >= 0 && index < count) return index;  // a division takes longer than many a run
    const __int64 rest = index % count;
    return rest < 0 ? rest + count : rest;
}

}  // namespace kvx
