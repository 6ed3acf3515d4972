// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFile.h>

#include <exception>
#include <new>
#include <utility>

#include <KvxDevCommon01/files/ComFileErr.h>
#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/files/detail/RecordLayout.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

using kvx::DataFileContent;
using kvx::DataFileFailure;
using kvx::Refused;

namespace {

constexpr std::size_t kArchiveBufferSize = 64 * 1024;
constexpr unsigned int kWarningIcon = 0x30;

void ShowWarning(CString text) {
    kvx::MessageRequest request;
    request.text = std::move(text);
    request.type = kWarningIcon;
    kvx::CurrentUserInterface().ShowMessage(request);
}

void LoadContent(const wchar_t* path, DataFileContent& content, DataFileFailure& failure) {
    kvx::InputFile file(path);
    const std::uint64_t size = file.Remaining();
    const CComHdr::HDRCODE_TYPE type = kvx::BeginDataFile(file);
    const auto generation =
        type == CComHdr::HDRCODE_FIRST ? kvx::RecordGeneration::kFirst : kvx::RecordGeneration::kCurrent;
    CArchive archive(file, CArchive::load, kArchiveBufferSize);
    kvx::LoadDataHeader(archive, type, &content.header);
    if (archive.Remaining() == 0) throw Refused{DataFileFailure::kNoRecord};
    while (archive.Remaining() > 0) {
        failure.record = static_cast<__int64>(content.records.size());
        failure.offset = size - archive.Remaining();
        content.records.push_back(kvx::LoadWholeRecord(archive, generation));
    }
}

void StoreContent(const wchar_t* path, const DataFileContent& content, DataFileFailure& failure) {
    CComHdr header = content.header;
    kvx::RequireDataHeader(header);
    if (content.records.empty()) throw Refused{DataFileFailure::kNoRecord};
    for (const CComDataBase& record : content.records) {
        failure.record = &record - content.records.data();
        if (!record.Check()) throw Refused{DataFileFailure::kBadRecord};
    }
    failure.record = -1;

    kvx::OutputFile file(path);
    CArchive archive(file, CArchive::store, kArchiveBufferSize);
    header.Serialize(archive);
    for (const CComDataBase& record : content.records) record.Store(archive);
    archive.Flush();
    file.Commit();
}

CString MessageFor(const DataFileFailure& failure) {
    CString text;
    if (failure.reason == DataFileFailure::kNotDataFile) {
        text = failure.error.m_strFileName + L'\n' + CString(kvx::ResourceText(kvx::kTextWrongFileKind));
    } else {
        CComFileErr::GetFileErrorString(&failure.error, &text, L"%s", nullptr);
    }
    return text;
}

/// Runs `work(path, failure)` and turns whatever it throws into a result and one report.
template <typename Work>
int Report(const wchar_t* path, DataFileFailure* reported, BOOL showMessage, Work work) try {
    DataFileFailure failure;
    const bool isDone = kvx::AttemptOnFile(path, &failure, work);
    if (reported != nullptr) *reported = failure;
    if (!isDone && showMessage) ShowWarning(MessageFor(failure));
    return isDone;
} catch (const std::bad_alloc&) {  // no memory for the report either
    if (reported != nullptr) reported->reason = DataFileFailure::kNoMemory;
    return 0;
} catch (const std::exception&) {
    return 0;  // from the user interface
}

bool Accepts(const std::wstring& path, CComDataFile::CHECK_FUNC check, __int64 user) {
    const CComHdr::HDRCODE_TYPE type = CComHdr::GetHdrCodeType(path.c_str());
    CComHdr header;
    const bool isDataFile = type != CComHdr::HDRCODE_UNKNOWN &&
                            header.LoadComHdr(path.c_str(), type == CComHdr::HDRCODE_FIRST) &&
                            header.CheckGrpType(CComHdr::GRP_DATA);
    if (!isDataFile) {
        ShowWarning(CString(kvx::ResourceText(kvx::kTextWrongFileKind)));
        return false;
    }
    return check == nullptr || check(path.c_str(), static_cast<std::int32_t>(header.GetAppType()), user) != 0;
}

/// A kind's extension with its dot, also where the catalogue has none; empty for an unknown kind.
CString DottedExtension(CComHdr::EXT_INFO_TYPE kind) {
    CString extension;
    if (CComHdr::GetExtInfo(kind, &extension, nullptr, nullptr) && !extension.starts_with(L'.'))
        extension.insert(0, 1, L'.');
    return extension;
}

/// The paths that the person chose; empty also when the dialog could not be made.
CStringArray Choose(kvx::FileDialogRequest request, CComHdr::EXT_INFO_TYPE kind,
                    const wchar_t* initialDir) try {
    if (!CComDataFile::MakeFilter(kind, &request.filter)) return {};
    request.defaultExtension = DottedExtension(kind);
    if (initialDir != nullptr) request.initialDirectory = initialDir;
    return kvx::CurrentUserInterface().ChooseFiles(request);
} catch (const std::exception&) {
    return {};
}

}  // namespace

std::string DataFileFailure::Text() const {
    std::string text;
    if (record >= 0)
        text += "record " + std::to_string(record + 1) + " at byte " + std::to_string(offset) + ": ";
    switch (reason) {
        case kNone:
            return "no error";
        case kFileError:
            return text + error.what();
        case kNotDataFile:
            text += "this is not a data file";
            break;
        case kNoRecord:
            text += "there is no record";
            break;
        case kBadRecord:
            text += "the record is empty or damaged";
            break;
        case kNoMemory:
            text += "there is not enough memory";
            break;
    }
    return text + ": '" + kvx::ToUtf8(error.m_strFileName) + "'";
}

int CComDataFile::LoadDataFile(const wchar_t* path, DataFileContent* content, DataFileFailure* failure,
                               BOOL showMessage) {
    if (content == nullptr) return 0;
    *content = {};
    DataFileContent loaded;
    const auto load = [&loaded](const wchar_t* source, DataFileFailure& reason) {
        LoadContent(source, loaded, reason);
    };
    if (!Report(path, failure, showMessage, load)) return 0;
    *content = std::move(loaded);
    return 1;
}

int CComDataFile::StoreDataFile(const wchar_t* path, const DataFileContent& content, DataFileFailure* failure,
                                BOOL showMessage) {
    const auto store = [&content](const wchar_t* target, DataFileFailure& reason) {
        StoreContent(target, content, reason);
    };
    return Report(path, failure, showMessage, store);
}

int CComDataFile::MakeFilter(CComHdr::EXT_INFO_TYPE kind, CString* filter) {
    CString name;
    if (filter == nullptr || !CComHdr::GetExtInfo(kind, nullptr, &name, nullptr)) return 0;
    const CString pattern = L'*' + DottedExtension(kind);
    *filter = name + L" (" + pattern + L")|" + pattern + L"||";
    return 1;
}

int CComDataFile::OpenDataFile(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path) {
    return OpenDataFileEx(kind, initialDir, path, nullptr, 0);
}

int CComDataFile::OpenDataFileEx(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path,
                                 CHECK_FUNC check, __int64 user) {
    if (path == nullptr) return 0;
    kvx::FileDialogRequest request;
    request.accept = [=](const std::wstring& chosen) { return Accepts(chosen, check, user); };
    CStringArray chosen = Choose(std::move(request), kind, initialDir);
    if (chosen.empty()) return 0;
    *path = std::move(chosen.front());
    return 1;
}

int CComDataFile::OpenDataFileMulti(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir,
                                    CStringArray* paths, CHECK_FUNC check, __int64 user) {
    if (paths == nullptr) return 0;
    kvx::FileDialogRequest request;
    request.multiple = true;
    request.accept = [=](const std::wstring& chosen) { return Accepts(chosen, check, user); };
    CStringArray chosen = Choose(std::move(request), kind, initialDir);
    if (chosen.empty()) return 0;
    *paths = std::move(chosen);
    return 1;
}

int CComDataFile::SaveDataFile(CComHdr::EXT_INFO_TYPE kind, const wchar_t* initialDir, CString* path) {
    if (path == nullptr) return 0;
    kvx::FileDialogRequest request;
    request.save = true;
    CStringArray chosen = Choose(std::move(request), kind, initialDir);
    if (chosen.empty()) return 0;
    *path = std::move(chosen.front());
    if (kvx::SplitPath(*path).extension.empty()) *path += DottedExtension(kind);
    return 1;
}
