// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace {

struct DecodeCase {
    unsigned int codePage;
    const char* bytes;
    const wchar_t* text;                // null: refused
    const wchar_t* replaced = nullptr;  // what a refused text becomes with what is wrong replaced
};

TEST(CodePage, BytesAreDecodedOrRefusedOrReplaced) {
    const DecodeCase cases[] = {
        {932, "\x89\xC1\x91\xAC\x93x", L"加速度"},
        {932, "\xB1\xDF", L"\uFF71\uFF9F"},           // half-width katakana
        {932, "\x87@", L"\u2460"},                    // circled one, a vendor row of the page
        {932, "\x89", nullptr, L"\u30FB"},            // lead byte without its second
        {932, "\x89\xC1\x91", nullptr, L"加\u30FB"},  // cut within a character
        {932, "\x81\x20g", nullptr, L"\u30FB g"},     // wrong second byte
        {932, "\xEF\x40g\xFF\x80\xA0s", nullptr,
         L"\u30FBg\u30FB\u30FB\u30FBs"},  // a pair and bytes without a meaning
        {936, "\xBC\xD3\xCB\xD9\xB6\xC8", L"加速度"},
        {936, "\x80", L"\u20AC"},
        {936, "\xFF", nullptr, L"?"},
        {936, "\xBC\xD3\xCB", nullptr, L"加?"},  // half a character at the end
        {936, "\xA1\x7F", nullptr, L"?\u007F"},
        {1251, "\xD3\xF1\xEA", L"Уск"},
        {1251, "\xD3\x98\xEA", nullptr, L"У\u0098к"},  // a byte without a meaning
        {1252, "\x81", nullptr, L"\u0081"},
        {1252, "\xB5m \x80 \xFC", L"\u00B5m \u20AC \u00FC"},
        {65001, "\xC2\xB5", L"\u00B5"},
        {65001, "\xF0\x9F\x98\x80", L"\U0001F600"},   // a surrogate pair where wide characters have 16 bits
        {65001, "\xED\xA0\xBD", nullptr, L"\uFFFD"},  // half of one
        {65001, "a\xE5\x8A", nullptr, L"a\uFFFD"},
        {65001, "\xE5\x8Az\xB5", nullptr, L"\uFFFDz\uFFFD"},
        {0, "\x83\x8A", L"リ"},  // the system's page is 932 here
        {0, "\x83\x8A\x83", nullptr, L"リ\u30FB"},
        {437, "abc", nullptr},  // not supported
    };
    for (const DecodeCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.codePage << ' ' << testing::PrintToString(c.bytes));
        const auto optional = [](const wchar_t* text) {
            return text != nullptr ? std::optional<std::wstring>(text) : std::nullopt;
        };
        EXPECT_EQ(kvx::DecodeCodePage(c.bytes, c.codePage), optional(c.text));
        EXPECT_EQ(kvx::DecodeCodePageReplacing(c.bytes, c.codePage),
                  optional(c.text != nullptr ? c.text : c.replaced));
    }
}

TEST(CodePage, ATextOfNothingButWrongBytesTakesNoLongerThanItsLength) {
#ifdef __SANITIZE_THREAD__
    const std::size_t size = 20'000;  // the sanitizer looks at all that is left of the text for each byte
#else
    const std::size_t size = 2'000'000;
#endif
    EXPECT_EQ(kvx::DecodeCodePageReplacing(std::string(size, '\xFF'), 932), std::wstring(size, L'\u30FB'));
}

TEST(CodePage, TheEnvironmentNamesTheSystemPage) {
    const std::pair<const char*, unsigned int> cases[] = {{"1252", 1252}, {"65001", 65001}, {"437", 932},
                                                          {"1252x", 932}, {"", 932},        {"-1", 932}};
    for (const auto& [value, expected] : cases) {
        ASSERT_EQ(::setenv("KVX_CODEPAGE", value, 1), 0);
        EXPECT_EQ(kvx::SystemCodePage(), expected) << value;
    }
    ::unsetenv("KVX_CODEPAGE");
    EXPECT_EQ(kvx::SystemCodePage(), 932U);
}

}  // namespace
