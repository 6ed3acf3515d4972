// SPDX-License-Identifier: MIT
//
// Help texts, filled to the width of the terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvx::tool {

/// Columns that help may fill: what the environment variable COLUMNS says, else the terminal, within 60 to
/// 120; 80 where neither says it.
std::size_t HelpWidth();

/// What the help of a command ends with: wrapped paragraphs, then the lines of an example as they are. The
/// line ends around both do not matter, as raw strings have them.
std::string HelpFooter(std::string_view paragraphs, std::string_view example);

}  // namespace kvx::tool
