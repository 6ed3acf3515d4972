// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Locale.h>

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

struct KnownLocale {
    std::string_view name;
    wchar_t decimalSign;
};

// Lower case, with underscores. A row stands for every name that begins with it and goes on without a letter;
// the first one counts, so territories stand before their language.
// clang-format off
constexpr auto kKnownLocales = std::to_array<KnownLocale>({
    {"de_ch",                L'.'},
    {"de_li",                L'.'},
    {"german_switzerland",   L'.'},
    {"german_liechtenstein", L'.'},
    {"german_swiss",         L'.'},
    {"de",                   L','},
    {"deu",                  L','},
    {"german",               L','},
    {"en",                   L'.'},
    {"eng",                  L'.'},
    {"enu",                  L'.'},
    {"english",              L'.'},
    {"ja",                   L'.'},
    {"jpn",                  L'.'},
    {"japanese",             L'.'},
    {"ru",                   L','},
    {"rus",                  L','},
    {"russian",              L','},
    {"zh",                   L'.'},
    {"chs",                  L'.'},
    {"chinese",              L'.'},
});
// clang-format on

constexpr char Normalised(char c) {
    if (c == '-') return '_';
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool IsLetter(char c) {
    return c >= 'a' && c <= 'z';
}

std::optional<wchar_t> KnownSign(std::string_view locale) {
    std::string name(locale);
    std::ranges::transform(name, name.begin(), Normalised);
    const auto row = std::ranges::find_if(kKnownLocales, [&](const KnownLocale& known) {
        return name.starts_with(known.name) &&
               (name.size() == known.name.size() || !IsLetter(name[known.name.size()]));
    });
    return row != kKnownLocales.end() ? std::optional(row->decimalSign) : std::nullopt;
}

/// A host's text for the sign; a point when it is not one character.
wchar_t SignOf(const char* text) {
    const std::optional<std::wstring> sign = FromUtf8(text);
    return sign && sign->size() == 1 ? sign->front() : L'.';
}

std::optional<wchar_t> HostSign(const char* locale) {
    const locale_t handle = ::newlocale(LC_NUMERIC_MASK, locale, nullptr);
    if (handle == nullptr) return std::nullopt;
    const wchar_t sign = SignOf(::nl_langinfo_l(RADIXCHAR, handle));
    ::freelocale(handle);
    return sign;
}

}  // namespace

std::optional<wchar_t> FindDecimalSign(const char* locale) {
    if (locale == nullptr || *locale == '\0') return std::nullopt;
    const std::optional<wchar_t> known = KnownSign(locale);
    return known ? known : HostSign(locale);
}

wchar_t DecimalSign(const char* locale) {
    const std::optional<wchar_t> sign = FindDecimalSign(locale);
    return sign ? *sign : SignOf(::nl_langinfo(RADIXCHAR));
}

}  // namespace kvx
