// SPDX-License-Identifier: MIT
//
// What sentences for a person are made of, in UTF-8 and independent of the locale: numbers, counts, and names
// and values from outside that may hold anything; and numbers and lists as a person types them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// At most `digits` significant digits (1 to 17), trailing zeros dropped: "0.000605", "1.25e-07".
KVX_API std::string FormatNumber(double value, int digits = 6);

/// The shortest text that reads back as the same double.
KVX_API std::string FormatExact(double value);

/// A code with at least `digits` hexadecimal digits: "0x20011", "0x00010004".
KVX_API std::string HexCode(std::uint32_t code, std::size_t digits = 1);

/// "1 channel", "3 channels".
KVX_API std::string Count(long long number, std::string_view noun);

/// Text from outside made fit for a terminal: control characters, those that change the direction of writing,
/// and bytes that are not UTF-8 become a backslash, an x and two hexadecimal digits a byte, so that it stays
/// on its line.
KVX_API std::string Printable(std::string_view text);

/// Text from outside made fit for a sentence: Printable, in quotes, and cut in the middle where it is longer
/// than about 60 characters; the name of a file at its end is kept.
KVX_API std::string Quote(std::string_view text);
KVX_API std::string Quote(std::wstring_view text);

/// The words of the text in lines of at most `width` bytes, a longer word in a line of its own. A blank line
/// parts paragraphs; other line ends are blanks.
KVX_API std::string Wrapped(std::string_view text, std::size_t width);

/// A text that is one number and nothing else, with a decimal point and perhaps a sign; also "inf" and "nan".
KVX_API std::optional<double> ParseNumber(std::string_view text);

/// The pieces of a comma list; one empty piece for an empty text.
KVX_API std::vector<std::string> SplitList(std::string_view list);

}  // namespace kvx
