// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Version.h>

#include "ToolRun.h"
#include "cli/Format.h"
#include "cli/Help.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// The bytes of a settings file: a header of its kind and something behind it.
std::string SettingsFile() {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    CComHdr header(CComHdr::EXT_INFO_GRAPH_COLOR, L"colours");
    header.Serialize(archive);
    return {reinterpret_cast<const char*>(stream.Bytes().data()), stream.Bytes().size()};
}

/// `count` samples of a sine of amplitude 2 with eight samples per period, one per line.
std::string SineTable(int count) {
    std::ostringstream text;
    text.precision(17);
    for (int i = 0; i < count; ++i) text << 2.0 * std::sin(M_PI * i / 4.0) << "\n";
    return text.str();
}

class Help : public testing::TestWithParam<const char*> {};

TEST_P(Help, EndsWithAnExampleThatWorks) {
    const TempFolder folder;
    const std::string help = RunWell(folder, std::string("kvx ") + GetParam() + " --help");
    const std::size_t example = help.find("\nExample:\n");
    ASSERT_NE(example, std::string::npos) << help;
    const std::string script = help.substr(help.find('\n', example + 1) + 1);
    ASSERT_THAT(script, HasSubstr(std::string("  kvx ") + GetParam() + " "));
    // What a format leaves out is noted.
    RunWell(folder, "set -e; exec 3>&2 2>notes\n" + script + "\ngrep -v '^kvx: note: ' notes >&3 || true");
}

INSTANTIATE_TEST_SUITE_P(Commands, Help,
                         testing::Values("import", "info", "psd", "spectrum", "export", "synth", "units",
                                         "kinds", "units convert", "show-value", "folders", "xfr", "filter",
                                         "resample", "profile", "plot", "spectrogram", "convert", "merge",
                                         "edit", "formats", "srs", "shock", "pulse"));

TEST(HelpText, PartsTheOptionsByWhatTheyAreFor) {
    const TempFolder folder;
    const std::string help = RunWell(folder, "kvx psd --help");
    std::size_t last = 0;
    for (const char* title :
         {"Positionals:\n  FILE ... REQUIRED", "\n\nOptions:\n", "\n\nPart of the recording:\n",
          "\n\nWhat a file does not say:\n", "\n\nHow a text table is written:\n"}) {
        EXPECT_NE(help.find(title, last), help.npos) << title;
        last = std::min(help.find(title, last), help.size());
    }
    EXPECT_EQ(help.find("\n\n\n"), help.npos);
    EXPECT_EQ(help, RunWell(folder, "kvx help psd"));
}

TEST(HelpText, FillsTheTerminal) {
    EXPECT_EQ(kvx::tool::HelpFooter("", "\n1\n  2\n"), "Example:\n  1\n    2");
    const TempFolder folder;
    const auto widest = [&](const std::string& columns) {
        std::istringstream help(RunWell(folder, columns + " kvx profile --help"));
        std::size_t width = 0;
        for (std::string line; std::getline(help, line) && line != "Example:";)
            width = std::max(width, line.size());
        return width;
    };
    const std::pair<const char*, std::size_t> cases[] = {
        {"COLUMNS=10", 60}, {"COLUMNS=90", 90}, {"COLUMNS=999", 120}, {"env -u COLUMNS", 80}};
    for (const auto& [columns, width] : cases) {
        EXPECT_LE(widest(columns), width) << columns;
        EXPECT_GT(widest(columns), width - 10) << columns;
    }
}

struct WrongCase {
    const char* command;
    int status;
    const char* sentence;
};

void PrintTo(const WrongCase& wrong, std::ostream* out) {
    *out << wrong.command;
}

/// Wrong inputs and wrong usage, in a folder that holds one of each file that is needed to go wrong.
class WrongUse : public testing::TestWithParam<WrongCase> {};

TEST_P(WrongUse, IsToldInOneSentenceAndLeavesNothingBehind) {
    const TempFolder folder;
    folder.Write("a.csv", "a\n1\n2\n3\n4\n");
    folder.Write("bad.csv", "a,b\n1,2\n3,abc\n");
    folder.Write("empty.csv", "");
    folder.Write("broken.wav", std::string("RIFF\x24\0\0\0WAVEfmt ", 16));
    folder.Write("settings.gci2", SettingsFile());
    folder.Write("profile.txt", "20 1\n100 1\n");
    folder.Write("high.txt", "unit g2/Hz\n20 1e307\n80 1e307\n");
    folder.Write("low.txt", "20 1e-320\n80 1e-320\n");
    folder.Write("slow.txt", "1e-9 1\n2e-9 1\n");
    folder.Write("huge.csv", "a\n1e200\n1\n-1e200\n1\n");
    std::filesystem::create_directory(folder / "dir");
    RunWell(folder, "kvx import a.csv -o a.vdf2 --rate 4 --unit g");
    RunWell(folder, "kvx import huge.csv -o huge.vdf2 --rate 4; kvx psd a.vdf2 --block 2 -o psd.vdf2");
    RunWell(folder, "head -c 900 a.vdf2 > short.vdf2; head -c 640 a.vdf2 > header.vdf2");
    std::string bad = folder.Read("a.vdf2");
    bad[644] = 99;  // the mode of the record
    folder.Write("bad.vdf2", bad);
    const std::string before = folder.Read("a.vdf2");
    const std::size_t files = folder.Count();

    const ToolResult result = RunShell(folder, GetParam().command);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_THAT(result.err, testing::MatchesRegex("kvx: [^\n]*\n"));
    EXPECT_THAT(result.err, StartsWith(std::string("kvx: ") + GetParam().sentence));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(folder.Read("a.vdf2"), before);
    EXPECT_EQ(folder.Count(), files);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Commands, WrongUse, testing::Values(
    WrongCase{"kvx", 2, "a command is missing; see 'kvx --help'"},
    WrongCase{"kvx nonsense a.csv", 2, "there is no command 'nonsense'; see 'kvx --help'"},
    WrongCase{"kvx fft a.csv", 2, "there is no command 'fft' (did you mean 'spectrum'?); see 'kvx --help'"},
    WrongCase{"kvx a.csv", 2, "there is no command 'a.csv'; 'kvx info a.csv' tells what the file holds; see 'kvx --help'"},
    WrongCase{"kvx imprt a.csv", 2, "there is no command 'imprt' (did you mean 'import'?); see 'kvx --help'"},
    WrongCase{"kvx units convrt 1 g m/s2", 2, "there is no command 'units convrt' (did you mean 'convert'?); see"},
    WrongCase{"kvx --versoin", 2, "there is no option '--versoin' (did you mean '--version'?); see 'kvx --help'"},
    WrongCase{"kvx plot --nonsense", 2, "there is no option '--nonsense'; see 'kvx plot --help'"},
    WrongCase{"kvx plot a.vdf2 --dip=3", 2, "there is no option '--dip' (did you mean '--dpi' or '--skip'?); see"},
    WrongCase{"kvx synth a.csv b.csv -o x.csv", 2, "the argument 'b.csv' is one too many; see 'kvx synth --help'"},
    WrongCase{"kvx info bad.vdf2", 1, "cannot read 'bad.vdf2': record 1: it is empty or damaged\n"},
    WrongCase{"kvx synth -o x.csv -- a.csv --b", 2, "the argument '--b' is one too many; see 'kvx synth --help'"},
    WrongCase{"kvx info", 2, "FILE is required; see 'kvx info --help'"},
    WrongCase{"kvx info a.vdf2 --jsn", 2, "there is no option '--jsn' (did you mean '--json'?)"},
    WrongCase{"kvx import bad.csv -o x.vdf2", 1, "cannot import 'bad.csv': line 3, column 2: 'abc' is not a number\n"},
    WrongCase{"kvx import none.csv -o x.vdf2", 1, "cannot import 'none.csv': the file does not exist\n"},
    WrongCase{"kvx import dir -o x.vdf2", 1, "cannot import 'dir': it is a folder\n"},
    WrongCase{"kvx import empty.csv -o x.vdf2", 1, "cannot import 'empty.csv': the file is empty\n"},
    WrongCase{"kvx import broken.wav -o x.vdf2", 1, "cannot import 'broken.wav': it is a damaged sound file"},
    WrongCase{"kvx import a.vdf2 -o x.vdf2", 1, "cannot import 'a.vdf2': it is a data file; 'kvx convert' takes those, too\n"},
    WrongCase{"kvx import /dev/zero -o x.vdf2", 1, "cannot import '/dev/zero': it is no text and of none"},
    WrongCase{"kvx import a.csv -o x.vdf2", 1, "cannot import 'a.csv': it has neither a rate nor a time column; give the sampling rate"},
    WrongCase{"kvx import broken.wav -o x.vdf2 --encoding gbk", 1, "cannot import 'broken.wav': --encoding is for texts\n"},
    WrongCase{"printf 'RIFF1234WAVE' | kvx import /dev/stdin -o x.vdf2", 1,
              "cannot import '/dev/stdin': it is a WAV file, which is not read from a pipe\n"},
    WrongCase{"kvx export a.vdf2 -o - --as wav --samples pcm16 --full-scale 4 2>/dev/null | head -c -4 | kvx import - -o x.vdf2", 1,
              "cannot import standard input: it is cut short: 4 of the 8 bytes of samples that its header states are there; "
              "--partial takes those\n"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 0", 1, "--rate: '0' is not a number above 0"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate=-5", 1, "--rate: '-5' is not a number above 0"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate nan", 1, "--rate: 'nan' is not a number above 0"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --unit m/s3", 1, "'m/s3' is not a unit (did you mean "},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --unit g,g", 1, "cannot import 'a.csv': --unit gives 2 values for 1 channel"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --spacing 1", 1, "cannot import 'a.csv': --rate and --spacing both state how far apart"},
    WrongCase{"kvx import a.csv -o x.vdf2 --separator semicolo", 1, "--separator: there is no 'semicolo' (did you mean 'semicolon'?)"},
    WrongCase{"kvx import a.csv -o x.vdf2 --skip 1.5", 1, "--skip: '1.5' is not a whole number"},
    WrongCase{"kvx import a.csv -o x.vdf2 --time b", 1, "cannot import 'a.csv': --time: no column is called 'b'\n"},
    WrongCase{"kvx psd a.vdf2 --missing NA", 1, "cannot analyse 'a.vdf2': a data file knows its rate"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --name a,b", 1, "cannot import 'a.csv': --name gives 2 names for 1 channel"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --channels 2", 1,
              "cannot import 'a.csv': there is no channel '2' among its 1 channel\n"},
    WrongCase{"kvx import a.csv -o a.csv --rate 1", 1, "the output 'a.csv' is the input file"},
    WrongCase{"kvx import a.csv -o none/x.vdf2 --rate 1", 1, "cannot write 'none/x.vdf2': its folder does not exist\n"},
    WrongCase{"kvx merge a.vdf2 a.vdf2 -o dir", 1, "cannot write 'dir': it is a folder\n"},
    WrongCase{"kvx import a.csv -o /dev/full --rate 1", 1, "cannot write '/dev/full': the disk is full\n"},
    WrongCase{"ulimit -f 1; kvx import a.csv -o x.vdf2 --rate 1", 1, "cannot write 'x.vdf2': the disk is full\n"},
    WrongCase{"kvx import a.csv -o x.vdf2 --rate 1 --full-scale 2", 1, "cannot import 'a.csv': --full-scale is for sound"},
    WrongCase{"kvx info a.csv", 1, "cannot read 'a.csv': it has neither a rate nor a time column; give the sampling rate with --rate\n"},
    WrongCase{"kvx info short.vdf2", 1, "cannot read 'short.vdf2': record 1: the file ends too early\n"},
    WrongCase{"kvx info header.vdf2", 1, "cannot read 'header.vdf2': it has a header but no record\n"},
    WrongCase{"kvx info a.vdf2 > /dev/full", 1, "cannot write to standard output: the disk is full\n"},
    WrongCase{"kvx kinds --help > /dev/full", 1, "cannot write to standard output: the disk is full\n"},
    WrongCase{"kvx psd settings.gci2", 1, "cannot analyse 'settings.gci2': it is not a vibration data file\n"},
    WrongCase{"kvx psd a.vdf2", 1, "cannot analyse 'a.vdf2': a block of 1024 is more than its 4 samples; choose a smaller"},
    WrongCase{"kvx psd a.vdf2 --block 3", 1, "--block: 3 is not a power of two from 2 to 4194304"},
    WrongCase{"kvx psd a.vdf2 --block 4 --overlap 100", 1, "--overlap: 100 % leaves no step between blocks of 4"},
    WrongCase{"kvx psd a.vdf2 --block 4 --overlap nan", 1, "--overlap: 'nan' is not a number"},
    WrongCase{"kvx psd a.vdf2 --block 4 --window hat", 1, "--window: there is no 'hat', only hann, "},
    WrongCase{"kvx psd a.vdf2 --block 4 --from 3", 1, "cannot analyse 'a.vdf2': no line of it, 1 Hz apart up to 1 Hz, lies"},
    WrongCase{"kvx psd a.vdf2 --record 2", 1, "cannot analyse 'a.vdf2': it has no record 2, only 1 record\n"},
    WrongCase{"kvx spectrum a.vdf2 --block 4 --start 1", 1,
              "cannot analyse 'a.vdf2': record 1 has no sample from 1 s on; it reaches from 0 s to 0.75 s\n"},
    WrongCase{"kvx spectrum a.vdf2 --block 4 --start 0.5 --complex", 1, "cannot analyse 'a.vdf2': a block of 4 is more than its 2 samples"},
    WrongCase{"kvx info a.vdf2 --start 2 --end 1", 1, "cannot read 'a.vdf2': --end 1 is not above --start 2\n"},
    WrongCase{"kvx info a.vdf2 --rate 2", 1, "cannot read 'a.vdf2': a data file knows its rate, units and names"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --rate 2", 1, "cannot read 'a.vdf2': a data file knows its rate, units and names"},
    WrongCase{"kvx psd a.vdf2 --block 4 --to 0.5 --cutoff 1", 1, "cannot analyse 'a.vdf2': no line of the band, which ends at 0 Hz"},
    WrongCase{"kvx psd a.vdf2 --block 4 --window han", 1, "--window: there is no 'han' (did you mean 'hann'?); see"},
    WrongCase{"kvx xfr a.vdf2 --block 4", 1, "cannot analyse 'a.vdf2': it has no channel but the reference\n"},
    WrongCase{"kvx xfr a.vdf2 --block 4 --response 1", 1, "cannot analyse 'a.vdf2': channel 'a' is the reference, not a response\n"},
    WrongCase{"kvx xfr a.vdf2 --block 4 --reference x --response y", 1, "cannot analyse 'a.vdf2': there is no channel 'x' among its 1 channel"},
    WrongCase{"kvx xfr a.vdf2 --block 4 --at 1.5", 1, "cannot analyse 'a.vdf2': its last line is at 1 Hz, not at 1.5 Hz\n"},
    WrongCase{"kvx xfr a.vdf2 --at 1,x", 1, "'x' is not a number"},
    WrongCase{"kvx plot a.vdf2", 2, "--output is required"},
    WrongCase{"kvx plot a.vdf2 -o x.gif", 1, "the output 'x.gif' does not end with .svg, "},
    WrongCase{"kvx plot a.csv -o x.svg", 1, "cannot read 'a.csv': it has neither a rate nor a time column; give the sampling rate with --rate\n"},
    WrongCase{"kvx plot a.vdf2 -o none/x.svg", 1, "cannot write 'none/x.svg': its folder does not exist\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --size 0x9", 1, "cannot write 'x.svg': the picture would be too small or too large\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --size big", 1, "--size: 'big' is no size such as 800x500"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --unit N", 1, "cannot draw 'a.vdf2': no channel has a unit that converts to 'N'\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --x 2,1", 1, "--x: 2 is not below 1"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --x 1", 1, "--x: '1' is not FROM,TO"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --y 1,", 1, "--y needs both bounds"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --y 0,1 --y-scale log", 1, "--y: a logarithmic axis needs bounds above 0"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --x 9,", 1,
              "cannot draw 'a.vdf2': --x shows none of its samples, which reach from 0 s to 0.75 s\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --show nyqist", 1, "--show: there is no 'nyqist' (did you mean 'nyquist'?)"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --profile profile.txt", 1, "cannot draw 'profile.txt': no density to be drawn is of its unit\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --settings a.csv", 1, "cannot read 'a.csv': it holds no graph settings\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --settings none", 1, "cannot read 'none': the file does not exist\n"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --store-settings none/x.gci2", 1, "cannot write 'none/x.gci2': it cannot be written\n"},
    WrongCase{"kvx spectrogram a.vdf2 -o x.svg", 1, "cannot analyse 'a.vdf2': a block of 1024 is more than its 4 samples"},
    WrongCase{"kvx spectrogram a.vdf2 -o x.svg --waterfall --slices 300", 1, "--slices: at most 255 slices can be drawn"},
    WrongCase{"kvx spectrogram a.vdf2 -o x.svg --block 4 --unit N", 1, "cannot analyse 'a.vdf2': no channel has a unit that converts to 'N'\n"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2", 2, "one of --lowpass, --highpass, --bandpass, --bandstop, --notch, --peak, --butterworth, --fir and --fir-set is required"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --highpass 1.5", 1, "--lowpass 1 lies below --highpass 1.5, which leaves no"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth hp 2 1.5 --butterworth lp 2 1", 1,
              "--butterworth: the low-pass at 1 Hz lies below the high-pass at 1.5 Hz, which leaves no band"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --q 2", 2, "--q is for --kind second"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --order 2.5", 1, "--order: 2.5 is not a whole number from 1 to 16"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --kind iir", 1, "--kind: there is no 'iir', only first, "},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --block 24", 1, "--block: 24 is not a power of two from 16 to 131072"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 2", 1, "cannot filter 'a.vdf2': a corner of 2 Hz is not below half its rate"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --highpass 1e-5", 1, "cannot filter 'a.vdf2': a corner of 1e-05 Hz at its rate of 4 Hz needs blocks of more than 131072 samples\n"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth lp 4", 2, "--butterworth is to be followed by PASS ORDER HZ; see"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth bp 4 1", 1, "--butterworth: 'bp' is not lp or hp"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth lp 0 1", 1, "--butterworth: '0' is not an order from 1 to 64"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth lp 4 -1", 1, "--butterworth: '-1' is not a frequency above 0"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth lp 4 2", 1, "cannot filter 'a.vdf2': a corner of 2 Hz is not below half its rate"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --butterworth lp 4 1 --q 2", 2, "--butterworth, --fir and --fir-set do not go with"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --bandpass 1", 1, "--bandpass: '1' is no pair of frequencies above 0"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --bandstop 2,1", 1, "--bandstop: '2,1' is no rising pair of frequencies"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --notch 1,0", 1, "--notch: '1,0' is no frequency above 0, perhaps with a quality"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --family eliptic", 1, "--family: there is no 'eliptic' (did you mean 'elliptic'?)"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --family bessel --ripple 1", 2, "--ripple is for --family chebyshev1 and elliptic"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --family bessel --order 33", 1, "--order: 33 is not a whole number from 1 to 32"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --zero-phase", 2, "--zero-phase is for filters sample by sample"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --notch 1 --zero-phase --ends hold", 2, "--ends does not go with --zero-phase"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --family kaiser", 2, "--family kaiser requires --transition"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --family bessel --transition 1", 2, "--transition is for --family kaiser and equiripple"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --highpass 1 --family kaiser --transition 2", 1, "cannot filter 'a.vdf2': the band from 0 to -0.25 of the rate is out of order"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --rate 3 --keep-delay", 2, "--keep-delay is for the ratios of --down and --up"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --down 2 --shift 1", 2, "--shift and --method polyphase go with --rate"},
    WrongCase{"kvx design --lowpass 1", 2, "--rate is required"},
    WrongCase{"kvx design --rate 100", 2, "one of --lowpass, --highpass, --bandpass"},
    WrongCase{"kvx design --rate 100 --lowpass 60", 1, "a corner of 60 Hz is not below half its rate of 100 Hz"},
    WrongCase{"kvx design --rate 100 --lowpass 10 --from 50", 1, "no frequencies lie from 50 Hz to 50 Hz"},
    WrongCase{"kvx design --rate 100 --lowpass 10 --at 5 --log", 2, "--at does not go with --from, --to and --log"},
    WrongCase{"kvx design --rate 100 --lowpass 10 --csv sos --json", 2, "--csv does not go with --json"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --fir-set 6", 1, "--fir-set: '6' is not a whole number from 0 to 5"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --fir none.txt", 1, "cannot read 'none.txt': the file does not exist\n"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --fir profile.txt", 1, "cannot read 'profile.txt': coefficients stand in one column or one row\n"},
    WrongCase{"kvx filter a.vdf2 -o profile.txt --fir profile.txt", 1, "the output 'profile.txt' is the input file"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --lowpass 1 --keep-delay", 2, "--keep-delay is for --fir and --fir-set"},
    WrongCase{"kvx filter a.vdf2 -o x.vdf2 --fir-set 0 --ends periodic", 1, "--ends: there is no 'periodic', only hold, zeros"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2", 2, "one of --down, --up and --rate is required"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --down 2 --up 2", 2, "one of --down, --up and --rate is required"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --down 3", 1, "--down: 3 is not one of the ratios 1, 2, 4, 5, 8, 10, 16, 20, 25, 32, 40,"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --rate 7 --method cascade", 1,
              "cannot resample 'a.vdf2': no ratio leads from its rate of 4 Hz to 7 Hz; the nearest that can be reached: 4 Hz and 8 Hz (--up 2)\n"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --rate 5000 --method cascade", 1,
              "cannot resample 'a.vdf2': no ratio leads from its rate of 4 Hz to 5000 Hz; the nearest that can be reached: 2000 Hz (--up 500)\n"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --down 8 --keep-delay", 1, "cannot resample 'a.vdf2': its samples are too few for a ratio of 8\n"},
    WrongCase{"kvx resample a.vdf2 -o x.vdf2 --down 2 --unit g", 1, "cannot resample 'a.vdf2': a data file knows its rate, units and names"},
    WrongCase{"kvx resample a.vdf2 -o a.vdf2 --down 2", 1, "the output 'a.vdf2' is the input file"},
    WrongCase{"kvx resample a.vdf2 -o none/x.vdf2 --down 2", 1, "cannot write 'none/x.vdf2': its folder does not exist\n"},
    WrongCase{"kvx resample a.vdf2 -o /dev/full --down 2", 1, "cannot write '/dev/full': the disk is full\n"},
    WrongCase{"kvx resample a.vdf2 -o x.wav --rate 4.000001 --samples pcm16", 1, "cannot write 'x.wav': channel 'a' would be clipped: it reaches 4 g"},
    WrongCase{"ulimit -f 1; kvx resample a.vdf2 -o x.vdf2 --up 500", 1, "cannot write 'x.vdf2': the disk is full\n"},
    WrongCase{"ulimit -f 1; kvx resample a.vdf2 -o x.wav --up 500", 1, "cannot write 'x.wav': the disk is full\n"},
    WrongCase{"kvx resample short.vdf2 -o x.vdf2 --down 2", 1, "cannot resample 'short.vdf2': record 1: the file ends too early\n"},
    WrongCase{"kvx resample settings.gci2 -o x.vdf2 --down 2", 1, "cannot resample 'settings.gci2': it is not a vibration data file\n"},
    WrongCase{"kvx resample a.csv -o x.vdf2 --down 2", 1, "cannot resample 'a.csv': it has neither a rate nor a time column; give the sampling rate with --input-rate"},
    WrongCase{"kvx resample bad.csv -o x.vdf2 --down 2", 1, "cannot resample 'bad.csv': line 3, column 2: 'abc' is not a number\n"},
    WrongCase{"kvx resample broken.wav -o x.vdf2 --down 2", 1, "cannot resample 'broken.wav': it is a damaged sound file"},
    WrongCase{"kvx profile profile.txt -o x.vdf2", 2, "--lines is required for a data file"},
    WrongCase{"kvx profile profile.txt --band 20,30", 1, "--band: '20,30' has 2 numbers instead of 3"},
    WrongCase{"kvx profile profile.txt --band-ratio 30,20,2", 1, "--band-ratio: '30,20,2' is no rising pair"},
    WrongCase{"kvx profile profile.txt --band 1,2,3", 1, "--band: nothing of the profile lies from 1 Hz to 2 Hz"},
    WrongCase{"kvx profile profile.txt --scale-rms 1e300", 1, "the changes take levels out of the range of numbers"},
    WrongCase{"kvx profile profile.txt --lines 1,2.5", 1, "--lines: '1,2.5' is no spacing above 0"},
    WrongCase{"kvx profile profile.txt -o x.txt --lines 80,2", 1, "cannot write 'x.txt': fewer than two of its lines are above 0"},
    WrongCase{"kvx export a.vdf2 -o - > /dev/full", 1, "cannot write to standard output: the disk is full\n"},
    WrongCase{"kvx export a.vdf2 -o x.csv --unit N", 1, "cannot export 'a.vdf2': --unit: channel 'a' is in 'g', which does not convert to 'N'"},
    WrongCase{"kvx export a.vdf2 -o x.csv --full-scale 2", 2, "--full-scale is for WAV files"},
    WrongCase{"kvx export a.vdf2 -o x.wav --samples pcm24", 1,
              "cannot write 'x.wav': channel 'a' would be clipped: it reaches 4 g and full scale is 1"},
    WrongCase{"kvx export a.vdf2 -o none/x.wav", 1, "cannot write 'none/x.wav': its folder does not exist\n"},
    WrongCase{"kvx synth a.csv -o x.vdf2", 1, "cannot synthesise 'a.csv': line 1: 'a' is not a number\n"},
    WrongCase{"kvx synth profile.txt -o x.vdf2 --rate 30", 1, "cannot synthesise 'profile.txt': nothing of the profile"},
    WrongCase{"kvx synth profile.txt -o x.vdf2 --duration 1e9", 1, "1e+09 s at 256 Hz are 2.56e+11 samples; a record"},
    WrongCase{"kvx synth slow.txt -o x.vdf2 --rate 256", 1, "cannot synthesise 'slow.txt': the frequencies of the profile are too low for a rate of 256 Hz\n"},
    WrongCase{"kvx synth high.txt -o x.vdf2", 1, "cannot synthesise 'high.txt': its level of 1e+307 at 20 Hz leaves the range of numbers\n"},
    WrongCase{"kvx synth low.txt -o x.vdf2", 1, "cannot synthesise 'low.txt': its rms is too small for a signal\n"},
    WrongCase{"kvx synth profile.txt -o x.vdf2 --rms 1e200", 1, "cannot synthesise 'profile.txt': the squares of the signal leave the range"},
    WrongCase{"kvx units convert 1e308 g m/s2", 1, "'1e308' g leaves the range of numbers in m/s2\n"},
    WrongCase{"kvx show-value 1e308 g", 1, "'1e308' g leaves the range of numbers\n"},
    WrongCase{"kvx synth profile.txt -o x.vdf2 --rms 1e308", 1, "cannot synthesise 'profile.txt': the squares of the signal leave the range"},
    WrongCase{"kvx profile high.txt --lines 1,99 -o x.vdf2", 1, "cannot read 'high.txt': its rms leaves the range of numbers\n"},
    WrongCase{"kvx plot psd.vdf2 -o x.svg --profile high.txt", 1, "cannot draw 'high.txt': its level of 1e+307 at 20 Hz leaves"},
    WrongCase{"kvx psd huge.vdf2 --block 4", 1, "cannot analyse 'huge.vdf2': the squares of channel 'a' leave the range of numbers\n"},
    WrongCase{"kvx spectrogram huge.vdf2 --block 4 -o x.svg", 1, "cannot analyse 'huge.vdf2': the squares of channel 'a' leave"},
    WrongCase{"kvx spectrum huge.vdf2 --block 4", 1, "cannot analyse 'huge.vdf2': the squares of channel 'a' leave the range"},
    WrongCase{"kvx psd a.vdf2 -o x.lvm", 1, "the output 'x.lvm' does not end with .vdf2, .wav, "},
    WrongCase{"kvx psd a.vdf2 --block 4 -o x.wav", 1, "cannot write 'x.wav': a WAV file holds time waveforms only; choose CSV\n"},
    WrongCase{"kvx xfr a.vdf2 -o x", 1, "the output 'x' does not end with .vdf2"},
    WrongCase{"kvx import a.csv -o x.jpg --rate 1", 1, "the output 'x.jpg' does not end with .vdf2"},
    WrongCase{"kvx synth profile.txt -o x.vdf", 1, "the output 'x.vdf' does not end with .vdf2"},
    WrongCase{"kvx filter a.vdf2 -o x.lvm --lowpass 1", 1, "the output 'x.lvm' does not end with .vdf2, .wav, "},
    WrongCase{"kvx resample a.vdf2 -o ./- --down 2", 1, "the output './-' does not end with .vdf2, .wav, "},
    WrongCase{"kvx export a.vdf2 -o x.lvm", 1, "the output 'x.lvm' does not end with .csv, .txt, .vdf2"},
    WrongCase{"kvx export a.vdf2 -o x.csv --as wav", 1, "--as wav: the output 'x.csv' ends with .csv"},
    WrongCase{"kvx export a.vdf2 -o - --as mp3", 1, "--as: there is no 'mp3', only csv, txt, vdf2"},
    WrongCase{"kvx convert a.vdf2 huge.vdf2 -o x.csv", 2, "several inputs need a folder to go to, such as -o results/"},
    WrongCase{"kvx convert a.vdf2 -o x.csv --name-pattern {stem}", 2, "--name-pattern is for an output that is a folder"},
    WrongCase{"kvx convert a.vdf2 a.csv -o dir --as csv", 1, "several inputs would become 'dir/a.csv'; tell them apart with --name-pattern"},
    WrongCase{"kvx convert a.csv huge.csv -o . --as csv --rate 4", 1, "the output './a.csv' is an input file"},
    WrongCase{"kvx convert a.vdf2 psd.vdf2 -o dir --name-pattern '{steam}.csv'", 1,
              "--name-pattern: there is no '{steam}', only {ext}, {name}, {number}, {stem}"},
    WrongCase{"kvx convert a.vdf2 -o x.csv --to-unit N", 1, "cannot convert 'a.vdf2': --to-unit: channel 'a' is in 'g', which does not convert to 'N'"},
    WrongCase{"kvx convert a.vdf2 -o x.csv --unit N", 1, "cannot convert 'a.vdf2': a data file knows its rate, units and names"},
    WrongCase{"kvx edit a.vdf2 -o x.csv --name a,b", 1, "cannot edit 'a.vdf2': --name gives 2 names for 1 channel"},
    WrongCase{"kvx edit a.vdf2 -o x.csv --scale two", 1, "'two' is not a number"},
    WrongCase{"kvx edit huge.vdf2 -o x.csv --scale 1e200", 1, "cannot edit 'huge.vdf2': the changed levels of channel 'a' leave the range"},
    WrongCase{"kvx merge a.vdf2 -o x.vdf2", 2, "there is nothing to merge in a single input"},
    WrongCase{"kvx merge a.vdf2 psd.vdf2 -o x.csv", 1,
              "cannot merge 'a.vdf2': 'psd.vdf2' has values over frequency, 'a.vdf2' values over time\n"},
    WrongCase{"kvx profile profile.txt -o x.csv", 1, "the output 'x.csv' does not end with .txt or .vdf2"},
    WrongCase{"kvx plot a.vdf2 -o x.svg --store-settings x.ini", 1, "the output 'x.ini' does not end with .gci2"},
    WrongCase{"kvx help pds", 2, "there is no command 'pds' (did you mean 'psd'?); see 'kvx --help'"},
    WrongCase{"kvx help frf", 2, "there is no command 'frf' (did you mean 'xfr'?); see 'kvx --help'"},
    WrongCase{"kvx export a.csv -o x.wav", 1, "cannot export 'a.csv': it has neither a rate nor a time column; give the sampling rate with 'kvx convert --rate'\n"},
    WrongCase{"kvx help units convrt", 2, "there is no command 'units convrt' (did you mean 'convert'?); see"},
    WrongCase{"kvx --json", 2, "a command is missing; see 'kvx --help'\n"},
    WrongCase{"kvx --version --jsno", 2, "there is no option '--jsno' (did you mean '--json'?); see"},
    WrongCase{"kvx write-pages profile.txt/x", 1, "cannot write 'profile.txt/x/man1/kvx.1': "},
    WrongCase{"kvx convert a.csv -o x --as cvs", 1, "--as: there is no 'cvs' (did you mean 'csv'"},
    WrongCase{"kvx show-value 1 g --suffix 0p", 1, "--suffix: there is no suffix '0p' (did you mean '0-p'"},
    WrongCase{"kvx units forse", 1, "no dimension and no unit is called 'forse' (did you mean 'force'?)\n"},
    WrongCase{"kvx units furlong", 1, "no dimension and no unit is called 'furlong'"},
    WrongCase{"kvx units convert 1 g kg/h", 1, "'g' does not convert to 'kg/h': they are of different dimensions\n"},
    WrongCase{"kvx units convert one g kg", 1, "'one' is not a number"},
    WrongCase{"kvx units convert 1 g", 2, "TO is required; see 'kvx units convert --help'\n"},
    WrongCase{"kvx show-value 1 g --in mm", 1, "'g' does not convert to 'mm': they are of different dimensions\n"},
    WrongCase{"kvx show-value 1 g --suffix peak", 1, "--suffix: there is no suffix 'peak', only none, 0-p, p-p, rms"},
    WrongCase{"kvx show-value 1 g --format %d", 1, "--format: '%d' is not a format of one number, such as %.2f,"},
    WrongCase{"kvx show-value 50 Hz --format %g%n", 1, "--format: '%g%n' is not a format of one number"},
    WrongCase{"kvx show-value 1 g --locale xx_YY", 1, "--locale: there is no locale 'xx_YY' on this host; see"},
    WrongCase{"kvx show-value 1 g --difference", 1, "--difference is for temperatures, and 'g' is not one; see"},
    WrongCase{"kvx show-value 1 g --format $(printf '\\377')", 1, "--format: '\\xFF' is not valid UTF-8"},
    WrongCase{"kvx kinds nonsense", 1, "no file kind matches 'nonsense'\n"}));
// clang-format on

TEST(Tables, AlignAsATerminalShowsThem) {
    using kvx::tool::Align;
    EXPECT_EQ(kvx::tool::FormatTable({Align::right, Align::left, Align::left},
                                     {{"加振", "a", ""}, {"1", "\u00B5m \uFF9FC", "b"}, {"x\ny", "", "z"}}),
              "    加振  a\n       1  \u00B5m \uFF9FC  b\n  x\\x0Ay         z\n");
}

TEST(Names, KeepToTheirLine) {
    const TempFolder folder;
    folder.Write("a.csv", "1\n2\n");
    RunWell(folder,
            "kvx import a.csv -o a.vdf2 --rate 1 --name \"$(printf 'a\\033[2Jb\\nc')\" --text \"$(printf "
            "'x\\ny')\"");
    EXPECT_THAT(RunWell(folder, "kvx info a.vdf2"),
                testing::AllOf(HasSubstr("  a\\x1B[2Jb\\x0Ac "), HasSubstr(" x\\x0Ay\n")));
    EXPECT_EQ(RunJson(folder, "kvx info a.vdf2")["text"], "x\ny");
    EXPECT_THAT(RunWell(folder, "kvx export a.vdf2 -o -"),
                StartsWith("time [s],a\\x1B[2Jb\\x0Ac [-]\n0,1\n"));
    EXPECT_THAT(RunShell(folder, "kvx info \"$(printf 'no\\nne')\"").err,
                "kvx: cannot read 'no\\x0Ane': the file does not exist\n");
}

TEST(Import, KeepsEveryDigitAndPutsEachUnitIntoARecord) {
    const TempFolder folder;
    const std::string table =
        "time [s],top [g],force [N],base [g],gap [mm],oven [degC]\n"
        "-0.25,1.924208,0.1,-27.077947,0.3,21.5\n"
        "0,-0.029026,0.30000000000000004,45.299014,1e-300,-40\n"
        "0.25,0.02,123456789.12345678,0.002739,1e+300,0\n";
    folder.Write("in.csv", table);
    EXPECT_THAT(RunWell(folder, "kvx import in.csv -o in.vdf2 --text 'Shaker 3'"),
                HasSubstr("channel  name   unit  record\n"
                          "        1  top    g          1\n"
                          "        2  base   g          1\n"
                          "        3  force  N          2\n"));
    const nlohmann::json info = RunJson(folder, "kvx info in.vdf2");
    EXPECT_EQ(info["text"], "Shaker 3");
    EXPECT_EQ(info["code"], "0x20011");
    ASSERT_EQ(info["records"].size(), 4U);
    const nlohmann::json& first = info["records"][0];
    EXPECT_EQ(first["unit"], "g");
    EXPECT_EQ(first["rows"], 2);
    EXPECT_EQ(first["axis"]["rate"], 4.0);
    EXPECT_EQ(first["axis"]["offset"], -1);
    EXPECT_EQ(first["channels"][1]["name"], "base");
    EXPECT_EQ(first["channels"][1]["max"], 45.299014);
    EXPECT_EQ(first["channels"][1]["peak"], 45.299014);
    EXPECT_EQ(info["records"][3]["channels"][0]["min"], -40.0);

    const std::string out = RunWell(folder, "kvx export in.vdf2 -o - --channels top,force,base,gap,oven");
    EXPECT_THAT(out, StartsWith("time [s],top [g],base [g],force [N],gap [mm],oven [\u00B0C]\n"
                                "-0.25,1.924208,-27.077947,0.1,0.3,21.5\n"
                                "0,-0.029026,45.299014,0.30000000000000004,1e-300,-40\n"));
    folder.Write("again.csv", out);
    RunWell(folder, "kvx import again.csv -o again.vdf2 --text 'Shaker 3'");
    EXPECT_EQ(folder.Read("again.vdf2"), folder.Read("in.vdf2"));
    EXPECT_THAT(RunWell(folder, "kvx export in.vdf2 -o - --record 1 --channels 2 --unit gal"),
                HasSubstr("\n-0.25,-26554.3948"));
}

TEST(Import, TakesWhatIsStatedOfAText) {
    const TempFolder folder;
    folder.Write(
        "t.csv",
        "1;2;3\n% note\nNo;when;a;b\n1;12:00:00;1,5;NA\n2;12:00:01;;3\n% end\n3;12:00:05;-999,0;4\n");
    const std::string import =
        "kvx import t.csv -o t.vdf2 --skip 1 --comment % --separator semicolon --time 2 ";
    RunWell(folder, import + "--missing NA,-999 --uneven --channels a,b");
    EXPECT_EQ(RunWell(folder, "kvx export t.vdf2 -o -"), "time [s],a [-],b [-]\n0,1.5,\n1,,3\n5,,4\n");
    const ToolResult gaps = RunShell(folder,
                                     "kvx psd t.csv --rate 1 --time none --block 2 --skip 1 --comment % "
                                     "--missing NA,-999 2>&1 >/dev/null | tail -n 1");
    EXPECT_EQ(gaps.out, "kvx: cannot analyse 't.csv': line 5, column 3: the sample holds no value\n");
    EXPECT_EQ(
        RunShell(folder, import + "--missing NA,-999").err,
        "kvx: cannot import 't.csv': the time column is not evenly spaced: sample 2 is stamped 1 s where "
        "2.5 s was expected; give the true sampling rate with --rate or keep the times as they are with "
        "--uneven\n");
    EXPECT_EQ(RunShell(folder, import).err,
              "kvx: cannot import 't.csv': line 5, column 3: the value is missing (--missing lets such "
              "values pass)\n");
    folder.Write("f.csv", "freq;Re(H);Im(H)\n2;1;2\n4;3;4\n");
    RunWell(folder, "kvx import f.csv -o f.vdf2 --unit 'g/N'");
    EXPECT_EQ(RunWell(folder, "kvx export f.vdf2 -o -"),
              "frequency [Hz],H re [g/N],H im [g/N]\n2,1,2\n4,3,4\n");
}

TEST(Import, TakesTheChosenChannelsFromAPipe) {
    const TempFolder folder;
    RunWell(folder,
            "printf '1 2 3\\n4 5 6\\n' | kvx import /dev/stdin -o a.vdf2 --rate 1 --channels 3,1 --name x,y");
    EXPECT_EQ(RunWell(folder, "kvx export a.vdf2 -o -"), "time [s],x [-],y [-]\n0,3,1\n1,6,4\n");
}

TEST(Info, ShowsFiguresWithTheirUnitsAndWhenTheFileChanged) {
    const TempFolder folder;
    RunWell(folder, "printf '1\\n-3\\n' | kvx import /dev/stdin -o a.vdf2 --rate 4 --unit g --name top");
    RunWell(folder, "TZ=UTC touch -d '2026-03-04 14:05:09' a.vdf2");
    const std::string text = RunWell(folder, "TZ=JST-9 kvx info a.vdf2");
    EXPECT_THAT(text, HasSubstr("  changed      2026-03-04 23:05:09\n"));
    EXPECT_THAT(text, HasSubstr("rate 4 Hz, from 0 s (offset 0), duration 0.5 s\n"));
    EXPECT_THAT(text, HasSubstr("  channel  name  mean [g]  rms [g rms]  min [g]  max [g]  peak [g 0-p]\n"
                                "        1  top         -1      2.23607       -3        1             3\n"));
}

TEST(Info, DescribesFilesThatHoldNoData) {
    const TempFolder folder;
    folder.Write("settings.gci2", SettingsFile());
    const std::string text = RunWell(folder, "kvx info settings.gci2");
    EXPECT_THAT(text, HasSubstr("Graph color file (12, code 0x40026, .gci2)"));
    EXPECT_THAT(text, HasSubstr("no data records"));
    EXPECT_TRUE(RunJson(folder, "kvx info settings.gci2")["records"].empty());
}

TEST(Export, WritesUnevenAxesComplexCellsAndGaps) {
    const TempFolder folder;
    const double uneven[] = {10.0, 31.5, 1000.0};
    const CDataArrayDouble frequencies(3, uneven);
    const CStringArray rows = {L"a,b"};
    CComDataSpecG spectrum(1, 2, 1, CUnitCtrl(CUnitCtrl::DIM_FORCE), frequencies, &rows, nullptr);
    spectrum.GetReal(0, 1)[1] = 3.0;
    spectrum.GetImaginary(0, 1)[1] = -4.0;
    CComDataWave wave(0.5, 1, 1, 3, 2, CUnitCtrl(), &rows, nullptr);
    wave.Init();
    wave.GetReal(0, 0)[1] = 7.0;
    const kvx::DataFileContent content = {CComHdr(CComHdr::EXT_INFO_SINE_DATA, L"made"), {spectrum, wave}};
    ASSERT_TRUE(CComDataFile::StoreDataFile((folder / "a.vdf2").wstring().c_str(), content));

    EXPECT_EQ(RunWell(folder, "kvx export a.vdf2 -o - --record 1 --channels 2"),
              "frequency [Hz],\"a,b/Data-Col-002 re [N]\",\"a,b/Data-Col-002 im [N]\"\n"
              "10,0,0\n31.5,3,-4\n1000,0,0\n");
    EXPECT_EQ(RunWell(folder, "kvx export a.vdf2 -o - --channels 3"),
              "time [s],\"a,b [-]\"\n1,\n1.5,7\n2,\n");
    EXPECT_THAT(RunShell(folder, "kvx export a.vdf2 -o -").err,
                HasSubstr("records 1 and 2 differ in their axis"));
    EXPECT_THAT(RunShell(folder, "kvx export a.vdf2 -o a.wav --record 2").err, HasSubstr("holds no value"));
    const nlohmann::json info = RunJson(folder, "kvx info a.vdf2");
    EXPECT_EQ(info["application"], "SINE");
    EXPECT_EQ(info["records"][0]["channels"][1]["peak"], 5.0);
    EXPECT_EQ(info["records"][1]["channels"][0]["missing"], 2);
    EXPECT_EQ(info["records"][1]["channels"][0]["mean"], 7.0);
}

TEST(Spectrum, ReadsTheAmplitudeAndTheRmsOfASineWithEveryWindow) {
    const TempFolder folder;
    folder.Write("sine.txt", SineTable(4096));
    RunWell(folder, "kvx import sine.txt -o sine.vdf2 --rate 1000 --unit g --name sine");
    for (const char* window :
         {"hann", "rectangular", "hamming", "blackman", "blackman-harris", "blackman-harris-61",
          "blackman-harris-67", "blackman-harris-74", "flat-top"}) {
        const nlohmann::json report = RunJson(
            folder, std::string("kvx spectrum sine.vdf2 --block 512 --overlap 75 --window ") + window);
        const nlohmann::json& record = report["records"][0];
        const nlohmann::json& channel = record["channels"][0];
        EXPECT_EQ(record["blocks"], 1 + (4096 - 512) / 128);
        EXPECT_EQ(channel["highestHz"], 125.0) << window;
        // All but the flat top are sums of cosines, whose own transform is zero on the other lines.
        const double tolerance = std::string(window) == "flat-top" ? 1e-7 : 1e-12;
        EXPECT_NEAR(channel["highestLevel"].get<double>(), 2.0, tolerance) << window;
        EXPECT_NEAR(channel["rms"].get<double>(), std::sqrt(2.0), tolerance) << window;
    }
}

TEST(Spectrum, OfOneBlockIsComplex) {
    const TempFolder folder;
    folder.Write("sine.txt", SineTable(1024));
    RunWell(folder, "kvx import sine.txt -o sine.vdf2 --rate 1024 --unit N --name s");
    // Two samples after a zero the sine is a cosine.
    RunWell(folder,
            "kvx spectrum sine.vdf2 -o c.vdf2 --complex --start 0.001953125 --block 64 --window rectangular "
            "--json");
    const std::string csv = RunWell(folder, "kvx export c.vdf2 -o -");
    EXPECT_THAT(csv, StartsWith("frequency [Hz],s re [N],s im [N]\n"));
    double re = 0.0;
    double im = 0.0;
    ASSERT_EQ(std::sscanf(csv.c_str() + csv.find("\n128,"), "\n128,%lf,%lf", &re, &im), 2);
    EXPECT_NEAR(re, 2.0, 1e-13);
    EXPECT_NEAR(im, 0.0, 1e-13);
    EXPECT_EQ(RunJson(folder, "kvx info c.vdf2")["records"][0]["type"], "complex spectrum");
}

TEST(Psd, IsStoredInTheSquareOfTheChannelsUnitPerHertz) {
    const TempFolder folder;
    folder.Write("sine.txt", SineTable(2048));
    RunWell(folder, "kvx import sine.txt -o sine.vdf2 --rate 512 --unit g");
    const nlohmann::json report =
        RunJson(folder, "kvx psd sine.vdf2 -o psd.vdf2 --block 512 --from 60 --to 70");
    const nlohmann::json& channel = report["records"][0]["channels"][0];
    EXPECT_NEAR(channel["rms"].get<double>(), std::sqrt(2.0), 1e-12);
    // The Hann window spreads the power of a line over 1.5 lines, here of 1 Hz.
    EXPECT_NEAR(channel["highestLevel"].get<double>(), 2.0 / 1.5, 1e-12);
    EXPECT_EQ(channel["levelUnit"], "g2/Hz");
    const nlohmann::json record = RunJson(folder, "kvx info psd.vdf2")["records"][0];
    EXPECT_EQ(record["unit"], "g2/Hz");
    EXPECT_EQ(record["samples"], 256);
    EXPECT_EQ(record["axis"]["delta"], 1.0);
    const nlohmann::json inStandard =
        RunJson(folder, "kvx psd sine.vdf2 --block 512")["records"][0]["channels"][0];
    EXPECT_NEAR(inStandard["rms"].get<double>(), std::sqrt(2.0), 1e-12);
}

class WavRoundTrip : public testing::TestWithParam<const char*> {};

TEST_P(WavRoundTrip, KeepsSamplesThatTheEncodingHolds) {
    const TempFolder folder;
    folder.Write("in.csv", "a,b\n-1,0.5\n0.75,-0.25\n0.999969482421875,0\n");
    RunWell(folder, "kvx import in.csv -o in.vdf2 --rate 8000 --unit V --text x");
    RunWell(folder,
            std::string("kvx export in.vdf2 -o out.wav --full-scale 1 2>notes --samples ") + GetParam());
    RunWell(folder, "kvx import out.wav -o out.vdf2 --unit V --name a,b --text x");
    EXPECT_EQ(folder.Read("out.vdf2"), folder.Read("in.vdf2"));
}

INSTANTIATE_TEST_SUITE_P(Encodings, WavRoundTrip, testing::Values("pcm16", "pcm24", "float", "double"));

TEST(Synth, HitsTheRmsAndRepeatsWithItsSeed) {
    const TempFolder folder;
    folder.Write("profile.txt", "unit g2/Hz\n20 0.01\n200 0.01\n");
    RunWell(folder,
            "kvx synth profile.txt -o a.vdf2 --rms 2.5 --seed 3; kvx synth profile.txt -o b.vdf2 --rms 2.5 "
            "--seed 3");
    RunWell(folder, "kvx synth profile.txt -o c.vdf2 --seed 4 --duration 60");
    EXPECT_EQ(folder.Read("a.vdf2"), folder.Read("b.vdf2"));
    EXPECT_NE(folder.Read("a.vdf2"), folder.Read("c.vdf2"));
    const nlohmann::json record = RunJson(folder, "kvx info a.vdf2")["records"][0];
    EXPECT_EQ(record["samples"], 5120);
    EXPECT_EQ(record["unit"], "g");
    EXPECT_NEAR(record["channels"][0]["rms"].get<double>(), 2.5, 1e-12);
    // 60 s of 180 Hz hold 10800 cells; the rms of Gaussian noise then strays by 1/sqrt(4 x 10800) or 0.5 %.
    const nlohmann::json psd =
        RunJson(folder, "kvx psd c.vdf2 --from 20 --to 200")["records"][0]["channels"][0];
    EXPECT_NEAR(psd["rms"].get<double>(), std::sqrt(180 * 0.01), 5 * 0.005 * std::sqrt(180 * 0.01));
}

TEST(Units, ConvertWhereTheOtherUnitDecides) {
    const TempFolder folder;
    EXPECT_EQ(RunWell(folder, "kvx units convert 1000 g kg"), "1 kg\n");
    EXPECT_EQ(RunWell(folder, "kvx units convert -40 degC degF"), "-40 \u00B0F\n");
    EXPECT_EQ(RunWell(folder, "kvx units convert 1 psi Pa"), "6894.757293168361 Pa\n");
    EXPECT_EQ(RunWell(folder, "kvx units convert 2 bar mbar"), "2000 mbar\n");
    EXPECT_EQ(RunWell(folder, "kvx units convert 2 ips inch/s"), "2 inch/s\n");
    EXPECT_EQ(RunShell(folder, "kvx units convert 1 psi N").err,
              "kvx: 'psi' does not convert to 'N': they are of different dimensions\n");
    EXPECT_THAT(RunWell(folder, "kvx show-value 1 bar --in kPa"), HasSubstr("100  kPa"));
    EXPECT_THAT(
        RunShell(folder, "kvx show-value 1 bar --in psi").err,
        HasSubstr("values in 'psi' are read, but none are kept in it; the nearest unit that they can be kept "
                  "in is 'kPa'"));
    EXPECT_THAT(RunWell(folder, "kvx units rpm"),
                testing::AllOf(HasSubstr("angular velocity, code"), HasSubstr("frequency, code")));
}

TEST(ShowValue, ShowsAnAmplitudeInTheUnitsOfItsDimension) {
    const TempFolder folder;
    EXPECT_EQ(RunWell(folder, "kvx show-value 1 m/s --suffix p-p --in mm/s,m/s"),
              "  2000  mm/s p-p\n     2  m/s p-p\n");
    EXPECT_EQ(RunWell(folder, "kvx show-value 0.5 mm --suffix usual --in mm"), "  1  mm p-p\n");
    EXPECT_EQ(RunWell(folder, "kvx show-value 50 Hz --in Hz"), "  50.00  Hz\n");
    EXPECT_EQ(RunWell(folder, "kvx show-value 50 Hz --in Hz --format '%g (%%)'"), "  50 (%)  Hz\n");
    EXPECT_EQ(RunWell(folder, "kvx show-value -40 degC --in degF"), "  -40  °F\n");
    EXPECT_EQ(RunWell(folder, "kvx show-value 20 degC --in degC --difference --locale ru_RU --format %.1f"),
              "  20,0  °C\n");
    EXPECT_THAT(RunWell(folder, "kvx show-value 1 g2/Hz"),
                testing::AllOf(HasSubstr("96.17038  (m/s2)2/Hz\n"), HasSubstr("0.9617038  Gn2/Hz\n")));
}

TEST(Folders, AreWhereSystemDriveSaysAndAreNotCreated) {
    const TempFolder folder;
    std::filesystem::create_directory(folder / "Q7Data");
    const std::string root = folder.Path().string();
    const nlohmann::json places = RunJson(folder, "SystemDrive='" + root + "' kvx folders");
    EXPECT_EQ(places["systemDrive"], root);
    EXPECT_EQ(places["data"], (nlohmann::json{{"path", root + "/Q7Data"}, {"exists", true}}));
    EXPECT_EQ(places["settings"], (nlohmann::json{{"path", root + "/KVX/Q7_2nd/Q7.ini"}, {"exists", false}}));
    EXPECT_EQ(folder.Count(), 1U);
    EXPECT_THAT(RunWell(folder, "env -u SystemDrive kvx folders"), StartsWith("SystemDrive is not set\n"));
    EXPECT_THAT(RunWell(folder, "SystemDrive=C: kvx folders"), HasSubstr("missing  C:\\Q7Data\n"));
}

TEST(Kinds, AreListed) {
    const TempFolder folder;
    EXPECT_THAT(RunWell(folder, "kvx kinds VDF2"), HasSubstr(" 181  0x20011  .vdf2"));
    const std::string all = RunWell(folder, "kvx kinds");
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 1 + 359);
    EXPECT_EQ(RunWell(folder, "kvx kinds 加振データ"), RunWell(folder, "kvx kinds 'excitation data'"));
}

TEST(Version, TellsWhatTheToolRunsWith) {
    const TempFolder folder;
    const auto json = RunJson(folder, "KVX_KERNELS=baseline kvx --version");
    EXPECT_EQ(json["version"], kvx::kVersion);
    EXPECT_EQ(json["version"], kvx::RunningVersion());
    EXPECT_EQ(KVX_VERSION_NUMBER >> 16, std::stoi(std::string(kvx::kVersion)));
    EXPECT_EQ(json["kernels"], "baseline");
    const std::string text = RunWell(folder, "kvx --version");
    EXPECT_THAT(text, StartsWith("kvx " + std::string(kvx::kVersion) + "\n  kernels "));
    for (const char* library : {"libsndfile", "zlib", "Cairo", "Pango"}) {
        EXPECT_THAT(text, HasSubstr("  " + std::string(library) + " "));
        EXPECT_GE(std::stod(json["libraries"][library].get<std::string>()), 1.0) << library;
    }
}

TEST(NamesOfARecording, AreSuggested) {
    const TempFolder folder;
    folder.Write("table.csv", "moment,top,base\n0,1,2\n1,2,3\n2,3,4\n");
    const std::pair<const char*, const char*> cases[] = {
        {"psd table.csv --rate 1 --channels tpo", "(did you mean 'top'?)"},
        {"xfr table.csv --rate 1 --reference bases", "(did you mean 'base'?)"},
        {"info table.csv --time momnet", "no column is called 'momnet' (did you mean 'moment'?)"},
    };
    for (const auto& [command, hint] : cases) {
        const ToolResult result = RunShell(folder, std::string("kvx ") + command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_THAT(result.err, HasSubstr(hint)) << command;
    }
}

TEST(HelpCommand, PrintsTheHelpOfTheCommand) {
    const TempFolder folder;
    EXPECT_EQ(RunWell(folder, "kvx help psd"), RunWell(folder, "kvx psd --help"));
    EXPECT_EQ(RunWell(folder, "kvx help units convert"), RunWell(folder, "kvx units convert --help"));
    EXPECT_EQ(RunWell(folder, "kvx help"), RunWell(folder, "kvx --help"));
}

TEST(LanguageOfTheTool, IsThatOfItsVariableElseOfTheLocale) {
    const TempFolder folder;
    const struct {
        const char* environment;
        const char* name;
    } cases[] = {
        {"LANG=ja_JP.UTF-8", "角速度"},
        {"LANG=C", "angular velocity"},
        {"", "angular velocity"},
        {"LC_ALL=POSIX LANG=ja_JP.UTF-8", "angular velocity"},
        {"LC_MESSAGES=ja_JP.UTF-8 LANG=de_DE.UTF-8", "角速度"},
        {"KVX_LANGUAGE=en LC_ALL=ja_JP.UTF-8", "angular velocity"},
        {"KVX_LANGUAGE=ja LC_ALL=C", "角速度"},
    };
    folder.Write("settings.gci2", SettingsFile());
    folder.Write("oven.csv", "time,oven [degC],turns [count]\n0,20,1\n1,21,2\n");
    for (const auto& each : cases) {
        const std::string environment = each.environment, name = each.name;
        const bool isEnglish = name != "角速度";
        const auto run = [&](const std::string& command) {
            return RunWell(folder, "env -u KVX_LANGUAGE -u LC_ALL -u LC_MESSAGES -u LANG " + environment +
                                       " kvx " + command);
        };
        EXPECT_EQ(run("units rad/s").find("角速度") == std::string::npos, isEnglish) << environment;
        EXPECT_THAT(run("units rad/s"), HasSubstr(name)) << environment;
        EXPECT_THAT(run("kinds 181"), HasSubstr(isEnglish ? "Excitation data file" : "加振データファイル"));
        EXPECT_THAT(run("info oven.csv"), HasSubstr(isEnglish ? "count" : "回")) << environment;
        const std::string kind = isEnglish ? "Graph color file" : "グラフ色情報ファイル";
        EXPECT_THAT(run("info settings.gci2"), HasSubstr("kind         " + kind + " (12"));
        // What programs read is the same in every language.
        const auto json = nlohmann::json::parse(run("info settings.gci2 --json"));
        EXPECT_EQ(json["kind"], "Graph color file");
        EXPECT_EQ(json["suiteKind"], "グラフ色情報ファイル");
        EXPECT_EQ(nlohmann::json::parse(run("info oven.csv --json"))["records"][0]["channels"][0]["unit"],
                  "°C");
        EXPECT_EQ(nlohmann::json::parse(run("kinds 181 --json"))[0]["suiteName"], "加振データファイル");
        EXPECT_THAT(run("export oven.csv -o -"), StartsWith("time [s],oven [°C],turns [回]\n"));
        run("import oven.csv -o oven.vdf2");
        const auto records = nlohmann::json::parse(run("info oven.vdf2 --json"))["records"];
        EXPECT_EQ(records[0]["dimension"], "temperature");
        EXPECT_EQ(records[0]["suiteDimension"], "温度");
    }
    const ToolResult unknown = RunShell(folder, "KVX_LANGUAGE=fr LC_ALL=ja_JP.UTF-8 kvx units force");
    EXPECT_EQ(unknown.err, "kvx: note: KVX_LANGUAGE: there is no language 'fr', only ja and en\n");
    EXPECT_THAT(unknown.out, StartsWith("force (力), code"));
}

}  // namespace
