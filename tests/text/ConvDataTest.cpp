// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

TEST(ConvData, TheNumberAtTheStartOfATextIsRead) {
    const struct {
        const wchar_t* text;
        int number;
    } cases[] = {
        {L"-7", -7},
        {L"+42", 42},
        {L" \t\n\v\f\r12", 12},
        {L"12abc", 12},
        {L"3.9", 3},
        {L"1,2", 1},
        {L"0x10", 0},
        {L"", 0},
        {L"-", 0},
        {L"+-5", 0},
        {L"- 5", 0},
        {L"\uFF11", 0},  // a full-width digit is no digit
        {L"2147483647", kMax},
        {L"2147483648", kMax},
        {L"-2147483648", kMin},
        {L"-2147483649", kMin},
        {L"99999999999999999999999999", kMax},
        {L"-99999999999999999999999999", kMin},
    };
    for (const auto& c : cases) EXPECT_EQ(CConvData::StrToIntW(c.text), c.number) << kvx::ToUtf8(c.text);
    EXPECT_EQ(CConvData::StrToIntW(nullptr), 0);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string Text(double value, const wchar_t* format = nullptr, const char* locale = nullptr) {
    CString text = L"before";
    EXPECT_EQ(CConvData::ValToStr(value, &text, format, locale), 1);
    return kvx::ToUtf8(text);
}

TEST(ValToStr, WithoutAFormatSevenDigitsAreShownAsShortAsTheyCanBe) {
    const std::pair<double, const char*> cases[] = {
        {0.0, "0"},
        {-0.0, "0"},
        {-0.5, "-0.5"},
        {1.0 / 3.0, "0.3333333"},
        {999999.96, "1000000"},
        {9999999.4, "9999999"},
        {9999999.5, "1e+07"},
        {-12345678.0, "-1.234568e+07"},
        {0.0001, "0.0001"},
        {0.00009999999, "9.999999e-05"},
        {0.000099999999, "0.0001"},
        {5e-324, "4.940656e-324"},
        {DBL_MAX, "1.797693e+308"},
        {-DBL_MAX, "---"},
        {kInfinity, "inf"},
        {-kInfinity, "-inf"},
        {std::nan(""), "nan"},
        {-std::nan(""), "nan"},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(Text(value), text);
    EXPECT_EQ(Text(0.25, L""), "0.25");
    EXPECT_EQ(CConvData::ValToStr(1.0, nullptr), 0);
}

TEST(ValToStr, AFormatHoldsOneConversionAndAnyText) {
    const struct {
        double value;
        const wchar_t* format;
        const char* text;
    } cases[] = {
        {2.0, L"約%.2lf (50 %%)", "約2.00 (50 %)"},
        {2.0, L"1.5%%%f", "1.5%2.000000"},
        {999999.5, L"%#.7g", "999999.5"},
        {255.0, L"%#A%%", "0X1.FEP+7%"},
        {-0.001, L"%.2f", "0.00"},
        {-DBL_MAX, L"%07.1f V", "    --- V"},
        {-DBL_MAX, L"%+-5.1f|", "---  |"},
        {-kInfinity, L"%06F", "  -INF"},
        {std::nan(""), L"%+G", "NAN"},
    };
    for (const auto& c : cases) EXPECT_EQ(Text(c.value, c.format), c.text);
    EXPECT_EQ(Text(1.0, L"%100.0f").size(), 100U);
    EXPECT_EQ(Text(DBL_MAX, L"%.100f").size(), 309U + 1U + 100U);
}

TEST(ValToStr, WhatIsNoFormatOfOneValueIsTheDefault) {
    // clang-format off
    const wchar_t* const formats[] = {
        L"plain", L"100%%", L"%n", L"%s", L"%d", L"%lc", L"% \x661f", L"%", L"%-", L"%.", L"%--x",
        L"%f%", L"%f %f", L"%f%n", L"%s%f", L"%5%", L"%f%5%", L"%*f", L"%.*f", L"%Lf", L"%llf",
        L"%hf", L"%1$f", L"%'f",
        L"%101f", L"%.101f", L"%999999999f", L"%.4294967297f", L"%99999999999999999999f"};
    // clang-format on
    for (const wchar_t* format : formats) {
        EXPECT_EQ(Text(1.25, format), "1.25") << kvx::ToUtf8(format);
        EXPECT_FALSE(kvx::IsNumberFormat(format)) << kvx::ToUtf8(format);
    }
}

// What the host's printf says, in the "C" locale in which every test program starts, but without the sign of
// what shows as zero.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string HostText(double value, const std::string& format) {
    std::array<char, 400> text;
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    if (std::strtod(text.data(), nullptr) == 0.0)
        std::snprintf(text.data(), text.size(), format.c_str(), std::abs(value));
    return text.data();
}
#pragma GCC diagnostic pop

TEST(ValToStr, EveryConversionSaysWhatTheHostsPrintfSays) {
    std::mt19937_64 random(20);
    std::uniform_real_distribution<double> exponent(-12.0, 20.0);
    std::vector<double> values = {0.0,  -0.0,     1.0,      -9.5,   0.5,  2.5,
                                  1e15, 999999.4, 123456.0, 0.0001, 1e-5, kInfinity};
    while (values.size() < 40) values.push_back((random() % 2 ? -1 : 1) * std::pow(10.0, exponent(random)));
    for (unsigned int flags = 0; flags < 32; ++flags) {
        std::string start = "%";
        for (unsigned int bit = 0; bit < 5; ++bit) start.append(flags >> bit & 1U, "-+ #0"[bit]);
        for (const char* size : {"", "9", "30", ".0", "1.1", "30.17", ".3l"}) {
            for (const char style : std::string("efgaEFGA")) {
                const std::string format = start + size + style;
                const std::wstring wide(format.begin(), format.end());
                ASSERT_TRUE(kvx::IsNumberFormat(wide)) << format;
                for (const double value : values)
                    ASSERT_EQ(Text(value, wide.c_str()), HostText(value, format)) << format;
            }
        }
    }
}

TEST(ValToStr, TextReadsBackToTheValueWithinItsDigits) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 5000; ++i) {
        const auto value = std::bit_cast<double>(random());
        if (!std::isfinite(value)) continue;
        const double shown = std::strtod(Text(value).c_str(), nullptr);
        // Half a unit of the seventh digit; subnormal values have fewer digits than that.
        EXPECT_LE(std::abs(shown - value), 0.5000001e-6 * std::abs(value) + DBL_TRUE_MIN) << value;
        for (const wchar_t* exact : {L"%.17g", L"%.16e", L"%a"}) {
            EXPECT_EQ(std::strtod(Text(value, exact).c_str(), nullptr), value);
        }
    }
}

TEST(ValToStr, OnlyTheDecimalSignFollowsTheLocale) {
    EXPECT_EQ(Text(1234567.5, L"%.1f", "de_DE"), "1234567,5");
    EXPECT_EQ(Text(-1.5e-9, nullptr, "Russian"), "-1,5e-09");
    EXPECT_EQ(Text(0.5, L"v. %+.2f.", "German"), "v. +0,50.");
    EXPECT_EQ(Text(0.5, nullptr, "ja_JP"), "0.5");
    EXPECT_EQ(Text(-DBL_MAX, nullptr, "de_DE"), "---");
    EXPECT_EQ(Text(0.5, nullptr, "no such locale"), Text(0.5));
}

}  // namespace
