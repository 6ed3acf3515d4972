// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <utility>

namespace {

unsigned int TextsFrom(unsigned int firstId) {
    unsigned int count = 0;
    while (!kvx::ResourceText(firstId + count).empty()) ++count;
    return count;
}

TEST(StringTable, EachBlockIsAsLongAsTheTableItNames) {
    EXPECT_EQ(TextsFrom(kvx::kTextFirstDimension), 32u);
    EXPECT_EQ(TextsFrom(kvx::kTextFirstUnit), 165u);
    EXPECT_EQ(TextsFrom(kvx::kTextUnitProduct), 4u);
    EXPECT_EQ(TextsFrom(kvx::kTextSuffixZeroToPeak), 3u);
    EXPECT_EQ(TextsFrom(kvx::kTextWesternMorning), 4u);
    EXPECT_EQ(TextsFrom(kvx::kTextFirstLongYearDate), 6u);
    EXPECT_EQ(TextsFrom(kvx::kTextFirstShortYearDate), 6u);
    EXPECT_EQ(TextsFrom(kvx::kTextWestern24HourTime), 4u);
    EXPECT_EQ(TextsFrom(kvx::kTextFirstFileError), 15u);
    EXPECT_EQ(TextsFrom(kvx::kTextFirstFileKindName), 112u);
}

TEST(StringTable, TextsStandAtTheirIds) {
    const struct {
        unsigned int id;
        const wchar_t* text;
    } rows[] = {
        {101, L"加速度"},
        {108, L"圧力"},
        {109, L"時間"},
        {114, L"比率"},
        {131, L"EU"},
        {132, L"無名数"},
        {201, L"gal"},
        {204, L"m/s#u2#n"},
        {229, L"\u03BCm"},
        {269, L"Hz"},
        {287, L"\uFF9FC"},
        {304, L"回"},
        {315, L"\u03A9"},
        {327, L" "},
        {342, L"N\u30FBm"},
        {365, L"G"},
        {401, L"\u30FB"},
        {402, L"#u2#n"},
        {403, L"/"},
        {404, L"1/"},
        {kvx::kTextSuffixZeroToPeak, L"#l 0-p#n"},
        {kvx::kTextSuffixPeakToPeak, L"#l p-p#n"},
        {kvx::kTextSuffixRms, L"#l rms#n"},
        {kvx::kTextWesternAfternoon, L"%s PM"},
        {kvx::kTextJapaneseMorning, L"午前%s"},
        {kvx::kTextFirstLongYearDate, L"%Y/%m/%d"},
        {kvx::kTextFirstLongYearDate + 3, L"%Y年%#m月%#d日"},
        {kvx::kTextFirstShortYearDate + 5, L"%d-%b-%y"},
        {kvx::kTextJapanese24HourTime, L"%#H時%#M分%S秒"},
        {kvx::kTextJapanese12HourTime, L"%#I時%#M分%#S秒"},
        {803, L"ファイル種別が不正です"},
        {kvx::kTextRowName, L"Data-Row-%.3Id"},
        {kvx::kTextColumnName, L"Data-Col-%.3Id"},
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

TEST(StringTable, EveryFileKindHasANameOfItsOwn) {
    std::set<std::wstring_view> names;
    for (unsigned int id = 2001; id <= 2112; ++id) names.insert(kvx::ResourceText(id));
    EXPECT_EQ(names.size(), 112u);
}

TEST(StringTable, AnIdWithoutTextGivesNothingAndLeavesTheTargetAlone) {
    for (const unsigned int id : {0u, 100u, 133u, 366u, 405u, 2113u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(id);
        CString text = L"before";
        EXPECT_TRUE(kvx::ResourceText(id).empty());
        EXPECT_EQ(kvx::LoadResourceText(id, &text, 10), 0);
        EXPECT_EQ(text, L"before");
    }
    EXPECT_EQ(kvx::LoadResourceText(101, nullptr, 10), 0);
}

TEST(StringTable, LoadingCutsTheTextAtTheLimit) {
    CString text;
    for (const auto& [limit, expected] :
         {std::pair<std::size_t, const wchar_t*>{0, L""}, {2, L"加速"}, {3, L"加速度"}, {99, L"加速度"}}) {
        EXPECT_EQ(kvx::LoadResourceText(101, &text, limit), 1);
        EXPECT_EQ(text, expected);
    }
}

}  // namespace
