// SPDX-License-Identifier: MIT
//
// The arithmetic, statistics and conversions of CDataArrayDouble.
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;
using Doubles = std::vector<double>;

constexpr double kMarker = -1.7976931348623157e308;

CDataArrayDouble Array(const Doubles& values) {
    return ArrayOf<CDataArrayDouble>(values);
}

CDataArrayDouble RandomArray(int count) {
    std::mt19937 random(20240607);
    std::uniform_real_distribution<double> range(-1.0, 1.0);
    CDataArrayDouble array;
    for (int i = 0; i < count; ++i) array.Append(range(random));
    return array;
}

TEST(DoubleArray, DeltaMakesAnAxis) {
    CDataArrayDouble array(4, nullptr);
    EXPECT_EQ(array.SetDelta(0.5, -1.0), 1);
    EXPECT_EQ(Values(array), (Doubles{-1.0, -0.5, 0.0, 0.5}));
    EXPECT_EQ(CDataArrayDouble().SetDelta(1.0, 0.0), 0);
}

TEST(DoubleArray, ScalarsApplyToEveryElement) {
    CDataArrayDouble array = Array({1, 2, 3});
    EXPECT_EQ(&(array += 1.0), &array);
    EXPECT_EQ(&(array *= 3.0), &array);
    EXPECT_EQ(&(array /= 0.5), &array);
    array /= 0.0;
    EXPECT_EQ(Values(array), (Doubles{12, 18, 24}));
    array.SetData(1, 49.0);
    array /= 49.0;
    EXPECT_EQ(array[0], 49.0 * (1.0 / 49.0))
        << "division multiplies by the reciprocal, whatever it rounds to";
}

TEST(DoubleArray, ArraysApplyOverTheElementsBothHave) {
    CDataArrayDouble array = Array({8, 12, 20});
    array += Array({2, 4});
    EXPECT_EQ(Values(array), (Doubles{10, 16, 20}));
    array *= Array({2, 2, 2, 2});
    EXPECT_EQ(Values(array), (Doubles{20, 32, 40}));
    array /= Array({4, 0});
    EXPECT_EQ(Values(array), (Doubles{5, kInf, 40}));
    array += CDataArrayDouble();
    EXPECT_EQ(Values(array), (Doubles{5, kInf, 40}));
}

TEST(DoubleArray, IsItsOwnOperand) {
    CDataArrayDouble array = Array({1, 2, 3, 4, 5, 6, 7, 8, 9});
    const CDataArrayDouble& self = array;
    array += self;
    EXPECT_EQ(Values(array), (Doubles{2, 4, 6, 8, 10, 12, 14, 16, 18}));
    array *= self;
    EXPECT_EQ(array[8], 324);
    array /= self;
    EXPECT_EQ(Values(array), Doubles(9, 1.0));
    EXPECT_EQ(CDataArrayDouble::MulAdd(&array, self, 2.0), 1);
    EXPECT_EQ(Values(array), Doubles(9, 3.0));
}

TEST(DoubleArray, MulAddAddsAScaledArray) {
    CDataArrayDouble array = Array({1, 2, 3});
    EXPECT_EQ(CDataArrayDouble::MulAdd(&array, Array({10, 20}), 0.5), 1);
    EXPECT_EQ(Values(array), (Doubles{6, 12, 3}));
    EXPECT_EQ(CDataArrayDouble::MulAdd(&array, CDataArrayDouble(), 0.5), 1);
    EXPECT_EQ(CDataArrayDouble::MulAdd(nullptr, array, 0.5), 0);
    // One rounding for the product and one for the sum: nothing is fused.
    CDataArrayDouble tiny = Array({-1.0});
    CDataArrayDouble::MulAdd(&tiny, Array({1.0 + 0x1p-30}), 1.0 - 0x1p-30);
    EXPECT_EQ(tiny[0], 0.0);
}

struct RingSumCase {
    const char* name;
    Doubles src;
    __int64 srcStart, dstStart, num;
    Doubles sum, product;  // of the destination 1, 2, 3, 4
};

// clang-format off
const RingSumCase kRingSums[] = {
    {"inside both",         {10, 20, 30}, 0, 1, 2, {1, 12, 23, 4},      {1, 20, 60, 4}},
    {"source wraps",        {10, 20, 30}, 2, 0, 3, {31, 12, 23, 4},     {30, 20, 60, 4}},
    {"destination wraps",   {10, 20, 30}, 0, 3, 3, {21, 32, 3, 14},     {20, 60, 3, 40}},
    {"source many times",   {10},         0, 0, 4, {11, 12, 13, 14},    {10, 20, 30, 40}},
    {"destination twice",   {1, 2, 3},    0, 2, 6, {4, 3, 6, 9},        {3, 2, 6, 24}},
};
// clang-format on

TEST(DoubleArray, AddsAndMultipliesRings) {
    for (const RingSumCase& row : kRingSums) {
        const CDataArrayDouble source = Array(row.src);
        CDataArrayDouble array = Array({1, 2, 3, 4});
        EXPECT_EQ(array.AddArr(source, row.srcStart, row.dstStart, row.num), 1) << row.name;
        EXPECT_EQ(Values(array), row.sum) << row.name;
        array = Array({1, 2, 3, 4});
        EXPECT_EQ(array.MulArr(source, row.srcStart, row.dstStart, row.num), 1) << row.name;
        EXPECT_EQ(Values(array), row.product) << row.name;
    }
}

TEST(DoubleArray, AddsAndMultipliesTwoRingsIntoAThird) {
    const CDataArrayDouble a = Array({1, 2, 3});
    const CDataArrayDouble b = Array({10, 20});
    CDataArrayDouble array(5, nullptr);
    EXPECT_EQ(CDataArrayDouble::AddArr(&array, 3, a, 1, b, 1, 4), 1);  // 2+20, 3+10, 1+20, 2+10
    EXPECT_EQ(Values(array), (Doubles{21, 12, 0, 22, 13}));
    EXPECT_EQ(CDataArrayDouble::MulArr(&array, 0, a, 0, b, 0, 3), 1);
    EXPECT_EQ(Values(array), (Doubles{10, 40, 30, 22, 13}));
    EXPECT_EQ(CDataArrayDouble::AddArr(&array, 0, array, 0, array, 0, 5), 1);
    EXPECT_EQ(Values(array), (Doubles{20, 80, 60, 44, 26}));
}

TEST(DoubleArray, RingStepsOnItselfSeeWhatEarlierStepsWrote) {
    CDataArrayDouble array(20, 1.0);
    EXPECT_EQ(array.AddArr(array, 0, 1, 19), 1);
    EXPECT_EQ(Values(array), UpTo<double>(20)) << "a running sum";
}

TEST(DoubleArray, BadRingOperationsFailWithoutAChange) {
    const CDataArrayDouble source = Array({1, 2, 3});
    const CDataArrayDouble none;
    CDataArrayDouble array(4, 5.0);
    const struct {
        const CDataArrayDouble& src;
        __int64 srcStart, dstStart, num;
    } kBad[] = {{source, -1, 0, 1}, {source, 3, 0, 1},  {source, 0, -1, 1}, {source, 0, 4, 1},
                {source, 0, 0, 0},  {source, 0, 0, -1}, {none, 0, 0, 1}};
    for (const auto& [src, srcStart, dstStart, num] : kBad) {
        EXPECT_EQ(array.AddArr(src, srcStart, dstStart, num), 0);
        EXPECT_EQ(array.MulArr(src, srcStart, dstStart, num), 0);
        EXPECT_EQ(CDataArrayDouble::AddArr(&array, dstStart, src, srcStart, source, 0, num), 0);
        EXPECT_EQ(CDataArrayDouble::MulArr(&array, dstStart, source, 0, src, srcStart, num), 0);
    }
    EXPECT_EQ(CDataArrayDouble::AddArr(nullptr, 0, source, 0, source, 0, 1), 0);
    EXPECT_EQ(CDataArrayDouble().AddArr(source, 0, 0, 1), 0);
    EXPECT_EQ(Values(array), Doubles(4, 5.0));
}

// ---- comparison and statistics

TEST(DoubleArray, EqualityComparesValuesAndNeedsBlocks) {
    const CDataArrayDouble array = Array({1, 2});
    EXPECT_EQ(array == Array({1, 2}), 1);
    EXPECT_EQ(array != Array({1, 2}), 0);
    EXPECT_EQ(array == Array({1, 3}), 0);
    EXPECT_EQ(array == Array({1, 2, 3}), 0);
    EXPECT_EQ(Array({kNan}) == Array({kNan}), 0);
    EXPECT_EQ(CDataArrayDouble() == CDataArrayDouble(), 0);
    EXPECT_EQ(CDataArrayDouble() != CDataArrayDouble(), 1);
    EXPECT_EQ(Array({}) == Array({}), 1) << "count 0, but with blocks";
}

TEST(DoubleArray, SumIsPlainAndTakenInEightLanes) {
    EXPECT_EQ(CDataArrayDouble().GetSum(), 0.0);
    EXPECT_EQ(CDataArrayDouble().GetAve(), 0.0);
    EXPECT_EQ(Array(UpTo<double>(100)).GetSum(), 5050.0);
    EXPECT_EQ(Array(UpTo<double>(100)).GetAve(), 50.5);
    EXPECT_EQ(Array({kMarker, 1.0}).GetSum(), kMarker) << "the marker is summed like any number";

    // The two halves of an ulp meet in one lane when they are eight apart, and are lost one by one otherwise.
    constexpr double kHalfUlp = 0x1p-53;
    EXPECT_EQ(Array({1, kHalfUlp, 0, 0, 0, 0, 0, 0, 0, kHalfUlp}).GetSum(), 1.0 + 2 * kHalfUlp);
    EXPECT_EQ(Array({1, 0, 0, 0, 0, 0, 0, 0, kHalfUlp, 0, 0, 0, 0, 0, 0, 0, kHalfUlp}).GetSum(), 1.0);
}

TEST(DoubleArray, SquareSumsRunAroundTheRing) {
    const CDataArrayDouble array = Array({1, 2, 3});
    EXPECT_EQ(array.GetSqSum(-1, 2), 10.0);
    EXPECT_EQ(array.GetSqSum(-301, 2), 10.0);
    EXPECT_EQ(array.GetSqSum(5, 2), 10.0);
    EXPECT_EQ(array.GetSqSum(1, 0), 14.0);
    EXPECT_EQ(array.GetSqSum(1, -1), 14.0);
    EXPECT_EQ(array.GetSqSum(std::numeric_limits<__int64>::min(), 1), 4.0);  // -2^63 mod 3 = 1
    EXPECT_EQ(array.GetSqSum(0, 4), 0.0);
    EXPECT_EQ(CDataArrayDouble().GetSqSum(0, 0), 0.0);

    EXPECT_EQ(array.CalcRms(-1, 2), std::sqrt(5.0));
    EXPECT_EQ(array.CalcRms(0, 0), std::sqrt(14.0 / 3.0));
    EXPECT_EQ(array.CalcRms(0, 4), 0.0);
    EXPECT_EQ(CDataArrayDouble().CalcRms(0, 0), 0.0);
}

TEST(DoubleArray, TheBitsOfASumDoNotDependOnWhereTheRingWraps) {
    const CDataArrayDouble array = RandomArray(1000);
    for (const __int64 start : {1, 7, 8, 333, 993, 999}) {
        CDataArrayDouble turned(1000, nullptr);
        turned.Copy(array, start, 0, 1000);
        EXPECT_EQ(array.GetSqSum(start, 997), turned.GetSqSum(0, 997)) << start;
    }
}

TEST(DoubleArray, AbsMaxLooksAtARangeCutOffAtTheEnd) {
    const CDataArrayDouble array = Array({1, -9, 3, kNan, -4});
    EXPECT_EQ(array.GetAbsMax(0, 0), 9.0);
    EXPECT_EQ(array.GetAbsMax(2, 0), 4.0);
    EXPECT_EQ(array.GetAbsMax(2, 2), 3.0);
    EXPECT_EQ(array.GetAbsMax(2, std::numeric_limits<__int64>::max()), 4.0);
    EXPECT_EQ(array.GetAbsMax(-1, 0), 0.0);
    EXPECT_EQ(array.GetAbsMax(5, 0), 0.0);
    EXPECT_EQ(array.GetAbsMax(1, -1), 0.0);
    EXPECT_EQ(CDataArrayDouble().GetAbsMax(0, 0), 0.0);
}

struct RangeCase {
    const char* name;
    Doubles values;
    __int64 start, end;
    int found;
    double min, max, pmin;
};

// clang-format off
const RangeCase kRanges[] = {
    {"no positive value",         {-3, 0, -1},            0,   0, 1, -3,    0,    kSmallestNormal},
    {"positive values",           {4, -1, 2, 8, 3},       0,   0, 1, -1,    8,    2},
    {"from a start",              {-9, 1, 2},             1,   0, 1,  1,    2,    1},
    {"end included",              {5, 1, 2, -7},          1,   2, 1,  1,    2,    1},
    {"end past the last",         {5, 1, 2},              1,  99, 1,  1,    2,    1},
    {"one element",               {5, 6, 7},              1,   1, 1,  6,    6,    6},
    {"markers are skipped",       {kMarker, 3, kMarker},  0,   0, 1,  3,    3,    3},
    {"only markers",              {kMarker, kMarker},     0,   0, 0,  0,    0,    0},
    {"NaN beside numbers",        {kNan, 2, kNan, 5},     0,   0, 1,  2,    5,    2},
    {"nothing but NaN",           {kNan, kMarker},        0,   0, 1,  kNan, kNan, kSmallestNormal},
    {"infinities are numbers",    {kInf, -kInf},          0,   0, 1, -kInf, kInf, kInf},
    {"only -infinity",            {-kInf},                0,   0, 1, -kInf,-kInf, kSmallestNormal},
    {"long enough for lanes",     {9, 8, 7, 6, 5, 4, 3, 2, -1, 11}, 0, 0, 1, -1, 11, 2},
    {"empty",                     {},                     0,   0, 0,  0,    0,    0},
    {"start past the end",        {1, 2},                 2,   0, 0,  0,    0,    0},
    {"negative start",            {1, 2},                -1,   0, 0,  0,    0,    0},
    {"end before start",          {1, 2, 3},              2,   1, 0,  0,    0,    0},
    {"negative end",              {1, 2, 3},              0,  -1, 0,  0,    0,    0},
};
// clang-format on

TEST(DoubleArray, FindsItsRange) {
    using ::testing::NanSensitiveDoubleEq;
    for (const RangeCase& row : kRanges) {
        SCOPED_TRACE(row.name);
        const CDataArrayDouble array = Array(row.values);
        double min = 0, max = 0, pmin = 0;
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, row.end, &min, &max, &pmin), row.found);
        EXPECT_THAT(min, NanSensitiveDoubleEq(row.min));
        EXPECT_THAT(max, NanSensitiveDoubleEq(row.max));
        EXPECT_THAT(pmin, NanSensitiveDoubleEq(row.pmin));
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, row.end, nullptr, nullptr, nullptr), row.found);
        if (row.end != 0) continue;
        min = max = pmin = 0;
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, nullptr, nullptr, &pmin), row.found);
        EXPECT_EQ(array.GetMinMax(row.start, &min, &max), row.found);
        EXPECT_THAT(min, NanSensitiveDoubleEq(row.min));
        EXPECT_THAT(max, NanSensitiveDoubleEq(row.max));
        EXPECT_THAT(pmin, NanSensitiveDoubleEq(row.pmin));
    }
}

TEST(DoubleArray, SortedMeansStrictlyRising) {
    EXPECT_EQ(CDataArrayDouble().IsSorted(), 0);
    EXPECT_EQ(Array({5}).IsSorted(), 1);
    EXPECT_EQ(Array({-1, 0, 5}).IsSorted(), 1);
    EXPECT_EQ(Array({0, 0}).IsSorted(), 0);
    EXPECT_EQ(Array({1, 0}).IsSorted(), 0);
    EXPECT_EQ(Array({0, kNan, 5}).IsSorted(), 0);
    EXPECT_EQ(Array({kNan}).IsSorted(), 1);
}

// ---- in place and conversion

TEST(DoubleArray, ClipsBetweenBoundsInEitherOrder) {
    for (const auto& [a, b] : {std::pair{5.0, -5.0}, std::pair{-5.0, 5.0}}) {
        CDataArrayDouble array = Array({-9, -5, 1, 5, 9, kInf});
        EXPECT_EQ(array.Clip(a, b), 1);
        EXPECT_EQ(Values(array), (Doubles{-5, -5, 1, 5, 5, 5}));
    }
    EXPECT_EQ(CDataArrayDouble().Clip(0, 1), 0);
}

TEST(DoubleArray, KeepsTheLargerOrSmallerOfTwoArraysAndReverses) {
    CDataArrayDouble array = Array({1, 5, 3});
    EXPECT_EQ(array.SetLarge(Array({2, 4})), 1);
    EXPECT_EQ(Values(array), (Doubles{2, 5, 3}));
    EXPECT_EQ(array.SetSmall(Array({9, 1, 0, 7})), 1);
    EXPECT_EQ(Values(array), (Doubles{2, 1, 0}));
    array.Reverse();
    EXPECT_EQ(Values(array), (Doubles{0, 1, 2}));
    EXPECT_EQ(array.SetLarge(CDataArrayDouble()), 0);
    EXPECT_EQ(CDataArrayDouble().SetSmall(array), 0);
}

TEST(DoubleArray, ConvertsToFloatAndBackWithTheMarker) {
    CDataArrayFloat narrow;
    ASSERT_EQ(Array({kMarker, 1.0, 0.1, 1e300}).GetDataArrayFloat(&narrow), 1);
    EXPECT_EQ(Values(narrow),
              (std::vector<float>{-3.4028235e38F, 1.0F, 0.1F, std::numeric_limits<float>::infinity()}));
    CDataArrayDouble wide;
    ASSERT_EQ(wide.SetDataArrayFloat(narrow), 1);
    EXPECT_EQ(Values(wide), (Doubles{kMarker, 1.0, static_cast<double>(0.1F), kInf}));
    EXPECT_EQ(wide.GetDataArrayFloat(nullptr), 0);
    EXPECT_EQ(CDataArrayDouble().GetDataArrayFloat(&narrow), 1);
    EXPECT_EQ(narrow.GetNum(), 0);
}

TEST(DoubleArray, TakesTheMagnitudesOfAComplexArray) {
    CDataArrayDoubleCplx spectrum(1, 2);
    spectrum.SetReal(Doubles{3, 0}.data());
    spectrum.SetImaginary(Doubles{4, -2}.data());
    CDataArrayDouble array;
    array += spectrum;
    EXPECT_EQ(Values(array), (Doubles{5, 2})) << "an empty array is assigned the magnitudes";
    array = Array({1, 1, 1});
    array += spectrum;
    EXPECT_EQ(Values(array), (Doubles{6, 3, 1}));
    array = spectrum;
    EXPECT_EQ(Values(array), (Doubles{5, 2}));

    CDataArrayDoubleCplx real(0, 1);
    real.SetData(-7.0);
    array = real;
    EXPECT_EQ(Values(array), (Doubles{7}));
    array = CDataArrayDoubleCplx();
    EXPECT_EQ(array.GetNum(), 0);
}

}  // namespace
