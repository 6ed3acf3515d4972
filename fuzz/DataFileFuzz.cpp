// SPDX-License-Identifier: MIT
//
// Damaged data files: loading gives the contents or a reason, reading block by block gives the same, and
// contents stored again load as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/ByteStream.h>

#include "fuzz/MemoryFile.h"

namespace {

bool LoadBytes(std::span<const std::byte> bytes, kvx::DataFileContent* content) {
    kvx::DataFileFailure failure;
    const MemoryFile file(bytes);
    const bool isLoaded = CComDataFile::LoadDataFile(file.Path().c_str(), content, &failure) != 0;
    if (isLoaded != (failure.reason == kvx::DataFileFailure::kNone) || failure.Text().empty()) std::abort();
    kvx::DataFileReader reader;
    kvx::DataFileFailure reading;
    if ((reader.Open(file.Path().c_str(), &reading) != 0) != isLoaded || reading.Text() != failure.Text() ||
        reader.GetRecords().size() != content->records.size())
        std::abort();
    return isLoaded;
}

kvx::MemoryStream Stored(kvx::DataFileContent& content) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    content.header.Serialize(archive);
    for (const CComDataBase& record : content.records) record.Store(archive);
    archive.Flush();
    return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvx::DataFileContent content;
    if (!LoadBytes(std::as_bytes(std::span(data, size)), &content)) return 0;
    kvx::DataFileContent again;
    if (!LoadBytes(Stored(content).Bytes(), &again) || again.records.size() != content.records.size())
        std::abort();
    return 0;
}
