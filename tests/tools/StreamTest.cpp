// SPDX-License-Identifier: MIT
//
// The commands that take signals of any length from file to file, block by block.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>

#include "ToolRun.h"
#include "cli/Failure.h"
#include "commands/Processes.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"
#include "commands/Stream.h"

using namespace kvx;
using namespace kvx::tool;
using testing::StartsWith;

namespace {

/// A data file of one channel "x" in newtons.
void WriteWave(const TempFolder& folder, const char* name, double rateHz, __int64 offset,
               const std::vector<double>& samples) {
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

/// A sine of amplitude 1 and phase 0.7, sampled from `offset` on.
std::vector<double> Sine(double hz, double rateHz, __int64 offset, __int64 count) {
    std::vector<double> samples;
    for (__int64 i = 0; i < count; ++i) {
        samples.push_back(
            std::sin(2 * M_PI * std::fmod(hz * static_cast<double>(i + offset) / rateHz, 1.0) + 0.7));
    }
    return samples;
}

/// What a sine has become, by its projection on half a second in the middle.
struct SineFit {
    double amplitude;
    double delaySeconds;
    double noise;  ///< rms of the rest over that of the sine
};
SineFit FitSine(const CComDataBase& record, double hz) {
    const auto count = static_cast<__int64>(std::round(0.5 / record.GetDelta()));
    const __int64 first = (record.GetNsamp() - count) / 2;
    const double* const samples = record.GetReal(0, 0) + first;
    const auto angle = [&](__int64 i) {
        const double turns = hz * static_cast<double>(first + i + record.GetOffset()) * record.GetDelta();
        return 2 * M_PI * std::fmod(turns, 1.0);
    };
    double inPhase = 0.0;
    double quadrature = 0.0;
    for (__int64 i = 0; i < count; ++i) {
        inPhase += samples[i] * std::sin(angle(i)) * 2 / static_cast<double>(count);
        quadrature += samples[i] * std::cos(angle(i)) * 2 / static_cast<double>(count);
    }
    double rest = 0.0;
    for (__int64 i = 0; i < count; ++i) {
        rest += std::pow(samples[i] - inPhase * std::sin(angle(i)) - quadrature * std::cos(angle(i)), 2);
    }
    const double amplitude = std::hypot(inPhase, quadrature);
    return {amplitude, (0.7 - std::atan2(quadrature, inPhase)) / (2 * M_PI * hz),
            std::sqrt(2 * rest / static_cast<double>(count)) / amplitude};
}

struct RateCase {
    bool isDown;
    int ratio;
    __int64 offset;     ///< of the first sample
    __int64 newOffset;  ///< of the first sample of the result, which stands where a whole number puts it
};
class Resampling : public testing::TestWithParam<RateCase> {};

TEST_P(Resampling, KeepsASineWithItsAmplitudeAndItsTime) {
    constexpr double kLowerRate = 1000.0;
    constexpr double kRipple = 2.5e-3;  // of up to four filters, and below it what they let through
    constexpr double kImages = 3.2e-4;
    const auto [isDown, ratio, offset, newOffset] = GetParam();
    const double rate = isDown ? kLowerRate * ratio : kLowerRate;
    const auto count = static_cast<__int64>(rate);
    for (const double hz : {96.0, 380.0}) {
        const TempFolder folder;
        WriteWave(folder, "in.vdf2", rate, offset, Sine(hz, rate, offset, count));
        RunWell(folder, "kvx resample in.vdf2 -o out.vdf2 " + std::string(isDown ? "--down " : "--up ") +
                            std::to_string(ratio));
        const CComDataBase out = ReadWave(folder, "out.vdf2");
        EXPECT_EQ(out.GetNsamp(), isDown ? count / ratio : count * ratio);
        EXPECT_EQ(out.GetOffset(), newOffset);
        EXPECT_NEAR(out.GetDelta(), isDown ? 1 / kLowerRate : 1 / (kLowerRate * ratio), 1e-18);
        EXPECT_EQ(out.GetRowName(), CStringArray{L"x"});
        EXPECT_EQ(out.GetUnit(), CUnitCtrl::DIM_FORCE);
        const SineFit sine = FitSine(out, hz);
        EXPECT_NEAR(sine.amplitude, 1.0, kRipple);
        EXPECT_NEAR(sine.delaySeconds, 0.0, 1e-15);
        EXPECT_LT(sine.noise, kImages);
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Ratios, Resampling, testing::Values(
    RateCase{true,    2,   0,    0},
    RateCase{true,    5,  -3,    0},
    RateCase{true,    8,   5,    1},
    RateCase{true,   25, -75,   -3},
    RateCase{true,  500, 499,    1},
    RateCase{false,   4,   1,    4},
    RateCase{false,  10,  -3,  -30},
    RateCase{false, 500,   2, 1000}));
// clang-format on

TEST(Resampling, UpAndDownAgainGivesTheSignalBack) {
    const TempFolder folder;
    const std::vector<double> sine = Sine(150, 1000, 3, 900);
    WriteWave(folder, "in.vdf2", 1000, 3, sine);
    RunWell(folder,
            "kvx resample in.vdf2 -o up.vdf2 --rate 8000; kvx resample up.vdf2 -o back.vdf2 --down 8");
    const CComDataBase back = ReadWave(folder, "back.vdf2");
    ASSERT_EQ(back.GetNsamp(), std::ssize(sine));
    EXPECT_EQ(back.GetOffset(), 3);
    for (std::size_t i = 50; i < sine.size() - 50; ++i)
        EXPECT_NEAR(back.GetReal(0, 0)[i], sine[i], 3e-3) << i;
}

TEST(Resampling, HoldsAConstantUpToTheEnds) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 0, std::vector<double>(203, 5.0));
    for (const std::string change : {"--down 20", "--up 5", "--down 1"}) {
        RunWell(folder, "kvx resample in.vdf2 -o out.vdf2 " + change);
        const CComDataBase out = ReadWave(folder, "out.vdf2");
        const double* const level = out.GetReal(0, 0);
        for (__int64 i = 0; i < out.GetNsamp(); ++i) {
            EXPECT_NEAR(level[i], 5.0, 0.01);
            EXPECT_NEAR(level[i], level[i % 5], 1e-12)
                << change;  // up by 5, each phase is a filter of its own
        }
    }
    RunWell(folder, "kvx resample in.vdf2 -o out.vdf2 --down 20 --ends zeros");
    EXPECT_LT(ReadWave(folder, "out.vdf2").GetReal(0, 0)[0], 3.0);
}

TEST(Resampling, KeepsTheDelayThatItTells) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 7, Sine(4, 1000, 7, 2000));
    for (const std::string change : {"--down 10", "--up 8"}) {
        const std::string report = RunWell(folder, "kvx resample in.vdf2 -o out.vdf2 --keep-delay " + change);
        const std::size_t at = report.find("delay of ");
        ASSERT_NE(at, std::string::npos) << report;
        EXPECT_NEAR(FitSine(ReadWave(folder, "out.vdf2"), 4).delaySeconds, std::stod(report.substr(at + 9)),
                    1e-6)
            << report;
    }
}

struct ButterworthCase {
    const char* options;
    double gain;  ///< of a sine at 96 Hz, sampled at 1000 Hz
};
class Butterworth : public testing::TestWithParam<ButterworthCase> {};

TEST_P(Butterworth, HasItsGain) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 0, Sine(96, 1000, 0, 4000));
    RunWell(folder, std::string("kvx filter in.vdf2 -o out.vdf2 --butterworth ") + GetParam().options);
    EXPECT_NEAR(FitSine(ReadWave(folder, "out.vdf2"), 96).amplitude, GetParam().gain, 1e-9);
}

/// Gain of a low-pass, through the frequencies that the bilinear transform maps to.
double LowPassGain(double cornerHz, int order) {
    const double ratio = std::tan(M_PI * 0.096) / std::tan(M_PI * cornerHz / 1000);
    return 1 / std::sqrt(1 + std::pow(ratio, 2 * order));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Filters, Butterworth, testing::Values(
    ButterworthCase{"lp 1 96",                       M_SQRT1_2},
    ButterworthCase{"hp 1 96",                       M_SQRT1_2},
    ButterworthCase{"lp 8 96",                       M_SQRT1_2},
    ButterworthCase{"hp 5 96",                       M_SQRT1_2},
    ButterworthCase{"lp 3 70",                       LowPassGain(70, 3)},
    ButterworthCase{"lp 3 70 --butterworth lp 2 90", LowPassGain(70, 3) * LowPassGain(90, 2)}));
// clang-format on

TEST(SampleFilters, StartSettledOrAtRest) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 0, std::vector<double>(20, 5.0));
    const auto first = [&](const std::string& options) {
        RunWell(folder, "kvx filter in.vdf2 -o out.vdf2 " + options);
        return ReadWave(folder, "out.vdf2").GetReal(0, 0)[0];
    };
    EXPECT_DOUBLE_EQ(first("--butterworth lp 4 10"), 5.0);
    EXPECT_EQ(first("--butterworth hp 4 10 --ends hold"), 0.0);
    EXPECT_NEAR(first("--fir-set 1 --butterworth lp 4 10"), 5.0, 0.01);
    EXPECT_LT(first("--butterworth lp 4 10 --ends zeros"), 0.1);
    EXPECT_NEAR(first("--butterworth hp 4 10"), 5.0, 0.5);
    EXPECT_LT(first("--fir-set 1 --ends zeros"), 4.0);
}

// A vibration begins anywhere in its period; held for ever, its first value would be an offset of its own.
TEST(SampleFilters, AHighPassMakesNoStepOfTheFirstSample) {
    const TempFolder folder;
    std::vector<double> vibration(4000);
    for (std::size_t i = 0; i < vibration.size(); ++i)
        vibration[i] = 998 * std::sin(2 * M_PI * 0.06 * static_cast<double>(i) - std::asin(612.0 / 998));
    WriteWave(folder, "in.vdf2", 1000, 0, vibration);
    const auto peakAfter = [&](const std::string& options) {
        RunWell(folder, "kvx filter in.vdf2 -o out.vdf2 " + options);
        const CComDataBase out = ReadWave(folder, "out.vdf2");
        double peak = 0;
        for (double y : std::span(out.GetReal(0, 0), vibration.size())) peak = std::max(peak, std::abs(y));
        return peak;
    };
    for (const char* highPass : {"--butterworth hp 4 5", "--butterworth lp 2 400 --butterworth hp 2 5",
                                 "--highpass 5", "--highpass 5 --lowpass 300 --kind second"}) {
        EXPECT_LT(peakAfter(highPass), 1.1 * 998) << highPass;
        EXPECT_GT(peakAfter(std::string(highPass) + " --ends hold"), 1.2 * 998) << highPass;
    }
}

struct FirCase {
    const char* coefficients;
    const char* options;
    std::vector<double> response;  ///< to an impulse of 1 at sample 2 of 6
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
    const CComDataBase out = ReadWave(folder, "out.vdf2");
    EXPECT_EQ(std::vector<double>(out.GetReal(0, 0), out.GetReal(0, 0) + out.GetNsamp()),
              GetParam().response);
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
        RunWell(folder_,
                "kvx import text.csv -o data.vdf2; kvx export data.vdf2 -o sound.wav --samples pcm24");
    }
    TempFolder folder_;
};

TEST_P(AnyInput, GivesTheSameHoweverItIsCut) {
    const std::string path = (folder_ / GetParam()).string();
    const RateChange change = {CMatFir::RATE_DECIMATE, CMatMrf::OVS_RAT_10};
    std::string whole;
    for (const std::size_t block : {kStreamBlock, std::size_t{1}, std::size_t{100}}) {
        Progress progress("");
        const auto reader = OpenSignal(path, {}, {}, false, progress);
        std::vector<ResampledRun> plans;
        std::vector<SignalRun> runs;
        for (const SignalRun& run : reader->Runs()) {
            plans.push_back(PlanResampling(run, change, false));
            runs.push_back(plans.back().run);
        }
        const std::string output = (folder_ / "out.vdf2").string();
        const auto writer = CreateDataFile(output, L"text", runs);
        const auto process = [&](std::size_t run, std::size_t) {
            std::vector<std::unique_ptr<ChannelProcess>> links;
            const CDataArrayDouble fir(5, 0.2);
            links.push_back(MakeFir(fir, {5, 7, plans[run].run.samples * 10}, Ends::held));
            links.push_back(MakeButterworth(false, 3, 0.01, Ends::held));
            links.push_back(MakeResampler(change, plans[run].alignment, Ends::held));
            return MakeChain(std::move(links));
        };
        Stream({"resample", path, output}, *reader, *writer, process, block);
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
        RunWell(folder_, command + input + " -o direct.wav --channels 1 --samples double");
        RunWell(folder_, "kvx export imported.vdf2 -o exported.wav --channels 1 --samples double");
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
    WriteWave(folder, "long.vdf2", 1000, 0, std::vector<double>(std::size_t{1} << 23, 1.0));
    EXPECT_EQ(RunShell(folder, limit + "kvx export long.vdf2 -o long.csv").status, 1);
    RunWell(folder, limit + "kvx resample long.vdf2 -o long.wav --down 1 --samples double");
    RunWell(folder, limit + "kvx resample long.wav -o out.vdf2 --down 8");
    EXPECT_EQ(ReadWave(folder, "out.vdf2").GetNsamp(), 1 << 20);
}

TEST(StandardStreams, AreInputAndOutputOfEveryCommand) {
    const TempFolder folder;
    WriteWave(folder, "in.vdf2", 1000, 3, Sine(50, 1000, 3, 4096));
    folder.Write("profile.txt", "20 1\n100 1\n");
    folder.Write("one.txt", "1\n");
    RunWell(folder, "kvx export in.vdf2 -o in.wav --samples double; kvx export in.vdf2 -o in.csv");
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
        RunWell(folder, "cp " + std::string(input) + " " + name + "; " + kvx + name + to + output);
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
        {"kvx psd - < in.csv", "cannot analyse standard input: it is not a vibration data file\n"},
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
        EXPECT_THAT(result.err, StartsWith(std::string("kvx: ") + sentence)) << command;
    }
    EXPECT_EQ(folder.Count(), 2U);
}

TEST(Interrupts, EndEveryCommandAndLeaveNothingBehind) {
    const TempFolder folder;
    int turn = 0;
    for (const char* command :
         {"info -", "psd - -o out.vdf2", "spectrum - -o out.vdf2", "xfr - -o out.vdf2", "export - -o out.csv",
          "import - -o out.vdf2", "filter - -o out.wav --lowpass 9", "resample - -o out.vdf2 --down 2",
          "plot - -o out.svg", "spectrogram - -o out.png", "synth - -o out.vdf2", "profile - -o out.txt"}) {
        const int signal = std::array{SIGINT, SIGTERM, SIGHUP}[static_cast<std::size_t>(turn++ % 3)];
        RunningTool tool(folder, command);
        EXPECT_TRUE(tool.Feed()) << command;
        EXPECT_EQ(tool.End(signal), signal) << command;
    }
    EXPECT_EQ(folder.Count(), 0U);

    WriteWave(folder, "in.vdf2", 1000, 0, std::vector<double>(std::size_t{1} << 21, 0.25));
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
    WriteWave(folder, "in.vdf2", 1000, 0, std::vector<double>(std::size_t{1} << 19, 0.25));
    RunningTool tool(folder, "export in.vdf2 -o out.csv", SIGHUP);
    EXPECT_TRUE(tool.WaitForTemporary(folder));
    EXPECT_EQ(tool.End(SIGHUP), 0);
    EXPECT_EQ(folder.Count(), 2U);
}

}  // namespace
