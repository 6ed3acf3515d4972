// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/TextTable.h>

using namespace std::string_literals;
using namespace kvx;

namespace {

/// "time 0 0.5; a [g] 1 2; b ?foo 3 4": the ends of the time column, then the channels, at last the remarks.
std::string Describe(RecordingReader& recording) {
    const RecordingInfo& info = recording.Info();
    const RecordingInfo::Run& run = info.runs.front();
    std::string text;
    if (run.axis.stamps) {
        text =
            "time " + FormatExact(run.axis.stamps->first) + " " + FormatExact(run.axis.stamps->last) + "; ";
    }
    std::vector<std::string> columns;
    for (const RecordingInfo::Channel& channel : run.channels) {
        columns.push_back(kvx::ToUtf8(channel.name) +
                          (channel.unit ? " [" + UnitText(*channel.unit) + "]" : "") +
                          (channel.unknownUnit.empty() ? "" : " ?" + kvx::ToUtf8(channel.unknownUnit)));
    }
    // Small pieces, which must not show.
    std::vector<std::array<double, 2>> room(columns.size());
    std::vector<double*> targets;
    for (std::array<double, 2>& piece : room) targets.push_back(piece.data());
    while (const std::size_t count = recording.Read(0, targets, 2)) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i) columns[c] += " " + FormatExact(room[c][i]);
        }
    }
    for (const std::string& column : columns) text += column + "; ";
    for (const std::string& remark : info.remarks) text += remark + "; ";
    return text.substr(0, text.size() - 2);
}

/// What comes of a text: the description, or the sentence that refuses it.
std::string Outcome(const std::string& text, const TextOptions& options = {}) {
    try {
        return Describe(*OpenTextTable(
            [&] { return std::make_unique<kvx::MemoryStream>(std::as_bytes(std::span(text))); }, options));
    } catch (const Error& error) {
        return error.what();
    }
}

const std::string kLogger =
    "LabVIEW Measurement,\r\nSeparator,Comma\r\nX_Columns,One\r\n***End_of_Header***,\r\n,\r\n"
    "Channels,2,,\r\nY_Unit_Label,g,furlong,\r\n***End_of_Header***,,\r\nX_Value,a,b,Comment\r\n";

struct Case {
    const char* what;
    std::string text;
    std::string outcome;
};

void PrintTo(const Case& parameter, std::ostream* out) {
    *out << parameter.what;
}

class TextTable : public testing::TestWithParam<Case> {};

TEST_P(TextTable, IsReadOrRefusedWithASentence) {
    EXPECT_EQ(Outcome(GetParam().text), GetParam().outcome);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Good, TextTable, testing::Values(
    Case{"CommaWithHeadings", "time,a [g],b (N)\n0,1,2\n0.5,-3e-2,4\n", "time 0 0.5; a [g] 1 -0.03; b [N] 2 4"},
    Case{"NoHeadingsNoTime", "3,1\n2,5\n", " 3 2;  1 5"},
    Case{"EvenFirstColumnIsTime", "0,5\n0.1,6\n0.2,5\n", "time 0 0.2;  5 6 5"},
    Case{"UnevenFirstColumnIsAChannel", "0,5\n0.1,6\n0.5,5\n", " 0 0.1 0.5;  5 6 5"},
    Case{"HeadingsSayThatItIsNoTime", "x,y\n0,5\n1,6\n2,7\n", "x 0 1 2; y 5 6 7"},
    Case{"TimeInMilliseconds", "t [ms];a\n0;1\n250;2\n", "time 0 0.25; a 1 2"},
    Case{"SemicolonsAndDecimalCommas", "Zeit;a\n0,00;1,5\n0,25;-2,5e1\n", "time 0 0.25; a 1.5 -25"},
    Case{"BlanksAndDecimalCommas", "0,1 2,5\n0,2 3,5\n", " 0.1 0.2;  2.5 3.5"},
    Case{"QuotedDecimalCommas", "\"0,1\",\"2,5\"\n\"0,3\",\"3,5\"\n", " 0.1 0.3;  2.5 3.5"},
    Case{"TabsAndCrLf", "t\ta\r\n0\t1\r\n1\t2\r\n", "time 0 1; a 1 2"},
    Case{"MinusSigns", "\u22121,5;3\n2;\u22124\n", " -1.5 2;  3 -4"},
    Case{"LoneCarriageReturns", "a\r1\r2\r", "a 1 2"},
    Case{"ByteOrderMark", "\xEF\xBB\xBF" "a\n1\n", "a 1"},
    Case{"Utf16LittleEndian", "\xFF\xFE" "\xA0\x52\n\0" "1\0\n\0" "2\0"s, "加 1 2"},
    Case{"Utf16BigEndian", "\xFE\xFF\0a\0\n\0" "1\0\n"s, "a 1"},
    Case{"HeadingOfCodePage932", "\x89\xC1\x91\xAC\x93x,b\n1,2\n",
        "加速度 1; b 2; column 1: the heading '加速度' is not UTF-8 and was read as shift-jis; codePage chooses another"},
    Case{"HeadingInHalfWidthKatakana", "x,\xB1\xDD\xCC\xDF [V]\n1,2\n",
        "x 1; ｱﾝﾌﾟ [V] 2; column 2: the heading 'ｱﾝﾌﾟ [V]' is not UTF-8 and was read as shift-jis; codePage chooses another"},
    Case{"HeadingInLatin1", "D\xE9placement [\xB5m],a [m/s\xB2]\n1,2\n", "Déplacement [μm] 1; a [m/s2] 2; "
        "column 1: the heading 'Déplacement [µm]' is not UTF-8 and was read as windows-1252; codePage chooses another"},
    Case{"HeadingThatIsNotValidJapanese", "temp\xE9rature \x96 capteur\n1\n", "température – capteur 1; column 1: "
        "the heading 'température – capteur' is not UTF-8 and was read as windows-1252; codePage chooses another"},
    Case{"QuotedHeadings", "\"a, \"\"b\"\"\",c\n1,2\n", "a, \"b\" 1; c 2"},
    Case{"UnitsOnALineOfTheirOwn", "time,a,b\ns,g,m/s^2\n0,1,2\n1,3,4\n", "time 0 1; a [g] 1 3; b [m/s2] 2 4"},
    Case{"BracketsThatHoldNoUnit", "p [foo],a (top),n (2)\n1,2,3\n", "p [foo] ?foo 1; a (top) ?top 2; n (2) 3"},
    Case{"UnknownUnitOnALineOfUnits", "time,a,b\ns,foo,m/s^2\n0,1,2\n1,3,4\n", "time 0 1; a ?foo 1 3; b [m/s2] 2 4"},
    Case{"UnknownUnitInBracketsOfItsOwn", "a,b\n[g],[foo]\n1,2\n", "a [g] 1; b ?foo 2"},
    Case{"NamesOfWhichOneIsAUnit", "Date;2020\nx;N\n1;2\n", "x 1; N 2"},
    Case{"UnknownUnitOfTime", "time (UTC),a\n0,1\n1,2\n",
        "time 0 1; a 1 2; the unit 'UTC' of the time column is not known, so it is read in seconds"},
    Case{"HeadingsThatAreMore", "time,top, left [g]\n0,1\n1,2\n", " 0 1;  1 2; line 1, 'time,top, left [g]', "
        "does not have the 2 columns of the numbers below it and is not taken for headings"},
    Case{"TextAboveTheTable", "Made by the logger\nchannel 1\n\na,b\n1,2\n", "a 1; b 2"},
    Case{"CommentsAndBlankLines", "# t a\n0 1\n\n# pause\n1 2\n", "time 0 1; a 1 2"},
    Case{"TrailingSeparators", "a,b,\n1,2,\n3,4\n", "a 1 3; b 2 4"},
    Case{"SignsAndTinyNumbers", "+1,-0\n+.5,1e-400\n", " 1 0.5;  -0 0"},
    Case{"SeventeenDigits", "0.1000000000000000055,0.30000000000000004\n", " 0.1;  0.30000000000000004"},
    Case{"LoggerFile", kLogger + "0.0,1,2,note\r\n0.5,3,4\r\n\r\n", "time 0 0.5; a [g] 1 3; b ?furlong 2 4"},
    Case{"LoggerFileWithoutTime", "LabVIEW Measurement\nSeparator\tTab\nX_Columns\tNo\n***End_of_Header***\n"
        "Channels\t1\n***End_of_Header***\nX_Value\ta\tComment\n\t1.5\n\t2.5\n", "a 1.5 2.5"}),
    [](const auto& test) { return test.param.what; });

INSTANTIATE_TEST_SUITE_P(Bad, TextTable, testing::Values(
    Case{"TextInTheMiddle", "a,b\n1,2\n3,abc\n", "line 3, column 2: 'abc' is not a number"},
    Case{"WordInTheMiddle", "1,2\nend\n", "line 2, column 1: 'end' is not a number"},
    Case{"BytesThatAreNoText", "1\n\x01\xFFz\n", "line 2, column 1: '\\x01\\xFFz' is not a number"},
    Case{"RaggedRow", "1,2\n3,4\n5\n", "line 3 has 1 column where 2 were expected"},
    Case{"LongRow", "1\n2 3\n", "line 2, column 1: '2 3' is not a number"},
    Case{"WideRow", "1,2\n3,4,5\n", "line 2 has 3 columns where 2 were expected"},
    Case{"MissingValue", "1,2,3\n4,,6\n", "line 2, column 2: the value is missing"},
    Case{"MissingInTheFirstRow", "1,,3\n4,5,6\n", "line 1, column 2: the value is missing"},
    Case{"NotANumber", "1\nnan\n", "line 2, column 1: 'nan' is not a finite number"},
    Case{"NotANumberInTheFirstRow", "a [g]\nNaN\n2\n", "line 2, column 1: 'NaN' is not a finite number"},
    Case{"TooLargeInTheFirstRow", "time,a\n1e999,1\n2,3\n", "line 2, column 1: '1e999' is too large"},
    Case{"TooLarge", "1\n-1e999\n", "line 2, column 1: '-1e999' is too large"},
    Case{"GroupedThousands", "1,5;2\n1.234,5;2\n", "line 2, column 1: '1.234,5' is not a number"},
    Case{"TwoDecimalMarks", "1,5;2\n1.5;2\n",
         "line 2, column 1: '1.5' has another decimal mark than the numbers before it"},
    Case{"NoNumbers", "a,b\nc,d\n", "no line of it is a row of numbers; line 2 begins 'c,d'"},
    Case{"OnlyBlankLines", "\n \n", "it holds no text"},
    Case{"Binary", "ab\0cd"s, "it is neither a text table nor a sound file"},
    Case{"BytesOfNoEncoding", "a\x81 x\n1\n", "column 1: the heading 'a\\x81 x' is not UTF-8; give its encoding with codePage"},
    Case{"TimeBeyondSeconds", "t [h],a\n0,1\n1e306,2\n", "line 3, column 1: the time overflows in conversion to seconds"},
    Case{"HalfACharacter", "\xFF\xFE" "a", "its UTF-16 text ends in the middle of a character"},
    Case{"TooManyColumns", std::string(70000, ',') + "1\n", "line 1 has more than 65536 columns"},
    Case{"OnlyTime", "time\n0\n1\n", "its only column is the time"},
    Case{"LoggerHeaderWithoutEnd", "LabVIEW Measurement\nChannels\t1\n", "its header does not end"},
    Case{"LoggerFileWithoutData", kLogger, "it holds no samples"}),
    [](const auto& test) { return test.param.what; });
// clang-format on

TEST(TextTableOptions, NameTheEncoding) {
    const std::wstring text = L"a [m/s²]\n1\n";
    std::string utf16;
    for (const char16_t unit : kvx::ToUtf16(text))
        utf16 += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    const std::string latin = "a [m/s\xB2]\n1\n";
    const auto outcome = [](const std::string& bytes, const char* encoding) {
        return Outcome(bytes, {.codePage = CodePageOf(encoding)});
    };
    EXPECT_EQ(outcome(latin, "latin-1"), "a [m/s2] 1");
    EXPECT_EQ(outcome(kvx::ToUtf8(text), "utf-8"), "a [m/s2] 1");
    EXPECT_EQ(outcome(utf16, "utf-16be"), "a [m/s2] 1");
    EXPECT_EQ(outcome("\xFE\xFF" + utf16, "utf-16be"), "a [m/s2] 1");
    EXPECT_EQ(outcome("\xEC\xE0\xF1\xF1\xE0\n1\n", "windows-1251"), "масса 1");
    EXPECT_EQ(outcome("\xBC\xD3\xCB\xD9\xB6\xC8\n1\n", "gbk"), "加速度 1");
    EXPECT_EQ(outcome(utf16, "auto"), "it is neither a text table nor a sound file");
    EXPECT_EQ(outcome(latin, "utf-8"), "column 1: the heading 'a [m/s\\xB2]' is not utf-8");
    EXPECT_EQ(outcome("\xFE\xFF" + utf16, "latin-1"),
              "its byte-order mark says utf-16be, not codePage windows-1252");
}

TEST(TextTableOptions, SayWhatATextCannot) {
    const TextOptions noTime = {.firstColumnIsTime = false};
    EXPECT_EQ(Outcome("time,a\n0,5\n1,6\n", noTime), "time 0 1; a 5 6");
    EXPECT_EQ(Outcome("x,a\n0,5\n1,6\n", {.firstColumnIsTime = true}), "time 0 1; a 5 6");
    EXPECT_EQ(Outcome("0,5\n1,6\n", {.decimalComma = true}), " 0.5 1.6");
}

TEST(TextTableReader, IsTheSameInEveryEncodingHoweverLong) {
    std::wstring text = L"time,a\r\n";
    for (int i = 0; i < 40000; ++i)
        text += std::to_wstring(i) + (i % 7 ? L",0.5\r\n" : L",-1\r\n# \U0001F600\r\n");
    std::string utf16 = "\xFF\xFE";
    for (const char16_t unit : kvx::ToUtf16(text))
        utf16 += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    const std::string outcome = Outcome(utf16);
    EXPECT_TRUE(outcome == Outcome(kvx::ToUtf8(text)));
    EXPECT_THAT(outcome, testing::StartsWith("time 0 39999; a -1 0.5 0.5 "));
    EXPECT_EQ(std::ranges::count(outcome, ' '), 40003);
}

TEST(TextTableReader, TakesTheNearestDoubleOfEveryWayToWriteANumber) {
    const std::string digits = "90071992547409931234";
    for (const char mark : {'.', ','}) {
        std::string text;
        std::vector<double> expected;
        for (std::size_t count = 1; count <= digits.size(); ++count) {
            for (std::size_t decimals = 0; decimals <= count + 1; ++decimals) {
                for (const char* exponent : {"", "e3", "E+22", "e-05", "e-23", "e-310", "e270"}) {
                    std::string number = count % 3 ? "-" : decimals % 2 ? "+" : "";
                    number += digits.substr(digits.size() - count);
                    if (decimals <= count) number.insert(number.size() - decimals, 1, '.');
                    number += exponent;
                    expected.push_back(std::strtod(number.c_str(), nullptr));
                    std::ranges::replace(number, '.', mark);
                    text += (count % 4 ? "" : " ") + number + (decimals % 2 ? " ;1\n" : ";1\r\n");
                }
            }
        }
        std::vector<double> samples(expected.size());
        std::vector<double*> targets = {samples.data(), nullptr};
        const auto reader =
            OpenTextTable([&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); },
                          {.firstColumnIsTime = false});
        EXPECT_EQ(reader->Read(0, targets, expected.size()), expected.size());
        EXPECT_EQ(samples, expected) << mark;
    }
}

TEST(TextTableReader, TellsTheFirstFaultOfALongText) {
    std::string rows;
    for (int i = 0; i < 60000; ++i) rows += std::to_string(i % 977) + ".25;-1.5e-3\n# pause\n";
    const std::string end = "7;8\n";
    EXPECT_EQ(Outcome(rows + "1;2,5\n" + rows + "x;1\n" + end),
              "line 120001, column 2: '2,5' has another decimal mark than the numbers before it");
    EXPECT_EQ(Outcome(rows + "1;\n" + rows + "1;2,5\n" + end), "line 120001, column 2: the value is missing");
    EXPECT_EQ(Outcome(rows + "1;1e\n" + rows + std::string(1, '\0')),
              "line 120001, column 2: '1e' is not a number");
}

TEST(TextTableReader, RefusesALineWithoutEnd) {
    EXPECT_EQ(Outcome("1\n" + std::string(std::size_t{40} << 20, '2')),
              "line 2 is longer than a table's can be");
}

TEST(TextTableReader, TellsTheLinesOfDeliveredSamplesAlone) {
    const std::string text = "1,2\n3,4\n";
    const auto reader =
        OpenTextTable([&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); }, {});
    const auto told = [&] { return std::string(reader->ErrorAt(1, 1, ErrorKind::kBadValue, "odd").what()); };
    EXPECT_EQ(told(), "odd");
    std::vector<double> samples(4);
    std::vector<double*> targets = {&samples[0], &samples[2]};
    EXPECT_EQ(reader->Read(0, targets, 2), 2U);
    EXPECT_EQ(told(), "line 2, column 2: odd");
    EXPECT_THROW(LineReader(nullptr), Error);
}

}  // namespace
