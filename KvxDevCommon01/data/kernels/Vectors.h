// SPDX-License-Identifier: MIT
//
// What the element-wise kernels of this floor are written with: vectors of every width up to a register, and
// loops that do whole registers, then the rest in smaller vectors. A vector of one element is the element
// itself.
#pragma once

#include <KvxDevCommon01/platform/kernels/Lanes.h>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

/// As many elements as fill a register.
template <typename Element>
constexpr unsigned kWidest = kLanes == 1 ? 1
                                         : static_cast<unsigned>(kLanes * sizeof(double) / sizeof(Element));

/// The same bits as another type.
template <typename To, typename From>
inline To BitsAs(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    __builtin_memcpy(&to, &from, sizeof to);
    return to;
}

#if defined(__GNUC__)
/// The halves of a vector.
template <typename V>
KVX_ALWAYS_INLINE auto LowHalf(V v) {
    if constexpr (sizeof v / sizeof v[0] == 16) {
        return __builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7);
    } else if constexpr (sizeof v / sizeof v[0] == 8) {
        return __builtin_shufflevector(v, v, 0, 1, 2, 3);
    } else if constexpr (sizeof v / sizeof v[0] == 4) {
        return __builtin_shufflevector(v, v, 0, 1);
    } else {
        return v[0];
    }
}
template <typename V>
KVX_ALWAYS_INLINE auto HighHalf(V v) {
    if constexpr (sizeof v / sizeof v[0] == 16) {
        return __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15);
    } else if constexpr (sizeof v / sizeof v[0] == 8) {
        return __builtin_shufflevector(v, v, 4, 5, 6, 7);
    } else if constexpr (sizeof v / sizeof v[0] == 4) {
        return __builtin_shufflevector(v, v, 2, 3);
    } else {
        return v[1];
    }
}
#endif

/// Folds the upper half of a vector into the lower one until one element is left.
template <unsigned kWidth, typename V, class Fold>
KVX_ALWAYS_INLINE auto FoldHalves(V v, const Fold& fold) {
    if constexpr (kWidth == 1) {
        return v;
    } else {
        return FoldHalves<kWidth / 2>(fold(LowHalf(v), HighHalf(v)), fold);
    }
}

[[maybe_unused]] inline double SquareRoot(double x) {
#if defined(__SSE2__)
    return _mm_cvtsd_f64(_mm_sqrt_pd(_mm_set1_pd(x)));
#else
    return __builtin_sqrt(x);
#endif
}
#if defined(__SSE2__)
[[maybe_unused]] inline Vector<2, double> SquareRoot(Vector<2, double> x) {
    return _mm_sqrt_pd(x);
}
#elif defined(__GNUC__)
[[maybe_unused]] inline Vector<2, double> SquareRoot(Vector<2, double> x) {
    return Vector<2, double>{SquareRoot(x[0]), SquareRoot(x[1])};
}
#endif
#if defined(__AVX__)
[[maybe_unused]] inline Vector<4, double> SquareRoot(Vector<4, double> x) {
    return _mm256_sqrt_pd(x);
}
#endif
#if defined(__AVX512F__)
[[maybe_unused]] inline Vector<8, double> SquareRoot(Vector<8, double> x) {
    return _mm512_maskz_sqrt_pd(0xFF, x);
}

#endif

/// Whether every lane of a register is above `limit`.
[[maybe_unused]] KVX_ALWAYS_INLINE bool AreAbove(Lanes x, double limit) {
#if defined(__AVX512F__)
    return _mm512_cmp_pd_mask(x, _mm512_set1_pd(limit), _CMP_NGT_UQ) == 0;
#elif defined(__AVX__)
    return _mm256_movemask_pd(_mm256_cmp_pd(x, _mm256_set1_pd(limit), _CMP_NGT_UQ)) == 0;
#elif defined(__SSE2__)
    return _mm_movemask_pd(_mm_cmpngt_pd(x, _mm_set1_pd(limit))) == 0;
#else
    double lanes[kLanes];
    Store(lanes, x);
    bool all = true;
    for (const double lane : lanes) all = all && lane > limit;
    return all;
#endif
}

/// What tells whether a register of numbers is moderate, all of a size from 2^-255 to 2^257: none of two
/// bits, 61 and 62, is set in any lane then. That of several registers is put together with |.
using LaneBits = Vector<kLanes, std::int64_t>;
[[maybe_unused]] KVX_ALWAYS_INLINE LaneBits Immoderate(Lanes x) {
    constexpr std::int64_t kLeast = 0x3000000000000000;  // the bits of 2^-255
    return BitsAs<LaneBits>(x) - kLeast;
}
[[maybe_unused]] KVX_ALWAYS_INLINE bool AreModerate(LaneBits immoderate) {
#if defined(__AVX512F__)
    const __m512i told = _mm512_set1_epi64(0x6000000000000000);
    return _mm512_test_epi64_mask(BitsAs<__m512i>(immoderate), told) == 0;
#elif defined(__AVX__)
    const __m256i told = _mm256_set1_epi64x(0x6000000000000000);
    return _mm256_testz_si256(BitsAs<__m256i>(immoderate), told) != 0;
#elif defined(__SSE2__)
    return _mm_movemask_pd(BitsAs<__m128d>(immoderate << 1 | immoderate << 2)) == 0;
#else
    std::int64_t lanes[kLanes];
    __builtin_memcpy(lanes, &immoderate, sizeof lanes);
    std::int64_t all = 0;
    for (const std::int64_t lane : lanes) all |= lane;
    return (all & 0x6000000000000000) == 0;
#endif
}

#if defined(__FMA__)
/// a b + c and a - b c, rounded once.
[[maybe_unused]] KVX_ALWAYS_INLINE Lanes FusedSum(Lanes a, Lanes b, Lanes c) {
#if defined(__AVX512F__)
    return _mm512_fmadd_pd(a, b, c);
#else
    return _mm256_fmadd_pd(a, b, c);
#endif
}
[[maybe_unused]] KVX_ALWAYS_INLINE Lanes FusedRemainder(Lanes a, Lanes b, Lanes c) {
#if defined(__AVX512F__)
    return _mm512_fnmadd_pd(b, c, a);
#else
    return _mm256_fnmadd_pd(b, c, a);
#endif
}
#endif

/// Values that have a shorter way to them where all are of the usual kind: arePlain<n>(i) says whether those
/// of n registers from the i-th on are. Both ways lead to the same bits there.
template <class General, class Plain, class ArePlain>
struct TwoWays {
    General general;
    Plain plain;
    ArePlain arePlain;

    template <unsigned kWidth>
    auto operator()(Index i) const {
        return general.template operator()<kWidth>(i);
    }
};
template <class General, class Plain, class ArePlain>
TwoWays(General, Plain, ArePlain) -> TwoWays<General, Plain, ArePlain>;

/// The smaller of two; the first where the second is a NaN.
constexpr auto kLower = [](Lanes soFar, Lanes x) { return x < soFar ? x : soFar; };

/// What is left of 1 when take(what is left, offset) has taken the values of n registers into it one by one.
template <unsigned kCount, class Take>
KVX_ALWAYS_INLINE Lanes Folded(const Take& take) {
    Lanes folded = Spread<Lanes>(1.0);
    KVX_UNROLLED
    for (unsigned v = 0; v < kCount; ++v) folded = take(folded, Index{v * kLanes});
    return folded;
}

/// store(i, value<width>(i)) for fewer elements than twice kWidth, from the i-th on.
template <unsigned kWidth, class Value, class Store>
inline void SetFew(Index i, Index count, const Value& value, const Store& store) {
    if (count - i >= Index{kWidth}) {
        store(i, value.template operator()<kWidth>(i));
        i += Index{kWidth};
    }
    if constexpr (kWidth > 1) SetFew<kWidth / 2>(i, count, value, store);
}

/// Computes the elements 0..count-1 in vectors, value<width>(i) the ones from i on, and stores them with
/// store(i, vector). The vectors lie on whole registers at `to`, since a store that crosses two cache lines
/// costs twice. The first and the last vector overlap others; they are computed before any operand can have
/// been replaced by a result. kSteps vectors are computed before they are stored: where blocks lie whole
/// pages apart, loads wait for the stores before them.
template <unsigned kSteps, typename Element, class Value, class Store>
inline void SetVectors(const Element* to, Index count, const Value& value, const Store& store) {
    constexpr Index kWidth = kLanes;
    if (count < kWidth) return SetFew<kLanes>(0, count, value, store);
    const auto position = static_cast<Index>(reinterpret_cast<__UINTPTR_TYPE__>(to) / sizeof(Element));
    Index i = -position & (kWidth - 1);
    const bool hasHead = i != 0;
    const bool hasTail = ((count - i) & (kWidth - 1)) != 0;
    auto head = value.template operator()<kLanes>(0);
    auto tail = head;
    if (hasTail) tail = value.template operator()<kLanes>(count - kWidth);
    for (; count - i >= Index{kSteps} * kWidth; i += Index{kSteps} * kWidth) {
        decltype(head) vectors[kSteps];
        const auto compute = [&](const auto& each) {
            KVX_UNROLLED
            for (unsigned v = 0; v < kSteps; ++v)
                vectors[v] = each.template operator()<kLanes>(i + v * kWidth);
        };
        if constexpr (requires { value.arePlain; }) {
            if (value.arePlain.template operator()<kSteps>(i)) {
                compute(value.plain);
            } else {
                compute(value.general);
            }
        } else {
            compute(value);
        }
        KVX_UNROLLED
        for (unsigned v = 0; v < kSteps; ++v) store(i + v * kWidth, vectors[v]);
    }
    for (; kSteps > 1 && count - i >= kWidth; i += kWidth) store(i, value.template operator()<kLanes>(i));
    if (hasHead) store(0, head);
    if (hasTail) store(count - kWidth, tail);
}

/// Sets to[i] = value<width>(i), a vector of width elements, for all elements.
template <typename Element, class Value>
inline void SetEach(Element* to, Index count, const Value& value) {
    SetVectors<4>(to, count, value, [=](Index i, auto vector) { StoreVector(to + i, vector); });
}

/// The same for two results at a time, kSteps vectors of each.
template <typename V>
struct Two {
    V first;
    V second;
};
template <unsigned kSteps, class Value>
inline void SetEachTwo(double* first, double* second, Index count, const Value& value) {
    SetVectors<kSteps>(first, count, value, [=](Index i, const auto& two) {
        StoreVector(first + i, two.first);
        StoreVector(second + i, two.second);
    });
}

}  // namespace
}  // namespace kvx::KVX_KERNEL_SET
