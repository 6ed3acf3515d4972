// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/text/Character.h>
#include <gtest/gtest.h>

#include <array>

namespace {

TEST(MultiToWide, BytesOfACodePageBecomeText) {
    CString text = L"before";
    EXPECT_EQ(CCharacter::MultiToWide("\x89\xC1\x91\xAC\x93\x78", &text, 932), 1);
    EXPECT_EQ(text, L"加速度");
    EXPECT_EQ(CCharacter::MultiToWide("\xB5m", &text, 1252), 1);
    EXPECT_EQ(text, L"\u00B5m");
    EXPECT_EQ(CCharacter::MultiToWide("", &text, 932), 1);
    EXPECT_EQ(text, L"");
    EXPECT_EQ(CCharacter::MultiToWide("\x89\xC1\x91", &text, 932), 1);
    EXPECT_EQ(text, L"加・") << "half a character is replaced";
}

TEST(MultiToWide, WhatCannotBeConvertedLeavesTheOutputAlone) {
    CString text = L"before";
    wchar_t buffer[8] = L"before";
    EXPECT_EQ(CCharacter::MultiToWide(nullptr, &text, 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide(nullptr, buffer, 8, 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("a", &text, 12345), 0) << "unknown page";
    EXPECT_EQ(CCharacter::MultiToWide("a", static_cast<CString*>(nullptr), 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("a", nullptr, 8, 932), 0);
    EXPECT_EQ(text, L"before");
    EXPECT_STREQ(buffer, L"before");
}

TEST(MultiToWide, ABufferMustHoldTheTextAndItsEnd) {
    std::array<wchar_t, 5> buffer;
    for (const int length : {4, 5}) {
        buffer.fill(L'#');
        EXPECT_EQ(CCharacter::MultiToWide("\x89\xC1\x91\xAC\x93\x78", buffer.data(), length, 932), 1);
        EXPECT_STREQ(buffer.data(), L"加速度");
        EXPECT_EQ(buffer[4], L'#');
    }
    for (const int length : {3, 1, 0, -1}) {
        buffer.fill(L'#');
        EXPECT_EQ(CCharacter::MultiToWide("abc", buffer.data(), length, 932), 0);
        EXPECT_EQ(buffer[0], L'#');
    }
}

TEST(Paths, ASplitPathIsJoinedAgain) {
    CString drive, dir, name, ext, joined;
    CCharacter::SplitPath(L"C:\\Q7Data\\run.1\\wave.vdf2", &drive, &dir, &name, &ext);
    EXPECT_EQ((CStringArray{drive, dir, name, ext}),
              (CStringArray{L"C:", L"\\Q7Data\\run.1\\", L"wave", L".vdf2"}));
    CCharacter::MakePath(&joined, drive.c_str(), dir.c_str(), name.c_str(), ext.c_str());
    EXPECT_EQ(joined, L"C:\\Q7Data\\run.1\\wave.vdf2");
    CCharacter::MakePath(&joined, nullptr, nullptr, L"wave", nullptr);
    EXPECT_EQ(joined, L"wave");
    CCharacter::MakePath(&joined, nullptr, nullptr, std::wstring(261, L'n').c_str(), nullptr);
    EXPECT_EQ(joined, L"") << "longer than a path can be";
    CCharacter::MakePath(nullptr, L"C:", nullptr, nullptr, nullptr);
}

TEST(Paths, PartsAreCutTo256CharactersAndUnwantedOnesSkipped) {
    CString dir, name = L"before", ext;
    CCharacter::SplitPath(nullptr, nullptr, nullptr, &name, nullptr);
    EXPECT_EQ(name, L"before");
    const std::wstring text(300, L'x');
    CCharacter::SplitPath((text + L"\\" + text + L"." + text).c_str(), nullptr, &dir, &name, &ext);
    EXPECT_EQ(dir, text.substr(0, 256));
    EXPECT_EQ(name, text.substr(0, 256));
    EXPECT_EQ(ext, L"." + text.substr(0, 255));
}

TEST(Languages, EachHasItsCodePage) {
    const auto codePage = [](std::uint32_t mode) {
        return CCharacter::ConvLangModeToCodePage(static_cast<CCharacter::LANGUAGE_MODE>(mode));
    };
    const unsigned int pages[] = {932, 1252, 936, 1252, 1251};
    for (std::uint32_t mode = 1; mode <= 5; ++mode) EXPECT_EQ(codePage(mode), pages[mode - 1]);
    for (const std::uint32_t other : {0u, 6u, 0xFFFFFFFFu}) EXPECT_EQ(codePage(other), kvx::SystemCodePage());
}

}  // namespace
