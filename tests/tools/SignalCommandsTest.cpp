// SPDX-License-Identifier: MIT
//
// The commands that calculate, on signals whose results are known in closed form.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>

#include "ToolRun.h"

using testing::HasSubstr;

namespace {

constexpr double kGravity = 9.80665;

/// One line per sample, i from 0 on, of what `row` writes.
std::string Table(int count, const std::function<void(std::ostream&, int)>& row) {
    std::ostringstream text;
    text.precision(17);
    for (int i = 0; i < count; ++i) {
        row(text, i);
        text << "\n";
    }
    return text.str();
}

/// cos(2 pi hz t) of `count` samples at 1024 Hz, as the channel of c.vdf2.
void MakeCosine(const TempFolder& folder, int count, double hz) {
    folder.Write("c.txt", Table(count, [&](std::ostream& out, int i) {
                     out << std::cos(2 * M_PI * std::fmod(hz * i, 1024.0) / 1024.0);
                 }));
    RunWell(folder, "kvx import c.txt -o c.vdf2 --rate 1024 --unit g");
}

/// A data file d.vdf2 of one channel of 8 samples, `delta` seconds or hertz apart.
template <class Record>
void WriteSpacing(const TempFolder& folder, double delta) {
    Record record(delta, 1, 1, 8, 0, CUnitCtrl(), nullptr, nullptr);
    record.Zero();
    const kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L""), {record}};
    ASSERT_TRUE(CComDataFile::StoreDataFile((folder / "d.vdf2").wstring().c_str(), content));
}

TEST(Spacing, IsNoAxisUnlessItIsFiniteAndAboveZero) {
    const TempFolder folder;
    for (const double delta : {0.0, -1.0, HUGE_VAL, std::nan(""), 1e-320, 1e308}) {
        for (const bool isWave : {true, false}) {
            isWave ? WriteSpacing<CComDataWave>(folder, delta) : WriteSpacing<CComDataSpecA>(folder, delta);
            EXPECT_FALSE(RunJson(folder, "kvx info d.vdf2")["records"][0]["axis"].contains("rate")) << delta;
            for (const char* command :
                 {"psd d.vdf2 --block 2", "spectrum d.vdf2 --block 2", "xfr d.vdf2 --block 2",
                  "plot d.vdf2 -o x.svg", "spectrogram d.vdf2 -o x.svg --block 2", "export d.vdf2 -o x.csv",
                  "export d.vdf2 -o x.wav", "resample d.vdf2 -o x.vdf2 --down 2",
                  "filter d.vdf2 -o x.vdf2 --lowpass 1"}) {
                const ToolResult result = RunShell(folder, std::string("kvx ") + command);
                EXPECT_EQ(result.status, 1) << command << delta;
                EXPECT_THAT(result.err, testing::AnyOf(HasSubstr("record 1 has a spacing of "),
                                                       HasSubstr("record 1 is not a time waveform")))
                    << command << delta;
            }
        }
    }
    EXPECT_EQ(folder.Count(), 1U);
}

/// A channel of 20 + cos(2 pi 64 t) degrees in a unit, 4096 samples at 1024 Hz, as oven.csv.
void MakeOven(const TempFolder& folder, const std::string& unit) {
    folder.Write("oven.csv", "oven [" + unit + "]\n" + Table(4096, [](std::ostream& out, int i) {
                                 out << 20 + std::cos(2 * M_PI * (64 * i % 1024) / 1024.0);
                             }));
}

/// The figures of the only channel of a file.
nlohmann::json FiguresOf(const TempFolder& folder, const std::string& file) {
    return RunJson(folder, "kvx info " + file)["records"][0]["channels"][0];
}

TEST(Temperatures, AreFilteredAndAnalysedAsDifferences) {
    const TempFolder folder;
    const std::pair<const char*, double> units[] = {{"\u00B0C", 1.0}, {"degF", 1.0 / 1.8}, {"K", 1.0}};
    for (const auto& [unit, kelvin] : units) {
        MakeOven(folder, unit);
        const bool hasZero = std::string(unit) != "K";
        const std::string own = hasZero ? unit[0] == 'd' ? "\u00B0F" : "\u00B0C" : "K";
        const auto psd = RunJson(folder, "kvx psd oven.csv --rate 1024 --from 32 --block 1024")["records"][0];
        EXPECT_EQ(psd["channels"][0]["levelUnit"], "K2/Hz");
        EXPECT_NEAR(psd["channels"][0]["rms"], kelvin * M_SQRT1_2, 1e-6);
        const auto all = RunJson(folder, "kvx psd oven.csv --rate 1024 --window rectangular")["records"][0];
        EXPECT_NEAR(all["channels"][0]["rms"], kelvin * std::sqrt(400.5), 1e-6)
            << "from the zero of the unit";
        RunWell(folder, "kvx spectrum oven.csv --rate 1024 --block 1024 -o lines.csv");
        EXPECT_THAT(folder.Read("lines.csv"), HasSubstr("oven [K]"));
        // What leaves a level is one again; what leaves none is a difference.
        const std::string commands[] = {"filter oven.csv --rate 1024 --lowpass 5 --ends hold",
                                        "filter oven.csv --rate 1024 --butterworth lp 4 5 --ends hold",
                                        "resample oven.csv --input-rate 1024 --down 20 --ends hold"};
        for (const std::string& command : commands) {
            RunWell(folder, "kvx " + command + " -o out.vdf2");
            EXPECT_NEAR(FiguresOf(folder, "out.vdf2")["mean"], 20.0, 0.05) << command << unit;
            EXPECT_EQ(RunJson(folder, "kvx info out.vdf2")["records"][0]["unit"], own);
        }
        RunWell(folder, "kvx filter oven.csv --rate 1024 --highpass 5 --ends hold -o out.vdf2");
        EXPECT_NEAR(FiguresOf(folder, "out.vdf2")["mean"], 0.0, 0.05) << unit;
        EXPECT_NEAR(FiguresOf(folder, "out.vdf2")["rms"], kelvin * M_SQRT1_2, 0.01);
        EXPECT_EQ(RunJson(folder, "kvx info out.vdf2")["records"][0]["unit"], "K");
        // From nothing is from the zero of the unit, not from the absolute one.
        RunWell(folder, "kvx filter oven.csv --rate 1024 --lowpass 5 --ends zeros -o out.vdf2");
        EXPECT_GE(FiguresOf(folder, "out.vdf2")["min"].get<double>(), -1.0) << unit;
    }
}

TEST(Decibels, PassThroughAndAreNotCalculatedWith) {
    const TempFolder folder;
    folder.Write("level.csv", "level [dB]\n" + Table(64, [](std::ostream& out, int i) { out << -40 + i; }));
    for (const char* command :
         {"psd level.csv --block 16", "spectrum level.csv --block 16",
          "spectrogram level.csv -o x.svg --block 16", "filter level.csv -o x.csv --lowpass 1",
          "filter level.csv -o x.csv --butterworth lp 2 1", "calibrate level.csv --level '1 g'"}) {
        const ToolResult result = RunShell(folder, std::string("kvx ") + command + " --rate 64");
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_THAT(result.err,
                    HasSubstr("channel 'level' is in 'dB', a logarithm, which is neither filtered nor "
                              "averaged; convert it to '%' first"));
    }
    EXPECT_THAT(RunShell(folder, "kvx resample level.csv -o x.csv --input-rate 64 --down 2").err,
                HasSubstr("'dB', a logarithm"));
    EXPECT_EQ(folder.Count(), 1U);
    RunWell(folder, "kvx import level.csv -o level.vdf2 --rate 64");
    EXPECT_NEAR(FiguresOf(folder, "level.vdf2")["min"], -40, 1e-12);
    EXPECT_NEAR(FiguresOf(folder, "level.vdf2")["max"], 23, 1e-12);
    RunWell(folder, "kvx plot level.vdf2 -o level.svg && kvx edit level.vdf2 -o ratio.vdf2 --to-unit %");
    EXPECT_NEAR(FiguresOf(folder, "ratio.vdf2")["min"], 1.0, 1e-12) << "percent";
    RunWell(folder, "kvx resample ratio.vdf2 -o slow.vdf2 --down 2");
}

TEST(Psd, TellsTheMotionBehindAnAcceleration) {
    const TempFolder folder;
    MakeCosine(folder, 4096, 64);
    const nlohmann::json motion = RunJson(
        folder, "kvx psd c.vdf2 --window rectangular --cutoff 5")["records"][0]["channels"][0]["motion"];
    const double omega = 2 * M_PI * 64;
    EXPECT_EQ(motion["fromHz"], 5.0);
    EXPECT_NEAR(motion["acceleration"].get<double>(), M_SQRT1_2, 1e-12);
    EXPECT_NEAR(motion["velocity"].get<double>(), 1000 * kGravity * M_SQRT1_2 / omega, 1e-12);
    EXPECT_NEAR(motion["displacement"].get<double>(), 1000 * kGravity * M_SQRT1_2 / omega / omega, 1e-14);
    EXPECT_THAT(RunWell(folder, "kvx psd c.vdf2 --window rectangular"),
                HasSubstr("motion from 1 Hz on, rms\n"
                          "  channel  name  acceleration     velocity        displacement\n"
                          "        1  ch1       0.707107  g   17.2443  mm/s     0.0428831  mm\n"));
    RunWell(folder, "kvx import c.txt -o n.vdf2 --rate 1024 --unit N");
    EXPECT_FALSE(RunJson(folder, "kvx psd n.vdf2")["records"][0]["channels"][0].contains("motion"));
    EXPECT_FALSE(RunJson(folder, "kvx psd c.vdf2 --to 0.5")["records"][0]["channels"][0].contains("motion"));
}

TEST(Peaks, HaveTheWidthOfTheWindowAndMayHaveNone) {
    const TempFolder folder;
    MakeCosine(folder, 4096, 64);
    for (const char* command : {"kvx psd", "kvx spectrum"}) {
        const nlohmann::json peaks =
            RunJson(folder, std::string(command) + " c.vdf2 --peaks 1")["records"][0]["channels"][0]["peaks"];
        ASSERT_EQ(peaks.size(), 1U);
        EXPECT_EQ(peaks[0]["hz"], 64.0);
        // The lines beside it have half the amplitude: down to 1/sqrt 2 it is 2 - sqrt 2 of a line on each
        // side.
        EXPECT_NEAR(peaks[0]["q"].get<double>(), 64 / (4 - 2 * M_SQRT2), 1e-9) << command;
    }
    // Impulses have an amplitude of 1 on all lines, above which a cosine stands out by a fifth.
    folder.Write("flat.txt", Table(64, [](std::ostream& out, int i) {
                     out << (i % 16 == 0 ? 8 : 0) + 0.2 * std::cos(M_PI * (i % 16) / 4);
                 }));
    RunWell(folder, "kvx import flat.txt -o flat.vdf2 --rate 16");
    const std::string flat = "kvx spectrum flat.vdf2 --block 16 --window rectangular --peaks 1";
    const nlohmann::json peak = RunJson(folder, flat)["records"][0]["channels"][0]["peaks"][0];
    EXPECT_EQ(peak["hz"], 2.0);
    EXPECT_NEAR(peak["level"].get<double>(), 1.2, 1e-14);
    EXPECT_TRUE(peak["q"].is_null());
}

TEST(Xfr, FindsADelayAndAGainAcrossRecords) {
    const TempFolder folder;
    std::uint32_t seed = 1;
    std::vector<double> period(64);
    for (double& x : period) x = (seed = seed * 1664525U + 1013904223U) * 0x1p-32;
    folder.Write("in.csv", "top [g],hammer [N],base [g]\n" + Table(256, [&](std::ostream& out, int i) {
                               const double x = period[static_cast<std::size_t>(i % 64)];
                               out << 3 * period[static_cast<std::size_t>((i + 63) % 64)] << "," << x << ","
                                   << -x;
                           }));
    RunWell(folder, "kvx import in.csv -o in.vdf2 --rate 64");
    const std::string xfr = "kvx xfr in.vdf2 -o h.vdf2 --block 64 --window rectangular --reference hammer ";
    const nlohmann::json report = RunJson(folder, xfr + "--at 0,1,16,31");
    EXPECT_EQ(report["blocks"], 7);
    EXPECT_EQ(report["reference"]["unit"], "N");
    ASSERT_EQ(report["responses"].size(), 2U);
    EXPECT_EQ(report["responses"][0]["unit"], "g/N");
    for (const nlohmann::json& line : report["responses"][0]["at"]) {
        const double angle = 2 * M_PI * line["hz"].get<double>() / 64;
        EXPECT_NEAR(line["real"].get<double>(), 3 * std::cos(angle), 1e-12) << line;
        EXPECT_NEAR(line["imaginary"].get<double>(), -3 * std::sin(angle), 1e-12) << line;
        EXPECT_NEAR(line["phase"].get<double>(), -angle * 180 / M_PI, 1e-10) << line;
        EXPECT_NEAR(line["coherence"].get<double>(), 1.0, 1e-12) << line;
    }
    EXPECT_NEAR(report["responses"][1]["largest"]["real"].get<double>(), -1.0, 1e-12);

    const nlohmann::json stored = RunJson(folder, "kvx info h.vdf2")["records"];
    ASSERT_EQ(stored.size(), 2U);
    EXPECT_EQ(stored[0]["type"], "complex spectrum");
    EXPECT_EQ(stored[0]["unit"], "g/N");
    EXPECT_NEAR(stored[0]["channels"][0]["peak"].get<double>(), 3.0, 1e-12);
    EXPECT_EQ(stored[1]["type"], "real spectrum");
    EXPECT_EQ(stored[1]["unit"], "-");
    EXPECT_NEAR(stored[1]["channels"][1]["min"].get<double>(), 1.0, 1e-12);

    // A response and its coherence have one name.
    const std::string byName = "kvx export h.vdf2 -o - --channels base";
    EXPECT_THAT(RunShell(folder, byName).err, HasSubstr("are all called 'base'; choose by number"));
    EXPECT_THAT(RunShell(folder, byName + " --record 1").out, HasSubstr("base re [g/N]"));
    EXPECT_THAT(RunShell(folder, byName + " --record 2").out, HasSubstr("frequency [Hz],base [-]\n"));
    EXPECT_THAT(RunShell(folder, "kvx export h.vdf2 -o - --channels 2 --record 2").err,
                HasSubstr("channel 2 is in record 1, not in record 2"));

    RunWell(
        folder,
        "sed 's/ .N.//; s/base .g./base/' in.csv > plain.csv; kvx import plain.csv -o plain.vdf2 --rate 64");
    const nlohmann::json plain =
        RunJson(folder, "kvx xfr plain.vdf2 --block 64 --reference hammer")["responses"];
    EXPECT_EQ(plain[0]["unit"], "g");
    EXPECT_EQ(plain[1]["unit"], "-");
    EXPECT_THAT(RunShell(folder, "kvx xfr in.vdf2 --block 256").err, HasSubstr("single block is always 1"));
}

/// A table of noise in two units, sampled at 512 Hz.
std::string NoiseTable(int count) {
    std::uint32_t seed = 7;
    return "hammer [N],top [g],base [N],side [g]\n" + Table(count, [&](std::ostream& out, int) {
               for (const char* end : {",", ",", ",", ""})
                   out << (seed = seed * 1664525U + 1013904223U) * 0x1p-32 - 0.5 << end;
           });
}

TEST(Analyses, TakeAnyRecordingAndGiveTheSameBitsOnAnyNumberOfThreads) {
    const TempFolder folder;
    folder.Write("in.csv", NoiseTable(3000));
    RunWell(folder, "kvx import in.csv -o in.vdf2 --rate 512 --text in.csv");
    for (const std::string command : {"psd --overlap 75", "spectrum", "spectrum --complex --start 1.3",
                                      "xfr --reference top", "xfr --reference base --response side,top"}) {
        const auto lines = [&](const std::string& before, const std::string& input) {
            const ToolResult result =
                RunShell(folder, before + "kvx " + command + " " + input + " --block 256 -o -");
            EXPECT_EQ(result.status, 0) << command << result.err;
            return result.out;
        };
        const std::string expected = lines("", "in.vdf2");
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(lines("KVX_THREADS=1 ", "in.vdf2"), expected) << command;
        EXPECT_EQ(lines("KVX_THREADS=5 ", "in.vdf2"), expected) << command;
        EXPECT_TRUE(lines("", "in.csv --rate 512") == expected) << command;
    }
    EXPECT_EQ(RunWell(folder, "cat in.csv | kvx psd - --rate 512"),
              RunWell(folder, "kvx psd in.csv --rate 512 --unit N,g,N,g"));
    const std::string draw = "kvx spectrogram --block 256 -o x.svg --unit m/s2 ";
    RunWell(folder, "KVX_THREADS=1 " + draw + "in.vdf2 --record 2");
    const std::string picture = folder.Read("x.svg");
    RunWell(folder, "KVX_THREADS=3 " + draw + "in.csv --channels top,side --rate 512 --input-unit g");
    EXPECT_EQ(folder.Read("x.svg"), picture);
    EXPECT_THAT(RunShell(folder, "kvx psd in.vdf2 --rate 1").err,
                HasSubstr("a data file knows its rate, units and names"));
}

TEST(Analyses, OfOneBlockReadNoMore) {
    const TempFolder folder;
    CComDataWave wave(0.25, 1, 1, 64, 0, CUnitCtrl(), nullptr, nullptr);
    wave.Init();  // no sample holds a value
    for (int i = 16; i < 32; ++i) wave.GetReal(0, 0)[i] = 3.0;
    const kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L""), {wave}};
    ASSERT_TRUE(CComDataFile::StoreDataFile((folder / "d.vdf2").wstring().c_str(), content));
    const std::string spectrum = "kvx spectrum d.vdf2 --block 16 --window rectangular ";
    const nlohmann::json record = RunJson(folder, spectrum + "--complex --start 4 --to 0.1")["records"][0];
    EXPECT_NEAR(record["channels"][0]["highestLevel"].get<double>(), 3.0, 1e-12);
    EXPECT_THAT(RunShell(folder, spectrum + "--complex --start 3").err,
                HasSubstr("sample 13 of channel 'Data-Row-001' holds no value"));
    EXPECT_THAT(RunShell(folder, spectrum).err, HasSubstr("sample 1 of channel"));
}

/// The screening profile of NAVMAT P-9492, whose rms is given as 6.06 g.
class Profile : public testing::Test {
protected:
    Profile() { folder_.Write("p.txt", kText); }
    std::string Run(const std::string& options) const {
        return RunWell(folder_, "kvx profile p.txt " + options);
    }

    static constexpr char kText[] = "unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n";
    TempFolder folder_;
};

TEST_F(Profile, HasTheKnownRmsAndStaysAsItIs) {
    EXPECT_THAT(
        Run("--level-at 10,40,200 -o q.txt"),
        testing::StartsWith("4 breakpoints from 20 Hz to 2000 Hz, rms 6.05818 g\n"
                            "   10  Hz     0  g2/Hz\n   40  Hz  0.02  g2/Hz\n  200  Hz  0.04  g2/Hz\n"));
    EXPECT_EQ(folder_.Read("q.txt"), kText);
}

TEST_F(Profile, SetsTheBandsThenMultipliesThemThenScales) {
    EXPECT_THAT(Run("--band-ratio 100,140,0.25 --band 100,140,0.4 --level-at 90,120"),
                HasSubstr("   90  Hz  0.04  g2/Hz\n  120  Hz   0.1  g2/Hz\n"));
    EXPECT_THAT(Run("--band 100,140,0.4 --scale-rms 5"), HasSubstr("rms 5 g\n"));
}

TEST_F(Profile, IsScaledAndPutOnLines) {
    const std::string report = Run("--scale-rms 3 --lines 2,1024 -o l.vdf2");
    EXPECT_THAT(report, HasSubstr("rms 3 g\n1024 lines 2 Hz apart, rms 3 g\n"));
    const nlohmann::json record = RunJson(folder_, "kvx info l.vdf2")["records"][0];
    EXPECT_EQ(record["unit"], "g2/Hz");
    EXPECT_EQ(record["axis"]["delta"], 2.0);
    EXPECT_NEAR(record["channels"][0]["mean"].get<double>(), 9.0 / 2048, 1e-12);
    Run("--scale-rms 3 --lines 2,1024 -o l.txt");
    EXPECT_THAT(RunWell(folder_, "kvx profile l.txt"), HasSubstr("991 breakpoints from 20 Hz to 2000 Hz"));
}

TEST_F(Profile, TellsTheMotionOfAnAcceleration) {
    // 1 g2/Hz from 10 Hz to 1000 Hz: G g/(2 pi) sqrt(1/10 - 1/1000) m/s and g/(2 pi)^2 sqrt((1e-3 - 1e-9)/3)
    // m.
    folder_.Write("p.txt", "unit g2/Hz\n10 1\n1000 1\ntolerance +3 none dB 10 50\n");
    EXPECT_EQ(Run("--sigma 2"),
              "2 breakpoints from 10 Hz to 1000 Hz, rms 31.4643 g\n"
              "tolerance +3 dB, none from 10 Hz to 50 Hz\n"
              "  motion            rms        peak at 2 sigma\n"
              "  acceleration  31.4643  g             62.9285  g\n"
              "  velocity      491.087  mm/s          982.174  mm/s\n"
              "  displacement  4.53524  mm            9.07048  mm\n");
    folder_.Write("p.txt", "unit N2/Hz\n10 1\n1000 1\n");
    EXPECT_THAT(Run(""), testing::Not(HasSubstr("motion")));
}

class Compare : public Profile {
protected:
    Compare() {
        folder_.Write("p.txt", std::string(kText) + "tolerance +3 -3 dB\nabort +6 -6 dB\n");
        RunWell(folder_, "kvx synth p.txt -o r.vdf2 --rate 8192 --duration 60");
    }
};

TEST_F(Compare, FindsThatAWaveformHasItsDensity) {
    const nlohmann::json channel = RunJson(folder_, "kvx compare p.txt r.vdf2 --block 2048")["channels"][0];
    EXPECT_NEAR(channel["targetRms"], 6.05818, 1e-5);
    EXPECT_NEAR(channel["measuredRms"], 6.058, 0.05);
    EXPECT_EQ(channel["rmsUnit"], "g");
    EXPECT_EQ(channel["lines"], 494) << "24 Hz to 1996 Hz, 4 Hz apart";
    EXPECT_EQ(channel["bands"].size(), 3U);
    EXPECT_EQ(channel["verdict"], "within");
}

TEST_F(Compare, FindsTheSameOfStoredDensitiesOfAnyFormat) {
    const nlohmann::json own = RunJson(folder_, "kvx compare p.txt r.vdf2")["channels"][0];
    for (const std::string file : {"d.vdf2", "d.csv", "d.uff"}) {
        RunWell(folder_, "kvx psd r.vdf2 -o " + file);
        const nlohmann::json channel = RunJson(folder_, "kvx compare p.txt " + file)["channels"][0];
        EXPECT_EQ(channel["blocks"], 0);
        EXPECT_NEAR(channel["difference"], own["difference"], 1e-6) << file;
        EXPECT_EQ(channel["highest"]["hz"], own["highest"]["hz"]) << file;
    }
    // Without the lines below 100 Hz there is nothing to say of them.
    RunWell(folder_, "kvx export d.vdf2 -o e.vdf2 --start 100");
    EXPECT_THAT(RunShell(folder_, "kvx compare p.txt e.vdf2").err,
                HasSubstr("its lines tell of 100 Hz on, not of all from 20 Hz on"));
}

TEST_F(Compare, TellsByTheStatusWhatIsOutsideTheLimits) {
    folder_.Write("half.txt", "unit g2/Hz\n20 0.005\n80 0.02\n350 0.02\n2000 0.0035\ntolerance +2 -2\n");
    struct Case {
        const char* options;
        int status;
        const char* out;
    };
    // clang-format off
    const Case cases[] = {
        {"p.txt r.vdf2", 0, "within"},
        {"half.txt r.vdf2", 3, "247 of 247  out of tolerance"},
        {"half.txt r.vdf2 --allow 100", 0, "247 of 247   within"},
        {"half.txt r.vdf2 --judge-bands --bands 20,2000", 3, "1 of 1  out of tolerance"},
        {"half.txt r.vdf2 r.vdf2", 3, "out of tolerance"},
        {"half.txt r.vdf2 gone.vdf2", 1, "out of tolerance"},
    };
    // clang-format on
    for (const auto& [options, status, out] : cases) {
        const ToolResult result = RunShell(folder_, std::string("kvx compare ") + options);
        EXPECT_EQ(result.status, status) << options;
        EXPECT_THAT(result.out, HasSubstr(out)) << options;
        EXPECT_EQ(result.err.find("kvx: outside the limits: ") != std::string::npos, status == 3) << options;
    }
    folder_.Write("free.txt", "20 1\n100 1\n");
    EXPECT_THAT(RunShell(folder_, "kvx compare free.txt r.vdf2").err,
                HasSubstr("note: the profile has no limits"));
}

TEST_F(Compare, RefusesWhatCannotBeCompared) {
    folder_.Write("newton.txt", "unit N2/Hz\n20 1\n100 1\n");
    const std::pair<const char*, const char*> cases[] = {
        {"newton.txt r.vdf2", "the profile is in N2/Hz, channel 'random' in g2/Hz"},
        {"p.txt r.vdf2 --bands 20",
         "channel 'random': bands need two rising edges or more from 20 Hz to 2000 Hz"},
        {"p.txt r.vdf2 --block 64", "the lines tell of 64 Hz to 4032 Hz, not of all from 20 Hz to 2000 Hz"},
        {"p.txt r.vdf2 --allow 101", "the share that may be out of tolerance is from 0 % to 100 %"},
        {"- - < p.txt", "standard input can be only one of the inputs"},
    };
    for (const auto& [options, sentence] : cases) {
        const ToolResult result = RunShell(folder_, std::string("kvx compare ") + options);
        EXPECT_EQ(result.status, 1) << options;
        EXPECT_THAT(result.err, HasSubstr(sentence)) << options;
    }
}

}  // namespace
