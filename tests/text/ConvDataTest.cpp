// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

TEST(ConvData, TheNumberAtTheStartOfATextIsRead) {
    const struct {
        const wchar_t* text;
        int number;
    } cases[] = {
        {L"23", 23},
        {L"-7", -7},
        {L"+42", 42},
        {L"007", 7},
        {L" \t\n\v\f\r12", 12},
        {L"12abc", 12},
        {L"3.9", 3},
        {L"1,2", 1},
        {L"0x10", 0},
        {L"", 0},
        {L"   ", 0},
        {L"-", 0},
        {L"+-5", 0},
        {L"- 5", 0},
        {L"abc", 0},
        {L"\uFF11", 0},  // a full-width digit is no digit
        {L"2147483647", kMax},
        {L"2147483648", kMax},
        {L"-2147483648", kMin},
        {L"-2147483649", kMin},
        {L"99999999999999999999999999", kMax},
        {L"-99999999999999999999999999", kMin},
    };
    for (const auto& c : cases) EXPECT_EQ(CConvData::StrToIntW(c.text), c.number) << kvx::ToUtf8(c.text);
}

TEST(ConvData, NullIsZero) {
    EXPECT_EQ(CConvData::StrToIntW(nullptr), 0);
}

}  // namespace
