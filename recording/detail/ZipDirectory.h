// SPDX-License-Identifier: MIT
//
// The files that a ZIP archive holds, also beyond 4 GiB, and where their bytes are; and the heads of an
// archive that is written, whose files are stored as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <KvxRecording01/detail/ByteCursor.h>
#include <KvxRecording01/detail/VariableWriter.h>

namespace kvx {

struct ZipEntry {
    std::string name;
    ByteStretch packed;
    std::uint64_t size = 0;  ///< of the file itself
    std::uint32_t crc = 0;
    Packing packing = Packing::stored;
};

/// The files of the archive, in the order of its directory. Throws Error, also for those that are encrypted
/// or packed otherwise than stored or deflated, and for two that share bytes: so what all of them hold is
/// bounded by the bytes of the archive.
std::vector<ZipEntry> ReadZipDirectory(const ByteStretch& archive);

/// A file that is written.
struct ZipRecord {
    std::string name;  ///< UTF-8
    std::uint64_t at;  ///< of its head in the archive
    std::uint64_t size;
    std::uint32_t crc;
};

/// Where the check sum stands in the head of a file.
inline constexpr std::uint64_t kZipSumAt = 14;

void AddZipHead(const ZipRecord& record, FilePlan* plan);

/// The directory, which begins at this byte of the archive, and all that stands behind it.
void AddZipDirectory(std::span<const ZipRecord> records, std::uint64_t begin, FilePlan* plan);

/// The check sum of bytes behind those of the sum `before`.
std::uint32_t CheckSumOf(std::span<const std::byte> bytes, std::uint32_t before = 0);

}  // namespace kvx
