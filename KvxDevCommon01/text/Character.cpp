// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/Character.h>

#include <optional>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Path.h>

namespace {

constexpr std::size_t kMaxDrive = 3;

std::wstring OrEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

void StorePart(CString* out, const std::wstring& part, std::size_t limit) {
    if (out != nullptr) out->assign(part, 0, limit);
}

}  // namespace

void CCharacter::MakePath(CString* out, const wchar_t* drive, const wchar_t* dir, const wchar_t* fname,
                          const wchar_t* ext) {
    if (out == nullptr) return;
    *out = kvx::JoinPath({OrEmpty(drive), OrEmpty(dir), OrEmpty(fname), OrEmpty(ext)}).value_or(CString{});
}

void CCharacter::SplitPath(const wchar_t* path, CString* drive, CString* dir, CString* fname, CString* ext) {
    if (path == nullptr) return;
    const kvx::PathParts parts = kvx::SplitPath(path);
    StorePart(drive, parts.drive, kMaxDrive);
    StorePart(dir, parts.directory, kvx::kMaxPathPart);
    StorePart(fname, parts.name, kvx::kMaxPathPart);
    StorePart(ext, parts.extension, kvx::kMaxPathPart);
}

int CCharacter::MultiToWide(const char* src, CString* out, unsigned int codePage) {
    if (src == nullptr || out == nullptr) return 0;
    std::optional<std::wstring> text = kvx::DecodeCodePageReplacing(src, codePage);
    if (!text) return 0;
    *out = *std::move(text);
    return 1;
}

int CCharacter::MultiToWide(const char* src, wchar_t* out, int outLen, unsigned int codePage) {
    CString text;
    if (out == nullptr || outLen < 1 || !MultiToWide(src, &text, codePage)) return 0;
    if (text.size() >= static_cast<std::size_t>(outLen)) return 0;
    out[text.copy(out, text.size())] = L'\0';
    return 1;
}

unsigned int CCharacter::ConvLangModeToCodePage(LANGUAGE_MODE mode) {
    switch (mode) {
        case LANGUAGE_JAPANESE:
            return 932;
        case LANGUAGE_ENGLISH:
        case LANGUAGE_GERMAN:
            return 1252;
        case LANGUAGE_CHINESE:
            return 936;
        case LANGUAGE_RUSSIAN:
            return 1251;
    }
    return kvx::SystemCodePage();
}
