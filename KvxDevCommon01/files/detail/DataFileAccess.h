// SPDX-License-Identifier: MIT
//
// What reading and writing data files have in common, whole or block by block: the head of the file, and the
// way from exceptions to an Error with its place.
#pragma once

#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Error.h>

namespace kvx {

/// Loads the head of a data file, which comes next. Its records must have an end, since they run to that of
/// the file. Throws Error for the head of any other file and where no record follows.
FileHead LoadDataFileHead(CArchive& archive);

/// Throws Error unless the header is one of a data file.
void RequireDataHeader(const CComHdr& header);

/// LoadDataFile and StoreDataFile with the exceptions of the archive as they are; `place` names the record
/// that they work on.
DataFileContent LoadContent(ByteStream& stream, ErrorPlace* place);
void StoreContent(ByteStream& stream, const DataFileContent& content);
/// What can be said before anything is written.
void RequireContent(const DataFileContent& content, ErrorPlace* place);

/// Runs `work(place)`; whatever it throws becomes an Error at that place, which `work` may make more exact.
template <typename Work>
auto WithPlace(ErrorPlace place, Work work) {
    try {
        return work(place);
    } catch (...) {
        throw Error::Current().At(place);
    }
}

}  // namespace kvx
