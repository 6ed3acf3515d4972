// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/ScopedEnvironment.h"

namespace {

TEST(StringTable, TextsStandAtTheirIds) {
    const struct {
        unsigned int id;
        const wchar_t* text;
    } rows[] = {
        {108, L"圧力"},
        {109, L"時間"},
        {131, L"EU"},
        {201, L"gal"},
        {304, L"回"},
        {803, L"ファイル種別が不正です"},
        {kvx::kTextColumnName, L"Data-Col-%.3Id"},
        {kvx::kTextScaleFullRange, L"全域"},
        {kvx::kTextScaleAutomatic, L"自動"},
        {kvx::kTextScaleFixed, L"固定"},
        {kvx::kTextScaleSymmetric, L"±対称"},
        {1101 + CFileException::none, L"エラーはありません"},
        {1101 + CFileException::accessDenied, L"ファイルへのアクセスが拒否されました"},
        {1101 + CFileException::endOfFile, L"ファイルの終わりに到達しました"},
        {2001, L"ライセンス情報ファイル"},
        {2045, L"初期値用 FFT 分析情報ファイル"},
        {2076, L"加振データファイル"},
        {2105, L"Report information file"},
        {2112, L"試験情報データ"},
    };
    for (const auto& row : rows) EXPECT_EQ(kvx::ResourceText(row.id), row.text) << "id " << row.id;
    EXPECT_FALSE(kvx::ResourceText(kvx::kTextDefaultError).empty());
}

TEST(StringTable, EveryFileErrorAndEveryFileKindHasATextOfItsOwn) {
    std::set<std::wstring_view> texts;
    for (unsigned int i = 0; i < 15; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileError + i));
    for (unsigned int i = 0; i < 112; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileKindName + i));
    texts.erase(L"");
    EXPECT_EQ(texts.size(), 15u + 112u);
}

TEST(StringTable, AnIdWithoutTextGivesNothing) {
    for (const unsigned int id : {0u, 100u, 133u, 366u, 405u, 1116u, 2113u, 0xFFFFFFFFu})
        EXPECT_TRUE(kvx::ResourceText(id).empty()) << id;
    EXPECT_EQ(kvx::ResourceText(101), L"加速度");
}

using kvx::Language;

constexpr unsigned int kBeyondLastId = 4000;

/// Chooses a language while it lives; Japanese again afterwards.
struct ScopedLanguage {
    explicit ScopedLanguage(Language language) { kvx::SetLanguage(language); }
    ~ScopedLanguage() { kvx::SetLanguage(Language::kJapanese); }
    ScopedLanguage(const ScopedLanguage&) = delete;
    ScopedLanguage& operator=(const ScopedLanguage&) = delete;
};

constexpr wchar_t Capital(wchar_t c) {
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

/// What a text leaves to be filled in, and the key of a dialog: "%Y%#m%#d", "&D".
std::wstring PlaceholdersOf(std::wstring_view text) {
    std::wstring found;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == L'&') found += {L'&', Capital(text[i + 1])};
        if (text[i] != L'%') continue;
        const std::size_t end =
            text.find_first_of(L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", i);
        if (end != text.npos)
            found += text.substr(i, end - i + 1 + (text[end] == L'I' && text[i + 1] == L'.'));
    }
    return found;
}

TEST(StringTable, HoldsEveryTextInBothLanguagesWithTheSamePlaceholders) {
    unsigned int count = 0;
    for (unsigned int id = 0; id < kBeyondLastId; ++id) {
        const std::wstring_view japanese = kvx::ResourceText(id, Language::kJapanese);
        const std::wstring_view english = kvx::ResourceText(id, Language::kEnglish);
        EXPECT_EQ(japanese.empty(), english.empty()) << id;
        EXPECT_EQ(PlaceholdersOf(japanese), PlaceholdersOf(english)) << id;
        EXPECT_EQ(std::ranges::count(japanese, L'\n'), std::ranges::count(english, L'\n')) << id;
        EXPECT_EQ(std::ranges::find_if(english, [](wchar_t c) { return c >= 0x2E80; }), english.end()) << id;
        count += english.empty() ? 0U : 1U;
    }
    EXPECT_EQ(count,
              32U + 165 + 4 + 3 + 4 + 12 + 4 + 3 + 15 + 7 + 2 + 8 + 3 + 16 + 4 + 3 + 5 + 7 + 4 + 112 + 1);
    EXPECT_EQ(PlaceholdersOf(L"%Y年%#m月"), L"%Y%#m");
}

TEST(StringTable, EnglishFileErrorsAndKindsHaveTextsOfTheirOwn) {
    const ScopedLanguage english(Language::kEnglish);
    std::set<std::wstring_view> texts;
    for (unsigned int i = 0; i < 15; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileError + i));
    for (unsigned int i = 0; i < 112; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileKindName + i));
    EXPECT_EQ(texts.size(), 15u + 112u);
    EXPECT_EQ(kvx::ResourceText(1101 + CFileException::accessDenied), L"Access to the file was denied");
    EXPECT_EQ(kvx::ResourceText(2076), L"Excitation data file");
}

TEST(Language, IsJapaneseUntilOneIsChosen) {
    EXPECT_EQ(kvx::CurrentLanguage(), Language::kJapanese);
    const std::wstring_view before = kvx::ResourceText(101);
    {
        const ScopedLanguage english(Language::kEnglish);
        EXPECT_EQ(kvx::ResourceText(101), L"acceleration");
        EXPECT_EQ(before, L"加速度");
    }
    EXPECT_EQ(kvx::ResourceText(101), L"加速度");
}

TEST(Language, IsKnownByItsNamesAndLocales) {
    const auto find = [](const char* name) { return kvx::FindLanguage(name); };
    for (const char* name : {"ja", "JA", "ja_JP.UTF-8", "ja-JP", "ja_JP.eucJP", "Japanese_Japan.932", "jpn"})
        EXPECT_EQ(find(name), Language::kJapanese) << name;
    for (const char* name : {"en", "en_GB", "en-us", "English_United States.1252", "enu"})
        EXPECT_EQ(find(name), Language::kEnglish) << name;
    for (const char* name : {"", "C", "POSIX", "jav_ID", "de_DE", "e"})
        EXPECT_EQ(find(name), std::nullopt) << name;
}

TEST(Language, OfTheHostIsThatOfItsVariableElseOfTheLocale) {
    const struct {
        const char *kvx, *all, *messages, *lang;
        Language expected;
    } cases[] = {
        {nullptr, nullptr, nullptr, nullptr, Language::kEnglish},
        {nullptr, nullptr, nullptr, "ja_JP.UTF-8", Language::kJapanese},
        {nullptr, "C", nullptr, "ja_JP.UTF-8", Language::kEnglish},
        {nullptr, "", "ja_JP.UTF-8", "C", Language::kJapanese},
        {nullptr, nullptr, nullptr, "fr_FR.UTF-8", Language::kEnglish},
        {"en", "ja_JP.UTF-8", nullptr, nullptr, Language::kEnglish},
        {"ja", "C", nullptr, nullptr, Language::kJapanese},
        {"fr", "ja_JP.UTF-8", nullptr, nullptr, Language::kJapanese},
    };
    for (const auto& row : cases) {
        const ScopedEnvironment own("KVX_LANGUAGE", row.kvx), all("LC_ALL", row.all),
            messages("LC_MESSAGES", row.messages), lang("LANG", row.lang);
        EXPECT_EQ(kvx::HostLanguage(), row.expected) << &row - cases;
    }
}

TEST(Language, MayBeChosenWhileOtherThreadsReadTexts) {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> readers;
    std::atomic<int> wrong = 0;
    for (int reader = 0; reader < 2; ++reader) {
        readers.emplace_back([&] {
            do {
                const std::wstring_view text = kvx::ResourceText(108);
                if (text != L"圧力" && text != L"pressure") ++wrong;
            } while (!isOver);
        });
    }
    for (int change = 0; change < 10000; ++change)
        kvx::SetLanguage(change % 2 == 0 ? Language::kEnglish : Language::kJapanese);
    isOver = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(kvx::ResourceText(108), L"圧力");
}

}  // namespace
