// SPDX-License-Identifier: MIT
#include "cli/Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx::tool {
namespace {

/// Whether a terminal gives the character two cells: the East Asian wide and full-width blocks.
bool IsWide(wchar_t character) {
    const auto code = static_cast<char32_t>(character);
    return (code >= 0x1100 && code <= 0x115F) || (code >= 0x2E80 && code <= 0xA4CF) ||
           (code >= 0xAC00 && code <= 0xD7A3) || (code >= 0xF900 && code <= 0xFAFF) ||
           (code >= 0xFE30 && code <= 0xFE6F) || (code >= 0xFF00 && code <= 0xFF60) ||
           (code >= 0xFFE0 && code <= 0xFFE6) || (code >= 0x20000 && code <= 0x3FFFD);
}

std::size_t DisplayWidth(std::string_view utf8) {
    const std::optional<std::wstring> text = FromUtf8(utf8);
    if (!text) return utf8.size();
    return text->size() + static_cast<std::size_t>(std::ranges::count_if(*text, IsWide));
}

}  // namespace

std::string HexCode(unsigned int code, std::size_t digits) {
    std::array<char, 8> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), code, 16);
    const std::string text(buffer.data(), result.ptr);
    return "0x" + std::string(digits - std::min(digits, text.size()), '0') + text;
}

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
        std::string row;
        for (std::size_t c = 0; c < columns.size(); ++c) {
            const std::string padding(widths[c] - DisplayWidth(line[c]), ' ');
            row += "  " + (columns[c] == Align::right ? padding + line[c] : line[c] + padding);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        text += row + "\n";
    }
    return text;
}

}  // namespace kvx::tool
