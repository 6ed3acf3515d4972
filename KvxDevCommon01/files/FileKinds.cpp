// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/files/FileKinds.h>

#include <KvxDevCommon01/files/detail/FileKindTable.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <iterator>

namespace kvx {
namespace {

std::string Lower(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

bool IsCalled(const FileKind& kind, std::string_view wanted) {
    const std::string_view extension = kind.extension;
    return wanted == std::to_string(kind.type) || wanted == HexCode(kind.code) || wanted == extension ||
           (extension.starts_with('.') && wanted == extension.substr(1));
}

}  // namespace

FileKind KindOf(const CComHdr& header) {
    const std::uint32_t code = header.GetTag().HdrCode;
    const detail::FileKindRow* const row = detail::FindFileKindByCode(code);
    const auto nameIn = [row](Language language) {
        return row != nullptr ? ToUtf8(ResourceText(row->nameId, language)) : std::string();
    };
    CString extension, application;
    header.GetExtInfo(&extension, nullptr);
    header.GetAppTypeName(&application);
    return {header.GetExtInfoType(CComHdr::HDRCODE_CURRENT),
            code,
            ToUtf8(extension),
            ToUtf8(application),
            nameIn(CurrentLanguage()),
            nameIn(Language::kEnglish),
            nameIn(Language::kJapanese)};
}

std::vector<FileKind> AllFileKinds() {
    std::vector<FileKind> kinds;
    for (std::uint32_t number = 1; number <= CComHdr::EXT_INFO_LAST; ++number) {
        const auto type = static_cast<CComHdr::EXT_INFO_TYPE>(number);
        const CComHdr header(type, nullptr);
        if (header.GetExtInfo(nullptr, nullptr)) kinds.push_back(KindOf(header));
    }
    return kinds;
}

std::vector<FileKind> FindFileKinds(std::string_view text) {
    const std::vector<FileKind> all = AllFileKinds();
    const std::string wanted = Lower(std::string(text));
    std::vector<FileKind> found;
    std::ranges::copy_if(all, std::back_inserter(found),
                         [&](const FileKind& kind) { return IsCalled(kind, wanted); });
    if (!found.empty()) return found;
    std::ranges::copy_if(all, std::back_inserter(found), [&](const FileKind& kind) {
        const std::string texts =
            kind.englishName + "\n" + kind.suiteName + "\n" + kind.application + "\n" + kind.extension;
        return Lower(texts).find(wanted) != std::string::npos;
    });
    return found;
}

}  // namespace kvx
