// SPDX-License-Identifier: MIT
//
// Texts of headers: without the blanks that fill their fields, in an encoding that is known, and numbers and
// letters as sentences and comparisons want them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kvx {

/// A text as UTF-8. Bytes that are no UTF-8 are those of windows-1252.
std::string Utf8OrWestern(std::string_view text);

/// The same without blanks at its ends and with one instead of several.
std::string PlainLine(std::string_view line);

/// A text in small letters, for a comparison without regard to case.
std::string SmallLetters(std::string_view text);

/// A whole number, 0 or above, with as many digits or more: "007".
std::string Padded(std::int64_t number, std::size_t digits);

}  // namespace kvx
