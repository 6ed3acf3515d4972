// SPDX-License-Identifier: MIT
//
// How callers reach the element-wise kernels: a run too short to be worth a call, and one whose steps see
// what the steps before them wrote, goes through a plain loop, with the same bits.
#pragma once

#include <functional>

#include <KvxDevCommon01/data/kernels/ElementKernels.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

inline constexpr __int64 kShortRun = 16;

/// Whether writing forward to `to` changes elements of `from` before they are read.
inline bool Overtakes(const double* to, const double* from, __int64 count) {
    const std::less<const double*> before;
    return before(from, to) && before(to, from + count);
}

/// to[i] = operation(a[i], b[i]), in this order, by a kernel that does the same.
template <class Operation>
void SetOfTwo(double* to, const double* a, const double* b, __int64 count,
              ElementKernels::OfTwo* ElementKernels::*kernel, Operation operation) {
    if (count < kShortRun || Overtakes(to, a, count) || Overtakes(to, b, count)) {
        for (__int64 i = 0; i < count; ++i) to[i] = operation(a[i], b[i]);
    } else {
        (ActiveKernels<ElementKernels>().*kernel)(to, a, b, count);
    }
}

/// values[i] = operation(values[i], k), likewise.
template <class Operation>
void ChangeEach(double* values, double k, __int64 count, ElementKernels::OfNumber* ElementKernels::*kernel,
                Operation operation) {
    if (count < kShortRun) {
        for (__int64 i = 0; i < count; ++i) values[i] = operation(values[i], k);
    } else {
        (ActiveKernels<ElementKernels>().*kernel)(values, values, k, count);
    }
}

}  // namespace kvx
