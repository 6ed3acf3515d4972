// SPDX-License-Identifier: MIT
//
// MATLAB files: bytes made by hand after the public description, and files of SciPy and of the sound library.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/MatFile.h>
#include <KvxRecording01/SignalRuns.h>

#include "tests/support/ForeignFiles.h"
#include "tests/support/Recordings.h"
#include "tests/support/TempFolder.h"

using namespace kvx;
using namespace kvx::test;
using namespace std::string_literals;

namespace {

// ---- bytes of level 5 ----

std::string Number(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
    return bytes;
}

std::string Doubles(std::initializer_list<double> values) {
    std::string bytes;
    for (const double value : values) bytes += Number(std::bit_cast<std::uint64_t>(value), 8);
    return bytes;
}

std::string Element(std::uint32_t type, std::string bytes) {
    const std::string front = Number(type, 4) + Number(bytes.size(), 4);
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return front + bytes;
}

/// A variable of a class (with its flags) and two dimensions.
std::string Matrix(std::uint32_t kind, std::uint32_t rows, std::uint32_t columns, const std::string& name,
                   const std::string& content) {
    return Element(14, Element(6, Number(kind, 8)) + Element(5, Number(rows, 4) + Number(columns, 4)) +
                           Element(1, name) + content);
}

std::string Scalar(const std::string& name, double value) {
    return Matrix(6, 1, 1, name, Element(9, Doubles({value})));
}

std::string Text(const std::string& name, const std::string& text) {
    std::string units;
    for (const char letter : text) units += letter + "\0"s;
    return Matrix(4, 1, static_cast<std::uint32_t>(text.size()), name, Element(4, units));
}

std::string File(const std::string& variables) {
    std::string header = "MATLAB 5.0 MAT-file, by hand";
    header.resize(116, ' ');
    return header + std::string(8, '\0') + "\0\1IM"s + variables;
}

std::string Level4(std::uint32_t type, std::uint32_t rows, std::uint32_t columns, bool isComplex,
                   const std::string& name, const std::string& values) {
    return Number(type, 4) + Number(rows, 4) + Number(columns, 4) + Number(isComplex, 4) +
           Number(name.size() + 1, 4) + name + "\0"s + values;
}

const std::string kVector = Matrix(6, 3, 1, "a", Element(9, Doubles({1, -2, 3})));

TEST(MatFile, MakesRunsOfItsVariables) {
    const std::string matrix = Matrix(7, 2, 3, "m", Element(3, "\1\0\2\0\3\0\4\0\5\0\xFF\xFF"s));
    const std::string stamps = Matrix(6, 1, 3, "t", Element(9, Doubles({0, 0.25, 0.5})));
    const auto places = [](const std::string& name) {
        return Matrix(6, 1, 3, name, Element(9, Doubles({0, 6, 12})));
    };
    const std::string uneven = Matrix(6, 1, 3, "time", Element(9, Doubles({0, 1, 5})));
    const std::string names = Matrix(1, 1, 2, "names", Text("", "top") + Text("", "base"));
    const std::string complex = Matrix(0x806, 2, 1, "H", Element(9, Doubles({1, 2})) + Element(1, "\3\xFC"));
    const std::string fields =
        Number(5 | 4 << 16, 4) + Number(8, 4) + Element(1, "x\0\0\0\0\0\0\0dt\0\0\0\0\0\0"s);
    const std::string structure =
        Matrix(2, 1, 1, "s", fields + Matrix(6, 3, 1, "", Element(9, Doubles({7, 8, 9}))) + Scalar("", 2));
    const std::string others = Matrix(5, 1, 1, "sp", "") + Matrix(6, 0, 0, "e", "") +
                               Matrix(16, 1, 1, "fn", "") + Matrix(1, 1, 1, "c", Scalar("", 1));
    const std::pair<std::string, std::string> cases[] = {
        {kVector + Scalar("fs", 8), ": s from 0 by 0.125: a [] 1 -2 3"},
        {kVector + Scalar("Ts", 2) + Scalar("t0", -4), ": s from -4 by 2: a [] 1 -2 3"},
        {matrix + stamps + Text("unit", "g"),
         ": s from 0 by 0.25: m_1 [g] 1 3 5, m_2 [g] 2 4 -1; the rows of 'm' are taken for channels, 2 of 3 "
         "samples"},
        {kVector + uneven, ": s listed:  0 1 5, a [] 1 -2 3"},
        {matrix + Scalar("FS", 1) + names,
         ": s from 0 by 1: top [] 1 3 5, base [] 2 4 -1; the rows of 'm' are taken for channels, 2 of 3 "
         "samples"},
        {complex + Matrix(6, 2, 1, "f", Element(9, Doubles({10, 12}))) + kVector,
         ": Hz from 10 by 2: H [] 1 2,  3 -4; left out: 'a', for it has another length than the axis"},
        {structure + kVector + Scalar("dt", 4), ": s from 0 by 4: a [] 1 -2 3; s: s from 0 by 2: x [] 7 8 9"},
        {kVector + complex + Scalar("fs", 1),
         ": s from 0 by 1: a [] 1 -2 3; : s from 0 by 1: H [] 1 2,  3 -4"},
        {others + kVector + Scalar("fs", 1),
         ": s from 0 by 1: a [] 1 -2 3; left out: 'sp', for it is sparse; 'e', for it is empty; 'fn', for it "
         "is a "
         "function; 'c', for it is a cell array"},
        {kVector + Scalar("fs", 1) + names,
         ": s from 0 by 1: a [] 1 -2 3; the 2 names of the file are not used, for they are not as many as "
         "the "
         "channels"},
        {kVector + stamps + Scalar("fs", 9),
         ": s from 0 by 0.25: a [] 1 -2 3; the spacing of 't', 0.25, is taken, not the 0.111111111 that is "
         "stated "
         "beside it"},
        {kVector + uneven + Text("xunit", "ms"), ": s listed:  0 0.001 0.005, a [] 1 -2 3"},
        {kVector + stamps + Text("xunit", "min"), ": s from 0 by 15: a [] 1 -2 3"},
        {kVector + Scalar("dt", 2) + Scalar("t0", 4) + Text("xunit", "us"),
         ": s from 4e-06 by 2e-06: a [] 1 -2 3"},
        {kVector + Scalar("fs", 8) + Text("xunit", "ms"), ": s from 0 by 0.125: a [] 1 -2 3"},
        {kVector + stamps + Text("xunit", "Hz"),
         ": s from 0 by 0.25: a [] 1 -2 3; the unit 'Hz' of an axis is none of the times, which are read in "
         "s"},
        {kVector + places("f") + Text("xunit", "CPM"), ": Hz from 0 by 0.1: a [] 1 -2 3"},
        {kVector + places("x") + Text("xunit", "mm"), ": m from 0 by 0.006: a [] 1 -2 3"},
        {kVector + places("x") + Text("xunit", "furlong"), ": ?furlong from 0 by 6: a [] 1 -2 3"},
        {kVector + Scalar("dx", 2) + Text("xunit", "inch"), ": m from 0 by 0.0508: a [] 1 -2 3"},
        {Scalar("fs", 1), "it has no array of samples"},
    };
    for (const auto& [variables, expected] : cases)
        EXPECT_EQ(Described(OpenMatFile, File(variables)), expected);
}

TEST(MatFile, MakesARunOfEachElementOfAnArrayOfStructures) {
    const std::string fields =
        Number(5 | 4 << 16, 4) + Number(8, 4) + Element(1, "x\0\0\0\0\0\0\0dt\0\0\0\0\0\0"s);
    const auto element = [](double first, double step) {
        return Matrix(6, 3, 1, "", Element(9, Doubles({first, 8, 9}))) + Scalar("", step);
    };
    const std::string array = Matrix(2, 1, 2, "s", fields + element(7, 2) + element(6, 4));
    EXPECT_EQ(Described(OpenMatFile, File(array)),
              "s(1): s from 0 by 2: x [] 7 8 9; s(2): s from 0 by 4: x [] 6 8 9");
    // Two elements are stated, one and a half are there.
    const std::string cut = Matrix(2, 1, 2, "s", fields + element(7, 2) + Matrix(6, 1, 1, "", ""));
    EXPECT_NE(Described(OpenMatFile, File(cut)).find("cut short"), std::string::npos);
    const std::string others = Matrix(2, 0, 0, "none", "") + Matrix(2, 70, 70, "many", "");
    EXPECT_EQ(
        Described(OpenMatFile, File(others + kVector + Scalar("fs", 1))),
        ": s from 0 by 1: a [] 1 -2 3; left out: 'none', for it is empty; 'many', for it is an array of "
        "more than 4096 structures");
}

/// Eight rows: a column that rises by `step` from `first`, and its row's number, perhaps squared.
std::string TimeAndData(double first, double step, std::uint32_t columns = 2) {
    std::string values;
    for (std::uint32_t c = 0; c < columns; ++c)
        for (int i = 0; i < 8; ++i) values += Doubles({c == 0 ? first + i * step : std::pow(i, c)});
    return Matrix(6, 8, columns, "m", Element(9, values));
}

TEST(MatFile, TakesAFirstColumnThatRisesEvenlyForTheTime) {
    const std::string remark = "; the first column of 'm' rises evenly and is taken for the time";
    const std::string column = "0 1 2 3 4 5 6 7";
    const std::string squares = "0 1 4 9 16 25 36 49";
    const std::string days =
        "; the times of 'm' are taken for serial dates in days, from 738000.5 on, and read "
        "as seconds from the first";
    const std::string vector = Matrix(6, 1, 8, "b", Element(9, Doubles({8, 7, 6, 5, 4, 3, 2, 2})));
    const std::pair<std::string, std::string> cases[] = {
        {TimeAndData(-1, 0.5), ": s from -1 by 0.5: m [] " + column + remark},
        {TimeAndData(0, 0.25, 3), ": s from 0 by 0.25: m_2 [] " + column + ", m_3 [] " + squares + remark},
        {TimeAndData(0, 2) + vector, ": s from 0 by 2: m [] " + column + ", b [] 8 7 6 5 4 3 2 2" + remark},
        {TimeAndData(738000.5, 1.0 / 128), ": s from 0 by 675: m [] " + column + remark + days},
        // What the file states comes first.
        {TimeAndData(0, 1) + Scalar("fs", 2), ": s from 0 by 0.5: m_1 [] " + column + ", m_2 [] " + column},
        {TimeAndData(0, -1), ": s from 0 by 0: m_1 [] 0 -1 -2 -3 -4 -5 -6 -7, m_2 [] " + column},
    };
    for (const auto& [variables, expected] : cases)
        EXPECT_EQ(Described(OpenMatFile, File(variables)), expected);
}

TEST(MatFile, ReadsSerialDatesAsSecondsFromTheFirst) {
    const std::string remark =
        "; the times of 't' are taken for serial dates in days, from 738000 on, and read "
        "as seconds from the first";
    std::string fine;
    for (int i = 0; i < 4; ++i) fine += Doubles({738000 + i / (86400.0 * 100)});
    const std::string four = Matrix(6, 4, 1, "a", Element(9, Doubles({1, 2, 2, 1})));
    const std::pair<std::string, std::string> cases[] = {
        {Matrix(6, 4, 1, "t", Element(9, fine)) + four, ": s from 0 by 0.01: a [] 1 2 2 1" + remark},
        {Matrix(6, 4, 1, "t", Element(9, Doubles({738000, 738000.25, 738001, 738001.5}))) + four,
         ": s listed:  0 21600 86400 129600, a [] 1 2 2 1" + remark},
        {Matrix(6, 4, 1, "t", Element(9, Doubles({738000, 738001, 738002, 738003}))) + four,
         ": s from 738000 by 1: a [] 1 2 2 1"},
    };
    for (const auto& [variables, expected] : cases)
        EXPECT_EQ(Described(OpenMatFile, File(variables)), expected);
}

TEST(MatFile, TellsItsOtherNumbersAndTexts) {
    const auto reader =
        Open(OpenMatFile, File(kVector + Scalar("fs", 1) + Text("note", "so") + Scalar("n", 0.5)));
    std::string text;
    for (const RecordingInfo::Property& property : reader->Info().properties)
        text += property.name + "=" + property.text + " ";
    EXPECT_EQ(text, "header=MATLAB 5.0 MAT-file, by hand fs=1 note=so n=0.5 ");
}

TEST(MatFile, MayBeCompressed) {
    EXPECT_EQ(Described(OpenMatFile, File(FromBase64(kCompressedVariables))),
              ": s from 0 by 0.125: a [] 1.5 -2 3 4; s: Hz from 0 by 0.5: H [g] 1 3,  2 -4");
}

// Written by h5py 3.7 in the layout of MATLAB 7.3, then compressed with zlib: an array s of two structures
// with a vector x and a number dt.
constexpr const char* kStructures73 =
    "eNrtWL9PwkAUvmspFpSkCJHGaHKRhUGNiSa6CUYMJqJEGdyUn8GEqBFIdHPUzdHR0ZHR0dGR0dE/"
    "ww1L753xTsCKUVHuW7686+Na3vve6/Ul"
    "Y+mN2ApZnJ0nyVh6pnhQLkyT7BkpZQ7z5JuAGJT1JJL4VVwmVtd83nGvbeg6ciEDckOpCYhM8jb7/T4wBr4AvlXYOravmbDuh/1Fv/"
    "R2PN7y"
    "bgpg93nSKBsyZQOJRDyWavEu2ExPDwrvFz4pFCthhCqCLqM93reTfhMqtUuaM/"
    "0u6ZSJTKXUr4UI65ca75cBzgLngPOCnucc3ndnc2sVW80c"
    "5IeIyu8j6pj113qQ93sE+"
    "3lsMPOHkZvGAjObZhArmIuTKuRJfWXTXvOTZchFFC0Mo4UmOGjWauu6otANdeg4Kj738B2PYgQUgJHP8tVR0j7H"
    "7eXKmYrd+gLWLu43z5E/qmXLha90wna6cr3qKjLU3Z/p6tzf3Y/9y6vR7n6sj94E/oO6JiApBHgK2AQOAhtR/"
    "nVmRFmcWBxYHj6Ks4SEhISE"
    "hMQgniuv+/Jc6TQenbj3eNQhHrqMhx2Puz6Nh8rNYwz4sjgOUTuFnM1jGib/"
    "XSIx2PMYpiczxPvlq5RPhbrqVc1sfijOUz5bV5XqSS1Xbdla"
    "1/6gCM+tvOsPtP5DUOmd+8G9p33FXPRVXsV5133I2VzCHJc1wffZn9JV40/o6gXMkLTR";

TEST(MatFile, OfVersion73IsRead) {
    const std::string file = MatlabFile73();
    EXPECT_EQ(RecognizeContent(file).format, Format::mat);
    const std::string expected =
        ": s from 0 by 0.125: x [] 1 2 3, yz [] 4 5 -6; s: Hz from 0 by 0.5: H [] 1 3,  2 -4";
    EXPECT_EQ(Described(OpenMatFile, file), expected);
    EXPECT_EQ(Described(OpenMatFile, Inflated(kStructures73, 7464)),
              "s(1): s from 0 by 2: x [] 7 8 9; s(2): s from 0 by 4: x [] 6 5 4");
    // A file that is cut short or has one wrong byte is refused, or the byte does not matter.
    for (std::size_t at = 512; at < file.size(); at += 7) {
        std::string broken = file;
        broken[at] ^= '\x55';
        EXPECT_FALSE(Described(OpenMatFile, broken).empty());
        EXPECT_NE(Described(OpenMatFile, file.substr(0, at)), expected) << at;
    }
}

TEST(MatFile, OfVersion73HasNoChunksWithoutDimensions) {
    std::string file = MatlabFile73();
    const std::size_t space = file.find("\1\2\1"s + std::string(5, '\0') + Number(2, 8) + Number(3, 8));
    const std::size_t layout = file.find("\3\2\3");
    ASSERT_TRUE(space != file.npos && layout != file.npos);
    file[space + 1] = '\0';
    file[layout + 2] = '\1';
    EXPECT_EQ(Described(OpenMatFile, file), "it is cut short or its HDF5 objects are damaged");
}

TEST(MatFile, OfTheSoundLibraryIsReadInBothLevelsAndOrdersOfBytes) {
    const TempFolder folder;
    const std::string path = (folder / "made").string();
    for (const int format :
         {SF_FORMAT_MAT4 | SF_FORMAT_DOUBLE, SF_FORMAT_MAT4 | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG,
          SF_FORMAT_MAT5 | SF_FORMAT_FLOAT, SF_FORMAT_MAT5 | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG}) {
        SF_INFO info = {};
        info.samplerate = 8000;
        info.channels = 2;
        info.format = format;
        SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
        ASSERT_NE(file, nullptr);
        const std::vector<std::int16_t> samples = {1, 2, 3, 4, 5, -6};
        sf_command(file, SFC_SET_NORM_FLOAT, nullptr, SF_FALSE);
        sf_command(file, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
        const std::vector<double> values(samples.begin(), samples.end());
        sf_write_double(file, values.data(), 6);
        sf_close(file);
        EXPECT_EQ(RecognizeFile(path).format, Format::mat);
        EXPECT_EQ(
            Described(OpenMatFile, folder.Read("made")),
            ": s from 0 by 0.000125: wavedata_1 [] 1 3 5, wavedata_2 [] 2 4 -6; the rows of 'wavedata' are "
            "taken for channels, 2 of 3 samples");
    }
}

TEST(MatFile, OfLevel4HoldsComplexNumbersAndTexts) {
    const std::string file =
        Level4(0, 3, 1, true, "a", Doubles({1, 2, 3, 4, 5, 6})) +
        Level4(1, 1, 1, false, "units", Doubles({'V'})) + Level4(51, 1, 2, false, "note", "ok") +
        Level4(2, 1, 1, false, "sp", Doubles({1})) + Level4(0, 1, 1, false, "fs", Doubles({4}));
    EXPECT_EQ(RecognizeContent(file).format, Format::mat);
    EXPECT_EQ(Described(OpenMatFile, file),
              ": s from 0 by 0.25: a [V] 1 2 3,  4 5 6; left out: 'sp', for it is sparse");
    ExpectSenseOfEveryCut(OpenMatFile, file);
}

TEST(MatFile, ThatIsDamagedIsRefused) {
    const std::string good = File(kVector + Scalar("fs", 8));
    const auto with = [&](std::size_t at, const std::string& bytes) {
        std::string file = good;
        return file.replace(at, bytes.size(), bytes);
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<std::string, std::string> cases[] = {
        {good.substr(0, 100), "it is cut short"},
        {with(126, "XY"), "its header does not tell the order of bytes"},
        {with(128, "\x63"), "byte 128: there is no variable where one was expected"},
        {with(132, "\xFF\xFF"), "byte 128: it is cut short"},
        {with(160, "\4"), "byte 128: the variable 'a' has not the bytes that its dimensions need"},
        {with(160, "\xFF\xFF\xFF\xFF"), "byte 128: a variable has a dimension below 0"},
        {with(144, "\x63"), "byte 128: the variable 'a' is of an unknown class"},
        {with(136, "\x09"), "byte 128: the head of a variable is none"},
        {File(Element(15, "no stream")), "byte 128: its compressed bytes are damaged"},
        {File(Matrix(6, 2, 1, "a", Element(9, Doubles({1, infinity}))) + Scalar("fs", 1)),
         "channel 1, sample 2: the value is infinite"},
    };
    for (const auto& [file, expected] : cases) EXPECT_EQ(Described(OpenMatFile, file), expected);
    ExpectSenseOfEveryCut(OpenMatFile, good);
    ExpectSenseOfEveryCut(OpenMatFile, File(FromBase64(kCompressedVariables)));
    std::string broken = File(FromBase64(kCompressedVariables));
    broken[broken.size() - 130] ^= 1;  // in the check sum of the second variable
    EXPECT_EQ(Described(OpenMatFile, broken), "its compressed bytes are damaged");
}

// ---- written and read back, of every format that holds named variables ----

class VariableFiles : public testing::TestWithParam<Format> {};

/// What a file of these runs holds, as `Described` tells it.
TEST_P(VariableFiles, ReadBackAsTheyWere) {
    const TempFolder folder;
    const std::string path = (folder / "out").string();
    SignalRun time = {1, 0.1, -3, 4, {}};
    time.channels = {
        {L"top plate", NamedUnit("g"), 1}, {L"top-plate", NamedUnit("N"), 2}, {L"\x52A0", CUnitCtrl(), 3}};
    time.title = L"drop";
    SignalRun lines = {2, 0.7, 10, 3, {}};
    lines.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    lines.channels = {{L"f", NamedUnit("V"), 4, true}, {L"end", NamedUnit("V"), 5}};
    SignalRun listed = {3, 0.0, 0, 3, {}};
    listed.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    listed.isListed = true;
    listed.channels = {{L"h", NamedUnit("V"), 6}};
    for (const std::vector<SignalRun>& runs : {std::vector{time}, std::vector{time, lines, listed}}) {
        const auto writer = CreateSignalFile(path, GetParam(), runs, {L"a text"});
        std::vector<std::vector<double>> written;
        for (std::size_t r = 0; r < runs.size(); ++r) {
            std::size_t columns = runs[r].isListed ? 1 : 0;
            for (const SignalRun::Channel& channel : runs[r].channels) columns += channel.isComplex ? 2 : 1;
            for (std::size_t c = 0; c < columns; ++c) {
                for (__int64 i = 0; i < runs[r].samples; ++i) {
                    if (i == 0) written.emplace_back();
                    const bool isPlace = runs[r].isListed && c == 0;
                    written.back().push_back(isPlace ? 3.0 + static_cast<double>(i * i) * 0.3
                                                     : 9.80665 / 3.0 * static_cast<double>(i + 1));
                }
            }
            std::vector<std::vector<double>> block(written.end() - static_cast<std::ptrdiff_t>(columns),
                                                   written.end());
            for (__int64 i = 0; i < runs[r].samples; ++i) {
                std::vector<double> row;
                std::vector<double*> targets;
                for (const std::vector<double>& column : block)
                    row.push_back(column[static_cast<std::size_t>(i)]);
                for (double& value : row) targets.push_back(&value);
                writer->Write(r, targets, 1);
            }
        }
        writer->Commit();
        EXPECT_EQ(RecognizeFile(path).format, GetParam());
        const auto reader = OpenSignal(path, {}, {}, {}, {.anyRun = true});
        ASSERT_EQ(reader->Runs().size(), runs.size());
        std::size_t column = 0;
        for (std::size_t r = 0; r < runs.size(); ++r) {
            const SignalRun& back = reader->Runs()[r];
            EXPECT_EQ(
                std::tuple(back.delta, back.offset, back.samples, back.title, back.isListed),
                std::tuple(runs[r].delta, runs[r].offset, runs[r].samples, runs[r].title, runs[r].isListed));
            EXPECT_TRUE(back.axisUnit == runs[r].axisUnit);
            ASSERT_EQ(back.channels.size(), runs[r].channels.size());
            for (std::size_t c = 0; c < back.channels.size(); ++c) {
                EXPECT_EQ(back.channels[c].name, runs[r].channels[c].name);
                EXPECT_TRUE(back.channels[c].unit == runs[r].channels[c].unit);
            }
            ReadRun(*reader, r, [&](std::span<double* const> columns, std::size_t count) {
                for (double* const values : columns)
                    EXPECT_EQ(std::vector(values, values + count), written[column++]) << column;
            });
        }
    }
}

/// A product with a factor does not reach every double, and a unit of several parts rounds several times.
TEST_P(VariableFiles, ReadBackEveryValueThatAnyNumberInItsUnitStandsFor) {
    const TempFolder folder;
    const std::string path = (folder / "out").string();
    SignalRun run = {1, 0.1, 0, 500, {}};
    for (const wchar_t* const unit : {L"g", L"gal", L"degC", L"g2/Hz", L"(in/s)2/Hz", L"mm/N"})
        run.channels.push_back({unit, ParseUnit(unit).value_or(CUnitCtrl()), 1});
    std::vector<std::vector<double>> written(run.channels.size());
    std::vector<double*> targets;
    std::mt19937 random(7);
    for (std::vector<double>& column : written) {
        for (__int64 i = 0; i < run.samples; ++i)
            column.push_back(std::ldexp(1.0 + static_cast<double>(random()) * 0x1p-32,
                                        static_cast<int>(random() % 20) - 10));
    }
    std::vector<std::vector<double>> passed = written;
    for (std::vector<double>& column : passed) targets.push_back(column.data());
    const auto writer = CreateSignalFile(path, GetParam(), {run});
    writer->Write(0, targets, static_cast<std::size_t>(run.samples));
    writer->Commit();
    const auto reader = OpenSignal(path);
    std::vector<std::vector<double>> back;
    ReadRun(*reader, 0, [&](std::span<double* const> columns, std::size_t count) {
        for (double* const values : columns) back.emplace_back(values, values + count);
    });
    ASSERT_EQ(back.size(), written.size());
    for (std::size_t c = 0; c < back.size(); ++c) {
        const CUnitCtrl& unit = run.channels[c].unit;
        ASSERT_FALSE(unit == CUnitCtrl()) << c;
        int others = 0;
        for (std::size_t i = 0; i < back[c].size(); ++i) {
            if (back[c][i] == written[c][i]) continue;
            ++others;
            double number = unit.ConvDtoI(written[c][i], 1.0, unit.IsSingle());
            for (int step = 0; step < 40; ++step) number = std::nextafter(number, -HUGE_VAL);
            for (int step = 0; step < 80; ++step, number = std::nextafter(number, HUGE_VAL))
                ASSERT_NE(unit.ConvItoD(number, 1.0, unit.IsSingle()), written[c][i]) << c << " " << i;
            EXPECT_NEAR(back[c][i] / written[c][i], 1.0, 0x1p-51) << c;
        }
        RecordProperty("others" + std::to_string(c), others);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, VariableFiles, testing::Values(Format::mat, Format::npz));

TEST(MatFile, RefusesAVariableOfMoreThanTwoGibibytes) {
    const TempFolder folder;
    SignalRun run = {1, 1.0, 0, 300000000, {}};
    run.channels = {{L"a", CUnitCtrl(), 1}};
    try {
        CreateSignalFile((folder / "out").string(), Format::mat, {run});
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(
            error.what(),
            "a variable of a MATLAB file holds 2 GiB at most, and 'a' takes 2400000048 bytes; choose .npz"s);
    }
}

}  // namespace
