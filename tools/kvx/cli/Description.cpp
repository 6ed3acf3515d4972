// SPDX-License-Identifier: MIT
#include "cli/Description.h"

#include <algorithm>

namespace kvx::tool {

std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    while (!lines.empty() && lines.back().empty()) lines.pop_back();
    lines.erase(lines.begin(), std::ranges::find_if(lines, [](const auto& line) { return !line.empty(); }));
    return lines;
}

std::vector<std::string> ParagraphsOf(std::string_view text) {
    std::vector<std::string> paragraphs;
    bool isNew = true;
    for (const std::string& line : LinesOf(text)) {
        if (line.empty()) {
            isNew = true;
        } else if (isNew) {
            paragraphs.push_back(line);
            isNew = false;
        } else {
            paragraphs.back() += " " + line;
        }
    }
    return paragraphs;
}

}  // namespace kvx::tool
