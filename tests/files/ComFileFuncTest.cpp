// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileFunc.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring Repeated(std::size_t count) {
    return std::wstring(count, L'a');
}

TEST(ComFileFunc, ANameHasLengthAndNoForbiddenCharacter) {
    for (const std::wstring& good :
         {std::wstring(L"a"), std::wstring(L".vdf2"), std::wstring(L"名前 1.tar"), Repeated(256)}) {
        EXPECT_EQ(CComFileFunc::IsValidBaseName(good.c_str()), 1) << good.size();
        EXPECT_EQ(CComFileFunc::IsValidExtName(good.c_str()), 1) << good.size();
    }
    for (const wchar_t forbidden : std::wstring(L"\\/:*?\"<>|")) {
        for (const std::wstring& bad :
             {std::wstring(1, forbidden), L"a" + std::wstring(1, forbidden) + L"b"}) {
            EXPECT_EQ(CComFileFunc::IsValidBaseName(bad.c_str()), 0) << static_cast<int>(forbidden);
            EXPECT_EQ(CComFileFunc::IsValidExtName(bad.c_str()), 0) << static_cast<int>(forbidden);
        }
    }
    EXPECT_EQ(CComFileFunc::IsValidBaseName(Repeated(257).c_str()), 0);
    EXPECT_EQ(CComFileFunc::IsValidBaseName(L""), 0);
    EXPECT_EQ(CComFileFunc::IsValidBaseName(nullptr), 0);
}

TEST(ComFileFunc, OnlyTheLastNameOfAPathIsLookedAt) {
    const std::pair<std::wstring, int> cases[] = {
        {L"C:\\data\\test.vdf2", 1},
        {L"C:\\data\\", 1},
        {L"C:", 1},
        {L"\\", 1},
        {L"relative", 1},
        {L"C:/data/x", 1},
        {L"\\\\server\\share\\x", 1},
        {L"C:\\a*b?\\<dir>\\x", 1},  // folders on the way
        {L"C:\\data\\te*st", 0},
        {L"te|st", 0},
        {L"C:D:\\x", 0},    // a drive inside
        {L"C:\\D:\\x", 1},  // a folder on the way
        {L"C:\\.ext", 1},   // no file name
        {L"C:\\" + Repeated(255) + L"\\x", 1},
        {L"C:\\" + Repeated(257), 1},  // the name is cut to 256 characters
        {Repeated(260), 1},
        {Repeated(261), 0},
        {L"", 0},
    };
    for (const auto& [path, valid] : cases) {
        EXPECT_EQ(CComFileFunc::IsValidDirName(path.c_str()), valid) << testing::PrintToString(path);
    }
    EXPECT_EQ(CComFileFunc::IsValidDirName(nullptr), 0);
}

TEST(ComFileFunc, TheDirectoryOfAPathKeepsDriveAndSeparator) {
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"C:\\data\\run\\test.vdf2", L"C:\\data\\run\\"},
        {L"C:\\data\\", L"C:\\data\\"},
        {L"test.vdf2", L""},
        {L"C:test.vdf2", L"C:"},
        {L"\\\\server\\share\\x", L"\\\\server\\share\\"},
    };
    for (const auto& [path, expected] : cases) {
        CString dir = L"old";
        EXPECT_EQ(CComFileFunc::GetDirFromPath(path.c_str(), &dir), 1);
        EXPECT_EQ(dir, expected);
    }
    for (const wchar_t* bad : {static_cast<const wchar_t*>(nullptr), L"", L"C:\\te*st"}) {
        CString dir = L"old";
        EXPECT_EQ(CComFileFunc::GetDirFromPath(bad, &dir), 0);
        EXPECT_EQ(dir, L"old");
    }
    EXPECT_EQ(CComFileFunc::GetDirFromPath(L"C:\\data\\x", nullptr), 0);
}

}  // namespace
