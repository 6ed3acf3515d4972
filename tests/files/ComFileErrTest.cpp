// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileErr.h>
#include <gtest/gtest.h>

namespace {

TEST(ComFileErr, ACauseHasItsMessageAndAnUnknownOneTouchesNothing) {
    const struct {
        int cause;
        const wchar_t* message;
        int isError;
    } cases[] = {
        {0, L"エラーはありません", 0},
        {1, L"未定義のエラーが発生しました", 1},
        {11, L"SHARE.EXE がロードされていないか または 共有領域がロックされています", 1},
        {14, L"ファイルの終わりに到達しました", 1},
        {-1, L"old", -1},
        {15, L"old", -1},
    };
    for (const auto& c : cases) {
        const CFileException e(c.cause);
        CString text = L"old";
        int isError = -1;
        EXPECT_EQ(CComFileErr::GetFileErrorString(&e, &text, nullptr, &isError), 1);
        EXPECT_EQ(text, c.message);
        EXPECT_EQ(isError, c.isError);
    }
}

TEST(ComFileErr, TheCallersLineNamesTheFile) {
    const CFileException e(CFileException::fileNotFound, 2, L"C:\\a%s%n.vdf2");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"開けません: %s", L"開けません: C:\\a%s%n.vdf2"},
        {L"", L""},
        {L"%s, %s", L"C:\\a%s%n.vdf2, %s"},
        {L"100 %% %d %n %ls", L"100 %% %d %n %ls"},
    };
    CString text;
    for (const auto& [format, line] : cases) {
        EXPECT_EQ(CComFileErr::GetFileErrorString(&e, &text, format, nullptr), 1);
        EXPECT_EQ(text, std::wstring(line) + L"\nファイルが見つかりません");
    }
    EXPECT_EQ(CComFileErr::GetFileErrorString(nullptr, &text, nullptr, nullptr), 0);
    EXPECT_EQ(CComFileErr::GetFileErrorString(&e, nullptr, nullptr, nullptr), 0);
}

}  // namespace
