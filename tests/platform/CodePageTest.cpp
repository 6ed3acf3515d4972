// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

struct DecodeCase {
    unsigned int codePage;
    const char* bytes;
    const wchar_t* text;  // null: refused
};

TEST(CodePage, BytesAreDecodedOrRefused) {
    const DecodeCase cases[] = {
        {932, "\x89\xC1\x91\xAC\x93x", L"加速度"},
        {932, "\xB1\xDF", L"\uFF71\uFF9F"},  // half-width katakana
        {932, "\x87@", L"\u2460"},           // circled one, a vendor row of the page
        {932, "\x89", nullptr},              // lead byte without its second
        {932, "\x81\x20", nullptr},          // wrong second byte
        {936, "\xBC\xD3\xCB\xD9\xB6\xC8", L"加速度"},
        {936, "\x80", L"\u20AC"},
        {936, "\xFF", nullptr},
        {936, "\xBC\xD3\xCB", nullptr},  // half a character at the end
        {936, "\xA1\x7F", nullptr},
        {1251, "\xD3\xF1\xEA", L"Уск"},
        {1251, "\xD3\x98", nullptr},  // a byte without a meaning
        {1252, "\x81", nullptr},
        {1252, "\xB5m \x80 \xFC", L"\u00B5m \u20AC \u00FC"},
        {65001, "\xC2\xB5", L"\u00B5"},
        {65001, "\xF0\x9F\x98\x80", L"\U0001F600"},  // a surrogate pair where wide characters have 16 bits
        {65001, "\xED\xA0\xBD", nullptr},            // half of one
        {65001, "\xB5", nullptr},
        {0, "\x83\x8A", L"リ"},  // the system's page is 932 here
        {437, "abc", nullptr},   // not supported
    };
    for (const DecodeCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.codePage << ' ' << testing::PrintToString(c.bytes));
        const auto text = kvx::DecodeCodePage(c.bytes, c.codePage);
        ASSERT_EQ(text.has_value(), c.text != nullptr);
        if (text) {
            EXPECT_EQ(*text, c.text);
        }
    }
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
