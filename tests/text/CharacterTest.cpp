// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/text/Character.h>
#include <gtest/gtest.h>

#include <array>

namespace {

TEST(MultiToWide, BytesOfEachCodePageBecomeText) {
    const struct {
        unsigned int codePage;
        const char* bytes;
        const wchar_t* text;
    } cases[] = {
        {932, "\x89\xC1\x91\xAC\x93\x78", L"加速度"},
        {932, "\xDF\x43", L"\uFF9FC"},
        {936, "\xBC\xD3\xCB\xD9\xB6\xC8", L"加速度"},
        {1251, "\xC3\xF6", L"\u0413\u0446"},
        {1252, "\xB5m", L"\u00B5m"},
        {65001, "\xE2\x84\xA6", L"\u2126"},
        {932, "", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.codePage);
        CString text = L"before";
        EXPECT_EQ(CCharacter::MultiToWide(c.bytes, &text, c.codePage), 1);
        EXPECT_EQ(text, c.text);
    }
}

TEST(MultiToWide, WhatCannotBeConvertedLeavesTheOutputAlone) {
    CString text = L"before";
    std::array<wchar_t, 8> buffer{L'x'};
    EXPECT_EQ(CCharacter::MultiToWide(nullptr, &text, 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("a", static_cast<CString*>(nullptr), 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("\x89", &text, 932), 0) << "half a character";
    EXPECT_EQ(CCharacter::MultiToWide("a", &text, 12345), 0) << "unknown page";
    EXPECT_EQ(text, L"before");
    EXPECT_EQ(CCharacter::MultiToWide(nullptr, buffer.data(), 8, 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("a", nullptr, 8, 932), 0);
    EXPECT_EQ(CCharacter::MultiToWide("\x89", buffer.data(), 8, 932), 0);
    EXPECT_EQ(buffer[0], L'x');
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

TEST(Paths, JoiningASplitPathGivesItBack) {
    const struct {
        const wchar_t* path;
        std::array<const wchar_t*, 4> parts;
    } cases[] = {
        {L"C:\\Q7Data\\run.1\\wave.vdf2", {L"C:", L"\\Q7Data\\run.1\\", L"wave", L".vdf2"}},
        {L"\\\\host\\KVX$\\a", {L"", L"\\\\host\\KVX$\\", L"a", L""}},
        {L"folder\\", {L"", L"folder\\", L"", L""}},
        {L"plain", {L"", L"", L"plain", L""}},
        {L".ini", {L"", L"", L"", L".ini"}},
        {L"", {L"", L"", L"", L""}},
    };
    for (const auto& c : cases) {
        CString drive, dir, name, ext, joined;
        CCharacter::SplitPath(c.path, &drive, &dir, &name, &ext);
        EXPECT_EQ(drive, c.parts[0]);
        EXPECT_EQ(dir, c.parts[1]);
        EXPECT_EQ(name, c.parts[2]);
        EXPECT_EQ(ext, c.parts[3]);
        CCharacter::MakePath(&joined, drive.c_str(), dir.c_str(), name.c_str(), ext.c_str());
        EXPECT_EQ(joined, c.path);
    }
}

TEST(Paths, JoiningAddsWhatIsMissing) {
    CString path;
    CCharacter::MakePath(&path, L"D", L"\\data", L"wave", L"csv");
    EXPECT_EQ(path, L"D:\\data\\wave.csv");
    CCharacter::MakePath(&path, nullptr, nullptr, L"wave", nullptr);
    EXPECT_EQ(path, L"wave");
}

TEST(Paths, APathHas260CharactersAtMost) {
    CString path;
    CCharacter::MakePath(&path, nullptr, nullptr, std::wstring(260, L'n').c_str(), nullptr);
    EXPECT_EQ(path.size(), 260u);
    CCharacter::MakePath(&path, nullptr, nullptr, std::wstring(261, L'n').c_str(), nullptr);
    EXPECT_EQ(path, L"");
}

TEST(Paths, PartsAreCutTo256Characters) {
    CString dir, name, ext;
    const std::wstring longText(300, L'x');
    CCharacter::SplitPath((longText + L"\\" + longText + L"." + longText).c_str(), nullptr, &dir, &name,
                          &ext);
    EXPECT_EQ(dir, longText.substr(0, 256));
    EXPECT_EQ(name, longText.substr(0, 256));
    EXPECT_EQ(ext, L"." + longText.substr(0, 255));
}

TEST(Paths, NullPointersAreSkipped) {
    CString name = L"before";
    CCharacter::SplitPath(nullptr, nullptr, nullptr, &name, nullptr);
    EXPECT_EQ(name, L"before");
    CCharacter::SplitPath(L"C:\\a.b", nullptr, nullptr, &name, nullptr);
    EXPECT_EQ(name, L"a");
    CCharacter::MakePath(nullptr, L"C:", nullptr, nullptr, nullptr);
}

TEST(Languages, EachHasItsCodePage) {
    const auto codePage = [](std::uint32_t mode) {
        return CCharacter::ConvLangModeToCodePage(static_cast<CCharacter::LANGUAGE_MODE>(mode));
    };
    EXPECT_EQ(codePage(1), 932u);
    EXPECT_EQ(codePage(2), 1252u);
    EXPECT_EQ(codePage(3), 936u);
    EXPECT_EQ(codePage(4), 1252u);
    EXPECT_EQ(codePage(5), 1251u);
    for (const std::uint32_t other : {0u, 6u, 0xFFFFFFFFu}) EXPECT_EQ(codePage(other), kvx::SystemCodePage());
}

}  // namespace
