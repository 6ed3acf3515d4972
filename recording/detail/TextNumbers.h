// SPDX-License-Identifier: MIT
//
// Fields of a text table as numbers.
#pragma once

#include <complex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/Statements.h>
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

/// What stands for a missing value, as it is stated of a text.
class MissingTexts {
public:
    explicit MissingTexts(const TextOptions& options);

    bool AreStated() const { return areStated_; }
    /// Whether a field is empty or one of the texts; their case does not count.
    bool Include(std::string_view field) const;
    /// Whether a number is one of those that stand for a missing value, however it is written.
    bool Include(double value) const;
    bool HaveNumbers() const { return !numbers_.empty(); }

private:
    bool areStated_;
    std::vector<std::string> texts_;  ///< in small letters
    std::vector<double> numbers_;
};

/// Reads fields as doubles, correctly rounded: "-1.5e3", and with the exponents of Fortran, "1.5D-03" and
/// "1.0-102". A text keeps to one decimal mark: both in one text would mean that one of them groups
/// thousands.
class NumberReader {
public:
    /// Takes what `before` says for the marks of the numbers before the first.
    explicit NumberReader(const DecimalMarks& before = {}) : marks_(before) {}

    const DecimalMarks& Marks() const { return marks_; }
    /// No value for a field that cannot be taken.
    std::optional<double> Read(std::string_view field);
    /// The same of a complex number: "(1.5+2j)", "1.5-2i", "(1.5, 2)", or a real one. A missing part makes a
    /// missing value of it, with kNoValue for both parts.
    std::optional<std::complex<double>> ReadComplex(std::string_view field, const MissingTexts& missing);

    /// What was wrong with the field last refused, for a sentence: "is not a number".
    const char* Fault() const { return fault_; }
    /// Whether it was no number at all.
    bool WasNoNumber() const;
    /// Whether it may be what a program writes for a missing value: a customary word, or no finite number.
    bool MayMeanMissing(std::string_view field) const;

private:
    DecimalMarks marks_;
    const char* fault_ = "";
};

/// Whether a field has a real and an imaginary part, which may be no numbers.
bool HasTwoParts(std::string_view field);

/// Decimals of a number as written: 6 for "0.000605", 3 for "1.5E-2", 0 for "12".
int Decimals(std::string_view field);

}  // namespace kvx
