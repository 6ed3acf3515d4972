// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "Units.h"

namespace {

using Suffix = CValConv::UNIT_SUFFIX;

constexpr std::uint32_t kMillimetrePerSecond = 0x00020001;
constexpr std::uint32_t kHertz = 0x02000001;
constexpr std::uint32_t kMillivolt = 0x04000001;
constexpr std::uint32_t kCelsius = 0x05000002;
constexpr std::uint32_t kDegree = 0x07000002;

CString Shown(const CValConv& converter, double x) {
    CString text;
    EXPECT_EQ(converter.ConvDataToString(x, &text), 1);
    return text;
}

TEST(ValConv, TheDefaultShowsThePlainNumber) {
    EXPECT_EQ(Shown(CValConv(), 1.5), L"1.5  ");
}

struct SuffixCase {
    std::uint32_t suffix;
    const wchar_t* unit;
    double toDisplay;
    double toStandard;
};

class ValConvSuffix : public testing::TestWithParam<SuffixCase> {};

TEST_P(ValConvSuffix, GainsAndTextGoTogether) {
    const auto& [code, text, toDisplay, toStandard] = GetParam();
    const CValConv converter(Unit(kMillimetrePerSecond), static_cast<Suffix>(code));
    CString unit;
    EXPECT_EQ(converter.GetUnitString(&unit), 1);
    EXPECT_EQ(unit, text);
    EXPECT_EQ(converter.ConvDtoI(1.0, 0), 1000.0 * toDisplay);
    EXPECT_EQ(converter.ConvItoD(1000.0, 0), toStandard);
    EXPECT_EQ(converter.ConvDtoI(0.25F, 0), 250.0F * static_cast<float>(toDisplay));
    EXPECT_EQ(converter.ConvItoD(250.0F, 0), 0.25F * static_cast<float>(toStandard));

    const std::array<double, 2> held = {1.0, -0.5};
    std::array<double, 2> shown;
    EXPECT_EQ(converter.ConvDtoI(shown.data(), held.data(), 2, 0), 1);
    EXPECT_EQ(shown, (std::array{1000.0 * toDisplay, -500.0 * toDisplay}));
    EXPECT_EQ(converter.ConvItoD(shown.data(), shown.data(), 2, 0), 1);
    EXPECT_EQ(shown, held);
    std::array<float, 2> floats = {1.0F, 2.0F};
    EXPECT_EQ(converter.ConvDtoI(floats.data(), floats.data(), 2, 0), 1);
    EXPECT_EQ(converter.ConvItoD(floats.data(), floats.data(), 2, 0), 1);
    EXPECT_EQ(floats, (std::array{1.0F, 2.0F}));
    EXPECT_EQ(converter.ConvDtoI(nullptr, held.data(), 2, 0), 0);
    EXPECT_EQ(converter.ConvItoD(shown.data(), shown.data(), -1, 0), 0);
}

INSTANTIATE_TEST_SUITE_P(All, ValConvSuffix,
                         testing::Values(SuffixCase{1, L"mm/s", 1.0, 1.0},
                                         SuffixCase{2, L"mm/s#l 0-p#n", 1.0, 1.0},
                                         SuffixCase{3, L"mm/s#l p-p#n", 2.0, 0.5},
                                         SuffixCase{4, L"mm/s#l rms#n", 1.0, 1.0}));

TEST(ValConv, AnUnknownSuffixChangesNothing) {
    CValConv converter(Unit(kMillimetrePerSecond), CValConv::SUFFIX_PEAK_TO_PEAK);
    for (const std::uint32_t suffix : {0U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(converter.SetUnitSuffix(static_cast<Suffix>(suffix)), 0);
        EXPECT_EQ(CValConv(CUnitCtrl(), static_cast<Suffix>(suffix)).GetUnitSuffix(), CValConv::SUFFIX_NONE);
    }
    EXPECT_EQ(Shown(converter, 1.0), L"2000 mm/s#l p-p#n");
}

TEST(ValConv, EachDimensionHasItsCustomarySuffix) {
    for (const std::uint32_t dim : kDimensions) {
        const int expected = dim <= 0x00020000 ? 2 : dim == 0x00030000 ? 3 : 1;
        EXPECT_EQ(CValConv::GetUnitSuffixCode(Dim(dim)), expected) << dim;
    }
}

TEST(ValConv, FewUnitsBringAFormatOfTheirOwn) {
    for (const CUnitCtrl& unit : AllUnits()) {
        const std::uint32_t code = InfoOf(unit).members[0].unit;
        const std::uint32_t dim = code & 0xFFFF0000;
        const CString expected = dim == 0x02000000                                                ? L"%.2f"
                                 : dim == 0x04000000                                              ? L"%.1f"
                                 : code == 0x06000002 || code == 0x06000003 || code == 0x07000002 ? L"%6.2f"
                                                                                                  : L"";
        EXPECT_EQ(CValConv(unit, CValConv::SUFFIX_NONE).GetFmt(), expected) << code;
    }
    EXPECT_EQ(CValConv(CUnitCtrl(Unit(kHertz), Unit(kMillivolt), 1), CValConv::SUFFIX_NONE).GetFmt(), L"");
}

TEST(ValConv, AFormatOnceSetStays) {
    CValConv converter;
    EXPECT_EQ(converter.SetUnitCode(Unit(kHertz)), 1);
    EXPECT_EQ(Shown(converter, 50.0), L"50.00 Hz");
    EXPECT_EQ(converter.SetFmt(nullptr), 0);
    EXPECT_EQ(converter.SetUnitCode(Unit(kMillivolt)), 1);
    EXPECT_EQ(Shown(converter, 0.5), L"500.00 mV");
    EXPECT_EQ(converter.SetFmt(L"%g"), 1);
    EXPECT_EQ(converter.SetUnitCode(Unit(kHertz)), 1);
    EXPECT_EQ(Shown(converter, 50.0), L"50 Hz");
    const CValConv copy = converter;
    EXPECT_EQ(converter.SetFmt(L""), 1);
    EXPECT_EQ(converter.SetUnitCode(Unit(kDegree)), 1);
    EXPECT_EQ(Shown(converter, 0.0), L"  0.00 degree");
    EXPECT_EQ(Shown(copy, 50.0), L"50 Hz");
}

TEST(ValConv, ValueAndUnitCanBeHadApart) {
    const CValConv converter(Unit(kMillimetrePerSecond), CValConv::SUFFIX_RMS);
    CString value;
    CString unit;
    EXPECT_EQ(converter.ConvDataToString(0.0005, &value, &unit, "de_DE"), 1);
    EXPECT_EQ(value, L"0,5");
    EXPECT_EQ(unit, L"mm/s#l rms#n");
    EXPECT_EQ(converter.ConvDataToString(kvx::kNoValue<double>, &value, nullptr, nullptr), 1);
    EXPECT_EQ(value, L"---");
    EXPECT_EQ(converter.ConvDataToString(1.0, nullptr, &unit, nullptr), 0);
    EXPECT_EQ(converter.ConvTempDataToString(1.0, nullptr), 0);
    EXPECT_EQ(converter.GetUnitString(nullptr), 0);
}

TEST(ValConv, OnlyAbsoluteTemperaturesAreShifted) {
    const CValConv converter(Unit(kCelsius), CValConv::SUFFIX_NONE);
    CString text;
    EXPECT_EQ(Shown(converter, 20.0), L"20 \uFF9FC");
    EXPECT_EQ(converter.ConvTempDataToString(293.15, &text), 1);
    EXPECT_EQ(text, L"20 \uFF9FC");
    EXPECT_EQ(converter.ConvTempDataToString(273.65, &text, nullptr, "German"), 1);
    EXPECT_EQ(text, L"0,5");
}

CString DateTime(const COleDateTime& t, int df, int tf, int fourDigitYear, int twentyFourHour) {
    CString both = L"none";
    const int done =
        CValConv::GetDateTimeString(&both, t, static_cast<CValConv::DATE_FORMAT>(df),
                                    static_cast<CValConv::TIME_FORMAT>(tf), fourDigitYear, twentyFourHour);
    return done ? both : both + L", refused";
}

TEST(DateTimeString, EveryDateAndTimeFormHasItsText) {
    const std::array<std::pair<const wchar_t*, const wchar_t*>, 6> dates = {{{L"2026/03/04", L"26/03/04"},
                                                                             {L"2026-03-04", L"26-03-04"},
                                                                             {L"2026.03.04", L"26.03.04"},
                                                                             {L"2026年3月4日", L"26年3月4日"},
                                                                             {L"04-03-2026", L"04-03-26"},
                                                                             {L"04-Mar-2026", L"04-Mar-26"}}};
    const struct {
        int hour;
        std::array<const wchar_t*, 4> texts;  // western and Japanese: 24 hours, 12 hours
    } times[] = {
        {14, {L"14:05:09", L"14時5分09秒", L"02:05:09 PM", L"午後2時5分9秒"}},
        {9, {L"09:05:09", L"9時5分09秒", L"09:05:09 AM", L"午前9時5分9秒"}},
        {12, {L"12:05:09", L"12時5分09秒", L"12:05:09 PM", L"午後12時5分9秒"}},
        {0, {L"00:05:09", L"0時5分09秒", L"12:05:09 AM", L"午前12時5分9秒"}},
    };
    for (std::size_t d = 0; d < dates.size(); ++d) {
        for (const auto& [hour, texts] : times) {
            const COleDateTime t(2026, 3, 4, hour, 5, 9);
            const int df = 101 + static_cast<int>(d);
            const std::wstring blank = L" ";
            EXPECT_EQ(DateTime(t, df, 201, 1, 1), dates[d].first + blank + texts[0]);
            EXPECT_EQ(DateTime(t, df, 202, 1, 1), dates[d].first + blank + texts[1]);
            EXPECT_EQ(DateTime(t, df, 201, 0, 0), dates[d].second + blank + texts[2]);
            EXPECT_EQ(DateTime(t, df, 202, 0, 0), dates[d].second + blank + texts[3]);
        }
    }
}

TEST(DateTimeString, WhatIsNoTimeCountsAsMorning) {
    const COleDateTime invalid(2026, 2, 30, 14, 0, 0);
    COleDateTime null;
    null.SetStatus(COleDateTime::null);
    EXPECT_EQ(DateTime(invalid, 101, 201, 1, 1), L"Invalid DateTime Invalid DateTime");
    EXPECT_EQ(DateTime(invalid, 101, 202, 1, 0), L"Invalid DateTime 午前Invalid DateTime");
    EXPECT_EQ(DateTime(null, 101, 201, 1, 0), L"  AM");
}

TEST(DateTimeString, UnknownFormatsAreRefusedAndNullOutputsSkipped) {
    const COleDateTime t(2026, 3, 4, 14, 5, 9);
    for (const int df : {100, 107, 0}) EXPECT_EQ(DateTime(t, df, 201, 1, 1), L"none, refused");
    for (const int tf : {200, 203, 0}) EXPECT_EQ(DateTime(t, 101, tf, 1, 1), L"none, refused");
    const auto unknownDate = static_cast<CValConv::DATE_FORMAT>(107);
    CString date;
    CString time;
    EXPECT_EQ(CValConv::GetDateTimeString(nullptr, &time, t, unknownDate, CValConv::TIME_WESTERN, 1, 1), 1);
    EXPECT_EQ(time, L"14:05:09");
    EXPECT_EQ(
        CValConv::GetDateTimeString(&date, nullptr, t, CValConv::DATE_DOTS, CValConv::TIME_WESTERN, 0, 1), 1);
    EXPECT_EQ(date, L"26.03.04");
    EXPECT_EQ(CValConv::GetDateTimeString(nullptr, t, CValConv::DATE_DOTS, CValConv::TIME_WESTERN, 0, 1), 0);
}

}  // namespace
