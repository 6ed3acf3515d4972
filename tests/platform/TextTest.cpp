// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Text.h>
#include <gtest/gtest.h>

#include <string>

namespace {

struct Utf8Case {
    const char* bytes;
    const wchar_t* text;  // null: the bytes are not well-formed
};

TEST(Text, Utf8IsDecodedStrictlyAndEncodedBack) {
    const Utf8Case cases[] = {
        {"", L""},
        {"m/s", L"m/s"},
        {"\xC2\xB5m", L"\u00B5m"},
        {"\xE5\x8A\xA0\xE9\x80\x9F\xE5\xBA\xA6", L"加速度"},
        {"\xF0\x9F\x98\x80", L"\U0001F600"},
        {"\xEF\xBF\xBF", L"\uFFFF"},
        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
        {"\x80", nullptr},                  // continuation without a lead
        {"\xC3", nullptr},                  // cut short
        {"\xE5\x8A", nullptr},              // cut short
        {"\xC0\xAF", nullptr},              // overlong slash
        {"\xE0\x80\xAF", nullptr},          // overlong slash
        {"\xED\xA0\x80", nullptr},          // surrogate
        {"\xF4\x90\x80\x80", nullptr},      // beyond the last code point
        {"\xF8\x88\x80\x80\x80", nullptr},  // five-byte form
        {"a\xFFz", nullptr},
    };
    for (const Utf8Case& c : cases) {
        SCOPED_TRACE(c.bytes);
        const auto text = kvx::FromUtf8(c.bytes);
        ASSERT_EQ(text.has_value(), c.text != nullptr);
        if (!text) continue;
        EXPECT_EQ(*text, c.text);
        EXPECT_EQ(kvx::ToUtf8(*text), c.bytes);
    }
}

TEST(Text, Utf16KeepsPairsAndLoneSurrogates) {
    EXPECT_EQ(kvx::ToUtf16(L"a\U0001F600"), u"a\xD83D\xDE00");
    EXPECT_EQ(kvx::FromUtf16(u"a\xD83D\xDE00"), L"a\U0001F600");
    for (const std::u16string units : {u"\xD83D", u"\xDE00", u"\xD83Dx", u"\xDE00\xD83D"}) {
        EXPECT_EQ(kvx::ToUtf16(kvx::FromUtf16(units)), units);
    }
    EXPECT_EQ(kvx::ToUtf8(kvx::FromUtf16(u"x\xD83D")), "x\xEF\xBF\xBD");
}

}  // namespace
