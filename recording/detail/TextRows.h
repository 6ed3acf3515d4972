// SPDX-License-Identifier: MIT
//
// The rows of a text table as numbers: some megabytes of lines at a time, pieces of them side by side on the
// cores.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/TextLayout.h>
#include <KvxRecording01/detail/TextNumbers.h>

namespace kvx {

/// Rows that stand one after the other.
struct TextRows {
    std::size_t count = 0;
    std::vector<double> values;      ///< row by row; there may be more than belong to the rows
    std::vector<std::size_t> lines;  ///< of each row, counted from the first line of the piece
    std::size_t lineBefore = 0;      ///< number of the line in front of the piece
    std::size_t linesInAll = 0;      ///< those without a row included
    int decimals = 0;                ///< most decimals in the first column
    DecimalMarks marks;

    std::size_t LineNumber(std::size_t row) const { return lineBefore + lines[row]; }
};

/// Walks over the rows of a table from its start. The results and the failures are those of going through it
/// line by line.
class RowReader {
public:
    RowReader(const OpenText& open, const TextOptions& options);

    const TextLayout& Table() const { return layout_; }
    /// Reads the first `columns` values of the next rows; empty at the end. They last until the next call.
    /// Throws Error for the first line that is no row.
    std::span<const TextRows> Next(std::size_t columns, const ProgressFunction& progress = {}) {
        return Next(columns, layout_.columns, progress);
    }
    /// The same of rows that were read before: what follows their first value is not looked at again.
    std::span<const TextRows> NextFirst(const ProgressFunction& progress) { return Next(1, 1, progress); }
    /// Where a value of a row stands.
    ErrorPlace PlaceOf(std::size_t line, std::size_t column) const {
        return FieldPlace(line, layout_.skipped + column);
    }

private:
    std::span<const TextRows> Next(std::size_t columns, std::size_t checked,
                                   const ProgressFunction& progress);

    LineReader lines_;
    TextLayout layout_;
    DecimalMarks marks_;  ///< of all rows so far
    std::vector<TextRows> pieces_;
};

}  // namespace kvx
