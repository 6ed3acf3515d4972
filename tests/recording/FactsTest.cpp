// SPDX-License-Identifier: MIT
//
// What a recording tells of itself: when it began, its text, titles and facts, and what becomes of them from
// file to file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalMerge.h>
#include <KvxRecording01/SignalPart.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/StartTime.h>

#include "tests/support/TempFolder.h"

using namespace kvx;
using testing::HasSubstr;

namespace {

std::string TextOf(const std::optional<StartTime>& start) {
    return start ? start->Text() : "none";
}

TEST(Start, IsReadAndWrittenToTheLastDigit) {
    struct {
        std::string_view text;
        std::string written;
        std::int64_t seconds;  // by 'date -u -d ... +%s'
    } const rows[] = {
        {"2024-03-01T12:30:05.25Z", "2024-03-01T12:30:05.25Z", 1709296205},
        {"2024-03-01 14:30:05+02:00", "2024-03-01T12:30:05Z", 1709296205},
        {"1989-291T00:04:00.000", "1989-10-18T00:04:00", 624672240},
        {"2000-366T23:59:59.000000001", "2000-12-31T23:59:59.000000001", 978307199},
        {"1904-01-01T00:00:00.123456789012345", "1904-01-01T00:00:00.123456789012345", -2082844800},
    };
    for (const auto& row : rows) {
        const auto start = ParseStartTime(row.text);
        ASSERT_TRUE(start) << row.text;
        EXPECT_EQ(start->Text(), row.written);
        EXPECT_EQ(start->seconds, row.seconds);
        EXPECT_EQ(ParseStartTime(row.written), start);
    }
    for (const char* text : {"", "2024-03-01", "2023-02-29T00:00:00", "2023-366T00:00:00", "12:30:05"})
        EXPECT_FALSE(ParseStartTime(text)) << text;
    const StartTime start = *ParseStartTime("2024-02-28T23:59:59.9");
    EXPECT_EQ(TextOf(start.Later(0.1)), "2024-02-29T00:00:00");
    EXPECT_EQ(TextOf(start.Later(86400.3)), "2024-03-01T00:00:00.2");
    EXPECT_EQ(TextOf(start.Later(-0.95)), "2024-02-28T23:59:58.95");
    EXPECT_EQ(TextOf(start.Later(3 * 0.1)), "2024-02-29T00:00:00.2");
    EXPECT_FALSE(start.Later(1e18));
    EXPECT_EQ(start.Later(0.3)->Since(start), 0.3);
}

/// A run with a start at 12:00:00.5, which begins 2 samples behind 0.
SignalRun Begun(std::wstring title = L"frequency response") {
    SignalRun run = {1, 1.0 / 8, 2, 16, {}};
    run.channels.push_back({L"top", CUnitCtrl(CUnitCtrl::DIM_ACCELERATION), 1});
    run.title = std::move(title);
    run.start = ParseStartTime("2024-03-01T12:00:00.5Z");
    return run;
}

void Write(const std::string& path, Format format, const SignalRun& run, const SignalFileOptions& options) {
    const auto writer = CreateSignalFile(path, format, {run}, options);
    std::vector<double> samples(static_cast<std::size_t>(run.samples), 0.5);
    double* const columns[] = {samples.data()};
    writer->Write(0, columns, samples.size());
    writer->Commit();
}

std::vector<std::string> FactsOf(const SignalReader& reader, const std::string& leftOut) {
    std::vector<std::string> facts;
    for (const auto& [name, text] : reader.Properties())
        if (leftOut.find(" " + name + " ") == leftOut.npos) facts.push_back(name + "=" + text);
    return facts;
}

/// What each format holds comes back; LostIn tells the rest.
TEST(Facts, ComeBackFromEveryFormatThatHoldsThem) {
    const std::vector<RecordingInfo::Property> own = {
        {"operator", "A. Müller: night shift"}, {"group/ch: wf_samples", "7, \"quoted\""}, {"place", "roof"}};
    const std::vector<RecordingInfo::Property> sac = {{"stla", "35.5"}, {"kinst", "K2"}, {"nevid", "12"}};
    const std::vector<RecordingInfo::Property> uff = {
        {"model", "bridge B"}, {"program", "test 1"}, {"ID line 4", "a line"}};
    constexpr std::string_view kStart = "2024-03-01T12:00:00.5Z";
    struct {
        Format format;
        const char* name;
        const std::vector<RecordingInfo::Property>& facts;
        std::string text, title;
        std::string_view start;
        const char* others;  // that the format adds
    } const rows[] = {
        {Format::mat, "a.mat", own, "a text", "frequency response", kStart, " fs dt header t0 "},
        {Format::npz, "a.npz", own, "a text", "frequency response", kStart, " fs dt t0 "},
        {Format::universal, "a.uff", uff, "a text", "frequency response", kStart, " ID line 1 "},
        {Format::sac, "a.sac", sac, "a text", "", kStart,
         " delta depmin depmax b e depmen nzyear nzjday nzhour nzmin nzsec nzmsec nvhdr npts iftype idep "
         "leven "
         "lpspol lovrok lcalda kcmpnm "},
        {Format::wav, "a.wav", own, "a text", "frequency response", kStart, " software "},
        {Format::rf64, "a.rf64", own, "a text", "frequency response", kStart, " software "},
        {Format::flac, "a.flac", own, "a text", "frequency response", kStart, " software "},
        {Format::caf, "a.caf", own, "a text", "frequency response", kStart, " software "},
        {Format::aiff, "a.aiff", own, "a text", "frequency response", "none", " software "},
        {Format::text, "a.txt", own, "a.txt", "frequency response", kStart, ""},
        {Format::text, "a.csv", {}, "a.csv", "", "none", ""},
        {Format::npy, "a.npy", {}, "a.npy", "", "none", ""},
        {Format::dataFile, "a.vdf2", {}, "a text", "", "none", ""},
    };
    const TempFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = (folder / row.name).string();
        SignalFileOptions options = {.text = L"a text"};
        if (row.format == Format::flac) options.wav.samples = WavSamples::pcm24;
        options.facts = row.facts;
        if (row.facts.empty()) options.facts = own;
        Write(path, row.format, Begun(), options);
        RecordingStatements stated;
        if (row.format == Format::npy) stated.rateHz = 8.0;
        const auto reader = OpenSignal(path, {}, stated);
        EXPECT_EQ(ToUtf8(reader->Text()), row.text);
        EXPECT_EQ(ToUtf8(reader->Runs().front().title), row.title);
        EXPECT_EQ(TextOf(reader->Runs().front().start), row.start);
        std::vector<std::string> expected;
        for (const auto& [name, text] : row.facts) expected.push_back(name + "=" + text);
        EXPECT_THAT(FactsOf(*reader, row.others), testing::UnorderedElementsAreArray(expected));
        const unsigned drops = RowOf(row.format).drops;
        EXPECT_EQ((drops & Bit(Content::start)) != 0, row.start == "none" && row.format != Format::text);
    }
    EXPECT_EQ(RemarkOnLoss(RowOf(Format::wav), {Begun()}),
              "a WAV file has no place for names, units and the start of the axis; they are left out");
    EXPECT_EQ(RemarkOnLoss(RowOf(Format::sac), {Begun(L"")}), "");
    EXPECT_EQ(RemarkOnLoss(RowOf(Format::text), {Begun()}, own), "");
    EXPECT_THAT(LostIn(RowOf(Format::npy)), HasSubstr("names, units, the rate, the start of the axis, date"));
}

TEST(Start, OfAPartIsLaterAndOfJoinedFilesTheFirst) {
    const TempFolder folder;
    const std::string path = (folder / "a.mat").string();
    Write(path, Format::mat, Begun(), {});
    const auto open = [&] { return OpenSignal(path); };
    EXPECT_EQ(TextOf(OpenPart(open, {.start = 1.0, .end = {}})->Runs().front().start),
              "2024-03-01T12:00:01.25Z");
    std::vector<MergeInput> inputs;
    for (const char* name : {"a", "b"}) inputs.push_back({open(), name});
    const auto joined = JoinInTime(std::move(inputs));
    EXPECT_EQ(TextOf(joined->Runs().front().start), "2024-03-01T12:00:00.5Z");
    EXPECT_THAT(joined->Remarks(), testing::Contains(HasSubstr("started 2 s before the end")));
}

TEST(Start, OfTextsIsReadFromTheirStamps) {
    constexpr const char* kUnix = "2024-03-01T12:30:05.123Z";
    struct {
        std::string text;
        std::string start;
        double rate;
    } const rows[] = {
        {"time,a\n1709296205.123,1\n1709296205.124,2\n1709296205.125,3\n", kUnix, 1000},
        {"time,a\n1709296205.123000,1\n1709296205.123002,2\n1709296205.123004,3\n", kUnix, 500000},
        {"time [ms],a\n1709296205123,1\n1709296205124,2\n1709296205125,3\n", kUnix, 1000},
        {"timestamp,a\n1709296205123000000,1\n1709296205123000100,2\n1709296205123000200,3\n", kUnix, 1e7},
        {"1.709296205123E9;1\n1.709296205124E9;2\n1.709296205125E9;3\n", kUnix, 1000},
        {"time,a\n2024-03-01T12:30:05.1,1\n2024-03-01T12:30:05.2,2\n", "2024-03-01T12:30:05.1", 10},
        {"t,a\n25.12.2024 10:00:00,1\n25.12.2024 10:00:01,2\n", "2024-12-25T10:00:00", 1},
        {"t,a\n25/12/2024 10:00:00,1\n25/12/2024 10:00:01,2\n", "2024-12-25T10:00:00", 1},
        {"t,a\n12/25/2024 10:00:00,1\n12/25/2024 10:00:01,2\n", "2024-12-25T10:00:00", 1},
        {"t,a\n11/12/2024,1\n12/12/2024,2\n13/12/2024,3\n", "2024-12-11T00:00:00", 1.0 / 86400},
        {"t,a\n12/11/2024,1\n12/12/2024,2\n12/13/2024,3\n", "2024-12-11T00:00:00", 1.0 / 86400},
        {"# start: 2024-03-01T12:30:05Z\ntime,a\n0,1\n0.5,2\n", "2024-03-01T12:30:05Z", 2},
        {"time,a\n100000.5,1\n100001,2\n", "none", 2},
    };
    const TempFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        folder.Write("a.csv", row.text);
        const auto reader = OpenSignal((folder / "a.csv").string());
        EXPECT_EQ(TextOf(reader->Runs().front().start), row.start);
        EXPECT_DOUBLE_EQ(1.0 / reader->Runs().front().delta, row.rate);
    }
    folder.Write("a.csv", "t,a\n03/04/2024,1\n04/04/2024,2\n");
    RecordingStatements stated;
    const auto open = [&] {
        return OpenSignal((folder / "a.csv").string(), {}, stated)->Runs().front().start;
    };
    try {
        open();
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_THAT(error.Sentence(), HasSubstr("say which with dateOrder"));
    }
    stated.text.dateOrder = DateOrder::dayFirst;
    EXPECT_EQ(TextOf(open()), "2024-04-03T00:00:00");
}

TEST(Facts, OfAUniversalFileDoNotDependOnTheOrderOfItsDatasets) {
    const TempFolder folder;
    const std::string path = (folder / "a.uff").string();
    SignalRun run = Begun();
    run.channels[0].name = L"5:+Z";
    Write(path, Format::universal, run, {});
    const std::string units =
        "    -1\n   164\n         5millimetre         2\n"
        "  1.00000000000000000D+03  1.00000000000000000D+00  1.00000000000000000D+00\n"
        "  0.00000000000000000D+00\n    -1\n";
    const std::string nodes =
        "    -1\n    15\n         5         0         0         0  1.00000E+03  "
        "0.00000E+00  0.00000E+00\n    -1\n";
    const std::string function = folder.Read("a.uff");
    std::vector<double> levels;
    for (const std::string& file :
         {units + nodes + function, function + nodes + units, nodes + units + function}) {
        folder.Write("b.uff", file);
        const auto reader = OpenSignal((folder / "b.uff").string());
        EXPECT_THAT(FactsOf(*reader, ""), testing::Contains("node 5=1, 0, 0 m"));
        double level = 0.0;
        double* const target = &level;
        reader->Read(0, {&target, 1}, 1);
        levels.push_back(level);
    }
    EXPECT_EQ(levels[1], levels[0]);
    EXPECT_EQ(levels[2], levels[0]);
}

}  // namespace
