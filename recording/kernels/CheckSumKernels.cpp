// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/platform/kernels/Lanes.h>
#include <KvxRecording01/kernels/CheckSumKernels.h>

#if defined(__PCLMUL__)
#include <immintrin.h>
#endif

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  // the lowest bit stands for the highest power

/// A remainder multiplied by x.
constexpr std::uint32_t TimesX(std::uint32_t remainder) {
    return remainder >> 1 ^ ((remainder & 1) != 0 ? kPolynomial : 0);
}

constexpr Index kSlices = 8;

/// What a byte adds to the remainder when so many bytes follow it.
struct SliceTable {
    std::uint32_t values[kSlices][256] = {};

    constexpr SliceTable() {
        for (std::uint32_t byte = 0; byte < 256; ++byte) {
            std::uint32_t value = byte;
            for (int bit = 0; bit < 8; ++bit) value = TimesX(value);
            values[0][byte] = value;
        }
        for (Index slice = 1; slice < kSlices; ++slice) {
            for (Index byte = 0; byte < 256; ++byte) {
                const std::uint32_t before = values[slice - 1][byte];
                values[slice][byte] = before >> 8 ^ values[0][before & 0xFF];
            }
        }
    }
};
constexpr SliceTable kTable;

/// The remainder with bytes behind what it is of, eight at a time.
std::uint32_t AddBytes(std::uint32_t remainder, const unsigned char* bytes, Index count) {
    for (; count >= kSlices; count -= kSlices, bytes += kSlices) {
        std::uint32_t sum = 0;
        KVX_UNROLLED
        for (Index i = 0; i < kSlices; ++i) {
            const std::uint32_t held = i < 4 ? remainder >> 8 * i & 0xFF : 0;
            sum ^= kTable.values[kSlices - 1 - i][bytes[i] ^ held];
        }
        remainder = sum;
    }
    for (; count > 0; --count, ++bytes)
        remainder = remainder >> 8 ^ kTable.values[0][(remainder ^ *bytes) & 0xFF];
    return remainder;
}

#if defined(__PCLMUL__)

/// What the two halves of 128 bits are multiplied by to stand `bits` further on (Gopal et al., Fast CRC
/// Computation for Generic Polynomials Using PCLMULQDQ Instruction, 2009).
struct Fold {
    std::uint64_t low;
    std::uint64_t high;

    constexpr explicit Fold(int bits) : low(Power(bits + 32)), high(Power(bits - 32)) {}

    static constexpr std::uint64_t Power(int exponent) {
        std::uint32_t remainder = 0x80000000;
        for (int i = 0; i < exponent; ++i) remainder = TimesX(remainder);
        return std::uint64_t{remainder} << 1;
    }
};

KVX_ALWAYS_INLINE __m128i Folded(__m128i sum, __m128i fold, __m128i next) {
    const __m128i low = _mm_clmulepi64_si128(sum, fold, 0x00);
    const __m128i high = _mm_clmulepi64_si128(sum, fold, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

std::uint32_t Crc32(std::uint32_t before, const std::byte* data, Index count) {
    constexpr Index kSums = 8;
    constexpr Index kWidth = sizeof(__m128i);
    constexpr Fold kFar(128 * kSums), kNear(128);
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    std::uint32_t remainder = ~before;
    if (count >= kSums * kWidth) {
        const auto load = [](const unsigned char* from) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        };
        const auto pair = [](const Fold& fold) {
            return _mm_set_epi64x(static_cast<long long>(fold.high), static_cast<long long>(fold.low));
        };
        const __m128i far = pair(kFar), near = pair(kNear);
        __m128i sums[kSums];
        KVX_UNROLLED
        for (Index s = 0; s < kSums; ++s) sums[s] = load(bytes + s * kWidth);
        sums[0] = _mm_xor_si128(sums[0], _mm_cvtsi32_si128(static_cast<int>(remainder)));
        for (bytes += kSums * kWidth, count -= kSums * kWidth; count >= kSums * kWidth;
             bytes += kSums * kWidth, count -= kSums * kWidth) {
            KVX_UNROLLED
            for (Index s = 0; s < kSums; ++s) sums[s] = Folded(sums[s], far, load(bytes + s * kWidth));
        }
        for (Index s = 1; s < kSums; ++s) sums[s] = Folded(sums[s - 1], near, sums[s]);
        // What is left of all of them is the remainder of these bytes.
        unsigned char rest[kWidth];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), sums[kSums - 1]);
        remainder = AddBytes(0, rest, kWidth);
    }
    return ~AddBytes(remainder, bytes, count);
}

#else

std::uint32_t Crc32(std::uint32_t before, const std::byte* data, Index count) {
    return ~AddBytes(~before, reinterpret_cast<const unsigned char*>(data), count);
}

#endif

}  // namespace

extern const CheckSumKernels kCheckSumKernels = {Crc32};

}  // namespace kvx::KVX_KERNEL_SET
