// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/ZipDirectory.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/kernels/CheckSumKernels.h>

namespace kvx {
namespace {

constexpr std::uint32_t kLocalMark = 0x04034B50;
constexpr std::uint32_t kEntryMark = 0x02014B50;
constexpr std::uint32_t kEndMark = 0x06054B50;
constexpr std::uint32_t kEnd64Mark = 0x06064B50;
constexpr std::uint32_t kLocator64Mark = 0x07064B50;
constexpr std::uint32_t kIn64 = 0xFFFFFFFF;  ///< the field stands in the extension of 64 bits

[[noreturn]] void FailDirectory() {
    throw Error(ErrorKind::kDamaged, "it is cut short or its directory is damaged");
}

using Bytes = std::vector<std::byte>;

Bytes Take(const ByteStretch& archive, std::uint64_t at, std::uint64_t count) {
    if (at > archive.Size() || count > archive.Size() - at) FailDirectory();
    Bytes bytes(static_cast<std::size_t>(count));
    OpenBytes({archive.stream, archive.begin + at, archive.end}, Packing::stored)->Read(bytes);
    return bytes;
}

std::uint64_t Number(std::span<const std::byte> bytes, std::size_t at, std::size_t size) {
    return LoadWhole(bytes.subspan(at, size));
}

struct Directory {
    std::uint64_t begin;
    std::uint64_t bytes;
    std::uint64_t entries;
};

/// Finds the directory by the record at the end of the archive, behind which a comment may stand.
Directory FindDirectory(const ByteStretch& archive) {
    constexpr std::size_t kRecord = 22;
    constexpr std::size_t kLocator = 20;
    constexpr std::size_t kRecord64 = 56;
    const std::uint64_t tail = std::min<std::uint64_t>(archive.Size(), kRecord + 0xFFFF);
    const Bytes bytes = Take(archive, archive.Size() - tail, tail);
    if (tail < kRecord) FailDirectory();
    std::size_t at = bytes.size() - kRecord;
    while (Number(bytes, at, 4) != kEndMark || Number(bytes, at + 20, 2) != bytes.size() - at - kRecord) {
        if (at-- == 0) FailDirectory();
    }
    Directory directory{Number(bytes, at + 16, 4), Number(bytes, at + 12, 4), Number(bytes, at + 10, 2)};
    if (at >= kLocator && Number(bytes, at - kLocator, 4) == kLocator64Mark) {
        const Bytes record = Take(archive, Number(bytes, at - kLocator + 8, 8), kRecord64);
        if (Number(record, 0, 4) != kEnd64Mark) FailDirectory();
        directory = {Number(record, 48, 8), Number(record, 40, 8), Number(record, 32, 8)};
    }
    return directory;
}

/// Takes the fields that do not fit into 32 bits from the extension that holds them.
void Take64(std::span<const std::byte> extra, std::span<std::uint64_t* const> fields) {
    constexpr std::uint64_t kId = 1;
    for (std::size_t at = 0; at + 4 <= extra.size();) {
        const auto size = static_cast<std::size_t>(Number(extra, at + 2, 2));
        std::size_t next = at + 4;
        at = next + size;
        if (at > extra.size()) FailDirectory();
        if (Number(extra, next - 4, 2) != kId) continue;
        for (std::uint64_t* const field : fields) {
            if (*field != kIn64) continue;
            if (next + 8 > at) FailDirectory();
            *field = Number(extra, next, 8);
            next += 8;
        }
    }
}

/// The bytes of a file with its head.
struct Extent {
    std::uint64_t begin;
    std::uint64_t end;
    std::size_t entry;
};

void RequireApart(std::vector<Extent> extents, const std::vector<ZipEntry>& entries) {
    std::ranges::sort(extents, {}, &Extent::begin);
    for (std::size_t i = 1; i < extents.size(); ++i) {
        if (extents[i].begin >= extents[i - 1].end) continue;
        const auto [one, other] = std::minmax(extents[i - 1].entry, extents[i].entry);
        throw Error(ErrorKind::kDamaged, "its files " + Quote(entries[one].name) + " and " +
                                             Quote(entries[other].name) + " share bytes");
    }
}

}  // namespace

std::vector<ZipEntry> ReadZipDirectory(const ByteStretch& archive) {
    constexpr std::uint64_t kHead = 46;
    constexpr std::uint64_t kLocalHead = 30;
    const Directory directory = FindDirectory(archive);
    std::vector<ZipEntry> entries;
    std::vector<Extent> extents;
    std::uint64_t at = directory.begin;
    for (std::uint64_t i = 0; i < directory.entries; ++i) {
        const Bytes head = Take(archive, at, kHead);
        if (Number(head, 0, 4) != kEntryMark) FailDirectory();
        const std::uint64_t flags = Number(head, 8, 2);
        const std::uint64_t method = Number(head, 10, 2);
        const std::uint64_t nameBytes = Number(head, 28, 2);
        const std::uint64_t extraBytes = Number(head, 30, 2);
        const Bytes behind = Take(archive, at + kHead, nameBytes + extraBytes);
        std::uint64_t packedSize = Number(head, 20, 4);
        std::uint64_t local = Number(head, 42, 4);
        ZipEntry& entry = entries.emplace_back();
        entry.name.assign(reinterpret_cast<const char*>(behind.data()), static_cast<std::size_t>(nameBytes));
        entry.crc = static_cast<std::uint32_t>(Number(head, 16, 4));
        entry.size = Number(head, 24, 4);
        const std::array<std::uint64_t*, 3> fields = {&entry.size, &packedSize, &local};
        Take64(std::span(behind).subspan(static_cast<std::size_t>(nameBytes)), fields);
        if ((flags & 1) != 0)
            throw Error(ErrorKind::kUnsupported, "its file " + Quote(entry.name) + " is encrypted");
        if (method != 0 && method != 8)
            throw Error(ErrorKind::kUnsupported,
                        "its file " + Quote(entry.name) + " is neither stored nor deflated");
        const Bytes localHead = Take(archive, local, kLocalHead);
        if (Number(localHead, 0, 4) != kLocalMark) FailDirectory();
        const std::uint64_t begin = local + kLocalHead + Number(localHead, 26, 2) + Number(localHead, 28, 2);
        if (begin > archive.Size() || packedSize > archive.Size() - begin) FailDirectory();
        entry.packing = method == 0 ? Packing::stored : Packing::deflated;
        entry.packed = {archive.stream, archive.begin + begin, archive.begin + begin + packedSize};
        extents.push_back({local, begin + packedSize, entries.size() - 1});
        if (method == 0 && entry.size != packedSize) FailDirectory();
        at += kHead + nameBytes + extraBytes + Number(head, 32, 2);
    }
    RequireApart(std::move(extents), entries);
    return entries;
}

namespace {

constexpr std::uint64_t kVersion64 = 45;
constexpr std::uint64_t kUtf8Names = 0x0800;
constexpr std::uint64_t kFirstDay = 0x0021;  ///< 1 January 1980: equal samples make equal files

std::uint64_t Short(std::uint64_t number) {
    return std::min<std::uint64_t>(number, kIn64);
}

/// What the head of a file and its record in the directory have in common.
void AddCommonHead(const ZipRecord& record, std::uint64_t extraBytes, FilePlan* plan) {
    plan->AddNumber(kVersion64, 2);
    plan->AddNumber(kUtf8Names, 2);
    plan->AddNumber(0, 2);  // stored
    plan->AddNumber(0, 2);
    plan->AddNumber(kFirstDay, 2);
    plan->AddNumber(record.crc, 4);
    plan->AddNumber(Short(record.size), 4);
    plan->AddNumber(Short(record.size), 4);
    plan->AddNumber(record.name.size(), 2);
    plan->AddNumber(extraBytes, 2);
}

/// The fields of 64 bits that did not fit.
FilePlan Extension(std::initializer_list<std::uint64_t> numbers) {
    FilePlan fields, plan;
    for (const std::uint64_t number : numbers)
        if (number >= kIn64) fields.AddNumber(number, 8);
    if (fields.Size() == 0) return plan;
    plan.AddNumber(1, 2);
    plan.AddNumber(fields.Size(), 2);
    plan.Append(fields);
    return plan;
}

}  // namespace

void AddZipHead(const ZipRecord& record, FilePlan* plan) {
    const FilePlan extension = Extension({record.size, record.size});
    plan->AddNumber(kLocalMark, 4);
    AddCommonHead(record, extension.Size(), plan);
    plan->Add(record.name);
    plan->Append(extension);
}

void AddZipDirectory(std::span<const ZipRecord> records, std::uint64_t begin, FilePlan* plan) {
    const std::uint64_t before = plan->Size();
    for (const ZipRecord& record : records) {
        const FilePlan extension = Extension({record.size, record.size, record.at});
        plan->AddNumber(kEntryMark, 4);
        plan->AddNumber(kVersion64, 2);
        AddCommonHead(record, extension.Size(), plan);
        plan->Add(std::string(10, '\0'));  // no comment, no attributes
        plan->AddNumber(Short(record.at), 4);
        plan->Add(record.name);
        plan->Append(extension);
    }
    const std::uint64_t bytes = plan->Size() - before;
    const std::uint64_t end = begin + bytes;
    constexpr std::uint64_t kMostShort = 0xFFFF;
    if (end >= kIn64 || records.size() >= kMostShort) {
        plan->AddNumber(kEnd64Mark, 4);
        plan->AddNumber(44, 8);  // bytes of this record that follow
        plan->AddNumber(kVersion64, 2);
        plan->AddNumber(kVersion64, 2);
        plan->AddNumber(0, 8);  // one disk
        plan->AddNumber(records.size(), 8);
        plan->AddNumber(records.size(), 8);
        plan->AddNumber(bytes, 8);
        plan->AddNumber(begin, 8);
        plan->AddNumber(kLocator64Mark, 4);
        plan->AddNumber(0, 4);
        plan->AddNumber(end, 8);
        plan->AddNumber(1, 4);
    }
    const std::uint64_t count = std::min<std::uint64_t>(records.size(), kMostShort);
    plan->AddNumber(kEndMark, 4);
    plan->AddNumber(0, 4);
    plan->AddNumber(count, 2);
    plan->AddNumber(count, 2);
    plan->AddNumber(Short(bytes), 4);
    plan->AddNumber(Short(begin), 4);
    plan->AddNumber(0, 2);
}

std::uint32_t CheckSumOf(std::span<const std::byte> bytes, std::uint32_t before) {
    return ActiveKernels<CheckSumKernels>().crc32(before, bytes.data(), std::ssize(bytes));
}

}  // namespace kvx
