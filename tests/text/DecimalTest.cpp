// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/Decimal.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <random>
#include <string>

namespace {

using namespace kvx;

/// What the C++ library writes, shortest or with `digits`.
std::string Expected(double value, int digits = 0) {
    std::array<char, 400> text;
    char* const end = text.data() + text.size();
    return {text.data(),
            digits == 0 ? std::to_chars(text.data(), end, value).ptr
                        : std::to_chars(text.data(), end, value, std::chars_format::general, digits).ptr};
}

void ExpectAsTheLibraryWrites(double value) {
    std::array<char, kDecimalRoom> text;
    const auto written = [&](char* end) { return std::string(text.data(), end); };
    ASSERT_EQ(written(WriteExact(text.data(), value)), Expected(value));
    if (!std::isfinite(value)) return;
    const std::optional<Decimal> safe = SafeDecimal(ShortestDecimal(value));
    if (!safe) return;
    ASSERT_EQ(written(WriteSafe(text.data(), *safe)), Expected(value, kSafeDigits));
    const std::optional<double> read = ValueOf(*safe);
    if (read) {
        ASSERT_EQ(*read, std::strtod(Expected(value, kSafeDigits).c_str(), nullptr));
    }
}

TEST(Decimal, IsWrittenAsByTheLibraryAtTheEdgesOfEveryPowerOfTwoAndTen) {
    for (std::uint64_t field = 0; field < 2048; ++field) {
        for (const std::uint64_t fraction : {0ULL, 1ULL, 2ULL, 0xFFFFFFFFFFFFFULL, 0x8000000000000ULL}) {
            ExpectAsTheLibraryWrites(std::bit_cast<double>(field << 52 | fraction));
            ExpectAsTheLibraryWrites(-std::bit_cast<double>(field << 52 | fraction));
        }
    }
    for (int exponent = -323; exponent <= 308; ++exponent) {
        for (const char* digits : {"1", "9", "15", "123456789", "999999999999999", "1234567890123455"}) {
            const double value =
                std::strtod((digits + ("e" + std::to_string(exponent - 15))).c_str(), nullptr);
            for (const double limit : {0.0, std::numeric_limits<double>::infinity()}) {
                ExpectAsTheLibraryWrites(std::nextafter(value, limit));
            }
            ExpectAsTheLibraryWrites(value);
        }
    }
}

TEST(Decimal, IsWrittenAsByTheLibraryForNumbersOfAnyLength) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 50000; ++i) {
        ExpectAsTheLibraryWrites(std::bit_cast<double>(random()));
        ExpectAsTheLibraryWrites(static_cast<double>(random() >> random() % 64));
        ExpectAsTheLibraryWrites(static_cast<double>(random() % 2000000) / std::pow(10.0, random() % 12) -
                                 1.0);
        ExpectAsTheLibraryWrites(
            std::ldexp(static_cast<double>(random() >> 11), -static_cast<int>(random() % 100)));
    }
}

TEST(Decimal, HasNoSafeDigitsInTheMiddleBetweenTwo) {
    EXPECT_FALSE(SafeDecimal(ShortestDecimal(1.000000000000005)).has_value());
    EXPECT_FALSE(SafeDecimal(ShortestDecimal(1e300)).has_value());
    EXPECT_FALSE(ValueOf({.digits = 1, .exponent = 23}).has_value());
    EXPECT_EQ(ValueOf({.digits = 1500000000000000, .exponent = -30, .isNegative = true}), -1.5e-15);
}

}  // namespace
