// SPDX-License-Identifier: MIT
#include <KvxPlot01/Ticks.h>

#include <cmath>
#include <functional>
#include <random>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using Texts = std::vector<std::wstring>;

Texts Numbers(const TickPlan& plan) {
    Texts numbers;
    for (const Tick& tick : plan.ticks) {
        if (!tick.number.empty()) numbers.push_back(tick.number);
    }
    return numbers;
}

std::function<bool(const TickPlan&)> AtMost(std::size_t count) {
    return [count](const TickPlan& plan) { return Numbers(plan).size() <= count; };
}

struct NumberedAxis {
    const char* what;
    AxisRange bounds;
    AxisForm form;
    std::size_t most;
    TickStyle style;
    Texts numbers;
    const wchar_t* factor;
};

class NumbersOfAnAxis : public testing::TestWithParam<NumberedAxis> {};

TEST_P(NumbersOfAnAxis, StandAtRoundValues) {
    const NumberedAxis& axis = GetParam();
    const TickPlan plan = PlanTicks(axis.bounds, axis.form, 600.0, 4.0, axis.style, AtMost(axis.most));
    EXPECT_EQ(Numbers(plan), axis.numbers);
    EXPECT_EQ(plan.factor, axis.factor);
}

constexpr AxisForm kLin = AxisForm::kLinear;
constexpr AxisForm kLog = AxisForm::kLogarithmic;

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, NumbersOfAnAxis, testing::Values(
    NumberedAxis{"ones",        {0.0, 10.0},         kLin, 11, {}, {L"0", L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9", L"10"}, L""},
    NumberedAxis{"twos",        {0.0, 10.0},         kLin, 10, {}, {L"0", L"2", L"4", L"6", L"8", L"10"}, L""},
    NumberedAxis{"fives",       {-10.0, 10.0},       kLin, 5,  {}, {L"-10", L"-5", L"0", L"5", L"10"}, L""},
    NumberedAxis{"fractions",   {-0.3, 0.31},        kLin, 4,  {}, {L"-0.2", L"0.0", L"0.2"}, L""},
    NumberedAxis{"between",     {0.95, 3.05},        kLin, 3,  {}, {L"1", L"2", L"3"}, L""},
    NumberedAxis{"millions",    {0.0, 4e6},          kLin, 5,  {}, {L"0", L"1", L"2", L"3", L"4"}, L"×10#u6#n"},
    NumberedAxis{"millionths",  {-2e-5, 2e-5},       kLin, 5,  {}, {L"-20", L"-10", L"0", L"10", L"20"}, L"×10#u-6#n"},
    NumberedAxis{"far off",     {5000.1, 5000.3},    kLin, 3,  {}, {L"5000.1", L"5000.2", L"5000.3"}, L""},
    NumberedAxis{"decimals",    {0.0, 2e7},          kLin, 3,  {2, {}}, {L"0.00", L"10000000.00", L"20000000.00"}, L""},
    NumberedAxis{"digits",      {0.0, 0.75},         kLin, 4,  {{}, 1}, {L"0", L"0.2", L"0.4", L"0.6"}, L""},
    NumberedAxis{"angles",      {-180.0, 180.0},     kLin, 5,  {{}, {}, true}, {L"-180", L"-90", L"0", L"90", L"180"}, L""},
    NumberedAxis{"few angles",  {-1.0, 1.0},         kLin, 5,  {{}, {}, true}, {L"-1.0", L"-0.5", L"0.0", L"0.5", L"1.0"}, L""},
    NumberedAxis{"1, 2 and 5",  {10.0, 2000.0},      kLog, 8,  {}, {L"10", L"20", L"50", L"100", L"200", L"500", L"1000", L"2000"}, L""},
    NumberedAxis{"decades",     {0.01, 100.0},       kLog, 8,  {}, {L"0.01", L"0.1", L"1", L"10", L"100"}, L""},
    NumberedAxis{"powers",      {1e-6, 1e-3},        kLog, 4,  {}, {L"10#u-6#n", L"10#u-5#n", L"10#u-4#n", L"10#u-3#n"}, L""},
    NumberedAxis{"multiples",   {2e-5, 1e-4},        kLog, 3,  {}, {L"2×10#u-5#n", L"5×10#u-5#n", L"10#u-4#n"}, L""},
    NumberedAxis{"many",        {1e-30, 1e30},       kLog, 7,  {}, {L"10#u-30#n", L"10#u-20#n", L"10#u-10#n", L"10#u0#n", L"10#u10#n", L"10#u20#n", L"10#u30#n"}, L""},
    NumberedAxis{"one decade",  {1.0, 10.0},         kLog, 10, {}, {L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9", L"10"}, L""},
    NumberedAxis{"a part",      {3.0, 6.5},          kLog, 10, {}, {L"3", L"4", L"5", L"6"}, L""},
    NumberedAxis{"hardly any",  {31.0, 33.0},        kLog, 5,  {}, {L"31.0", L"31.5", L"32.0", L"32.5", L"33.0"}, L""}),
    [](const auto& tested) {
        std::string name = tested.param.what;
        std::erase_if(name, [](char letter) { return !std::isalnum(static_cast<unsigned char>(letter)); });
        return name;
    });
// clang-format on

TEST(Ticks, AreInOrderWithinTheBoundsAndAsManyAsFit) {
    std::mt19937 random(20261121);
    std::uniform_real_distribution<double> exponent(-12.0, 12.0);
    for (int i = 0; i < 2000; ++i) {
        const AxisForm form = i % 2 == 0 ? kLin : kLog;
        const double low = std::pow(10.0, exponent(random)) * (form == kLin && i % 4 == 0 ? -1.0 : 1.0);
        const AxisRange bounds{low, low + std::abs(low) * std::pow(10.0, exponent(random) / 3.0)};
        const TickPlan plan = PlanTicks(bounds, form, 600.0, 4.0, {}, AtMost(8));
        SCOPED_TRACE(testing::Message()
                     << bounds.low << " to " << bounds.high << (form == kLog ? " log" : ""));
        const double slack = 1e-5 * std::max(bounds.high - bounds.low, std::abs(bounds.high) * 1e-1);
        for (const Tick& tick : plan.ticks) {
            EXPECT_GE(tick.value, bounds.low - slack);
            EXPECT_LE(tick.value, bounds.high + slack);
        }
        EXPECT_TRUE(std::ranges::is_sorted(plan.ticks, std::less_equal(), &Tick::value) ||
                    plan.ticks.size() < 2);
        EXPECT_LE(Numbers(plan).size(), 8U);
        EXPECT_GE(Numbers(plan).size(), 2U);
        Texts unique = Numbers(plan);
        std::ranges::sort(unique);
        EXPECT_EQ(std::ranges::adjacent_find(unique), unique.end());
    }
}

TEST(Ticks, HaveMinorOnesOnlyWhereThereIsRoom) {
    const auto minors = [](AxisRange bounds, AxisForm form, double length) {
        const TickPlan plan = PlanTicks(bounds, form, length, 4.0, {}, AtMost(6));
        return std::ranges::count(plan.ticks, false, &Tick::isMajor);
    };
    EXPECT_EQ(minors({0.0, 10.0}, kLin, 600.0), 5 * 3);  // steps of 2 in quarters
    EXPECT_EQ(minors({0.0, 25.0}, kLin, 600.0), 5 * 4);  // steps of 5 in fifths
    EXPECT_EQ(minors({0.0, 10.0}, kLin, 60.0), 0);
    EXPECT_EQ(minors({1.0, 1e4}, kLog, 600.0), 4 * 8);
    EXPECT_EQ(minors({1.0, 1e4}, kLog, 100.0), 0);
}

TEST(Ticks, AreMissingWhereBoundsCannotBeShown) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const AxisRange bounds :
         {AxisRange{1.0, 1.0}, {2.0, 1.0}, {kNaN, 1.0}, {0.0, infinity}, {-1.5e308, 1.5e308}}) {
        EXPECT_TRUE(PlanTicks(bounds, kLin, 600.0, 4.0, {}, AtMost(8)).ticks.empty()) << bounds.low;
    }
    EXPECT_TRUE(PlanTicks({0.0, 1.0}, kLog, 600.0, 4.0, {}, AtMost(8)).ticks.empty());
    EXPECT_TRUE(PlanTicks({0.0, 1.0}, kLin, 0.0, 4.0, {}, AtMost(8)).ticks.empty());
    EXPECT_TRUE(Numbers(PlanTicks({0.0, 1.0}, kLin, 600.0, 4.0, {}, AtMost(0))).empty());
}

}  // namespace
}  // namespace kvx::plot
