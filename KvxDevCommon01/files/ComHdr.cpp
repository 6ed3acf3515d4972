// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComHdr.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>

#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/files/detail/FileKindTable.h>
#include <KvxDevCommon01/files/detail/FirstGenerationCodes.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Version.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/text/Character.h>

using kvx::detail::FileKindRow;

namespace {

constexpr std::uint32_t kMagic = 0x51372D32;       // "Q7-2"
constexpr std::uint32_t kFirstMagic = 0x434F4D52;  // "RMOC" on disk
constexpr std::uint32_t kNoCode = 0xFFFFFFFF;

/// The library's version as a header states it: a byte each for the major, minor, third and fourth number.
consteval std::uint32_t MasterVersion() {
    std::uint32_t version = 0;
    std::uint32_t number = 0;
    int shift = 24;
    for (const char c : kvx::kVersion) {
        if (c == '.') {
            version |= number << shift;
            shift -= 8;
            number = 0;
        } else {
            number = 10 * number + static_cast<std::uint32_t>(c - '0');
        }
    }
    return version | number << shift;
}

// What generation a data file is of, whatever its application.
constexpr std::uint32_t kSecondGenerationData = 0x20011;
constexpr std::uint32_t kFirstGenerationData = 0x20001;

constexpr std::size_t kTagSize = sizeof(COMHDR_TAG);
constexpr std::size_t kArchiveBufferSize = 4096;

// The two functions that know the bytes of a current header.
void WriteTag(CArchive& archive, const COMHDR_TAG& tag) {
    static_assert(sizeof(char16_t) == sizeof(std::uint16_t));
    archive << tag.Magic << tag.HdrCode;
    archive.WriteNumbers(tag.Name, std::size(tag.Name));
    archive << tag.MasterVersion;
    archive.WriteNumbers(tag.Reserved, std::size(tag.Reserved));
}

COMHDR_TAG ReadTag(CArchive& archive) {
    COMHDR_TAG tag;
    archive >> tag.Magic >> tag.HdrCode;
    archive.ReadNumbers(tag.Name, std::size(tag.Name));
    archive >> tag.MasterVersion;
    archive.ReadNumbers(tag.Reserved, std::size(tag.Reserved));
    return tag;
}

/// A header of the first generation; it is only ever read.
struct FirstGenerationTag {
    std::uint32_t magic;
    std::uint32_t code;
    std::int32_t version;
    char name[308];
};

FirstGenerationTag ReadFirstGenerationTag(CArchive& archive) {
    FirstGenerationTag tag;
    archive >> tag.magic >> tag.code >> tag.version;
    archive.ReadExact(tag.name, sizeof(tag.name));
    return tag;
}

/// The extension block behind a first-generation header: its data kind; the rest is of no meaning today.
std::int32_t ReadDataKind(CArchive& archive) {
    std::int32_t dataKind = 0;
    std::array<std::byte, 60> rest;
    archive >> dataKind;
    archive.ReadExact(rest.data(), rest.size());
    return dataKind;
}

struct AppRow {
    std::uint32_t type;
    std::int32_t codeByte;  ///< bits 8 to 15 of the header code; -1 when no code has it
    std::wstring_view name;
};

// clang-format off
constexpr auto kApps = std::to_array<AppRow>({
    { 1, 0x00, L""},
    { 2, 0x10, L"SINE"},
    { 3, 0x11, L"RANDOM"},
    { 4, 0x12, L"SHOCK"},
    { 5, 0x13, L"Multi-SINE"},
    { 6, 0x14, L"Multi-RANDOM"},
    { 7, 0x15, L"BMAC"},
    { 8, 0x16, L"FATIGUE"},
    { 9, 0x17, L"CAPTURE"},
    {10, 0x18, L"SCHEDULER"},
    {11, 0x19, L"TRANREF"},
    {12, 0x1A, L"JIS E 4031 ANALYSIS"},
    {13, 0x1B, L"VIEWER"},
    {14, 0x1C, L"RESONANCE DWELL"},
    {15, 0x1D, L"JUMPINESS"},
    {16, 0x1E, L"ENDURANCE2"},
    {17, 0x1F, L"CALIBRATION"},
    {18, 0x20, L"MULTI-SWEEP-SINE"},
    {19, 0x70, L""},
    {20, 0x71, L""},
    {21, 0x72, L""},
    {22, 0x21, L"TORSIONAL TRANREF"},
    {23, 0x22, L"TORSIONAL BMAC"},
    {24, 0x30, L"ETSYG820"},
    {25, 0x40, L"ETSBS810D"},
    {26, 0x41, L"ETSBS800H"},
    {27, 0x23, L"SEAT11119401"},
    {28, 0x24, L"NON-GAUSSIAN"},
    {29, 0x25, L"SYNC SOUND"},
    {30, 0x26, L"CUSTOM REPORT"},
    {31, 0x45, L"ETS"},
    {32, 0x50, L"STS SW"},
    {37,   -1, L"CONDITION CHECK"},
});
// clang-format on

void CopyExtInfo(const FileKindRow& row, CString* extension, CString* name) {
    if (extension != nullptr) *extension = row.extension;
    if (name != nullptr) *name = kvx::ResourceText(row.nameId);
}

}  // namespace

CComHdr::CComHdr() {
    LclInit();
}

CComHdr::CComHdr(EXT_INFO_TYPE type, const wchar_t* name) {
    LclInit();
    SetExtInfoType(type);
    if (name != nullptr) LclSetName(name);
}

void CComHdr::LclInit() {
    tag_ = {};
    tag_.Magic = kMagic;
    tag_.HdrCode = kNoCode;
    tag_.MasterVersion = MasterVersion();
}

void CComHdr::LclSetName(const CString& name) {
    std::u16string units = kvx::ToUtf16(name);
    constexpr std::size_t kLongest = std::size(COMHDR_TAG{}.Name) - 1;
    if (units.size() > kLongest) {
        const char16_t last = units[kLongest - 1];
        const bool cutsPair = last >= 0xD800 && last <= 0xDBFF;
        units.resize(cutsPair ? kLongest - 1 : kLongest);
    }
    std::ranges::fill(tag_.Name, u'\0');
    std::ranges::copy(units, tag_.Name);
}

CComHdr& CComHdr::operator=(const COMHDR_TAG* tag) {
    if (tag == nullptr) {
        LclInit();
    } else {
        tag_ = *tag;
    }
    return *this;
}

bool CComHdr::operator==(const CComHdr& other) const {
    return tag_.Magic == kMagic && std::memcmp(&tag_, &other.tag_, kTagSize) == 0;
}

bool CComHdr::operator==(const COMHDR_TAG* tag) const {
    return tag != nullptr && tag->Magic == kMagic && std::memcmp(&tag_, tag, kTagSize) == 0;
}

CString CComHdr::GetName() const {
    const char16_t* end = std::ranges::find(tag_.Name, u'\0');
    return kvx::FromUtf16({tag_.Name, end});
}

CComHdr::GRP_TYPE CComHdr::GetGrpType() const {
    switch (tag_.HdrCode & 0xFFFF0000) {
        case 0x10000:
            return GRP_DEFINITION;
        case 0x20000:
            return GRP_DATA;
        case 0x40000:
            return GRP_SETTING;
        default:
            return GRP_NONE;
    }
}

CComHdr::APP_TYPE CComHdr::GetAppType() const {
    const auto codeByte = static_cast<std::int32_t>(tag_.HdrCode >> 8 & 0xFF);
    const auto* row = std::ranges::find(kApps, codeByte, &AppRow::codeByte);
    return row == kApps.end() ? APP_NONE : static_cast<APP_TYPE>(row->type);
}

int CComHdr::GetAppTypeName(CString* name) const {
    return GetAppTypeName(name, GetAppType());
}

int CComHdr::GetAppTypeName(CString* name, APP_TYPE type) {
    const auto* row = std::ranges::find(kApps, static_cast<std::uint32_t>(type), &AppRow::type);
    if (name == nullptr || row == kApps.end() || row->name.empty()) return 0;
    *name = row->name;
    return 1;
}

int CComHdr::CheckType(GRP_TYPE grp, APP_TYPE app) const {
    if (grp != GRP_NONE && grp != GetGrpType()) return 0;
    return app == APP_NONE || app == GetAppType();
}

int CComHdr::CheckGrpType(GRP_TYPE grp) const {
    return CheckType(grp, APP_NONE);
}

int CComHdr::CheckAppType(APP_TYPE app) const {
    return CheckType(GRP_NONE, app);
}

int CComHdr::SetExtInfoType(EXT_INFO_TYPE type) {
    const FileKindRow* row = kvx::detail::FindFileKind(type);
    if (row == nullptr) return 0;
    tag_.HdrCode = row->code;
    return 1;
}

CComHdr::EXT_INFO_TYPE CComHdr::GetExtInfoType(HDRCODE_TYPE kind) const {
    std::uint32_t code = tag_.HdrCode;
    if (kind == HDRCODE_FIRST) {
        if ((code & kSecondGenerationData) == kSecondGenerationData) {
            code = kFirstGenerationData;
        } else {
            code = kvx::detail::FirstGenerationVariantOf(code).value_or(code);
        }
    }
    const FileKindRow* row = kvx::detail::FindFileKindByCode(code);
    return row == nullptr ? EXT_INFO_NONE : static_cast<EXT_INFO_TYPE>(row->value);
}

int CComHdr::GetExtInfo(CString* extension, CString* name) const {
    const FileKindRow* row = kvx::detail::FindFileKindByCode(tag_.HdrCode);
    if (row == nullptr) return 0;
    CopyExtInfo(*row, extension, name);
    return 1;
}

int CComHdr::GetExtInfo(EXT_INFO_TYPE type, CString* extension, CString* name, int* flag) {
    const FileKindRow* row = kvx::detail::FindFileKind(type);
    if (row == nullptr) return 0;
    CopyExtInfo(*row, extension, name);
    if (flag != nullptr) *flag = row->flag;
    return 1;
}

CComHdr::HDRCODE_TYPE kvx::PeekHeaderType(CArchive& archive) {
    std::array<std::byte, sizeof(std::uint32_t)> bytes;
    if (archive.Peek(bytes) < bytes.size()) return CComHdr::HDRCODE_UNKNOWN;
    std::uint32_t magic = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) magic |= std::to_integer<std::uint32_t>(bytes[i]) << 8 * i;
    if (magic == kMagic) return CComHdr::HDRCODE_CURRENT;
    return magic == kFirstMagic ? CComHdr::HDRCODE_FIRST : CComHdr::HDRCODE_UNKNOWN;
}

CComHdr::HDRCODE_TYPE CComHdr::GetHdrCodeType(const wchar_t* path) try {
    if (path == nullptr) return HDRCODE_UNKNOWN;
    kvx::InputFile file(path);
    CArchive archive(file, CArchive::load, sizeof(std::uint32_t));
    return kvx::PeekHeaderType(archive);
} catch (const std::exception&) {
    return HDRCODE_UNKNOWN;
}

int CComHdr::LoadComHdr(const wchar_t* path, BOOL withExtension) try {
    if (path == nullptr) return 0;
    kvx::InputFile file(path);
    CArchive archive(file, CArchive::load, kArchiveBufferSize);
    switch (kvx::PeekHeaderType(archive)) {
        case HDRCODE_FIRST:
            Serialize1st(archive, withExtension, nullptr);
            return 1;
        case HDRCODE_CURRENT:
            Serialize(archive);
            return 1;
        default:
            return 0;
    }
} catch (const std::exception&) {
    return 0;
}

void CComHdr::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        WriteTag(archive, tag_);
        archive.Flush();
    } else {
        LclInit();
        tag_ = ReadTag(archive);
    }
}

void CComHdr::Serialize1st(CArchive& archive, BOOL withExtension, std::int32_t* version) {
    if (archive.IsStoring()) throw CFileException(CFileException::endOfFile);
    LclInit();
    const FirstGenerationTag tag = ReadFirstGenerationTag(archive);
    std::uint32_t code = kvx::detail::SecondGenerationCodeOf(tag.code).value_or(kNoCode);
    if (withExtension) code = kvx::detail::CodeOfDataKind(ReadDataKind(archive)).value_or(code);
    tag_.HdrCode = code;

    const std::string bytes(tag.name, std::ranges::find(tag.name, '\0'));
    CString name;
    if (CCharacter::MultiToWide(bytes.c_str(), &name, 0)) LclSetName(name);
    if (version != nullptr) *version = tag.version;
}

int CComHdr::GetMasterVersion(BYTE* major, BYTE* minor, BYTE* third, BYTE* fourth, CString* text) const {
    if (tag_.Magic != kMagic) return 0;
    const auto number = [this](int shift) { return static_cast<BYTE>(tag_.MasterVersion >> shift & 0xFF); };
    if (major != nullptr) *major = number(24);
    if (minor != nullptr) *minor = number(16);
    if (third != nullptr) *third = number(8);
    if (fourth != nullptr) *fourth = number(0);
    if (text != nullptr) {
        *text = std::to_wstring(number(24)) + L',' + std::to_wstring(number(16)) + L',' +
                std::to_wstring(number(8)) + L',' + std::to_wstring(number(0));
    }
    return 1;
}
