// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/ByteStream.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

ByteStream::~ByteStream() = default;

void ByteStream::Seek(std::uint64_t) {
    throw CFileException(CFileException::badSeek);
}

MemoryStream::MemoryStream(std::span<const std::byte> bytes)
    : bytes_(bytes.begin(), bytes.end()), writePosition_(bytes.size()) {}

std::size_t MemoryStream::Read(void* data, std::size_t size) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, Remaining()));
    if (count > 0) std::memcpy(data, bytes_.data() + readPosition_, count);
    readPosition_ += count;
    return count;
}

void MemoryStream::Write(const void* data, std::size_t size) {
    if (size == 0) return;
    const auto* const first = static_cast<const std::byte*>(data);
    try {
        if (writePosition_ > bytes_.size()) bytes_.resize(writePosition_);
        const std::size_t within = std::min(size, bytes_.size() - writePosition_);
        std::copy_n(first, within, bytes_.begin() + static_cast<std::ptrdiff_t>(writePosition_));
        bytes_.insert(bytes_.end(), first + within, first + size);
        writePosition_ += size;
    } catch (const std::bad_alloc&) {
        throw CFileException(CFileException::diskFull);
    } catch (const std::length_error&) {
        throw CFileException(CFileException::diskFull);
    }
}

std::uint64_t MemoryStream::Remaining() const {
    return bytes_.size() - std::min(readPosition_, bytes_.size());
}

void MemoryStream::Seek(std::uint64_t position) {
    if (position > bytes_.max_size()) throw CFileException(CFileException::badSeek);
    readPosition_ = writePosition_ = static_cast<std::size_t>(position);
}

}  // namespace kvx
