// SPDX-License-Identifier: MIT
#include <KvxRecording01/StartTime.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr int kMostYear = 9999;

bool IsInRange(__int64 seconds) {
    constexpr auto dayOf = [](int year) {
        return sys_days(std::chrono::year(year) / 1 / 1).time_since_epoch().count();
    };
    return seconds >= dayOf(0) * kSecondsPerDay && seconds < dayOf(kMostYear + 1) * kSecondsPerDay;
}

std::optional<StartTime> StartAt(sys_days day, __int64 secondOfDay, __int64 parts) {
    if (secondOfDay < 0 || secondOfDay > kSecondsPerDay || parts < 0 || parts >= StartTime::kPartsPerSecond)
        return std::nullopt;
    const StartTime start = {day.time_since_epoch().count() * kSecondsPerDay + secondOfDay, parts};
    return IsInRange(start.seconds) ? std::optional(start) : std::nullopt;
}

}  // namespace

std::optional<StartTime> StartTime::Later(double bySeconds) const {
    constexpr double kMost = 1e12;
    if (!(std::abs(bySeconds) < kMost)) return std::nullopt;
    // To 15 digits, since a product of a count and a spacing has no more.
    const double magnitude = std::max(1.0, std::abs(bySeconds));
    const int decimals = 14 - static_cast<int>(std::floor(std::log10(magnitude)));
    char text[64];
    const char* const end =
        std::to_chars(text, text + sizeof text, std::abs(bySeconds), std::chars_format::fixed, decimals).ptr;
    const std::optional<TextStamp> by = ReadDecimalStamp({text, static_cast<std::size_t>(end - text)});
    if (!by) return std::nullopt;
    const __int64 sign = bySeconds < 0.0 ? -1 : 1;
    StartTime later = *this;
    later.seconds += sign * by->seconds;
    later.parts += sign * by->parts;
    if (later.parts < 0) {
        --later.seconds;
        later.parts += kPartsPerSecond;
    } else if (later.parts >= kPartsPerSecond) {
        ++later.seconds;
        later.parts -= kPartsPerSecond;
    }
    return IsInRange(later.seconds) ? std::optional(later) : std::nullopt;
}

double StartTime::Since(const StartTime& first) const {
    return TextStamp{seconds, parts}.Since({first.seconds, first.parts});
}

StartTime::Calendar StartTime::Date() const {
    __int64 day = seconds / kSecondsPerDay;
    __int64 second = seconds % kSecondsPerDay;
    if (second < 0) {
        second += kSecondsPerDay;
        --day;
    }
    const sys_days date{days(day)};
    const year_month_day calendar(date);
    const sys_days newYear = calendar.year() / 1 / 1;
    return {static_cast<int>(calendar.year()),
            static_cast<int>(static_cast<unsigned>(calendar.month())),
            static_cast<int>(static_cast<unsigned>(calendar.day())),
            static_cast<int>((date - newYear).count()) + 1,
            static_cast<int>(second / 3600),
            static_cast<int>(second / 60 % 60),
            static_cast<int>(second % 60)};
}

std::string StartTime::Text() const {
    const Calendar date = Date();
    std::string text = Padded(date.year, 4) + "-" + Padded(date.month, 2) + "-" + Padded(date.day, 2) + "T" +
                       Padded(date.hour, 2) + ":" + Padded(date.minute, 2) + ":" + Padded(date.second, 2);
    if (parts > 0) {
        text += "." + Padded(parts, 15);
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + (isUniversal ? "Z" : "");
}

std::optional<StartTime> StartOnDate(int year, int month, int day, __int64 secondOfDay, __int64 parts) {
    if (year < 0 || year > kMostYear || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    const year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day)));
    return date.ok() ? StartAt(date, secondOfDay, parts) : std::nullopt;
}

std::optional<StartTime> StartOnDay(int year, int dayOfYear, __int64 secondOfDay, __int64 parts) {
    if (year < 0 || year > kMostYear || dayOfYear < 1) return std::nullopt;
    const std::chrono::year own(year);
    if (dayOfYear > (own.is_leap() ? 366 : 365)) return std::nullopt;
    return StartAt(sys_days(own / 1 / 1) + days(dayOfYear - 1), secondOfDay, parts);
}

std::optional<StartTime> ParseStartTime(std::string_view text) {
    const std::optional<TextStamp> stamp = ReadDateTime(text);
    if (!stamp || !IsInRange(stamp->seconds)) return std::nullopt;
    return StartTime{stamp->seconds, stamp->parts, stamp->isUniversal};
}

}  // namespace kvx
