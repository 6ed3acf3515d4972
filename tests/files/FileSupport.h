// SPDX-License-Identifier: MIT
//
// What the tests of files share: layouts spelled out field by field, and storing to and loading from bytes.
#pragma once

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/FileException.h>

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Little-endian bytes, appended field by field.
struct ByteImage {
    std::string bytes;

    ByteImage& U(std::uint64_t value, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
        return *this;
    }
    template <typename Bits, typename Value>
    ByteImage& Each(std::initializer_list<Value> values) {
        for (const Value value : values) U(std::bit_cast<Bits>(value), sizeof(Bits));
        return *this;
    }
    ByteImage& Words(std::initializer_list<std::uint32_t> values) { return Each<std::uint32_t>(values); }
    ByteImage& Floats(std::initializer_list<float> values) { return Each<std::uint32_t>(values); }
    ByteImage& Doubles(std::initializer_list<double> values) { return Each<std::uint64_t>(values); }
    ByteImage& Text(std::string_view text) {
        bytes += text;
        return *this;
    }
    ByteImage& Utf16(std::u16string_view text) {
        for (const char16_t unit : text) U(unit, 2);
        return *this;
    }
    ByteImage& Zeros(std::size_t count) { return Text(std::string(count, '\0')); }
    ByteImage& Names(std::initializer_list<std::u16string_view> names) {
        U(names.size(), 2);
        for (const std::u16string_view name : names) Text("\xFF\xFE\xFF").U(name.size(), 1).Utf16(name);
        return *this;
    }
    /// A single unit as its record of 128 bytes.
    ByteImage& Unit(std::uint32_t code) {
        return Words({2, code, 1, 1, 0x0F000001, 1, 0x0F000001, 1, 0x0F000001, 1}).Zeros(88);
    }
    /// The same as the first generation held it.
    ByteImage& FirstUnit(std::uint32_t code) { return Words({code, 1, 1, 0x0F000001, 1}); }
};

/// A first-generation header of version -2; with its extension block when `dataKind` is given.
inline std::string FirstHeaderBytes(std::uint32_t code, std::string_view name,
                                    std::optional<std::uint32_t> dataKind = std::nullopt) {
    ByteImage image;
    image.Text("RMOC").Words({code, 0xFFFFFFFE}).Text(name).Zeros(308 - name.size());
    if (dataKind) image.Words({*dataKind}).Zeros(60);
    return image.bytes;
}

/// A waveform of one row and two columns, two samples each, on an axis of 0.5 s from index -1 on.
inline std::string WaveBytes() {
    ByteImage image;
    image.Words({1, 1}).Unit(0x01000001).Unit(0x00010004).Names({u"row"}).Names({u"Data-Col-001", u"列"});
    image.Words({1, 0, 1, 2, 2}).Words({1, 0, 2}).Doubles({1.0, 2.0});  // the matrix, then its cells
    image.Words({1, 0, 2}).Doubles({3.0, -4.5});
    return image.Doubles({0.5}).Words({0xFFFFFFFF}).bytes;
}

/// A complex spectrum of one cell at 10 and 12.5 Hz.
inline std::string SpectrumBytes() {
    ByteImage image;
    image.Words({1, 2}).Unit(0x02000001).Unit(0x00010004).Names({u"Data-Row-001"}).Names({u"Data-Col-001"});
    image.Words({1, 1, 1, 1, 2}).Words({1, 1, 2}).Doubles({1.0, 2.0, -1.0, 0.25});
    return image.Words({1, 2}).Doubles({10.0, 12.5}).bytes;
}

/// The waveform as the first generation held it, its last sample without a value; texts are in the code page.
inline std::string FirstWaveBytes() {
    ByteImage image;
    image.Words({1}).FirstUnit(0x01000001).FirstUnit(0x00010004);
    image.U(1, 2).U(3, 1).Text("row").U(2, 2).U(0, 1).U(2, 1).Text("\x97\xF1");
    image.Words({0, 1, 2, 2}).Words({0, 2}).Floats({1.0F, 2.0F});
    image.Words({0, 2}).Floats({3.0F, -3.4028234663852886e38F});
    return image.Doubles({0.5}).Words({0xFFFFFFFF}).bytes;
}

/// The spectrum as the first generation held it, without names.
inline std::string FirstSpectrumBytes() {
    ByteImage image;
    image.Words({2}).FirstUnit(0x02000001).FirstUnit(0x00010004).Zeros(4);
    image.Words({1, 1, 1, 2}).Words({1, 2}).Floats({1.0F, 2.0F, -1.0F, 0.25F});
    return image.Words({2}).Floats({10.0F, 12.5F}).bytes;
}

inline std::string TextOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Everything that reached the target of an archive; what the object did not flush is missing.
template <typename Object>
std::string StoredBytes(Object& object) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    object.Serialize(archive);
    return TextOf(stream.Bytes());
}

inline kvx::MemoryStream StreamOf(std::string_view bytes) {
    return kvx::MemoryStream(std::as_bytes(std::span(bytes)));
}

/// Runs `load` on an archive over `bytes` and returns the cause of the exception it ended in; none if it did
/// not.
template <typename Load>
int CauseOfLoading(std::string_view bytes, Load load) {
    kvx::MemoryStream stream = StreamOf(bytes);
    CArchive archive(stream, CArchive::load);
    try {
        load(archive);
        return CFileException::none;
    } catch (const CFileException& e) {
        return e.m_cause;
    }
}

/// The Error that `work` throws; none if it throws nothing.
template <typename Work>
std::optional<kvx::Error> ErrorOf(Work work) try {
    work();
    return std::nullopt;
} catch (const kvx::Error& error) {
    return error;
}

template <typename Work>
std::string WhatOf(Work work) {
    const std::optional<kvx::Error> error = ErrorOf(work);
    return error ? error->what() : "";
}
