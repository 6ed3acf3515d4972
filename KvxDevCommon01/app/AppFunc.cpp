// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/AppFunc.h>

#include <algorithm>
#include <cstddef>

#include <KvxDevCommon01/platform/Desktop.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Folder.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Profile.h>
#include <KvxDevCommon01/platform/Program.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

namespace {

using OptionalPath = std::optional<std::wstring>;

constexpr std::size_t kMaxComputerName = 32;

OptionalPath KvxDir() {
    return kvx::JoinPath({L"", kvx::Environment("SystemDrive").value_or(L"") + L"\\KVX", L"", L""});
}

OptionalPath Below(const OptionalPath& folder, const wchar_t* name) {
    return folder ? kvx::JoinPath({L"", *folder, name, L""}) : std::nullopt;
}

/// A result for the caller: nothing is written when there is none.
int Deliver(const OptionalPath& value, CString* result) {
    if (result == nullptr || !value) return 0;
    *result = *value;
    return 1;
}

int DeliverFolder(const OptionalPath& folder, int create, CString* result) {
    if (result == nullptr || !folder) return 0;
    if (create && !kvx::CreateFolder(*folder)) return 0;
    return Deliver(folder, result);
}

std::optional<std::wstring> VersionText(const wchar_t* kvx::ProgramVersion::*text) {
    const kvx::ProgramVersion* version = kvx::RunningProgramVersion();
    if (version == nullptr || version->*text == nullptr) return std::nullopt;
    return version->*text;
}

std::wstring OrEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

/// The lines of a text; none for an empty one.
CStringArray Lines(std::wstring_view text) {
    CStringArray lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(L'\n'), text.size());
        std::wstring_view line = text.substr(0, end);
        if (line.ends_with(L'\r')) line.remove_suffix(1);
        lines.emplace_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace

int CAppFunc::GetKvxDir(CString* path) {
    return Deliver(KvxDir(), path);
}

int CAppFunc::GetKvxQ7Dir1st(CString* path, int create) {
    return DeliverFolder(Below(KvxDir(), L"Q7"), create, path);
}

int CAppFunc::GetKvxQ7Dir2nd(CString* path, int create) {
    return DeliverFolder(Below(KvxDir(), L"Q7_2nd"), create, path);
}

int CAppFunc::GetKvxQ7Dir(CString* path, int create) {
    return GetKvxQ7Dir2nd(path, create);
}

int CAppFunc::GetQ7DataDir(CString* path, int create) {
    const std::wstring drive = kvx::Environment("SystemDrive").value_or(L"");
    return DeliverFolder(Below(drive + L"\\", L"Q7Data"), create, path);
}

int CAppFunc::GetQ7IniPath(CString* path) {
    CString folder;
    return GetKvxQ7Dir(&folder, 0) ? Deliver(Below(folder, L"Q7.ini"), path) : 0;
}

int CAppFunc::GetKvxPathConfigIniPath(CString* path) {
    return Deliver(Below(KvxDir(), L"KVXPathConfig.ini"), path);
}

int CAppFunc::GetInitTestDefDir(CString* path) {
    const OptionalPath documents = kvx::DocumentsFolder();
    if (!documents || documents->size() >= kvx::kMaxPath) return 0;
    return Deliver(*documents + L"\\", path);
}

int CAppFunc::GetMyComputerName(CString* name) {
    return Deliver(kvx::ComputerName(kMaxComputerName), name);
}

int CAppFunc::GetVersionString(CString* fileVersion, CString* legal) {
    const int hasVersion = Deliver(VersionText(&kvx::ProgramVersion::fileVersion), fileVersion);
    const int hasLegal = Deliver(VersionText(&kvx::ProgramVersion::legalCopyright), legal);
    return hasVersion || hasLegal;
}

int CAppFunc::GetInternalNameString(CString* name) {
    return Deliver(VersionText(&kvx::ProgramVersion::internalName), name);
}

int CAppFunc::AddDocShell(const wchar_t* progId, const wchar_t* arguments, const wchar_t* verb,
                          const wchar_t* verbText) {
    if (progId == nullptr || arguments == nullptr || verb == nullptr) return 0;
    const OptionalPath program = kvx::ProgramPath();
    if (!program) return 0;
    const std::wstring key = std::wstring(progId) + L"\\shell\\" + verb;
    const std::wstring command = L"\"" + *program + L"\" " + arguments;
    kvx::Desktop& desktop = kvx::CurrentDesktop();
    return desktop.SetDocumentTypeValue(key, verbText) &&
           desktop.SetDocumentTypeValue(key + L"\\command", command.c_str());
}

int CAppFunc::IsEnableSendDesktop() {
    CString path;
    if (!GetQ7IniPath(&path)) return 0;
    return kvx::Profile::Load(path).Integer(L"Common01", L"DesktopJpeg", 1) != 0;
}

int CAppFunc::SendDesktopPicture(const wchar_t* computer) {
    CString root;
    CString folder;
    if (computer == nullptr || !GetKvxDir(&root) || !GetKvxQ7Dir(&folder, 1)) return 0;
    const OptionalPath picture = Below(folder, L"Q7pcDesktop.jpeg");
    if (!picture) return 0;
    const OptionalPath target = kvx::SharePath(*picture, root, computer);
    return target && kvx::CopyFile(*picture, *target);
}

int CAppFunc::CopyMainFrmToClipBoard(CWnd& frame) {
    return kvx::CurrentDesktop().CopyPictureToClipboard(frame);
}

int CAppFunc::MessageBoxW(const wchar_t* text, unsigned int type, const wchar_t* caption, HWND owner) {
    return MessageBoxExW(text, CStringArray(), type, caption, owner);
}

int CAppFunc::MessageBoxExW(const wchar_t* text, const wchar_t* detail, unsigned int type,
                            const wchar_t* caption, HWND owner) {
    return MessageBoxExW(text, Lines(OrEmpty(detail)), type, caption, owner);
}

int CAppFunc::MessageBoxExW(const wchar_t* text, const CStringArray& details, unsigned int type,
                            const wchar_t* caption, HWND owner) {
    return kvx::CurrentUserInterface().ShowMessage({OrEmpty(text), details, OrEmpty(caption), type, owner});
}

int CAppFunc::CEMessageBox(const wchar_t* text, unsigned int type) {
    const std::wstring message(text != nullptr ? text : kvx::ResourceText(kvx::kTextDefaultError));
    return MessageBoxW(message.c_str(), type, nullptr, nullptr);
}

namespace kvx {

std::optional<std::wstring> SharePath(std::wstring_view path, std::wstring_view root,
                                      std::wstring_view computer) {
    if (computer.empty() || computer.find_first_of(kPathSeparators) != computer.npos) return std::nullopt;
    if (!root.empty() && kPathSeparators.find(root.back()) != kPathSeparators.npos) root.remove_suffix(1);
    if (!path.starts_with(root)) return std::nullopt;
    path.remove_prefix(root.size());
    if (path.empty() || kPathSeparators.find(path.front()) == kPathSeparators.npos) return std::nullopt;
    std::wstring share = L"\\\\" + std::wstring(computer) + L"\\KVX$" + std::wstring(path);
    if (share.size() > kMaxPath) return std::nullopt;
    return share;
}

}  // namespace kvx
