// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

#include "tests/files/FileSupport.h"
#include "tests/support/TempFolder.h"

namespace {

/// A header with `value` in one of its fields.
CComHdr With(std::uint32_t COMHDR_TAG::*field, std::uint32_t value) {
    COMHDR_TAG tag = CComHdr().GetTag();
    tag.*field = value;
    CComHdr header;
    header = &tag;
    return header;
}
CComHdr WithCode(std::uint32_t code) {
    return With(&COMHDR_TAG::HdrCode, code);
}

/// The 640 bytes of a header as version 23.0.0.0 writes it.
std::string HeaderBytes(std::uint32_t code, std::u16string_view name) {
    ByteImage image;
    image.Text("\x32\x2D\x37\x51").Words({code}).Utf16(name).Zeros(516 - 2 * name.size());
    return image.Zeros(3).Text("\x17").Zeros(112).bytes;
}

int LoadFirst(CComHdr& header, const std::string& bytes, std::int32_t* version = nullptr) {
    const auto load = [&](CArchive& archive) {
        header.Serialize1st(archive, bytes.size() > 320, version);
        EXPECT_EQ(archive.Remaining(), 0U);
    };
    return CauseOfLoading(bytes, load);
}

TEST(ComHdr, AHeaderIsStoredByteForByte) {
    CComHdr empty;
    EXPECT_EQ(StoredBytes(empty), HeaderBytes(0xFFFFFFFF, u""));
    EXPECT_EQ(empty.GetExtInfoType(CComHdr::HDRCODE_CURRENT), 0U);
    EXPECT_EQ(CComHdr(CComHdr::EXT_INFO_NONE, nullptr), empty);

    CComHdr header(CComHdr::EXT_INFO_SINE_DATA, L"振動 A");
    EXPECT_EQ(StoredBytes(header), HeaderBytes(0x21011, u"振動 A"));
    EXPECT_EQ(header.GetName(), L"振動 A");
}

TEST(ComHdr, BytesOfNoMeaningSurviveLoadingAndStoring) {
    std::string bytes(640, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + 1);
    CComHdr header;
    CauseOfLoading(bytes, [&](CArchive& archive) { header.Serialize(archive); });
    EXPECT_EQ(StoredBytes(header), bytes);
    EXPECT_EQ(header.GetName().size(), 258U) << "a name without an end stops where the field stops";
}

TEST(ComHdr, ANameIsCutAt257UnitsButNotThroughAPair) {
    const std::wstring plain(300, L'x');
    const std::wstring pairAtTheEnd = plain.substr(0, 255) + L"\U0001F600";
    const std::pair<std::wstring, std::wstring> cases[] = {
        {plain, plain.substr(0, 257)},
        {plain.substr(0, 256) + L"\U0001F600", plain.substr(0, 256)},
        {pairAtTheEnd, pairAtTheEnd},
    };
    for (const auto& [given, kept] : cases) {
        EXPECT_EQ(CComHdr(CComHdr::EXT_INFO_NONE, given.c_str()).GetName(), kept);
    }
}

TEST(ComHdr, HeadersCompareByAllBytesAndOnlyWithAValidMagic) {
    const CComHdr header(CComHdr::EXT_INFO_SINE_DATA, L"a");
    COMHDR_TAG tag = header.GetTag();
    EXPECT_TRUE(header == &tag);
    EXPECT_FALSE(header == nullptr);
    tag.Reserved[111] = 1;
    EXPECT_TRUE(header != &tag);

    CComHdr damaged = With(&COMHDR_TAG::Magic, 0);
    EXPECT_TRUE(damaged != CComHdr(damaged));
    EXPECT_FALSE(damaged == &damaged.GetTag());
    EXPECT_EQ(damaged.GetMasterVersion(nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    damaged = static_cast<const COMHDR_TAG*>(nullptr);
    EXPECT_EQ(damaged, CComHdr());
}

TEST(ComHdr, TheVersionIsGivenNumberByNumberAndAsText) {
    const CComHdr header = With(&COMHDR_TAG::MasterVersion, 0x17010203);
    BYTE major = 0, minor = 0, third = 0, fourth = 0;
    CString text;
    EXPECT_EQ(header.GetMasterVersion(&major, &minor, &third, &fourth, &text), 1);
    EXPECT_EQ(text, L"23,1,2,3");
    EXPECT_EQ(major << 24 | minor << 16 | third << 8 | fourth, 0x17010203);
}

TEST(ComHdr, GroupAndApplicationComeFromTheCode) {
    const struct {
        std::uint32_t code, group, app;
    } cases[] = {{0x10001, 1, 1},  {0x21011, 2, 2},    {0x47011, 3, 19}, {0x27200, 2, 21}, {0x12111, 1, 22},
                 {0x41111, 3, 3},  {0x44511, 3, 31},   {0x15001, 1, 32}, {0x26011, 2, 0},  {0x30000, 0, 1},
                 {0x121011, 0, 2}, {0xFFFFFFFF, 0, 0}, {0x2301, 0, 27},  {0x2601, 0, 30},  {0x4101, 0, 26}};
    for (const auto& c : cases) {
        EXPECT_EQ(WithCode(c.code).GetGrpType(), c.group) << std::hex << c.code;
        EXPECT_EQ(WithCode(c.code).GetAppType(), c.app) << std::hex << c.code;
    }
    const CComHdr sine = WithCode(0x21011);
    EXPECT_TRUE(sine.CheckType(CComHdr::GRP_DATA, CComHdr::APP_SINE));
    EXPECT_FALSE(sine.CheckType(CComHdr::GRP_SETTING, CComHdr::APP_SINE));
    EXPECT_TRUE(sine.CheckGrpType(CComHdr::GRP_DATA) && sine.CheckGrpType(CComHdr::GRP_NONE));
    EXPECT_TRUE(sine.CheckAppType(CComHdr::APP_SINE));
    EXPECT_FALSE(sine.CheckAppType(CComHdr::APP_SHOCK));
}

TEST(ComHdr, ApplicationsHaveNamesExceptForTheGaps) {
    const auto nameOf = [](int type) {
        CString name = L"untouched";
        const int found = CComHdr::GetAppTypeName(&name, static_cast<CComHdr::APP_TYPE>(type));
        EXPECT_EQ(found, name != L"untouched") << type;
        return name;
    };
    const std::pair<int, const wchar_t*> cases[] = {
        {2, L"SINE"},    {12, L"JIS E 4031 ANALYSIS"}, {18, L"MULTI-SWEEP-SINE"}, {22, L"TORSIONAL TRANREF"},
        {32, L"STS SW"}, {37, L"CONDITION CHECK"},
    };
    for (const auto& [type, expected] : cases) EXPECT_EQ(nameOf(type), expected);
    for (const int gap : {0, 1, 19, 21, 33, 36, 38}) EXPECT_EQ(nameOf(gap), L"untouched") << gap;
    CString name;
    EXPECT_EQ(WithCode(0x22011).GetAppTypeName(&name), 1);
    EXPECT_EQ(name, L"MULTI-SWEEP-SINE");
    EXPECT_EQ(CComHdr::GetAppTypeName(nullptr, CComHdr::APP_SINE), 0);
}

TEST(ComHdr, AnUnknownKindLeavesTheCode) {
    CComHdr header(CComHdr::EXT_INFO_SINE_DATA, nullptr);
    for (const std::uint32_t unknown : {0U, 360U}) {
        EXPECT_EQ(header.SetExtInfoType(static_cast<CComHdr::EXT_INFO_TYPE>(unknown)), 0);
        EXPECT_EQ(header.GetTag().HdrCode, 0x21011U);
    }
}

TEST(ComHdr, TheFirstGenerationVariantOfAKind) {
    // Every data file has the one common kind; no file of the first generation was of the kind of the last
    // but one.
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {
        {0x21011, 180}, {0x21611, 180}, {0x11011, 46},  {0x40027, 13},
        {0x45011, 294}, {0x11111, 62},  {0x12011, 170}, {0x30000, 0},
    };
    for (const auto& [code, kind] : cases) {
        EXPECT_EQ(WithCode(code).GetExtInfoType(CComHdr::HDRCODE_FIRST), kind) << std::hex << code;
    }
    EXPECT_EQ(WithCode(0x21011).GetExtInfoType(CComHdr::HDRCODE_CURRENT), 183U);
}

TEST(ComHdr, AFirstGenerationHeaderIsMappedToTodaysCode) {
    struct Case {
        std::uint32_t oldCode;
        std::optional<std::uint32_t> dataKind;
        std::uint32_t code;
    };
    // clang-format off
    const Case cases[] = {
        {0x80000, {}, 0x40021}, {0x10001, {}, 0x40022}, {0x1c020, {}, 0x21611}, {0x1d001, {}, 0x11a11},
        {0x99999, {}, 0xFFFFFFFF},
        // the extension block names the data kind
        {0x1c020,    0, 0x21011}, {0x1c020,    1, 0x21111}, {0x1c020,    2, 0x21211}, {0x1c020,    3, 0x21711},
        {0x1c020,  999, 0x24011}, {0x1c020, 1000, 0x21c11}, {0x1c020, 1001, 0x21611}, {0x1c020, 1002, 0x21611},
        {0x1c020, 1003, 0x25011}, {0x1c020, 1004, 0x21411}, {0x1c020, 1005, 0x21311}, {0x1c020, 1006, 0x21a11},
        {0x1c020, 1007, 0x21e11}, {0x1c020,    4, 0x21611}, {0x1c020, 0xFFFFFFFF, 0x21611},
    };
    // clang-format on
    for (const auto& [oldCode, dataKind, code] : cases) {
        CComHdr header(CComHdr::EXT_INFO_GRAPH_COLOR, L"old");
        std::int32_t version = 0;
        EXPECT_EQ(LoadFirst(header, FirstHeaderBytes(oldCode, "\x90\x55\x93\xAE", dataKind), &version), 0);
        EXPECT_EQ(header.GetTag().HdrCode, code) << std::hex << oldCode;
        EXPECT_EQ(header.GetName(), L"振動");
        EXPECT_EQ(version, -2);
        EXPECT_EQ(header.GetTag().MasterVersion, 0x17000000U);
    }
}

TEST(ComHdr, AFirstGenerationNameMayFillItsField) {
    CComHdr header;
    LoadFirst(header, FirstHeaderBytes(0x80000, std::string(308, 'n')));
    EXPECT_EQ(header.GetName(), std::wstring(257, L'n'));
}

TEST(ComHdr, AFirstGenerationNameKeepsWhatIsRightInIt) {
    CComHdr header;
    LoadFirst(header, FirstHeaderBytes(0x80000, "\x90\x55\x93\xAE \x90"));  // cut within a character
    EXPECT_EQ(header.GetName(), L"振動 ・");
    LoadFirst(header, FirstHeaderBytes(0x80000, "\x90\x55\xFF\x93\xAE"));  // one bad byte
    EXPECT_EQ(header.GetName(), L"振・動");
    std::string full;  // the field ends within the last character
    while (full.size() < 308) full += full.empty() ? "n" : "\x90\x55";
    LoadFirst(header, FirstHeaderBytes(0x80000, full.substr(0, 308)));
    EXPECT_EQ(header.GetName(), L'n' + std::wstring(153, L'振') + L'・');
}

TEST(ComHdr, AFileSaysWhatHeaderItHasAndLoadsWhenItIsWhole) {
    const TempFolder folder;
    const std::string current = HeaderBytes(0x21011, u"");
    const std::string first = FirstHeaderBytes(0x1c020, "", 1);
    const struct {
        std::string bytes;
        std::uint32_t type;
        int loads, loadsWithExtension;
    } cases[] = {
        {current + "more", 2, 1, 1},       {first, 1, 1, 1},
        {first.substr(0, 320), 1, 1, 0},   {current.substr(0, 4), 2, 0, 0},
        {current.substr(0, 639), 2, 0, 0}, {"RMO", 3, 0, 0},
        {std::string(700, 'x'), 3, 0, 0},
    };
    const std::wstring path = (folder / "file.vdf2").wstring();
    for (const auto& c : cases) {
        folder.Write("file.vdf2", c.bytes);
        EXPECT_EQ(CComHdr::GetHdrCodeType(path.c_str()), c.type) << c.bytes.size();
        EXPECT_EQ(CComHdr().LoadComHdr(path.c_str(), 0), c.loads) << c.bytes.size();
        CComHdr header(CComHdr::EXT_INFO_GRAPH_COLOR, L"old");
        EXPECT_EQ(header.LoadComHdr(path.c_str(), 1), c.loadsWithExtension) << c.bytes.size();
        const bool isCutShort = c.type != CComHdr::HDRCODE_UNKNOWN && !c.loadsWithExtension;
        EXPECT_EQ(header == CComHdr(), isCutShort) << "what fails to load is empty: " << c.bytes.size();
        kvx::MemoryStream stream = StreamOf(c.bytes);
        if (c.loads) {
            // The extension block counts where it is whole.
            CComHdr expected;
            expected.LoadComHdr(path.c_str(), c.loadsWithExtension);
            const kvx::FileHead head = kvx::ReadFileHead(stream);
            EXPECT_EQ(head.header, expected) << c.bytes.size();
            EXPECT_EQ(head.isFirstGeneration, c.type == CComHdr::HDRCODE_FIRST);
        } else {
            const auto error = ErrorOf([&] { kvx::ReadFileHead(stream); });
            EXPECT_EQ(error->Kind(), isCutShort ? kvx::ErrorKind::kDamaged : kvx::ErrorKind::kUnsupported);
        }
    }
    const std::wstring directory = folder.Path().wstring();
    for (const wchar_t* none : {directory.c_str(), L"/missing", L"", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_EQ(CComHdr::GetHdrCodeType(none), 3U);
        EXPECT_EQ(CComHdr().LoadComHdr(none, 0), 0);
    }
}

}  // namespace
