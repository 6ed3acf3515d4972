// SPDX-License-Identifier: MIT
//
// What all containers promise as values - copies, assignments in place, moves, equality, conversion - and
// which operations each of them has.
#include <array>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

/// `size` numbers on from `first` in every row or cell of a container, complex where it can be.
template <class T>
T Sample(int size, int first) {
    T made;
    if constexpr (std::is_constructible_v<T, int, int, int, int>) {
        made = T(1, 2, 2, size);
    } else if constexpr (std::is_constructible_v<T, int, int, int>) {
        made = T(2, 2, size);
    } else if constexpr (requires { made.GetNormEuclid(); }) {
        made.Create(2, size);
    } else if constexpr (requires { made.GetImaginary(); }) {
        made = T(1, size);
    } else {
        made = T(size, nullptr);
    }
    const auto total = static_cast<int>(Contents(made).size());
    EXPECT_GE(total, size);
    return Filled(made, FromTo(first, first + total - 1));
}

template <class T>
std::vector<const void*> Blocks(const T& container) {
    std::vector<const void*> blocks;
    EachBlock(container, [&](const void* block, __int64) { blocks.push_back(block); });
    return blocks;
}

template <class T>
bool IsEmpty(const T& container) {
    return Contents(container).empty() && Blocks(container) == Blocks(T());
}

KVX_FAMILY(EveryContainer, Containers);

TYPED_TEST(EveryContainer, OwnsWhatItCopied) {
    TypeParam source = Sample<TypeParam>(3, 1);
    const Numbers contents = Contents(source);
    const TypeParam copy(source);
    EXPECT_EQ(Contents(copy), contents);
    source = Filled(source, Numbers(contents.size(), 9));
    EXPECT_EQ(Contents(copy), contents);
    const TypeParam& self = source;
    source = self;
    EXPECT_EQ(Contents(source), Numbers(contents.size(), 9));
}

TYPED_TEST(EveryContainer, IsAssignedAnyShapeAndItsOwnInPlace) {
    TypeParam target = Sample<TypeParam>(3, 1);
    const auto blocks = Blocks(target);
    const TypeParam same = Sample<TypeParam>(3, 5), other = Sample<TypeParam>(5, 1), none;
    target = same;
    EXPECT_EQ(Contents(target), Contents(same));
    target = Sample<TypeParam>(3, 7);
    EXPECT_EQ(Contents(target), Contents(Sample<TypeParam>(3, 7)));
    EXPECT_EQ(Blocks(target), blocks) << "even from a temporary";
    for (const TypeParam* source : {&other, &none, &other}) {
        target = *source;
        EXPECT_EQ(Contents(target), Contents(*source));
    }
}

TYPED_TEST(EveryContainer, IsEmptyWhenNewOrMovedFromOrFreed) {
    for (const void* block : Blocks(TypeParam())) EXPECT_EQ(block, nullptr);
    EXPECT_TRUE(IsEmpty(TypeParam()));
    TypeParam source = Sample<TypeParam>(3, 1);
    const auto blocks = Blocks(source);
    TypeParam target(std::move(source));
    EXPECT_EQ(Blocks(target), blocks);
    EXPECT_TRUE(IsEmpty(source));
    source = std::move(target);
    EXPECT_EQ(Blocks(source), blocks);
    EXPECT_TRUE(IsEmpty(target));
    TypeParam& self = source;
    source = std::move(self);
    EXPECT_EQ(Contents(source), Contents(Sample<TypeParam>(3, 1)));
    source.Free();
    EXPECT_TRUE(IsEmpty(source));
}

TYPED_TEST(EveryContainer, EqualityComparesTheShapeOnly) {
    if constexpr (requires(TypeParam t) { t == t; } && !std::is_same_v<TypeParam, CDataArrayDouble>) {
        EXPECT_EQ(Sample<TypeParam>(3, 1) == Sample<TypeParam>(3, 5), 1);
        EXPECT_EQ(Sample<TypeParam>(3, 1) != Sample<TypeParam>(3, 5), 0);
        EXPECT_EQ(Sample<TypeParam>(3, 1) == Sample<TypeParam>(4, 1), 0);
        EXPECT_EQ(Sample<TypeParam>(3, 1) != TypeParam(), 1);
    }
}

// ---- conversion to float and back

template <class Wide, class Narrow>
void ExpectConverts(int (Wide::*get)(Narrow*) const, int (Wide::*set)(const Narrow&), const Wide& wide,
                    const Numbers& narrowed, const Numbers& widened) {
    Narrow narrow = Sample<Narrow>(7, 1);
    ASSERT_EQ((wide.*get)(&narrow), 1);
    EXPECT_EQ(Contents(narrow), narrowed);
    if constexpr (requires { narrow.GetData(); }) {
        const auto* const block = narrow.GetData();
        ASSERT_EQ((wide.*get)(&narrow), 1);
        EXPECT_EQ(narrow.GetData(), block) << "arrays of one count keep their block";
        EXPECT_EQ(Contents(narrow), narrowed);
    }
    Wide back = Sample<Wide>(7, 1);
    ASSERT_EQ((back.*set)(narrow), 1);
    EXPECT_EQ(Contents(back), widened);
    EXPECT_EQ((wide.*get)(nullptr), 0);
    EXPECT_EQ((Wide().*get)(&narrow), 1) << "nothing is converted to nothing";
    const bool staysAsItWas = std::is_same_v<Narrow, CDataArrayCplx>;  // its Create refuses a count of 0
    EXPECT_EQ(Contents(narrow), staysAsItWas ? narrowed : Numbers());
    EXPECT_EQ((back.*set)(Narrow()), !staysAsItWas);
    EXPECT_EQ(Contents(back), Numbers());
}

TEST(Conversion, RoundsToFloatAndMapsTheMarkerOfRealArrays) {
    using D = CDataArrayDouble;
    using M = CDataArrayMtxDouble;
    using C = CDataArrayDoubleCplx;
    using CM = CDataArrayDoubleMtxCplx;
    const double tenth = static_cast<double>(0.1F), marker = static_cast<double>(-3.4028235e38F);
    ExpectConverts(&D::GetDataArrayFloat, &D::SetDataArrayFloat, ArrayOf<D>({kMarker, 1, 0.1, 1e300}),
                   {marker, 1, tenth, kInf}, {kMarker, 1, tenth, kInf});
    ExpectConverts(&M::GetDataArrayMtxFloat, &M::SetDataArrayMtxFloat, Filled(M(1, 2, 1), {kMarker, 0.1}),
                   {marker, tenth}, {kMarker, tenth});
    ExpectConverts(&C::GetDataArrayCplx, &C::SetDataArrayCplx, Filled(C(1, 2), {0.1, 2, 3, kMarker}),
                   {tenth, 2, 3, -kInf}, {tenth, 2, 3, -kInf});
    ExpectConverts(&CM::GetDataArrayMtxCplx, &CM::SetDataArrayMtxCplx, Filled(CM(1, 1, 2, 1), {1, 2, 3, 0.1}),
                   {1, 2, 3, tenth}, {1, 2, 3, tenth});
    M withoutSamples(1, 2, 1);
    CDataArrayMtxFloat narrow(1, 1, 1);
    EXPECT_EQ(withoutSamples.SetData(0, nullptr), 1);
    EXPECT_EQ(withoutSamples.GetDataArrayMtxFloat(&narrow), 0);
    EXPECT_EQ(narrow.GetNumRow(), 0);
}

// ---- which operations each has, and that it has none of its siblings'

// clang-format off
template <class T>
inline constexpr std::array kAbilities{
    requires(T t) { t.Append(t); } || requires(T t) { t.Append(*t.GetArrayPtr(0, 0)); },
    requires(T t) { t.Zero(); },
    requires(T t) { t.SetData(1); },
    requires(T t) { t.Copy(t, 0, 0, 1); },
    requires(T t) { t += 1; },
    requires(T t) { t += t; },
    requires(T t) { t *= 1; t /= 1; },
    requires(T t) { t == t; t != t; },
    requires(T t) { t.GetMinMax(0, nullptr, nullptr); },
    requires(T t) { t.GetSum(); },
    requires(T t) { t.IsAllZero(); },
    requires(T t) { t.Search(1, 0); },
    requires(T t) { t.Reverse(); },
    requires(T t) { t.RemoveAll(); },
    requires(T t, CArchive& archive) { t.Serialize(archive); },
    requires(T t, CArchive& archive) { t.Serialize1st(archive); }};

#define KVX_HAS(Class, ...) static_assert(kAbilities<Class> == std::array<bool, 16>{__VA_ARGS__})
//                               Append Zero Fill Copy +=k +=t *=k == MinMax Sum IsAllZero Search Reverse RemoveAll Serialize 1st
KVX_HAS(CDataArrayDouble,        1,     1,   1,   1,   1,  1,  1,  1, 1,     1,  1,        0,     1,      0,        1,        0);
KVX_HAS(CDataArrayFloat,         1,     1,   1,   1,   0,  0,  0,  0, 0,     0,  1,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayLong,          1,     1,   0,   1,   0,  0,  0,  0, 1,     0,  0,        1,     1,      0,        1,        1);
KVX_HAS(CDataArrayLongLong,      1,     1,   0,   1,   0,  0,  0,  0, 0,     0,  0,        1,     0,      1,        0,        0);
KVX_HAS(CDataArrayIntPtr,        1,     1,   0,   1,   0,  0,  0,  0, 0,     0,  0,        1,     0,      1,        0,        0);
KVX_HAS(CDataArrayBool,          0,     0,   0,   1,   0,  0,  0,  0, 0,     0,  0,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayDoubleCplx,    0,     1,   1,   1,   0,  1,  1,  1, 0,     0,  1,        0,     0,      0,        1,        0);
KVX_HAS(CDataArrayCplx,          0,     1,   0,   0,   0,  0,  0,  1, 0,     0,  1,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayMtxDouble,     1,     1,   1,   1,   0,  0,  1,  1, 1,     0,  0,        0,     0,      0,        1,        0);
KVX_HAS(CDataArrayMtxFloat,      1,     1,   1,   1,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayMtxLong,       1,     1,   1,   1,   1,  0,  0,  1, 1,     0,  0,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayMtxLongLong,   0,     1,   1,   1,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        0,        0);
KVX_HAS(CDataArrayMtxIntPtr,     0,     1,   1,   1,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        0,        0);
KVX_HAS(CDataArrayMtxBool,       0,     0,   1,   1,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        1,        1);
KVX_HAS(CDataArrayDoubleMtxCplx, 0,     1,   1,   1,   0,  0,  1,  1, 0,     0,  0,        0,     0,      0,        1,        0);
KVX_HAS(CDataArrayMtxCplx,       0,     1,   1,   1,   0,  0,  1,  1, 0,     0,  0,        0,     0,      0,        1,        1);
KVX_HAS(CDataDoubleMtxCplx,      0,     1,   0,   0,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        1,        0);
KVX_HAS(CDataMtxCplx,            0,     1,   0,   0,   0,  0,  0,  1, 0,     0,  0,        0,     0,      0,        1,        1);
#undef KVX_HAS
// clang-format on

/// Members of one element type share their storage, and are strangers all the same.
template <class A, class B>
constexpr bool kAreStrangers =
    !std::is_constructible_v<A, const B&> && !std::is_assignable_v<A&, const B&> && !requires(A a, B b) {
    a.Copy(b, 0, 0, 1);
}
&&!requires(A a, B b) {
    a.Append(b);
}
&&!requires(A a, B b) {
    a == b;
};
static_assert(kAreStrangers<CDataArrayLongLong, CDataArrayIntPtr> &&
              kAreStrangers<CDataArrayIntPtr, CDataArrayLongLong> &&
              kAreStrangers<CDataArrayLong, CDataArrayBool> &&
              kAreStrangers<CDataArrayBool, CDataArrayLong> &&
              kAreStrangers<CDataArrayMtxLongLong, CDataArrayMtxIntPtr> &&
              kAreStrangers<CDataArrayMtxDouble, CDataArrayDoubleMtxCplx>);
// A complex matrix is made with its flag, a real one without.
static_assert(!std::is_constructible_v<CDataArrayMtxDouble, int, int, int, int> &&
              !std::is_constructible_v<CDataArrayMtxCplx, int, int, int>);
static_assert(sizeof(CDataArrayDouble) == 32 && sizeof(CDataArrayBool) == 32 &&
              sizeof(CDataArrayDoubleCplx) == 40 && sizeof(CDataArrayCplx) == 40 &&
              sizeof(CDataDoubleCplx) == 16 && sizeof(CDataCplx) == 8);

}  // namespace
