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

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/TextTable.h>

using namespace std::string_literals;
using namespace kvx;

namespace {

/// "time 0 0.5; a [g] 1 2; b ?foo 3 4": the ends of the time column, or another axis, then the channels, at
/// last what the text says of itself and the remarks. A complex channel is "H 1 2 + i 3 4", missing is "-".
std::string Describe(RecordingReader& recording) {
    const RecordingInfo& info = recording.Info();
    const RecordingInfo::Run& run = info.runs.front();
    std::string text;
    const bool isTime = run.axis.unit == CUnitCtrl::DIM_TIME;
    if (!run.axis.unknownUnit.empty()) text = "?" + ToUtf8(run.axis.unknownUnit) + " ";
    if (isTime && run.axis.stamps) {
        text =
            "time " + FormatExact(run.axis.stamps->first) + " " + FormatExact(run.axis.stamps->last) + "; ";
    } else if (!isTime && !run.axis.isListed) {
        text = (text.empty() ? UnitText(run.axis.unit) + " " : text) + "from " + FormatExact(run.axis.first) +
               " by " + FormatExact(run.axis.delta) + "; ";
    }
    std::vector<std::string> columns;
    if (run.axis.isListed) columns.push_back(UnitText(run.axis.unit) + " at");
    for (const RecordingInfo::Channel& channel : run.channels) {
        columns.push_back(kvx::ToUtf8(channel.name) +
                          (channel.unit ? " [" + UnitText(*channel.unit) + "]" : "") +
                          (channel.unknownUnit.empty() ? "" : " ?" + kvx::ToUtf8(channel.unknownUnit)));
        if (channel.isComplex) columns.emplace_back("+ i");
    }
    // Small pieces, which must not show.
    std::vector<std::array<double, 2>> room(columns.size());
    std::vector<double*> targets;
    for (std::array<double, 2>& piece : room) targets.push_back(piece.data());
    while (const std::size_t count = recording.Read(0, targets, 2)) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i)
                columns[c] += " " + (room[c][i] == kNoValue<double> ? "-" : FormatExact(room[c][i]));
        }
    }
    for (const std::string& column : columns) {
        if (column.starts_with("+ i")) text.replace(text.size() - 2, 2, " ");
        text += column + "; ";
    }
    if (info.runs[0].start) text += "start " + info.runs[0].start->Text() + "; ";
    for (const RecordingInfo::Property& property : info.properties)
        text += property.name + " " + property.text + "; ";
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
    Case{"UnitsThatTheTableLacks", "a,b,c\ng,psi,psi\n0,1,2\n", "a [g] 0; b [kPa] 1; c [kPa] 2"},
    Case{"CommentBelowTheHeadings", "Time [ms];a [g]\n# calibrated 2024\n0;1\n1;2\n", "time 0 0.001; a [g] 1 2"},
    Case{"CommentThatCouldBeHeadings", "a [g]\n# calibrated\n1\n2\n", "a [g] 1 2"},
    Case{"CommentsAroundTheUnits", "Time,a\n# names\nms,g\n# units\n#\n0,1\n1,2\n", "time 0 0.001; a [g] 1 2"},
    Case{"HeadingsThatAreAComment", "Time a, 2 columns\n# t [ms],b [N]\n0,1\n1,2\n", "time 0 0.001; b [N] 1 2"},
    Case{"BracketsThatHoldNoUnit", "p [foo],a (top),n (2)\n1,2,3\n", "p [foo] ?foo 1; a (top) ?top 2; n (2) 3"},
    Case{"UnknownUnitOnALineOfUnits", "time,a,b\ns,foo,m/s^2\n0,1,2\n1,3,4\n", "time 0 1; a ?foo 1 3; b [m/s2] 2 4"},
    Case{"UnknownUnitInBracketsOfItsOwn", "a,b\n[g],[foo]\n1,2\n", "a [g] 1; b ?foo 2"},
    Case{"NamesOfWhichOneIsAUnit", "Date;2020\nx;N\n1;2\n", "x 1; N 2"},
    Case{"UnknownUnitOfTime", "time (UTC),a\n0,1\n1,2\n",
        "?UTC from 0 by 1; a 1 2"},
    Case{"TimeInTheName", "time_ms,a\n0,1\n2,2\n", "time 0 0.002; a 1 2"},
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
    Case{"MissingValue", "1,2,3\n4,,6\n", "line 2, column 2: the value is missing (missing lets such values pass)"},
    Case{"MissingInTheFirstRow", "1,,3\n4,5,6\n", "line 1, column 2: the value is missing (missing lets such values pass)"},
    Case{"NotANumber", "1\nnan\n", "line 2, column 1: 'nan' is not a finite number (missing lets such values pass)"},
    Case{"NotANumberInTheFirstRow", "a [g]\nNaN\n2\n", "line 2, column 1: 'NaN' is not a finite number (missing lets such values pass)"},
    Case{"TooLargeInTheFirstRow", "time,a\n1e999,1\n2,3\n", "line 2, column 1: '1e999' is too large"},
    Case{"TooLarge", "1\n-1e999\n", "line 2, column 1: '-1e999' is too large"},
    Case{"GroupedThousands", "1,5;2\n1.234,5;2\n", "line 2, column 1: '1.234,5' is not a number"},
    Case{"BlankInANumber", "time,a\n0,1 000\n1,2\n", "line 2, column 2: '1 000' is not a number"},
    Case{"TwoDecimalMarks", "1,5;2\n1.5;2\n",
         "line 2, column 1: '1.5' has another decimal mark than the numbers before it"},
    Case{"NoNumbers", "a,b\nc,d\n", "no line of it is a row of numbers; line 2 begins 'c,d'"},
    Case{"OnlyBlankLines", "\n \n", "it holds no text"},
    Case{"Binary", "ab\0cd"s, "it is no text and of none of the other formats that are read"},
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
    EXPECT_EQ(outcome(utf16, "auto"), "it is no text and of none of the other formats that are read");
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

struct StatedCase {
    const char* what;
    TextOptions options;
    std::string text;
    std::string outcome;
};

void PrintTo(const StatedCase& parameter, std::ostream* out) {
    *out << parameter.what;
}

class StatedText : public testing::TestWithParam<StatedCase> {};

TEST_P(StatedText, IsReadOrRefusedWithASentence) {
    EXPECT_EQ(Outcome(GetParam().text, GetParam().options), GetParam().outcome);
}

const TextOptions kAsItIs;
const TextOptions kMissing = {.missing = std::vector<std::string>{"NA", "-999"}};
const TextOptions kUneven = {.keepsUneven = true};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Separators, StatedText, testing::Values(
    StatedCase{"Pipes", kAsItIs, "time|a\n0|1,5\n1|2,5\n", "time 0 1; a 1.5 2.5"},
    StatedCase{"PipesAround", kAsItIs, "| x | a |\n| 1 | 2 |\n| 3 | 4 |\n", "x 1 3; a 2 4"},
    StatedCase{"Ampersands", kAsItIs, "x & a\n1 & 2\n3 & 4\n", "x 1 3; a 2 4"},
    StatedCase{"StatedColon", {.separator = ':'}, "x:a\n1:2\n3:4\n", "x 1 3; a 2 4"},
    StatedCase{"StatedSemicolon", {.separator = ';'}, "x;a\n1;2,5\n3;4,5\n", "x 1 3; a 2.5 4.5"},
    StatedCase{"StatedCommaAlone", {.separator = ','}, "1\n2\n", " 1 2"},
    StatedCase{"SkippedLines", {.skippedLines = 3}, "1,2\n3,4\n5,6\nx,a\n1,2,\n", "x 1; a 2"},
    StatedCase{"SkippedAll", {.skippedLines = 5}, "1,2\n3,4\n", "it holds no text"},
    StatedCase{"OtherComments", {.comments = "%!"}, "% x,a\n1,2\n! pause 3,4\n3,4\n", "x 1 3; a 2 4"},
    StatedCase{"NoSeparator", {.separator = '5'}, "1\n", "separator is no sign that can separate columns"},
    StatedCase{"NoComment", {.comments = "#-"}, "1\n", "comments has a sign that rows can begin with"},
    StatedCase{"CommaTwice", {.decimalComma = true, .separator = ','}, "1\n", "separator and decimalComma both state the comma"}),
    [](const auto& test) { return test.param.what; });

INSTANTIATE_TEST_SUITE_P(Axes, StatedText, testing::Values(
    StatedCase{"TimeByNumber", {.axisColumn = L"2"}, "a,x\n5,0\n6,1\n", "time 0 1; a 5 6"},
    StatedCase{"TimeByHeading", {.axisColumn = L"x"}, "a,x [ms]\n5,0\n6,500\n", "time 0 0.5; a 5 6"},
    StatedCase{"TimeByItsHeadingAlone", kAsItIs, "No,Time [s],a\n1,0,5\n2,0.5,6\n", "time 0 0.5; No 1 2; a 5 6"},
    StatedCase{"NoSuchNumber", {.axisColumn = L"3"}, "a,x\n5,0\n6,1\n", "firstColumnIsTime 3 is none of the columns 1 to 2"},
    StatedCase{"NoSuchHeading", {.axisColumn = L"y"}, "a,x\n5,0\n6,1\n", "firstColumnIsTime: no column is called 'y'"},
    StatedCase{"TextIsNoAxis", {.axisColumn = L"x"}, "a,x\n5,on\n6,off\n", "column 2 holds neither plain numbers nor times and is no axis"},
    StatedCase{"UnevenTimes", kUneven, "time [ms],a\n0,5\n100,6\n500,7\n", "time 0 0.5; s at 0 0.1 0.5; a 5 6 7"},
    StatedCase{"EvenTimes", kUneven, "time,a\n0,5\n0.5,6\n1,7\n", "time 0 1; a 5 6 7"},
    StatedCase{"UnevenNothing", kUneven, "x,a\n0,5\n1,6\n", "keepsUneven is for a text with a time column"},
    StatedCase{"Frequencies", kAsItIs, "frequency [Hz],a [g2/Hz]\n1.25,1\n2.5,2\n3.75,3\n", "Hz from 1.25 by 1.25; a [g2/Hz] 1 2 3"},
    StatedCase{"FrequenciesInKilohertz", kAsItIs, "f [kHz];a\n0;1\n0,5;2\n", "Hz from 0 by 500; a 1 2"},
    StatedCase{"UnevenFrequencies", kAsItIs, "Freq,a\n1,1\n2.5,2\n10,3\n", "Hz at 1 2.5 10; a 1 2 3"},
    StatedCase{"CoarseFrequencies", kAsItIs, "freq,a\n1.0,1\n1.1,2\n1.2,3\n1.4,4\n", "Hz at 1 1.1 1.2 1.4; a 1 2 3 4"},
    StatedCase{"FrequenciesBesideLines", kAsItIs, "freq,a\n0.5,1\n1.5,2\n2.5,3\n", "Hz at 0.5 1.5 2.5; a 1 2 3"},
    StatedCase{"FrequenciesOfOneLetter", kAsItIs, "f,a [g]\n0,1\n2,2\n", "Hz from 0 by 2; a [g] 1 2"},
    StatedCase{"AForceOfOneLetter", {.firstColumnIsTime = false}, "f [N],a [g]\n0,1\n2,2\n", "f [N] 0 2; a [g] 1 2"},
    StatedCase{"FrequenciesPerMinute", kAsItIs, "freq [CPM],a\n0,1\n60,2\n", "Hz from 0 by 1; a 1 2"},
    StatedCase{"FrequenciesInAnUnknownUnit", kAsItIs, "freq [furlong],a\n0,1\n1,2\n", "?furlong from 0 by 1; a 1 2"},
    StatedCase{"UnknownUnitOfAStatedTime", {.axis = CUnitCtrl::DIM_TIME}, "time (UTC),a\n0,1\n1,2\n",
        "time 0 1; a 1 2; the unit 'UTC' of the time column is not known, so it is read in seconds"},
    StatedCase{"OneFrequency", kAsItIs, "freq,a\n5,1\n", "Hz at 5; a 1"},
    StatedCase{"AnAxisInAUnitThatIsConverted", kAsItIs, "axis [mil],a\n0,1\n1000,2\n", "m from 0 by 0.0254; a 1 2"},
    StatedCase{"AnAxisInAnUnknownUnit", kAsItIs, "axis [furlong],a\n0,1\n2,2\n", "?furlong from 0 by 2; a 1 2"},
    StatedCase{"AnotherAxis", kAsItIs, "axis [m],a\n0,1\n0.5,2\n", "m from 0 by 0.5; a 1 2"},
    StatedCase{"StatedFrequency", {.axis = CUnitCtrl::DIM_FREQUENCY}, "0,1\n2,2\n", "Hz from 0 by 2;  1 2"},
    StatedCase{"StatedSpacing", {.axis = CUnitCtrl::DIM_FREQUENCY, .spacing = 0.5}, "x,a\n0,1\n2,2\n", "Hz from 0 by 0.5; x 0 2; a 1 2"},
    StatedCase{"NoSpacing", {.axis = CUnitCtrl::DIM_FREQUENCY}, "(1+2j)\n(1+3j)\n", "it has no column for its axis; give the distance of samples with spacing"},
    StatedCase{"SpacingOfNothing", {.spacing = -1.0}, "1\n2\n", "spacing is not a number above 0"},
    StatedCase{"SpacingTwice", {.spacing = 0.5}, "time,a\n0,1\n2,2\n", "spacing is for a text without a column for its axis, which column 1 is"},
    StatedCase{"TimeIsNoFrequency", {.axis = CUnitCtrl::DIM_FREQUENCY}, "t [s],a\n0,1\n2,2\n", "column 1 is in 's', which axis denies"}),
    [](const auto& test) { return test.param.what; });

INSTANTIATE_TEST_SUITE_P(Stamps, StatedText, testing::Values(
    StatedCase{"DateTimes", kAsItIs, "when,a\n2024-02-28T23:59:59.5Z,1\n2024-02-29T00:00:00Z,2\n2024-02-29 09:00:00.5+09:00,3\n",
        "time 0 1; a 1 2 3; start 2024-02-28T23:59:59.5Z"},
    StatedCase{"DatesApartFromClocks", kAsItIs, "date time a\n2024/12/31 23:59:58 1\n2025/1/1 0:00:00 2\n", "time 0 2; a 1 2; start 2024-12-31T23:59:58"},
    StatedCase{"DatesInColumnsOfTheirOwn", kAsItIs, "Date;Time;a\n2024-12-31;23:59:58,25;1,5\n2025-01-01;00:00:00,75;2,5\n", "time 0 2.5; a 1.5 2.5; start 2024-12-31T23:59:58.25"},
    StatedCase{"Days", kAsItIs, "day,a\n2024-02-28,1\n2024-02-29,2\n2024-03-01,3\n", "time 0 172800; a 1 2 3; start 2024-02-28T00:00:00"},
    StatedCase{"ClocksPastMidnight", kAsItIs, "a,clock\n1,23:59:59.9\n2,00:00:00.1\n3,00:00:00.3\n", "time 0 0.4; a 1 2 3; start 23:59:59.9"},
    StatedCase{"ClocksThatGoOn", kAsItIs, "99:59:59,1\n100:00:00,2\n", "time 0 1;  1 2; start 99:59:59"},
    StatedCase{"UnevenClocks", kUneven, "12:00:00,1\n12:00:01,2\n12:01:00,3\n", "time 0 60; s at 0 1 60;  1 2 3; start 12:00:00"},
    StatedCase{"NoTime", {.firstColumnIsTime = false}, "clock,a\n12:00:00,1\n12:00:01,2\n", "a 1 2; column 1, 'clock', holds times that are not the axis, and is left out"},
    StatedCase{"NumbersAreTheTime", kAsItIs, "time [s],clock,a\n0,12:00:00,1\n1,12:00:01,2\n", "time 0 1; a 1 2; column 2, 'clock', holds times that are not the axis, and is left out"},
    StatedCase{"DayFirst", kAsItIs, "x,date,a\n5,31.12.2024,1\n6,01.01.2025,2\n", "time 0 86400; x 5 6; a 1 2; start 2024-12-31T00:00:00"},
    StatedCase{"NoSuchDay", kAsItIs, "date,a\n2023-02-28T00:00:00,1\n2023-02-29T00:00:00,2\n", "line 3, column 1: '2023-02-29T00:00:00' is not a time like the one in the first row"},
    StatedCase{"MissingTime", kMissing, "date,a\n2023-02-28T00:00:00,1\n,2\n", "line 3, column 1: the time is missing"},
    StatedCase{"TimesAreNoFrequency", {.axisColumn = L"1", .axis = CUnitCtrl::DIM_FREQUENCY}, "12:00:00,1\n", "column 1 holds times, which axis denies"}),
    [](const auto& test) { return test.param.what; });

INSTANTIATE_TEST_SUITE_P(Columns, StatedText, testing::Values(
    StatedCase{"FortranExponents", kAsItIs, "1.5D-03,-2.5d+2,1.0-102\n1.25D1,2D+01,1.5+10\n", " 0.0015 12.5;  -250 20;  1e-102 1.5e+10"},
    StatedCase{"NoFortran", kAsItIs, "1D5\n1\n2\n", "1D5 1 2"},
    StatedCase{"NumbersAreNoRanges", kAsItIs, "1\n3-10\n", "line 2, column 1: '3-10' is not a number"},
    StatedCase{"Texts", kAsItIs, "time,state,a\n0,on,1\n1,off,2\n", "time 0 1; a 1 2; column 2, 'state', holds text, such as 'on', and is left out"},
    StatedCase{"TextsAtTheEnd", kAsItIs, "time,a,note\n0,1,start\n1,2,\n2,3\n", "time 0 2; a 1 2 3; column 3, 'note', holds text, such as 'start', and is left out"},
    StatedCase{"TextsLaterOn", kAsItIs, "time,a,note\n0,1,\n1,2,begin\n2,3,\n", "time 0 2; a 1 2 3; column 3, 'note', holds no numbers, and is left out"},
    StatedCase{"EmptyColumn", kAsItIs, "time,b,a\n0,,1\n1,,2\n", "time 0 1; a 1 2; column 2, 'b', is empty, and is left out"},
    StatedCase{"MetadataAbove", kAsItIs, "Rate;100\nChannels;2\n\nt;state;a\n0;on;1,5\n1;on;2\n2;on;3\n", "time 0 2; a 1.5 2 3; column 2, 'state', holds text, such as 'on', and is left out"},
    StatedCase{"NumbersAmongTexts", kAsItIs, "x,a\n1,on\n2,off\n3,7\n", "line 3, column 2: 'off' is not a number"},
    StatedCase{"NumbersLaterThanTexts", kAsItIs, "x,y,a\n1,off,on\n2,off,on\n3,off,7\n", "line 2, column 3: 'on' is not a number"},
    StatedCase{"NumbersLaterThanNothing", kAsItIs, "x,y,a\n1,off,\n2,off,\n3,off,7\n", "line 2, column 3: the value is missing (missing lets such values pass)"},
    StatedCase{"FaultInFrontOfAComment", kAsItIs, "x,a\n1,on\n# pause\n3,7\n", "line 2, column 2: 'on' is not a number"},
    StatedCase{"GroupsInAllRows", kAsItIs, "a;b\n1.234,5;2\n2.345,5;3\n", "no line of it is a row of numbers; line 3 begins '2.345,5;3'"},
    StatedCase{"MissingValues", kMissing, "time,a,b\n0,1,\n1,na,2\n2,-999.0,3\n", "time 0 2; a 1 - -; b - 2 3"},
    StatedCase{"MissingThroughout", kMissing, "time,a,b,c\n0,1,NA,NA\n1,2,,\n", "time 0 1; a 1 2; column 3, 'b', is empty, and is left out; column 4, 'c', is empty, and is left out"},
    StatedCase{"MissingAtEnds", kMissing, "1,2,\n3,4,5\n", " 1 3;  2 4;  - 5"},
    StatedCase{"EndsThatAreNotMissing", kMissing, "a,b,\n1,2,\n3,4,\n", "a 1 3; b 2 4"},
    StatedCase{"NotMissing", kMissing, "a\n1\nnone\n", "line 3, column 1: 'none' is not a number"},
    StatedCase{"CustomaryWord", kAsItIs, "a\n1\nNA\n", "line 3, column 1: 'NA' is not a number (missing lets such values pass)"}),
    [](const auto& test) { return test.param.what; });

const TextOptions kSpectrum = {.axis = CUnitCtrl::DIM_FREQUENCY, .spacing = 1.0};

INSTANTIATE_TEST_SUITE_P(Complex, StatedText, testing::Values(
    StatedCase{"SumsInBrackets", kSpectrum, "(1.5+2j)\n(-1e-3-2.5e+1j)\n(0-0j)\n", "Hz from 0 by 1;  1.5 -0.001 0 + i 2 -25 -0"},
    StatedCase{"Sums", kSpectrum, "H [g/N];b\n1,5 + 2i;7\n3-i;8\n+2j;9\n1+j2;9\n4;9\n", "Hz from 0 by 1; H [g/N] 1.5 3 0 1 4 + i 2 -1 2 2 0; b 7 8 9 9 9"},
    StatedCase{"PairsInBrackets", kSpectrum, "(1.5,2),3\n( 2 , -4),5\n", "Hz from 0 by 1;  1.5 2 + i 2 -4;  3 5"},
    StatedCase{"PairsInBracketsApartByBlanks", kSpectrum, "(1.5, 2) (3 4)\n(2,-4) (5,6)\n", "Hz from 0 by 1;  1.5 2 + i 2 -4;  3 5 + i 4 6"},
    StatedCase{"MissingParts", {.spacing = 1.0, .missing = std::vector<std::string>{"nan"}}, "(1+2j)\n(nan+nanj)\n\n", " 1 - + i 2 -"},
    StatedCase{"NoParts", kSpectrum, "(1+2j)\n(1+xj)\n", "line 2, column 1: '(1+xj)' is not a number"},
    StatedCase{"NoFiniteParts", kSpectrum, "(1+2j)\n(nan+1j)\n", "line 2, column 1: '(nan+1j)' is not a finite number (missing lets such values pass)"},
    StatedCase{"TwoColumns", kAsItIs, "frequency [Hz],\"b, c re [m/s2/N]\",\"b, c im [m/s2/N]\"\n0,1,2\n1,3,4\n", "Hz from 0 by 1; b, c [(m/s2)/N] 1 3 + i 2 4"},
    StatedCase{"AllRealPartsFirst", kAsItIs, "freq,Re(H),Re(G) [g],Im(H),Im(G) [g]\n0,1,2,3,4\n", "Hz at 0; H 1 + i 3; G [g] 2 + i 4"},
    StatedCase{"PartsOfOneName", kAsItIs, "freq;real;imag\n0;1;2\n5;1;2\n", "Hz from 0 by 5;  1 1 + i 2 2"},
    StatedCase{"PartsOfTwoUnits", kAsItIs, "freq,H_re [g],H_im [N]\n0,1,2\n", "Hz at 0; H_re [g] 1; H_im [N] 2"},
    StatedCase{"MagnitudeAndPhase", kAsItIs, "freq,|H| [g/N],phase(H) [deg]\n0,2,90\n1,2,-180\n2,2,360\n", "Hz from 0 by 1; H [g/N] 0 -2 2 + i 2 0 0"},
    StatedCase{"PhaseInRadians", kAsItIs, "freq,H mag,phase [rad]\n0,2,0\n1,2,3.141592653589793\n", "Hz from 0 by 1; H 2 -2 + i 0 0"},
    StatedCase{"MagnitudeInDecibels", kAsItIs, "freq,H amplitude [dB],H phase\n0,20,0\n1,-20,180\n",
        "Hz from 0 by 1; H [-] 10 -0.1 + i 0 0; the phases of column 3, 'H phase', have no unit and are read in degrees"},
    StatedCase{"MagnitudeOverTime", kAsItIs, "time,H mag,H phase\n0,2,90\n1,2,90\n", "time 0 1; H mag 2 2; H phase 90 90"},
    StatedCase{"PhaseTooLarge", kAsItIs, "freq,H mag [dB],H phase [deg]\n0,9000,90\n", "line 2, column 2: the magnitude or the phase overflows"}),
    [](const auto& test) { return test.param.what; });
// clang-format on

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
    EXPECT_EQ(Outcome(rows + "1;\n" + rows + "1;2,5\n" + end),
              "line 120001, column 2: the value is missing (missing lets such values pass)");
    EXPECT_EQ(Outcome(rows + "1;1e\n" + rows + std::string(1, '\0')),
              "line 120001, column 2: '1e' is not a number");
}

TEST(TextTableReader, MakesSenseOfEveryCut) {
    const std::string text =
        "# day\nDate;Time;State;|H| [dB];H phase [deg];c;b\n2024-03-01;23:59:59,5;on;0,25;90;(1,5+2j);NA\n"
        "2024-03-02;00:00:00,0;\"off\";0,5;1D+01;(2;5);-999,0\n2024-03-02;00:00:01,0;off;2;3;4-i;\n";
    for (const TextOptions& options : {kAsItIs, kMissing, kUneven, kSpectrum}) {
        for (std::size_t size = 0; size < text.size(); ++size)
            ASSERT_FALSE(Outcome(text.substr(0, size), options).empty()) << size;
    }
    TextOptions all = kMissing;
    all.keepsUneven = true;
    EXPECT_EQ(
        Outcome(text, all),
        "time 0 1.5; s at 0 0.5 1.5; |H| [dB] 0.25 0.5 2; H phase [degree] 90 10 3; c 1.5 2 4 + i 2 5 -1; "
        "start 2024-03-01T23:59:59.5; column 3, 'State', holds text, such as 'on', and is left out; column "
        "7, 'b', is empty, and is left out");
}

TEST(TextTableReader, RefusesALineWithoutEnd) {
    EXPECT_EQ(Outcome("1\n" + std::string(std::size_t{40} << 20, '2')),
              "line 2 is longer than a table's can be");
}

TEST(TextTableReader, NamesTheColumnThatMayHoldItsTimes) {
    const std::string text = "date,a\n03/01/24 12:00:00.000,1\n03/01/24 12:00:00.001,2\n";
    const auto reader =
        OpenTextTable([&] { return std::make_unique<MemoryStream>(std::as_bytes(std::span(text))); }, {});
    EXPECT_EQ(reader->Info().runs[0].axis.rateHint,
              " (column 1 holds text, such as '03/01/24 12:00:00.000', which is no time that can be read)");
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
