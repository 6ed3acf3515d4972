// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/detail/DataFileAccess.h>

#include <cstdint>
#include <limits>

namespace kvx {

CComHdr::HDRCODE_TYPE BeginDataFile(InputFile& file) {
    constexpr std::uint64_t kMagicBytes = 4;
    // Pipes and devices have no end.
    if (file.Remaining() == std::numeric_limits<std::uint64_t>::max())
        throw CFileException(CFileException::invalidFile);
    if (file.Remaining() < kMagicBytes) throw Refused{DataFileFailure::kNotDataFile};
    const CComHdr::HDRCODE_TYPE type = LoadHeaderType(file);
    if (type == CComHdr::HDRCODE_UNKNOWN) throw Refused{DataFileFailure::kNotDataFile};
    file.Seek(0);
    return type;
}

void LoadDataHeader(CArchive& archive, CComHdr::HDRCODE_TYPE type, CComHdr* header) {
    type == CComHdr::HDRCODE_FIRST ? header->Serialize1st(archive, 1, nullptr) : header->Serialize(archive);
    if (!header->CheckGrpType(CComHdr::GRP_DATA)) throw Refused{DataFileFailure::kNotDataFile};
}

void RequireDataHeader(const CComHdr& header) {
    const bool isHeader = header.GetMasterVersion(nullptr, nullptr, nullptr, nullptr, nullptr) != 0;
    if (!isHeader || !header.CheckGrpType(CComHdr::GRP_DATA)) throw Refused{DataFileFailure::kNotDataFile};
}

}  // namespace kvx
