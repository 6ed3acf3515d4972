// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphInfo.h>

#include <KvxDevCommon01/graph/detail/SettingsFile.h>
#include <KvxDevCommon01/platform/UserInterface.h>

namespace {

// The file of the settings is of the same kind as that of the colours alone, which it begins with.
constexpr kvx::detail::SettingsFileKind kFileKind = {
    CComHdr::EXT_INFO_GRAPH_COLOR, kvx::kTextLoadGraphInfoFailed, kvx::kTextStoreGraphInfoFailed};

}  // namespace

void CGraphInfo::LclInit() {
    colors_.Clear();
    config_.Clear();
}

void CGraphInfo::Serialize(CArchive& archive) {
    LclInit();
    CGraphInfo serialized;
    serialized.colors_.Serialize(archive);
    serialized.config_.Serialize(archive);
    *this = serialized;
}

void CGraphInfo::Serialize1st(CArchive& archive) {
    LclInit();
    CGraphInfo loaded;
    loaded.colors_.Serialize1st(archive);
    *this = loaded;
}

BOOL CGraphInfo::LoadGraphInfo(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, path, headerText, showMessage,
                                     {[this] { LclInit(); }, [this](CArchive& a) { Serialize1st(a); },
                                      [this](CArchive& a) { Serialize(a); }});
}

BOOL CGraphInfo::LoadGraphInfo1st(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, path, headerText, showMessage,
                                     {[this] { LclInit(); }, [this](CArchive& a) { Serialize1st(a); }});
}

BOOL CGraphInfo::StoreGraphInfo(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::StoreSettings(kFileKind, path, headerText, showMessage, [this](CArchive& archive) {
        colors_.Serialize(archive);
        config_.Serialize(archive);
    });
}

BOOL CGraphInfo::SetGraphInfo(CWnd* owner) {
    CGraphInfo edited = *this;
    if (!kvx::CurrentUserInterface().EditGraphSettings(owner, edited)) return 0;
    *this = edited;
    return 1;
}
