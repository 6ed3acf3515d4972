// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/DataFileAccess.h>

namespace kvx {

bool LoadDataHeader(const wchar_t* path, CArchive& archive, CComHdr* header) {
    const CComHdr::HDRCODE_TYPE type = CComHdr::GetHdrCodeType(path);
    if (type == CComHdr::HDRCODE_UNKNOWN) throw Refused{DataFileFailure::kNotDataFile};
    const bool isFirst = type == CComHdr::HDRCODE_FIRST;
    isFirst ? header->Serialize1st(archive, 1, nullptr) : header->Serialize(archive);
    if (!header->CheckGrpType(CComHdr::GRP_DATA)) throw Refused{DataFileFailure::kNotDataFile};
    return isFirst;
}

void RequireDataHeader(const CComHdr& header) {
    const bool isHeader = header.GetMasterVersion(nullptr, nullptr, nullptr, nullptr, nullptr) != 0;
    if (!isHeader || !header.CheckGrpType(CComHdr::GRP_DATA)) throw Refused{DataFileFailure::kNotDataFile};
}

}  // namespace kvx
