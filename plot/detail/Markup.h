// SPDX-License-Identifier: MIT
//
// Text with markup ("m/s#u2#n") as runs of plain text, superscript or subscript.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::plot {

enum class Script { kNormal, kSuperscript, kSubscript };

struct TextRun {
    std::string utf8;
    Script script = Script::kNormal;
};

/// The runs of a text, none of them empty. Control characters, which have no place on one line, become
/// blanks.
std::vector<TextRun> SplitMarkup(std::wstring_view text);

}  // namespace kvx::plot
