// SPDX-License-Identifier: MIT
//
// What any file of the suite begins with, read in one go: the common header and which generation it is of.
#pragma once

#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

/// What header comes next in an archive, from its first four bytes, which are read again.
KVX_API CComHdr::HDRCODE_TYPE PeekHeaderType(CArchive& archive);

struct FileHead {
    /// Of a data file of the first generation, the kind that its extension block states.
    CComHdr header;
    bool isFirstGeneration = false;
};

/// The version of the library that made the header: "23.0.0.0".
KVX_API std::string VersionText(const CComHdr& header);

/// Reads the head of a file whose first byte comes next; `stream` is then somewhere behind it. Throws Error:
/// kUnsupported for bytes that are no file of the suite, kDamaged for a header that is cut short. An
/// extension block that is cut short counts for nothing.
KVX_API FileHead ReadFileHead(ByteStream& stream);

}  // namespace kvx
