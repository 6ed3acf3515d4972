// SPDX-License-Identifier: MIT
#include "Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <KvxDevCommon01/platform/Text.h>

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

/// Whether a character moves the cursor or rearranges the line instead of showing something.
bool IsControl(wchar_t character) {
    const auto code = static_cast<char32_t>(character);
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xE0) return 2;
    return lead < 0xF0 ? 3 : 4;
}

std::size_t DisplayWidth(std::string_view utf8) {
    const std::optional<std::wstring> text = FromUtf8(utf8);
    if (!text) return utf8.size();
    return text->size() + static_cast<std::size_t>(std::ranges::count_if(*text, IsWide));
}

}  // namespace

std::string FormatNumber(double value, int digits) {
    std::array<char, 64> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                      std::chars_format::general, std::clamp(digits, 1, 17));
    return std::string(buffer.data(), result.ptr);
}

std::string FormatExact(double value) {
    std::array<char, 64> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), result.ptr);
}

std::string HexCode(unsigned int code, std::size_t digits) {
    std::array<char, 8> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), code, 16);
    const std::string text(buffer.data(), result.ptr);
    return "0x" + std::string(digits - std::min(digits, text.size()), '0') + text;
}

std::string Count(long long number, std::string_view noun) {
    return std::to_string(number) + " " + std::string(noun) + (number == 1 ? "" : "s");
}

std::string Printable(std::string_view text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string printable;
    while (!text.empty()) {
        const auto lead = static_cast<unsigned char>(text.front());
        std::string_view character = text.substr(0, SequenceLength(lead));
        const std::optional<std::wstring> wide = FromUtf8(character);
        if (wide && !IsControl(wide->front())) {
            printable += character;
        } else {
            if (!wide) character = text.substr(0, 1);
            for (const char byte : character) {
                const auto code = static_cast<unsigned char>(byte);
                printable += {'\\', 'x', kHex[code >> 4], kHex[code & 15]};
            }
        }
        text.remove_prefix(character.size());
    }
    return printable;
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
