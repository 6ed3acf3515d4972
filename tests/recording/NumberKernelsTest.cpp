// SPDX-License-Identifier: MIT
//
// The loops that read numbers of files, of every instruction set that the machine can run: against each
// number by itself, and check sums against those of zlib.
#include <KvxRecording01/kernels/CheckSumKernels.h>
#include <KvxRecording01/kernels/NumberKernels.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace {

std::vector<std::byte> RandomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::byte> bytes(count);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() & 0xFF);
    return bytes;
}

template <typename Number>
double ValueOf(std::uint64_t bits) {
    Number number;
    std::memcpy(&number, &bits, sizeof number);  // of a host with the lowest byte first
    return static_cast<double>(number);
}

/// By the definition: a sign, 5 bits of exponent, 10 of fraction.
double HalfOf(std::uint64_t bits) {
    const int exponent = static_cast<int>(bits >> 10 & 31), fraction = static_cast<int>(bits & 1023);
    const double sign = (bits & 0x8000) != 0 ? -1.0 : 1.0;
    if (exponent == 31) return fraction != 0 ? std::nan("") : sign * HUGE_VAL;
    return sign * std::ldexp(exponent == 0 ? fraction : 1024 + fraction, std::max(exponent, 1) - 25);
}

const struct {
    const char* name;
    std::size_t bytes;
    kvx::NumberKernels::Orders kvx::NumberKernels::*loops;
    double (*value)(std::uint64_t bits);
} kTypes[] = {
    {"int8", 1, &kvx::NumberKernels::int8, ValueOf<std::int8_t>},
    {"int16", 2, &kvx::NumberKernels::int16, ValueOf<std::int16_t>},
    {"int32", 4, &kvx::NumberKernels::int32, ValueOf<std::int32_t>},
    {"int64", 8, &kvx::NumberKernels::int64, ValueOf<std::int64_t>},
    {"uint8", 1, &kvx::NumberKernels::uint8, ValueOf<std::uint8_t>},
    {"uint16", 2, &kvx::NumberKernels::uint16, ValueOf<std::uint16_t>},
    {"uint32", 4, &kvx::NumberKernels::uint32, ValueOf<std::uint32_t>},
    {"uint64", 8, &kvx::NumberKernels::uint64, ValueOf<std::uint64_t>},
    {"half", 2, &kvx::NumberKernels::half, HalfOf},
    {"single", 4, &kvx::NumberKernels::single, ValueOf<float>},
    {"real", 8, &kvx::NumberKernels::real, ValueOf<double>},
};

/// The bits of a number whose lowest byte comes first, or last.
std::uint64_t BitsAt(const std::byte* at, std::size_t size, bool isReversed) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < size; ++i)
        bits |= std::to_integer<std::uint64_t>(at[i]) << 8 * (isReversed ? size - 1 - i : i);
    return bits;
}

TEST(NumberKernels, ReadNumbersOfEveryTypeAndOrderAsEachIs) {
    if (std::endian::native != std::endian::little) GTEST_SKIP() << "the references are of the other order";
    const std::vector<std::byte> bytes = RandomBytes(1 << 17, 1);  // all 65536 numbers of 16 bits, nearly
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        for (const auto& type : kTypes) {
            for (const bool isSwapped : {false, true}) {
                const auto& loops = kvx::KernelsOf<kvx::NumberKernels>(set).*type.loops;
                const auto check = [&](std::size_t shift, std::size_t step, std::size_t count) {
                    std::vector<double> read(count + 1, 0.25);
                    const bool areFinite = (isSwapped ? loops.swapped : loops.straight)(
                        read.data(), bytes.data() + shift, static_cast<std::int64_t>(step),
                        static_cast<std::int64_t>(count));
                    bool expected = true;
                    for (std::size_t i = 0; i < count; ++i) {
                        const double value =
                            type.value(BitsAt(bytes.data() + shift + i * step, type.bytes, isSwapped));
                        expected = expected && std::isfinite(value);
                        ASSERT_TRUE(read[i] == value || (std::isnan(read[i]) && std::isnan(value)))
                            << type.name << " " << i << " of " << count << ": " << read[i] << " " << value;
                        ASSERT_TRUE(std::isnan(value) || std::signbit(read[i]) == std::signbit(value));
                    }
                    ASSERT_EQ(areFinite, expected) << type.name << " " << count << " from " << shift;
                    ASSERT_EQ(read[count], 0.25);
                };
                SCOPED_TRACE(kvx::NameOf(set));
                for (std::size_t count = 0; count < 70; ++count) {
                    check(count % 5, type.bytes, count);
                    check(count % 3, type.bytes + count % 4, count);
                }
                check(1, type.bytes, 5000);
                check(0, 13, 5000);
            }
        }
    }
}

TEST(NumberKernels, FindTheOneNumberThatIsNotFinite) {
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::NumberKernels>(set);
        for (std::size_t at = 0; at <= 67; ++at) {  // the last is behind what is read
            for (const float other : {HUGE_VALF, -HUGE_VALF, std::nanf("")}) {
                std::vector<float> singles(68, 3.4e38F);
                std::vector<double> reals(68, -1.7e308), read(67);
                singles[at] = other;
                reals[at] = static_cast<double>(other);
                const auto finite = [&](kvx::NumberKernels::Read loop, const void* from, std::int64_t step) {
                    return loop(read.data(), static_cast<const std::byte*>(from), step, 67);
                };
                EXPECT_EQ(finite(kernels.single.straight, singles.data(), 4), at == 67) << at;
                EXPECT_EQ(finite(kernels.real.straight, reals.data(), 8), at == 67) << at;
            }
        }
    }
}

TEST(CheckSumKernels, AgreeWithZlibOverPiecesOfAnyLength) {
    const std::vector<std::byte> bytes = RandomBytes(100'000, 2);
    std::mt19937 random(3);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::CheckSumKernels>(set);
        EXPECT_EQ(kernels.crc32(0, reinterpret_cast<const std::byte*>("123456789"), 9), 0xCBF43926U);
        for (std::size_t i = 0; i < 2000; ++i) {
            const std::size_t count = i < 600 ? i : random() % 3000;
            const std::size_t from = random() % (bytes.size() - count);
            const std::uint32_t before = i % 3 == 0 ? 0 : static_cast<std::uint32_t>(random());
            const auto expected = crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data() + from), count);
            ASSERT_EQ(kernels.crc32(before, bytes.data() + from, static_cast<std::int64_t>(count)), expected)
                << kvx::NameOf(set) << " " << count << " from " << from;
        }
    }
}

}  // namespace
