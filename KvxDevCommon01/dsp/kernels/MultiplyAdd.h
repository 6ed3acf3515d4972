// SPDX-License-Identifier: MIT
//
// a b + c for the kernels of filters: rounded once where the instruction set has such an operation, and then
// always, so that every loop of a set gives the same bits for the same sum. Left to the compiler, which
// products are fused would depend on the loop.
#pragma once

#include <KvxDevCommon01/platform/kernels/Lanes.h>

#ifdef __FMA__
#include <immintrin.h>
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

#ifdef __FMA__
inline double MultiplyAdd(double a, double b, double c) {
    return __builtin_fma(a, b, c);
}
inline Vector<2> MultiplyAdd(double a, Vector<2> b, Vector<2> c) {
    return _mm_fmadd_pd(_mm_set1_pd(a), b, c);
}
inline Vector<4> MultiplyAdd(double a, Vector<4> b, Vector<4> c) {
    return _mm256_fmadd_pd(_mm256_set1_pd(a), b, c);
}
#ifdef __AVX512F__
inline Vector<8> MultiplyAdd(double a, Vector<8> b, Vector<8> c) {
    return _mm512_fmadd_pd(_mm512_set1_pd(a), b, c);
}
#endif
#else
template <class Some>
inline Some MultiplyAdd(double a, Some b, Some c) {
    return a * b + c;
}
#endif

}  // namespace
}  // namespace kvx::KVX_KERNEL_SET
