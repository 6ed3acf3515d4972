// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

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

/// Texts up to this length are quoted whole; of longer ones so much of the beginning and the end.
constexpr std::size_t kQuotedBytes = 60;
constexpr std::size_t kQuotedHead = 26;
constexpr std::size_t kQuotedTail = 30;
/// The name of a file is quoted whole up to this length, the longest that hosts have.
constexpr std::size_t kLongestName = 255;

/// The start of the character that the byte at `at` belongs to.
std::size_t CharacterStart(std::string_view text, std::size_t at) {
    constexpr std::size_t kMostBytes = 4;
    for (std::size_t back = 0; back < std::min(at + 1, kMostBytes); ++back)
        if ((static_cast<unsigned char>(text[at - back]) & 0xC0) != 0x80) return at - back;
    return at;
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

std::string HexCode(std::uint32_t code, std::size_t digits) {
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

std::string Quote(std::string_view text) {
    if (text.size() <= kQuotedBytes) return "'" + Printable(text) + "'";
    const std::size_t slash = text.rfind('/');
    const std::size_t name = slash == text.npos ? 0 : text.size() - slash;
    const std::size_t kept = std::max(kQuotedTail, name <= kLongestName + 1 ? name : 0);
    if (kQuotedHead + kept >= text.size()) return "'" + Printable(text) + "'";
    const std::size_t head = CharacterStart(text, kQuotedHead);
    const std::size_t tail = CharacterStart(text, text.size() - kept);
    return "'" + Printable(text.substr(0, head)) + "..." + Printable(text.substr(tail)) + "'";
}

std::string Quote(std::wstring_view text) {
    return Quote(ToUtf8(text));
}

std::string Wrapped(std::string_view text, std::size_t width) {
    std::string wrapped;
    std::size_t column = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = std::min(text.find_first_not_of(" \n", at), text.size());
        const std::string_view gap = text.substr(at, begin - at);
        const std::size_t end = std::min(text.find_first_of(" \n", begin), text.size());
        const std::string_view word = text.substr(begin, end - begin);
        at = end;
        if (word.empty()) break;
        if (std::ranges::count(gap, '\n') > 1) {
            wrapped += "\n\n";
            column = 0;
        } else if (column > 0 && column + 1 + word.size() > width) {
            wrapped += '\n';
            column = 0;
        } else if (column > 0) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped;
}

std::optional<double> ParseNumber(std::string_view text) {
    double value = 0.0;
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::vector<std::string> SplitList(std::string_view list) {
    std::vector<std::string> pieces;
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        pieces.emplace_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return pieces;
}

}  // namespace kvx
