// SPDX-License-Identifier: MIT
//
// Times of day and dates in a text table: ISO 8601 date-times, dates and clock stamps.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kvx {

inline constexpr std::int64_t kSecondsPerDay = 86400;

/// A time as it is written: since the first day of 1970 in universal time with a date, since midnight without
/// one.
struct TextStamp {
    std::int64_t seconds = 0;
    std::int64_t parts = 0;  ///< of a second, 1e-15 each
    int decimals = 0;        ///< of its seconds as written

    /// Seconds from `first` to this.
    double Since(const TextStamp& first) const;
    /// The same of times of day: one that is more than half a day earlier is on the next day.
    double SinceOnClock(const TextStamp& first) const;
    /// The moment of a day at this time of day.
    TextStamp On(const TextStamp& day) const { return {seconds + day.seconds, parts, decimals}; }
};

/// "2024-03-01T12:30:05.25Z": a date, a T or a blank, hours and minutes, perhaps seconds with decimals,
/// perhaps the offset from universal time. No value for anything else.
std::optional<TextStamp> ReadDateTime(std::string_view field);

/// "2024-03-01" or "2024/03/01". No value for anything else.
std::optional<TextStamp> ReadDate(std::string_view field);

/// "12:30:05.25", with up to four digits of hours. No value for anything else.
std::optional<TextStamp> ReadClock(std::string_view field);

}  // namespace kvx
