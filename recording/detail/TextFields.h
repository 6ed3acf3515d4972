// SPDX-License-Identifier: MIT
//
// A line of a text table as fields.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace kvx {

inline constexpr std::size_t kMaxColumns = 65536;

/// Separator of the columns; a blank stands for any run of blanks and tabs.
enum Separator : char {
    kNone = '\0',
    kBlankRun = ' ',
    kTab = '\t',
    kSemicolon = ';',
    kComma = ',',
    kPipe = '|',
};

/// Parts of a line, which must outlive them.
using Fields = std::vector<std::string_view>;

/// Without the blanks and tabs around it.
std::string_view Trim(std::string_view text);

/// Without the quotes around it, if there are any.
std::string_view Unquoted(std::string_view field);

/// Whether the line has this separator, so that it could be split by it.
bool Contains(std::string_view line, char separator);

/// Splits a line into trimmed fields; one more than kMaxColumns at most. Quotes around a field are kept.
/// What stands in round brackets is of one field: "(1.5, 2)".
void Split(std::string_view line, char separator, Fields* fields);

void DropEmptyEnd(Fields* fields);

/// Whether a line holds no row: `comments` are the signs that begin a comment.
bool IsBlankOrComment(std::string_view line, std::string_view comments);

}  // namespace kvx
