// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/DateTime.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

struct DayCase {
    int year, month, day, hour, minute, second;
    double days;
    int dayOfWeek;  // 1 is Sunday
};

// Day numbers as spreadsheets show them; days of the week from a perpetual calendar.
constexpr DayCase kDayCases[] = {
    {1899, 12, 30, 0, 0, 0, 0.0, 7},      {1899, 12, 29, 6, 0, 0, -1.25, 6},
    {1900, 1, 1, 12, 0, 0, 2.5, 2},       {1970, 1, 1, 0, 0, 0, 25569.0, 5},
    {2000, 2, 29, 18, 0, 0, 36585.75, 3}, {2026, 11, 21, 14, 5, 9, 46347.0 + 50709.0 / 86400.0, 7},
    {100, 1, 1, 0, 0, 0, -657434.0, 6},   {9999, 12, 31, 23, 59, 59, 2958465.0 + 86399.0 / 86400.0, 6},
};

TEST(DateTime, CalendarFieldsAndDayNumbersAgree) {
    for (const DayCase& c : kDayCases) {
        SCOPED_TRACE(c.days);
        const COleDateTime fromFields(c.year, c.month, c.day, c.hour, c.minute, c.second);
        const COleDateTime fromDays(c.days);
        EXPECT_DOUBLE_EQ(fromFields.GetDays(), c.days);
        EXPECT_TRUE(fromFields == fromDays);
        EXPECT_EQ(fromDays.GetYear(), c.year);
        EXPECT_EQ(fromDays.GetMonth(), c.month);
        EXPECT_EQ(fromDays.GetDay(), c.day);
        EXPECT_EQ(fromDays.GetHour(), c.hour);
        EXPECT_EQ(fromDays.GetMinute(), c.minute);
        EXPECT_EQ(fromDays.GetSecond(), c.second);
        EXPECT_EQ(fromDays.GetDayOfWeek(), c.dayOfWeek);
    }
    EXPECT_EQ(COleDateTime(2000, 12, 31, 0, 0, 0).GetDayOfYear(), 366);
}

TEST(DateTime, EverySecondOfADayComesBack) {
    for (int s = 0; s < 86400; ++s) {
        const COleDateTime time(2026, 2, 28, s / 3600, s / 60 % 60, s % 60);
        ASSERT_EQ((time.GetHour() * 60 + time.GetMinute()) * 60 + time.GetSecond(), s);
        ASSERT_EQ(time.GetDay(), 28);
    }
}

TEST(DateTime, ImpossibleDatesAreInvalid) {
    const COleDateTime cases[] = {
        COleDateTime(2026, 2, 29, 0, 0, 0),
        COleDateTime(99, 1, 1, 0, 0, 0),
        COleDateTime(10000, 1, 1, 0, 0, 0),
        COleDateTime(2026, 13, 1, 0, 0, 0),
        COleDateTime(2026, 1, 1, 24, 0, 0),
        COleDateTime(2026, 1, 1, 0, 60, 0),
        COleDateTime(2026, 1, -1, 0, 0, 0),
        COleDateTime(2026, 1, 32, 0, 0, 0),
        COleDateTime(2026, 1, 256 + 1, 0, 0, 0),
        COleDateTime(2026, 256 + 1, 1, 0, 0, 0),
        COleDateTime(65536 + 2026, 1, 1, 0, 0, 0),
        COleDateTime(2958466.0),
        COleDateTime(-657435.0),
        COleDateTime(std::nan("")),
        COleDateTime(std::numeric_limits<double>::infinity()),
    };
    for (const COleDateTime& time : cases) {
        EXPECT_EQ(time.GetStatus(), COleDateTime::invalid);
        EXPECT_EQ(time.GetYear(), -1);
        EXPECT_EQ(time.Format(L"%Y"), L"Invalid DateTime");
    }
    EXPECT_EQ(COleDateTime::GetCurrentTime().GetStatus(), COleDateTime::valid);
}

TEST(DateTime, FormatCodesWithAndWithoutLeadingZeros) {
    const COleDateTime time(2026, 3, 4, 0, 5, 9);
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"%Y/%m/%d %H:%M:%S", L"2026/03/04 00:05:09"},
        {L"%y年%#m月%#d日", L"26年3月4日"},
        {L"%d-%b-%Y", L"04-Mar-2026"},
        {L"%I:%M %p|%#I:%#M", L"12:05 AM|12:5"},
        {L"%A %a %B %j %#j %w", L"Wednesday Wed March 063 63 3"},
        {L"100%% %q %", L"100% %q %"},
        {L"%#", L"%#"},
        {L"", L""},
    };
    for (const auto& [format, text] : cases) EXPECT_EQ(time.Format(format), text);
    EXPECT_EQ(COleDateTime(33, 1, 1, 0, 0, 0).Format(L"%Y"), L"Invalid DateTime");
    EXPECT_EQ(COleDateTime(812, 1, 1, 0, 0, 0).Format(L"%Y %#Y %y"), L"0812 812 12");
}

}  // namespace
