// SPDX-License-Identifier: MIT
//
// The arithmetic, statistics and conversions of CDataArrayDouble.
#include <gmock/gmock.h>

#include <cmath>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

using D = CDataArrayDouble;

D Array(const Numbers& values) {
    return ArrayOf<D>(values);
}

TEST(DoubleArray, DeltaMakesAnAxisAndScalarsApplyToEveryElement) {
    D array(4, nullptr);
    EXPECT_TRUE(Leaves(array.SetDelta(0.5, -1.0), array, {-1.0, -0.5, 0.0, 0.5}));
    EXPECT_EQ(D().SetDelta(1.0, 0.0), 0);
    array = Array({1, 2, 3});
    EXPECT_EQ(&((((array += 1.0) *= 3.0) /= 0.5) /= 0.0), &array);
    EXPECT_EQ(Contents(array), (Numbers{12, 18, 24}));
    array.SetData(1, 49.0);
    array /= 49.0;
    EXPECT_EQ(array[0], 49.0 * (1.0 / 49.0))
        << "division multiplies by the reciprocal, whatever it rounds to";
}

TEST(DoubleArray, ArraysApplyOverTheElementsBothHave) {
    D array = Array({8, 12, 20});
    const CDataArrayDouble& self = array;
    EXPECT_EQ(Contents(array += Array({2, 4})), (Numbers{10, 16, 20}));
    EXPECT_EQ(Contents(array *= Array({2, 2, 2, 2})), (Numbers{20, 32, 40}));
    EXPECT_EQ(Contents(array /= Array({4, 0})), (Numbers{5, kInf, 40}));
    EXPECT_EQ(Contents(array += D()), (Numbers{5, kInf, 40}));
    array = Array({1, 2, 3});
    EXPECT_EQ(Contents((array += self) *= self), (Numbers{4, 16, 36})) << "an array may be its own operand";
    array /= self;
    EXPECT_TRUE(Leaves(D::MulAdd(&array, self, 2.0), array, {3, 3, 3}));
}

TEST(DoubleArray, MulAddAddsAScaledArray) {
    D array = Array({1, 2, 3});
    EXPECT_TRUE(Leaves(D::MulAdd(&array, Array({10, 20}), 0.5), array, {6, 12, 3}));
    EXPECT_EQ(D::MulAdd(&array, D(), 0.5), 1);
    EXPECT_EQ(D::MulAdd(nullptr, array, 0.5), 0);
    // One rounding for the product and one for the sum: nothing is fused.
    D tiny = Array({-1.0});
    D::MulAdd(&tiny, Array({1.0 + 0x1p-30}), 1.0 - 0x1p-30);
    EXPECT_EQ(tiny[0], 0.0);
}

// clang-format off
const Numbers kSame = {1, 2, 3, 4};
const struct {
    const char* name;
    Numbers src;
    __int64 srcStart, dstStart, num;
    Numbers sum, product;  // of the destination 1, 2, 3, 4
} kRingSums[] = {
    {"inside both",         {10, 20, 30},  0,  1,  2, {1, 12, 23, 4},      {1, 20, 60, 4}},
    {"source wraps",        {10, 20, 30},  2,  0,  3, {31, 12, 23, 4},     {30, 20, 60, 4}},
    {"destination wraps",   {10, 20, 30},  0,  3,  3, {21, 32, 3, 14},     {20, 60, 3, 40}},
    {"source many times",   {10},          0,  0,  4, {11, 12, 13, 14},    {10, 20, 30, 40}},
    {"destination twice",   {1, 2, 3},     0,  2,  6, {4, 3, 6, 9},        {3, 2, 6, 24}},
    {"source start < 0",    {10, 20, 30}, -1,  0,  1, kSame,               kSame},
    {"source start at end", {10, 20, 30},  3,  0,  1, kSame,               kSame},
    {"start < 0",           {10, 20, 30},  0, -1,  1, kSame,               kSame},
    {"start at end",        {10, 20, 30},  0,  4,  1, kSame,               kSame},
    {"nothing",             {10, 20, 30},  0,  0,  0, kSame,               kSame},
    {"less than nothing",   {10, 20, 30},  0,  0, -1, kSame,               kSame},
    {"empty source",        {},            0,  0,  1, kSame,               kSame},
};
// clang-format on

TEST(DoubleArray, AddsAndMultipliesRingsOrFailsWithoutAChange) {
    for (const auto& row : kRingSums) {
        const D src = Array(row.src);
        const __int64 f = row.srcStart, t = row.dstStart, n = row.num;
        const auto expect = [&](const Numbers& expected, auto operate) {
            D array = Array(kSame);
            EXPECT_EQ(operate(array), expected != kSame) << row.name;
            EXPECT_EQ(Contents(array), expected) << row.name;
        };
        // The member, and the sum of two rings into a third that is one of them.
        expect(row.sum, [&](D& d) { return d.AddArr(src, f, t, n); });
        expect(row.sum, [&](D& d) { return D::AddArr(&d, t, d, t, src, f, n); });
        expect(row.sum, [&](D& d) { return D::AddArr(&d, t, src, f, d, t, n); });
        expect(row.product, [&](D& d) { return d.MulArr(src, f, t, n); });
        expect(row.product, [&](D& d) { return D::MulArr(&d, t, src, f, d, t, n); });
        EXPECT_TRUE(AllFail({D().AddArr(src, f, t, n), D::MulArr(nullptr, t, src, f, src, f, n)}));
    }
}

TEST(DoubleArray, AddsAndMultipliesTwoRingsIntoAThirdAndIntoThemselves) {
    const D a = Array({1, 2, 3});
    const D b = Array({10, 20});
    D array(5, nullptr);
    // 2+20, 3+10, 1+20, 2+10
    EXPECT_TRUE(Leaves(D::AddArr(&array, 3, a, 1, b, 1, 4), array, {21, 12, 0, 22, 13}));
    EXPECT_TRUE(Leaves(D::MulArr(&array, 0, a, 0, b, 0, 3), array, {10, 40, 30, 22, 13}));
    EXPECT_TRUE(Leaves(D::AddArr(&array, 0, array, 0, array, 0, 5), array, {20, 80, 60, 44, 26}));
    array = D(20, 1.0);
    EXPECT_TRUE(Leaves(array.AddArr(array, 0, 1, 19), array, FromTo(1, 20)))
        << "steps see what the steps before them wrote: a running sum";
}

// ---- comparison and statistics

TEST(DoubleArray, EqualityComparesValuesAndNeedsBlocks) {
    const D array = Array({1, 2});
    EXPECT_EQ(array == Array({1, 2}), 1);
    EXPECT_EQ(array != Array({1, 2}), 0);
    EXPECT_EQ(array == Array({1, 3}), 0);
    EXPECT_EQ(array == Array({1, 2, 3}), 0);
    EXPECT_EQ(Array({kNan}) == Array({kNan}), 0);
    EXPECT_EQ(D() == D(), 0);
    EXPECT_EQ(D() != D(), 1);
    EXPECT_EQ(Array({}) == Array({}), 1) << "count 0, but with blocks";
}

TEST(DoubleArray, SumIsPlainAndTakenInLanes) {
    EXPECT_EQ(D().GetSum(), 0.0);
    EXPECT_EQ(D().GetAve(), 0.0);
    EXPECT_EQ(Array(FromTo(1, 100)).GetSum(), 5050.0);
    EXPECT_EQ(Array(FromTo(1, 100)).GetAve(), 50.5);
    EXPECT_EQ(Array({kMarker, 1.0}).GetSum(), kMarker) << "the marker is summed like any number";

    // The two halves of an ulp meet in one lane when they are 32 apart, and are lost one by one in that of 1.
    constexpr double kHalfUlp = 0x1p-53;
    for (const auto& [first, sum] : {std::pair{1, 1.0 + 2 * kHalfUlp}, {32, 1.0}}) {
        D array(100, 0.0);
        array[0] = 1.0;
        array[first] = array[first + 32] = kHalfUlp;
        EXPECT_EQ(array.GetSum(), sum);
    }
}

// clang-format off
const struct {
    __int64 start, num;
    double sum, count;  // of 1, 2, 3
} kRingSquares[] = {
    {-1,  2, 10, 2}, {-301, 2, 10, 2}, {5, 2, 10, 2}, {2, 3, 14, 3},
    { 1,  0, 14, 3}, {1,   -1, 14, 3}, {0, 4,  0, 4},
    {std::numeric_limits<__int64>::min(), 1, 4, 1},  // -2^63 mod 3 = 1
    {std::numeric_limits<__int64>::max(), 1, 4, 1},  // 2^63 - 1 mod 3 = 1
};
// clang-format on

TEST(DoubleArray, SquareSumsAndRmsRunAroundTheRing) {
    for (const auto& [start, num, sum, count] : kRingSquares) {
        EXPECT_EQ(Array({1, 2, 3}).GetSqSum(start, num), sum) << start << ", " << num;
        EXPECT_EQ(Array({1, 2, 3}).CalcRms(start, num), std::sqrt(sum / count)) << start << ", " << num;
        EXPECT_EQ(D().GetSqSum(start, num), 0.0);
        EXPECT_EQ(D().CalcRms(start, num), 0.0);
    }
}

TEST(DoubleArray, TheBitsOfASumDoNotDependOnWhereTheRingWraps) {
    D array(1000, nullptr);
    for (__int64 i = 0; i < 1000; ++i) array[i] = std::sin(static_cast<double>(i * i));
    for (const __int64 start : {1, 7, 8, 333, 993, 999}) {
        D turned(1000, nullptr);
        turned.Copy(array, start, 0, 1000);
        EXPECT_EQ(array.GetSqSum(start, 997), turned.GetSqSum(0, 997)) << start;
    }
}

TEST(DoubleArray, AbsMaxLooksAtARangeCutOffAtTheEnd) {
    const struct {
        __int64 start, num;
        double largest;
    } kCases[] = {{0, 0, 9},  {2, 0, 4}, {2, 2, 3}, {2, std::numeric_limits<__int64>::max(), 4},
                  {-1, 0, 0}, {5, 0, 0}, {1, -1, 0}};
    for (const auto& [start, num, largest] : kCases) {
        EXPECT_EQ(Array({1, -9, 3, kNan, -4}).GetAbsMax(start, num), largest) << start << ", " << num;
        EXPECT_EQ(D().GetAbsMax(start, num), 0.0);
    }
}

// clang-format off
const struct {
    const char* name;
    Numbers values;
    __int64 start, end;
    Numbers found;  // min, max, pmin
} kRanges[] = {
    {"no positive value",         {-3, 0, -1},            0,   0, {-3, 0, kSmallestNormal}},
    {"positive values",           {4, -1, 2, 8, 3},       0,   0, {-1, 8, 2}},
    {"from a start",              {-9, 1, 2},             1,   0, {1, 2, 1}},
    {"end included",              {5, 1, 2, -7},          1,   2, {1, 2, 1}},
    {"end past the last",         {5, 1, 2},              1,  99, {1, 2, 1}},
    {"one element",               {5, 6, 7},              1,   1, {6, 6, 6}},
    {"markers are skipped",       {kMarker, 3, kMarker},  0,   0, {3, 3, 3}},
    {"only markers",              {kMarker, kMarker},     0,   0, {}},
    {"NaN beside numbers",        {kNan, 2, kNan, 5},     0,   0, {2, 5, 2}},
    {"nothing but NaN",           {kNan, kMarker},        0,   0, {kNan, kNan, kSmallestNormal}},
    {"infinities are numbers",    {kInf, -kInf},          0,   0, {-kInf, kInf, kInf}},
    {"only -infinity",            {-kInf},                0,   0, {-kInf,-kInf, kSmallestNormal}},
    {"long enough for lanes",     {9, 8, 7, 6, 5, 4, 3, 2, -1, 11}, 0, 0, {-1, 11, 2}},
    {"empty",                     {},                     0,   0, {}},
    {"start past the end",        {1, 2},                 2,   0, {}},
    {"negative start",            {1, 2},                -1,   0, {}},
    {"end before start",          {1, 2, 3},              2,   1, {}},
    {"negative end",              {1, 2, 3},              0,  -1, {}},
};
// clang-format on

TEST(DoubleArray, FindsItsRange) {
    for (const auto& row : kRanges) {
        SCOPED_TRACE(row.name);
        const D array = Array(row.values);
        const int isFound = !row.found.empty();
        const auto isExpected =
            ::testing::Pointwise(::testing::NanSensitiveDoubleEq(), isFound ? row.found : Numbers(3));
        Numbers out(3);
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, row.end, &out[0], &out[1], &out[2]), isFound);
        EXPECT_THAT(out, isExpected);
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, row.end, nullptr, nullptr, nullptr), isFound);
        if (row.end != 0) continue;
        out = Numbers(3);
        EXPECT_EQ(array.GetMinMaxAndPMin(row.start, nullptr, nullptr, &out[2]), isFound);
        EXPECT_EQ(array.GetMinMax(row.start, &out[0], &out[1]), isFound);
        EXPECT_THAT(out, isExpected);
    }
}

TEST(DoubleArray, SortedMeansStrictlyRising) {
    for (const Numbers& sorted : {Numbers{5}, {-1, 0, 5}, {kNan}}) EXPECT_EQ(Array(sorted).IsSorted(), 1);
    for (const Numbers& unsorted : {Numbers{0, 0}, {1, 0}, {0, kNan, 5}})
        EXPECT_EQ(Array(unsorted).IsSorted(), 0);
    EXPECT_EQ(D().IsSorted(), 0);
}

// ---- in place

TEST(DoubleArray, ClipsBetweenBoundsInEitherOrder) {
    for (const double bound : {5.0, -5.0}) {
        D array = Array({-9, -5, 1, 5, 9, kInf});
        EXPECT_TRUE(Leaves(array.Clip(bound, -bound), array, {-5, -5, 1, 5, 5, 5}));
    }
    EXPECT_EQ(D().Clip(0, 1), 0);
}

TEST(DoubleArray, KeepsTheLargerOrSmallerOfTwoArraysAndReverses) {
    D array = Array({1, 5, 3});
    EXPECT_TRUE(Leaves(array.SetLarge(Array({2, 4})), array, {2, 5, 3}));
    EXPECT_TRUE(Leaves(array.SetSmall(Array({9, 1, 0, 7})), array, {2, 1, 0}));
    array.Reverse();
    EXPECT_EQ(Contents(array), (Numbers{0, 1, 2}));
    EXPECT_TRUE(AllFail({array.SetLarge(D()), D().SetSmall(array)}));
}

TEST(DoubleArray, TakesTheMagnitudesOfAComplexArray) {
    const auto spectrum = Filled(CDataArrayDoubleCplx(1, 2), {3, 0, 4, -2});
    D array;
    EXPECT_EQ(Contents(array += spectrum), (Numbers{5, 2})) << "an empty array is assigned the magnitudes";
    EXPECT_EQ(Contents(array += Filled(CDataArrayDoubleCplx(1, 1), {3, 4})), (Numbers{10, 2}));
    EXPECT_EQ(Contents(array = spectrum), (Numbers{5, 2}));
    EXPECT_EQ(Contents(array = Filled(CDataArrayDoubleCplx(0, 1), {-7})), Numbers{7});
    EXPECT_EQ(Contents(array = CDataArrayDoubleCplx()), Numbers());
}

}  // namespace
