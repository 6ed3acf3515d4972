// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(CreateSeqLin, StepsFromTheStart) {
    CDataArrayDouble out;
    EXPECT_EQ(CMatBasic::CreateSeqLin(1.0, -0.5, 4, &out), 1);
    EXPECT_EQ(CMatBasic::CreateSeqLin(1.0, 1.0, 0, &out) + CMatBasic::CreateSeqLin(1.0, 1.0, 4, nullptr), 0);
    EXPECT_EQ(ToWave(out), (Wave{1, 0.5, 0, -0.5}));
}

TEST(CreateSeqLin, EndsAtItsEndOrWhenItIsFull) {
    struct Case {
        double start, end, step;
        __int64 max;
        Wave values;
    };
    const Case cases[] = {
        // clang-format off
        {0, 1, 0.25, 100, {0, 0.25, 0.5, 0.75, 1}},  {0, 1, 0.25, 3, {0, 0.25, 0.5}},
        {1, 0, -0.5, 100, {1, 0.5, 0}},              {0, 0.99, 0.5, 100, {0, 0.5}},
        {0, 0.9999, 0.5, 100, {0, 0.5, 1}},          {5, 5, 1, 100, {5}},
        {0, 1, -0.5, 100, {}},                       {0, 1, 0, 100, {}},
        {0, 1, 0.5, 0, {}},                          {0, kInfinity, 1, 3, {}},
        {kNaN, 1, 1, 3, {}},                         {-1e308, 1e308, 1e-5, 2, {-1e308, -1e308}},
        // clang-format on
    };
    for (const Case& c : cases) {
        CDataArrayDouble out;
        EXPECT_EQ(CMatBasic::CreateSeqLin(c.start, c.end, c.step, c.max, &out), Size(c.values))
            << c.start << " to " << c.end;
        EXPECT_EQ(ToWave(out), c.values);
    }
    EXPECT_EQ(CMatBasic::CreateSeqLin(0, 0.3, 0.1, 100, nullptr), 0);
    CDataArrayDouble out;
    EXPECT_EQ(CMatBasic::CreateSeqLin(0, 100, 0.1, 5000, &out), 1001) << "rounding does not lose the end";
}

TEST(CreateSeqLog, HasItsNumberPerDecade) {
    CDataArrayDouble out;
    const auto create = [&](double start, double end, __int64 perDecade, __int64 max) {
        return CMatBasic::CreateSeqLog(start, end, perDecade, max, &out);
    };
    EXPECT_EQ(create(10, 1000, 1, 100), 3);
    EXPECT_EQ(ToWave(out), (Wave{10, 100, 1000}));
    EXPECT_EQ(create(1000, 10, 1, 2), 2);
    EXPECT_EQ(ToWave(out), (Wave{1000, 100}));
    EXPECT_EQ(create(5, 2000, 24, 1000), 63);
    for (__int64 i = 0; i < 63; ++i) EXPECT_NEAR(std::log10(out[i] / 5) * 24, static_cast<double>(i), 1e-11);
    for (const double bad : {0.0, -1.0, kNaN, kInfinity})
        EXPECT_EQ(create(bad, 10, 1, 9) + create(10, bad, 1, 9), 0);
    EXPECT_EQ(create(1, 10, 0, 10) + create(1, 10, 1, 0) + CMatBasic::CreateSeqLog(1, 10, 1, 10, nullptr), 0);
}

/// Results in the modes nearest, up, strictly up, down and strictly down.
struct TrimCase {
    double x;
    double trimmed[5];
};

void PrintTo(const TrimCase& c, std::ostream* out) {
    *out << c.x;
}

class Trim125Test : public testing::TestWithParam<TrimCase> {};

TEST_P(Trim125Test, RoundsBothSignsToTheSeries) {
    const auto& [x, trimmed] = GetParam();
    for (std::uint32_t mode = 1; mode <= 5; ++mode) {
        const double expected = trimmed[mode - 1];
        std::int32_t mantissa = 77;
        EXPECT_EQ(CMatBasic::TrimVal125(x, static_cast<CMatBasic::TRIM_MODE>(mode), &mantissa), expected)
            << mode;
        const double digit = expected / std::pow(10.0, std::floor(std::log10(expected) + 1e-9));
        EXPECT_NEAR(mantissa, digit, 1e-6) << mode;
        // Up for a negative number is down for its magnitude.
        const std::uint32_t mirrored[] = {1, 4, 5, 2, 3};
        EXPECT_EQ(CMatBasic::TrimVal125(-x, static_cast<CMatBasic::TRIM_MODE>(mirrored[mode - 1]), nullptr),
                  -expected);
    }
}

const TrimCase kSeries125[] = {
    // clang-format off
    {1,         {1, 1, 2, 1, 0.5}},                 {2,          {2, 2, 5, 2, 1}},
    {5,         {5, 5, 10, 5, 2}},                  {10,         {10, 10, 20, 10, 5}},
    {1.4,       {1, 2, 2, 1, 1}},                   {1.5,        {2, 2, 2, 1, 1}},
    {3,         {2, 5, 5, 2, 2}},                   {7.5,        {10, 10, 10, 5, 5}},
    {0.0034,    {0.005, 0.005, 0.005, 0.002, 0.002}}, {5e-6,     {5e-6, 5e-6, 1e-5, 5e-6, 2e-6}},
    {1.9999995, {2, 2, 5, 2, 1}},                   {2.0000015,  {2, 2, 5, 2, 1}},
    {2.00001,   {2, 5, 5, 2, 2}},                   {999999.5,   {1e6, 1e6, 2e6, 1e6, 5e5}},
    {3e-300,    {2e-300, 5e-300, 5e-300, 2e-300, 2e-300}},
    // clang-format on
};
INSTANTIATE_TEST_SUITE_P(MatBasic, Trim125Test, testing::ValuesIn(kSeries125));

TEST(TrimVal125, MapsZeroAndTheUnroundableToZero) {
    for (const double x : {0.0, -0.0, 5e-324, kNaN, kInfinity, -kInfinity}) {
        std::int32_t mantissa = 77;
        EXPECT_EQ(CMatBasic::TrimVal125(x, CMatBasic::TRIM_UP, &mantissa), 0.0) << x;
        EXPECT_EQ(mantissa, 0);
        EXPECT_EQ(CMatBasic::TrimValPow10(x, CMatBasic::TRIM_UP), 0.0);
    }
    for (const std::uint32_t mode : {0U, 6U})
        EXPECT_EQ(CMatBasic::TrimVal125(3.0, static_cast<CMatBasic::TRIM_MODE>(mode), nullptr), 0.0);
}

TEST(TrimValPow10, RoundsToAPowerOfTen) {
    constexpr TrimCase cases[] = {
        {1, {1, 1, 10, 1, 0.1}},
        {101, {100, 1000, 1000, 100, 100}},
        {0.002, {0.001, 0.01, 0.01, 0.001, 0.001}},
        {400, {1000, 1000, 1000, 100, 100}},
        {-400, {-1000, -100, -100, -1000, -1000}},
        {-10, {-10, -10, -1, -10, -100}},
    };
    for (const auto& [x, trimmed] : cases) {
        for (std::uint32_t mode = 1; mode <= 5; ++mode) {
            EXPECT_EQ(CMatBasic::TrimValPow10(x, static_cast<CMatBasic::TRIM_MODE>(mode)), trimmed[mode - 1])
                << x << " mode " << mode;
        }
    }
}

TEST(TrimValStep, RoundsToAMultipleOfTheStep) {
    constexpr double kStep = 0.25;
    constexpr TrimCase cases[] = {
        {1, {1, 1, 1.25, 1, 0.75}},      {1.1, {1, 1.25, 1.25, 1, 1}},
        {1.125, {1, 1.25, 1.25, 1, 1}},  {-1.125, {-1, -1, -1, -1.25, -1.25}},
        {1.0002, {1, 1, 1.25, 1, 0.75}}, {0.9998, {1, 1, 1.25, 1, 0.75}},
        {1.001, {1, 1.25, 1.25, 1, 1}},  {0, {0, 0, 0.25, 0, -0.25}},
        {-0.1, {0, 0, 0, -0.25, -0.25}}, {1e300, {1e300, 1e300, 1e300, 1e300, 1e300}},
        {kNaN, {0, 0, 0, 0, 0}},         {kInfinity, {0, 0, 0, 0, 0}},
    };
    for (const auto& [x, trimmed] : cases) {
        for (std::uint32_t mode = 1; mode <= 5; ++mode) {
            for (const double step : {kStep, -kStep}) {
                const double actual =
                    CMatBasic::TrimValStep(x, step, static_cast<CMatBasic::TRIM_MODE>(mode));
                EXPECT_EQ(actual, trimmed[mode - 1]) << x << " mode " << mode;
                EXPECT_FALSE(actual == 0.0 && std::signbit(actual)) << "no negative zero";
            }
        }
    }
    for (const double step : {0.0, kNaN, kInfinity})
        EXPECT_EQ(CMatBasic::TrimValStep(3, step, CMatBasic::TRIM_UP), 0.0);
    EXPECT_EQ(CMatBasic::TrimValStep(3, 1, static_cast<CMatBasic::TRIM_MODE>(0)), 0.0);
}

}  // namespace
