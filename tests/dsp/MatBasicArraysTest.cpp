// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

#include <bit>
#include <functional>
#include <string>

namespace {

constexpr double kLargest = std::numeric_limits<double>::max();

/// Equal bits; NaNs are alike.
bool IsSame(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

struct ArrayRoutine {
    const char* name;
    std::function<int(double*, const double*, __int64)> run;
    std::function<double(double, double)> element;
};

void PrintTo(const ArrayRoutine& routine, std::ostream* out) {
    *out << routine.name;
}

class ArrayRoutineTest : public testing::TestWithParam<ArrayRoutine> {
protected:
    /// Runs routine and plain loop on two views of one block, which may overlap.
    static void CompareWithPlainLoop(Wave block, std::size_t aStart, std::size_t bStart, std::size_t count) {
        Wave expected = block;
        for (std::size_t i = 0; i < count; ++i) {
            expected[aStart + i] = GetParam().element(expected[aStart + i], expected[bStart + i]);
        }
        ASSERT_EQ(GetParam().run(block.data() + aStart, block.data() + bStart, static_cast<__int64>(count)),
                  1);
        for (std::size_t i = 0; i < block.size(); ++i) ASSERT_PRED2(IsSame, block[i], expected[i]) << i;
    }
};

TEST_P(ArrayRoutineTest, GivesTheBitsOfThePlainLoopOnBlocksThatMayOverlap) {
    for (const std::size_t count : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 31U, 1001U}) {
        CompareWithPlainLoop(Noise(2 * count), 0, count, count);
    }
    for (const auto& [aStart, bStart] :
         {std::pair{0U, 0U}, {1U, 0U}, {0U, 1U}, {3U, 0U}, {0U, 3U}, {9U, 0U}}) {
        CompareWithPlainLoop(Noise(110), aStart, bStart, 100);
    }
    const Wave specials = {0.0, -0.0, 1.0, -4.0, kInfinity, -kInfinity, kNaN, kLargest, -kLargest, 5e-324};
    Wave block;
    for (const double a : specials) block.insert(block.end(), specials.size(), a);
    for (std::size_t i = 0; i < specials.size(); ++i)
        block.insert(block.end(), specials.begin(), specials.end());
    CompareWithPlainLoop(block, 0, block.size() / 2, block.size() / 2);
}

TEST_P(ArrayRoutineTest, RefusesNullPointersAndCountsBelowOne) {
    Wave a = {2.0, 3.0};
    const Wave b = {4.0, 5.0};
    const auto& run = GetParam().run;
    EXPECT_TRUE(
        AllFail(run(a.data(), b.data(), 0), run(a.data(), b.data(), kLowest), run(nullptr, b.data(), 2)));
    EXPECT_EQ(a, (Wave{2.0, 3.0}));
}

const ArrayRoutine kArrayRoutines[] = {
    // clang-format off
    {"AddArray",    [](auto a, auto b, auto n) { return CMatBasic::AddArr(a, b, n); },    [](double x, double y) { return x + y; }},
    {"MulArray",    [](auto a, auto b, auto n) { return CMatBasic::MulArr(a, b, n); },    [](double x, double y) { return x * y; }},
    {"DivArray",    [](auto a, auto b, auto n) { return CMatBasic::DivArr(a, b, n); },    [](double x, double y) { return y == 0 ? x : x / y; }},
    {"CopyArray",   [](auto a, auto b, auto n) { return CMatBasic::CopyArr(a, b, n); },   [](double, double y) { return y; }},
    {"AddNumber",   [](auto a, auto, auto n) { return CMatBasic::AddArr(a, 0.3, n); },    [](double x, double) { return x + 0.3; }},
    {"MulNumber",   [](auto a, auto, auto n) { return CMatBasic::MulArr(a, 0.3, n); },    [](double x, double) { return x * 0.3; }},
    {"DivNumber",   [](auto a, auto, auto n) { return CMatBasic::DivArr(a, 0.3, n); },    [](double x, double) { return x * (1 / 0.3); }},
    {"SetNumber",   [](auto a, auto, auto n) { return CMatBasic::SetArr(a, 0.3, n); },    [](double, double) { return 0.3; }},
    {"ZeroArray",   [](auto a, auto, auto n) { return CMatBasic::ZeroArr(a, n); },        [](double, double) { return 0.0; }},
    {"SqrtArray",   [](auto a, auto, auto n) { return CMatBasic::SqrtArr(a, n); },        [](double x, double) { return x > 0 ? std::sqrt(x) : 0; }},
    // clang-format on
};

INSTANTIATE_TEST_SUITE_P(MatBasic, ArrayRoutineTest, testing::ValuesIn(kArrayRoutines),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(MatBasicArrays, DivisionByTheNumberZeroAndMissingBlocksFailAndChangeNothing) {
    Wave a = {1.0, 2.0};
    const double* const none = nullptr;
    EXPECT_TRUE(AllFail(CMatBasic::DivArr(a.data(), 0.0, 2), CMatBasic::DivArr(a.data(), -0.0, 2),
                        CMatBasic::AddArr(a.data(), none, 2), CMatBasic::MulArr(a.data(), none, 2),
                        CMatBasic::DivArr(a.data(), none, 2), CMatBasic::CopyArr(a.data(), none, 2)));
    EXPECT_EQ(a, (Wave{1.0, 2.0}));
}

TEST(MatBasicArrays, ReverseTurnsTheOrderOfEvenAndOddCounts) {
    for (const auto& [forth, back] :
         {std::pair<Wave, Wave>{{1}, {1}}, {{1, 2}, {2, 1}}, {{1, 2, 3}, {3, 2, 1}}}) {
        Wave wave = forth;
        EXPECT_EQ(CMatBasic::Reverse(wave.data(), Size(wave)), 1);
        EXPECT_EQ(wave, back);
    }
    Wave one = {1.0};
    EXPECT_TRUE(AllFail(CMatBasic::Reverse(nullptr, 1), CMatBasic::Reverse(one.data(), 0)));
}

TEST(MatBasicArrays, ClipTakesItsBoundsInEitherOrder) {
    for (const auto& [a, b] : {std::pair{-5.0, 5.0}, {5.0, -5.0}}) {
        EXPECT_EQ(CMatBasic::Clip(7.0, a, b), 5.0);
        EXPECT_EQ(CMatBasic::Clip(-kInfinity, a, b), -5.0);
        EXPECT_EQ(CMatBasic::Clip(1.5, a, b), 1.5);
        EXPECT_TRUE(std::isnan(CMatBasic::Clip(kNaN, a, b)));
    }
}

TEST(MatBasicArrays, LimitedLogNeverGoesBelowItsFloor) {
    EXPECT_DOUBLE_EQ(CMatBasic::LimitedLog(std::exp(2.0), 1e-20), 2.0);
    for (const double x : {1e-21, 0.0, -3.0, -kInfinity, kNaN}) {
        EXPECT_DOUBLE_EQ(CMatBasic::LimitedLog(x, 1e-20), -20.0 * std::log(10.0)) << x;
    }
}

TEST(MatBasicCompare, TellsTheSignOfTheDifferenceBeyondATolerance) {
    struct Case {
        double a, b, tolerance;
        int byValue, byRatio;
    };
    constexpr Case cases[] = {
        // clang-format off
        {1.0, 2.0, 0.0, +1, +1},                {3.0, 3.0, 0.0, 0, 0},                  {0.0, -0.0, 0.0, 0, 0},
        {-3.0, 1.0, 0.5, +1, +1},               {100.0, 101.0, 1.0, 0, 0},              {100.0, 101.5, 1.0, +1, 0},
        {100.0, 99.0, 0.02, -1, 0},             {100.0, 97.0, 0.02, -1, -1},            {100.0, 99.0, -0.02, -1, 0},
        {100.0, 99.0, -1.0, 0, 0},              {-4.0, 4.0, 5.0, +1, +1},               {0.0, 4.0, 5.0, 0, 0},
        {kInfinity, 1.0, 0.1, -1, -1},          {kInfinity, kInfinity, 0.1, 0, 0},
        {-kInfinity, kInfinity, 0.1, +1, +1},   {kNaN, 1.0, 0.1, 0, 0},
        // clang-format on
    };
    for (const auto& [a, b, tolerance, byValue, byRatio] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::pair(a, b)));
        EXPECT_EQ(CMatBasic::DoubleCmpByValue(a, b, tolerance), byValue);
        EXPECT_EQ(CMatBasic::DoubleCmpByValue(b, a, tolerance), -byValue);
        EXPECT_EQ(CMatBasic::DoubleCmpByRatio(a, b, tolerance), byRatio);
        EXPECT_EQ(CMatBasic::DoubleCmpByRatio(b, a, tolerance), -byRatio);
    }
}

TEST(GreaterEqPow2, IsTheSmallestPowerOfTwoNotBelow) {
    constexpr __int64 kTop = __int64{1} << 62;
    using Case = std::pair<__int64, __int64>;
    for (const auto& [n, expected] :
         {Case{-5, 1}, {0, 1}, {1, 1}, {2, 2}, {3, 4}, {1025, 2048}, {kTop, kTop}, {kTop + 1, 0}})
        EXPECT_EQ(CMatBasic::GreaterEqPow2(n), expected) << n;
}

}  // namespace
