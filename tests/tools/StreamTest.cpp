// SPDX-License-Identifier: MIT
//
// The commands that take signals of any length from file to file, block by block.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>

#include "ToolRun.h"
#include "cli/Failure.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"
#include "commands/Stream.h"

using namespace kvx;
using namespace kvx::tool;
using testing::StartsWith;
using Wave = std::vector<double>;

namespace {

/// A data file of one channel "x" in newtons.
void WriteWave(const TempFolder& folder, const char* name, double rateHz, __int64 offset,
               const Wave& samples) {
    const CStringArray names = {L"x"};
    CComDataWave wave(1.0 / rateHz, 1, 1, std::ssize(samples), offset, CUnitCtrl(CUnitCtrl::DIM_FORCE),
                      &names, nullptr);
    std::copy(samples.begin(), samples.end(), wave.GetReal(0, 0));
    const kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L"text"), {wave}};
    ASSERT_TRUE(CComDataFile::StoreDataFile((folder / name).wstring().c_str(), content));
}

CComDataBase ReadWave(const TempFolder& folder, const char* name) {
    kvx::DataFileContent content;
    EXPECT_TRUE(CComDataFile::LoadDataFile((folder / name).wstring().c_str(), &content));
    return content.records.empty() ? CComDataBase() : content.records.front();
}

Wave ReadSamples(const TempFolder& folder, const char* name) {
    const CComDataBase wave = ReadWave(folder, name);
    return wave.GetNsamp() > 0 ? Wave(wave.GetReal(0, 0), wave.GetReal(0, 0) + wave.GetNsamp()) : Wave();
}

TEST(Resampling, GivesTheRecordItsNewAxis) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 8000, 5, Wave(8000, 2.0));
    EXPECT_EQ(RunWell(folder, "kvx resample in.vdf2 -o out.vdf2 --rate 1000"),
              "record 1: 1 channel of 8000 samples at 8000 Hz become 1000 at 1000 Hz, band up to 390.625 Hz, "
              "delay of 0.010625 s taken out\n");
    const CComDataBase out = ReadWave(folder, "out.vdf2");
    EXPECT_EQ(out.GetNsamp(), 1000);
    EXPECT_EQ(out.GetOffset(), 1);
    EXPECT_EQ(out.GetDelta(), 1e-3);
    EXPECT_EQ(out.GetRowName(), CStringArray{L"x"});
    EXPECT_EQ(out.GetUnit(), CUnitCtrl::DIM_FORCE);
    EXPECT_LT(
        RunWell(folder, "kvx resample in.vdf2 -o zero.vdf2 --ends zeros --keep-delay --down 8").find("kept"),
        std::string::npos);
    EXPECT_LT(ReadSamples(folder, "zero.vdf2").at(0), 0.1);
}

TEST(Filters, TakeWhatTheirOptionsSay) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 0, Wave(20, 5.0));
    const auto first = [&](const std::string& options) {
        RunWell(folder, "kvx filter in.vdf2 -o out.vdf2 " + options);
        return ReadSamples(folder, "out.vdf2").at(0);
    };
    EXPECT_DOUBLE_EQ(first("--butterworth lp 4 10"), 5.0);
    EXPECT_EQ(first("--butterworth hp 4 10 --ends hold"), 0.0);
    EXPECT_NEAR(first("--fir-set 1 --butterworth lp 4 10"), 5.0, 0.01);
    EXPECT_NEAR(first("--butterworth hp 4 10"), 5.0, 0.5);
    EXPECT_LT(first("--fir-set 1 --ends zeros"), 4.0);
    EXPECT_LT(first("--lowpass 10 --ends zeros"), 0.1);
    EXPECT_NEAR(first("--lowpass 10 --kind second --q 1"), 5.0, 1e-5);
    EXPECT_NEAR(first("--highpass 10 --kind slope --order 2 --block 4096 --ends periodic"), 0.0, 0.01);
}

struct FirCase {
    const char* coefficients;
    const char* options;
    Wave response;  ///< to an impulse of 1 at sample 2 of 6
    const char* note;
};
class FirFilter : public testing::TestWithParam<FirCase> {};

TEST_P(FirFilter, AnswersAnImpulse) {
    const TempFolder folder;
    folder.Write("fir.txt", GetParam().coefficients);
    WriteWave(folder, "in.vdf2", 1000, 0, {0, 0, 1, 0, 0, 0});
    const ToolResult result =
        RunShell(folder, std::string("kvx filter in.vdf2 -o out.vdf2 --fir fir.txt ") + GetParam().options);
    EXPECT_EQ(result.err, GetParam().note);
    EXPECT_EQ(ReadSamples(folder, "out.vdf2"), GetParam().response);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Coefficients, FirFilter, testing::Values(
    FirCase{"# mean\n0.25\n0.5\n0.25\n", "",             {0, 0.25, 0.5, 0.25, 0, 0}, ""},
    FirCase{"0.25 0.5 0.25\n",             "--keep-delay", {0, 0, 0.25, 0.5, 0.25, 0}, ""},
    FirCase{"-1,0,1\n",                    "",             {0, -1, 0, 1, 0, 0},        ""},
    FirCase{"3,2,1\n",                     "",             {0, 0, 3, 2, 1, 0},
            "kvx: note: the coefficients are not symmetric; what they delay, stays delayed\n"},
    FirCase{"0.5 0.5\n",                   "",             {0, 0, 0.5, 0.5, 0, 0},
            "kvx: note: an even number of taps leaves a delay of half a sample\n"}));
// clang-format on

/// A recording of three channels and two units in a file of one of the kinds that can be read.
class AnyInput : public testing::TestWithParam<const char*> {
protected:
    AnyInput() {
        std::string table = "time [s],top [g],force [N],base [g]\n";
        std::uint32_t seed = 1;
        const auto noise = [&seed] {
            return std::to_string((seed = seed * 1664525U + 1013904223U) * 0x1p-32);
        };
        for (int i = 0; i < 1500; ++i) {
            table += std::to_string(i * 0.001) + "," + noise() + "," + noise() + "," + noise() + "\n";
        }
        folder_.Write("text.csv", table);
        RunWell(
            folder_,
            "kvx import text.csv -o data.vdf2; kvx export data.vdf2 -o sound.wav --samples pcm24 2>notes");
    }
    TempFolder folder_;
};

TEST_P(AnyInput, GivesTheSameHoweverItIsCut) {
    const std::string path = (folder_ / GetParam()).string();
    std::string whole;
    for (const std::size_t block : {kStreamBlock, std::size_t{1}, std::size_t{100}}) {
        Progress progress("");
        const auto reader = OpenSignal(path, {}, {}, false, progress);
        const std::string output = (folder_ / "out.vdf2").string();
        const auto writer = CreateSignal(output, Format::dataFile, reader->Runs(), {L"text", {}});
        const auto process = [](std::size_t, std::size_t) { return MakeFir({{0.2, 0.3}, 1}, Ends::held); };
        Stream({"filter", path, output}, *reader, *writer, process, block);
        if (whole.empty()) whole = folder_.Read("out.vdf2");
        EXPECT_GT(whole.size(), 3000U);
        EXPECT_TRUE(folder_.Read("out.vdf2") == whole) << block;
    }
}

TEST_P(AnyInput, GivesWhatItGivesAfterItsImport) {
    const std::string input = GetParam();
    if (input != "data.vdf2") RunWell(folder_, "kvx import " + input + " -o data.vdf2");
    for (const std::string command :
         {"kvx resample --down 4 ", "kvx resample --up 2 ", "kvx filter --lowpass 50 ",
          "kvx filter --butterworth lp 4 50 --fir-set 3 "}) {
        RunWell(folder_, command + input + " -o direct.vdf2; " + command + "data.vdf2 -o imported.vdf2");
        EXPECT_TRUE(folder_.Read("direct.vdf2") == folder_.Read("imported.vdf2")) << command;
        RunWell(folder_, command + input + " -o direct.wav --channels 1 --samples double 2>notes");
        RunWell(folder_, "kvx export imported.vdf2 -o exported.wav --channels 1 --samples double 2>notes");
        EXPECT_TRUE(folder_.Read("direct.wav") == folder_.Read("exported.wav")) << command;
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, AnyInput, testing::Values("data.vdf2", "text.csv", "sound.wav"));

TEST(Streams, NeedNoMoreMemoryForLongerFiles) {
    const TempFolder folder;
    const std::string limit = "ulimit -v 60000; ";
    if (RunShell(folder, limit + "kvx --version").status != 0) {
        GTEST_SKIP() << "the tool was built with a sanitizer, which reserves address space";
    }
    WriteWave(folder, "long.vdf2", 1000, 0, Wave(std::size_t{1} << 23, 1.0));
    RunWell(folder, limit + "kvx export long.vdf2 -o long.csv");
    EXPECT_EQ(RunWell(folder, "wc -l < long.csv; tail -n 1 long.csv"), "8388609\n8388.607,1\n");
    RunWell(folder, limit + "kvx export long.vdf2 -o long.wav 2>notes");
    RunWell(folder, limit + "kvx resample long.vdf2 -o long.wav --down 1 --samples double 2>notes");
    RunWell(folder, limit + "kvx resample long.wav -o out.vdf2 --down 8");
    EXPECT_EQ(ReadWave(folder, "out.vdf2").GetNsamp(), 1 << 20);
    RunWell(folder, limit + "kvx filter long.wav -o out.wav --lowpass 50 --ends zeros");
}

TEST(StandardStreams, AreInputAndOutputOfEveryCommand) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 3, Wave(4096, 0.5));
    folder.Write("profile.txt", "20 1\n100 1\n");
    folder.Write("one.txt", "1\n");
    RunWell(folder, "kvx export in.vdf2 -o in.wav --samples double 2>notes; kvx export in.vdf2 -o in.csv");
    const struct {
        const char* command;  ///< without its input and output
        const char* input;
        const char* output;
        const char* as;
    } cases[] = {
        {"import --text x --rate 1000", "in.csv", "out.vdf2", ""},
        {"import --text x", "in.wav", "out.vdf2", ""},
        {"psd", "in.vdf2", "out.vdf2", ""},
        {"spectrum", "in.vdf2", "out.vdf2", ""},
        {"filter --lowpass 100", "in.vdf2", "out.vdf2", ""},
        {"filter --butterworth lp 2 100", "in.vdf2", "out.wav", "--as wav"},
        {"resample --down 2", "in.vdf2", "out.vdf2", ""},
        {"export", "in.vdf2", "out.csv", ""},
        {"export", "in.vdf2", "out.wav", "--as wav"},
        {"convert", "in.csv", "out.wav", "--as wav"},
        {"edit --name y", "in.vdf2", "out.csv", "--as csv"},
        {"psd", "in.wav", "out.csv", "--as csv"},
        {"plot", "in.vdf2", "out.svg", ""},
        {"plot --title x", "in.vdf2", "out.png", "--as png"},
        {"spectrogram", "in.vdf2", "out.pdf", "--as pdf"},
        {"plot -o x.svg", "in.vdf2", "out.gci2", "--store-settings"},
        {"profile", "profile.txt", "out.txt", ""},
        {"profile --lines 1,200", "profile.txt", "out.vdf2", "--as vdf2"},
        {"synth --duration 1", "profile.txt", "out.vdf2", ""},
    };
    for (const auto& [command, input, output, as] : cases) {
        // The text of a header is the name of the input.
        const std::string name = "'standard input'";
        const std::string kvx = std::string("kvx ") + command + " ";
        const bool isSettings = std::string(as).starts_with("--store");
        const std::string to = isSettings ? std::string(" ") + as + " " : " -o ";
        const std::string format = isSettings ? "" : std::string(" ") + as;
        RunWell(folder,
                "cp " + std::string(input) + " " + name + "; " + kvx + name + to + output + " 2>notes");
        for (const std::string& feed : {"cat " + name + " | " + kvx, "< " + name + " " + kvx}) {
            const ToolResult result = RunShell(folder, feed + "-" + to + "-" + format);
            EXPECT_TRUE(result.status == 0 && result.out == folder.Read(output)) << feed << result.err;
        }
    }
    EXPECT_THAT(RunWell(folder, "cat in.vdf2 | kvx info - | head -n 2"),
                StartsWith("standard input\n  kind"));
}

TEST(StandardStreams, GiveTheReportToStandardErrorAndAreNoFiles) {
    const TempFolder folder;
    folder.Write("in.csv", "skipped\n1\n2\n3\n4\n");
    const std::string import = "kvx import - -o - --rate 2 ";
    const ToolResult made = RunShell(folder, import + "< in.csv");
    EXPECT_THAT(made.err, StartsWith("standard output: 4 samples at 2 Hz (2 s), 1 record\n"));
    folder.Write("-", made.out);
    EXPECT_EQ(RunShell(folder, "(read line; " + import + ") < in.csv | kvx export - -o -").out,
              "time [s],ch1 [-]\n0,1\n0.5,2\n1,3\n1.5,4\n");
    EXPECT_EQ(RunWell(folder, "kvx export ./- -o -"), "time [s],skipped [-]\n0,1\n0.5,2\n1,3\n1.5,4\n");
    const struct {
        const char* command;
        const char* sentence;
    } cases[] = {
        {"kvx psd - < in.csv",
         "cannot analyse standard input: it has neither a rate nor a time column; give the sampling rate"},
        {"kvx export - -o in.csv < in.csv", "the output 'in.csv' is the input file"},
        {"kvx psd - <&-", "cannot analyse standard input: the file handle is not valid\n"},
        {"kvx export ./- -o - --as wav > /dev/full", "cannot write to standard output: the disk is full\n"},
        {"kvx plot ./- -o - >&-", "cannot write to standard output: the file handle is not valid\n"},
        {"TMPDIR=/none kvx plot ./- -o -",
         "cannot write to standard output: no temporary file can be made in"},
        {"kvx plot ./- -o - --store-settings -", "--store-settings: '-' is the picture"},
        {"kvx plot - -o x.svg --profile -", "standard input can be only one of the inputs"},
        {"kvx filter - -o x.wav --fir -", "standard input can be only one of the inputs"},
    };
    for (const auto& [command, sentence] : cases) {
        const ToolResult result = RunShell(folder, command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_THAT(result.err, testing::HasSubstr(std::string("kvx: ") + sentence)) << command;
    }
    EXPECT_EQ(folder.Count(), 2U);
}

TEST(Interrupts, EndEveryCommandAndLeaveNothingBehind) {
    const TempFolder folder;
    int turn = 0;
    for (const char* command :
         {"info -", "psd - -o out.vdf2", "spectrum - -o out.vdf2", "xfr - -o out.vdf2", "export - -o out.csv",
          "import - -o out.vdf2", "convert - -o out.wav", "edit - -o out.vdf2",
          "filter - -o out.wav --lowpass 9", "resample - -o out.vdf2 --down 2", "plot - -o out.svg",
          "spectrogram - -o out.png", "synth - -o out.vdf2", "profile - -o out.txt"}) {
        const int signal = std::array{SIGINT, SIGTERM, SIGHUP}[static_cast<std::size_t>(turn++ % 3)];
        RunningTool tool(folder, command);
        EXPECT_TRUE(tool.Feed()) << command;
        EXPECT_EQ(tool.End(signal), signal) << command;
    }
    EXPECT_EQ(folder.Count(), 0U);

    WriteWave(folder, "in.vdf2", 1000, 0, Wave(std::size_t{1} << 21, 0.25));
    for (const std::string output : {"out.vdf2", "out.csv", "out.wav"}) {
        folder.Write(output, "what was there before");
        const std::string command = output == "out.csv" ? "export" : "resample --up 500";
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            RunningTool tool(folder, command + " in.vdf2 -o " + output);
            EXPECT_TRUE(tool.WaitForTemporary(folder)) << output;
            EXPECT_EQ(tool.End(signal), signal) << output;
            EXPECT_EQ(folder.Read(output), "what was there before");
        }
    }
    EXPECT_EQ(folder.Count(), 4U);
}

TEST(Interrupts, ThatTheProgramWasStartedToIgnoreAreIgnored) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 0, Wave(std::size_t{1} << 19, 0.25));
    RunningTool tool(folder, "export in.vdf2 -o out.csv", SIGHUP);
    EXPECT_TRUE(tool.WaitForTemporary(folder));
    EXPECT_EQ(tool.End(SIGHUP), 0);
    EXPECT_EQ(folder.Count(), 2U);
}

TEST(Pipes, GiveWhatFilesGive) {
    const TempFolder folder;
    RunWell(folder,
            "awk 'BEGIN { print \"time,force [N],top [g]\"; for (i = 0; i < 256; ++i)"
            " print i / 64 \",\" sin(i * i) \",\" cos(i) }' > in.csv");
    RunWell(folder, "printf 'unit g2/Hz\\n1 1\\n20 2\\n' > profile.txt");
    RunWell(folder, "kvx import in.csv -o in.vdf2 && kvx import in.csv -o other.vdf2");
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"import", "in.csv --text x", "vdf2"},
        {"export", "in.vdf2", "csv"},
        {"convert", "in.vdf2", "npz"},
        {"edit", "in.vdf2 --scale 2", "mat"},
        {"merge", "in.vdf2 other.vdf2", "csv"},
        {"filter", "in.vdf2 --lowpass 10", "csv"},
        {"resample", "in.vdf2 --down 2", "csv"},
        {"psd", "in.vdf2 --block 64", "csv"},
        {"spectrum", "in.vdf2 --block 64", "uff"},
        {"xfr", "in.vdf2 --block 64", "vdf2"},
        {"plot", "in.vdf2", "svg"},
        {"spectrogram", "in.vdf2 --block 32", "png"},
        {"synth", "profile.txt --duration 1", "vdf2"},
    };
    for (const auto& [command, arguments, end] : cases) {
        const std::string rest(arguments);
        const std::string input = rest.substr(0, rest.find(' '));
        const std::string options = rest.substr(input.size());
        const std::string call = std::string("kvx ") + command;
        RunShell(folder, call + " " + rest + " -o file." + end);
        const ToolResult piped = RunShell(
            folder, "cat " + input + " | " + call + " -" + options + " -o - --as " + end + " > piped");
        EXPECT_EQ(piped.status, 0) << call << piped.err;
        const std::string expected = folder.Read(std::string("file.") + end);
        EXPECT_FALSE(expected.empty()) << call;
        const bool isNamed = std::string_view(command) == "synth";  // the text is the name of its profile
        EXPECT_TRUE(isNamed || folder.Read("piped") == expected) << call;
    }
    const std::string chain =
        "kvx import in.csv -o - 2>/dev/null | kvx filter - --lowpass 10 -o - 2>/dev/null";
    RunWell(folder, chain + " | kvx psd - -o psd.csv --block 64 > report");
    RunWell(folder, "kvx filter in.vdf2 --lowpass 10 -o low.vdf2 > /dev/null");
    RunWell(folder, "kvx psd low.vdf2 -o expected.csv --block 64 > reported");
    EXPECT_EQ(folder.Read("psd.csv"), folder.Read("expected.csv"));
    EXPECT_EQ(folder.Read("report"), folder.Read("reported"));
    const std::pair<std::string, std::string> reports[] = {
        {"info ", "in.vdf2"},
        {"calibrate --level '1 g' --channels top ", "in.vdf2"},
        {"profile ", "profile.txt"}};
    for (const auto& [command, input] : reports) {
        const std::string rest = " 2>/dev/null | grep -v 'changed\\|vdf2\\|input'";
        const std::string expected = RunWell(folder, "kvx " + command + input + rest);
        EXPECT_EQ(RunWell(folder, "cat " + input + " | kvx " + command + "-" + rest), expected) << command;
    }
}

TEST(Batches, OfPicturesTransfersAndReportsGoOnAfterAFailure) {
    const TempFolder folder;
    folder.Write("force.csv", "f [N]\n1\n2\n0\n4\n1\n0\n3\n2\n");
    folder.Write("a.csv",
                 "acc1 [g],acc2 [g],gap [m]\n2,1,0\n4,2,0\n0,0,0\n8,4,1\n2,1,0\n0,0,0\n6,3,1\n4,2,0\n");
    folder.Write("b.csv",
                 "acc1 [g],acc2 [g],gap [m]\n1,3,0\n2,6,1\n0,0,0\n4,12,0\n1,3,1\n0,0,1\n3,9,1\n2,6,0\n");
    RunWell(folder, "awk 'BEGIN { for (i = 0; i < 64; ++i) print sin(i) }' | tee tone-a.csv > tone-b.csv");
    const std::string inputs = " a.csv none.csv b.csv --rate 8 --channels 'acc*' ";
    const std::string block = "--block 8 --window rectangular --overlap 0 ";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"xfr" + inputs + block + "--reference-file force.csv -o out/ --as vdf2", ".vdf2", "analyse"},
        {"plot" + inputs + "-o out/", ".svg", "read"},
        {"spectrogram" + inputs + block + "-o out/ --as png", ".png", "analyse"},
        {"info" + inputs, "", "read"},
        {"calibrate tone-a.csv none.csv tone-b.csv --level '1 g' --rate 100", "", "analyse"},
        {"edit" + inputs + "--name x,y -o out/ --as csv", ".csv", "edit"},
    };
    for (const auto& [call, end, verb] : cases) {
        const ToolResult result = RunShell(folder, "kvx " + call);
        EXPECT_EQ(result.status, 1) << call;
        EXPECT_THAT(result.err,
                    testing::HasSubstr("kvx: cannot " + verb + " 'none.csv': the file does not exist\n"))
            << call;
        EXPECT_THAT(result.err, testing::HasSubstr("kvx: 1 of 3 inputs could not be dealt with\n"));
        EXPECT_LT(result.out.find("a"), result.out.find("b")) << call;
        if (end.empty()) continue;
        EXPECT_TRUE(std::filesystem::exists(folder / ("out/a" + end))) << call;
        EXPECT_TRUE(std::filesystem::exists(folder / ("out/b" + end))) << call;
    }
    // The responses are 2, 1 and 1, 3 times the force of the other file.
    const auto json = RunJson(
        folder, "kvx xfr a.csv b.csv --rate 8 --channels 1-2 --reference-file force.csv --reference f " +
                    block + "2>/dev/null");
    const double gains[2][2] = {{2.0, 1.0}, {1.0, 3.0}};
    for (std::size_t f = 0; f < 2; ++f) {
        EXPECT_EQ(json[f]["reference"]["file"], "force.csv");
        for (std::size_t c = 0; c < 2; ++c)
            EXPECT_NEAR(json[f]["responses"][c]["largest"]["magnitude"].get<double>(), gains[f][c], 1e-9);
    }
    const std::pair<const char*, const char*> wrong[] = {
        {"xfr a.csv --rate 8 --block 8 --reference-file none.csv",
         "cannot read 'none.csv': the file does not exist\n"},
        {"xfr a.csv --rate 8 --block 8 --reference 4 --channels 2-",
         "cannot analyse 'a.csv': there is no channel '4' among its 3"},
        {"plot a.csv b.csv -o out/ --rate 8 --store-settings s.gci2",
         "--store-settings is for a single picture;"},
        {"psd a.csv --rate 8 --channels 2-9",
         "cannot analyse 'a.csv': there is no channel '2-9' among its 3 channels\n"},
        {"psd a.csv --rate 8 --name x,y", "cannot analyse 'a.csv': --name "},
    };
    for (const auto& [call, sentence] : wrong)
        EXPECT_THAT(RunShell(folder, std::string("kvx ") + call).err,
                    testing::StartsWith(std::string("kvx: ") + sentence));
}

}  // namespace
