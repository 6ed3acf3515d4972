// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "Units.h"

namespace {

using Suffix = CValConv::UNIT_SUFFIX;

CString Shown(const CValConv& converter, double x) {
    CString text;
    EXPECT_EQ(converter.ConvDataToString(x, &text), 1);
    return text;
}

TEST(ValConv, GainsAndTextFollowTheSuffix) {
    const struct {
        Suffix suffix;
        const wchar_t* unit;
        double toShown;
    } cases[] = {
        {CValConv::SUFFIX_NONE, L"mm/s", 1.0},
        {CValConv::SUFFIX_ZERO_TO_PEAK, L"mm/s#l 0-p#n", 1.0},
        {CValConv::SUFFIX_PEAK_TO_PEAK, L"mm/s#l p-p#n", 2.0},
        {CValConv::SUFFIX_RMS, L"mm/s#l rms#n", 1.0},
    };
    for (const auto& [suffix, text, toShown] : cases) {
        const CValConv converter(kMmPerSec, suffix);
        CString unit;
        EXPECT_EQ(converter.GetUnitString(&unit), 1);
        EXPECT_EQ(unit, text);
        EXPECT_EQ(converter.ConvDtoI(0.25, 0), 250.0 * toShown);
        EXPECT_EQ(converter.ConvItoD(250.0, 0), 0.25 / toShown);
        EXPECT_EQ(converter.ConvDtoI(0.25F, 0), 250.0 * toShown);
        EXPECT_EQ(converter.ConvItoD(250.0F, 0), 0.25 / toShown);

        const std::array<double, 2> held = {1.0, -0.5};
        std::array<double, 2> shown;
        EXPECT_EQ(converter.ConvDtoI(shown.data(), held.data(), 2, 0), 1);
        EXPECT_EQ(shown, (std::array{1000.0 * toShown, -500.0 * toShown}));
        EXPECT_EQ(converter.ConvItoD(shown.data(), shown.data(), 2, 0), 1);
        EXPECT_EQ(shown, held);
        float value = 0.25F;
        EXPECT_EQ(converter.ConvDtoI(&value, &value, 1, 0), 1);
        EXPECT_EQ(value, 250.0 * toShown);
        EXPECT_EQ(converter.ConvItoD(&value, &value, 1, 0), 1);
        EXPECT_EQ(value, 0.25);
    }
}

TEST(ValConv, AnUnknownSuffixChangesNothing) {
    CValConv converter(kMmPerSec, CValConv::SUFFIX_PEAK_TO_PEAK);
    for (const std::uint32_t suffix : {0U, 5U}) {
        EXPECT_EQ(converter.SetUnitSuffix(static_cast<Suffix>(suffix)), 0);
        EXPECT_EQ(CValConv(CUnitCtrl(), static_cast<Suffix>(suffix)).GetUnitSuffix(), CValConv::SUFFIX_NONE);
    }
    EXPECT_EQ(Shown(converter, 1.0), L"2000 mm/s#l p-p#n");
    EXPECT_EQ(Shown(CValConv(), 1.5), L"1.5  ") << "no unit is a blank";
}

TEST(ValConv, EachDimensionHasItsCustomarySuffix) {
    for (const CUnitCtrl::DIM_CODE dim : kDimensions) {
        const int expected = dim <= DIM_VELOCITY ? 2 : dim == DIM_DISPLACEMENT ? 3 : 1;
        EXPECT_EQ(CValConv::GetUnitSuffixCode(dim), expected) << dim;
    }
}

TEST(ValConv, FewUnitsBringAFormatOfTheirOwn) {
    const std::pair<CUnitCtrl::UNIT_CODE, const wchar_t*> cases[] = {{kRevolutionPerMinuteFrequency, L"%.2f"},
                                                                     {kMillivolt, L"%.1f"},
                                                                     {kPercent, L""},
                                                                     {kAmplitudeDecibel, L"%6.2f"},
                                                                     {kPowerDecibel, L"%6.2f"},
                                                                     {kDegree, L"%6.2f"},
                                                                     {kRadian, L""},
                                                                     {kG, L""}};
    for (const auto& [unit, format] : cases)
        EXPECT_EQ(CValConv(unit, CValConv::SUFFIX_NONE).GetFmt(), format) << unit;
    for (const CUnitCtrl::UNIT_CODE unit : {kHz, kDegree})
        EXPECT_EQ(CValConv(Make({unit}, {kSecond}), CValConv::SUFFIX_NONE).GetFmt(), L"") << unit;
}

TEST(ValConv, AFormatOnceSetStays) {
    CValConv converter;
    EXPECT_EQ(converter.SetUnitCode(kHz), 1);
    EXPECT_EQ(Shown(converter, 50.0), L"50.00 Hz");
    EXPECT_EQ(converter.SetFmt(nullptr), 0);
    EXPECT_EQ(converter.SetUnitCode(kMillivolt), 1);
    EXPECT_EQ(Shown(converter, 0.5), L"500.00 mV");
    EXPECT_EQ(converter.SetFmt(L"%g"), 1);
    EXPECT_EQ(converter.SetUnitCode(kHz), 1);
    EXPECT_EQ(Shown(converter, 50.0), L"50 Hz");
    EXPECT_EQ(converter.SetFmt(L""), 1);
    EXPECT_EQ(converter.SetUnitCode(kDegree), 1);
    EXPECT_EQ(Shown(converter, 0.0), L"  0.00 degree");
}

TEST(ValConv, ValueAndUnitCanBeHadApart) {
    const CValConv converter(kMmPerSec, CValConv::SUFFIX_RMS);
    CString value;
    CString unit;
    EXPECT_EQ(converter.ConvDataToString(0.0005, &value, &unit, "de_DE"), 1);
    EXPECT_EQ(value, L"0,5");
    EXPECT_EQ(unit, L"mm/s#l rms#n");
    EXPECT_EQ(converter.ConvDataToString(kvx::kNoValue<double>, &value, nullptr, nullptr), 1);
    EXPECT_EQ(value, L"---");
    EXPECT_EQ(converter.ConvDataToString(1.0, nullptr, &unit, nullptr), 0);
    EXPECT_EQ(converter.GetUnitString(nullptr), 0);
}

TEST(ValConv, OnlyAbsoluteTemperaturesAreShifted) {
    const CValConv converter(kDegreeCelsius, CValConv::SUFFIX_NONE);
    CString text;
    EXPECT_EQ(Shown(converter, 20.0), L"20 \uFF9FC");
    EXPECT_EQ(converter.ConvTempDataToString(293.15, &text), 1);
    EXPECT_EQ(text, L"20 \uFF9FC");
    EXPECT_EQ(converter.ConvTempDataToString(273.65, &text, nullptr, "German"), 1);
    EXPECT_EQ(text, L"0,5");
    EXPECT_EQ(converter.ConvTempDataToString(1.0, nullptr), 0);
}

CString DateTime(const COleDateTime& t, int df, int tf, int fourDigitYear, int twentyFourHour) {
    CString both = L"none";
    const int done =
        CValConv::GetDateTimeString(&both, t, static_cast<CValConv::DATE_FORMAT>(df),
                                    static_cast<CValConv::TIME_FORMAT>(tf), fourDigitYear, twentyFourHour);
    return done ? both : both + L", refused";
}

TEST(DateTimeString, EveryDateAndTimeFormHasItsText) {
    const std::pair<std::wstring, std::wstring> dates[] = {
        {L"2026/03/04", L"26/03/04"},     {L"2026-03-04", L"26-03-04"}, {L"2026.03.04", L"26.03.04"},
        {L"2026年3月4日", L"26年3月4日"}, {L"04-03-2026", L"04-03-26"}, {L"04-Mar-2026", L"04-Mar-26"},
    };
    const struct {
        int hour;
        std::array<const wchar_t*, 4> texts;  // western and Japanese: 24 hours, 12 hours
    } times[] = {
        {14, {L" 14:05:09", L" 14時5分09秒", L" 02:05:09 PM", L" 午後2時5分9秒"}},
        {9, {L" 09:05:09", L" 9時5分09秒", L" 09:05:09 AM", L" 午前9時5分9秒"}},
        {12, {L" 12:05:09", L" 12時5分09秒", L" 12:05:09 PM", L" 午後12時5分9秒"}},
        {0, {L" 00:05:09", L" 0時5分09秒", L" 12:05:09 AM", L" 午前12時5分9秒"}},
    };
    int df = CValConv::DATE_SLASHES;
    for (const auto& [longDate, shortDate] : dates) {
        for (const auto& [hour, texts] : times) {
            const COleDateTime t(2026, 3, 4, hour, 5, 9);
            EXPECT_EQ(DateTime(t, df, 201, 1, 1), longDate + texts[0]);
            EXPECT_EQ(DateTime(t, df, 202, 1, 1), longDate + texts[1]);
            EXPECT_EQ(DateTime(t, df, 201, 0, 0), shortDate + texts[2]);
            EXPECT_EQ(DateTime(t, df, 202, 0, 0), shortDate + texts[3]);
        }
        ++df;
    }
}

TEST(DateTimeString, WhatIsNoTimeCountsAsMorning) {
    const COleDateTime invalid(2026, 2, 30, 14, 0, 0);
    EXPECT_EQ(DateTime(invalid, 101, 202, 1, 0), L"Invalid DateTime 午前Invalid DateTime");
}

TEST(DateTimeString, UnknownFormatsAreRefusedAndNullOutputsSkipped) {
    const COleDateTime t(2026, 3, 4, 14, 5, 9);
    for (const int df : {100, 107}) EXPECT_EQ(DateTime(t, df, 201, 1, 1), L"none, refused");
    for (const int tf : {200, 203}) EXPECT_EQ(DateTime(t, 101, tf, 1, 1), L"none, refused");
    constexpr auto dots = CValConv::DATE_DOTS;
    constexpr auto western = CValConv::TIME_WESTERN;
    CString text;
    EXPECT_EQ(CValConv::GetDateTimeString(nullptr, &text, t, CValConv::DATE_FORMAT{107}, western, 1, 1), 1);
    EXPECT_EQ(text, L"14:05:09");
    EXPECT_EQ(CValConv::GetDateTimeString(&text, nullptr, t, dots, western, 0, 1), 1);
    EXPECT_EQ(text, L"26.03.04");
    EXPECT_EQ(CValConv::GetDateTimeString(nullptr, t, dots, western, 0, 1), 0);
}

}  // namespace
