// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Text.h>

#include <cstdint>

namespace kvx {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

constexpr char32_t CombineSurrogates(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// The code point that starts at text[index], which moves to its last unit; a wchar_t may be 16 or 32 bits
/// wide.
char32_t CodePointAt(std::wstring_view text, std::size_t& index) {
    const auto unit = static_cast<char32_t>(text[index]);
    if (IsHighSurrogate(unit) && index + 1 < text.size()) {
        const auto next = static_cast<char32_t>(text[index + 1]);
        if (IsLowSurrogate(next)) {
            ++index;
            return CombineSurrogates(unit, next);
        }
    }
    return unit;
}

void AppendWide(std::wstring& text, char32_t codePoint) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (codePoint > 0xFFFF) {
            text += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
            return;
        }
    }
    text += static_cast<wchar_t>(codePoint);
}

/// Takes the code point that `bytes` begin with off their front; no value, with what is there of it taken
/// off, when it is not well-formed.
std::optional<char32_t> TakeCodePoint(std::string_view& bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    std::size_t following = 0;
    char32_t codePoint = lead;
    char32_t smallest = 0;
    if (lead >= 0xF0) {
        following = 3, codePoint = lead & 0x07U, smallest = 0x10000;
    } else if (lead >= 0xE0) {
        following = 2, codePoint = lead & 0x0FU, smallest = 0x800;
    } else if (lead >= 0xC0) {
        following = 1, codePoint = lead & 0x1FU, smallest = 0x80;
    } else if (lead >= 0x80) {
        return std::nullopt;
    }
    if (lead > 0xF7) return std::nullopt;
    for (; following > 0; --following) {
        const auto next = bytes.empty() ? 0U : static_cast<unsigned char>(bytes.front());
        if ((next & 0xC0) != 0x80) return std::nullopt;
        codePoint = (codePoint << 6) | (next & 0x3FU);
        bytes.remove_prefix(1);
    }
    if (codePoint < smallest || codePoint > kLastCodePoint || IsSurrogate(codePoint)) return std::nullopt;
    return codePoint;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    const auto append = [&bytes](char32_t value) {
        bytes += static_cast<char>(static_cast<unsigned char>(value));
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t codePoint = CodePointAt(text, i);
        if (IsSurrogate(codePoint) || codePoint > kLastCodePoint) codePoint = kReplacement;
        if (codePoint < 0x80) {
            append(codePoint);
        } else if (codePoint < 0x800) {
            append(0xC0 | (codePoint >> 6));
            append(0x80 | (codePoint & 0x3F));
        } else if (codePoint < 0x10000) {
            append(0xE0 | (codePoint >> 12));
            append(0x80 | ((codePoint >> 6) & 0x3F));
            append(0x80 | (codePoint & 0x3F));
        } else {
            append(0xF0 | (codePoint >> 18));
            append(0x80 | ((codePoint >> 12) & 0x3F));
            append(0x80 | ((codePoint >> 6) & 0x3F));
            append(0x80 | (codePoint & 0x3F));
        }
    }
    return bytes;
}

std::optional<std::wstring> FromUtf8(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::optional<char32_t> codePoint = TakeCodePoint(bytes);
        if (!codePoint) return std::nullopt;
        AppendWide(text, *codePoint);
    }
    return text;
}

std::wstring FromUtf8Replacing(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) AppendWide(text, TakeCodePoint(bytes).value_or(kReplacement));
    return text;
}

std::u16string ToUtf16(std::wstring_view text) {
    std::u16string units;
    units.reserve(text.size());
    for (const wchar_t character : text) {
        auto codePoint = static_cast<char32_t>(character);
        if (codePoint > kLastCodePoint) codePoint = kReplacement;
        if (codePoint > 0xFFFF) {
            units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        } else {
            units += static_cast<char16_t>(codePoint);
        }
    }
    return units;
}

std::wstring FromUtf16(std::u16string_view units) {
    std::wstring text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t unit = units[i];
        if (IsHighSurrogate(unit) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            AppendWide(text, CombineSurrogates(unit, units[i + 1]));
            ++i;
        } else {
            text += static_cast<wchar_t>(unit);
        }
    }
    return text;
}

}  // namespace kvx
