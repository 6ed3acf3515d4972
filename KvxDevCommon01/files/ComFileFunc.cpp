// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileFunc.h>

#include <string_view>

#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/text/Character.h>

namespace {

constexpr std::wstring_view kForbidden = L"\\/:*?\"<>|";

// A directory part of one character is the root itself.
constexpr std::size_t kShortestDirectory = 2;

}  // namespace

int CComFileFunc::GetDirFromPath(const wchar_t* path, CString* dir) {
    if (dir == nullptr || !IsValidDirName(path)) return 0;
    CString drive;
    CString directory;
    CCharacter::SplitPath(path, &drive, &directory, nullptr, nullptr);
    CCharacter::MakePath(dir, drive.c_str(), directory.c_str(), nullptr, nullptr);
    return 1;
}

int CComFileFunc::IsValidBaseName(const wchar_t* name) {
    if (name == nullptr) return 0;
    const std::wstring_view text = name;
    return !text.empty() && text.size() <= kvx::kMaxPathPart && text.find_first_of(kForbidden) == text.npos;
}

int CComFileFunc::IsValidDirName(const wchar_t* path) {
    if (path == nullptr) return 0;
    const std::wstring_view text = path;
    if (text.empty() || text.size() > kvx::kMaxPath) return 0;

    CString directory;
    CString name;
    CCharacter::SplitPath(path, nullptr, &directory, &name, nullptr);
    if (!name.empty() && !IsValidBaseName(name.c_str())) return 0;
    // A directory part ends in a separator, so that its own split finds no file name and ends the walk; one
    // that was cut to the longest length may not.
    while (directory.size() >= kShortestDirectory) {
        const CString rest = directory;
        CString drive;
        CCharacter::SplitPath(rest.c_str(), &drive, &directory, &name, nullptr);
        if (!drive.empty()) return 0;
        if (name.empty() || directory.size() < kShortestDirectory) return 1;
        if (!IsValidBaseName(name.c_str())) return 0;
    }
    return 1;
}

int CComFileFunc::IsValidExtName(const wchar_t* name) {
    return IsValidBaseName(name);
}
