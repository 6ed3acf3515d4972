// SPDX-License-Identifier: MIT
//
// What the sources of kernels are written with. Each is compiled once per instruction set: KVX_KERNEL_SET
// names the set, and with it the namespace, so that no two compilations share a symbol. For the same reason
// they call nothing of the standard library: an inline function of it compiled for a newer machine could be
// the copy that the linker keeps for everyone.
#pragma once

#include <cstdint>

// Tells the compiler that the iterations of the loop that follows touch different elements, so that it may
// vectorise without proving it.
#if defined(__clang__)
#define KVX_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__GNUC__)
#define KVX_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#else
#define KVX_INDEPENDENT_ITERATIONS
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

using Index = std::int64_t;

// Lanes: as many doubles as a register of the set holds. Blocks need no alignment.
#if defined(__GNUC__)
#if defined(__AVX512F__)
constexpr unsigned kLanes = 8;
#elif defined(__AVX__)
constexpr unsigned kLanes = 4;
#else
constexpr unsigned kLanes = 2;
#endif
using Lanes = double __attribute__((vector_size(kLanes * sizeof(double))));

[[maybe_unused]] inline Lanes Load(const double* from) {
    Lanes lanes;
    __builtin_memcpy(&lanes, from, sizeof lanes);
    return lanes;
}
[[maybe_unused]] inline void Store(double* to, Lanes lanes) {
    __builtin_memcpy(to, &lanes, sizeof lanes);
}
#else
constexpr unsigned kLanes = 1;
using Lanes = double;

inline Lanes Load(const double* from) {
    return *from;
}
inline void Store(double* to, Lanes lanes) {
    *to = lanes;
}
#endif

}  // namespace
}  // namespace kvx::KVX_KERNEL_SET
