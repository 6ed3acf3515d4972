// SPDX-License-Identifier: MIT
//
// What all arrays share: storage, access, growth, ring copy, failure.
#include <limits>

#include "tests/data/DataTesting.h"

// Under the address sanitizer a refused allocation is null, as it is without it.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

using namespace kvx::testing;

template <class Array>
void ExpectWithoutBlock(const Array& array) {
    EXPECT_EQ(array.GetNum(), 0);
    EXPECT_EQ(array.GetData(), nullptr);
}

template <class Array>
struct ArrayFamily : ::testing::Test {};
TYPED_TEST_SUITE(ArrayFamily, AllArrays);

TYPED_TEST(ArrayFamily, ANewArrayHasNoBlock) {
    ExpectWithoutBlock(TypeParam());
    EXPECT_EQ(sizeof(TypeParam), 32U) << "count, capacity, pointer and spare element";
}

TYPED_TEST(ArrayFamily, IsMadeOfAValueOrOfABlockOrOfZeros) {
    using Element = ElementOf<TypeParam>;
    EXPECT_EQ(Values(TypeParam(3, Element{7})), (std::vector<Element>{7, 7, 7}));
    EXPECT_EQ(Values(ArrayOf<TypeParam>({1, 2, 3})), (std::vector<Element>{1, 2, 3}));
    EXPECT_EQ(Values(TypeParam(2, nullptr)), (std::vector<Element>{0, 0}));
}

TYPED_TEST(ArrayFamily, FillingMakesAFreshBlockOf1024Zeros) {
    for (const __int64 count : {0, 3, 1024}) {
        TypeParam array(2000, ElementOf<TypeParam>{5});
        ASSERT_EQ(array.SetData(count, nullptr), 1);
        EXPECT_EQ(array.GetNum(), count);
        ASSERT_NE(array.GetData(), nullptr);
        EXPECT_TRUE(std::all_of(array.GetData(), array.GetData() + 1024, [](auto x) { return x == 0; }))
            << count;
    }
}

TYPED_TEST(ArrayFamily, CountsThatCannotBeHeldFailAndLeaveNoBlock) {
    for (const __int64 count : kAbsurdCounts) {
        TypeParam array(5, ElementOf<TypeParam>{1});
        EXPECT_EQ(array.SetData(count, nullptr), 0) << count;
        ExpectWithoutBlock(array);
        EXPECT_EQ(array.SetData(count, ElementOf<TypeParam>{1}), 0) << count;
        ExpectWithoutBlock(TypeParam(count, nullptr));
    }
}

TYPED_TEST(ArrayFamily, FillingFromItsOwnBlockKeepsTheValues) {
    TypeParam array = ArrayOf<TypeParam>(UpTo<ElementOf<TypeParam>>(3000));
    ASSERT_EQ(array.SetData(2, array.GetData() + 2500), 1);
    EXPECT_EQ(Values(array), (std::vector<ElementOf<TypeParam>>{2501, 2502}));
}

TYPED_TEST(ArrayFamily, AWriteOutsideLandsInTheSpareElement) {
    TypeParam array = ArrayOf<TypeParam>({1, 2});
    array[1] = 9;
    for (const __int64 index : {__int64{2}, __int64{-1}, __int64{1} << 62}) {
        array[index] = 33;
        EXPECT_EQ(array[-5], 33) << "a writable read outside sees the spare element";
        EXPECT_EQ(std::as_const(array)[index], 0);
    }
    EXPECT_EQ(Values(array), (std::vector<ElementOf<TypeParam>>{1, 9}));
    EXPECT_EQ(std::as_const(array)[1], 9);
    EXPECT_EQ(TypeParam()[0], 0);
}

TYPED_TEST(ArrayFamily, CopiesOwnTheirElements) {
    TypeParam source = ArrayOf<TypeParam>({1, 2, 3});
    TypeParam copy(source);
    source[0] = 8;
    EXPECT_EQ(copy[0], 1);
    auto* const block = copy.GetData();
    copy = source;
    EXPECT_EQ(copy.GetData(), block) << "equal counts are copied in place";
    const TypeParam& self = copy;
    copy = self;
    EXPECT_EQ(Values(copy), Values(source));
    copy = ArrayOf<TypeParam>({4});
    EXPECT_EQ(Values(copy), (std::vector<ElementOf<TypeParam>>{4}));
}

TYPED_TEST(ArrayFamily, MovingAndFreeingLeaveNoBlock) {
    TypeParam source = ArrayOf<TypeParam>({1, 2, 3});
    auto* const block = source.GetData();
    TypeParam target(std::move(source));
    EXPECT_EQ(target.GetData(), block);
    ExpectWithoutBlock(source);
    source = std::move(target);
    EXPECT_EQ(source.GetNum(), 3);
    ExpectWithoutBlock(target);
    source.Free();
    ExpectWithoutBlock(source);
}

// ---- ring copy

struct RingCopyCase {
    const char* name;
    int srcCount;
    __int64 srcStart, dstStart, num;
    std::vector<int> expected;  // of five elements that were 0; the source holds 1, 2, ...
};

// clang-format off
const RingCopyCase kRingCopies[] = {
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
};
// clang-format on

TYPED_TEST(ArrayFamily, CopiesBetweenRings) {
    using Element = ElementOf<TypeParam>;
    for (const RingCopyCase& row : kRingCopies) {
        const TypeParam source = ArrayOf<TypeParam>(UpTo<Element>(row.srcCount));
        TypeParam array(5, Element{0});
        EXPECT_EQ(array.Copy(source, row.srcStart, row.dstStart, row.num), 1) << row.name;
        const std::vector<Element> expected(row.expected.begin(), row.expected.end());
        EXPECT_EQ(Values(array), expected) << row.name;
    }
}

TYPED_TEST(ArrayFamily, CopyingARingOntoItselfReadsBeforeItWrites) {
    using Element = ElementOf<TypeParam>;
    for (__int64 srcStart = 0; srcStart < 6; ++srcStart) {
        for (__int64 dstStart = 0; dstStart < 6; ++dstStart) {
            for (__int64 num = 1; num <= 6; ++num) {
                TypeParam array = ArrayOf<TypeParam>(UpTo<Element>(6));
                const TypeParam before(array);
                TypeParam expected(before);
                expected.Copy(before, srcStart, dstStart, num);
                EXPECT_EQ(array.Copy(array, srcStart, dstStart, num), 1);
                EXPECT_EQ(Values(array), Values(expected)) << srcStart << " -> " << dstStart << ", " << num;
            }
        }
    }
}

TYPED_TEST(ArrayFamily, BadRingCopiesFailWithoutAChange) {
    using Element = ElementOf<TypeParam>;
    const TypeParam source = ArrayOf<TypeParam>({1, 2, 3});
    TypeParam array(5, Element{0});
    EXPECT_EQ(array.Copy(source, -1, 0, 1), 0);
    EXPECT_EQ(array.Copy(source, 0, -1, 1), 0);
    EXPECT_EQ(array.Copy(source, 0, 0, 0), 0);
    EXPECT_EQ(array.Copy(source, 0, 0, -1), 0);
    EXPECT_EQ(array.Copy(source, 0, 0, 4), 0) << "more than the source holds";
    EXPECT_EQ(array.Copy(TypeParam(), 0, 0, 1), 0);
    EXPECT_EQ(TypeParam().Copy(source, 0, 0, 1), 0);
    EXPECT_EQ(TypeParam(2, Element{0}).Copy(source, 0, 0, 3), 0) << "more than the destination holds";
    EXPECT_EQ(Values(array), std::vector<Element>(5));
}

// ---- growth

template <class Array>
struct GrowingFamily : ::testing::Test {};
TYPED_TEST_SUITE(GrowingFamily, GrowingArrays);

TYPED_TEST(GrowingFamily, AppendsValuesRunsAndArrays) {
    using Element = ElementOf<TypeParam>;
    TypeParam array;
    EXPECT_EQ(array.Append(Element{1}), 1);
    const Element run[] = {2, 3};
    EXPECT_EQ(array.Append(2, run), 1);
    EXPECT_EQ(array.Append(ArrayOf<TypeParam>({4, 5})), 1);
    EXPECT_EQ(array.Append(TypeParam()), 1);
    EXPECT_EQ(Values(array), UpTo<Element>(5));
}

TYPED_TEST(GrowingFamily, GrowsInZeroFilledBlocksAndKeepsEveryElement) {
    using Element = ElementOf<TypeParam>;
    TypeParam array;
    for (int i = 1; i <= 5000; ++i) ASSERT_EQ(array.Append(static_cast<Element>(i)), 1);
    EXPECT_EQ(Values(array), UpTo<Element>(5000));
    EXPECT_TRUE(
        std::all_of(array.GetData() + 5000, array.GetData() + 5120, [](Element x) { return x == 0; }));
}

TYPED_TEST(GrowingFamily, AppendsItselfAndRunsOfItsOwnBlock) {
    using Element = ElementOf<TypeParam>;
    TypeParam array = ArrayOf<TypeParam>(UpTo<Element>(1000));
    EXPECT_EQ(array.Append(array), 1);
    EXPECT_EQ(array.Append(2, array.GetData() + 998), 1);
    EXPECT_EQ(array.Append(999, array.GetData() + 1), 1);
    TypeParam expected;
    for (const auto& [first, last] : {std::pair{1, 1000}, {1, 1000}, {999, 1000}, {2, 1000}}) {
        for (int i = first; i <= last; ++i) expected.Append(static_cast<Element>(i));
    }
    EXPECT_EQ(Values(array), Values(expected));
}

TYPED_TEST(GrowingFamily, BadRunsChangeNothingAndRefusedGrowthLeavesNoBlock) {
    using Element = ElementOf<TypeParam>;
    const Element run[] = {2, 3};
    TypeParam array = ArrayOf<TypeParam>({1});
    EXPECT_EQ(array.Append(-1, run), 0);
    EXPECT_EQ(array.Append(1, nullptr), 0);
    EXPECT_EQ(array.Append(0, nullptr), 1);
    EXPECT_EQ(Values(array), (std::vector<Element>{1}));
    for (const __int64 count : kAbsurdCounts) {
        if (count < 0) continue;
        EXPECT_EQ(array.Append(count, run), 0) << count;
        ExpectWithoutBlock(array);
        EXPECT_EQ(array.Append(Element{4}), 1) << "and the array can be used again";
    }
    EXPECT_EQ(Values(array), (std::vector<Element>{4}));
}

TYPED_TEST(GrowingFamily, ZeroKeepsTheCount) {
    TypeParam array = ArrayOf<TypeParam>({1, 2});
    array.Zero();
    EXPECT_EQ(Values(array), std::vector<ElementOf<TypeParam>>(2));
    TypeParam empty;
    empty.Zero();
    ExpectWithoutBlock(empty);
}

// ---- what only some members do

template <class Array>
struct FloatingFamily : ::testing::Test {};
TYPED_TEST_SUITE(FloatingFamily, FloatingArrays);

TYPED_TEST(FloatingFamily, FillsTheElementsThatAreThere) {
    using Element = ElementOf<TypeParam>;
    TypeParam array(2, nullptr);
    EXPECT_EQ(array.SetData(Element(1.5)), 1);
    EXPECT_EQ(Values(array), (std::vector<Element>{1.5, 1.5}));
    EXPECT_EQ(TypeParam().SetData(Element(1.5)), 0);
    array.SetData(0, nullptr);
    EXPECT_EQ(array.SetData(Element(1.5)), 0);
}

TYPED_TEST(FloatingFamily, IsAllZeroOnlyWithNothingButZeros) {
    using Element = ElementOf<TypeParam>;
    EXPECT_EQ(TypeParam().IsAllZero(), 0);
    EXPECT_EQ(ArrayOf<TypeParam>({0, Element(-0.0)}).IsAllZero(), 1);
    EXPECT_EQ(ArrayOf<TypeParam>({0, std::numeric_limits<Element>::denorm_min()}).IsAllZero(), 0);
    EXPECT_EQ(ArrayOf<TypeParam>({0, std::numeric_limits<Element>::quiet_NaN()}).IsAllZero(), 0);
}

template <class Array>
struct IntegerFamily : ::testing::Test {};
TYPED_TEST_SUITE(IntegerFamily, IntegerArrays);

TYPED_TEST(IntegerFamily, SearchesUpwardsAndFills) {
    TypeParam array = ArrayOf<TypeParam>({5, 7, 5});
    EXPECT_EQ(array.Search(5, 0), 0);
    EXPECT_EQ(array.Search(5, 1), 2);
    EXPECT_EQ(array.Search(7, 2), -1);
    EXPECT_EQ(array.Search(5, 3), -1);
    EXPECT_EQ(array.Search(5, -1), -1);
    EXPECT_EQ(TypeParam().Search(0, 0), -1);
    EXPECT_EQ(array.SetDataAll(-3), 1);
    EXPECT_EQ(Values(array), (std::vector<ElementOf<TypeParam>>{-3, -3, -3}));
    EXPECT_EQ(TypeParam().SetDataAll(-3), 0);
}

template <class Array>
struct Int64Family : ::testing::Test {};
TYPED_TEST_SUITE(Int64Family, Int64Arrays);

TYPED_TEST(Int64Family, NarrowsTo32BitsAtTheLimitsWidensBackAndRemovesAll) {
    CDataArrayLong narrow;
    TypeParam array = ArrayOf<TypeParam>({-7, __int64{1} << 40, -(__int64{1} << 40)});
    ASSERT_EQ(array.GetDataArrayLong(&narrow), 1);
    EXPECT_EQ(Values(narrow),
              (std::vector<std::int32_t>{-7, 2147483647, std::numeric_limits<std::int32_t>::min()}));
    ASSERT_EQ(array.SetDataArrayLong(narrow), 1);
    EXPECT_EQ(Values(array), (std::vector<std::int64_t>{-7, 2147483647, -2147483648LL}));
    EXPECT_EQ(array.GetDataArrayLong(nullptr), 0);
    EXPECT_EQ(array.RemoveAll(), 1);
    EXPECT_EQ(array.GetNum(), 0);
    EXPECT_NE(array.GetData(), nullptr) << "a block stays for what comes";
}

TEST(LongArray, SearchesDownwardsAndReverses) {
    CDataArrayLong array = ArrayOf<CDataArrayLong>({5, 7, 5});
    EXPECT_EQ(array.SearchRev(5, -1), 2);
    EXPECT_EQ(array.SearchRev(5, 1), 0);
    EXPECT_EQ(array.SearchRev(7, 0), -1);
    EXPECT_EQ(array.SearchRev(5, 3), -1);
    EXPECT_EQ(array.SearchRev(5, -2), -1);
    EXPECT_EQ(CDataArrayLong().SearchRev(0, -1), -1);
    array.Append(8);
    array.Reverse();
    EXPECT_EQ(Values(array), (std::vector<std::int32_t>{8, 5, 7, 5}));
}

TEST(LongArray, FindsItsRangeWithoutTheMarker) {
    constexpr std::int32_t kMarker = std::numeric_limits<std::int32_t>::min();
    std::int32_t min = 1;
    std::int32_t max = 2;
    EXPECT_EQ(ArrayOf<CDataArrayLong>({100, kMarker, -4, 9}).GetMinMax(1, &min, &max), 1);
    EXPECT_EQ(min, -4);
    EXPECT_EQ(max, 9);
    EXPECT_EQ(ArrayOf<CDataArrayLong>({2147483647}).GetMinMax(0, &min, nullptr), 1);
    EXPECT_EQ(min, 2147483647);
    EXPECT_EQ(ArrayOf<CDataArrayLong>({kMarker}).GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(CDataArrayLong().GetMinMax(0, &min, &max), 0);
    EXPECT_EQ(max, 9);
}

TEST(BoolArray, SetsOneElementOrAll) {
    CDataArrayBool array(3, 0);
    EXPECT_EQ(array.SetDataValue(1, 2), 1);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 0, 1}));
    EXPECT_EQ(array.SetDataValue(4, -1), 1);
    EXPECT_EQ(Values(array), (std::vector<int>{4, 4, 4}));
    EXPECT_EQ(array.SetDataValue(1, 3), 0);
    EXPECT_EQ(CDataArrayBool().SetDataValue(1, -1), 0);
}

// Each member has its own operations and none of its siblings'.
// clang-format off
KVX_ABILITY(Appends, t.Append(t));
KVX_ABILITY(Zeroes, t.Zero());
KVX_ABILITY(Searches, t.Search(1, 0));
KVX_ABILITY(Reverses, t.Reverse());
KVX_ABILITY(Sums, t.GetSum());
KVX_ABILITY(RemovesAll, t.RemoveAll());
KVX_ABILITY(FillsAll, t.SetData(ElementOf<T>()));
KVX_ABILITY(Compares, t == t);
KVX_ABILITY(Serializes, t.Serialize(archive));
KVX_ABILITY(Serializes1st, t.Serialize1st(archive));

#define KVX_HAS(A, append, zero, search, reverse, sum, removeAll, fill, compare, serialize, serialize1st)             \
    static_assert(Appends<A> == append && Zeroes<A> == zero && Searches<A> == search && Reverses<A> == reverse &&     \
                  Sums<A> == sum && RemovesAll<A> == removeAll && FillsAll<A> == fill && Compares<A> == compare &&    \
                  Serializes<A> == serialize && Serializes1st<A> == serialize1st)
//                          Append Zero Search Reverse Sum RemoveAll Fill == Serialize Serialize1st
KVX_HAS(CDataArrayDouble,   1,     1,   0,     1,      1,  0,        1,   1, 1,        0);
KVX_HAS(CDataArrayFloat,    1,     1,   0,     0,      0,  0,        1,   0, 1,        1);
KVX_HAS(CDataArrayLong,     1,     1,   1,     1,      0,  0,        0,   0, 1,        1);
KVX_HAS(CDataArrayLongLong, 1,     1,   1,     0,      0,  1,        0,   0, 0,        0);
KVX_HAS(CDataArrayIntPtr,   1,     1,   1,     0,      0,  1,        0,   0, 0,        0);
KVX_HAS(CDataArrayBool,     0,     0,   0,     0,      0,  0,        0,   0, 1,        1);
#undef KVX_HAS
// clang-format on
static_assert(!std::is_convertible_v<CDataArrayLongLong, CDataArrayIntPtr>);

}  // namespace
