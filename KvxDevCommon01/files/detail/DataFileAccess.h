// SPDX-License-Identifier: MIT
//
// What reading and writing data files have in common, whole or block by block: the header, and the way from
// exceptions to a DataFileFailure.
#pragma once

#include <exception>

#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

/// Ends a piece of work; AttemptOnFile reports it.
struct Refused {
    DataFileFailure::Reason reason;
};

/// What header `source` begins with, from its first four bytes.
CComHdr::HDRCODE_TYPE LoadHeaderType(ByteStream& source);

/// What begins the reading of a data file, which stands at its start: its records must have an end, since
/// they run to that of the file. Says which header it has. Throws for any other file.
CComHdr::HDRCODE_TYPE BeginDataFile(InputFile& file);

/// Loads the header of a data file from its start and throws Refused when it is of another group.
void LoadDataHeader(CArchive& archive, CComHdr::HDRCODE_TYPE type, CComHdr* header);

/// Throws Refused unless the header is one of a data file.
void RequireDataHeader(const CComHdr& header);

/// Runs `work(path, failure)`, which may fill in what it works on. Whatever it throws becomes the rest of
/// `failure`, which tells nothing after success. False for failure; throws only when memory does not even
/// suffice for that.
template <typename Work>
bool AttemptOnFile(const wchar_t* path, DataFileFailure* failure, Work work) {
    *failure = {};
    const CString name = path != nullptr ? path : L"";
    const auto fail = [&](DataFileFailure::Reason reason, int cause, std::int32_t osError) {
        failure->reason = reason;
        failure->error = CFileException(cause, osError, name);
    };
    try {
        if (path == nullptr) throw CFileException(CFileException::badPath);
        work(path, *failure);
        *failure = {};
    } catch (const Refused& e) {
        fail(e.reason, CFileException::genericException, -1);
    } catch (const CFileException& e) {
        fail(DataFileFailure::kFileError, e.m_cause, e.m_lOsError);
    } catch (const std::exception&) {
        fail(DataFileFailure::kNoMemory, CFileException::genericException, -1);
    }
    return failure->reason == DataFileFailure::kNone;
}

}  // namespace kvx
