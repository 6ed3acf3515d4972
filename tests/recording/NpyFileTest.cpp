// SPDX-License-Identifier: MIT
//
// NumPy files and archives of them: headers made by hand after the public description, and a file of NumPy.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/NpyFile.h>
#include <KvxRecording01/NpzFile.h>

#include "tests/support/ForeignFiles.h"
#include "tests/support/Recordings.h"
#include "tests/support/TempFolder.h"

using namespace kvx;
using namespace kvx::test;
using namespace std::string_literals;

namespace {

std::string Npy(const std::string& type, bool isFortran, const std::string& shape, const std::string& values,
                char version = 1) {
    const std::string header = "{'descr': " + type + ", 'fortran_order': " + (isFortran ? "True" : "False") +
                               ", 'shape': " + shape + ", }\n";
    const std::string length = {static_cast<char>(header.size()), '\0', '\0', '\0'};
    return "\x93NUMPY"s + version + '\0' + length.substr(0, version == 1 ? 2 : 4) + header + values;
}

std::string Plain(const std::string& type, const std::string& shape, const std::string& values) {
    return Npy("'" + type + "'", false, shape, values);
}

TEST(NpyFile, HoldsNumbersOfAnyType) {
    const std::pair<std::string, std::string> cases[] = {
        {Plain("|b1", "(2,)", "\0\1"s), "0 1"},
        {Plain("|i1", "(2,)", "\x80\x7F"), "-128 127"},
        {Plain("|u1", "(2,)", "\x80\xFF"), "128 255"},
        {Plain("<i2", "(2,)", "\1\0\0\x80"s), "1 -32768"},
        {Plain(">i2", "(2,)", "\0\1\x80\0"s), "1 -32768"},
        {Plain("<u2", "(1,)", "\xFF\xFF"), "65535"},
        {Plain(">u4", "(1,)", "\xFF\xFF\xFF\xFE"), "4.29496729e+09"},
        {Plain("<i4", "(1,)", "\xFE\xFF\xFF\xFF"), "-2"},
        {Plain(">i8", "(1,)", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFD"), "-3"},
        {Plain("<u8", "(1,)", "\5\0\0\0\0\0\0\0"s), "5"},
        {Plain("<f2", "(4,)", "\0\x3C\0\xC0\1\0\xFF\x7B"s), "1 -2 5.96046448e-08 65504"},
        {Plain("<f4", "(2,)", "\0\0\x80\x3F\0\0\x20\xC1"s), "1 -10"},
        {Plain(">f8", "()", "\x3F\xF8\0\0\0\0\0\0"s), "1.5"},
        {Plain("<c8", "(1,)", "\0\0\x80\x3F\0\0\x20\xC1"s), "1,  -10"},
        {Plain(">c16", "(1,)", "\x3F\xF8\0\0\0\0\0\0\xC0\0\0\0\0\0\0\0"s), "1.5,  -2"},
        {Npy("'|u1'", true, "(2,)", "\1\2", 2), "1 2"},
        {Npy("'|u1'", false, "(2L, 1)", "\1\2", 3), "1 2"},
    };
    for (const auto& [file, expected] : cases) {
        EXPECT_EQ(RecognizeContent(file).format, Format::npy);
        EXPECT_EQ(Described(OpenNpyFile, file), ": s from 0 by 0:  [] " + expected);
    }
}

TEST(NpyFile, HoldsChannelsInColumnsRowsOrFields) {
    const std::pair<std::string, std::string> cases[] = {
        {Npy("'|u1'", false, "(3, 2)", "\1\2\3\4\5\6"), ":  [] 1 3 5,  [] 2 4 6"},
        {Npy("'|u1'", true, "(3, 2)", "\1\2\3\4\5\6"), ":  [] 1 2 3,  [] 4 5 6"},
        {Npy("'|u1'", false, "(1, 2, 3)", "\1\2\3\4\5\6"),
         ":  [] 1 2 3,  [] 4 5 6; the rows of the array are taken for channels, 2 of 3 samples"},
        {Npy("'|u1'", false, "(2, 2)", "\1\2\3\4"),
         ":  [] 1 3,  [] 2 4; the array is square; its columns are taken for channels"},
        {Npy("[('a', '|i1'), ('b', '>u2', (2,)), ('', '|V1'), (('a title', 'c'), '<i2')]", false, "(2,)",
             "\1\0\2\0\3?\4\0\xFF\0\5\0\6?\7\0"s),
         ": a [] 1 -1, b_1 [] 2 5, b_2 [] 3 6, c [] 4 7"},
        {Npy("[('t', '|u1', (3,))]", false, "(1,)", "\0\1\2"s), ": t_1 [] 0, t_2 [] 1, t_3 [] 2"},
        {Npy("'|u1'", false, "(2,)", "\1\2more"), ":  [] 1 2; the 4 bytes behind the array are not read"},
    };
    for (const auto& [file, expected] : cases)
        EXPECT_EQ(Described(OpenNpyFile, file), ": s from 0 by 0" + expected);
    EXPECT_EQ(Described(OpenNpyFile, Npy("[('t', '|u1'), ('a', '|u1')]", false, "(3,)", "\0\1\2\2\4\3"s)),
              ": s from 0 by 2: a [] 1 2 3");
}

TEST(NpyFile, ThatIsDamagedOrOfAnotherKindIsRefused) {
    const std::string header = "the header of an array is none that NumPy writes";
    const std::string none = "it has no array of samples; left out: column 1, for ";
    const std::pair<std::string, std::string> cases[] = {
        {Plain("<f8", "(2,)", "12345678"), "it is cut short: its numbers need 16 bytes and there are 8"},
        {Plain("<f8", "(4294967296, 4294967296)", ""),
         "it is cut short: its numbers need 18446744073709551615 bytes and there are 0"},
        {Npy("'<f8'", false, "(1,)", "12345678", 9), "its header is of version 9, which is not known"},
        {"\x93NUMPX\1\0\0\0"s, "it is no array of NumPy"},
        {"\x93NUMPY\1\0\xFF\0"s, "it is cut short"},
        {Npy("<f8", false, "(1,)", ""), header},
        {Plain("<f8", "(-1,)", ""), header},
        {Plain("<f8", "1", ""), header},
        {Plain("<f8", std::string(20, '(') + std::string(20, ')'), ""), header},
        {Npy("[('a', [('b', '<f8')])]", false, "(1,)", "12345678"), "its records hold records"},
        {Plain("|O", "(1,)", "?"), none + "it holds objects of Python"},
        {Plain("<M8", "(1,)", "12345678"), none + "it holds dates"},
        {Plain("<f16", "(1,)", "1234567812345678"), none + "it holds numbers of an unusual size"},
        {Plain("|u1", "(0, 3)", ""), none + "it is empty"},
        {Plain("|u1", "(2, 2, 2)", "12345678"), none + "it has 3 dimensions"},
        {Plain("<f4", "(2,)", "\0\0\x80\x3F\0\0\x80\xFF"s), "channel 1, sample 2: the value is infinite"},
    };
    for (const auto& [file, expected] : cases) EXPECT_EQ(Described(OpenNpyFile, file), expected);
    ExpectSenseOfEveryCut(OpenNpyFile,
                          Npy("[('a', '|i1'), ('b', '>u2', (2,))]", false, "(2,)", "0123456789"));
}

TEST(NpzFile, OfNumPyIsRead) {
    const std::string file = FromBase64(kDeflatedArrays);
    EXPECT_EQ(RecognizeContent(file).format, Format::npz);
    EXPECT_EQ(Described(OpenNpzFile, file), ": s from 0 by 0.125: x [g] 0 2 4, y [m/s] 1 3 5");
    ExpectSenseOfEveryCut(OpenNpzFile, file);
}

TEST(NpzFile, ThatIsDamagedIsRefused) {
    const std::string good = FromBase64(kDeflatedArrays);
    const std::size_t directory = good.find("PK\1\2");
    const std::size_t second = good.find("PK\1\2", directory + 4);
    const auto with = [&](std::size_t at, const std::string& bytes) {
        std::string file = good;
        return file.replace(at, bytes.size(), bytes);
    };
    const std::string cut = "it is cut short or its directory is damaged";
    const std::pair<std::string, std::string> cases[] = {
        {good.substr(0, 600), cut},
        {with(directory, "PK\1\3"), cut},
        {with(directory + 42, "\1"), cut},
        {with(directory + 20, "\xFE\xFF\xFF\x7F"), cut},
        {with(directory + 8, "\1"), "its file 'fs.npy' is encrypted"},
        {with(directory + 10, "\x0C"), "its file 'fs.npy' is neither stored nor deflated"},
        {with(second + 16, "\1\2\3\4"), "its check sum is not that of its bytes"},
        {with(second + 24, "\1\0\0\0"s), "its array 'a.npy': it is cut short"},
    };
    for (const auto& [file, expected] : cases) EXPECT_EQ(Described(OpenNpzFile, file), expected);
}

TEST(NpzFile, HasAChannelNamedXBesideItsTimes) {
    const TempFolder folder;
    SignalRun run = {1, 0.0, 0, 4, {{L"x", CUnitCtrl(), 1}}};
    run.isListed = true;
    for (const bool areEqual : {false, true}) {
        const auto writer = CreateSignalFile((folder / "out").string(), Format::npz, {run});
        double places[] = {0.0, 0.1, areEqual ? 0.1 : 0.2, 0.45}, samples[] = {1.0, 2.0, 3.0, 4.0};
        double* const columns[] = {places, samples};
        writer->Write(0, columns, 4);
        writer->Commit();
        EXPECT_EQ(Described(OpenNpzFile, folder.Read("out")),
                  ": s listed:  0 0.1 " + std::string(areEqual ? "0.1" : "0.2") + " 0.45, x [] 1 2 3 4");
    }
}

TEST(NpzFile, OfStoredArraysIsCheckedAgainstTheirSums) {
    const TempFolder folder;
    SignalRun run = {1, 0.5, 0, 2, {{L"a", CUnitCtrl(), 1}}};
    const auto writer = CreateSignalFile((folder / "out").string(), Format::npz, {run});
    double samples[] = {1.0, 2.0};
    double* const columns[] = {samples};
    writer->Write(0, columns, 2);
    writer->Commit();
    std::string file = folder.Read("out");
    EXPECT_EQ(Described(OpenNpzFile, file), ": s from 0 by 0.5: a [] 1 2");
    ExpectSenseOfEveryCut(OpenNpzFile, file);
    file[file.find("PK\1\2") - 3] ^= 1;  // in the last sample
    EXPECT_EQ(Described(OpenNpzFile, file), "its check sum is not that of its bytes");
}

TEST(ZipArchives, OfOtherThingsAreNamed) {
    EXPECT_EQ(RecognizeContent("PK\3\4"s + std::string(22, '\0') + "\5\0\0\0a.xml"s).name,
              "a ZIP archive, as XLSX files are");
}

}  // namespace
