// SPDX-License-Identifier: MIT
//
// Numbers and tables as text, independent of the locale.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::tool {

/// At most `digits` significant digits, trailing zeros dropped: "0.000605", "1.25e-07".
std::string FormatNumber(double value, int digits = 6);

/// The shortest text that reads back as the same double.
std::string FormatExact(double value);

/// A code with at least `digits` hexadecimal digits: "0x20011", "0x00010004".
std::string HexCode(unsigned int code, std::size_t digits = 1);

/// "1 channel", "3 channels".
std::string Count(long long number, std::string_view noun);

/// Text from outside made fit for a terminal: control characters, those that change the direction of writing,
/// and bytes that are not UTF-8 are written as \xNN, so that it stays on its line.
std::string Printable(std::string_view text);

/// Columns of a printed table: text is set left, numbers are set right.
enum class Align { left, right };

/// Lines of cells, each Printable, with two blanks between columns, as wide as a terminal shows them; each
/// line is indented by two.
std::string FormatTable(const std::vector<Align>& columns,
                        const std::vector<std::vector<std::string>>& lines);

}  // namespace kvx::tool
