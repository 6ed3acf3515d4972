// SPDX-License-Identifier: MIT
//
// The rows of a text table as numbers: some megabytes of lines at a time, pieces of them side by side on the
// cores.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/TextLayout.h>
#include <KvxRecording01/detail/TextNumbers.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {

/// A stamp in a field of some kind; `next` is the field behind it. No value for what is none.
std::optional<TextStamp> ReadStamp(FieldKind kind, std::optional<DateOrder> order, std::string_view field,
                                   std::string_view next);

/// Rows that stand one after the other.
struct TextRows {
    std::size_t count = 0;
    std::vector<double> values;      ///< row by row; there may be more than belong to the rows
    std::vector<std::size_t> lines;  ///< of each row, counted from the first line of the piece
    std::size_t lineBefore = 0;      ///< number of the line in front of the piece
    std::size_t linesInAll = 0;      ///< those without a row included
    int decimals = 0;                ///< most decimals of the axis, where its values alone are kept
    DecimalMarks marks;
    std::vector<char> haveValues;  ///< per column, whether a row has one; nothing where all have

    std::size_t LineNumber(std::size_t row) const { return lineBefore + lines[row]; }
};

/// Walks over the rows of a table from its start. The results and the failures are those of going through it
/// line by line. Stamps become seconds since the first row, missing values kNoValue.
class RowReader {
public:
    /// The layout must outlive the reader.
    RowReader(const OpenText& open, const TextOptions& options, const TextLayout& layout);

    /// Reads the next rows; empty at the end. They last until the next call. Throws Error for the first line
    /// that is no row.
    std::span<const TextRows> Next() { return Next({false, layout_.columns}, {}); }
    /// The same; only the values of the axis, if there is one, are kept.
    std::span<const TextRows> Survey(const ProgressFunction& progress) {
        return Next({true, layout_.columns}, progress);
    }
    /// The same of rows that were read before: what follows the axis is not looked at again.
    std::span<const TextRows> NextOfAxis(const ProgressFunction& progress) {
        return Next({true, layout_.axis + 1}, progress);
    }
    /// Where a value of a row stands.
    ErrorPlace PlaceOf(std::size_t line, std::size_t column) const {
        return FieldPlace(line, layout_.skipped + column);
    }

    /// Whether only the values of the axis are kept, and how many columns are looked at.
    struct Scope {
        bool isAxisOnly;
        std::size_t checked;
    };

private:
    std::span<const TextRows> Next(const Scope& scope, const ProgressFunction& progress);
    /// Lets the times of a clock, at `axis` of rows of `width` values, go on over midnight.
    void CountDays(std::span<double> values, std::size_t width, std::size_t axis);

    const TextLayout& layout_;
    const TextOptions& options_;
    MissingTexts missing_;
    TextStamp firstStamp_;  ///< that of the first row, where the axis has stamps
    LineReader lines_;
    DecimalMarks marks_;  ///< of all rows so far
    std::vector<TextRows> pieces_;
    double days_ = 0.0;  ///< that have passed by clocks, in seconds
    double previous_ = 0.0;
};

}  // namespace kvx
