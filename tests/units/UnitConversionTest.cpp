// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/units/detail/UnitConversion.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>

#include "Units.h"

namespace {

using kvx::detail::Direction;
using kvx::detail::UnitKind;
using kvx::detail::UnitRow;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
// Two roundings of a conversion and as many of the way back, each half a unit in the last place.
constexpr double kRoundTrip = 4 * std::numeric_limits<double>::epsilon();

void ExpectClose(double actual, double expected, double tolerance = kRoundTrip) {
    EXPECT_NEAR(actual, expected, std::abs(expected) * tolerance);
}

double ByRow(UnitKind kind, double f, double o, Direction direction, double x) {
    kvx::detail::ConvertByRow({0, 0, kind, f, o}, direction, {&x, 1});
    return x;
}

TEST(UnitKinds, EachFollowsItsFormulaBothWays) {
    using enum UnitKind;
    const struct {
        UnitKind kind;
        double f, o, standard, unit;
        double back = kNan;  // where the way back is no inverse
    } rows[] = {
        {same, 4, 3, 2, 2},
        {times, 4, 3, 2, 8},
        {over, 4, 3, 2, 0.5},
        {reciprocal, 4, 3, 2, 0.5},
        {reciprocalTimes, 4, 3, 2, 0.125, 32},
        {reciprocalOver, 4, 3, 2, 0.125},
        {timesPlus, 4, 3, 2, 11},
        {overPlus, 4, 3, 2, 3.5},
        {plusTimes, 4, 3, 2, 20},
        {plusOver, 4, 3, 2, 1.25},
        {logarithm, 20, 3, 100, 40},
        {logarithmOfRatio, 0.5, 10, 1000, 4},
        {logarithmToBase, 2, 3, 8, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.kind));
        ExpectClose(ByRow(row.kind, row.f, row.o, Direction::toUnit, row.standard), row.unit);
        ExpectClose(ByRow(row.kind, row.f, row.o, Direction::toStandard, row.unit),
                    std::isnan(row.back) ? row.standard : row.back);
    }
}

TEST(UnitKinds, ZerosAreGuardedWhereTheFormulaWouldDivideByThem) {
    using enum UnitKind;
    const struct {
        UnitKind kind;
        double f, o, x, toUnit, toStandard;
    } rows[] = {
        {times, 0, 3, 5, 0, 0},
        {over, 0, 3, 5, 0, 0},
        {reciprocal, 4, 3, 0, 0, 0},
        {reciprocalTimes, 4, 3, 0, 0, 0},
        {reciprocalTimes, 0, 3, 5, 0, 0},
        {reciprocalOver, 4, 3, 0, 0, 0},
        {reciprocalOver, 0, 3, 5, 0, 0},
        {timesPlus, 0, 3, 5, 3, 0},
        {overPlus, 0, 3, 5, 0, 0},
        {plusTimes, 0, 3, 5, 0, 0},
        {plusOver, 0, 3, 5, 0, -3},
        {logarithm, 20, 3, 0, 0, 1},
        {logarithm, 0, 3, 10, 0, 0},
        {logarithmOfRatio, 2, 3, 0, 0, 3},
        {logarithmOfRatio, 0, 3, 5, 0, 3},
        {logarithmOfRatio, 2, 0, 5, 0, 0},
        {logarithmToBase, 2, 3, 0, 0, 1},
        {logarithmToBase, 0, 3, 5, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(row.kind) << " f " << row.f << " x " << row.x);
        EXPECT_EQ(ByRow(row.kind, row.f, row.o, Direction::toUnit, row.x), row.toUnit);
        EXPECT_EQ(ByRow(row.kind, row.f, row.o, Direction::toStandard, row.x), row.toStandard);
    }
    EXPECT_TRUE(std::signbit(ByRow(reciprocal, 1, 0, Direction::toUnit, -0.0)))
        << "zero comes back as it was";
    EXPECT_EQ(ByRow(static_cast<UnitKind>(14), 4, 3, Direction::toUnit, 5), 5)
        << "an unknown kind changes nothing";
    EXPECT_EQ(ByRow(static_cast<UnitKind>(0), 4, 3, Direction::toStandard, 5), 5);
}

TEST(UnitKinds, WhatIsNoNumberFollowsTheFormula) {
    for (int kind = 1; kind <= 13; ++kind) {
        for (const Direction direction : {Direction::toUnit, Direction::toStandard}) {
            EXPECT_TRUE(std::isnan(ByRow(static_cast<UnitKind>(kind), 4, 3, direction, kNan))) << kind;
        }
    }
    EXPECT_EQ(Single(0x00010007).ConvDtoI(-kInf, 1, 0), -kInf);
    EXPECT_TRUE(std::isnan(Single(0x06000002).ConvDtoI(-1.0, 1, 0))) << "decibels of a negative ratio";
    EXPECT_EQ(Single(0x06000002).ConvItoD(-kInf, 1, 0), 0.0);
}

struct Factor {
    std::uint32_t unit;
    double standardPerUnit;  // how much of the standard unit one of these is
};

TEST(UnitTable, UnitsHaveTheirPhysicalSize) {
    using std::numbers::pi;
    const Factor factors[] = {
        {0x00010001, 0.01},             // gal
        {0x00010005, 10},               // gn, round on purpose
        {0x00010006, 10},               // Gn
        {0x00010007, 9.80665},          // g
        {0x00020003, 0.01},             // kine
        {0x00020006, 0.0254},           // inch/s
        {0x00020009, 0.00508},          // feet/min
        {0x0002000A, 1 / 3.6},          // km/h
        {0x0002000B, 0.44704},          // M/h
        {0x0002000C, 0.44704},          // mile/h
        {0x00030005, 0.3048},           // feet
        {0x00030006, 0.9144},           // yard
        {0x00030007, 1609.344},         // mile
        {0x00030009, 1e-6},             // um
        {0x00040003, 1e-5},             // dyne
        {0x00040005, 10},               // Mdyne
        {0x00040007, 9806.65},          // tonf
        {0x00050002, 1},                // microstrain, the unit that strain is held in
        {0x00060002, pi / 180},         // degree/s
        {0x00060004, pi / 30},          // rpm
        {0x00070004, pi / 1800},        // rpm per minute
        {0x00080006, 98066.5},          // kgf/cm2
        {0x01000007, 3600},             // hour
        {0x0100000D, 1e-6},             // usec
        {0x02000003, 1.0 / 60},         // rpm
        {0x02000004, 1e-3},             // mHz
        {0x03000001, 1e-12},            // pC
        {0x04000004, 1e-9},             // nV
        {0x06000001, 0.01},             // percent
        {0x06000005, 1e-9},             // ppb
        {0x07000004, 2 * pi},           // revolution
        {0x08000002, 1000},             // kcycle
        {0x0B000004, 1e-15},            // fA
        {0x0B000009, 1e9},              // GA
        {0x0C000004, 1e6},              // Mohm
        {0x0E000002, 1e-9},             // ug
        {0x0E000007, 0.028349523125},   // oz
        {0x10000006, 0.1},              // Merg
        {0x10000008, 4186.8},           // kcal
        {0x11000006, 735.5},            // PS
        {0x12000002, 1e-7},             // dyne cm
        {0x12000005, 4.4482216152605},  // lbf m
        {0x13000002, 1e7},              // kg m2 in g cm2
        {0x14000003, 1e-6},             // uF
        {0x15000004, 1000},             // kS
        {0x16000001, 1e-6},             // uH
        {0x17000002, 1e-8},             // Mx
        {0x18000003, 1e-4},             // G
    };
    for (const Factor& factor : factors) {
        SCOPED_TRACE(testing::Message() << std::hex << factor.unit);
        ExpectClose(Single(factor.unit).ConvItoD(1.0, 1.0, 1), factor.standardPerUnit);
        ExpectClose(Single(factor.unit).ConvDtoI(factor.standardPerUnit, 1.0, 1), 1.0);
    }
}

TEST(UnitTable, EveryUnitComesBackFromAConversion) {
    const std::vector<CUnitCtrl> units = AllUnits();
    ASSERT_EQ(units.size(), 165u);
    for (const CUnitCtrl& unit : units) {
        for (const double x : {1.0, 273.15, 1e-3, 12345.678}) {
            // A logarithm turns the rounding of a large exponent into that of the value.
            const bool logarithmic = unit == CUnitCtrl::DIM_RATIO;
            const double tolerance = logarithmic || unit == CUnitCtrl::DIM_TEMPERATURE ? 1e-12 : kRoundTrip;
            const double back = unit.ConvItoD(unit.ConvDtoI(x, 1, 1), 1, 1);
            EXPECT_NEAR(back, x, tolerance * std::max(x, 1.0)) << kvx::ToUtf8(NameOf(unit));
        }
    }
}

TEST(Conversion, ValuesFromTheHandbook) {
    EXPECT_EQ(Single(0x00010007).ConvItoD(1.0, 1.0, 0), 9.80665);
    EXPECT_EQ(Single(0x00010007).ConvDtoI(9.80665, 1.0, 0), 1.0);
    ExpectClose(Single(0x00010005).ConvDtoI(9.80665, 1.0, 0), 0.980665);
    ExpectClose(Single(0x00020009).ConvDtoI(1.0, 1.0, 0), 196.8503937007874);
    ExpectClose(Single(0x06000002).ConvDtoI(10.0, 1.0, 0), 20.0);
    ExpectClose(Single(0x06000003).ConvDtoI(10.0, 1.0, 0), 10.0);
    EXPECT_EQ(Single(0x06000002).ConvDtoI(0.0, 1.0, 0), 0.0);
    ExpectClose(Single(0x06000004).ConvDtoI(8.0, 1.0, 0), 3.0);
    ExpectClose(Single(0x06000007).ConvItoD(3.0, 1.0, 0), 1000.0);
}

TEST(Conversion, TheGainMultipliesTheResultBothWays) {
    const CUnitCtrl celsius = Single(0x05000002);
    ExpectClose(celsius.ConvDtoI(300.0, 2.0, 1), 53.7, 1e-14);
    ExpectClose(celsius.ConvItoD(26.85, 2.0, 1), 600.0, 1e-14);
}

TEST(Conversion, OnlyAbsoluteTemperaturesAreConverted) {
    const CUnitCtrl celsius = Single(0x05000002);
    const CUnitCtrl fahrenheit = Single(0x05000003);
    ExpectClose(celsius.ConvDtoI(300.0, 1, 1), 26.85, 1e-14);
    EXPECT_EQ(celsius.ConvDtoI(300.0, 1, 0), 300.0);
    EXPECT_EQ(celsius.ConvItoD(300.0, 1, 0), 300.0);
    ExpectClose(fahrenheit.ConvDtoI(373.15, 1, 1), 212.0, 1e-14);
    ExpectClose(fahrenheit.ConvItoD(32.0, 1, 1), 273.15, 1e-14);
    EXPECT_EQ(fahrenheit.ConvDtoI(10.0, 1, 0), 10.0);
    EXPECT_EQ(Make({0x04000001}, {0x05000003, 0x100}).ConvDtoI(2.0, 1, 0), 2000.0) << "mV per degree";
}

struct CompoundCase {
    CUnitCtrl unit;
    double standard, viewed;
};

TEST(Conversion, CompoundsActByTheRatiosOfTheirMembers) {
    constexpr double g = 9.80665;
    const CompoundCase cases[] = {
        {Make({0x00010004, 0x010}, {0x02000001, 0x100}), 2.0, 2.0},       // (m/s2)2/Hz
        {Make({0x00010007, 0x010}, {0x02000001, 0x100}), g * g, 1.0},     // g2/Hz
        {Make({0x00010007, 0x010}, {0x02000002, 0x100}), g * g, 1000.0},  // g2/kHz
        {Make({0x04000001}, {0x00010007, 0x100}), 1.0, 1000 * g},         // mV/g
        {Make({0x00010007, 0x100}), 3.0, 3 * g},                          // 1/g
        {Make({0x00030001, 0x110}), 5.0, 5e-6},                           // 1/mm2
        {Make({0x0E000004}, {0x00030002, 0x010}), 2.0, 2e7},              // g cm2
        {Make({0x04000001}, {0x00030001, 0x100}, {0x01000001, 0x100}, {0x0B000001}), 7.0, 7.0},
        {Make({0x04000001}, {}, {0x01000001}, {0x0B000001}), 7.0, 7e9},  // the second slot empty
    };
    for (const CompoundCase& c : cases) {
        SCOPED_TRACE(kvx::ToUtf8(NameOf(c.unit)));
        ExpectClose(c.unit.ConvDtoI(c.standard, 1, 0), c.viewed, 1e-14);
        ExpectClose(c.unit.ConvItoD(c.viewed, 1, 0), c.standard, 1e-14);
        EXPECT_EQ(c.unit.ConvDtoI(0.0, 1, 0), 0.0);
        EXPECT_TRUE(std::isnan(c.unit.ConvDtoI(kNan, 1, 0)));
    }
    EXPECT_TRUE(std::isnan(cases[1].unit.ConvDtoI(kInf, 1, 0))) << "the ratio of infinities is no number";
    EXPECT_TRUE(std::isnan(CUnitCtrl(Unit(0x04000002), Unit(0x0F000001), 1).ConvDtoI(kInf, 1, 0)))
        << "a second member counts even when it is no unit";
}

TEST(Conversion, TheWayBackTakesTheMembersInReverse) {
    // A plain member that is not proportional, so that the order shows: degrees Celsius, then a factor of
    // 1000.
    const CUnitCtrl unit = Make({0x05000002}, {0x01000001});
    ExpectClose(unit.ConvDtoI(300.0, 1, 1), 26850.0, 1e-14);
    ExpectClose(unit.ConvItoD(26850.0, 1, 1), 300.0, 1e-14);
}

class BufferConversion : public testing::TestWithParam<CUnitCtrl> {};

template <typename Real>
void ExpectBufferBitsOfScalars(const CUnitCtrl& unit) {
    std::vector<Real> source;
    for (int i = 0; i < 2500; ++i)
        source.push_back(static_cast<Real>(i % 7 == 0 ? 0.0 : std::sin(i) * i + 0.1));
    std::vector<Real> toUnit(source.size()), toStandard(source);
    const auto num = static_cast<__int64>(source.size());
    ASSERT_EQ(unit.ConvDtoI(toUnit.data(), source.data(), num, 1.5, 1), 1);
    ASSERT_EQ(unit.ConvItoD(toStandard.data(), toStandard.data(), num, 1.5, 1), 1) << "in place";
    const auto bits = [](Real x) { return std::bit_cast<std::array<std::byte, sizeof(Real)>>(x); };
    for (std::size_t i = 0; i < source.size(); ++i) {
        ASSERT_EQ(bits(toUnit[i]), bits(unit.ConvDtoI(source[i], 1.5, 1))) << i;
        ASSERT_EQ(bits(toStandard[i]), bits(unit.ConvItoD(source[i], 1.5, 1))) << i;
    }
}

TEST_P(BufferConversion, GivesEachElementTheBitsOfTheScalarForm) {
    ExpectBufferBitsOfScalars<double>(GetParam());
    ExpectBufferBitsOfScalars<float>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Units, BufferConversion,
                         testing::Values(Single(0x00010004), Single(0x00010001), Single(0x00010007),
                                         Single(0x05000003), Single(0x06000002), Single(0x06000004),
                                         Make({0x00010007, 0x010}, {0x02000002, 0x100}),
                                         Make({0x04000001}, {0x00010007, 0x100}, {0x01000001, 0x110})));

TEST(Conversion, FloatsAreComputedInDoubleAndRoundedOnce) {
    const float x = 0.1F;
    EXPECT_EQ(Single(0x00010007).ConvDtoI(x, 1.0, 0), static_cast<float>(static_cast<double>(x) / 9.80665));
    EXPECT_EQ(Single(0x00030008).ConvDtoI(1e30F, 1e-9, 0), 1e30F) << "no overflow between the steps";
}

TEST(Conversion, BuffersThatAreNoneAreRefused) {
    const CUnitCtrl unit = Single(0x00010007);
    double x = 1.0;
    EXPECT_EQ(unit.ConvDtoI(nullptr, &x, 1, 1, 0), 0);
    EXPECT_EQ(unit.ConvDtoI(&x, nullptr, 1, 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(&x, &x, -1, 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(&x, &x, 0, 1, 0), 1);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(unit.ConvDtoI(static_cast<CDataArrayDouble*>(nullptr), 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(static_cast<CDataArrayFloat*>(nullptr), 1, 0), 0);
}

template <typename Array>
class ArrayConversion : public testing::Test {};
using Arrays = testing::Types<CDataArrayDouble, CDataArrayFloat>;
TYPED_TEST_SUITE(ArrayConversion, Arrays);

TYPED_TEST(ArrayConversion, ConvertsEveryElementInPlace) {
    using Element = std::remove_pointer_t<decltype(TypeParam().GetData())>;
    TypeParam array;
    const CUnitCtrl millimetre = Single(0x00030001);
    EXPECT_EQ(millimetre.ConvDtoI(&array, 1, 0), 1) << "nothing to convert";
    for (const Element metres : {Element{1}, Element{2}, Element{3}}) array.Append(metres);
    EXPECT_EQ(millimetre.ConvDtoI(&array, 2, 0), 1);
    EXPECT_THAT(std::vector(array.GetData(), array.GetData() + 3), testing::ElementsAre(2000, 4000, 6000));
    EXPECT_EQ(millimetre.ConvItoD(&array, 0.5, 0), 1);
    EXPECT_THAT(std::vector(array.GetData(), array.GetData() + 3), testing::ElementsAre(1, 2, 3));
}

template <typename Matrix>
class MatrixConversion : public testing::Test {};
using Matrices = testing::Types<CDataArrayMtxDouble, CDataArrayMtxFloat>;
TYPED_TEST_SUITE(MatrixConversion, Matrices);

TYPED_TEST(MatrixConversion, ConvertsEverySampleOfEveryCellInPlace) {
    const CUnitCtrl millimetre = Single(0x00030001);
    TypeParam matrix(2, 3, 2);
    matrix.SetData(4);
    matrix.GetDataPtr(1, 2)[1] = 5;
    EXPECT_EQ(millimetre.ConvDtoI(&matrix, 2, 0), 1);
    EXPECT_EQ(matrix.GetDataPtr(0, 0)[0], 8000);
    EXPECT_EQ(matrix.GetDataPtr(1, 2)[0], 8000);
    EXPECT_EQ(matrix.GetDataPtr(1, 2)[1], 10000);
    EXPECT_EQ(millimetre.ConvItoD(&matrix, 1, 0), 1);
    EXPECT_EQ(matrix.GetDataPtr(0, 1)[1], 8);
    EXPECT_EQ(matrix.GetDataPtr(1, 2)[1], 10);

    TypeParam empty;
    EXPECT_EQ(millimetre.ConvDtoI(&empty, 1, 0), 1) << "nothing to convert";
    EXPECT_EQ(millimetre.ConvItoD(static_cast<TypeParam*>(nullptr), 1, 0), 0);
}

}  // namespace
