// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/TempFolder.h"

namespace {

std::string BytesOf(const kvx::MemoryStream& stream) {
    const auto bytes = stream.Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

kvx::MemoryStream StreamOf(const std::string& bytes) {
    return kvx::MemoryStream(std::as_bytes(std::span(bytes.data(), bytes.size())));
}

template <typename Value>
std::string Stored(const Value& value) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    archive << value;
    archive.Flush();
    return BytesOf(stream);
}

template <typename Value>
Value Loaded(const std::string& bytes) {
    kvx::MemoryStream stream = StreamOf(bytes);
    CArchive archive(stream, CArchive::load);
    Value value{};
    archive >> value;
    EXPECT_EQ(archive.Remaining(), 0U);
    return value;
}

std::string Bytes(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) bytes += static_cast<char>(value);
    return bytes;
}

/// Loading `bytes` must report a short read, not something else.
template <typename Value>
void ExpectEndOfFile(const std::string& bytes) {
    kvx::MemoryStream stream = StreamOf(bytes);
    CArchive archive(stream, CArchive::load);
    Value value{};
    try {
        archive >> value;
        ADD_FAILURE() << bytes.size() << " bytes were enough";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_cause, CFileException::endOfFile);
        EXPECT_EQ(e.m_lOsError, -1);
        EXPECT_EQ(value, Value{});
    }
}

TEST(Archive, NumbersAreLittleEndian) {
    EXPECT_EQ(Stored<std::int32_t>(-2), Bytes({0xFE, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Stored<std::uint16_t>(0x1234), Bytes({0x34, 0x12}));
    EXPECT_EQ(Stored<std::int64_t>(0x0102030405060708), Bytes({8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(Stored(1.0), Bytes({0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
    EXPECT_EQ(Stored(-2.0F), Bytes({0, 0, 0, 0xC0}));
    EXPECT_EQ(Loaded<double>(Stored(-0.1)), -0.1);
}

TEST(Archive, StringsCarryTheWideMarkerAndTheirLengthInUnits) {
    EXPECT_EQ(Stored(CString()), Bytes({0xFF, 0xFE, 0xFF, 0}));
    EXPECT_EQ(Stored(CString(L"aΩ")), Bytes({0xFF, 0xFE, 0xFF, 2, 'a', 0, 0xA9, 0x03}));
    EXPECT_EQ(Stored(CString(L"\U0001F600")), Bytes({0xFF, 0xFE, 0xFF, 2, 0x3D, 0xD8, 0x00, 0xDE}));

    const auto prefix = [](std::size_t length, std::size_t count) {
        return Stored(CString(length, L'x')).substr(0, count);
    };
    EXPECT_EQ(prefix(254, 5), Bytes({0xFF, 0xFE, 0xFF, 254, 'x'}));
    EXPECT_EQ(prefix(255, 7), Bytes({0xFF, 0xFE, 0xFF, 0xFF, 255, 0, 'x'}));
    EXPECT_EQ(prefix(65533, 7), Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFD, 0xFF, 'x'}));
    EXPECT_EQ(prefix(65534, 11), Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0, 0, 'x'}));
    for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 65533U, 65534U, 65535U, 70000U}) {
        const CString text(length, L'仮');
        EXPECT_EQ(Loaded<CString>(Stored(text)), text) << length;
    }
}

TEST(Archive, StringsWithoutTheMarkerAreReadInTheSystemCodePage) {
    EXPECT_EQ(Loaded<CString>(Bytes({3, 'a', 0x83, 0x8A})), L"aリ");
    EXPECT_EQ(Loaded<CString>(Bytes({0xFF, 2, 0, 'o', 'k'})), L"ok");
    EXPECT_EQ(Loaded<CString>(Bytes({4, 'a', 0x83, 0x8A, 0x83})), L"aリ\u30FB");
}

TEST(Archive, StringArraysCarryTheirCount) {
    const CStringArray names = {L"x", L""};
    EXPECT_EQ(Stored(names), Bytes({2, 0, 0xFF, 0xFE, 0xFF, 1, 'x', 0, 0xFF, 0xFE, 0xFF, 0}));
    EXPECT_EQ(Loaded<CStringArray>(Stored(names)), names);

    const CStringArray many(65535, L"n");
    EXPECT_EQ(Stored(many).substr(0, 6), Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0}));
    EXPECT_EQ(Loaded<CStringArray>(Stored(many)), many);
}

TEST(Archive, EveryCutGivesTheEndOfFileExceptionAndAnEmptyValue) {
    const std::string names = Stored(CStringArray{L"first", CString(300, L'y')});
    for (std::size_t length = 0; length < names.size(); ++length) {
        ExpectEndOfFile<CStringArray>(names.substr(0, length));
    }
    for (std::size_t length = 0; length < 8; ++length) ExpectEndOfFile<double>(std::string(length, '\1'));
}

TEST(Archive, LengthsThatTheSourceCannotHoldAreRefusedBeforeAllocation) {
    ExpectEndOfFile<CString>(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'x', 0}));
    ExpectEndOfFile<CStringArray>(Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));

    kvx::MemoryStream stream = StreamOf(std::string(32, '\0'));
    const CArchive archive(stream, CArchive::load);
    archive.RequireRemaining(4, 8);
    archive.RequireRemaining(-1, 8);
    EXPECT_THROW(archive.RequireRemaining(5, 8), CFileException);
    EXPECT_THROW(archive.RequireRemaining(INT64_MAX, 8), CFileException);
}

TEST(Archive, MixedSizesSurviveEveryBufferSize) {
    std::vector<double> block(1000);
    std::iota(block.begin(), block.end(), 0.5);
    for (const std::size_t bufferSize : {0U, 16U, 17U, 64U, 4096U, 100000U}) {
        kvx::MemoryStream stream;
        CArchive out(stream, CArchive::store, bufferSize);
        for (std::size_t n = 0; n < 20; ++n) {
            out << static_cast<std::uint8_t>(n);
            out.WriteNumbers(block.data(), n * n);
        }
        out.Flush();

        const TempFolder folder;
        folder.Write("mixed", BytesOf(stream));
        kvx::InputFile file((folder / "mixed").wstring());
        for (kvx::ByteStream* const source :
             {static_cast<kvx::ByteStream*>(&stream), static_cast<kvx::ByteStream*>(&file)}) {
            CArchive in(*source, CArchive::load, bufferSize);
            for (std::size_t n = 0; n < 20; ++n) {
                std::uint8_t tag = 99;
                std::vector<double> loaded(n * n);
                in >> tag;
                in.ReadNumbers(loaded.data(), loaded.size());
                ASSERT_EQ(tag, n) << bufferSize;
                ASSERT_EQ(loaded, std::vector<double>(block.begin(),
                                                      block.begin() + static_cast<std::ptrdiff_t>(n * n)));
            }
            EXPECT_EQ(in.Remaining(), 0U);
            double past = 0.0;
            EXPECT_EQ(in.Read(&past, sizeof(past)), 0U);
        }
    }
}

/// A stream in memory that notes how many bytes each Read and Write moves.
class NotingStream : public kvx::MemoryStream {
public:
    std::size_t Read(void* data, std::size_t size) override {
        reads.push_back(kvx::MemoryStream::Read(data, size));
        return reads.back();
    }
    void Write(const void* data, std::size_t size) override {
        writes.push_back(size);
        kvx::MemoryStream::Write(data, size);
    }
    std::size_t GatheredSize() const override { return kGathered; }

    static constexpr std::size_t kGathered = 1 << 16;
    std::vector<std::size_t> reads, writes;
};

TEST(Archive, GathersSmallPiecesAndMovesLargeBlocksAtOnce) {
    for (const std::size_t count : {100U, 4000U, 20000U, 300000U}) {  // bytes of each block: 8 * count
        std::vector<double> block(count), loaded(count);
        std::iota(block.begin(), block.end(), 0.5);
        NotingStream stream;
        CArchive out(stream, CArchive::store), in(stream, CArchive::load);
        const std::uint64_t blocks = 4000000 / count, bytes = blocks * (8 * count + 4);
        for (std::uint32_t i = 0; i < blocks; ++i) {
            out << i;
            out.WriteNumbers(block.data(), count);
        }
        out.Flush();
        EXPECT_EQ(stream.Bytes().size(), bytes);
        const auto most = [&](std::size_t large) {
            return 9 + (8 * count < large ? bytes / stream.kGathered : 2 * blocks);
        };
        EXPECT_LE(stream.writes.size(), most(stream.kGathered)) << count;
        for (std::uint32_t i = 0, number = 0; i < blocks; ++i) {
            in >> number;
            in.ReadNumbers(loaded.data(), count);
            ASSERT_TRUE(number == i && loaded == block) << count;
        }
        EXPECT_EQ(in.Remaining(), 0U);
        EXPECT_LE(stream.reads.size(), most(stream.kGathered / 4)) << count;
        if (8 * count < stream.kGathered / 4) continue;
        for (const std::size_t size : stream.reads)
            EXPECT_TRUE(size >= 8 * count - 4096 || size <= 4096) << "straight into its place: " << size;
    }
}

TEST(Archive, PeekedBytesAreReadAgain) {
    for (const std::size_t bufferSize : {16U, 17U, 4096U}) {
        kvx::MemoryStream stream = StreamOf("0123456789abcdefghijklmn");
        CArchive archive(stream, CArchive::load, bufferSize);
        const auto peeked = [&] {
            char bytes[6] = {};
            return std::string(bytes, archive.Peek(std::as_writable_bytes(std::span(bytes))));
        };
        char passed[13] = {};
        EXPECT_EQ(peeked(), "012345") << bufferSize;
        archive.ReadExact(passed, 13);
        EXPECT_EQ(std::string(passed, 13), "0123456789abc") << bufferSize;
        EXPECT_EQ(peeked(), "defghi") << bufferSize;
        EXPECT_EQ(archive.Remaining(), 11U);
        archive.ReadExact(passed, 8);
        EXPECT_EQ(peeked(), "lmn") << bufferSize;
        EXPECT_EQ(peeked(), "lmn") << bufferSize;
    }
}

TEST(MemoryStream, IsMovedLikeAFile) {
    kvx::MemoryStream stream = StreamOf("0123456789");
    stream.Seek(8);
    stream.Write("ab!", 3);
    stream.Seek(13);
    EXPECT_EQ(stream.Remaining(), 0U);
    stream.Write("z", 1);
    EXPECT_EQ(BytesOf(stream), "01234567ab!" + std::string(2, '\0') + "z");
    stream.Seek(9);
    char read[9] = {};
    EXPECT_EQ(stream.Read(read, sizeof(read)), 5U);
    EXPECT_EQ(std::string(read, 2), "b!");
    EXPECT_THROW(stream.Seek(UINT64_MAX), CFileException);
}

TEST(MemoryStream, IsAValueThatGrowsToAnySize) {
    kvx::MemoryStream stream;
    stream.Expect(3'000'000);
    stream.Expect(UINT64_MAX);
    std::string written;
    for (int i = 0; i < 200; ++i) {
        const std::string piece(static_cast<std::size_t>(300 * i), static_cast<char>('a' + i % 26));
        stream.Write(piece.data(), piece.size());
        written += piece;
    }
    char first = 0;
    EXPECT_EQ(stream.Read(&first, 1), 1U);
    kvx::MemoryStream copy(stream), other;
    stream.Write("!", 1);
    other = std::move(stream);
    EXPECT_EQ(BytesOf(other), written + "!");
    EXPECT_EQ(BytesOf(copy), written);
    EXPECT_EQ(copy.Remaining(), written.size() - 1);
    EXPECT_EQ(stream.Remaining() + BytesOf(stream).size(), 0U);
    stream.Write("new", 3);
    EXPECT_EQ(BytesOf(stream), "new");
}

TEST(Archive, TheWrongDirectionIsRefused) {
    kvx::MemoryStream stream;
    CArchive out(stream, CArchive::store);
    CArchive in(stream, CArchive::load);
    int value = 0;
    EXPECT_THROW(out >> value, CFileException);
    EXPECT_THROW(in << value, CFileException);
}

}  // namespace
