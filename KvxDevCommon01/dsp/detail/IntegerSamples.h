// SPDX-License-Identifier: MIT
//
// Samples that come or go as 32-bit integers.
#pragma once

#include <KvxDevCommon01/platform/Types.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kvx {

/// The nearest integer, halves away from 0, within the limits of 32 bits; 0 for not-a-number.
inline std::int32_t RoundToInteger(double value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value)) return 0;
    return static_cast<std::int32_t>(std::round(std::clamp<double>(value, Limits::min(), Limits::max())));
}

/// Calls feed(samples, count) for the `num` integers at `data` in blocks of doubles; returns 0 when one of
/// the calls did.
template <class Feed>
int FeedIntegers(const std::int32_t* data, __int64 num, Feed feed) {
    std::array<double, 256> block;
    int done = 1;
    while (num > 0) {
        const __int64 run = std::min(num, static_cast<__int64>(block.size()));
        std::copy_n(data, run, block.begin());
        done &= feed(block.data(), run);
        data += run;
        num -= run;
    }
    return done;
}

/// Takes `num` samples by take(samples, count), which says how many it gave, and writes them to `out` as
/// integers; returns how many there were.
template <class Take>
__int64 TakeIntegers(std::int32_t* out, __int64 num, Take take) {
    std::array<double, 256> block;
    __int64 taken = 0;
    while (taken < num) {
        const __int64 run = take(block.data(), std::min(num - taken, static_cast<__int64>(block.size())));
        if (run == 0) break;
        std::transform(block.data(), block.data() + run, out + taken, RoundToInteger);
        taken += run;
    }
    return taken;
}

}  // namespace kvx
