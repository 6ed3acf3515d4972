// SPDX-License-Identifier: MIT
//
// Tables as text.
#pragma once

#include <string>
#include <vector>

#include <KvxDevCommon01/text/PlainText.h>

namespace kvx::tool {

/// Columns of a printed table: text is set left, numbers are set right.
enum class Align { left, right };

/// Lines of cells, each Printable, with two blanks between columns, as wide as a terminal shows them; each
/// line is indented by two.
std::string FormatTable(const std::vector<Align>& columns,
                        const std::vector<std::vector<std::string>>& lines);

}  // namespace kvx::tool
