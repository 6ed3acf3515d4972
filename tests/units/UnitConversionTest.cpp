// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/detail/UnitConversion.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "Units.h"

namespace {

using kvx::detail::Direction;
using kvx::detail::UnitKind;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
// Two roundings of a conversion and as many of the way back, each half a unit in the last place.
constexpr double kRoundTrip = 4 * std::numeric_limits<double>::epsilon();

void ExpectClose(double actual, double expected, double tolerance = kRoundTrip) {
    EXPECT_NEAR(actual, expected, std::abs(expected) * tolerance);
}

double ByRow(UnitKind kind, double f, double o, Direction direction, double x) {
    kvx::detail::ConvertByRow({kNone, 0, kind, f, o}, direction, {&x, 1});
    return x;
}

TEST(UnitKinds, EachFollowsItsFormulaAndGuardsItsZeros) {
    using enum UnitKind;
    const struct {
        UnitKind kind;
        double f, o, x, toUnit, toStandard;
    } rows[] = {
        {same, 4, 3, 2, 2, 2},
        {times, 4, 3, 2, 8, 0.5},
        {over, 4, 3, 2, 0.5, 8},
        {reciprocal, 4, 3, 2, 0.5, 0.5},
        {reciprocal, 4, 3, 0, 0, 0},
        {reciprocalTimes, 4, 3, 2, 0.125, 2},
        {reciprocalTimes, 4, 3, 0, 0, 0},
        {reciprocalOver, 4, 3, 2, 0.125, 0.125},
        {reciprocalOver, 4, 3, 0, 0, 0},
        {timesPlus, 4, 3, 2, 11, -0.25},
        {overPlus, 4, 3, 2, 3.5, -4},
        {plusTimes, 4, 3, 2, 20, -2.5},
        {plusOver, 4, 3, 2, 1.25, 5},
        {logarithm, 20, 3, 100, 40, 1e5},
        {logarithm, 20, 3, 0, 0, 1},
        {logarithmOfRatio, 0.5, 0.02, 2, 4, 0.2},
        {logarithmOfRatio, 2, 3, 0, 0, 3},
        {logarithmToBase, 2, 3, 8, 3, 256},
        {logarithmToBase, 2, 3, 0, 0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(row.kind) << " f " << row.f << " x " << row.x);
        ExpectClose(ByRow(row.kind, row.f, row.o, Direction::toUnit, row.x), row.toUnit);
        ExpectClose(ByRow(row.kind, row.f, row.o, Direction::toStandard, row.x), row.toStandard);
        if (row.x == 0) continue;
        for (const Direction direction : {Direction::toUnit, Direction::toStandard})
            EXPECT_TRUE(std::isnan(ByRow(row.kind, row.f, row.o, direction, kNan)));
    }
    EXPECT_TRUE(std::isnan(ByRow(logarithm, 20, 3, Direction::toUnit, -1))) << "decibels of a negative ratio";
    EXPECT_TRUE(std::signbit(ByRow(reciprocal, 1, 0, Direction::toUnit, -0.0))) << "zero stays as it was";
}

TEST(UnitTable, UnitsHaveTheirPhysicalSize) {
    using std::numbers::pi;
    // clang-format off
    const struct {
        const wchar_t* name;
        double inStandardUnits;
    } units[] = {
        {L"gal", 0.01}, {L"g", 9.80665}, {L"gn", 10}, {L"Gn", 10},  // the latter two round on purpose
        {L"kine", 0.01}, {L"inch/s", 0.0254}, {L"feet/min", 0.00508},
        {L"km/h", 1 / 3.6}, {L"M/h", 0.44704}, {L"mile/h", 0.44704},
        {L"feet", 0.3048}, {L"yard", 0.9144}, {L"mile", 1609.344},
        {L"dyne", 1e-5}, {L"tonf", 9806.65}, {L"kgf/cm2", 98066.5},
        {L"microstrain", 1}, {L"%", 0.01}, {L"ppb", 1e-9},  // strain is held in millionths
        {L"degree/s", pi / 180}, {L"rpm", pi / 30}, {L"rpm/m", pi / 1800}, {L"revolution", 2 * pi},
        {L"hour", 3600}, {L"oz", 0.028349523125}, {L"erg", 1e-7}, {L"cal", 4.1868}, {L"PS", 735.5},
        {L"dyne.cm", 1e-7}, {L"lbf.m", 4.4482216152605}, {L"kg.m2", 1e7},  // in g cm2
        {L"Mx", 1e-8}, {L"gauss", 1e-4},
    };
    // clang-format on
    for (const auto& unit : units) {
        SCOPED_TRACE(kvx::ToUtf8(unit.name));
        const CUnitCtrl descriptor = kvx::SingleUnit(kvx::FindUnit(unit.name).at(0));
        ExpectClose(descriptor.ConvItoD(1.0, 1.0, 1), unit.inStandardUnits);
        ExpectClose(descriptor.ConvDtoI(unit.inStandardUnits, 1.0, 1), 1.0);
    }
}

TEST(UnitTable, PrefixesScaleTheUnitTheyStandBefore) {
    const std::pair<std::wstring, double> prefixes[] = {
        {L"f", 1e-15}, {L"p", 1e-12}, {L"n", 1e-9}, {L"\u03BC", 1e-6}, {L"m", 1e-3},
        {L"c", 1e-2},  {L"h", 1e2},   {L"k", 1e3},  {L"M", 1e6},       {L"G", 1e9}};
    const std::vector<CUnitCtrl> units = AllUnits();
    ASSERT_EQ(units.size(), 165u);
    int pairs = 0;
    for (const CUnitCtrl& a : units) {
        for (const CUnitCtrl& b : units) {
            for (const auto& [prefix, power] : prefixes) {
                if (a != b || NameOf(a) != prefix + NameOf(b)) continue;
                SCOPED_TRACE(kvx::ToUtf8(NameOf(a)));
                ExpectClose(a.ConvItoD(1.0, 1, 1), power * b.ConvItoD(1.0, 1, 1));
                ++pairs;
            }
        }
    }
    EXPECT_EQ(pairs, 70);
}

TEST(Conversion, SingleUnitsFollowTheirFormulaAndCompoundsTheRatiosOfTheirMembers) {
    constexpr double g = 9.80665;
    const struct {
        CUnitCtrl unit;
        double standard, viewed;
    } cases[] = {
        {Single(kRevolutionPerMinuteFrequency), 2.0, 120.0},         // rpm as a frequency
        {Single(kGaussSymbol), 1.0, 1e4},                            // G as a magnetic flux density
        {Single(kAmplitudeDecibel), 10.0, 20.0},                     // dB of an amplitude
        {Single(kPowerDecibel), 10.0, 10.0},                         // dB of a power
        {Single(kOct), 8.0, 3.0},                                    // oct
        {Single(kDecade), 1000.0, 3.0},                              // decade
        {Make({kAcc, kSquared}, {kHz, kDivide}), 2.0, 2.0},          // (m/s2)2/Hz
        {Make({kG, kSquared}, {kKilohertz, kDivide}), g * g, 1000},  // g2/kHz
        {Make({kMillivolt}, {kG, kDivide}), 1.0, 1000 * g},          // mV/g
        {Make({kG, kDivide}), 3.0, 3 * g},                           // 1/g
        {Make({kMm, kSquared | kDivide}), 5.0, 5e-6},                // 1/mm2
        {Make({kGram}, {kCentimetre, kSquared}), 2.0, 2e7},          // g cm2
        {Make({kMillivolt}, {kMm, kDivide}, {kMillisecond, kDivide}, {kMilliampere}), 7.0, 7.0},
        {Make({kMillivolt}, {}, {kMillisecond}, {kMilliampere}), 7.0, 7e9},  // the second slot empty
        {Make({kMillivolt}, {kDegreeCelsius, kDivide}), 2.0, 2000.0},        // a difference of temperatures
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(kvx::ToUtf8(NameOf(c.unit)));
        ExpectClose(c.unit.ConvDtoI(c.standard, 1, 0), c.viewed, 1e-14);
        ExpectClose(c.unit.ConvItoD(c.viewed, 1, 0), c.standard, 1e-14);
        EXPECT_EQ(c.unit.ConvDtoI(0.0, 1, 0), 0.0);
        EXPECT_TRUE(std::isnan(c.unit.ConvDtoI(kNan, 1, 0)));
    }
    EXPECT_TRUE(std::isnan(CUnitCtrl(kVolt, kNone, 1).ConvDtoI(kInf, 1, 0)))
        << "a second member counts even when it is no unit, and a ratio of infinities is no number";
}

TEST(Conversion, OnlyAbsoluteTemperaturesAreShifted) {
    // The second member is no mere factor of the first, so that the order of the way back shows.
    const struct {
        CUnitCtrl unit;
        double kelvin, viewed;
    } cases[] = {
        {Single(kDegreeCelsius), 300.0, 26.85},
        {Single(kDegreeFahrenheit), 373.15, 212.0},
        {Make({kDegreeCelsius}, {kMillisecond}), 300.0, 26850.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(kvx::ToUtf8(NameOf(c.unit)));
        ExpectClose(c.unit.ConvDtoI(c.kelvin, 2.0, 1), 2.0 * c.viewed, 1e-14);
        ExpectClose(c.unit.ConvItoD(c.viewed, 2.0, 1), 2.0 * c.kelvin, 1e-14);
        if (!c.unit.IsSingle()) continue;
        EXPECT_EQ(c.unit.ConvDtoI(10.0, 1, 0), 10.0);
        EXPECT_EQ(c.unit.ConvItoD(10.0, 1, 0), 10.0);
    }
}

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

TEST(Conversion, BuffersHaveTheBitsOfTheScalarForm) {
    for (const CUnitCtrl& unit :
         {Single(kAcc), Single(kG), Single(kDegreeFahrenheit), Single(kAmplitudeDecibel), Single(kOct),
          Make({kG, kSquared}, {kKilohertz, kDivide}),
          Make({kMillivolt}, {kG, kDivide}, {kMillisecond, kSquared | kDivide})}) {
        SCOPED_TRACE(kvx::ToUtf8(NameOf(unit)));
        ExpectBufferBitsOfScalars<double>(unit);
        ExpectBufferBitsOfScalars<float>(unit);
    }
}

TEST(Conversion, FloatsAreComputedInDoubleAndRoundedOnce) {
    const float x = 0.1F;
    EXPECT_EQ(Single(kG).ConvDtoI(x, 1.0, 0), static_cast<float>(static_cast<double>(x) / 9.80665));
    EXPECT_EQ(Single(kNanometre).ConvDtoI(1e30F, 1e-9, 0), 1e30F) << "no overflow between the steps";
}

template <typename ArrayAndMatrix>
using ElementOf = std::remove_pointer_t<decltype(typename ArrayAndMatrix::first_type().GetData())>;
template <typename ArrayAndMatrix>
class ContainerConversion : public testing::Test {};
using Containers = testing::Types<std::pair<CDataArrayDouble, CDataArrayMtxDouble>,
                                  std::pair<CDataArrayFloat, CDataArrayMtxFloat>>;
TYPED_TEST_SUITE(ContainerConversion, Containers);

TYPED_TEST(ContainerConversion, ConvertsEverySampleInPlace) {
    const CUnitCtrl millimetre = Single(kMm);
    typename TypeParam::first_type array;
    typename TypeParam::second_type matrix;
    EXPECT_EQ(millimetre.ConvDtoI(&array, 1, 0), 1) << "nothing to convert";
    EXPECT_EQ(millimetre.ConvDtoI(&matrix, 1, 0), 1) << "nothing to convert";
    for (ElementOf<TypeParam> metres = 1; metres <= 3; ++metres) array.Append(metres);
    matrix = typename TypeParam::second_type(2, 3, 2);
    matrix.SetData(4);
    matrix.GetDataPtr(1, 2)[1] = 5;

    EXPECT_EQ(millimetre.ConvDtoI(&array, 2, 0), 1);
    EXPECT_EQ(millimetre.ConvDtoI(&matrix, 2, 0), 1);
    EXPECT_THAT(std::vector(array.GetData(), array.GetData() + 3), testing::ElementsAre(2000, 4000, 6000));
    EXPECT_THAT(std::vector(matrix.GetDataPtr(0, 0), matrix.GetDataPtr(0, 0) + 2), testing::Each(8000));
    EXPECT_THAT(std::vector(matrix.GetDataPtr(1, 2), matrix.GetDataPtr(1, 2) + 2),
                testing::ElementsAre(8000, 10000));
    EXPECT_EQ(millimetre.ConvItoD(&array, 0.5, 0), 1);
    EXPECT_EQ(millimetre.ConvItoD(&matrix, 0.5, 0), 1);
    EXPECT_EQ(array.GetData()[2], 3);
    EXPECT_EQ(matrix.GetDataPtr(1, 2)[1], 5);
}

TYPED_TEST(ContainerConversion, WhatIsNoBufferIsRefused) {
    const CUnitCtrl unit = Single(kG);
    ElementOf<TypeParam> x = 1;
    EXPECT_EQ(unit.ConvDtoI(nullptr, &x, 1, 1, 0), 0);
    EXPECT_EQ(unit.ConvDtoI(&x, nullptr, 1, 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(&x, &x, -1, 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(&x, &x, 0, 1, 0), 1);
    EXPECT_EQ(x, 1);
    EXPECT_EQ(unit.ConvDtoI(static_cast<typename TypeParam::first_type*>(nullptr), 1, 0), 0);
    EXPECT_EQ(unit.ConvItoD(static_cast<typename TypeParam::second_type*>(nullptr), 1, 0), 0);
}

}  // namespace
