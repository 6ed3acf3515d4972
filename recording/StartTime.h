// SPDX-License-Identifier: MIT
//
// When the first sample of a run was taken: a date and a time of day to the last digit that a file states. A
// value type.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/Export.h>

namespace kvx {

struct KVX_RECORDING_API StartTime {
    /// The same by the calendar.
    struct Calendar {
        int year = 1970;  ///< 0 to 9999
        int month = 1;
        int day = 1;
        int dayOfYear = 1;
        int hour = 0;
        int minute = 0;
        int second = 0;

        int SecondOfDay() const { return 3600 * hour + 60 * minute + second; }
    };
    static constexpr __int64 kPartsPerSecond = 1'000'000'000'000'000;

    __int64 seconds = 0;       ///< since 1970 began, without leap seconds
    __int64 parts = 0;         ///< of a second, 1e-15 s each, 0 or more and less than a second
    bool isUniversal = false;  ///< whether it is universal time (UTC); else on a clock of an unknown zone

    bool operator==(const StartTime&) const = default;

    /// So many seconds later, to 15 digits; no value outside of the years 0 to 9999.
    std::optional<StartTime> Later(double bySeconds) const;
    /// Seconds from `first` to this.
    double Since(const StartTime& first) const;
    Calendar Date() const;
    /// By ISO 8601, with as many decimals as there are: "2024-03-01T12:30:05.25Z", without the Z where the
    /// zone is unknown.
    std::string Text() const;
};

/// The time of a calendar date, of which the second may be 60; no value for what is none. `parts` as in
/// StartTime.
KVX_RECORDING_API std::optional<StartTime> StartOnDate(int year, int month, int day, __int64 secondOfDay,
                                                       __int64 parts = 0);
/// The same by the day of the year, from 1.
KVX_RECORDING_API std::optional<StartTime> StartOnDay(int year, int dayOfYear, __int64 secondOfDay,
                                                      __int64 parts = 0);

/// Reads what StartTime::Text writes, also with an offset from universal time or with the day of the year
/// ("1989-291T00:04:00"). No value for anything else.
KVX_RECORDING_API std::optional<StartTime> ParseStartTime(std::string_view text);

}  // namespace kvx
