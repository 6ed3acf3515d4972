// SPDX-License-Identifier: MIT
//
// The catalogue of file kinds, against figures counted by hand and rows from all over the table.
#include <KvxDevCommon01/files/ComHdr.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace {

struct Row {
    std::uint32_t value;
    std::uint32_t code;
    std::wstring extension;
    std::wstring name;
    int flag;
};

Row RowOf(std::uint32_t value) {
    Row row = {value, 0, L"", L"", -1};
    const auto type = static_cast<CComHdr::EXT_INFO_TYPE>(value);
    EXPECT_EQ(CComHdr::GetExtInfo(type, &row.extension, &row.name, &row.flag), 1) << value;
    const CComHdr header(type, nullptr);
    row.code = header.GetTag().HdrCode;
    EXPECT_EQ(header.GetExtInfoType(CComHdr::HDRCODE_CURRENT), value);
    CString extension, name;
    EXPECT_EQ(header.GetExtInfo(&extension, &name), 1);
    EXPECT_EQ(extension + name, row.extension + row.name) << "found by its code";
    return row;
}

class FileKind : public testing::TestWithParam<Row> {};

TEST_P(FileKind, HasItsCodeExtensionNameAndFlag) {
    const Row& expected = GetParam();
    const Row row = RowOf(expected.value);
    EXPECT_EQ(row.code, expected.code);
    EXPECT_EQ(row.extension, expected.extension);
    EXPECT_EQ(row.name, expected.name);
    EXPECT_EQ(row.flag, expected.flag);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, FileKind, testing::Values(
    Row{  1, 0x40001, L".dat",               L"ライセンス情報ファイル", 1},
    Row{  9, 0x40005, L".dat",               L"グラフ表示設定情報ファイル", 0},
    Row{ 12, 0x40026, L".gci2",              L"グラフ色情報ファイル", 1},
    Row{ 45, 0x40037, L".dat2",              L"ツールバー情報ファイル", 1},
    Row{ 80, 0x11109, L".ranaf_base",        L"基本・制御条件定義ファイル", 0},
    Row{ 82, 0x1110a, L".ranaf_inpch",       L"入力チャネル配置定義ファイル", 0},
    Row{118, 0x41502, L".dat",               L"初期値用 FFT 分析情報ファイル", 0},
    Row{121, 0x41514, L".btp2",              L"親プロジェクトファイル", 1},
    Row{137, 0x41613, L".fatpracticefolder2", L"予備試験フォルダ情報ファイル", 1},
    Row{150, 0x11801, L".sch",               L"スケジューラ ファイル", 1},
    Row{166, 0x11e01, L".end2",              L"Endurance2定義ファイル", 1},
    Row{167, 0x11e11, L".end22",             L"Endurance2定義ファイル", 1},
    Row{178, 0x47001, L".dat",               L"ライセンスマネージャセットアップ情報ファイル", 0},
    Row{180, 0x20001, L".vdf",               L"加振データファイル", 0},
    Row{183, 0x21011, L".vdf2",              L"加振データファイル", 1},
    Row{202, 0x22411, L".vdf2",              L"加振データファイル", 1},
    Row{240, 0x12111, L".twt_ref2",          L"目標波形定義ファイル", 1},
    Row{261, 0x43031, L".dat2",              L"動ばね定数補正係数設定ファイル", 1},
    Row{276, 0x24111, L".etsvdf2",           L"ETSテストデータファイル", 1},
    Row{293, 0x25011, L".swvdf2",            L"加振データファイル", 1},
    Row{327, 0x12602, L".rpt_svrl2",         L"Several results report information file", 1},
    Row{328, 0x41b21, L"dat2",               L"ページ復元情報ファイル", 1},
    Row{350, 0x45022, L"dat2",               L"ページ復元情報ファイル", 1},
    Row{357, 0x40042, L".tid2",              L"試験情報データ", 1},
    Row{358, 0x47311, L".dat2",              L"動作設定定義情報ファイル", 1},
    Row{359, 0x11712, L".cap_inp2",          L"入力チャネル配置定義ファイル", 1}));
// clang-format on

TEST(FileKinds, TheTableAddsUp) {
    std::map<std::uint32_t, int> perGroup;
    std::map<std::wstring, int> perName;
    std::set<std::uint32_t> codes;
    int dotless = 0;
    int flagsZero = 0;
    for (std::uint32_t value = 1; value <= CComHdr::EXT_INFO_LAST; ++value) {
        const Row row = RowOf(value);
        ++perGroup[row.code >> 16];
        ++perName[row.name];
        codes.insert(row.code);
        if (row.extension.front() != L'.') {
            ++dotless;
            EXPECT_EQ(row.extension, L"dat2");
            EXPECT_EQ(row.name, L"ページ復元情報ファイル");
        }
        if (row.flag == 0) {
            ++flagsZero;
            EXPECT_LT(row.code & 0xFF, (row.code & 0xFF00) == 0 ? 0x20U : 0x10U) << "of the first generation";
        }
    }
    EXPECT_EQ(perGroup, (std::map<std::uint32_t, int>{{1, 126}, {2, 35}, {4, 198}}));
    EXPECT_EQ(perName.size(), 112U);
    EXPECT_EQ(perName[L"動作設定定義情報ファイル"], 39);
    EXPECT_EQ(perName[L"ページ復元情報ファイル"], 32);
    EXPECT_EQ(perName[L"加振データファイル"], 25);
    EXPECT_EQ(codes.size(), 359U);
    EXPECT_EQ(dotless, 23);
    EXPECT_EQ(flagsZero, 55);
}

TEST(FileKinds, AnUnknownKindOrCodeTouchesNothing) {
    CString extension = L"untouched";
    EXPECT_EQ(CComHdr().GetExtInfo(&extension, nullptr), 0);
    EXPECT_EQ(CComHdr::GetExtInfo(CComHdr::EXT_INFO_NONE, &extension, nullptr, nullptr), 0);
    EXPECT_EQ(extension, L"untouched");
    EXPECT_EQ(CComHdr::GetExtInfo(CComHdr::EXT_INFO_LAST, nullptr, nullptr, nullptr), 1);
}

}  // namespace
