// SPDX-License-Identifier: MIT
//
// The catalogue of file kinds as values, and searching in it. Pure functions, safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComHdr.h>

namespace kvx {

/// A kind of file; texts are UTF-8.
struct FileKind {
    CComHdr::EXT_INFO_TYPE type;
    std::uint32_t code;       ///< as the header states it
    std::string extension;    ///< with its dot, if it has one
    std::string application;  ///< display name; empty where a kind belongs to none
    std::string name;         ///< display name in the language that was chosen
    std::string englishName;
    std::string suiteName;  ///< the suite's own (Japanese) name
};

/// The kind that a header states, with the header's own code; name and extension are empty for an unknown
/// one.
KVX_API FileKind KindOf(const CComHdr& header);

/// All kinds, ascending by number.
KVX_API std::vector<FileKind> AllFileKinds();

/// The kinds of that number ("181"), code ("0x20011") or extension, with or without the dot; where there are
/// none, those with `text` (UTF-8) in a name, application or extension. The case of ASCII letters does
/// not count.
KVX_API std::vector<FileKind> FindFileKinds(std::string_view text);

}  // namespace kvx
