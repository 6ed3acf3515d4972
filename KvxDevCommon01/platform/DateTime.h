// SPDX-License-Identifier: MIT
//
// COleDateTime: a date and time as days since 30 December 1899, with a status that says whether it is one.
#pragma once

#include <ctime>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>

/// A point in local time from 1 January 100 to 31 December 9999, held as days since 30 December 1899 with the
/// time of day as the fraction (before that day the fraction still counts forward from midnight). A value
/// type.
class KVX_API COleDateTime {
public:
    enum DateTimeStatus { error = -1, valid = 0, invalid = 1, null = 2 };

    /// Midnight of 30 December 1899, valid.
    COleDateTime() = default;
    /// The date of a day number; invalid when it lies outside the range.
    explicit COleDateTime(double days);
    /// A calendar date and time; invalid unless every field is in its range.
    COleDateTime(int year, int month, int day, int hour, int minute, int second);

    /// A time of the host's clock (seconds since 1970) as local time; invalid outside the range of dates.
    static COleDateTime FromHostTime(std::time_t seconds);
    /// Now, in local time.
    static COleDateTime GetCurrentTime();

    DateTimeStatus GetStatus() const { return status_; }
    void SetStatus(DateTimeStatus status) { status_ = status; }
    /// Days since 30 December 1899.
    double GetDays() const { return days_; }

    // Calendar fields; -1 when the date is not valid.
    int GetYear() const;
    int GetMonth() const;      ///< 1 to 12
    int GetDay() const;        ///< 1 to 31
    int GetHour() const;       ///< 0 to 23
    int GetMinute() const;     ///< 0 to 59
    int GetSecond() const;     ///< 0 to 59
    int GetDayOfWeek() const;  ///< 1 (Sunday) to 7
    int GetDayOfYear() const;  ///< 1 to 366

    /// Formats with the codes %a %A %b %B %d %H %I %j %m %M %p %S %w %y %Y and %%, each with an optional #
    /// that drops leading zeros; names of days and months are English. Any other code stands as written. An
    /// invalid date gives "Invalid DateTime", a null one an empty text.
    CString Format(std::wstring_view format) const;

    /// Equal status and, for valid dates, equal time to the half second that the fields resolve.
    bool operator==(const COleDateTime& other) const;

private:
    double days_ = 0.0;
    DateTimeStatus status_ = valid;
};
