// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <utility>

namespace {

TEST(StringTable, TextsStandAtTheirIds) {
    const struct {
        unsigned int id;
        const wchar_t* text;
    } rows[] = {
        {108, L"圧力"},
        {109, L"時間"},
        {131, L"EU"},
        {201, L"gal"},
        {304, L"回"},
        {803, L"ファイル種別が不正です"},
        {kvx::kTextColumnName, L"Data-Col-%.3Id"},
        {kvx::kTextScaleFullRange, L"全域"},
        {kvx::kTextScaleAutomatic, L"自動"},
        {kvx::kTextScaleFixed, L"固定"},
        {kvx::kTextScaleSymmetric, L"±対称"},
        {1101 + CFileException::none, L"エラーはありません"},
        {1101 + CFileException::accessDenied, L"ファイルへのアクセスが拒否されました"},
        {1101 + CFileException::endOfFile, L"ファイルの終わりに到達しました"},
        {2001, L"ライセンス情報ファイル"},
        {2045, L"初期値用 FFT 分析情報ファイル"},
        {2076, L"加振データファイル"},
        {2105, L"Report information file"},
        {2112, L"試験情報データ"},
    };
    for (const auto& row : rows) EXPECT_EQ(kvx::ResourceText(row.id), row.text) << "id " << row.id;
    EXPECT_FALSE(kvx::ResourceText(kvx::kTextDefaultError).empty());
}

TEST(StringTable, EveryFileErrorAndEveryFileKindHasATextOfItsOwn) {
    std::set<std::wstring_view> texts;
    for (unsigned int i = 0; i < 15; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileError + i));
    for (unsigned int i = 0; i < 112; ++i) texts.insert(kvx::ResourceText(kvx::kTextFirstFileKindName + i));
    texts.erase(L"");
    EXPECT_EQ(texts.size(), 15u + 112u);
}

TEST(StringTable, AnIdWithoutTextGivesNothing) {
    for (const unsigned int id : {0u, 100u, 133u, 366u, 405u, 1116u, 2113u, 0xFFFFFFFFu})
        EXPECT_TRUE(kvx::ResourceText(id).empty()) << id;
    EXPECT_EQ(kvx::ResourceText(101), L"加速度");
}

}  // namespace
