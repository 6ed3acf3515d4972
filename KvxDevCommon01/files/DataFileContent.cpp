// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFileContent.h>

#include <iterator>
#include <limits>

#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/files/detail/RecordLayout.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

FileHead LoadDataFileHead(CArchive& archive) {
    // Pipes and devices have no end.
    if (archive.Remaining() == std::numeric_limits<std::uint64_t>::max())
        throw CFileException(CFileException::invalidFile);
    FileHead head;
    switch (PeekHeaderType(archive)) {
        case CComHdr::HDRCODE_CURRENT:
            head.header.Serialize(archive);
            break;
        case CComHdr::HDRCODE_FIRST:
            head.isFirstGeneration = true;
            head.header.Serialize1st(archive, 1, nullptr);
            break;
        default:
            break;
    }
    RequireDataHeader(head.header);
    if (archive.Remaining() == 0) throw Error(ErrorKind::kDamaged, "it has a header but no record");
    return head;
}

void RequireDataHeader(const CComHdr& header) {
    const bool isHeader = header.GetMasterVersion(nullptr, nullptr, nullptr, nullptr, nullptr) != 0;
    if (!isHeader || !header.CheckGrpType(CComHdr::GRP_DATA))
        throw Error(ErrorKind::kUnsupported, "it is not a vibration data file");
}

DataFileContent LoadContent(ByteStream& stream, ErrorPlace* place) {
    CArchive archive(stream, CArchive::load);
    const FileHead head = LoadDataFileHead(archive);
    DataFileContent content = {head.header, {}};
    while (archive.Remaining() > 0) {
        place->record = std::ssize(content.records) + 1;
        content.records.push_back(LoadWholeRecord(archive, GenerationOf(head)));
    }
    return content;
}

void RequireContent(const DataFileContent& content, ErrorPlace* place) {
    RequireDataHeader(content.header);
    if (content.records.empty()) throw Error(ErrorKind::kBadValue, "there is no record to store");
    for (std::size_t r = 0; r < content.records.size(); ++r) {
        if (content.records[r].Check()) continue;
        place->record = static_cast<std::int64_t>(r) + 1;
        throw Error(ErrorKind::kBadValue, "it is empty or damaged");
    }
}

void StoreContent(ByteStream& stream, const DataFileContent& content) {
    CArchive archive(stream, CArchive::store);
    CComHdr(content.header).Serialize(archive);
    for (const CComDataBase& record : content.records) record.Store(archive);
    archive.Flush();
}

DataFileContent LoadDataFile(std::wstring_view path) {
    return WithPlace({.path = ToUtf8(path)}, [&](ErrorPlace& place) {
        InputFile file(path);
        return LoadContent(file, &place);
    });
}

DataFileContent LoadDataFile(ByteStream& stream) {
    return WithPlace({}, [&](ErrorPlace& place) { return LoadContent(stream, &place); });
}

void StoreDataFile(std::wstring_view path, const DataFileContent& content) {
    WithPlace({.path = ToUtf8(path)}, [&](ErrorPlace& place) {
        RequireContent(content, &place);
        OutputFile file(path);
        StoreContent(file, content);
        file.Commit();
    });
}

void StoreDataFile(ByteStream& stream, const DataFileContent& content) {
    WithPlace({}, [&](ErrorPlace& place) {
        RequireContent(content, &place);
        StoreContent(stream, content);
    });
}

}  // namespace kvx
