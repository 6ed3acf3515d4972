// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFile.h>

#include <exception>
#include <utility>

#include <KvxDevCommon01/files/ComFileErr.h>
#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

using kvx::DataFileContent;

namespace {

constexpr unsigned int kWarningIcon = 0x30;

void ShowWarning(CString text) {
    kvx::MessageRequest request;
    request.text = std::move(text);
    request.type = kWarningIcon;
    kvx::CurrentUserInterface().ShowMessage(request);
}

/// Runs `work`, which works on that file. Whatever it throws becomes 0 and, when wanted, one message.
template <typename Work>
int Report(const wchar_t* path, BOOL showMessage, Work work) try {
    const CString name = path != nullptr ? path : L"";
    CFileException failure(CFileException::genericException, -1, name);
    bool isWrongKind = false;
    try {
        if (path == nullptr) throw CFileException(CFileException::badPath);
        work();
        return 1;
    } catch (const kvx::Error& e) {
        isWrongKind = e.Kind() == kvx::ErrorKind::kUnsupported;
    } catch (const CFileException& e) {
        failure = CFileException(e.m_cause, e.m_lOsError, name);
    } catch (const std::exception&) {
    }
    if (!showMessage) return 0;
    CString text;
    if (isWrongKind) {
        text = name + L'\n' + CString(kvx::ResourceText(kvx::kTextWrongFileKind));
    } else {
        CComFileErr::GetFileErrorString(&failure, &text, L"%s", nullptr);
    }
    ShowWarning(std::move(text));
    return 0;
} catch (const std::exception&) {
    return 0;  // from the user interface, or no memory for the message
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

int CComDataFile::LoadDataFile(const wchar_t* path, DataFileContent* content, BOOL showMessage) {
    if (content == nullptr) return 0;
    *content = {};
    return Report(path, showMessage, [&] {
        kvx::InputFile file(path);
        kvx::ErrorPlace place;
        *content = kvx::LoadContent(file, &place);
    });
}

int CComDataFile::StoreDataFile(const wchar_t* path, const DataFileContent& content, BOOL showMessage) {
    return Report(path, showMessage, [&] {
        kvx::ErrorPlace place;
        kvx::RequireContent(content, &place);
        kvx::OutputFile file(path);
        kvx::StoreContent(file, content);
        file.Commit();
    });
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
