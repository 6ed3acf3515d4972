// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/ByteStream.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/detail/Memory.h>

namespace kvx {
namespace {

/// No block is larger, and a stream in memory cannot be moved farther.
constexpr std::size_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max();

}  // namespace

ByteStream::~ByteStream() = default;

void ByteStream::Seek(std::uint64_t) {
    throw CFileException(CFileException::badSeek);
}

void ByteStream::Expect(std::uint64_t) {}

std::size_t ByteStream::ReadOn(void* data, std::size_t size, void*, std::size_t) {
    return Read(data, size);
}

std::size_t ByteStream::GatheredSize() const {
    return std::size_t{1} << 16;
}

MemoryStream::MemoryStream(std::span<const std::byte> bytes) {
    if (bytes.empty()) return;
    if (!Reserve(bytes.size())) throw std::bad_alloc();
    std::memcpy(bytes_, bytes.data(), bytes.size());
    size_ = writePosition_ = bytes.size();
}

MemoryStream::~MemoryStream() {
    FreeMemory(bytes_, room_);
}

MemoryStream::MemoryStream(const MemoryStream& other) : MemoryStream(other.Bytes()) {
    readPosition_ = other.readPosition_;
    writePosition_ = other.writePosition_;
}

MemoryStream::MemoryStream(MemoryStream&& other) noexcept : MemoryStream() {
    Swap(other);
}

MemoryStream& MemoryStream::operator=(MemoryStream other) noexcept {
    Swap(other);
    return *this;
}

void MemoryStream::Swap(MemoryStream& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    std::swap(room_, other.room_);
    std::swap(readPosition_, other.readPosition_);
    std::swap(writePosition_, other.writePosition_);
}

bool MemoryStream::Reserve(std::size_t room) {
    if (room <= room_) return true;
    if (room > kMostBytes) return false;
    void* const block = ResizeMemory(bytes_, room_, size_, room);
    if (block == nullptr) return false;
    bytes_ = static_cast<std::byte*>(block);
    room_ = room;
    return true;
}

std::size_t MemoryStream::Read(void* data, std::size_t size) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, Remaining()));
    if (count > 0) std::memcpy(data, bytes_ + readPosition_, count);
    readPosition_ += count;
    return count;
}

void MemoryStream::Write(const void* data, std::size_t size) {
    if (size == 0) return;
    const std::size_t end = writePosition_ + size;
    const bool isPossible = size <= kMostBytes - writePosition_;
    if (!isPossible || (end > room_ && !Reserve(std::bit_ceil(end)) && !Reserve(end)))
        throw CFileException(CFileException::diskFull);
    if (writePosition_ > size_) std::memset(bytes_ + size_, 0, writePosition_ - size_);
    std::memcpy(bytes_ + writePosition_, data, size);
    writePosition_ = end;
    size_ = std::max(size_, end);
}

void MemoryStream::Expect(std::uint64_t size) {
    if (size <= kMostBytes - writePosition_) Reserve(writePosition_ + static_cast<std::size_t>(size));
}

std::size_t MemoryStream::GatheredSize() const {
    return std::size_t{1} << 12;
}

std::uint64_t MemoryStream::Remaining() const {
    return size_ - std::min(readPosition_, size_);
}

void MemoryStream::Seek(std::uint64_t position) {
    if (position > kMostBytes) throw CFileException(CFileException::badSeek);
    readPosition_ = writePosition_ = static_cast<std::size_t>(position);
}

}  // namespace kvx
