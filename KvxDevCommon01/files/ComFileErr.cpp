// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComFileErr.h>

#include <string_view>

#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>

namespace {

constexpr std::size_t kLongestMessage = 127;

/// A caller's format never reaches a printf: only what is promised has a meaning.
CString InsertName(std::wstring_view format, std::wstring_view name) {
    CString text(format);
    if (const std::size_t place = format.find(L"%s"); place != format.npos) text.replace(place, 2, name);
    return text;
}

}  // namespace

int CComFileErr::GetFileErrorString(const CFileException* e, CString* out, const wchar_t* format,
                                    int* isError) {
    if (e == nullptr || out == nullptr) return 0;
    if (e->m_cause < CFileException::none || e->m_cause > CFileException::endOfFile) return 1;
    const unsigned int id = kvx::kTextFirstFileError + static_cast<unsigned int>(e->m_cause);
    const CString message(kvx::ResourceText(id).substr(0, kLongestMessage));
    *out = format == nullptr ? message : InsertName(format, e->m_strFileName) + L'\n' + message;
    if (isError != nullptr) *isError = e->m_cause != CFileException::none;
    return 1;
}
