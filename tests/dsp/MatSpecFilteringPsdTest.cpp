// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <tests/dsp/Signals.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace {

constexpr double kCorner = 80.0;

struct ShapeCase {
    const char* name;
    int filter;
    double parameter;
    std::function<double(double x)> power;  // gain in power at x = f/fc
};

class FilteringPsdTest : public testing::TestWithParam<ShapeCase> {};

TEST_P(FilteringPsdTest, FollowsTheFilteredProfileWithin002Decibels) {
    CDataArrayDouble freq = ToArray({5, 20, 300, 2000}), psd = ToArray({0.01, 0.04, 0.04, 0.001});
    kvx::PsdProfile before, after;
    ASSERT_EQ(before.SetPoints(freq, psd), 1);
    ASSERT_EQ(CMatSpec::FilteringPsd(kCorner, GetParam().filter, &freq, &psd, GetParam().parameter), 1);
    ASSERT_EQ(after.SetPoints(freq, psd), 1) << "the points are in order";
    for (double f = 5.0; f < 2000.0; f *= 1.001) {
        const double expected = before.GetLevel(f) * GetParam().power(f / kCorner);
        if (expected == 0.0) {
            ASSERT_EQ(after.GetLevel(f), 0.0) << f;
        } else {
            ASSERT_NEAR(10 * std::log10(after.GetLevel(f) / expected), 0.0, 0.02) << f;
        }
    }
    EXPECT_LT(freq.GetNum(), 400);
}

const ShapeCase kShapes[] = {
    // clang-format off
    {"LowPass1",            CMatSpec::FILTER_LPF1, 0,         [](double x) { return 1 / (1 + x * x); }},
    {"HighPass1",           CMatSpec::FILTER_HPF1, 0,         [](double x) { return x * x / (1 + x * x); }},
    {"LowPass2",            CMatSpec::FILTER_LPF2, 20,        [](double x) { return 1 / (std::pow(1 - x * x, 2) + x * x / 400); }},
    {"HighPass2",           CMatSpec::FILTER_HPF2, 20,        [](double x) { return std::pow(x, 4) / (std::pow(1 - x * x, 2) + x * x / 400); }},
    {"ButterworthLowPass",  CMatSpec::FILTER_BW_LPF, 8,       [](double x) { return 1 / (1 + std::pow(x, 16)); }},
    {"ButterworthHighPass", CMatSpec::FILTER_BW_HPF, 3,       [](double x) { return 1 / (1 + std::pow(x, -6)); }},
    {"LinearLowPass",       CMatSpec::FILTER_LIN_LPF, 2,      [](double x) { return x > 1 ? std::pow(x, -4) : 1; }},
    {"LinearHighPass",      CMatSpec::FILTER_LIN_HPF, 1,      [](double x) { return x < 1 ? x * x : 1; }},
    {"TruncatedLowPass",    CMatSpec::FILTER_TRANC_LPF, 0,    [](double x) { return x > 1 ? 0.0 : 1.0; }},
    {"TruncatedHighPass",   CMatSpec::FILTER_TRANC_HPF, 0,    [](double x) { return x < 1 ? 0.0 : 1.0; }},
    // clang-format on
};
INSTANTIATE_TEST_SUITE_P(MatSpec, FilteringPsdTest, testing::ValuesIn(kShapes),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(FilteringPsd, AddsOnlyTheCornerToAStraightSlope) {
    CDataArrayDouble freq = ToArray({10, 1000}), psd = ToArray({1, 1});
    ASSERT_EQ(CMatSpec::FilteringPsd(100, CMatSpec::FILTER_LIN_HPF, &freq, &psd, 2), 1);
    EXPECT_EQ(ToWave(freq), (Wave{10, 100, 1000}));
    EXPECT_NEAR(psd[0], 1e-4, 1e-18);
    EXPECT_EQ(ToWave(psd.GetData() + 1, 2), (Wave{1, 1}));
}

TEST(FilteringPsd, KeepsLevelsAboveZeroHoweverSteepTheFilter) {
    CDataArrayDouble freq = ToArray({1, 1e6}), psd = ToArray({1, 1});
    ASSERT_EQ(CMatSpec::FilteringPsd(1, CMatSpec::FILTER_LIN_LPF, &freq, &psd, 100), 1);
    EXPECT_EQ(psd[psd.GetNum() - 1], std::numeric_limits<double>::min());
}

TEST(FilteringPsd, RefusesWhatHasNoMeaningAndChangesNothing) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    CDataArrayDouble freq = ToArray({10, 100}), psd = ToArray({1, 2}), unordered = ToArray({100, 10}),
                     three(3, 1.0);
    const auto run = [&](double fc, int filter, double parameter) {
        return CMatSpec::FilteringPsd(fc, filter, &freq, &psd, parameter);
    };
    for (const double bad : {0.0, -1.0, kNaN}) EXPECT_EQ(run(bad, CMatSpec::FILTER_LPF1, 0), 0);
    for (const int filter : {0, 11, -1}) EXPECT_EQ(run(50, filter, 1), 0);
    for (const double bad : {0.0, 17.0, kNaN}) EXPECT_EQ(run(50, CMatSpec::FILTER_BW_LPF, bad), 0);
    EXPECT_EQ(run(50, CMatSpec::FILTER_LPF2, 0), 0);
    EXPECT_EQ(run(50, CMatSpec::FILTER_LIN_LPF, kNaN), 0);
    EXPECT_EQ(run(10, CMatSpec::FILTER_TRANC_LPF, 0), 0) << "one point remains";
    EXPECT_EQ(CMatSpec::FilteringPsd(50, CMatSpec::FILTER_LPF1, &unordered, &psd, 0), 0);
    EXPECT_EQ(CMatSpec::FilteringPsd(50, CMatSpec::FILTER_LPF1, &three, &psd, 0), 0);
    EXPECT_EQ(CMatSpec::FilteringPsd(50, CMatSpec::FILTER_LPF1, nullptr, &psd, 0), 0);
    EXPECT_EQ(CMatSpec::FilteringPsd(50, CMatSpec::FILTER_LPF1, &freq, nullptr, 0), 0);
    EXPECT_EQ(ToWave(freq), (Wave{10, 100}));
    EXPECT_EQ(ToWave(psd), (Wave{1, 2}));
}

}  // namespace
