// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/detail/SettingsFile.h>

#include <exception>
#include <string>

#include <KvxDevCommon01/files/ComFileErr.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/resources/StringTable.h>

namespace kvx::detail {
namespace {

constexpr std::size_t kArchiveBufferSize = 4096;
constexpr unsigned int kErrorIcon = 0x10;

/// The message of the file as the text, the cause as its detail.
void TellFailure(TextId format, const CFileException& failure) try {
    CString lines;
    CComFileErr::GetFileErrorString(&failure, &lines, CString(ResourceText(format)).c_str(), nullptr);
    const std::size_t end = lines.rfind(L'\n');
    MessageRequest request;
    request.text = lines.substr(0, end);
    request.details = {lines.substr(end + 1)};
    request.type = kErrorIcon;
    CurrentUserInterface().ShowMessage(request);
} catch (const std::bad_alloc&) {
    // A process without the memory for a message cannot tell that either.
}

/// Runs `work`; what it throws becomes 0 and, when wanted, one message.
template <typename Work>
BOOL Report(const CString& path, int showMessage, TextId format, Work work) {
    CFileException failure(CFileException::genericException, -1, path);  // when allocation fails
    try {
        work();
        return 1;
    } catch (const CFileException& e) {
        failure = e;
        if (failure.m_strFileName.empty()) failure.m_strFileName = path;
    } catch (const std::exception&) {
    }
    if (showMessage) TellFailure(format, failure);
    return 0;
}

CString LoadFile(const SettingsFileKind& kind, const CString& path, const SettingsLoader& loader) {
    InputFile file(path);
    CArchive archive(file, CArchive::load, kArchiveBufferSize);
    CComHdr header;
    switch (PeekHeaderType(archive)) {
        case CComHdr::HDRCODE_CURRENT:
            if (!loader.load) throw CFileException(CFileException::invalidFile);
            header.Serialize(archive);
            // Any other file of the suite would make a set of colours, too.
            if (header.GetExtInfoType(CComHdr::HDRCODE_CURRENT) != kind.type)
                throw CFileException(CFileException::invalidFile);
            loader.load(archive);
            break;
        case CComHdr::HDRCODE_FIRST:
            header.Serialize1st(archive, 0, nullptr);
            loader.load1st(archive);
            break;
        default:
            throw CFileException(CFileException::invalidFile);
    }
    return header.GetName();
}

}  // namespace

BOOL LoadSettings(const SettingsFileKind& kind, const CString& path, CString* headerText, int showMessage,
                  const SettingsLoader& loader) {
    loader.reset();
    const BOOL isLoaded = Report(path, showMessage, kind.loadFailure, [&] {
        CString text = LoadFile(kind, path, loader);
        if (headerText != nullptr) headerText->swap(text);
    });
    if (!isLoaded) loader.reset();
    return isLoaded;
}

BOOL StoreSettings(const SettingsFileKind& kind, const CString& path, const CString* headerText,
                   int showMessage, const Transfer& store) {
    return Report(path, showMessage, kind.storeFailure, [&] {
        CComHdr header(kind.type, headerText != nullptr ? headerText->c_str() : nullptr);
        OutputFile file(path);
        CArchive archive(file, CArchive::store, kArchiveBufferSize);
        header.Serialize(archive);
        store(archive);
        archive.Flush();
        file.Commit();
    });
}

}  // namespace kvx::detail
