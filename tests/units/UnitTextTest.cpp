// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitText.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Units.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FindUnit, GivesEveryUnitOfTheName) {
    EXPECT_THAT(kvx::FindUnit(L"m/s2"), ElementsAre(0x00010004));
    EXPECT_THAT(kvx::FindUnit(L"g"), ElementsAre(0x00010007, 0x0E000004));
    EXPECT_THAT(kvx::FindUnit(L"G"), ElementsAre(0x00010008, 0x18000003));
    EXPECT_THAT(kvx::FindUnit(L""), ElementsAre(0x0F000001));
    EXPECT_THAT(kvx::FindUnit(L"parsec"), IsEmpty());
}

TEST(FindUnit, AcceptsOtherSpellings) {
    const struct {
        const wchar_t* text;
        std::uint32_t unit;
    } cases[] = {
        {L"m/s#u2#n", 0x00010004},
        {L"m/s\u00B2", 0x00010004},
        {L"m/s^2", 0x00010004},
        {L" m / s2 ", 0x00010004},
        {L"um", 0x00030009},
        {L"\u00B5m", 0x00030009},
        {L"\u03BCm", 0x00030009},
        {L"usec", 0x0100000D},
        {L"degC", 0x05000002},
        {L"\u00B0C", 0x05000002},
        {L"\u2103", 0x05000002},
        {L"\uFF9FC", 0x05000002},
        {L"deg C", 0x05000002},
        {L"K", 0x05000001},
        {L"N.m", 0x12000001},
        {L"N*m", 0x12000001},
        {L"N\u30FBm", 0x12000001},
        {L"N\u00B7m", 0x12000001},
        {L"Nm", 0x12000001},
        {L"kgf.m", 0x12000003},
        {L"g.cm2", 0x13000001},
        {L"Ohm", 0x0C000002},
        {L"MOhm", 0x0C000004},
        {L"mohm", 0x0C000001},
        {L"k\u2126", 0x0C000003},
        {L"ft", 0x00030005},
        {L"in/s", 0x00020006},
        {L"mph", 0x0002000C},
        {L"deg/s2", 0x00070002},
        {L"\u00B0", 0x07000003},
        {L"microstrain", 0x00050002},
        {L"ustrain", 0x00050002},
        {L"uStrain", 0x00050002},
        {L"\u00B5strain", 0x00050002},
        {L"\u03BCstrain", 0x00050002},
        {L"\u00B5\u03B5", 0x00050002},
        {L"u\u03B5", 0x00050002},
        {L"\u00B0 C", 0x05000002},
        {L"km/hr", 0x0002000A},
        {L"mi/h", 0x0002000C},
        {L"dyn.cm", 0x12000002},
        {L"t", 0x0E000006},
        {L"N m", 0x12000001},
        {L"kg\u22C5m\u00B2", 0x13000002},
        {L"m s-2", 0x00010004},
        {L"m\u00B7s\u207B\u00B2", 0x00010004},
        {L"m\u202Fs^\u22121", 0x00020004},
        {L"(m)/(s)2", 0x00010004},
    };
    for (const auto& c : cases)
        EXPECT_THAT(kvx::FindUnit(c.text), ElementsAre(c.unit)) << kvx::ToUtf8(c.text);
}

TEST(FindUnit, ForgivesCaseOnlyWhereNothingElseCanBeMeant) {
    EXPECT_THAT(kvx::FindUnit(L"hz"), ElementsAre(0x02000001));
    EXPECT_THAT(kvx::FindUnit(L"RPM"), ElementsAre(0x00060004, 0x02000003)) << "one name of two units";
    EXPECT_THAT(kvx::FindUnit(L"gAL"), ElementsAre(0x00010001, 0x00010002, 0x00010003)) << "all alike";
    EXPECT_THAT(kvx::FindUnit(L"PA"), IsEmpty()) << "Pa or pA";
    EXPECT_THAT(kvx::FindUnit(L"mPa"), IsEmpty()) << "a milli is not a mega";
    EXPECT_THAT(kvx::FindUnit(L"Mg"), IsEmpty()) << "a mega is not a milli";
    // Prefixes, and a newton, in front of G, S, s, N and V: other units than mg, kg, ns, kS, gn, ns, nV.
    for (const wchar_t* text : {L"mG", L"kG", L"\u00B5G", L"uG", L"nS", L"ks", L"GN", L"Ns", L"NV"})
        EXPECT_THAT(kvx::FindUnit(text), IsEmpty()) << kvx::ToUtf8(text);
    EXPECT_THAT(kvx::FindUnit(L"KM/H"), ElementsAre(0x0002000A));
    EXPECT_THAT(kvx::FindUnit(L"Kg"), ElementsAre(0x0E000005));
}

TEST(ParseUnit, ReadsCompoundsAndPrefersTheHintedDimension) {
    constexpr auto newton = kNewton, metre = kMetre;
    const struct {
        const wchar_t* text;
        CUnitCtrl unit;
        std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt;
    } cases[] = {
        {L"", CUnitCtrl()},
        {L" 1 ", CUnitCtrl()},
        {L"g", Single(kG)},
        {L"(g)", Single(kG)},
        {L"g2/Hz", Make({kG, kSquared}, {kHz, kDivide})},
        {L"G\u00B2/Hz", Make({kStandardGravityUppercase, kSquared}, {kHz, kDivide})},
        {L"(m/s2)2/Hz", Make({kAcc, kSquared}, {kHz, kDivide})},
        {L"m/s2/V", Make({kAcc}, {kVolt, kDivide})},
        {L"V/(m/s2)", Make({kVolt}, {kAcc, kDivide})},
        {L"V/m/s2", Make({kVolt}, {metre, kDivide}, {kSecond, kSquared | kDivide})},
        {L"V.m/s2", Make({kVolt}, {kAcc})},
        {L"1/s", Make({kSecond, kDivide})},
        {L"1/(m/s2)2", Make({kAcc, kSquared | kDivide})},
        {L"(1/s)*V", Make({kSecond, kDivide}, {kVolt})},
        {L"V/(N/mm)", Make({kVolt}, {newton, kDivide}, {kMm})},
        {L"(N/mm)2", Make({newton, kSquared}, {kMm, kSquared | kDivide})},
        {L"((N.s)/mm)/V", Make({newton}, {kSecond}, {kMm, kDivide}, {kVolt, kDivide})},
        {L"m s", Make({metre}, {kSecond})},
        {L"m s2", Make({metre}, {kSecond, kSquared})},
        {L"s^-1", Make({kSecond, kDivide})},
        {L"s\u207B\u00B9", Make({kSecond, kDivide})},
        {L"min-1", Make({kMinute, kDivide})},
        {L"g-2", Make({kG, kSquared | kDivide})},
        {L"V.(m/s2)-1", Make({kVolt}, {kAcc, kDivide})},
        {L"m2/s4/Hz", Make({kAcc, kSquared}, {kHz, kDivide})},
        {L"m^2 s^-4 Hz^-1", Make({kAcc, kSquared}, {kHz, kDivide})},
        {L"V / ( m/s2 )", Make({kVolt}, {kAcc, kDivide})},
        {L"V/A*s", Make({kVolt}, {kAmpere, kDivide}, {kSecond})},  // from left to right
        {L"(V/A) s", Make({kVolt}, {kAmpere, kDivide}, {kSecond})},
        {L"N.(m/s)", Make({newton}, {kVel})},
        {L"kg m/s2", Make({kKilogram}, {kAcc})},
        {L"V/deg C", Make({kVolt}, {kDegreeCelsius, kDivide})},
        {L"km/H", Make({kKilometre}, {kHenry, kDivide})},  // a henry as written
        {L"rpm/m", Single(kRevolutionPerMinuteSquared)},
        {L"dB", Single(kAmplitudeDecibel)},
        {L"g", Single(kGram), DIM_MASS},
        {L"rpm", Single(kRevolutionPerMinuteFrequency), DIM_FREQUENCY},
        {L"PA", Single(kPascal), DIM_PRESSURE},  // a hint settles the case
        {L"Hz", Single(kHz), DIM_MASS},          // a hint forbids nothing
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(kvx::ToUtf8(c.text));
        const std::optional<CUnitCtrl> unit = kvx::ParseUnit(c.text, c.hint);
        ASSERT_TRUE(unit.has_value());
        EXPECT_EQ(InfoOf(*unit), InfoOf(c.unit));
    }
}

TEST(ParseUnit, RefusesWhatItCannotRead) {
    // clang-format off
    const std::wstring texts[] = {
        L"furlong", L"PA", L"g/", L"/Hz", L"g//Hz", L"/", L"N..m", L"V.A.s.g.N", L"1.V", L"1 s", L"N-m", L"g+g",
        L"2", L"12", L"(1)/s", L"g3", L"g0", L"g4", L"g22", L"g2\u00B2", L"m 2", L"m/s 2", L"m/s ^2", L"m^/s", L"g^^2",
        L"g^", L"g-", L"g--2", L"g^+2", L"s^-", L"(g2)2", L"(V.g2)2", L"((V.s)4.s)4", L"m-2.s4", L"m\u00B3",
        L"V/A s", L"J/kg K", L"1/s V", L"in mm", L"(in g)", L"g rms",
        L"(g", L"g)", L")g(", L"()", L"(g)(V)", L"g(V)", L"m[s]", std::wstring(200, L'('), std::wstring(257, L' ')};
    // clang-format on
    for (const std::wstring& text : texts)
        EXPECT_FALSE(kvx::ParseUnit(text).has_value()) << kvx::ToUtf8(text);
}

TEST(PlainUnitName, HasNoMarkup) {
    EXPECT_EQ(kvx::PlainUnitName(CUnitCtrl()), L"");
    EXPECT_EQ(kvx::PlainUnitName(Make({kMetrePerSecondSquared, kSquared}, {kHertz, kDivide})), L"(m/s2)2/Hz");
    EXPECT_EQ(kvx::PlainUnitName(CUnitCtrl(kNone, kHertz, 1)), L"1/Hz");
    EXPECT_EQ(kvx::PlainUnitName(CUnitCtrl(kNone, kHertz, 0)), L"Hz");
}

/// What the name of `unit` reads as, which has that name again; parentheses around all of it go.
CUnitCtrl ReadBack(const CUnitCtrl& unit) {
    const std::wstring text = kvx::PlainUnitName(unit);
    CUnitCtrl::DIM_CODE hint;
    unit.GetDimCode(&hint, nullptr, nullptr, nullptr);
    const CUnitCtrl back = kvx::ParseUnit(text, hint).value_or(CUnitCtrl());
    const std::wstring again = kvx::PlainUnitName(back);
    EXPECT_TRUE(again == text || L'(' + again + L')' == text) << kvx::ToUtf8(text);
    return back;
}

void ExpectReadsBack(const CUnitCtrl& unit) {
    const CUnitCtrl back = ReadBack(unit);
    EXPECT_TRUE(back == unit) << kvx::ToUtf8(kvx::PlainUnitName(unit));
    // The two dB rows share name and dimension; what is read back is the first.
    if (InfoOf(unit).members[0].unit == kPowerDecibel) return;
    EXPECT_EQ(back.ConvDtoI(8.5, 1, 1), unit.ConvDtoI(8.5, 1, 1));
}

TEST(PlainUnitName, OfEveryUnitAndEveryFormOfCompoundReadsBack) {
    for (const CUnitCtrl& unit : AllUnits()) ExpectReadsBack(unit);
    const CUnitCtrl::UNIT_CODE units[] = {kAcc, kMmPerSec, kNewtonMetre, kHz, kKilohm, kKelvin};
    const CUnitCtrl::UNIT_CALC flags[] = {CUnitCtrl::CALC_PLAIN, kSquared, kDivide, kSquared | kDivide};
    for (const CUnitCtrl::UNIT_CODE first : units) {
        for (const CUnitCtrl::UNIT_CODE second : units) {
            for (const CUnitCtrl::UNIT_CALC flag1 : flags) {
                ExpectReadsBack(Make({first, flag1}));
                for (const CUnitCtrl::UNIT_CALC flag2 : flags) {
                    const kvx::UnitPart a{first, flag1}, b{second, flag2};
                    ExpectReadsBack(Make(a, b));
                    ExpectReadsBack(Make(a, b, {kMillivolt, flag1}, {kMillisecond, flag2}));
                }
            }
        }
    }
}

TEST(PlainUnitName, OfEveryPairOfUnitsReadsBack) {
    for (const CUnitCtrl& a : AllUnits()) {
        for (const CUnitCtrl& b : AllUnits()) {
            for (const int divide : {0, 1}) ReadBack(CUnitCtrl(a, b, divide));
        }
    }
    for (const auto flags : {kSquared, kDivide, kSquared | kDivide})
        ReadBack(Make({kNone, flags}, {kHz, kDivide}));
}

}  // namespace
