// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/resources/Language.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <string>

namespace kvx {
namespace {

// One flag that no other data depend on, so that the order of accesses does not matter.
constinit std::atomic<Language> chosenLanguage = Language::kJapanese;

struct LanguageName {
    std::string_view name;  // lower case
    Language language;
};

// A row stands for every name that begins with it and goes on without a letter.
constexpr std::array kLanguageNames = {
    LanguageName{"ja", Language::kJapanese},       LanguageName{"jpn", Language::kJapanese},
    LanguageName{"japanese", Language::kJapanese}, LanguageName{"en", Language::kEnglish},
    LanguageName{"eng", Language::kEnglish},       LanguageName{"enu", Language::kEnglish},
    LanguageName{"english", Language::kEnglish},
};

constexpr char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

void SetLanguage(Language language) {
    chosenLanguage.store(language, std::memory_order_relaxed);
}

Language CurrentLanguage() {
    return chosenLanguage.load(std::memory_order_relaxed);
}

std::optional<Language> FindLanguage(std::string_view name) {
    std::string lower(name);
    std::ranges::transform(lower, lower.begin(), Lower);
    for (const LanguageName& row : kLanguageNames) {
        if (!lower.starts_with(row.name)) continue;
        const char next = lower.size() > row.name.size() ? lower[row.name.size()] : '\0';
        if (next < 'a' || next > 'z') return row.language;
    }
    return std::nullopt;
}

Language HostLanguage() {
    if (const char* const wanted = std::getenv("KVX_LANGUAGE")) {
        if (const auto language = FindLanguage(wanted)) return *language;
    }
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const locale = std::getenv(variable);
        if (locale != nullptr && *locale != '\0') return FindLanguage(locale).value_or(Language::kEnglish);
    }
    return Language::kEnglish;
}

}  // namespace kvx
