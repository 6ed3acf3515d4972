// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/ByteStream.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

ByteStream::~ByteStream() = default;

MemoryStream::MemoryStream(std::span<const std::byte> bytes) : bytes_(bytes.begin(), bytes.end()) {}

std::size_t MemoryStream::Read(void* data, std::size_t size) {
    const std::size_t count = std::min(size, bytes_.size() - readPosition_);
    if (count > 0) std::memcpy(data, bytes_.data() + readPosition_, count);
    readPosition_ += count;
    return count;
}

void MemoryStream::Write(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    try {
        bytes_.insert(bytes_.end(), first, first + size);
    } catch (const std::bad_alloc&) {
        throw CFileException(CFileException::diskFull);
    } catch (const std::length_error&) {
        throw CFileException(CFileException::diskFull);
    }
}

std::uint64_t MemoryStream::Remaining() const {
    return bytes_.size() - readPosition_;
}

}  // namespace kvx
