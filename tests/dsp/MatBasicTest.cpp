// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <tests/dsp/Signals.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr double kPi = std::numbers::pi;

TEST(GreaterEqPow2, IsTheSmallestPowerOfTwoNotBelow) {
    constexpr __int64 kLargest = __int64{1} << 62;
    using Case = std::pair<__int64, __int64>;
    for (const auto& [n, expected] : {Case{-5, 1}, Case{0, 1}, Case{1, 1}, Case{2, 2}, Case{3, 4},
                                      Case{1025, 2048}, Case{kLargest, kLargest}, Case{kLargest + 1, 0}}) {
        EXPECT_EQ(CMatBasic::GreaterEqPow2(n), expected) << n;
    }
}

TEST(SineTable, HoldsSinesToTheLastPlace) {
    const double* const table = kvx::SineTable();
    for (std::int64_t k = 0; k < kvx::kSineCount; ++k) {
        const long double exact =
            std::sin(static_cast<long double>(k) * std::numbers::pi_v<long double> / 65536);
        const double lastPlace = table[k] == 0.0 ? 0.0 : std::ldexp(1.0, std::ilogb(table[k]) - 52);
        // Near the half turn the angle's own rounding counts.
        const auto error = static_cast<double>(std::fabs(static_cast<long double>(table[k]) - exact));
        ASSERT_LE(error, 0.51 * lastPlace + 1e-18) << k;
    }
    EXPECT_EQ(table[65536], 0.0);
    EXPECT_EQ(table[32768], 1.0);
}

TEST(GenRandom, FollowsTheRecurrenceFromAnySeed) {
    for (const std::uint32_t start : {0U, 1U, 1664500U, 4294967295U}) {
        std::uint32_t seed = start;
        std::uint64_t expected = start;
        for (int i = 0; i < 1000; ++i) {
            expected = (expected * 1229 + 351750) % (std::uint64_t{1} << 32) % 1664501;
            const double value = CMatBasic::GenRandom(&seed);
            ASSERT_EQ(seed, expected) << "seed " << start << " call " << i;
            ASSERT_DOUBLE_EQ(value, static_cast<double>(expected) / 1664501.0);
        }
    }
    EXPECT_EQ(CMatBasic::GenRandom(nullptr), 0.0);
}

TEST(WindowCore, MultipliesByAPeriodicHannWindow) {
    Wave data(1024, 3.0);
    ASSERT_EQ(CMatBasic::WindowCore(0.5, 0.5, 0.0, 2.0 * kPi / 1024, 1024, data.data()), 1);
    for (std::size_t i = 0; i < 1024; ++i) {
        ASSERT_NEAR(data[i], 1.5 - 1.5 * std::cos(2.0 * kPi * static_cast<double>(i) / 1024), 2e-15) << i;
    }
}

TEST(WindowCore, TakesTheNearestEntryForAnglesOfBothSigns) {
    constexpr double kStep = kPi / 65536.0;
    for (const double angle :
         {0.0, 0.3, -0.3, 2.0, -2.0, 4.0, -4.0, 100.0, -1e6, 1e6, 10.4 * kStep, 10.6 * kStep}) {
        double value = 1.0;
        ASSERT_EQ(CMatBasic::WindowCore(0.0, -1.0, angle, 0.0, 1, &value), 1);
        EXPECT_NEAR(value, std::cos(std::floor(angle / kStep + 0.5) * kStep), 1e-9) << angle;
    }
}

TEST(WindowCore, RefusesWhatHasNoMeaning) {
    Wave data(4, 2.0);
    EXPECT_EQ(CMatBasic::WindowCore(0.5, 0.5, 0.0, 1.0, 4, nullptr), 0);
    EXPECT_EQ(CMatBasic::WindowCore(0.5, 0.5, 0.0, 1.0, 0, data.data()), 0);
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(), -1e300}) {
        EXPECT_EQ(CMatBasic::WindowCore(0.5, 0.5, bad, 1.0, 4, data.data()), 0) << bad;
        EXPECT_EQ(CMatBasic::WindowCore(0.5, 0.5, 0.0, bad, 4, data.data()), 0) << bad;
    }
    EXPECT_EQ(data, Wave(4, 2.0));
}

}  // namespace
