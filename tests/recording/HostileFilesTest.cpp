// SPDX-License-Identifier: MIT
//
// Small files that state very much: what reading them takes is counted in bytes, and bounded by theirs.
#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <bit>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/MatFile.h>
#include <KvxRecording01/NpzFile.h>
#include <KvxRecording01/TextTable.h>
#include <KvxRecording01/UffFile.h>

#include "tests/support/ForeignFiles.h"
#include "tests/support/Recordings.h"

using namespace kvx;
using namespace kvx::test;
using namespace std::string_literals;

namespace {

/// A stream of bytes that counts those that are read.
class CountedStream : public ByteStream {
public:
    CountedStream(const std::string& bytes, std::uint64_t* count)
        : stream_(std::as_bytes(std::span(bytes))), count_(*count) {}
    std::size_t Read(void* data, std::size_t size) override {
        const std::size_t got = stream_.Read(data, size);
        count_ += got;
        return got;
    }
    void Write(const void*, std::size_t) override {}
    std::uint64_t Remaining() const override { return stream_.Remaining(); }
    void Seek(std::uint64_t position) override { stream_.Seek(position); }

private:
    MemoryStream stream_;
    std::uint64_t& count_;
};

/// How many times the bytes of a file are read until all samples of all runs are, rounded up.
std::uint64_t PassesOver(const std::string& bytes,
                         const std::function<std::unique_ptr<RecordingReader>(std::uint64_t*)>& open) {
    std::uint64_t count = 0;
    const auto reader = open(&count);
    for (std::size_t r = 0; r < reader->Info().runs.size(); ++r) ReadColumns(*reader, r);
    return (count + bytes.size() - 1) / bytes.size();
}

std::uint64_t PassesOver(const std::string& bytes, kvx::test::OpenBytes open) {
    return PassesOver(
        bytes, [&](std::uint64_t* count) { return open(std::make_unique<CountedStream>(bytes, count)); });
}

std::string Number(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
    return bytes;
}

// ---- archives of arrays ----

std::string Array(const std::string& type, const std::string& shape, const std::string& values) {
    const std::string header = "{'descr': '" + type + "', 'fortran_order': False, 'shape': " + shape + "}";
    return "\x93NUMPY\2\0"s + Number(header.size(), 4) + header + values;
}

/// An archive that stores files as they are.
std::string Zip(const std::vector<std::pair<std::string, std::string>>& files) {
    std::string bytes, directory;
    for (const auto& [name, content] : files) {
        const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size());
        const std::string common = "\x14\0\0\0\0\0\0\0\0\0"s + Number(sum, 4) + Number(content.size(), 4) +
                                   Number(content.size(), 4) + Number(name.size(), 2) + "\0\0"s;
        directory += "PK\1\2\x14\0"s + common + std::string(10, '\0') + Number(bytes.size(), 4) + name;
        bytes += "PK\3\4"s + common + name + content;
    }
    const std::string count = Number(files.size(), 2);
    return bytes + directory + "PK\5\6\0\0\0\0"s + count + count + Number(directory.size(), 4) +
           Number(bytes.size(), 4) + "\0\0"s;
}

std::string Double(double value) {
    return Number(std::bit_cast<std::uint64_t>(value), 8);
}

TEST(HostileNpz, HasNoFilesThatShareBytes) {
    const std::string two = Array("|u1", "(2,)", "\1\2");
    std::string file = Zip({{"a.npy", two}, {"b.npy", two}});
    EXPECT_EQ(Described(OpenNpzFile, file), ": s from 0 by 0: a [] 1 2, b [] 1 2");
    const std::size_t second = file.rfind("PK\1\2");
    file.replace(second + 42, 4, Number(0, 4));
    EXPECT_EQ(Described(OpenNpzFile, file), "its files 'a.npy' and 'b.npy' share bytes");
}

TEST(HostileNpz, KeepsSoManyTextsInAll) {
    std::vector<std::pair<std::string, std::string>> files = {
        {"a.npy", Array("<f8", "(2,)", Double(1) + Double(2))}};
    for (int i = 0; i < 20; ++i)
        files.emplace_back("t" + std::to_string(i) + ".npy",
                           Array("|S1", "(32768,)", std::string(32768, 'x')));
    const auto reader = Open(OpenNpzFile, Zip(files));
    EXPECT_LT(reader->Info().properties.size(), 16U);
    EXPECT_NE(reader->Info().remarks.at(0).find("for the texts of the file take more than 16 MiB"),
              std::string::npos);
}

TEST(HostileNpz, IsReadOnceHoweverManyFoldersTakeTheirRateFromOutside) {
    std::vector<std::pair<std::string, std::string>> files;
    for (std::size_t i = 0; i < 100; ++i) {
        files.emplace_back("fs" + std::string(i, '_') + ".npy", Array("<f8", "()", Double(8)));
        files.emplace_back("f" + std::to_string(i) + "/a.npy", Array("<f8", "(2,)", Double(1) + Double(2)));
    }
    EXPECT_LE(PassesOver(Zip(files), OpenNpzFile), 5U);
}

// ---- compressed variables of MATLAB ----

std::string Element(std::uint32_t type, std::string bytes) {
    const std::string front = Number(type, 4) + Number(bytes.size(), 4);
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return front + bytes;
}

std::string Matrix(std::uint32_t kind, std::size_t rows, const std::string& name,
                   const std::string& content) {
    return Element(14, Element(6, Number(kind, 8)) + Element(5, Number(rows, 4) + Number(1, 4)) +
                           Element(1, name) + content);
}

/// A file of one compressed variable.
std::string Compressed(const std::string& variable) {
    std::string packed(compressBound(variable.size()), '\0');
    uLongf size = packed.size();
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(variable.data()),
              variable.size(), 1);
    packed.resize(size);
    return "MATLAB 5.0 MAT-file" + std::string(97, ' ') + std::string(8, '\0') + "\0\1IM"s + Number(15, 4) +
           Number(packed.size(), 4) + packed;
}

/// A structure of so many fields of one name, then a vector 'a', which makes a run.
std::string Structure(std::size_t fields, const std::string& name, const std::string& field) {
    std::string names, content;
    for (std::size_t i = 0; i < fields; ++i) {
        names += name + std::string(4 - name.size(), '\0');
        content += field;
    }
    return Matrix(2, 1, "s",
                  Element(5, Number(4, 4)) + Element(1, names + "a\0\0\0"s) + content +
                      Matrix(6, 2, "", Element(9, Double(1) + Double(2))));
}

TEST(HostileMat, IsInflatedAFewTimesHoweverManyFieldsAStructureHas) {
    const std::string single = Matrix(6, 1, "", Element(9, Double(2)));
    const std::string vector = Matrix(6, 2, "", Element(9, Double(1) + Double(2)));
    EXPECT_EQ(Described(OpenMatFile, Compressed(Structure(2, "fs", single))), "s: s from 0 by 0.5: a [] 1 2");
    EXPECT_LE(PassesOver(Compressed(Structure(1000, "fs", single)), OpenMatFile), 8U);
    EXPECT_LE(PassesOver(Compressed(Structure(500, "t", vector)), OpenMatFile), 8U);
}

TEST(HostileMat, HasNoLargeCompressedStructureOfManyLengths) {
    for (const std::size_t lengths : {60U, 70U}) {
        std::string names, content;
        for (std::size_t i = 1; i <= lengths; ++i) {
            const std::size_t rows = i == lengths ? std::size_t{1} << 21 : i + 1;
            names += "a\0\0\0"s;
            content += Matrix(6, rows, "", Element(9, std::string(8 * rows, '\0')));
        }
        const std::string file =
            Compressed(Matrix(2, 1, "s", Element(5, Number(4, 4)) + Element(1, names) + content));
        if (lengths == 60) {
            EXPECT_EQ(Open(OpenMatFile, file)->Info().runs.size(), lengths);
        } else {
            EXPECT_EQ(Described(OpenMatFile, file),
                      "a compressed structure of it holds arrays of 70 lengths; save it without compression");
        }
    }
}

TEST(HostileMat, HasSoManyVariablesAndTexts) {
    const std::string empty = Element(14, "");
    EXPECT_EQ(Described(OpenMatFile, Compressed(Structure(70000, "a", empty))),
              "byte 128: it has more than 65536 variables, folders and structures");
    std::string cells;
    for (int i = 0; i < 1100000; ++i) cells += empty;
    EXPECT_EQ(Described(OpenMatFile, Compressed(Matrix(1, 1100000, "c", cells))),
              "it has no array of samples; left out: 'c', for its texts are long");
    EXPECT_EQ(Described(OpenMatFile, Compressed(Matrix(6, 1, std::string(300, 'a'), ""))),
              "byte 128: the head of a variable is none");
}

// ---- objects of HDF5 ----

TEST(HostileMat73, HasNamesOfSomeLengthAndObjectsBesideOneAnother) {
    const std::string good = MatlabFile73();
    constexpr std::size_t kUserBlock = 512;
    const std::size_t heap = good.find("HEAP");
    std::string file = good + std::string(2000, 'x');
    file.replace(heap + 8, 8, Number(2000, 8));
    file.replace(heap + 24, 8, Number(good.size() - kUserBlock, 8));
    EXPECT_EQ(Described(OpenMatFile, file), "it is cut short or its HDF5 objects are damaged");
    // The members of the file become one that is there 5000 times.
    const std::size_t links = good.find("SNOD");
    const std::size_t child = good.find(Number(links - kUserBlock, 8));
    ASSERT_LT(child, good.size());
    file = good;
    file.replace(child, 8, Number(good.size() - kUserBlock, 8));
    file += "SNOD\1\0"s + Number(5000, 2);
    for (int i = 0; i < 5000; ++i) file += good.substr(links + 48, 40);  // that of a
    EXPECT_EQ(Described(OpenMatFile, file), "its HDF5 objects lie in one another");
    // More chunks than their tree has room for.
    const std::size_t space = good.find("\1\2\1"s + std::string(5, '\0') + Number(2, 8) + Number(3, 8));
    ASSERT_LT(space, good.size());
    file = good;
    file.replace(space + 16, 8, Number(300000, 8));
    EXPECT_NE(Described(OpenMatFile, file).find("it states more samples than the file has room for"),
              std::string::npos);
}

// Written by h5py 3.7 in the layout of MATLAB 7.3, then compressed with zlib: a matrix of 524288 by 12 zeros
// in deflated chunks of one column, 4 MiB each, and fs = 8.
constexpr const char* kColumns =
    "eNrt181rE0EYx/GZ2aTdZlts8FL04B57UQsGzC2b0kiExooG8dZGm0UltIe0kIMoeKonwbPgTbzV/"
    "0C9efMo+j949Rp3Z2ZDJjg9FFTE7+cy"
    "mWd/+8LsC3k6ze5mcz2+eulK3Gl2L6YPB/34dxMFdb0j8Fc9b29cW6qcq+hJGIqSWLb3xgxjK/nqzov9d+wo7Xhkx7eqqEu9bcXWq/"
    "b4s7nu"
    "rVYrT49nFOdZK5lxmVv2X2q3mjfz8a6dF8/"
    "TJ+XmenZMh+5zmZzyvFLMm2PIYr5qRmUKi5Nk+Mt5kF1pnqzGDVtJRC0StXFgUuWsmm9XgTlD"
    "JOr6h1TFaxjqN2j44DBNB317jPw6TH23nw56B32xMDmrWZlABaPy9BKEZtdFsWaLS7rU0d//7fuD3lCv2NksPTe1brv7h/"
    "ey007cvrG1IfVV"
    "GXFw8voV72v9M8/"
    "wtPx7J7O7Mfu9+3Hm5P3e2e1FTnpyby64OeXJvbrs5ny382XDzZU8uaMtN1f25J5su7k5T+5g383Ne3KPnrq50JPbeeHm"
    "Fjy5O6/dXMWT2zx2c5Ent/7enUcz34mQVwIAAHiMvn3/KPM/fc/i8fFeO5EsCQAAAAAA/"
    "7zH54MPQtL1AwAAAABA1w8AAAAAAOj6AQAAAAAA"
    "XT8AAAAAAKDrBwAAAAAAdP0AAAAAAICuHwAAAAAAun4AAAAAAEDXDwAAAAAA6PoBAAAAAABdPwAAAAAAOF3XL0VZ6E7ftvtSrJpRSTFV"
    "9o6B"
    "WNG/q3FDhLqSiFokauPAbC9n1Xy7UuaAYZbX+8n6F5MIZ65rxK0BAOCPiJOfaG7YwQ==";

TEST(HostileMat73, KeepsChunksOf32MebibytesAndHasNoneOfMoreThan16) {
    constexpr std::size_t kBytes = 55616, kRows = 524288, kRoom = 1 << 15;
    const std::string file = Inflated(kColumns, kBytes);
    for (const std::size_t columns : {8U, 12U}) {
        std::uint64_t count = 0;
        const auto reader = OpenMatFile(std::make_unique<CountedStream>(file, &count));
        std::vector<std::vector<double>> room(columns, std::vector<double>(kRoom, 1.0));
        std::vector<double*> targets(12, nullptr);
        for (std::size_t c = 0; c < columns; ++c) targets[c] = room[c].data();
        std::size_t done = 0;
        try {
            while (const std::size_t got = reader->Read(0, targets, kRoom)) done += got;
            EXPECT_EQ(columns, 8U);
            EXPECT_EQ(done, kRows);
            EXPECT_EQ(room[7], std::vector<double>(kRoom));
            EXPECT_LE(count, 2 * kBytes);
        } catch (const Error& error) {
            EXPECT_EQ(columns, 12U);
            EXPECT_EQ(error.Sentence(),
                      "its chunks are too large to be read side by side; save it without compression");
            EXPECT_LE(count, 8 * kBytes);
        }
    }
    std::string large = file;
    const std::size_t chunk = large.find(Number(1, 4) + Number(kRows, 4) + Number(8, 4));
    ASSERT_LT(chunk, large.size());
    large.replace(chunk + 4, 4, Number((2 << 20) + 1, 4));
    EXPECT_EQ(
        Described(OpenMatFile, large),
        "it has no array of samples; left out: 'a', for its HDF5 objects hold chunks of more than 16 MiB, "
        "which is not read");
}

// ---- segments of loggers ----

TEST(HostileLogger, IsReadAFewTimesHoweverManyChannelsEndAtTheirOwnTime) {
    constexpr std::size_t kChannels = 200;
    std::string headings, rows;
    for (std::size_t c = 0; c < kChannels; ++c) headings += "X_Value\tc" + std::to_string(c) + "\t";
    for (std::size_t r = 0; r < kChannels; ++r) {
        for (std::size_t c = 0; c < kChannels; ++c)
            rows += c < r ? "\t\t" : std::to_string(r) + "\t" + std::to_string(c) + "\t";
        rows += "\n";
    }
    const std::string text =
        "LabVIEW Measurement\t\nSeparator\tTab\nX_Columns\tMulti\n***End_of_Header***\n\n"
        "Channels\t200\nSamples\t1\t2\n***End_of_Header***\n" +
        headings + "Comment\n" + rows;
    const auto passes = PassesOver(text, [&](std::uint64_t* count) {
        return OpenTextTable([&text, count] { return std::make_unique<CountedStream>(text, count); }, {});
    });
    EXPECT_LE(passes, 6U);
}

// ---- datasets of universal files ----

TEST(HostileUff, LooksForTheEndOfABinaryFunctionInAFewBytes) {
    // Each header states an end within the same long line.
    const std::string end = "    -1\n";
    const auto function = [&](std::size_t bytes) {
        const std::string size = std::to_string(bytes);
        return end + "    58b     1     2          11" + std::string(12 - size.size(), ' ') + size +
               "\nNONE\nNONE\nNONE\nNONE\nNONE\n" +
               "    1         0    0         0 NONE               1   3 NONE               1   3\n" +
               "         2         4         1  0.00000E+00  1.00000E+00  0.00000E+00\n" +
               "        17    0    0    0 NONE                 NONE\n" +
               "        12    0    0    0 NONE                 NONE\n" +
               "         0    0    0    0 NONE                 NONE\n" +
               "         0    0    0    0 NONE                 NONE\n";
    };
    constexpr std::size_t kFunctions = 300;
    const std::size_t length = function(100000).size();
    std::string file;
    for (std::size_t i = 0; i < kFunctions; ++i) file += function(100000 + (kFunctions - i) * length);
    file += std::string(1 << 20, 'x');
    std::uint64_t count = 0;
    EXPECT_THROW(OpenUffFile(std::make_unique<CountedStream>(file, &count)), Error);
    EXPECT_LE(count, 8 * file.size());
}

}  // namespace
