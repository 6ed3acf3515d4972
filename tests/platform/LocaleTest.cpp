// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Locale.h>
#include <gtest/gtest.h>

#include <clocale>
#include <optional>
#include <string>

namespace {

TEST(Locale, TheSuitesLanguagesHaveTheirDecimalSignOnEveryHost) {
    const std::pair<const char*, wchar_t> cases[] = {
        {"de_DE", L','},
        {"de_DE.UTF-8", L','},
        {"de-AT", L','},
        {"de", L','},
        {"DEU", L','},
        {"German", L','},
        {"de_CH", L'.'},
        {"German_Germany.1252", L','},
        {"german-swiss", L'.'},
        {"ru_RU", L','},
        {"Russian", L','},
        {"ja_JP.eucJP", L'.'},
        {"Japanese", L'.'},
        {"en_US", L'.'},
        {"zh_CN", L'.'},
        {"Chinese_China.936", L'.'},
        {"C", L'.'},
        {"POSIX", L'.'},
    };
    for (const auto& [name, sign] : cases) {
        EXPECT_EQ(kvx::DecimalSign(name), sign) << name;
        EXPECT_EQ(kvx::FindDecimalSign(name), sign) << name;
    }
}

TEST(Locale, WithoutAKnownNameTheCurrentLocaleDecidesAndStays) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const auto current = static_cast<wchar_t>(*std::localeconv()->decimal_point);
    for (const char* name :
         {static_cast<const char*>(nullptr), "", "den_DE", "germanium", "no such locale"}) {
        EXPECT_EQ(kvx::DecimalSign(name), current);
        EXPECT_EQ(kvx::FindDecimalSign(name), std::nullopt);
    }
    EXPECT_EQ(kvx::DecimalSign(std::string(100000, 'x').c_str()), current);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

}  // namespace
