// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Profile.h>

#include <algorithm>
#include <exception>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

constexpr std::wstring_view kBlanks = L" \t\v\f";

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

std::wstring_view Trimmed(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

constexpr wchar_t Folded(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c | 0x20) : c;
}

bool SameName(std::wstring_view a, std::wstring_view b) {
    return std::ranges::equal(a, b, {}, Folded, Folded);
}

std::wstring_view WithoutQuotes(std::wstring_view text) {
    if (text.size() < 2) return text;
    const wchar_t quote = text.front();
    if ((quote != L'"' && quote != L'\'') || text.back() != quote) return text;
    return text.substr(1, text.size() - 2);
}

/// Takes the next line, without its end, off the front of `rest`. In no code page is a line end part of
/// another character.
std::string_view TakeLine(std::string_view* rest) {
    const std::size_t end = std::min(rest->find_first_of("\r\n"), rest->size());
    const std::string_view line = rest->substr(0, end);
    rest->remove_prefix(std::min(end + 1, rest->size()));
    return line;
}

std::string Utf8FromUtf16(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i + (bigEndian ? 1 : 0)]);
        const auto high = static_cast<unsigned char>(bytes[i + (bigEndian ? 0 : 1)]);
        units.push_back(static_cast<char16_t>(low | high << 8));
    }
    return ToUtf8(FromUtf16(units));
}

/// The whole file, empty when it is longer than a profile may be. Throws what InputFile throws.
std::string ReadWhole(std::wstring_view path) {
    constexpr std::size_t kPiece = std::size_t{64} << 10;
    InputFile file(path);
    std::string bytes;
    for (;;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kPiece);
        const std::size_t count = file.Read(bytes.data() + before, kPiece);
        bytes.resize(before + count);
        if (count == 0) return bytes;
        if (bytes.size() > Profile::kMaxSize) return {};
    }
}

struct Prefix {
    std::wstring_view text;
    unsigned int base;
};

constexpr Prefix kPrefixes[] = {{L"0x", 16}, {L"0o", 8}, {L"0b", 2}};

constexpr unsigned int DigitValue(wchar_t c) {
    if (c >= L'0' && c <= L'9') return static_cast<unsigned int>(c - L'0');
    const wchar_t letter = Folded(c);
    return letter >= L'a' && letter <= L'f' ? static_cast<unsigned int>(letter - L'a') + 10 : 16;
}

std::int32_t ParseInteger(std::wstring_view text) {
    text = Trimmed(text);
    const bool negative = text.starts_with(L'-');
    if (negative || text.starts_with(L'+')) text.remove_prefix(1);
    unsigned int base = 10;
    for (const Prefix& prefix : kPrefixes) {
        if (!SameName(text.substr(0, 2), prefix.text)) continue;
        base = prefix.base;
        text.remove_prefix(2);
        break;
    }
    std::uint32_t value = 0;
    for (const wchar_t c : text) {
        const unsigned int digit = DigitValue(c);
        if (digit >= base) break;
        value = value * base + digit;
    }
    return static_cast<std::int32_t>(negative ? 0 - value : value);
}

}  // namespace

Profile::Profile(std::string_view bytes, unsigned int codePage) : codePage_(codePage) {
    if (bytes.starts_with(kUtf16LittleMark) || bytes.starts_with(kUtf16BigMark)) {
        bytes_ = Utf8FromUtf16(bytes.substr(2), bytes.starts_with(kUtf16BigMark));
        codePage_ = kUtf8CodePage;
    } else if (bytes.starts_with(kUtf8Mark)) {
        bytes_ = bytes.substr(kUtf8Mark.size());
        codePage_ = kUtf8CodePage;
    } else {
        bytes_ = bytes;
    }
}

Profile Profile::Load(std::wstring_view path, unsigned int codePage) {
    try {
        return Profile(ReadWhole(path), codePage);
    } catch (const std::exception&) {
        return Profile({}, codePage);
    }
}

std::optional<std::wstring> Profile::Text(std::wstring_view section, std::wstring_view key) const {
    section = Trimmed(section);
    key = Trimmed(key);
    bool inside = section.empty();
    for (std::string_view rest = bytes_; !rest.empty();) {
        const std::optional<std::wstring> decoded = DecodeCodePage(TakeLine(&rest), codePage_);
        if (!decoded) continue;
        const std::wstring_view line = Trimmed(*decoded);
        if (line.starts_with(L'[')) {
            if (inside) return std::nullopt;
            inside = SameName(Trimmed(line.substr(1, line.find(L']') - 1)), section);
        } else if (inside && !line.starts_with(L';')) {
            const std::size_t equals = line.find(L'=');
            if (equals == line.npos || !SameName(Trimmed(line.substr(0, equals)), key)) continue;
            return std::wstring(WithoutQuotes(Trimmed(line.substr(equals + 1))));
        }
    }
    return std::nullopt;
}

std::int32_t Profile::Integer(std::wstring_view section, std::wstring_view key, std::int32_t fallback) const {
    const std::optional<std::wstring> text = Text(section, key);
    return text && !text->empty() ? ParseInteger(*text) : fallback;
}

}  // namespace kvx
