// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileFunc.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

std::wstring Repeated(std::size_t count) {
    return std::wstring(count, L'a');
}

TEST(ComFileFunc, ANameHasLengthAndNoForbiddenCharacter) {
    std::pair<std::wstring, int> names[] = {{L"a", 1},          {L".vdf2", 1},      {L"名前 1.tar", 1},
                                            {Repeated(256), 1}, {Repeated(257), 0}, {L"", 0}};
    for (const auto& [name, valid] : names) {
        EXPECT_EQ(CComFileFunc::IsValidBaseName(name.c_str()), valid) << name.size();
        EXPECT_EQ(CComFileFunc::IsValidExtName(name.c_str()), valid) << name.size();
    }
    for (const wchar_t forbidden : std::wstring(L"\\/:*?\"<>|")) {
        const std::wstring name = {L'a', forbidden, L'b'};
        EXPECT_EQ(CComFileFunc::IsValidBaseName(name.c_str()), 0) << static_cast<int>(forbidden);
    }
    EXPECT_EQ(CComFileFunc::IsValidBaseName(nullptr), 0);
}

TEST(ComFileFunc, OnlyTheLastNameOfAPathIsLookedAt) {
    const std::pair<std::wstring, int> cases[] = {
        {L"C:\\data\\test.vdf2", 1},
        {L"C:", 1},
        {L"\\", 1},
        {L"C:/data/x", 1},
        {L"\\\\server\\share\\x", 1},
        {L"C:\\a*b?\\<dir>\\x", 1},  // folders on the way
        {L"C:\\data\\te*st", 0},
        {L"te|st", 0},
        {L"C:D:\\x", 0},                         // a drive inside
        {L"C:\\D:\\x", 1},                       // a folder on the way
        {L"C:\\.ext", 1},                        // no file name
        {L"C:\\" + Repeated(254) + L"*a\\", 1},  // a folder that is cut to 256 characters
        {L"C:\\" + Repeated(257), 1},            // a name that is
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
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\data\\run\\test.vdf2", L"C:\\data\\run\\"},
        {L"C:\\data\\", L"C:\\data\\"},
        {L"test.vdf2", L""},
        {L"C:test.vdf2", L"C:"},
        {L"\\\\server\\share\\x", L"\\\\server\\share\\"},
        {nullptr, L"old"},
        {L"", L"old"},
        {L"C:\\te*st", L"old"},
    };
    for (const auto& [path, expected] : cases) {
        CString dir = L"old";
        const int found = CComFileFunc::GetDirFromPath(path, &dir);
        EXPECT_EQ(dir, expected);
        EXPECT_EQ(found, dir != L"old");
    }
    EXPECT_EQ(CComFileFunc::GetDirFromPath(L"C:\\data\\x", nullptr), 0);
}

}  // namespace
