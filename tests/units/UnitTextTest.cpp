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
        {L"m/s#u2#n", 0x00010004},    {L"m/s\u00B2", 0x00010004}, {L"m/s^2", 0x00010004},
        {L" m / s2 ", 0x00010004},    {L"um", 0x00030009},        {L"\u00B5m", 0x00030009},
        {L"\u03BCm", 0x00030009},     {L"usec", 0x0100000D},      {L"degC", 0x05000002},
        {L"\u00B0C", 0x05000002},     {L"\u2103", 0x05000002},    {L"\uFF9FC", 0x05000002},
        {L"deg C", 0x05000002},       {L"K", 0x05000001},         {L"N.m", 0x12000001},
        {L"N*m", 0x12000001},         {L"N\u30FBm", 0x12000001},  {L"N\u00B7m", 0x12000001},
        {L"Nm", 0x12000001},          {L"kgf.m", 0x12000003},     {L"g.cm2", 0x13000001},
        {L"Ohm", 0x0C000002},         {L"MOhm", 0x0C000004},      {L"mohm", 0x0C000001},
        {L"k\u2126", 0x0C000003},     {L"ft", 0x00030005},        {L"in/s", 0x00020006},
        {L"mph", 0x0002000C},         {L"deg/s2", 0x00070002},    {L"\u00B0", 0x07000003},
        {L"microstrain", 0x00050002},
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
        L"furlong", L"PA", L"2", L"g3", L"g-1", L"(g2)2", L"g/", L"/Hz", L"g//Hz", L"V.A.s.g.N",
        L"(g", L"g)", L")g(", L"()", L"(g)(V)", std::wstring(200, L'('), std::wstring(257, L' ')};
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

void ExpectReadsBack(const CUnitCtrl& unit) {
    const std::wstring text = kvx::PlainUnitName(unit);
    SCOPED_TRACE(kvx::ToUtf8(text));
    CUnitCtrl::DIM_CODE hint;
    unit.GetDimCode(&hint, nullptr, nullptr, nullptr);
    const std::optional<CUnitCtrl> back = kvx::ParseUnit(text, hint);
    ASSERT_TRUE(back.has_value());
    EXPECT_TRUE(*back == unit);
    // The two dB rows share name and dimension; what is read back is the first.
    if (InfoOf(unit).members[0].unit == 0x06000003) return;
    EXPECT_EQ(back->ConvDtoI(8.5, 1, 1), unit.ConvDtoI(8.5, 1, 1));
    EXPECT_EQ(kvx::PlainUnitName(*back), text);
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

}  // namespace
