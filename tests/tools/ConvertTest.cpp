// SPDX-License-Identifier: MIT
//
// The commands that take recordings of any format to files of any format.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include <KvxRecording01/Formats.h>

#include "ToolRun.h"

using testing::HasSubstr;

namespace {

constexpr char kTable[] = "time [s],top [g],base [g]\n0,0.1,0.2\n0.5,0.3,-0.1\n1,0.2,0.4\n1.5,-0.25,0.5\n";

class Convert : public testing::Test {
protected:
    Convert() { folder_.Write("in.csv", kTable); }
    std::string Run(const std::string& command) const { return RunWell(folder_, command); }
    TempFolder folder_;
};

TEST_F(Convert, WritesEveryFormatAndReadsItAgain) {
    folder_.Write("p.txt", "20 1\n100 1\n");
    for (const kvx::FormatRow& row : kvx::Formats()) {
        if (row.create == nullptr) continue;
        const std::string end(row.ends[0]);
        const std::string out = "out" + end;
        const bool isSingle = row.format == kvx::Format::sac;
        const bool isInteger = row.format == kvx::Format::flac;
        const std::string held = std::string(isSingle ? " --channels 1" : "") +
                                 (isInteger                  ? " --samples pcm24 --full-scale 64"
                                  : kvx::IsSound(row.format) ? " --samples double"
                                                             : "") +
                                 " 2>notes";
        EXPECT_THAT(
            Run("kvx convert in.csv -o " + out + held),
            testing::StartsWith(out + (isSingle ? ": 1 channel" : ": 2 channels") + " of 4 samples\n"));
        // Not every format knows its rate and names.
        const std::string rate = row.kind == kvx::FormatKind::data ? "" : " --rate 2 ";
        const nlohmann::json record =
            RunJson(folder_, "kvx info " + out + rate + " 2>/dev/null")["records"][0];
        EXPECT_EQ(record["axis"]["rate"], 2.0) << out;
        EXPECT_EQ(record["samples"], 4) << out;
        Run("kvx convert in.csv -o -" + held + " --as " + end.substr(1) + " | kvx convert - 2>/dev/null" +
            rate + " -o piped.csv");
        EXPECT_THAT(folder_.Read("piped.csv"), HasSubstr("\n0.5,")) << out;
        if (isInteger) continue;
        for (const char* command : {"import in.csv", "filter in.csv --lowpass 0.5", "resample in.csv --up 2",
                                    "synth p.txt --duration 1"}) {
            const bool isTable = std::string_view(command).find("in.csv") != std::string_view::npos;
            Run("kvx " + std::string(command) + " -o x" + end + (isSingle && isTable ? held : " 2>notes"));
            EXPECT_EQ(kvx::RecognizeFile((folder_ / ("x" + end)).string()).name, row.name) << command;
        }
    }
}

TEST_F(Convert, TakesLinesToTables) {
    Run("kvx psd in.csv --block 2 -o psd.csv; kvx psd in.csv --block 2 -o psd.vdf2");
    EXPECT_THAT(folder_.Read("psd.csv"),
                testing::StartsWith("frequency [Hz],top [g2/Hz],base [g2/Hz]\n0,0.0"));
    Run("kvx convert psd.vdf2 -o again.csv");
    EXPECT_EQ(folder_.Read("again.csv"), folder_.Read("psd.csv"));
    Run("kvx xfr in.csv --block 2 -o xfr.csv");
    EXPECT_THAT(folder_.Read("xfr.csv"),
                testing::StartsWith("frequency [Hz],base re [g/g],base im [g/g],base [-]\n0,"));
    EXPECT_EQ(
        Run("kvx import in.csv -o - --text x 2>/dev/null | kvx psd - -o - --as csv --block 2 2>/dev/null"),
        folder_.Read("psd.csv"));
}

TEST_F(Convert, GoesOnAfterAFailureAndKeepsTheOrder) {
    folder_.Write("bad.csv", "a,b\n1,2\n3,abc\n");
    folder_.Write("other.csv", kTable);
    for (const char* jobs : {"1", "3"}) {
        const std::string options = std::string(" --jobs ") + jobs;
        ToolResult result = RunShell(folder_,
                                     "kvx convert in.csv bad.csv none.csv other.csv -o new/out/ --as wav "
                                     "--name-pattern '{number}-{stem}.{ext}'" +
                                         options);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out,
                  "new/out/1-in.wav: 2 channels of 4 samples\n"
                  "new/out/4-other.wav: 2 channels of 4 samples\n");
        EXPECT_THAT(result.err, HasSubstr("kvx: note: in.csv: a WAV file has no place for names and units"));
        std::string failures;
        std::istringstream lines(result.err);
        for (std::string line; std::getline(lines, line);)
            if (!line.starts_with("kvx: note: ")) failures += line + "\n";
        EXPECT_EQ(failures,
                  "kvx: cannot convert 'bad.csv': line 3, column 2: 'abc' is not a number\n"
                  "kvx: cannot convert 'none.csv': the file does not exist\n"
                  "kvx: 2 of 4 inputs could not be dealt with\n");
        std::filesystem::remove_all(folder_ / "new");
        result = RunShell(folder_, "kvx psd in.csv bad.csv other.csv --block 2 --json" + options);
        const nlohmann::json reports = nlohmann::json::parse(result.out);
        ASSERT_EQ(reports.size(), 2U);
        EXPECT_EQ(reports[1]["file"], "other.csv");
        EXPECT_EQ(reports[0]["records"], reports[1]["records"]);
        Run("kvx filter in.csv other.csv -o low/ --name-pattern '{stem}-low.csv' --lowpass 0.5" + options);
        EXPECT_EQ(folder_.Read("low/in-low.csv"), folder_.Read("low/other-low.csv"));
        EXPECT_NE(folder_.Read("low/in-low.csv"), "");
    }
    EXPECT_THAT(Run("kvx resample in.csv other.csv -o low/ --up 2"),
                testing::MatchesRegex("in.csv\nrecord 1: [^\n]*\nother.csv\nrecord 1: [^\n]*\n"));
    folder_.Write("unknown.csv", "time,a [furlong]\n0,1\n1,2\n");
    EXPECT_EQ(RunShell(folder_, "kvx convert in.csv unknown.csv -o low/").err,
              "kvx: note: unknown.csv: " +
                  RunShell(folder_, "kvx convert unknown.csv -o low/u.csv").err.substr(11));
}

TEST_F(Convert, TakesPartsInEveryCommand) {
    Run("kvx import in.csv -o in.vdf2; kvx psd in.vdf2 -o psd.vdf2 --block 4");
    for (const std::string input : {"in.csv", "in.vdf2"}) {
        EXPECT_EQ(Run("kvx convert " + input + " -o - --as csv --start 0.5 --end 1.5 --channels base"),
                  "time [s],base [g]\n0.5,-0.1\n1,0.4\n");
        EXPECT_EQ(RunJson(folder_, "kvx psd --block 2 --start 0.5 " + input)["records"][0]["blocks"], 2);
        EXPECT_EQ(RunJson(folder_, "kvx xfr --block 2 --end 1.5 " + input)["blocks"], 2);
        const nlohmann::json info = RunJson(folder_, "kvx info --channels top --end 1 " + input);
        EXPECT_EQ(info["records"][0]["axis"]["last"], 0.5);
        EXPECT_EQ(info["records"][0]["channels"][0]["max"], 0.3);
        Run("kvx plot --start 0.5 --title x -o " + input + ".svg " + input);
    }
    EXPECT_EQ(folder_.Read("in.csv.svg"), folder_.Read("in.vdf2.svg"));
    EXPECT_THAT(Run("kvx convert psd.vdf2 -o - --as csv --start 0.5"),
                testing::StartsWith("frequency [Hz],top [g2/Hz],"
                                    "base [g2/Hz]\n0.5,"));
}

TEST_F(Convert, DescribesAndDrawsWhatIsNoDataFile) {
    const nlohmann::json info = RunJson(folder_, "kvx info in.csv");
    EXPECT_EQ(info["format"], "a text table");
    EXPECT_EQ(info["records"][0]["type"], "time waveform");
    EXPECT_EQ(info["records"][0]["channels"][1]["unit"], "g");
    EXPECT_EQ(info["records"][0]["channels"][1]["peak"], 0.5);
    EXPECT_THAT(
        Run("kvx info in.csv"),
        HasSubstr("record 1: time waveform, 2 channels of 4 samples\n  rate 2 Hz, from 0 s (offset 0), "
                  "duration 2 s\n  channel  name  unit    mean "));
    EXPECT_EQ(RunShell(folder_, "cat in.csv | kvx info - --json | grep -c format").out, "1\n");
    Run("kvx import in.csv -o in.vdf2; kvx plot in.csv -o a.svg; kvx plot in.vdf2 -o b.svg");
    EXPECT_EQ(folder_.Read("a.svg"), folder_.Read("b.svg"));
}

TEST_F(Convert, MergesAndEdits) {
    folder_.Write("force.csv", "time [s],force [N]\n0,1\n0.5,2\n1,3\n1.5,4\n");
    Run("kvx import in.csv -o in.vdf2; kvx merge in.vdf2 force.csv -o all.vdf2 --text both");
    EXPECT_EQ(Run("kvx export all.vdf2 -o - --start 1.5"),
              "time [s],top [g],base [g],force [N]\n1.5,-0.25,0.5,4\n");
    EXPECT_EQ(RunJson(folder_, "kvx info all.vdf2")["text"], "both");
    EXPECT_EQ(Run("kvx merge force.csv force.csv -o - --as csv --in-time --end 1"),
              "time [s],force [N]\n0,1\n0.5,2\n1,1\n1.5,2\n");
    EXPECT_EQ(RunShell(folder_, "kvx merge force.csv force.csv -o x.csv --in-time --start 1").err,
              "kvx: note: 'force.csv' begins at 1 s; it is set to 2 s, where the one before it ends\n");
    EXPECT_EQ(RunShell(folder_, "kvx merge in.csv force.csv -o x.csv --end 1 --in-time").err,
              "kvx: cannot merge 'in.csv': 'force.csv' has 1 channel, 'in.csv' 2 channels\n");
    Run("kvx edit in.vdf2 -o out.vdf2 --name roof,ground --unit N --scale 1,-2 --to-unit kN --text new");
    EXPECT_EQ(Run("kvx export out.vdf2 -o - --end 1 "),
              "time [s],roof [kN],ground [kN]\n0,0.0001,-0.0004\n0.5,0.0003,0.0002\n");
    EXPECT_EQ(RunJson(folder_, "kvx info out.vdf2")["text"], "new");
    EXPECT_EQ(Run("kvx edit in.csv -o - --as csv --unit m/s2 --offset 1 --end 0.5 --channels top"),
              "time [s],top [m/s2]\n0,1.1\n");
}

TEST_F(Convert, LeavesTheUnitsOfEmptyItems) {
    folder_.Write("three.csv", "time [s],a [g],b [V],c [N]\n0,1,2,3\n1,2,3,4\n");
    Run("kvx import three.csv -o three.vdf2");
    for (const std::string command : {"edit three.csv", "edit three.vdf2", "convert three.csv"}) {
        EXPECT_THAT(Run("kvx " + command + " -o - --as csv --unit ,mV,"),
                    testing::StartsWith("time [s],a [g],b [mV],c [N]\n0,1,2,3\n"));
    }
    EXPECT_THAT(RunShell(folder_, "kvx edit three.vdf2 -o x.csv --to-unit mm/s2,,").err,
                HasSubstr("the nearest unit that they can be kept in is 'm/s2'"));
}

TEST_F(Convert, NeverTakesMilliGForMilligramsInSilence) {
    const std::string gravity = "kvx: note: the unit 'mg' of channel '";
    const std::string taken = "' is taken for milli-g, ";
    const struct {
        const char *headings, *options, *unit;
        std::string note;
    } cases[] = {
        {"x [mg],top [g]", "", "g", gravity + "x" + taken + "for accelerations stand beside it"},
        {"accel x [mg],t2 [V]", "", "g", gravity + "accel x" + taken + "as its name tells"},
        {"x [mg],y [kg]", "", "mg",
         gravity + "x' is that of a mass; --unit milli-g makes it an acceleration"},
        {"x [mg],top [g]", " --unit mg,", "mg", gravity + "x' is that of a mass"},
        {"x [mg],top [g]", " --unit milli-g,", "g",
         "kvx: note: the unit 'milli-g' of channel 'x' becomes 'g'"},
    };
    for (const auto& [headings, options, unit, note] : cases) {
        folder_.Write("m.csv", "time [s]," + std::string(headings) + "\n0,500,1\n1,250,2\n");
        const std::string command = std::string("kvx convert m.csv -o m.vdf2") + options;
        EXPECT_THAT(RunShell(folder_, command).err, HasSubstr(note)) << headings;
        const nlohmann::json record = RunJson(folder_, "kvx info m.vdf2")["records"][0];
        EXPECT_EQ(record["unit"], unit) << headings;
        EXPECT_DOUBLE_EQ(record["channels"][0]["max"], std::string(unit) == "g" ? 0.5 : 500.0);
    }
}

TEST_F(Convert, KeepsWhatIsSaidOfAnAxisInAnUnknownUnit) {
    folder_.Write("odd.csv", "time [furlong],a [g]\n0,1\n1,2\n2,1\n3,2\n");
    const std::string note =
        "kvx: note: the axis of record 1 is in 'furlong', which is no unit that is known for one, so its "
        "places are "
        "plain numbers; if they are times, give the sampling rate with --rate\n";
    const ToolResult info = RunShell(folder_, "kvx info odd.csv --json");
    EXPECT_EQ(info.err, note);
    const nlohmann::json record = nlohmann::json::parse(info.out)["records"][0];
    EXPECT_EQ(record["type"], "real data");
    EXPECT_EQ(record["axis"]["unit"], "-");
    EXPECT_THAT(RunShell(folder_, "kvx psd odd.csv --block 2").err,
                HasSubstr("record 1 is not a time waveform but real data"));
    EXPECT_EQ(RunJson(folder_, "kvx info odd.csv --rate 100")["records"][0]["axis"]["rate"], 100);
    folder_.Write("uneven.csv", "time [s],a [g]\n0,1\n1,2\n2.5,1\n");
    EXPECT_EQ(RunJson(folder_, "kvx info uneven.csv --uneven")["records"][0]["type"],
              "waveform at listed times");
    // Each is told of once, be it read by itself or merged.
    EXPECT_EQ(RunShell(folder_, "kvx merge odd.csv odd.csv -o m.csv").err, note + note);
}

TEST(Formats, AreListedWithWhatTheyHold) {
    const TempFolder folder;
    const nlohmann::json formats = RunJson(folder, "kvx formats");
    ASSERT_EQ(formats.size(), kvx::Formats().size());
    EXPECT_EQ(formats[0]["ends"][0], ".vdf2");
    const std::string text = RunWell(folder, "kvx formats");
    for (const kvx::FormatRow& row : kvx::Formats()) {
        EXPECT_THAT(text, HasSubstr(std::string(row.name) + " (" + std::string(row.ends[0])));
        EXPECT_THAT(text, HasSubstr(std::string(row.read)));
    }
}

TEST(Conversions, TellWhatTheyLeaveOutAndRefuseWhatDoesNotApply) {
    const TempFolder folder;
    folder.Write("in.csv", "time,top [g],base [N]\n0.5,1,2\n1,3,4\n");
    folder.Write("unix.csv", "time,a\n1709296205.5,1\n1709296205.75,2\n");
    folder.Write("day.csv", "date,a\n03/04/2024,1\n04/04/2024,2\n");
    struct {
        const char* command;
        int status;
        const char* err;
    } const rows[] = {
        {"kvx convert in.csv -o out.wav", 0,
         "kvx: note: a WAV file has no place for names, units and the start of the axis; they are left "
         "out\n"},
        {"kvx convert unix.csv -o out.npy", 0,
         "kvx: note: a NumPy file has no place for names, the rate and date and time; they are left out\n"},
        {"kvx convert in.csv -o out.sac --channels base", 0,
         "kvx: note: a SAC file has no place for units; they are left out\n"},
        {"kvx convert in.csv -o out.mat --text 'a text'", 0, ""},
        {"kvx convert in.csv -o out.csv --samples float", 2,
         "kvx: --samples is for sound files, and out.csv is a text table; see 'kvx convert --help'\n"},
        {"kvx convert in.csv -o /proc/out.csv", 1,
         "kvx: cannot write '/proc/out.csv': its folder takes no new files\n"},
        {"kvx convert day.csv -o out.mat --dates day", 0, ""},
    };
    for (const auto& row : rows) {
        const ToolResult result = RunShell(folder, row.command);
        EXPECT_EQ(result.status, row.status) << row.command;
        EXPECT_EQ(result.err, row.err) << row.command;
    }
    EXPECT_EQ(RunJson(folder, "kvx info out.mat")["records"][0]["start"], "2024-04-03T00:00:00");
    EXPECT_THAT(RunWell(folder, "kvx info unix.csv --start 0.25"),
                HasSubstr("\n  started 2024-03-01T12:30:05.75Z\n"));
    RunWell(folder, "kvx convert in.csv -o out.uff --text 'a text'; kvx convert out.uff -o again.npz");
    EXPECT_EQ(RunJson(folder, "kvx info again.npz")["text"], "a text");
}

}  // namespace
