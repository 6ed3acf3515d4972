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

// Tells the compiler to unroll the loop that follows whole, so that an array of vectors that it fills can
// stay in registers.
#if defined(__clang__)
#define KVX_UNROLLED _Pragma("clang loop unroll(full)")
#elif defined(__GNUC__)
#define KVX_UNROLLED _Pragma("GCC unroll 16")
#else
#define KVX_UNROLLED
#endif

#if defined(__GNUC__)
#define KVX_ALWAYS_INLINE __attribute__((always_inline)) inline
#else
#define KVX_ALWAYS_INLINE inline
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

// Vectors of a chosen number of elements, a power of two that fits in a register.
template <unsigned kWidth, typename Element>
struct VectorOf {
#if defined(__GNUC__)
    using Type __attribute__((vector_size(kWidth * sizeof(Element)))) = Element;
#endif
};
template <typename Element>
struct VectorOf<1, Element> {
    using Type = Element;
};

/// `kWidth` elements; a single one is the element itself.
template <unsigned kWidth, typename Element = double>
using Vector = typename VectorOf<kWidth, Element>::Type;

/// A vector type, or an element, from where it stands.
template <typename V, typename Element>
KVX_ALWAYS_INLINE V LoadAs(const Element* from) {
#if defined(__GNUC__)
    V vector;
    __builtin_memcpy(&vector, from, sizeof vector);
    return vector;
#else
    return *from;
#endif
}
template <unsigned kWidth, typename Element>
KVX_ALWAYS_INLINE Vector<kWidth, Element> LoadVector(const Element* from) {
    return LoadAs<Vector<kWidth, Element>>(from);
}
template <typename Element, typename V>
KVX_ALWAYS_INLINE void StoreVector(Element* to, V vector) {
#if defined(__GNUC__)
    __builtin_memcpy(to, &vector, sizeof vector);
#else
    *to = vector;
#endif
}

/// The same value in every lane of V.
template <typename V, typename Element>
KVX_ALWAYS_INLINE V Spread(Element value) {
    return value - V{};
}

}  // namespace
}  // namespace kvx::KVX_KERNEL_SET
