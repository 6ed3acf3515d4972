// SPDX-License-Identifier: MIT
//
// Damaged data files: loading gives the contents or a reason, reading block by block gives the same, and
// contents stored again load as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Error.h>

namespace {

/// The sentence of the Error that `read(stream)` throws; empty when it throws none.
template <typename Read>
std::string ReasonOf(std::span<const std::byte> bytes, Read read) try {
    kvx::MemoryStream stream(bytes);
    read(stream);
    return {};
} catch (const kvx::Error& error) {
    if (*error.what() == '\0') std::abort();
    return error.what();
}

bool LoadBytes(std::span<const std::byte> bytes, kvx::DataFileContent* content) {
    std::size_t records = 0;
    const std::string reason =
        ReasonOf(bytes, [&](kvx::ByteStream& stream) { *content = kvx::LoadDataFile(stream); });
    const auto open = [&](kvx::ByteStream& stream) {
        records = kvx::DataFileReader(stream).Records().size();
    };
    if (ReasonOf(bytes, open) != reason || records != content->records.size()) std::abort();
    return reason.empty();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvx::DataFileContent content;
    if (!LoadBytes(std::as_bytes(std::span(data, size)), &content)) return 0;
    kvx::MemoryStream stored;
    kvx::StoreDataFile(stored, content);
    kvx::DataFileContent again;
    if (!LoadBytes(stored.Bytes(), &again) || again.records.size() != content.records.size()) std::abort();
    return 0;
}
