// SPDX-License-Identifier: MIT
//
// The catalogue of file kinds, by a checksum over all of it.
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/FileKinds.h>
#include <KvxDevCommon01/platform/Text.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

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

TEST(FileKinds, HaveTheirCodesExtensionsNamesAndFlags) {
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

TEST(FileKinds, AreFoundByNumberCodeExtensionOrAPartOfTheirTexts) {
    const auto numbers = [](std::string_view text) {
        std::vector<std::uint32_t> found;
        for (const kvx::FileKind& kind : kvx::FindFileKinds(text)) found.push_back(kind.type);
        return found;
    };
    EXPECT_EQ(kvx::AllFileKinds().size(), 359U);
    for (const char* text : {"181", "0x20011", "0X20011"})
        EXPECT_EQ(numbers(text), std::vector{181U}) << text;
    const std::vector<std::uint32_t> dataFiles = numbers("vdf2");
    EXPECT_GT(dataFiles.size(), 1U);
    EXPECT_EQ(dataFiles, numbers(".VDF2"));
    const std::vector<std::uint32_t> named = numbers("加振データ");
    EXPECT_NE(std::ranges::find(named, 181U), named.end());
    EXPECT_TRUE(numbers("no such kind").empty());
    const kvx::FileKind kind = kvx::FindFileKinds("185").front();
    EXPECT_EQ(kind.code, 0x21111U);
    EXPECT_EQ(kind.extension, ".vdf2");
}

}  // namespace
