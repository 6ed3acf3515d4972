// SPDX-License-Identifier: MIT
//
// Measurement files of loggers that are more than a table. TextTableTest has those that are one.
#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxRecording01/TextTable.h>

#include "tests/support/Recordings.h"

using namespace std::string_literals;
using namespace kvx;
using namespace kvx::test;

namespace {

std::string File(const std::string& xColumns, const std::string& more = "") {
    return "LabVIEW Measurement\t\nSeparator\tTab\nDecimal_Separator\t.\nX_Columns\t" + xColumns + "\n" +
           more + "***End_of_Header***\t\n\t\n";
}
std::string Block(const std::string& keys, const std::string& headings, const std::string& rows) {
    return "Channels\t2\t\t\n" + keys + "***End_of_Header***\t\t\t\n" + headings + "\tComment\n" + rows;
}

/// "title: s even 0 0.5 of 3: a [g] 1 2 3; ..." of each run, then the remarks, or the sentence that refuses
/// the text: the first and the last stamp with their number, or the spacing, or listed places in front of the
/// channels.
std::string Outcome(const std::string& text, const TextOptions& options = {}) try {
    const auto reader = OpenTextTable(
        [&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); }, options);
    std::string outcome;
    for (std::size_t r = 0; r < reader->Info().runs.size(); ++r) {
        const RecordingInfo::Run& run = reader->Info().runs[r];
        outcome +=
            (run.start ? run.start->Text() : ToUtf8(run.title)) + ": " +
            (run.axis.unknownUnit.empty() ? UnitText(run.axis.unit) : "?" + ToUtf8(run.axis.unknownUnit));
        if (run.axis.stamps) {
            outcome += (run.axis.stamps->IsEven() ? " even " : " uneven ") +
                       FormatNumber(run.axis.stamps->first) + " " + FormatNumber(run.axis.stamps->last);
        } else if (run.axis.delta > 0.0) {
            outcome += " from " + FormatNumber(run.axis.first) + " by " + FormatNumber(run.axis.delta);
        } else if (run.axis.first != 0.0) {
            outcome += " from " + FormatNumber(run.axis.first);
        }
        outcome += " of " + std::to_string(run.samples) + ":";
        std::size_t column = 0;
        const auto columns = ReadColumns(*reader, r);
        for (const RecordingInfo::Channel& channel : run.channels) {
            if (column == 0 && run.axis.isListed) {
                for (const double place : columns[column++]) outcome += " " + FormatNumber(place);
            }
            outcome +=
                " " + ToUtf8(channel.name) + (channel.unit ? " [" + UnitText(*channel.unit) + "]" : "");
            for (const double value : columns[column]) outcome += " " + FormatNumber(value);
            ++column;
        }
        outcome += "; ";
    }
    for (const std::string& remark : reader->Info().remarks) outcome += remark + "; ";
    return outcome.substr(0, outcome.size() - 2);
} catch (const Error& error) {
    return error.what();
}

const std::string kUnits = "Y_Unit_Label\tg\tm/s^2\t\nX_Dimension\tTime\tTime\t\n";
const std::string kAB = "X_Value\ta\tb";
const std::string kDated = "Date\t2026/03/01\t2026/03/01\t\nTime\t12:00:01,5\t12:00:01,5\t\n";

struct Case {
    const char* what;
    std::string text;
    std::string outcome;
};

void PrintTo(const Case& parameter, std::ostream* out) {
    *out << parameter.what;
}

class LoggerFile : public testing::TestWithParam<Case> {};

TEST_P(LoggerFile, IsReadOrRefusedWithASentence) {
    EXPECT_EQ(Outcome(GetParam().text), GetParam().outcome);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Kinds, LoggerFile, testing::Values(
    Case{"SegmentsThatGoOn", File("One") + Block(kUnits, kAB, "0.0\t1\t2\n0.5\t3\t4\n\n") + Block(kUnits, kAB, "1.0\t5\t6\n1.5\t7\t8\tend\n"),
        ": s even 0 1.5 of 4: a [g] 1 3 5 7 b [m/s2] 2 4 6 8"},
    Case{"SegmentsThatBeginAnew", File("One") + Block(kDated + kUnits, kAB, "0.0\t1\t2\n0.5\t3\t4\n\n") + Block(kUnits, kAB, "0.0\t5\t6\n0.5\t7\t8\n"),
        "2026-03-01T12:00:01.5: s even 0 0.5 of 2: a [g] 1 3 b [m/s2] 2 4; : s even 0 0.5 of 2: a [g] 5 7 b [m/s2] 6 8"},
    Case{"SegmentsOfOtherChannels", File("One") + Block(kUnits, kAB, "0.0\t1\t2\n0.5\t3\t4\n") + Block("", "X_Value\tc", "1.0\t5\n1.5\t6\n"),
        ": s even 0 0.5 of 2: a [g] 1 3 b [m/s2] 2 4; : s even 1 1.5 of 2: c 5 6"},
    Case{"SegmentsOfOtherUnits", File("One") + Block(kUnits, kAB, "0.0\t1\t2\n0.5\t3\t4\n") + Block("", kAB, "1.0\t5\t6\n"),
        ": s even 0 0.5 of 2: a [g] 1 3 b [m/s2] 2 4; : s uneven 1 1 of 1: a 5 b 6"},
    Case{"StartsThatGoOn", File("No") + Block("X0\t0.0\t0.0\nDelta_X\t0.5\t0.5\n", kAB, "\t1\t2\n\t3\t4\n") + Block("X0\t1.0\t1.0\nDelta_X\t0.5\t0.5\n", kAB, "\t5\t6\n"),
        ": s of 3: a 1 3 5 b 2 4 6"},
    Case{"StartOfASegment", File("No") + Block("X0\t2\t2\nDelta_X\t0.5\t0.5\n", kAB, "\t1\t2\n") + Block("X0\t9\t9\n", kAB, "\t5\t6\n"),
        ": s from 2 of 1: a 1 b 2; : s from 9 of 1: a 5 b 6"},
    Case{"StartOfTheOnlySegment", File("No") + Block("X0\t2\t2\n", kAB, "\t1\t2\n"), ": s from 2 of 1: a 1 b 2"},
    Case{"StartsThatBeginAnew", File("No") + Block("X0\t0\t0\nDelta_X\t0.5\t0.5\n", kAB, "\t1\t2\n\t3\t4\n") + Block("X0\t0\t0\nDelta_X\t0.5\t0.5\n", kAB, "\t5\t6\n"),
        ": s of 2: a 1 3 b 2 4; : s of 1: a 5 b 6"},
    Case{"TimesPerChannel", File("Multi") + Block(kUnits, "X_Value\ta\tX_Value\tb", "0\t1\t0\t2\n0.5\t3\t0.5\t4\n"), ": s even 0 0.5 of 2: a [g] 1 3 b [m/s2] 2 4"},
    Case{"RatesPerChannel", File("Multi") + Block("Samples\t3\t2\t\n" + kUnits, "X_Value\ta\tX_Value\tb", "0\t1\t0\t2\n0.5\t3\t1\t4\n1\t5\t\t\tlast\n"),
        ": s even 0 1 of 3: a [g] 1 3 5; : s even 0 1 of 2: b [m/s2] 2 4"},
    Case{"ChannelsThatEndBeforeOthers", File("One") + Block("Samples\t1\t3\n", kAB, "0\t1\t2\n1\t\t3\n2\t\t4\n"), ": s uneven 0 0 of 1: a 1; : s even 0 2 of 3: b 2 3 4"},
    Case{"SpecialBlocks", File("One") + "***Start_Special***\nChannels\t9\n***End_of_Header***\n***End_Special***\n" + Block("", kAB, "0\t1\t2\n1\t3\t4\n"),
        ": s even 0 1 of 2: a 1 3 b 2 4"},
    Case{"SpecialBlocksBetweenSegments", File("One") + Block("", kAB, "0\t1\t2\n1\t3\t4\n") + "***Start_Special***\t\nX\t1\n***End_Special***\t\n" + Block("", kAB, "2\t5\t6\n"),
        ": s even 0 2 of 3: a 1 3 5 b 2 4 6"},
    Case{"Frequencies", File("One") + Block("X_Dimension\tFrequency\tFrequency\n", kAB, "0\t1\t2\n10\t3\t4\n"), ": Hz from 0 by 10 of 2: a 1 3 b 2 4"},
    Case{"UnevenFrequencies", File("One") + Block("X_Dimension\tFrequency\n", kAB, "1\t1\t2\n10\t3\t4\n100\t5\t6\n"), ": Hz of 3: 1 10 100 a 1 3 5 b 2 4 6"},
    Case{"FrequenciesByTheirStep", File("No") + Block("X_Dimension\tFrequency\nX0\t5\nDelta_X\t2\n", kAB, "\t1\t2\n\t3\t4\n"),
        ": Hz from 5 by 2 of 2: a 1 3 b 2 4; the spacing of run 1 is that of its header, which may be rounded"},
    Case{"AnotherDimension", File("One") + Block("X_Dimension\tDistance\n", kAB, "0\t1\t2\n1\t3\t4\n"),
        ": ?Distance from 0 by 1 of 2: a 1 3 b 2 4"},
    Case{"AGapInsideASegment", File("One") + Block("", kAB, "0.0\t1\t2\n1\t3\t4\n5\t5\t6\n6\t7\t8\n") + Block("", kAB, "0\t1\t2\n"),
        ": s uneven 0 6 of 4: a 1 3 5 7 b 2 4 6 8; : s uneven 0 0 of 1: a 1 b 2"},
    Case{"SpecialBlockWithoutEnd", File("One") + "***Start_Special***\n", "a special block of its header does not end"},
    Case{"SegmentWithoutHeadings", File("One") + Block("", kAB, "0\t1\t2\n") + "Channels\t2\n", "its header does not end"},
    Case{"MissingValue", File("One") + Block("Samples\t2\t2\n", kAB, "0\t1\t2\n") + Block("", kAB, "1\t3\t\n"), "line 15, column 3: the value is missing"},
    Case{"GapInAShortChannel", File("One") + Block("Samples\t3\t2\n", kAB, "0\t1\t2\n1\t3\t\n2\t4\t5\n"), "line 13, column 3: the value is missing"},
    Case{"WordInASegment", File("One") + Block("", kAB, "0\t1\t2\n") + Block("", kAB, "1\t3\tx\n"), "line 14, column 3: 'x' is not a number"},
    Case{"SegmentsWithoutRows", File("Multi") + Block("", "X_Value\ta", "\n"), "it holds no samples"}),
    [](const auto& test) { return test.param.what; });
// clang-format on

TEST(LoggerFileReader, TellsThePropertiesOfTheFile) {
    for (const std::string times : {"One", "Multi"}) {
        const std::string text =
            File(times, "Operator\tme\nDate\t2026/03/01\nNotes\n") + Block("", "X_Value\ta", "0\t1\n1\t2\n");
        const auto reader =
            OpenTextTable([&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); }, {});
        std::string properties;
        for (const auto& [name, value] : reader->Info().properties) properties += name + "=" + value + ";";
        EXPECT_EQ(properties, "Operator=me;Date=2026/03/01;") << times;
        EXPECT_EQ(reader->Info().runs[0].samples, 2);
    }
}

TEST(LoggerFileReader, ReadsRunsInAnyOrder) {
    std::string text = File("One");
    for (int i = 0; i < 5; ++i) text += Block("", kAB, "0\t" + std::to_string(i) + "\t1\n1\t9\t9\n");
    const auto reader =
        OpenTextTable([&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); }, {});
    for (const std::size_t run : {3U, 0U, 4U, 4U, 1U}) {
        double a = 0.0;
        double* const targets[] = {&a, nullptr};
        if (reader->Read(run, targets, 1) == 1 && a != 9.0) {
            EXPECT_EQ(a, static_cast<double>(run));
        }
        EXPECT_EQ(reader->ErrorAt(1, 0, ErrorKind::kDamaged, "").Place().line,
                  10 + 5 * static_cast<int>(run) + (a == 9.0 ? 1 : 0));
    }
}

TEST(LoggerFileReader, MakesSenseOfEveryCut) {
    ExpectSenseOfEveryCut(
        [](std::unique_ptr<ByteStream> stream) {
            auto text = std::make_shared<std::string>(stream->Remaining(), '\0');
            stream->Read(text->data(), text->size());
            return OpenTextTable(
                [text] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(*text))); }, {});
        },
        File("One") + Block(kUnits, kAB, "0.0\t1\t2\n0.5\t3\t4\n") +
            Block("Samples\t1\t2\n", kAB, "1.0\t5\t6\n1.5\t\t8\n"));
}

}  // namespace
