// SPDX-License-Identifier: MIT
//
// How the elements of vectors of doubles change places: for kernels that transform, reverse or interleave. As
// Lanes.h, for sources of kernels only.
#pragma once

#include <KvxDevCommon01/platform/kernels/Lanes.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

#if defined(__GNUC__)

/// The elements in the opposite order.
template <unsigned kWidth>
KVX_ALWAYS_INLINE Vector<kWidth> Reversed(Vector<kWidth> v) {
    if constexpr (kWidth == 8) {
        return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0);
    } else if constexpr (kWidth == 4) {
        return __builtin_shufflevector(v, v, 3, 2, 1, 0);
    } else if constexpr (kWidth == 2) {
        return __builtin_shufflevector(v, v, 1, 0);
    } else {
        return v;
    }
}

/// The first element of `first`, then those of `v` from the last one down to the second.
template <unsigned kWidth>
KVX_ALWAYS_INLINE Vector<kWidth> ReversedAfter(Vector<kWidth> first, Vector<kWidth> v) {
    if constexpr (kWidth == 8) {
        return __builtin_shufflevector(first, v, 0, 15, 14, 13, 12, 11, 10, 9);
    } else if constexpr (kWidth == 4) {
        return __builtin_shufflevector(first, v, 0, 7, 6, 5);
    } else if constexpr (kWidth == 2) {
        return __builtin_shufflevector(first, v, 0, 3);
    } else {
        return first;
    }
}

/// With another first element.
template <unsigned kWidth>
KVX_ALWAYS_INLINE Vector<kWidth> WithFirst(Vector<kWidth> v, double first) {
    if constexpr (kWidth == 1) {
        return first;
    } else {
        v[0] = first;
        return v;
    }
}

template <unsigned kWidth>
KVX_ALWAYS_INLINE double First(Vector<kWidth> v) {
    if constexpr (kWidth == 1) {
        return v;
    } else {
        return v[0];
    }
}

/// Takes apart 2 kWidth values: those at even places and those at odd ones.
template <unsigned kWidth>
KVX_ALWAYS_INLINE void LoadPairs(const double* from, Vector<kWidth>& even, Vector<kWidth>& odd) {
    const Vector<kWidth> low = LoadVector<kWidth>(from), high = LoadVector<kWidth>(from + kWidth);
    if constexpr (kWidth == 8) {
        even = __builtin_shufflevector(low, high, 0, 2, 4, 6, 8, 10, 12, 14);
        odd = __builtin_shufflevector(low, high, 1, 3, 5, 7, 9, 11, 13, 15);
    } else if constexpr (kWidth == 4) {
        even = __builtin_shufflevector(low, high, 0, 2, 4, 6);
        odd = __builtin_shufflevector(low, high, 1, 3, 5, 7);
    } else if constexpr (kWidth == 2) {
        even = __builtin_shufflevector(low, high, 0, 2);
        odd = __builtin_shufflevector(low, high, 1, 3);
    } else {
        even = low;
        odd = high;
    }
}

/// The inverse of LoadPairs.
template <unsigned kWidth>
KVX_ALWAYS_INLINE void StorePairs(double* to, Vector<kWidth> even, Vector<kWidth> odd) {
    Vector<kWidth> low = even, high = odd;
    if constexpr (kWidth == 8) {
        low = __builtin_shufflevector(even, odd, 0, 8, 1, 9, 2, 10, 3, 11);
        high = __builtin_shufflevector(even, odd, 4, 12, 5, 13, 6, 14, 7, 15);
    } else if constexpr (kWidth == 4) {
        low = __builtin_shufflevector(even, odd, 0, 4, 1, 5);
        high = __builtin_shufflevector(even, odd, 2, 6, 3, 7);
    } else if constexpr (kWidth == 2) {
        low = __builtin_shufflevector(even, odd, 0, 2);
        high = __builtin_shufflevector(even, odd, 1, 3);
    }
    StoreVector(to, low);
    StoreVector(to + kWidth, high);
}

/// Stores a matrix of 8 rows by its columns: the 8 elements of column j lie at to + distance j.
template <unsigned kWidth>
KVX_ALWAYS_INLINE void StoreColumns(const Vector<kWidth> (&rows)[8], double* to, Index distance) {
    using V = Vector<kWidth>;
    if constexpr (kWidth == 8) {
        // Pairs of rows by pairs of columns, then pairs of these, then whole columns.
        V pairs[8];
        KVX_UNROLLED
        for (int k = 0; k < 8; k += 2) {
            pairs[k] = __builtin_shufflevector(rows[k], rows[k + 1], 0, 8, 2, 10, 4, 12, 6, 14);
            pairs[k + 1] = __builtin_shufflevector(rows[k], rows[k + 1], 1, 9, 3, 11, 5, 13, 7, 15);
        }
        KVX_UNROLLED
        for (int odd = 0; odd < 2; ++odd) {
            const V a = pairs[odd], b = pairs[2 + odd], c = pairs[4 + odd], d = pairs[6 + odd];
            const V ab04 = __builtin_shufflevector(a, b, 0, 1, 4, 5, 8, 9, 12, 13);
            const V cd04 = __builtin_shufflevector(c, d, 0, 1, 4, 5, 8, 9, 12, 13);
            const V ab26 = __builtin_shufflevector(a, b, 2, 3, 6, 7, 10, 11, 14, 15);
            const V cd26 = __builtin_shufflevector(c, d, 2, 3, 6, 7, 10, 11, 14, 15);
            double* const column = to + odd * distance;
            StoreVector(column, __builtin_shufflevector(ab04, cd04, 0, 1, 4, 5, 8, 9, 12, 13));
            StoreVector(column + 2 * distance, __builtin_shufflevector(ab26, cd26, 0, 1, 4, 5, 8, 9, 12, 13));
            StoreVector(column + 4 * distance,
                        __builtin_shufflevector(ab04, cd04, 2, 3, 6, 7, 10, 11, 14, 15));
            StoreVector(column + 6 * distance,
                        __builtin_shufflevector(ab26, cd26, 2, 3, 6, 7, 10, 11, 14, 15));
        }
    } else if constexpr (kWidth == 4) {
        KVX_UNROLLED
        for (int k = 0; k < 8; k += 4) {
            const V a = __builtin_shufflevector(rows[k], rows[k + 1], 0, 4, 2, 6);
            const V b = __builtin_shufflevector(rows[k], rows[k + 1], 1, 5, 3, 7);
            const V c = __builtin_shufflevector(rows[k + 2], rows[k + 3], 0, 4, 2, 6);
            const V d = __builtin_shufflevector(rows[k + 2], rows[k + 3], 1, 5, 3, 7);
            StoreVector(to + k, __builtin_shufflevector(a, c, 0, 1, 4, 5));
            StoreVector(to + k + distance, __builtin_shufflevector(b, d, 0, 1, 4, 5));
            StoreVector(to + k + 2 * distance, __builtin_shufflevector(a, c, 2, 3, 6, 7));
            StoreVector(to + k + 3 * distance, __builtin_shufflevector(b, d, 2, 3, 6, 7));
        }
    } else if constexpr (kWidth == 2) {
        KVX_UNROLLED
        for (int k = 0; k < 8; k += 2) {
            StoreVector(to + k, __builtin_shufflevector(rows[k], rows[k + 1], 0, 2));
            StoreVector(to + k + distance, __builtin_shufflevector(rows[k], rows[k + 1], 1, 3));
        }
    } else {
        KVX_UNROLLED
        for (int k = 0; k < 8; ++k) to[k] = rows[k];
    }
}

#else

template <unsigned kWidth>
inline double Reversed(double value) {
    return value;
}
template <unsigned kWidth>
inline double ReversedAfter(double first, double) {
    return first;
}
template <unsigned kWidth>
inline double WithFirst(double, double first) {
    return first;
}
template <unsigned kWidth>
inline double First(double v) {
    return v;
}
template <unsigned kWidth>
inline void LoadPairs(const double* from, double& even, double& odd) {
    even = from[0];
    odd = from[1];
}
template <unsigned kWidth>
inline void StorePairs(double* to, double even, double odd) {
    to[0] = even;
    to[1] = odd;
}
template <unsigned kWidth>
inline void StoreColumns(const double (&rows)[8], double* to, Index) {
    for (int k = 0; k < 8; ++k) to[k] = rows[k];
}

#endif

}  // namespace
}  // namespace kvx::KVX_KERNEL_SET
