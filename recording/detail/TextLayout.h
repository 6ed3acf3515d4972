// SPDX-License-Identifier: MIT
//
// What the columns of a text are, from what stands above its numbers.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/detail/TextNumbers.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {

/// What the fields of a column hold.
enum class FieldKind : char {
    number,
    complexNumber,
    dateTime,      ///< date and time of day
    date,          ///< a day
    dateAndClock,  ///< a day, with the time of day in the next column
    clock,         ///< a time of day, which begins again at midnight
    text,          ///< no number in any row
    empty,         ///< nothing in any row
};

inline bool IsStamp(FieldKind kind) {
    return kind >= FieldKind::dateTime && kind <= FieldKind::clock;
}

inline constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

struct TextLayout {
    char separator = kNone;
    std::size_t skipped = 0;  ///< leading fields that hold nothing
    std::size_t columns = 0;  ///< the time column included
    bool extraIgnored = false;
    std::vector<UnitHeading> headings;  ///< one per column, or none
    std::optional<bool> firstIsTime;
    double first = 0.0;  ///< where the first sample stands without an axis
    std::string rateHint;
    std::string remark;  ///< on how the headings were read; may be empty
    std::vector<RecordingInfo::Property> properties;
    std::optional<StartTime> start = std::nullopt;  ///< as the lines above the rows state it
    std::wstring title = {};
    std::wstring text = {};
    std::size_t firstRow = 0;  ///< number of its line
    /// What the columns hold where not all hold numbers, and their fields in the first row; else empty.
    std::vector<FieldKind> kinds;
    std::vector<std::string> firstFields;
    std::size_t axis = kNoColumn;                       ///< the column that is the axis, or may be it
    std::optional<DateOrder> dateOrder = std::nullopt;  ///< of its dates, where they may have either
    /// The number of the axis in the first row, which those of all rows are taken from to the last digit,
    /// where they are too far from 0 for that in doubles.
    std::optional<TextStamp> origin = std::nullopt;

    FieldKind Kind(std::size_t column) const { return kinds.empty() ? FieldKind::number : kinds[column]; }
    /// The name in the heading of a column; empty without one.
    std::wstring NameOf(std::size_t column) const {
        return headings.empty() ? std::wstring() : headings[column].name;
    }
    /// The values that a field of the column makes: two of a complex number, none of a text.
    std::size_t Values(std::size_t column) const;
};

/// Finds the first row of a text, behind the lines that are to be passed over: by the header of a logger's
/// file, else as the first line of nothing but numbers; where there is none, as the first of the lines that
/// have numbers in the same columns. Throws Error.
TextLayout ReadTextLayout(LineReader& lines, const TextOptions& options);

/// Where a field stands: the number of its line and its column, which counts from 0.
inline ErrorPlace FieldPlace(std::size_t line, std::size_t column) {
    return {.line = static_cast<std::int64_t>(line), .column = static_cast<std::int64_t>(column + 1)};
}

/// Why a field was not taken for a number, by the reader that refused it.
Error FieldError(std::string_view field, const NumberReader& numbers, const TextOptions& options,
                 const ErrorPlace& place);

}  // namespace kvx
