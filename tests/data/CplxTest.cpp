// SPDX-License-Identifier: MIT
//
// Complex numbers and split complex arrays.
#include <KvxDevCommon01/data/DataCplx.h>

#include <cmath>
#include <complex>

#include "tests/data/DataTesting.h"

namespace {

using namespace kvx::testing;

// ---- numbers

template <class Value>
using RealOf = decltype(std::declval<Value>().GetReal());

template <class Value>
struct CplxValueFamily : ::testing::Test {
    /// A few roundings of the scaled forms.
    static constexpr double kTolerance =
        4 * static_cast<double>(std::numeric_limits<RealOf<Value>>::epsilon());

    static void ExpectIs(const Value& actual, std::complex<double> expected) {
        const double scale = std::abs(expected);
        EXPECT_NEAR(static_cast<double>(actual.GetReal()), expected.real(), kTolerance * scale);
        EXPECT_NEAR(static_cast<double>(actual.GetImaginary()), expected.imag(), kTolerance * scale);
    }
    static void ExpectExactly(const Value& actual, RealOf<Value> re, RealOf<Value> im) {
        EXPECT_EQ(actual.GetReal(), re);
        EXPECT_EQ(actual.GetImaginary(), im);
    }
    static std::complex<double> Wide(const Value& z) {
        return {static_cast<double>(z.GetReal()), static_cast<double>(z.GetImaginary())};
    }
};
using CplxValues = ::testing::Types<CDataDoubleCplx, CDataCplx>;
TYPED_TEST_SUITE(CplxValueFamily, CplxValues);

TYPED_TEST(CplxValueFamily, HoldsARealAndAnImaginaryPart) {
    EXPECT_EQ(sizeof(TypeParam), 2 * sizeof(RealOf<TypeParam>));
    this->ExpectExactly(TypeParam(), 0, 0);
    TypeParam z(3, 4);
    this->ExpectExactly(z, 3, 4);
    z.SetReal(5);
    z.SetImaginary(6);
    this->ExpectExactly(z, 5, 6);
    z = 7;
    this->ExpectExactly(z, 7, 0);
    z.UnityI();
    this->ExpectExactly(z, 0, 1);
    z.UnityR();
    this->ExpectExactly(z, 1, 0);
    z.Zero();
    this->ExpectExactly(z, 0, 0);
}

TYPED_TEST(CplxValueFamily, CalculatesWithAComplexOperand) {
    const TypeParam a(1, 2);
    const TypeParam b(3, -4);
    this->ExpectExactly(TypeParam::Add(a, b), 4, -2);
    this->ExpectExactly(TypeParam::Sub(a, b), -2, 6);
    this->ExpectExactly(TypeParam::Mul(a, b), 11, 2);
    this->ExpectIs(TypeParam::Div(a, b), std::complex<double>(1, 2) / std::complex<double>(3, -4));
    this->ExpectExactly(a, 1, 2);
    TypeParam z = a;
    const TypeParam& same = z;
    z *= same;
    this->ExpectExactly(z, -3, 4);
    z /= same;
    this->ExpectExactly(z, 1, 0);
}

TYPED_TEST(CplxValueFamily, CalculatesWithARealOperand) {
    const TypeParam z(1, 2);
    this->ExpectExactly(TypeParam::Add(z, 3), 4, 2);
    this->ExpectExactly(TypeParam::Sub(z, 3), -2, 2);
    this->ExpectExactly(TypeParam::Mul(z, 3), 3, 6);
    this->ExpectExactly(TypeParam::Div(z, 4), RealOf<TypeParam>(0.25), RealOf<TypeParam>(0.5));
}

TYPED_TEST(CplxValueFamily, DividesAndInvertsInEveryQuadrantAndOnTheAxes) {
    using Real = RealOf<TypeParam>;
    for (const double re : {-3, -1, 0, 1, 3}) {
        for (const double im : {-2, -1, 0, 1, 2}) {
            if (re == 0 && im == 0) continue;
            const TypeParam w(static_cast<Real>(re), static_cast<Real>(im));
            const TypeParam z(Real(0.7), Real(-1.3));
            this->ExpectIs(TypeParam::Div(z, w), this->Wide(z) / this->Wide(w));
            TypeParam inverse = w;
            inverse.Inv();
            this->ExpectIs(inverse, 1.0 / this->Wide(w));
        }
    }
    TypeParam zero;
    zero.Inv();
    this->ExpectExactly(zero, 0, 0);
    this->ExpectExactly(TypeParam::Div(TypeParam(1, 2), zero), 0, 0);
    this->ExpectExactly(TypeParam::Div(TypeParam(1, 2), Real(0)), 0, 0);
}

TYPED_TEST(CplxValueFamily, HugePartsDoNotOverflow) {
    using Real = RealOf<TypeParam>;
    const Real huge = std::numeric_limits<Real>::max() / 2;
    const TypeParam z(huge, huge);
    EXPECT_NEAR(static_cast<double>(z.GetAbs()) / static_cast<double>(huge), std::sqrt(2.0),
                this->kTolerance);
    this->ExpectIs(TypeParam::Div(z, z), 1);
}

TYPED_TEST(CplxValueFamily, MeasuresMagnitudesAndTakesTinyOnesForZero) {
    using Real = RealOf<TypeParam>;
    EXPECT_EQ(TypeParam(3, 4).GetAbs(), 5);
    EXPECT_EQ(TypeParam(-4, 3).GetAbs(), 5);
    EXPECT_EQ(TypeParam(0, -2).GetAbs(), 2);
    EXPECT_EQ(TypeParam(-2, 0).GetAbs(), 2);
    EXPECT_EQ(TypeParam().GetAbs(), 0);
    EXPECT_EQ(TypeParam(3, 4).GetAbsSq(), 25);
    EXPECT_EQ(TypeParam(Real(1e-31), Real(-1e-31)).IsZero(), 1);
    EXPECT_EQ(TypeParam(Real(1e-30), 0).IsZero(), 0);
    EXPECT_EQ(TypeParam(0, Real(-1e-30)).IsZero(), 0);
    EXPECT_EQ(TypeParam(Real(kNan), 0).IsZero(), 0);
}

TYPED_TEST(CplxValueFamily, RootsAreThePrincipalOnes) {
    this->ExpectIs(TypeParam::Sqrt(TypeParam(-4, 0)), {0, 2});
    this->ExpectExactly(TypeParam::Sqrt(TypeParam()), 0, 0);
    EXPECT_LT(TypeParam::Sqrt(TypeParam(-4, -1)).GetImaginary(), 0);
    for (const auto& [re, im] : {std::pair{4, 0}, {3, 4}, {3, -4}, {-3, 4}, {-3, -4}, {0, 2}, {0, -2}}) {
        const TypeParam z(static_cast<RealOf<TypeParam>>(re), static_cast<RealOf<TypeParam>>(im));
        this->ExpectIs(TypeParam::Sqrt(z), std::sqrt(this->Wide(z)));
    }
}

TYPED_TEST(CplxValueFamily, ConjugatesNegatesAndComparesExactly) {
    TypeParam z(1, 2);
    z.Conj();
    this->ExpectExactly(z, 1, -2);
    z.Neg();
    this->ExpectExactly(z, -1, 2);
    EXPECT_EQ(TypeParam(1, 2) == TypeParam(1, 2), 1);
    EXPECT_EQ(TypeParam(1, 2) != TypeParam(1, 2), 0);
    EXPECT_EQ(TypeParam(1, 2) == TypeParam(1, 3), 0);
    EXPECT_EQ(TypeParam(1, 2) != TypeParam(0, 2), 1);
}

// ---- arrays

template <class Array>
using PartOf = std::remove_pointer_t<decltype(std::declval<Array>().GetReal())>;

template <class Array>
using PartsOf = std::vector<PartOf<Array>>;

template <class Array>
PartsOf<Array> Reals(const Array& array) {
    return {array.GetReal(), array.GetReal() + (array.GetReal() ? array.GetNum() : 0)};
}

template <class Array>
PartsOf<Array> Imaginaries(const Array& array) {
    return {array.GetImaginary(), array.GetImaginary() + (array.GetImaginary() ? array.GetNum() : 0)};
}

template <class Array>
Array Complex(const PartsOf<Array>& re, const PartsOf<Array>& im) {
    Array array(1, static_cast<__int64>(re.size()));
    array.SetReal(re.data());
    array.SetImaginary(im.data());
    return array;
}

template <class Array>
void ExpectEmpty(const Array& array) {
    EXPECT_EQ(array.GetNum(), 0);
    EXPECT_EQ(array.IsComplex(), 0);
    EXPECT_EQ(array.GetReal(), nullptr);
    EXPECT_EQ(array.GetImaginary(), nullptr);
}

template <class Array>
struct CplxArrayFamily : ::testing::Test {};
using CplxArrays = ::testing::Types<CDataArrayDoubleCplx, CDataArrayCplx>;
TYPED_TEST_SUITE(CplxArrayFamily, CplxArrays);

TYPED_TEST(CplxArrayFamily, IsCreatedAsZerosWithOrWithoutImaginaryParts) {
    using Parts = PartsOf<TypeParam>;
    ExpectEmpty(TypeParam());
    const TypeParam complex(1, 2);
    EXPECT_EQ(complex.IsComplex(), 1);
    EXPECT_EQ(Reals(complex), Parts(2));
    EXPECT_EQ(Imaginaries(complex), Parts(2));
    const TypeParam real(0, 2);
    EXPECT_EQ(real.IsComplex(), 0);
    EXPECT_EQ(Reals(real), Parts(2));
    EXPECT_EQ(real.GetImaginary(), nullptr);
}

TYPED_TEST(CplxArrayFamily, CreatingNothingChangesNothingAndRefusedMemoryLeavesTheArrayEmpty) {
    TypeParam array(1, 3);
    EXPECT_EQ(array.Create(1, 0), 0);
    EXPECT_EQ(array.Create(0, -1), 0);
    EXPECT_EQ(array == TypeParam(1, 3), 1);
    for (const __int64 count : kAbsurdCounts) {
        if (count < 0) continue;
        array.Create(1, 3);
        EXPECT_EQ(array.Create(1, count), 0);
        ExpectEmpty(array);
    }
}

TYPED_TEST(CplxArrayFamily, SetsWholeBlocks) {
    using Parts = PartsOf<TypeParam>;
    TypeParam array = Complex<TypeParam>({1, 2}, {3, 4});
    EXPECT_EQ(Reals(array), (Parts{1, 2}));
    EXPECT_EQ(Imaginaries(array), (Parts{3, 4}));
    EXPECT_EQ(array.SetReal(array.GetImaginary()), 1);
    EXPECT_EQ(Reals(array), (Parts{3, 4}));
    EXPECT_EQ(array.SetReal(nullptr), 0);
    const Parts parts{1, 2};
    EXPECT_EQ(TypeParam(0, 2).SetImaginary(parts.data()), 0);
    EXPECT_EQ(TypeParam().SetReal(parts.data()), 0);
    array.Zero();
    EXPECT_EQ(array.IsAllZero(), 1);
    array.Free();
    ExpectEmpty(array);
}

TYPED_TEST(CplxArrayFamily, CopiesAndMoves) {
    using Parts = PartsOf<TypeParam>;
    TypeParam source = Complex<TypeParam>({1, 2}, {3, 4});
    TypeParam copy(source);
    EXPECT_EQ(Imaginaries(copy), (Parts{3, 4}));
    TypeParam other(0, 2);
    other = source;
    EXPECT_EQ(other.IsComplex(), 1);
    EXPECT_EQ(Imaginaries(other), (Parts{3, 4}));
    const TypeParam& self = other;
    other = self;
    EXPECT_EQ(Reals(other), (Parts{1, 2}));
    auto* const block = source.GetReal();
    TypeParam moved(std::move(source));
    EXPECT_EQ(moved.GetReal(), block);
    ExpectEmpty(source);
    moved = TypeParam();
    ExpectEmpty(moved);
}

TYPED_TEST(CplxArrayFamily, EqualityComparesTheShapeOnly) {
    EXPECT_EQ(Complex<TypeParam>({1, 2}, {3, 4}) == TypeParam(1, 2), 1);
    EXPECT_EQ(TypeParam(1, 8) == TypeParam(7, 8), 1) << "any flag but 0 says complex";
    EXPECT_EQ(TypeParam(1, 8) == TypeParam(0, 8), 0);
    EXPECT_EQ(TypeParam(0, 7) != TypeParam(0, 8), 1);
    EXPECT_EQ(TypeParam() == TypeParam(), 1);
}

TYPED_TEST(CplxArrayFamily, IsAllZeroOnlyWithNothingButZeros) {
    using Real = PartOf<TypeParam>;
    EXPECT_EQ(TypeParam().IsAllZero(), 0);
    EXPECT_EQ(TypeParam(0, 3).IsAllZero(), 1);
    EXPECT_EQ(TypeParam(1, 3).IsAllZero(), 1);
    EXPECT_EQ(Complex<TypeParam>({0, 0}, {0, Real(1e-30)}).IsAllZero(), 0);
    EXPECT_EQ(Complex<TypeParam>({0, Real(kNan)}, {0, 0}).IsAllZero(), 0);
}

TYPED_TEST(CplxArrayFamily, TakesRealPartsAndKeepsItsOwnFlag) {
    using Real = PartOf<TypeParam>;
    using RealArray = std::conditional_t<std::is_same_v<Real, double>, CDataArrayDouble, CDataArrayFloat>;
    using Parts = PartsOf<TypeParam>;
    TypeParam array = Complex<TypeParam>({1, 2}, {3, 4});
    array = ArrayOf<RealArray>({7, 8, 9});
    EXPECT_EQ(array.IsComplex(), 1);
    EXPECT_EQ(Reals(array), (Parts{7, 8, 9}));
    EXPECT_EQ(Imaginaries(array), Parts(3));
    array = RealArray();
    ExpectEmpty(array);
    array = ArrayOf<RealArray>({7});
    EXPECT_EQ(array.IsComplex(), 0);
}

using DoubleCplx = CDataArrayDoubleCplx;
using Doubles = std::vector<double>;

TEST(DoubleCplxArray, CopiesRunsWithoutWrapping) {
    const auto source = Complex<DoubleCplx>({1, 2, 3}, {4, 5, 6});
    DoubleCplx array(1, 4);
    EXPECT_EQ(array.Copy(source, 1, 2, 2), 1);
    EXPECT_EQ(Reals(array), (Doubles{0, 0, 2, 3}));
    EXPECT_EQ(Imaginaries(array), (Doubles{0, 0, 5, 6}));
    EXPECT_EQ(array.Copy(array, 2, 1, 2), 1) << "runs of one array may overlap";
    EXPECT_EQ(Reals(array), (Doubles{0, 2, 3, 3}));

    const struct {
        __int64 srcStart, dstStart, num;
    } kBad[] = {{-1, 0, 1}, {0, -1, 1}, {0, 0, 0}, {2, 0, 2}, {0, 3, 2}, {0, 0, 4}, {1, 0, __int64{1} << 62}};
    for (const auto& row : kBad) EXPECT_EQ(array.Copy(source, row.srcStart, row.dstStart, row.num), 0);
    EXPECT_EQ(array.Copy(DoubleCplx(0, 3), 0, 0, 1), 0) << "the flags differ";
    EXPECT_EQ(DoubleCplx().Copy(source, 0, 0, 1), 0);
    EXPECT_EQ(Reals(array), (Doubles{0, 2, 3, 3}));
}

TEST(DoubleCplxArray, FillsAddsAndScales) {
    auto array = Complex<DoubleCplx>({1, 2, 3}, {4, 5, 6});
    array += Complex<DoubleCplx>({10, 20}, {30, 40});
    EXPECT_EQ(Reals(array), (Doubles{11, 22, 3}));
    EXPECT_EQ(Imaginaries(array), (Doubles{34, 45, 6}));
    DoubleCplx real(0, 1);
    EXPECT_EQ(real.SetData(9.0), 1);
    array += real;
    EXPECT_EQ(array.GetReal()[0], 20.0);
    EXPECT_EQ(array.GetImaginary()[0], 34.0);
    array *= 2.0;
    array /= 0.0;
    array /= 4.0;
    EXPECT_EQ(Reals(array), (Doubles{10, 11, 1.5}));
    EXPECT_EQ(Imaginaries(array), (Doubles{17, 22.5, 3}));
    EXPECT_EQ(array.SetData(-1.0), 1);
    EXPECT_EQ(Imaginaries(array), (Doubles{-1, -1, -1}));
    EXPECT_EQ(DoubleCplx().SetData(1.0), 0);
}

TEST(DoubleCplxArray, ScalingLeavesARealOnlyArrayAlone) {
    DoubleCplx array(0, 2);
    array.SetData(3.0);
    array *= 2.0;
    array /= 2.0;
    EXPECT_EQ(Reals(array), (Doubles{3, 3}));
}

TEST(DoubleCplxArray, NarrowsAndWidens) {
    CDataArrayCplx narrow;
    EXPECT_EQ(Complex<DoubleCplx>({0.1, 2}, {3, 4}).GetDataArrayCplx(&narrow), 1);
    EXPECT_EQ(Reals(narrow), (std::vector<float>{0.1F, 2}));
    EXPECT_EQ(Imaginaries(narrow), (std::vector<float>{3, 4}));
    DoubleCplx wide(0, 9);
    EXPECT_EQ(wide.SetDataArrayCplx(narrow), 1);
    EXPECT_EQ(Reals(wide), (Doubles{static_cast<double>(0.1F), 2}));
    EXPECT_EQ(Imaginaries(wide), (Doubles{3, 4}));
    EXPECT_EQ(wide.GetDataArrayCplx(nullptr), 0);
    EXPECT_EQ(DoubleCplx().GetDataArrayCplx(&narrow), 1);
    EXPECT_EQ(narrow.GetNum(), 2) << "an empty array cannot be created, so the target stays";
    EXPECT_EQ(wide.SetDataArrayCplx(CDataArrayCplx()), 0);
    ExpectEmpty(wide);
}

KVX_ABILITY(Copies, t.Copy(t, 0, 0, 1));
KVX_ABILITY(Fills, t.SetData(1));
KVX_ABILITY(Scales, t *= 1, t /= 1);
KVX_ABILITY(Adds, t += t);
static_assert(Copies<CDataArrayDoubleCplx> && Fills<CDataArrayDoubleCplx> && Scales<CDataArrayDoubleCplx> &&
              Adds<CDataArrayDoubleCplx>);
static_assert(!Copies<CDataArrayCplx> && !Fills<CDataArrayCplx> && !Scales<CDataArrayCplx> &&
              !Adds<CDataArrayCplx>);
static_assert(sizeof(CDataArrayDoubleCplx) == 40 && sizeof(CDataArrayCplx) == 40);

}  // namespace
