// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

namespace {

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
        EXPECT_EQ(CMatBasic::CreateSeqLin(c.start, c.end, c.step, c.max, &out), Size(c.values));
        EXPECT_EQ(ToWave(out), c.values) << c.start << " to " << c.end << " by " << c.step;
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

double Trim125(double x, CMatBasic::TRIM_MODE mode) {
    return CMatBasic::TrimVal125(x, mode, nullptr);
}
double TrimQuarter(double x, CMatBasic::TRIM_MODE mode) {
    return CMatBasic::TrimValStep(x, -0.25, mode);
}
constexpr auto TrimTen = CMatBasic::TrimValPow10;

/// A routine and its results in the modes nearest, up, strictly up, down and strictly down.
struct TrimCase {
    double (*trim)(double x, CMatBasic::TRIM_MODE mode);
    double x;
    double trimmed[5];
};

TEST(Trim, RoundsBothSignsToTheGrid) {
    constexpr TrimCase cases[] = {
        // clang-format off
        {Trim125, 1, {1, 1, 2, 1, 0.5}},                   {Trim125, 2, {2, 2, 5, 2, 1}},
        {Trim125, 5, {5, 5, 10, 5, 2}},                    {Trim125, 10, {10, 10, 20, 10, 5}},
        {Trim125, 1.4, {1, 2, 2, 1, 1}},                   {Trim125, 1.5, {2, 2, 2, 1, 1}},
        {Trim125, 3, {2, 5, 5, 2, 2}},                     {Trim125, 7.5, {10, 10, 10, 5, 5}},
        {Trim125, 0.0034, {0.005, 0.005, 0.005, 0.002, 0.002}}, {Trim125, 5e-6, {5e-6, 5e-6, 1e-5, 5e-6, 2e-6}},
        {Trim125, 1.9999995, {2, 2, 5, 2, 1}},             {Trim125, 2.0000015, {2, 2, 5, 2, 1}},
        {Trim125, 2.00001, {2, 5, 5, 2, 2}},               {Trim125, 999999.5, {1e6, 1e6, 2e6, 1e6, 5e5}},
        {Trim125, 3e-300, {2e-300, 5e-300, 5e-300, 2e-300, 2e-300}},
        {TrimTen, 1, {1, 1, 10, 1, 0.1}},                  {TrimTen, 101, {100, 1000, 1000, 100, 100}},
        {TrimTen, 400, {1000, 1000, 1000, 100, 100}},      {TrimTen, 0.002, {0.001, 0.01, 0.01, 0.001, 0.001}},
        {TrimQuarter, 1, {1, 1, 1.25, 1, 0.75}},           {TrimQuarter, 1.1, {1, 1.25, 1.25, 1, 1}},
        {TrimQuarter, 1.125, {1, 1.25, 1.25, 1, 1}},       {TrimQuarter, 0.9998, {1, 1, 1.25, 1, 0.75}},
        {TrimQuarter, 1.0002, {1, 1, 1.25, 1, 0.75}},      {TrimQuarter, 1.001, {1, 1.25, 1.25, 1, 1}},
        {TrimQuarter, 0, {0, 0, 0.25, 0, -0.25}},          {TrimQuarter, 1e300, {1e300, 1e300, 1e300, 1e300, 1e300}},
        // clang-format on
    };
    constexpr std::uint32_t kMirrored[] = {1, 4, 5, 2, 3};  // up for a negative number is down for its size
    for (const TrimCase& c : cases) {
        for (std::uint32_t i = 0; i < 5; ++i) {
            EXPECT_EQ(c.trim(c.x, static_cast<CMatBasic::TRIM_MODE>(i + 1)), c.trimmed[i])
                << c.x << " mode " << i + 1;
            EXPECT_EQ(c.trim(-c.x, static_cast<CMatBasic::TRIM_MODE>(kMirrored[i])), -c.trimmed[i]) << -c.x;
        }
    }
    EXPECT_FALSE(std::signbit(TrimQuarter(-0.1, CMatBasic::TRIM_UP))) << "no negative zero";
}

TEST(Trim, NamesTheMantissaItChose) {
    for (const auto& [x, digit] :
         {std::pair{3.0, 5}, {-300.0, 2}, {9.0, 1}, {0.12, 2}, {0.0, 0}, {kNaN, 0}}) {
        std::int32_t mantissa = 77;
        CMatBasic::TrimVal125(x, CMatBasic::TRIM_UP, &mantissa);
        EXPECT_EQ(mantissa, digit) << x;
    }
}

TEST(Trim, MapsTheUnroundableToZero) {
    for (const auto trim : {Trim125, TrimTen, TrimQuarter}) {
        for (const double x : {-0.0, 5e-324, kNaN, kInfinity, -kInfinity})
            EXPECT_EQ(trim(x, CMatBasic::TRIM_DOWN), 0.0) << x;
        for (const std::uint32_t mode : {0U, 6U})
            EXPECT_EQ(trim(3.0, static_cast<CMatBasic::TRIM_MODE>(mode)), 0.0);
    }
    for (const double step : {0.0, kNaN, kInfinity})
        EXPECT_EQ(CMatBasic::TrimValStep(3, step, CMatBasic::TRIM_UP), 0.0);
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

}  // namespace
