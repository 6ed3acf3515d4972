// SPDX-License-Identifier: MIT
//
// Complex numbers and split complex arrays.
#include <array>
#include <cmath>
#include <complex>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

// ---- numbers

template <class Value>
using RealOf = decltype(std::declval<Value>().GetReal());

template <class Value>
std::complex<double> Wide(const Value& z) {
    return {static_cast<double>(z.GetReal()), static_cast<double>(z.GetImaginary())};
}

template <class Value>
struct CplxValueFamily : ::testing::Test {
    /// A few roundings of the scaled forms.
    static constexpr double kTolerance =
        4 * static_cast<double>(std::numeric_limits<RealOf<Value>>::epsilon());

    static void ExpectIs(const Value& actual, std::complex<double> expected) {
        const double tolerance = kTolerance * std::abs(expected);
        EXPECT_NEAR(static_cast<double>(actual.GetReal()), expected.real(), tolerance);
        EXPECT_NEAR(static_cast<double>(actual.GetImaginary()), expected.imag(), tolerance);
    }
    static void ExpectExactly(const Value& actual, double re, double im) {
        EXPECT_EQ(Wide(actual), std::complex<double>(re, im));
    }
};
using CplxValues = ::testing::Types<CDataDoubleCplx, CDataCplx>;
TYPED_TEST_SUITE(CplxValueFamily, CplxValues);

TYPED_TEST(CplxValueFamily, HoldsARealAndAnImaginaryPart) {
    this->ExpectExactly(TypeParam(), 0, 0);
    TypeParam z(3, 4);
    this->ExpectExactly(z, 3, 4);
    z.SetReal(5);
    z.SetImaginary(6);
    this->ExpectExactly(z, 5, 6);
    this->ExpectExactly(z = 7, 7, 0);
    z.UnityI();
    z.Conj();
    this->ExpectExactly(z, 0, -1);
    z.UnityR();
    z.Neg();
    this->ExpectExactly(z, -1, 0);
    z.SetData(1, 2);
    this->ExpectExactly(z, 1, 2);
    z.Zero();
    this->ExpectExactly(z, 0, 0);
    EXPECT_EQ(TypeParam(1, 2) == TypeParam(1, 2), 1);
    EXPECT_EQ(TypeParam(1, 2) != TypeParam(1, 2), 0);
    EXPECT_EQ(TypeParam(1, 2) == TypeParam(1, 3), 0);
    EXPECT_EQ(TypeParam(1, 2) != TypeParam(0, 2), 1);
}

TYPED_TEST(CplxValueFamily, CalculatesWithAComplexOrARealOperand) {
    const TypeParam a(1, 2);
    const TypeParam b(3, -4);
    this->ExpectExactly(TypeParam::Add(a, b), 4, -2);
    this->ExpectExactly(TypeParam::Sub(a, b), -2, 6);
    this->ExpectExactly(TypeParam::Mul(a, b), 11, 2);
    this->ExpectIs(TypeParam::Div(a, b), Wide(a) / Wide(b));
    this->ExpectExactly(TypeParam::Add(a, 3), 4, 2);
    this->ExpectExactly(TypeParam::Sub(a, 3), -2, 2);
    this->ExpectExactly(TypeParam::Mul(a, 3), 3, 6);
    this->ExpectExactly(TypeParam::Div(a, 4), 0.25, 0.5);
    this->ExpectExactly(a, 1, 2);
    TypeParam z = a;
    const TypeParam& same = z;
    this->ExpectExactly(z *= same, -3, 4);
    this->ExpectExactly(z /= same, 1, 0);
}

TYPED_TEST(CplxValueFamily, DividesAndInvertsInEveryQuadrantAndOnTheAxes) {
    using Real = RealOf<TypeParam>;
    for (const double re : {-3, -1, 0, 1, 3}) {
        for (const double im : {-2, -1, 0, 1, 2}) {
            if (re == 0 && im == 0) continue;
            const TypeParam w(static_cast<Real>(re), static_cast<Real>(im));
            const TypeParam z(Real(0.7), Real(-1.3));
            this->ExpectIs(TypeParam::Div(z, w), Wide(z) / Wide(w));
            TypeParam inverse = w;
            inverse.Inv();
            this->ExpectIs(inverse, 1.0 / Wide(w));
        }
    }
    TypeParam zero;
    zero.Inv();
    this->ExpectExactly(zero, 0, 0);
    this->ExpectExactly(TypeParam::Div(TypeParam(1, 2), zero), 0, 0);
    this->ExpectExactly(TypeParam::Div(TypeParam(1, 2), Real(0)), 0, 0);
}

TYPED_TEST(CplxValueFamily, MeasuresMagnitudesAndTakesTinyOnesForZero) {
    using Real = RealOf<TypeParam>;
    for (const TypeParam& z : {TypeParam(3, 4), {-4, 3}, {0, -5}, {-5, 0}}) EXPECT_EQ(z.GetAbs(), 5);
    EXPECT_EQ(TypeParam().GetAbs(), 0);
    EXPECT_EQ(TypeParam(3, 4).GetAbsSq(), 25);
    const Real huge = std::numeric_limits<Real>::max() / 2;
    const TypeParam z(huge, huge);
    EXPECT_NEAR(static_cast<double>(z.GetAbs() / huge), std::sqrt(2.0), this->kTolerance) << "no overflow";
    this->ExpectIs(TypeParam::Div(z, z), 1);
    EXPECT_EQ(TypeParam(Real(1e-31), Real(-1e-31)).IsZero(), 1);
    EXPECT_TRUE(AllFail({TypeParam(Real(1e-30), 0).IsZero(), TypeParam(0, Real(-1e-30)).IsZero(),
                         TypeParam(Real(kNan), 0).IsZero()}));
}

TYPED_TEST(CplxValueFamily, RootsAreThePrincipalOnes) {
    this->ExpectIs(TypeParam::Sqrt(TypeParam(-4, 0)), {0, 2});
    this->ExpectExactly(TypeParam::Sqrt(TypeParam()), 0, 0);
    for (const auto& [re, im] : {std::pair{4, 0}, {3, 4}, {3, -4}, {-3, 4}, {-3, -4}, {0, 2}, {0, -2}}) {
        const TypeParam z(static_cast<RealOf<TypeParam>>(re), static_cast<RealOf<TypeParam>>(im));
        this->ExpectIs(TypeParam::Sqrt(z), std::sqrt(Wide(z)));
    }
}

// ---- arrays

KVX_FAMILY(CplxArrayFamily, ::testing::Types<CDataArrayDoubleCplx, CDataArrayCplx>);

TYPED_TEST(CplxArrayFamily, IsCreatedAsZerosWithOrWithoutImaginaryParts) {
    for (const int isComplex : {0, 1, 7}) {
        const TypeParam array(isComplex, 2);
        EXPECT_EQ(array.IsComplex(), isComplex != 0);
        EXPECT_EQ(Contents(array), Numbers(isComplex ? 4 : 2));
        EXPECT_EQ(array.GetImaginary() != nullptr, isComplex != 0);
        EXPECT_EQ(array.IsAllZero(), 1);
        EXPECT_EQ(array == TypeParam(1, 2), isComplex != 0) << "any flag but 0 says complex";
    }
}

TYPED_TEST(CplxArrayFamily, LargeOnesAreZerosThatAreCopiedAndFreed) {
    constexpr __int64 kMany = 1'500'000;
    TypeParam array(1, kMany);
    EXPECT_EQ(array.IsAllZero(), 1);
    array.GetReal()[0] = 1;
    array.GetImaginary()[kMany - 1] = 2;
    for (const TypeParam& other : {TypeParam(array), std::move(array)}) {
        EXPECT_EQ(Contents(other)[0], 1);
        EXPECT_EQ(Contents(other).back(), 2);
    }
    EXPECT_EQ(array.Create(0, kMany), 1);
    EXPECT_EQ(array.IsAllZero(), 1);
}

TYPED_TEST(CplxArrayFamily, CreatingNothingChangesNothingAndRefusedMemoryLeavesTheArrayEmpty) {
    for (const __int64 count : kAbsurdCounts) {
        auto array = Filled(TypeParam(1, 1), {1, 2});
        EXPECT_TRUE(AllFail({array.Create(1, 0), array.Create(0, -1)}));
        EXPECT_EQ(Contents(array), (Numbers{1, 2}));
        EXPECT_EQ(array.Create(1, count), 0);
        EXPECT_EQ(array == TypeParam(), 1);
        EXPECT_FALSE(array.GetReal() || array.GetImaginary());
    }
}

TYPED_TEST(CplxArrayFamily, SetsWholeBlocks) {
    const auto source = Filled(TypeParam(1, 2), {1, 2, 3, 4});
    TypeParam array(1, 2);
    EXPECT_EQ(array.SetReal(source.GetReal()), 1);
    EXPECT_TRUE(Leaves(array.SetImaginary(source.GetImaginary()), array, {1, 2, 3, 4}));
    EXPECT_TRUE(Leaves(array.SetReal(array.GetImaginary()), array, {3, 4, 3, 4}));
    EXPECT_TRUE(AllFail({array.SetReal(nullptr), array.SetImaginary(nullptr)}));
    EXPECT_EQ(TypeParam(0, 2).SetImaginary(source.GetReal()), 0);
    EXPECT_EQ(TypeParam().SetReal(source.GetReal()), 0);
    array.Zero();
    EXPECT_EQ(Contents(array), Numbers(4));
}

TYPED_TEST(CplxArrayFamily, IsAllZeroOnlyWithNothingButZeros) {
    EXPECT_TRUE(AllFail({TypeParam().IsAllZero(), Filled(TypeParam(1, 2), {0, 0, 0, 1e-30}).IsAllZero(),
                         Filled(TypeParam(1, 2), {0, kNan, 0, 0}).IsAllZero()}));
}

TYPED_TEST(CplxArrayFamily, TakesRealPartsAndKeepsItsOwnFlag) {
    using RealArray =
        std::conditional_t<std::is_same_v<TypeParam, CDataArrayCplx>, CDataArrayFloat, CDataArrayDouble>;
    auto array = Filled(TypeParam(1, 2), {1, 2, 3, 4});
    array = ArrayOf<RealArray>({7, 8, 9});
    EXPECT_EQ(array == TypeParam(1, 3), 1);
    EXPECT_EQ(Contents(array), (Numbers{7, 8, 9, 0, 0, 0}));
    TypeParam other(0, 3);
    other = array;
    EXPECT_EQ(other == array, 1) << "a complex array brings its flag";
    array = RealArray();
    EXPECT_EQ(array == TypeParam(), 1);
    array = ArrayOf<RealArray>({7});
    EXPECT_EQ(array.IsComplex(), 0);
}

using DoubleCplx = CDataArrayDoubleCplx;

TEST(DoubleCplxArray, CopiesRunsWithoutWrapping) {
    const auto source = Filled(DoubleCplx(1, 3), {1, 2, 3, 4, 5, 6});
    DoubleCplx array(1, 4);
    EXPECT_TRUE(Leaves(array.Copy(source, 1, 2, 2), array, {0, 0, 2, 3, 0, 0, 5, 6}));
    const Numbers contents{0, 2, 3, 3, 0, 5, 6, 6};
    EXPECT_TRUE(Leaves(array.Copy(array, 2, 1, 2), array, contents)) << "runs of one array may overlap";

    const std::array<__int64, 3> bad[] = {
        {-1, 0, 1}, {0, -1, 1}, {0, 0, 0}, {2, 0, 2}, {0, 3, 2}, {0, 0, 4}, {1, 0, __int64{1} << 62}};
    for (const auto& [from, to, num] : bad) EXPECT_EQ(array.Copy(source, from, to, num), 0);
    EXPECT_EQ(array.Copy(DoubleCplx(0, 3), 0, 0, 1), 0) << "the flags differ";
    EXPECT_EQ(DoubleCplx().Copy(source, 0, 0, 1), 0);
    EXPECT_EQ(Contents(array), contents);
}

TEST(DoubleCplxArray, FillsAddsAndScales) {
    auto array = Filled(DoubleCplx(1, 3), {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(Contents(array += Filled(DoubleCplx(1, 2), {10, 20, 30, 40})), (Numbers{11, 22, 3, 34, 45, 6}));
    DoubleCplx real(0, 1);
    EXPECT_EQ(real.SetData(9.0), 1);
    EXPECT_EQ(Contents(array += real), (Numbers{20, 22, 3, 34, 45, 6}));
    EXPECT_EQ(Contents(((array *= 2.0) /= 0.0) /= 4.0), (Numbers{10, 11, 1.5, 17, 22.5, 3}));
    EXPECT_EQ(Contents((real *= 2.0) /= 4.0), Numbers{9}) << "scaling leaves a real-only array alone";
    EXPECT_TRUE(Leaves(array.SetData(-1.0), array, Numbers(6, -1.0)));
    EXPECT_EQ(DoubleCplx().SetData(1.0), 0);
}

}  // namespace
