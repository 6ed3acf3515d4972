// SPDX-License-Identifier: MIT
//
// What the tests of files share: bytes spelled out field by field, and storing to and loading from them.
#pragma once

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/FileException.h>

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Little-endian bytes, appended field by field.
struct ByteImage {
    std::string bytes;

    ByteImage& U(std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
        return *this;
    }
    ByteImage& U16(std::uint16_t value) { return U(value, 2); }
    ByteImage& U32(std::uint32_t value) { return U(value, 4); }
    ByteImage& F32(float value) { return U(std::bit_cast<std::uint32_t>(value), 4); }
    ByteImage& F64(double value) { return U(std::bit_cast<std::uint64_t>(value), 8); }
    ByteImage& Text(std::string_view text) {
        bytes += text;
        return *this;
    }
    ByteImage& Utf16(std::u16string_view text) {
        for (const char16_t unit : text) U16(unit);
        return *this;
    }
    ByteImage& Zeros(std::size_t count) {
        bytes.append(count, '\0');
        return *this;
    }
};

/// Everything that reached the target of an archive; what the object did not flush is missing.
template <typename Object>
std::string StoredBytes(Object& object) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    object.Serialize(archive);
    const std::span<const std::byte> bytes = stream.Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Runs `load` on an archive over `bytes` and returns the cause of the exception it ended in; none if it did
/// not.
template <typename Load>
int CauseOfLoading(std::string_view bytes, Load load) {
    kvx::MemoryStream stream(std::as_bytes(std::span(bytes)));
    CArchive archive(stream, CArchive::load);
    try {
        load(archive);
        return CFileException::none;
    } catch (const CFileException& e) {
        return e.m_cause;
    }
}
