// SPDX-License-Identifier: MIT
//
// What all arrays share: storage, access, growth, ring copy, failure.
#include "tests/data/DataTesting.h"

// Under the address sanitizer a refused allocation is null, as it is without it.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

using namespace kvx::testing;

KVX_FAMILY(ArrayFamily, AllArrays);

TYPED_TEST(ArrayFamily, IsMadeOfAValueOrOfABlockOrOfZeros) {
    TypeParam array(3, 7);
    EXPECT_EQ(Contents(array), (Numbers{7, 7, 7}));
    EXPECT_EQ(Contents(TypeParam(2, array.GetData() + 1)), (Numbers{7, 7}));
    for (const TypeParam& zeros :
         {TypeParam(2, nullptr), TypeParam(2, 0), TypeParam(2, 0U), TypeParam{2, 0LL}})
        EXPECT_EQ(Contents(zeros), (Numbers{0, 0}));
    EXPECT_TRUE(Leaves(array.SetData(1, 0), array, {0}));
    EXPECT_TRUE(Leaves(array.SetData(2, 5LL), array, {5, 5}));
}

TYPED_TEST(ArrayFamily, FillingMakesAFreshBlockOf1024Zeros) {
    for (const int count : {0, 3, 1024}) {
        TypeParam array(2000, 5);
        ASSERT_EQ(array.SetData(count, nullptr), 1);
        EXPECT_EQ(array.GetNum(), count);
        ASSERT_NE(array.GetData(), nullptr);
        EXPECT_EQ(Numbers(array.GetData(), array.GetData() + 1024), Numbers(1024)) << count;
    }
}

TYPED_TEST(ArrayFamily, CountsThatCannotBeHeldFailAndLeaveNoBlock) {
    for (const __int64 absurd : kAbsurdCounts) {
        for (const __int64 count : {__int64{-1}, absurd}) {
            TypeParam zeros(5, 1), ones(5, 1);
            EXPECT_TRUE(AllFail({zeros.SetData(count, nullptr), ones.SetData(count, 1)})) << count;
            EXPECT_EQ(zeros.GetNum() + ones.GetNum(), 0);
            EXPECT_FALSE(zeros.GetData() || ones.GetData() || TypeParam(count, nullptr).GetData());
        }
    }
}

TYPED_TEST(ArrayFamily, FillingFromItsOwnBlockKeepsTheValues) {
    TypeParam array = ArrayOf<TypeParam>(FromTo(1, 3000));
    EXPECT_TRUE(Leaves(array.SetData(2, array.GetData() + 2500), array, {2501, 2502}));
    array = TypeParam();
    ASSERT_NE(array.GetData(), nullptr) << "an empty array is assigned as 0 elements are filled in";
    EXPECT_TRUE(Leaves(array.SetData(2, array.GetData()), array, {0, 0}))
        << "from the unused elements of an empty array";
}

TYPED_TEST(ArrayFamily, AWriteOutsideLandsInTheSpareElement) {
    TypeParam array = ArrayOf<TypeParam>({1, 2});
    array[1] = 9;
    for (const __int64 index : {__int64{2}, __int64{-1}, __int64{1} << 62}) {
        array[index] = 33;
        EXPECT_EQ(array[-5], 33) << "a writable read outside sees the spare element";
        EXPECT_EQ(std::as_const(array)[index], 0);
    }
    EXPECT_EQ(Contents(array), (Numbers{1, 9}));
    EXPECT_EQ(std::as_const(array)[1], 9);
    EXPECT_EQ(TypeParam()[0], 0);
}

// ---- ring copy

// clang-format off
const Numbers kRefused(5);
const struct {
    const char* name;
    int srcCount;  // the source holds 1, 2, ...
    __int64 srcStart, dstStart, num;
    Numbers expected;  // of five zeros
} kRingCopies[] = {
    {"inside both",                  5,  1, 2, 2, {0, 0, 2, 3, 0}},
    {"source wraps",                 5,  3, 0, 4, {4, 5, 1, 2, 0}},
    {"destination wraps",            5,  0, 3, 4, {3, 4, 0, 1, 2}},
    {"both wrap, source first",      5,  4, 3, 5, {2, 3, 4, 5, 1}},
    {"both wrap, destination first", 5,  3, 4, 5, {5, 1, 2, 3, 4}},
    {"both wrap at once",            5,  3, 3, 5, {1, 2, 3, 4, 5}},
    {"rings of different length",    7,  5, 4, 5, {7, 1, 2, 3, 6}},
    {"starts past the end",          5, 13, 6, 2, {0, 4, 5, 0, 0}},
    {"starts just at the end",       5,  5, 5, 1, {1, 0, 0, 0, 0}},
    {"far start",                    5, (__int64{1} << 62), 0, 1, {5, 0, 0, 0, 0}},  // 2^62 mod 5 = 4
    {"negative source start",        5, -1, 0, 1, kRefused},
    {"negative destination start",   5,  0,-1, 1, kRefused},
    {"nothing",                      5,  0, 0, 0, kRefused},
    {"less than nothing",            5,  0, 0,-1, kRefused},
    {"more than the source",         3,  0, 0, 4, kRefused},
    {"more than the destination",    7,  0, 0, 6, kRefused},
    {"empty source",                 0,  0, 0, 1, kRefused},
};
// clang-format on

TYPED_TEST(ArrayFamily, CopiesBetweenRings) {
    for (const auto& row : kRingCopies) {
        const TypeParam source = ArrayOf<TypeParam>(FromTo(1, row.srcCount));
        TypeParam array(5, nullptr);
        EXPECT_EQ(array.Copy(source, row.srcStart, row.dstStart, row.num), row.expected != kRefused)
            << row.name;
        EXPECT_EQ(Contents(array), row.expected) << row.name;
        EXPECT_EQ(TypeParam().Copy(source, row.srcStart, row.dstStart, row.num), 0) << row.name;
    }
    EXPECT_EQ(TypeParam(5, nullptr).Copy(TypeParam(), 0, 0, 1), 0);
}

TYPED_TEST(ArrayFamily, CopyingARingOntoItselfReadsBeforeItWrites) {
    const TypeParam before = ArrayOf<TypeParam>(FromTo(1, 6));
    for (int i = 0; i < 6 * 6 * 6; ++i) {
        const int srcStart = i % 6, dstStart = i / 6 % 6, num = 1 + i / 36;
        TypeParam array(before), expected(before);
        expected.Copy(before, srcStart, dstStart, num);
        EXPECT_EQ(array.Copy(array, srcStart, dstStart, num), 1);
        EXPECT_EQ(Contents(array), Contents(expected)) << srcStart << " -> " << dstStart << ", " << num;
    }
}

// ---- growth

KVX_FAMILY(GrowingFamily, GrowingArrays);

TYPED_TEST(GrowingFamily, AppendsValuesRunsAndArraysAndZeroKeepsTheCount) {
    TypeParam array;
    EXPECT_EQ(array.Append(1), 1);
    EXPECT_EQ(array.Append(2, ArrayOf<TypeParam>({2, 3}).GetData()), 1);
    EXPECT_EQ(array.Append(ArrayOf<TypeParam>({4, 5})), 1);
    EXPECT_TRUE(Leaves(array.Append(TypeParam()), array, FromTo(1, 5)));
    array.Zero();
    EXPECT_EQ(Contents(array), Numbers(5));
}

TYPED_TEST(GrowingFamily, GrowsInZeroFilledBlocksAndKeepsEveryElement) {
    TypeParam array(1, 1);
    for (int i = 2; i <= 5000; ++i) ASSERT_EQ(array.Append(static_cast<decltype(array[0] + 0)>(i)), 1);
    EXPECT_EQ(Contents(array), FromTo(1, 5000));
    EXPECT_EQ(Numbers(array.GetData() + 5000, array.GetData() + 5120), Numbers(120));
}

/// Whether the array holds 0, 1, ... and zeros behind them, up to whole steps of 1024.
template <class Array>
bool CountsUp(const Array& array) {
    const auto* const values = array.GetData();
    const __int64 count = array.GetNum();
    for (__int64 i = 0; i < (count + 1023) / 1024 * 1024; ++i) {
        if (values[i] != static_cast<decltype(array[0] + 0)>(i < count ? i : 0)) return false;
    }
    return true;
}

TYPED_TEST(GrowingFamily, KeepsEveryElementThroughEverySizeOfBlock) {
    TypeParam all(3'000'000, nullptr), array;
    for (__int64 i = 0; i < all.GetNum(); ++i) all[i] = static_cast<decltype(all[0] + 0)>(i);
    for (const __int64 run : {1, 100'003}) {  // under a sanitizer every growth copies
        while (array.GetNum() < run * 29'000 && array.GetNum() + run <= all.GetNum())
            ASSERT_EQ(array.Append(run, all.GetData() + array.GetNum()), 1);
        EXPECT_TRUE(CountsUp(array)) << run;
    }
    TypeParam copy(array), moved(std::move(copy));
    EXPECT_TRUE(CountsUp(moved));
    TypeParam half(1'500'001, array.GetData());
    EXPECT_TRUE(CountsUp(half)) << "an exact block, which then grows by a run";
    EXPECT_EQ(half.Append(1'000'003, array.GetData() + half.GetNum()), 1);
    EXPECT_TRUE(CountsUp(half));
}

TYPED_TEST(GrowingFamily, AppendsItselfAndRunsOfItsOwnBlock) {
    TypeParam array = ArrayOf<TypeParam>(FromTo(1, 1000));
    EXPECT_EQ(array.Append(array), 1);
    EXPECT_EQ(array.Append(2, array.GetData() + 998), 1);
    EXPECT_EQ(array.Append(999, array.GetData() + 1), 1);
    Numbers expected;
    for (const Numbers& run : {FromTo(1, 1000), FromTo(1, 1000), FromTo(999, 1000), FromTo(2, 1000)})
        expected.insert(expected.end(), run.begin(), run.end());
    EXPECT_EQ(Contents(array), expected);
}

TYPED_TEST(GrowingFamily, BadRunsChangeNothingAndRefusedGrowthLeavesNoBlock) {
    TypeParam array(1, 1);
    const TypeParam run(2, 2);
    EXPECT_TRUE(AllFail({array.Append(-1, run.GetData()), array.Append(1, nullptr)}));
    EXPECT_TRUE(Leaves(array.Append(0, nullptr), array, {1}));
    for (const __int64 count : kAbsurdCounts) {
        EXPECT_EQ(array.Append(count, run.GetData()), 0) << count;
        EXPECT_EQ(array.GetData(), nullptr);
        EXPECT_TRUE(Leaves(array.Append(4), array, {4})) << "and the array can be used again";
    }
}

// ---- what only some members do

KVX_FAMILY(FloatingFamily, FloatingArrays);

TYPED_TEST(FloatingFamily, FillsTheElementsThatAreThere) {
    TypeParam array(2, nullptr);
    EXPECT_TRUE(Leaves(array.SetData(2), array, {2, 2}));
    EXPECT_EQ(TypeParam().SetData(2), 0);
    array.SetData(0, nullptr);
    EXPECT_EQ(array.SetData(2), 0) << "a block without elements";
}

TYPED_TEST(FloatingFamily, IsAllZeroOnlyWithNothingButZeros) {
    EXPECT_EQ(TypeParam().IsAllZero(), 0);
    EXPECT_EQ(ArrayOf<TypeParam>({0, -0.0}).IsAllZero(), 1);
    EXPECT_EQ(ArrayOf<TypeParam>({0, 1e-45}).IsAllZero(), 0) << "the smallest float";
    EXPECT_EQ(ArrayOf<TypeParam>({0, kNan}).IsAllZero(), 0);
}

KVX_FAMILY(IntegerFamily, IntegerArrays);

TYPED_TEST(IntegerFamily, SearchesUpwardsAndFills) {
    TypeParam array = ArrayOf<TypeParam>({5, 7, 5});
    const std::pair<__int64, __int64> found[] = {{0, 0}, {1, 2}, {2, 2}, {3, -1}, {-1, -1}};
    for (const auto& [start, index] : found) EXPECT_EQ(array.Search(5, start), index) << start;
    EXPECT_EQ(array.Search(7, 2), -1);
    EXPECT_EQ(TypeParam().Search(0, 0), -1);
    EXPECT_TRUE(Leaves(array.SetDataAll(-3), array, {-3, -3, -3}));
    EXPECT_EQ(TypeParam().SetDataAll(-3), 0);
}

KVX_FAMILY(Int64Family, Int64Arrays);

TYPED_TEST(Int64Family, NarrowsTo32BitsAtTheLimitsWidensBackAndRemovesAll) {
    CDataArrayLong narrow;
    TypeParam array = ArrayOf<TypeParam>({-7, 0x1p40, -0x1p40});
    EXPECT_TRUE(Leaves(array.GetDataArrayLong(&narrow), narrow, {-7, 2147483647, -2147483648.0}));
    EXPECT_TRUE(Leaves(array.SetDataArrayLong(narrow), array, {-7, 2147483647, -2147483648.0}));
    EXPECT_EQ(array.GetDataArrayLong(nullptr), 0);
    EXPECT_EQ(array.RemoveAll(), 1);
    EXPECT_EQ(array.GetNum(), 0);
    EXPECT_NE(array.GetData(), nullptr) << "a block stays for what comes";
    EXPECT_TRUE(Leaves(array.Append(3, array.GetData()), array, {-7, 2147483647, -2147483648.0}))
        << "and what it held can be read";
    array = TypeParam(1'000'000, 5);
    EXPECT_EQ(array.RemoveAll(), 1);
    EXPECT_TRUE(Leaves(array.Append(4), array, {4}));
}

TEST(LongArray, SearchesDownwardsAndReverses) {
    CDataArrayLong array = ArrayOf<CDataArrayLong>({5, 7, 5});
    const std::pair<__int64, __int64> found[] = {{-1, 2}, {1, 0}, {3, -1}, {-2, -1}};
    for (const auto& [start, index] : found) EXPECT_EQ(array.SearchRev(5, start), index) << start;
    EXPECT_EQ(array.SearchRev(7, 0), -1);
    EXPECT_EQ(CDataArrayLong().SearchRev(0, -1), -1);
    array.Append(8);
    array.Reverse();
    EXPECT_EQ(Contents(array), (Numbers{8, 5, 7, 5}));
}

TEST(LongArray, FindsItsRangeWithoutTheMarker) {
    constexpr double kLongMarker = -2147483648.0;
    std::int32_t min = 1, max = 2;
    EXPECT_EQ(ArrayOf<CDataArrayLong>({100, kLongMarker, -4, 9}).GetMinMax(1, &min, &max), 1);
    EXPECT_EQ(std::pair(min, max), std::pair(-4, 9));
    EXPECT_EQ(ArrayOf<CDataArrayLong>({2147483647}).GetMinMax(0, &min, nullptr), 1);
    EXPECT_EQ(min, 2147483647);
    EXPECT_EQ(ArrayOf<CDataArrayLong>({kLongMarker}).GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(CDataArrayLong().GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(max, 9);
}

TEST(BoolArray, SetsOneElementOrAll) {
    CDataArrayBool array(3, nullptr);
    EXPECT_TRUE(Leaves(array.SetDataValue(1, 2), array, {0, 0, 1}));
    EXPECT_TRUE(Leaves(array.SetDataValue(4, -1), array, {4, 4, 4}));
    EXPECT_TRUE(AllFail({array.SetDataValue(1, 3), CDataArrayBool().SetDataValue(1, -1)}));
}

}  // namespace
