// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileErr.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(ComFileErr, EveryCauseHasItsMessage) {
    const std::pair<int, const wchar_t*> cases[] = {
        {0, L"エラーはありません"},
        {1, L"未定義のエラーが発生しました"},
        {3, L"パス名が不正です"},
        {11, L"SHARE.EXE がロードされていないか または 共有領域がロックされています"},
        {14, L"ファイルの終わりに到達しました"},
    };
    for (const auto& [cause, message] : cases) {
        const CFileException e(cause);
        CString text;
        int isError = -1;
        EXPECT_EQ(CComFileErr::GetFileErrorString(&e, &text, nullptr, &isError), 1);
        EXPECT_EQ(text, message);
        EXPECT_EQ(isError, cause == 0 ? 0 : 1);
    }
}

TEST(ComFileErr, AnUnknownCauseTouchesNothing) {
    for (const int cause : {-1, 15, 1000}) {
        const CFileException e(cause);
        CString text = L"old";
        int isError = -1;
        EXPECT_EQ(CComFileErr::GetFileErrorString(&e, &text, L"%s", &isError), 1);
        EXPECT_EQ(text, L"old");
        EXPECT_EQ(isError, -1);
    }
}

TEST(ComFileErr, TheCallersLineNamesTheFile) {
    const CFileException e(CFileException::fileNotFound, 2, L"C:\\a%s%n.vdf2");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"開けません: %s", L"開けません: C:\\a%s%n.vdf2"},
        {L"", L""},
        {L"no place", L"no place"},
        {L"%s, %s", L"C:\\a%s%n.vdf2, %s"},
        {L"100 %% %d %n %ls", L"100 %% %d %n %ls"},
    };
    for (const auto& [format, line] : cases) {
        CString text;
        EXPECT_EQ(CComFileErr::GetFileErrorString(&e, &text, format, nullptr), 1);
        EXPECT_EQ(text, std::wstring(line) + L"\nファイルが見つかりません");
    }
}

TEST(ComFileErr, ItNeedsAnExceptionAndAnOutput) {
    const CFileException e(CFileException::diskFull);
    CString text;
    EXPECT_EQ(CComFileErr::GetFileErrorString(nullptr, &text, nullptr, nullptr), 0);
    EXPECT_EQ(CComFileErr::GetFileErrorString(&e, nullptr, nullptr, nullptr), 0);
}

}  // namespace
