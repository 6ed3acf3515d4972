// SPDX-License-Identifier: MIT
//
// Text with markup ("m/s#u2#n") as runs of plain text on their levels.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::plot {

enum class TextLevel { kNormal, kRaised, kLowered };

struct TextRun {
    std::string utf8;
    TextLevel level = TextLevel::kNormal;
};

/// The runs of a text, none of them empty. Control characters, which have no place on one line, become
/// blanks.
std::vector<TextRun> SplitMarkup(std::wstring_view text);

}  // namespace kvx::plot
