// SPDX-License-Identifier: MIT
//
// Data files as a whole: everything that one holds, and loading and storing it. DataFileStream.h has the same
// for files of any length, block by block; both read and write the same files and refuse the same ones.
#pragma once

#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

/// What a data file holds: a header of group 2, and one or more records.
struct DataFileContent {
    CComHdr header;
    std::vector<CComDataBase> records;
};

/// Loads a data file of either generation. Strict: a file that holds anything but whole records up to its end
/// is refused. Throws Error with the record where loading ended: kUnsupported for what is no data file,
/// kDamaged for a damaged one, and what the host refuses as such.
KVX_API DataFileContent LoadDataFile(std::wstring_view path);
/// The same from a stream whose end is known; its bytes are read forward, from where it stands.
KVX_API DataFileContent LoadDataFile(ByteStream& stream);

/// Stores a data file of the current generation, replacing an existing one only when everything was written.
/// Throws Error: kUnsupported for a header that is not of group 2, kBadValue when there is no record or for
/// one that CComDataBase::Check refuses, both before anything is written, and what the host refuses.
KVX_API void StoreDataFile(std::wstring_view path, const DataFileContent& content);
KVX_API void StoreDataFile(ByteStream& stream, const DataFileContent& content);

}  // namespace kvx
