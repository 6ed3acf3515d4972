// SPDX-License-Identifier: MIT
//
// Fields of a text table as numbers.
#pragma once

#include <optional>
#include <string_view>

#include <KvxRecording01/detail/TextFields.h>

namespace kvx {

/// Reads fields as doubles, correctly rounded. A text keeps to one decimal mark: both in one text would mean
/// that one of them groups thousands.
class NumberReader {
public:
    /// No value for a field that cannot be taken.
    std::optional<double> Read(std::string_view field);

    /// What was wrong with the field last refused, for a sentence: "is not a number".
    const char* Fault() const { return fault_; }
    /// Whether it was no number at all.
    bool WasNoNumber() const;

private:
    bool pointSeen_ = false;
    bool commaSeen_ = false;
    const char* fault_ = "";
};

bool AreNumbers(const Fields& fields);

/// Decimals of a number as written: 6 for "0.000605", 3 for "1.5E-2", 0 for "12".
int Decimals(std::string_view field);

}  // namespace kvx
