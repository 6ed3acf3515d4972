// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/DateTime.h>

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <string>

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr int kTmYearZero = 1900;
constexpr int kLastYear = 9999;
constexpr double kSecondsPerDay = 86400.0;
constexpr double kHalfSecond = 0.5 / kSecondsPerDay;
constexpr sys_days kDayZero = sys_days(std::chrono::year(1899) / 12 / 30);
constexpr sys_days kFirstDay = sys_days(std::chrono::year(100) / 1 / 1);
constexpr sys_days kLastDay = sys_days(std::chrono::year(kLastYear) / 12 / 31);

constexpr std::array<const wchar_t*, 7> kDayNames = {L"Sunday",   L"Monday", L"Tuesday", L"Wednesday",
                                                     L"Thursday", L"Friday", L"Saturday"};
constexpr std::array<const wchar_t*, 12> kMonthNames = {L"January",   L"February", L"March",    L"April",
                                                        L"May",       L"June",     L"July",     L"August",
                                                        L"September", L"October",  L"November", L"December"};

struct Fields {
    sys_days day;
    year_month_day date;
    int hour;
    int minute;
    int second;
};

/// Days since day zero on a line without the fold: before day zero the fraction still counts forward.
double LinearDays(double oleDays) {
    const double whole = std::trunc(oleDays);
    return whole + std::abs(oleDays - whole);
}

double OleDays(sys_days day, int secondOfDay) {
    const auto whole = static_cast<double>((day - kDayZero).count());
    const double fraction = secondOfDay / kSecondsPerDay;
    return whole < 0.0 ? whole - fraction : whole + fraction;
}

Fields FieldsOf(double oleDays) {
    const double seconds = std::floor(LinearDays(oleDays) * kSecondsPerDay + 0.5);
    const double whole = std::floor(seconds / kSecondsPerDay);
    const int secondOfDay = static_cast<int>(seconds - whole * kSecondsPerDay);
    const sys_days day = kDayZero + days(static_cast<int>(whole));
    return {day, year_month_day(day), secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60};
}

int DayOfWeek(const Fields& fields) {
    return static_cast<int>(std::chrono::weekday(fields.day).c_encoding());
}

int DayOfYear(const Fields& fields) {
    return static_cast<int>((fields.day - sys_days(fields.date.year() / 1 / 1)).count()) + 1;
}

std::wstring Number(int value, int width, bool noLeadingZeros) {
    std::wstring digits = std::to_wstring(value);
    const auto wanted = static_cast<std::size_t>(width);
    if (!noLeadingZeros && digits.size() < wanted) digits.insert(0, wanted - digits.size(), L'0');
    return digits;
}

/// The text of one format code; empty for a code that is not known.
std::wstring FormatCode(wchar_t code, bool plain, const Fields& fields) {
    const int year = static_cast<int>(fields.date.year());
    const auto month = static_cast<int>(static_cast<unsigned>(fields.date.month()));
    const auto day = static_cast<int>(static_cast<unsigned>(fields.date.day()));
    const std::wstring dayName = kDayNames[static_cast<std::size_t>(DayOfWeek(fields))];
    const std::wstring monthName = kMonthNames[static_cast<std::size_t>(month - 1)];
    switch (code) {
        case L'a':
            return dayName.substr(0, 3);
        case L'A':
            return dayName;
        case L'b':
            return monthName.substr(0, 3);
        case L'B':
            return monthName;
        case L'd':
            return Number(day, 2, plain);
        case L'H':
            return Number(fields.hour, 2, plain);
        case L'I':
            return Number((fields.hour + 11) % 12 + 1, 2, plain);
        case L'j':
            return Number(DayOfYear(fields), 3, plain);
        case L'm':
            return Number(month, 2, plain);
        case L'M':
            return Number(fields.minute, 2, plain);
        case L'p':
            return fields.hour < 12 ? L"AM" : L"PM";
        case L'S':
            return Number(fields.second, 2, plain);
        case L'w':
            return Number(DayOfWeek(fields), 1, plain);
        case L'y':
            return Number(year % 100, 2, plain);
        case L'Y':
            return Number(year, 4, plain);
        case L'%':
            return L"%";
        default:
            return {};
    }
}

}  // namespace

COleDateTime::COleDateTime(double oleDays) : days_(oleDays) {
    const auto first = static_cast<double>((kFirstDay - kDayZero).count());
    const auto end = static_cast<double>((kLastDay - kDayZero).count() + 1);
    const double line = LinearDays(oleDays);
    if (!(line >= first && line < end - kHalfSecond)) status_ = invalid;
}

COleDateTime::COleDateTime(int year, int month, int day, int hour, int minute, int second) {
    const year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day)));
    // The calendar's types keep no more than the low bits of a number out of range.
    const bool isDate =
        year >= 100 && year <= kLastYear && month >= 1 && month <= 12 && day >= 1 && day <= 31 && date.ok();
    if (!isDate || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
        status_ = invalid;
        return;
    }
    days_ = OleDays(sys_days(date), (hour * 60 + minute) * 60 + second);
}

COleDateTime COleDateTime::FromHostTime(std::time_t seconds) {
    std::tm local = {};
    if (::localtime_r(&seconds, &local) == nullptr || local.tm_year > kLastYear - kTmYearZero) {
        COleDateTime unknown;
        unknown.SetStatus(invalid);
        return unknown;
    }
    // A leap second has no place of its own in the day.
    const int second = local.tm_sec > 59 ? 59 : local.tm_sec;
    return COleDateTime(local.tm_year + kTmYearZero, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                        local.tm_min, second);
}

COleDateTime COleDateTime::GetCurrentTime() {
    return FromHostTime(std::time(nullptr));
}

int COleDateTime::GetYear() const {
    return status_ == valid ? static_cast<int>(FieldsOf(days_).date.year()) : -1;
}

int COleDateTime::GetMonth() const {
    return status_ == valid ? static_cast<int>(static_cast<unsigned>(FieldsOf(days_).date.month())) : -1;
}

int COleDateTime::GetDay() const {
    return status_ == valid ? static_cast<int>(static_cast<unsigned>(FieldsOf(days_).date.day())) : -1;
}

int COleDateTime::GetHour() const {
    return status_ == valid ? FieldsOf(days_).hour : -1;
}

int COleDateTime::GetMinute() const {
    return status_ == valid ? FieldsOf(days_).minute : -1;
}

int COleDateTime::GetSecond() const {
    return status_ == valid ? FieldsOf(days_).second : -1;
}

int COleDateTime::GetDayOfWeek() const {
    return status_ == valid ? DayOfWeek(FieldsOf(days_)) + 1 : -1;
}

int COleDateTime::GetDayOfYear() const {
    return status_ == valid ? DayOfYear(FieldsOf(days_)) : -1;
}

CString COleDateTime::Format(std::wstring_view format) const {
    if (status_ == null) return {};
    if (status_ != valid) return L"Invalid DateTime";
    const Fields fields = FieldsOf(days_);
    CString text;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != L'%') {
            text += format[i];
            continue;
        }
        const std::size_t start = i++;
        const bool plain = i < format.size() && format[i] == L'#';
        if (plain) ++i;
        const std::wstring piece = i < format.size() ? FormatCode(format[i], plain, fields) : std::wstring();
        text += piece.empty() ? std::wstring(format.substr(start, i + 1 - start)) : piece;
    }
    return text;
}

bool COleDateTime::operator==(const COleDateTime& other) const {
    if (status_ != other.status_) return false;
    return status_ != valid || std::abs(LinearDays(days_) - LinearDays(other.days_)) < kHalfSecond;
}
