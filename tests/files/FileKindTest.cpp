// SPDX-License-Identifier: MIT
//
// The catalogue of file kinds: rows that are easily got wrong, and a checksum over all of them.
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/Text.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

namespace {

/// "number code extension name flag" of a kind; found by its number and by its code.
std::string RowOf(std::uint32_t value) {
    const auto kind = static_cast<CComHdr::EXT_INFO_TYPE>(value);
    CString extension, name, extensionByCode, nameByCode;
    int flag = -1;
    EXPECT_EQ(CComHdr::GetExtInfo(kind, &extension, &name, &flag), 1) << value;
    const CComHdr header(kind, nullptr);
    EXPECT_EQ(header.GetExtInfoType(CComHdr::HDRCODE_CURRENT), value);
    EXPECT_EQ(header.GetExtInfo(&extensionByCode, &nameByCode), 1);
    EXPECT_EQ(extensionByCode + nameByCode, extension + name) << value;
    std::ostringstream row;
    row << value << ' ' << std::hex << header.GetTag().HdrCode << ' ' << kvx::ToUtf8(extension) << ' '
        << kvx::ToUtf8(name) << ' ' << flag;
    return row.str();
}

TEST(FileKinds, HaveTheirCodeExtensionNameAndFlag) {
    for (const std::string row : {
             "9 40005 .dat グラフ表示設定情報ファイル 0",
             "82 1110a .ranaf_inpch 入力チャネル配置定義ファイル 0",
             "118 41502 .dat 初期値用 FFT 分析情報ファイル 0",
             "150 11801 .sch スケジューラ ファイル 1",
             "167 11e11 .end22 Endurance2定義ファイル 1",
             "183 21011 .vdf2 加振データファイル 1",
             "240 12111 .twt_ref2 目標波形定義ファイル 1",
             "328 41b21 dat2 ページ復元情報ファイル 1",
         }) {
        EXPECT_EQ(RowOf(static_cast<std::uint32_t>(std::stoul(row))), row);
    }
}

TEST(FileKinds, AllOfThemAddUp) {
    // FNV-1a of the rows, each with a line feed. The sum was taken over the list of kinds that the suite
    // agreed on, not over this table.
    std::uint64_t sum = 0xCBF29CE484222325;
    for (std::uint32_t value = 1; value <= CComHdr::EXT_INFO_LAST; ++value) {
        for (const char c : RowOf(value) + '\n') {
            sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    EXPECT_EQ(sum, 0xAF307EC3B199282C);
}

TEST(FileKinds, AnUnknownKindOrCodeTouchesNothing) {
    CString extension = L"untouched";
    EXPECT_EQ(CComHdr().GetExtInfo(&extension, nullptr), 0);
    EXPECT_EQ(CComHdr::GetExtInfo(CComHdr::EXT_INFO_NONE, &extension, nullptr, nullptr), 0);
    EXPECT_EQ(extension, L"untouched");
    EXPECT_EQ(CComHdr::GetExtInfo(CComHdr::EXT_INFO_LAST, nullptr, nullptr, nullptr), 1);
}

}  // namespace
