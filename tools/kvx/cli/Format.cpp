// SPDX-License-Identifier: MIT
#include "cli/Format.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstddef>

namespace kvx::tool {
namespace {

/// Cells of a terminal that the text takes, two for a wide East Asian character. Padded to its number of
/// bytes, which is never less, it grows by what it is narrower.
std::size_t DisplayWidth(const std::string& utf8) {
    return 2 * utf8.size() - fmt::formatted_size("{:{}}", utf8, utf8.size());
}

}  // namespace

std::string FormatTable(const std::vector<Align>& columns,
                        const std::vector<std::vector<std::string>>& lines) {
    std::vector<std::vector<std::string>> cells = lines;
    std::vector<std::size_t> widths(columns.size(), 0);
    for (std::vector<std::string>& line : cells) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            line[c] = Printable(line[c]);
            widths[c] = std::max(widths[c], DisplayWidth(line[c]));
        }
    }
    std::string text;
    for (const std::vector<std::string>& line : cells) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            text += columns[c] == Align::right ? fmt::format("  {:>{}}", line[c], widths[c])
                                               : fmt::format("  {:<{}}", line[c], widths[c]);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

}  // namespace kvx::tool
