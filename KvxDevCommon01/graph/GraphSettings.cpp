// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphSettings.h>

#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {
namespace {

/// Runs `load`; a stream that ends too early becomes `reason`.
template <typename Load>
void OrTooShort(const Error& reason, Load load) {
    try {
        load();
    } catch (const CFileException& error) {
        if (error.m_cause == CFileException::endOfFile) throw reason;
        throw Error(error);
    }
}

}  // namespace

CGraphInfo LoadGraphSettings(ByteStream& stream) {
    const Error none(ErrorKind::kUnsupported, "it holds no graph settings");
    CArchive archive(stream, CArchive::load);
    CGraphInfo settings;
    CGraphColorInfo& colors = *settings.GetGraphColorInfo();
    CComHdr header;
    CComHdr::HDRCODE_TYPE type = CComHdr::HDRCODE_UNKNOWN;
    OrTooShort(none, [&] {
        type = PeekHeaderType(archive);
        if (type == CComHdr::HDRCODE_FIRST) {
            header.Serialize1st(archive, 0, nullptr);
            colors.Serialize1st(archive);
        } else if (type == CComHdr::HDRCODE_CURRENT) {
            header.Serialize(archive);
            if (header.GetExtInfoType(type) != CComHdr::EXT_INFO_GRAPH_COLOR) throw none;
            colors.Serialize(archive);
        } else {
            throw none;
        }
    });
    if (type == CComHdr::HDRCODE_CURRENT && archive.Remaining() > 0) {
        OrTooShort(Error(ErrorKind::kDamaged, "its configuration is damaged"),
                   [&] { settings.GetGraphConfigInfo()->Serialize(archive); });
    }
    return settings;
}

void StoreGraphSettings(const std::wstring& path, const CGraphInfo& settings) {
    CGraphInfo stored(settings);
    if (!stored.StoreGraphInfo(path, nullptr, 0)) throw Error(ErrorKind::kHost, "it cannot be written");
}

}  // namespace kvx
