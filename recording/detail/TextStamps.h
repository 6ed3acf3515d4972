// SPDX-License-Identifier: MIT
//
// Times of day and dates in a text table: ISO 8601 date-times, dates and clock stamps.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include <KvxRecording01/Statements.h>

namespace kvx {

inline constexpr std::int64_t kSecondsPerDay = 86400;

/// A time as it is written: since the first day of 1970 in universal time with a date, since midnight without
/// one.
struct TextStamp {
    std::int64_t seconds = 0;
    std::int64_t parts = 0;    ///< of a second, 1e-15 each
    int decimals = 0;          ///< of its seconds as written
    bool isUniversal = false;  ///< whether its zone is written

    /// Seconds from `first` to this.
    double Since(const TextStamp& first) const;
    /// The same of times of day: one that is more than half a day earlier is on the next day.
    double SinceOnClock(const TextStamp& first) const;
    /// The moment of a day at this time of day.
    TextStamp On(const TextStamp& day) const { return {seconds + day.seconds, parts, decimals}; }
};

/// "2024-03-01", "2024/03/01", "2024-061" (the day of the year), "25.12.2024", or "25/12/2024" and
/// "12/25/2024", whose order is taken from `order`, else from a number above 12, else with the day first. No
/// value for anything else.
std::optional<TextStamp> ReadDate(std::string_view field, std::optional<DateOrder> order = std::nullopt);

/// "2024-03-01T12:30:05.25Z": a date, a T or a blank, hours and minutes, perhaps seconds with decimals,
/// perhaps the offset from universal time. No value for anything else.
std::optional<TextStamp> ReadDateTime(std::string_view field, std::optional<DateOrder> order = std::nullopt);

/// Whether a date at the front of a field may begin with its day as with its month: "03/04/2024", also with a
/// number above 12.
bool NeedsDateOrder(std::string_view field);
/// What such a date says of its order by a number above 12.
std::optional<DateOrder> OrderOf(std::string_view field);

/// A plain decimal number to its last digit, as a count of what it counts: "1709296205.123". Whole
/// numbers within 64 bits and the first 15 decimals; no value for anything else.
std::optional<TextStamp> ReadDecimalStamp(std::string_view field);

/// "12:30:05.25", with up to four digits of hours. No value for anything else.
std::optional<TextStamp> ReadClock(std::string_view field);

}  // namespace kvx
