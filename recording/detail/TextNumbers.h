// SPDX-License-Identifier: MIT
//
// Fields of a text table as numbers.
#pragma once

#include <optional>
#include <string_view>

#include <KvxRecording01/detail/TextFields.h>

namespace kvx {

/// Which decimal marks numbers had.
struct DecimalMarks {
    bool point = false;
    bool comma = false;

    bool AreBoth() const { return point && comma; }
    void Include(const DecimalMarks& other) {
        point |= other.point;
        comma |= other.comma;
    }
};

/// Reads fields as doubles, correctly rounded. A text keeps to one decimal mark: both in one text would mean
/// that one of them groups thousands.
class NumberReader {
public:
    /// Takes what `before` says for the marks of the numbers before the first.
    explicit NumberReader(const DecimalMarks& before = {}) : marks_(before) {}

    const DecimalMarks& Marks() const { return marks_; }
    /// No value for a field that cannot be taken.
    std::optional<double> Read(std::string_view field);

    /// What was wrong with the field last refused, for a sentence: "is not a number".
    const char* Fault() const { return fault_; }
    /// Whether it was no number at all.
    bool WasNoNumber() const;

private:
    DecimalMarks marks_;
    const char* fault_ = "";
};

bool AreNumbers(const Fields& fields);

/// Decimals of a number as written: 6 for "0.000605", 3 for "1.5E-2", 0 for "12".
int Decimals(std::string_view field);

}  // namespace kvx
