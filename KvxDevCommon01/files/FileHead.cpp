// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/FileHead.h>

#include <array>
#include <cstddef>
#include <span>
#include <string>

#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {
namespace {

constexpr std::size_t kLargestHead = sizeof(COMHDR_TAG);
constexpr std::size_t kExtendedHead = 384;  ///< of the first generation, with its extension block

/// Only data files of the first generation have the extension block.
CComHdr LoadFirstGeneration(CArchive& archive) {
    std::array<std::byte, kExtendedHead> bytes;
    const std::size_t size = archive.Peek(bytes);
    CComHdr header;
    header.Serialize1st(archive, 0, nullptr);
    if (size == bytes.size() && header.CheckGrpType(CComHdr::GRP_DATA)) {
        MemoryStream again(bytes);
        CArchive extended(again, CArchive::load, bytes.size());
        header.Serialize1st(extended, 1, nullptr);
    }
    return header;
}

}  // namespace

std::string VersionText(const CComHdr& header) {
    std::array<BYTE, 4> numbers = {};
    header.GetMasterVersion(&numbers[0], &numbers[1], &numbers[2], &numbers[3], nullptr);
    std::string text;
    for (const BYTE number : numbers) text += (text.empty() ? "" : ".") + std::to_string(number);
    return text;
}

FileHead ReadFileHead(ByteStream& stream) try {
    CArchive archive(stream, CArchive::load, kLargestHead);
    FileHead head;
    switch (PeekHeaderType(archive)) {
        case CComHdr::HDRCODE_CURRENT:
            head.header.Serialize(archive);
            break;
        case CComHdr::HDRCODE_FIRST:
            head = {LoadFirstGeneration(archive), true};
            break;
        default:
            throw Error(ErrorKind::kUnsupported, "it is not a file of the suite");
    }
    return head;
} catch (const CFileException& error) {
    if (error.m_cause == CFileException::endOfFile)
        throw Error(ErrorKind::kDamaged, "its header is cut short");
    throw Error(error);
}

}  // namespace kvx
