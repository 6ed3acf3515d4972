// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/platform/kernels/Lanes.h>
#include <KvxRecording01/kernels/NumberKernels.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

/// Unsigned integers of as many bytes as a number has.
template <unsigned kBytes>
struct BitsOf;
template <>
struct BitsOf<1> {
    using Type = std::uint8_t;
};
template <>
struct BitsOf<2> {
    using Type = std::uint16_t;
};
template <>
struct BitsOf<4> {
    using Type = std::uint32_t;
};
template <>
struct BitsOf<8> {
    using Type = std::uint64_t;
};

template <typename To, typename From>
KVX_ALWAYS_INLINE To SameBits(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    __builtin_memcpy(&to, &from, sizeof to);
    return to;
}

KVX_ALWAYS_INLINE std::uint8_t Swapped(std::uint8_t bits) {
    return bits;
}
KVX_ALWAYS_INLINE std::uint16_t Swapped(std::uint16_t bits) {
    return static_cast<std::uint16_t>(bits >> 8 | bits << 8);
}
KVX_ALWAYS_INLINE std::uint32_t Swapped(std::uint32_t bits) {
    return __builtin_bswap32(bits);
}
KVX_ALWAYS_INLINE std::uint64_t Swapped(std::uint64_t bits) {
    return static_cast<std::uint64_t>(__builtin_bswap64(bits));
}

// What a number is: Bits are those that are read, Value makes a double of them, and kInfinity are the bits of
// infinity, 0 where there is none.
template <typename Number>
struct Integer {
    using Bits = typename BitsOf<sizeof(Number)>::Type;
    static constexpr Bits kInfinity = 0;
    KVX_ALWAYS_INLINE static double Value(Bits bits) {
        return static_cast<double>(static_cast<Number>(bits));
    }
};

struct Half {
    using Bits = std::uint16_t;
    static constexpr Bits kInfinity = 0x7C00;
    /// The exponent and the fraction as those of a float, whose exponents begin 112 lower.
    KVX_ALWAYS_INLINE static double Value(Bits bits) {
        const auto low = static_cast<std::uint32_t>(bits & 0x7FFF) << 13;
        const std::uint32_t finite = SameBits<std::uint32_t>(SameBits<float>(low) * 0x1p112F);
        const std::uint32_t size = low < (std::uint32_t{kInfinity} << 13) ? finite : low | 0x7F800000U;
        return static_cast<double>(SameBits<float>(size | static_cast<std::uint32_t>(bits & 0x8000) << 16));
    }
};

struct Single {
    using Bits = std::uint32_t;
    static constexpr Bits kInfinity = 0x7F800000;
    KVX_ALWAYS_INLINE static double Value(Bits bits) { return static_cast<double>(SameBits<float>(bits)); }
};

struct Real {
    using Bits = std::uint64_t;
    static constexpr Bits kInfinity = 0x7FF0000000000000;
    KVX_ALWAYS_INLINE static double Value(Bits bits) { return SameBits<double>(bits); }
};

template <class Kind, bool kIsSwapped>
KVX_ALWAYS_INLINE bool ReadEach(double* to, const std::byte* from, Index step, Index count) {
    using Bits = typename Kind::Bits;
    // An exponent of ones, to which its lowest bit is added, carries into the sign.
    constexpr auto kLowest = static_cast<Bits>(Kind::kInfinity & (~Kind::kInfinity + 1));
    Bits carried = 0;
    KVX_INDEPENDENT_ITERATIONS
    for (Index i = 0; i < count; ++i) {
        Bits bits;
        __builtin_memcpy(&bits, from + i * step, sizeof bits);
        if constexpr (kIsSwapped) bits = Swapped(bits);
        if constexpr (Kind::kInfinity != 0)
            carried = static_cast<Bits>(carried | ((bits & Kind::kInfinity) + kLowest));
        to[i] = Kind::Value(bits);
    }
    return carried >> (8 * sizeof(Bits) - 1) == 0;
}

/// Numbers side by side are a loop of their own, which becomes vector code.
template <class Kind, bool kIsSwapped>
bool Read(double* to, const std::byte* from, Index step, Index count) {
    constexpr Index kBytes = sizeof(typename Kind::Bits);
    return step == kBytes ? ReadEach<Kind, kIsSwapped>(to, from, kBytes, count)
                          : ReadEach<Kind, kIsSwapped>(to, from, step, count);
}

template <class Kind>
constexpr NumberKernels::Orders kOrders = {Read<Kind, false>, Read<Kind, true>};

}  // namespace

extern const NumberKernels kNumberKernels = {kOrders<Integer<std::int8_t>>,
                                             kOrders<Integer<std::int16_t>>,
                                             kOrders<Integer<std::int32_t>>,
                                             kOrders<Integer<std::int64_t>>,
                                             kOrders<Integer<std::uint8_t>>,
                                             kOrders<Integer<std::uint16_t>>,
                                             kOrders<Integer<std::uint32_t>>,
                                             kOrders<Integer<std::uint64_t>>,
                                             kOrders<Half>,
                                             kOrders<Single>,
                                             kOrders<Real>};

}  // namespace kvx::KVX_KERNEL_SET
