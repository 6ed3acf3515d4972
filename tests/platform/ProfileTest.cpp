// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Profile.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/TempFolder.h"

namespace {

using kvx::Profile;

constexpr std::int32_t kFallback = 77;

TEST(Profile, NamesAreFoundWhateverTheirCaseAndBlanks) {
    const Profile profile(
        "top = outside\n"
        "  [ Common01 ]  \r\n"
        "\tDesktopJpeg \t=  first value \n"
        "; commented = 1\n"
        "  ;indented = 1\n"
        "no equals sign\n"
        "DESKTOPJPEG=second\n"
        "empty=\n"
        "formula=a=b;c\r"
        "[other]\n"
        "Key=other\n"
        "[COMMON01]\n"
        "late=1\n"
        "[open\n"
        "x=1");
    EXPECT_EQ(profile.Text(L"COMMON01", L"desktopjpeg"), L"first value");
    EXPECT_EQ(profile.Text(L" common01 ", L" DesktopJpeg "), L"first value");
    EXPECT_EQ(profile.Text(L"Common01", L"empty"), L"");
    EXPECT_EQ(profile.Text(L"Common01", L"formula"), L"a=b;c");
    EXPECT_EQ(profile.Text(L"Other", L"key"), L"other");
    EXPECT_EQ(profile.Text(L"open", L"x"), L"1");
    EXPECT_EQ(profile.Text(L"", L"top"), L"outside");
    for (const wchar_t* absent :
         {L"key", L"commented", L";indented", L"no equals sign", L"late", L"top", L""})
        EXPECT_EQ(profile.Text(L"Common01", absent), std::nullopt) << testing::PrintToString(absent);
    EXPECT_EQ(profile.Text(L"Common0", L"desktopjpeg"), std::nullopt);
    EXPECT_EQ(profile.Text(L"", L"Key"), std::nullopt);
}

TEST(Profile, OnePairOfQuotesIsTakenOff) {
    const struct {
        const char* value;
        const wchar_t* text;
    } cases[] = {
        {"\" a \"", L" a "},     {"'b'", L"b"}, {"\"\"c\"\"", L"\"c\""}, {"\"d'", L"\"d'"}, {"\"", L"\""},
        {"e \"f\"", L"e \"f\""}, {"''", L""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Profile(std::string("[s]\nk=") + c.value).Text(L"s", L"k"), c.text) << c.value;
    }
}

TEST(Profile, IntegersAreReadToTheFirstCharacterThatIsNoDigit) {
    const struct {
        const char* value;
        std::int32_t integer;
    } cases[] = {
        {"0", 0},
        {"1", 1},
        {"-12", -12},
        {"+7", 7},
        {"12 Hz", 12},
        {"1;comment", 1},
        {"yes", 0},
        {"\"5\"", 5},
        {"' 6'", 6},
        {"0x1F", 31},
        {"-0Xf", -15},
        {"0o17", 15},
        {"0b101", 5},
        {"017", 17},
        {"1.9", 1},
        {"", kFallback},
        {"\"\"", kFallback},
        {"4294967295", -1},
        {"4294967297", 1},
        {"99999999999999999999999", -159383553},
        {"- 3", 0},
        {"0x", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Profile(std::string("[s]\nk=") + c.value).Integer(L"s", L"k", kFallback), c.integer)
            << c.value;
    }
    EXPECT_EQ(Profile("[s]\n").Integer(L"s", L"k", kFallback), kFallback);
}

TEST(Profile, ByteOrderMarksDecideTheEncodingAndTheCodePageElse) {
    // Section "設定", key "キー", value "値".
    const std::string shiftJis = "[\x90\xDD\x92\xE8]\n\x83\x4C\x81\x5B=\x92\x6C\n";
    const std::string utf8 = "[設定]\nキー=値\n";
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char16_t unit : std::u16string(u"[設定]\r\nキー=値")) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        little += {low, high};
        big += {high, low};
    }
    for (const Profile& profile :
         {Profile(shiftJis, 932), Profile(shiftJis), Profile(utf8, 65001), Profile("\xEF\xBB\xBF" + utf8),
          Profile(little), Profile(big), Profile(little + "\n")}) {
        EXPECT_EQ(profile.Text(L"設定", L"キー"), L"値");
    }
    EXPECT_EQ(Profile(utf8, 932).Text(L"設定", L"キー"), std::nullopt);
}

TEST(Profile, ALineThatCannotBeDecodedHidesNoOther) {
    const Profile profile("[s]\n; \xFF\xFF\n\x81=1\nk=2\n", 932);
    EXPECT_EQ(profile.Integer(L"s", L"k", kFallback), 2);
}

TEST(Profile, HostileFilesAreRead) {
    const TempFolder folder;
    const std::string longLine(1 << 20, 'x');
    const std::string nuls(1000, '\0');
    const struct {
        std::string bytes;
        std::int32_t integer;
    } cases[] = {
        {"", kFallback},
        {"[s]\n" + longLine + "\nk=3", 3},
        {longLine, kFallback},
        {"[s]\nk=4" + longLine, 4},
        {"[s]\n" + longLine + "=1\nk=5\n", 5},
        {nuls + "\n[s]\n" + nuls + "\nk=6" + nuls, 6},
        {"[" + std::string(1 << 20, '['), kFallback},
        {std::string(1 << 20, '\n') + "[s]\nk=7", 7},
        {"[s]\n" + std::string(1 << 20, '=') + "\nk=8", 8},
        {"\xFF\xFE", kFallback},
        {std::string("\xFF\xFE[", 3), kFallback},
        {std::string("\xFF\xFE\x00\xD8\n\x00[\x00s\x00]\x00\n\x00k\x00=\x00\x39\x00", 20), 9},
        {std::string(Profile::kMaxSize, '\n') + "[s]\nk=1", kFallback},
    };
    for (const auto& c : cases) {
        folder.Write("Q7.ini", c.bytes);
        const Profile profile = Profile::Load((folder / "Q7.ini").wstring());
        EXPECT_EQ(profile.Integer(L"s", L"k", kFallback), c.integer)
            << testing::PrintToString(c.bytes.substr(0, 8));
    }
    EXPECT_EQ(Profile::Load((folder / "absent").wstring()).Integer(L"s", L"k", kFallback), kFallback);
    EXPECT_EQ(Profile::Load(folder.Path().wstring()).Integer(L"s", L"k", kFallback), kFallback);
    EXPECT_EQ(Profile::Load(L"/dev/zero").Integer(L"s", L"k", kFallback), kFallback);
}

}  // namespace
