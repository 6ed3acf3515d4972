// SPDX-License-Identifier: MIT
//
// Pictures by the tool. What they look like is the plotting library's matter; here it is that every choice
// reaches it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "ToolRun.h"

namespace {

/// Two channels in g and one in N, their densities, and transfer functions against the force.
class Plot : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new TempFolder();
        RunWell(*folder_,
                "set -e\n"
                "printf 'unit g2/Hz\\n20 0.01\\n400 0.01\\n' > profile.txt\n"
                "awk 'BEGIN { srand(1); print \"top [g],base [g],force [N]\"; for (i = 0; i < 8192; ++i)\n"
                "    print rand() - 0.5 \",\" rand() - 0.5 \",\" rand() - 0.5 }' > in.csv\n"
                "kvx import in.csv -o wave.vdf2 --rate 1024\n"
                "kvx psd wave.vdf2 -o psd.vdf2 --channels top,base\n"
                "kvx spectrum wave.vdf2 -o spectrum.vdf2 --channels top\n"
                "kvx xfr wave.vdf2 -o xfr.vdf2 --reference force --block 512\n");
    }
    static void TearDownTestSuite() { delete folder_; }

    /// The bytes of the picture that a command makes with these options.
    static std::string Picture(const std::string& command, const std::string& end = "svg") {
        RunWell(*folder_, "kvx " + command + " -o picture." + end);
        return folder_->Read("picture." + end);
    }

    static TempFolder* folder_;
};
TempFolder* Plot::folder_ = nullptr;

/// A number of the header of a PNG.
unsigned int BigEndian(const std::string& bytes, std::size_t offset) {
    unsigned int number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    return number;
}

TEST_F(Plot, HasTheFormatAndSizeAskedFor) {
    EXPECT_EQ(Picture("plot wave.vdf2", "pdf").substr(0, 5), "%PDF-");
    EXPECT_EQ(Picture("plot wave.vdf2", "jpg").substr(0, 3), "\xFF\xD8\xFF");
    EXPECT_NE(Picture("plot wave.vdf2").find("width=\"800\""), std::string::npos);
    const struct {
        const char* options;
        unsigned int width, height;
    } cases[] = {{"", 800, 500},
                 {"--size 320x200", 320, 200},
                 {"--size A4", 1123, 794},
                 {"--size A3 --dpi 48", 794, 561}};
    for (const auto& [options, width, height] : cases) {
        const std::string png = Picture(std::string("plot psd.vdf2 ") + options, "png");
        EXPECT_EQ(BigEndian(png, 16), width) << options;
        EXPECT_EQ(BigEndian(png, 20), height) << options;
    }
    EXPECT_EQ(RunWell(*folder_, "kvx plot wave.vdf2 -o picture.pdf --size 960x480"),
              "picture.pdf: 2 graphs, 720 x 360 points\n");
}

TEST_F(Plot, ShowsEveryChoiceAndTheSameTwice) {
    std::set<std::string> pictures;
    const char* const commands[] = {
        "plot psd.vdf2",
        "plot psd.vdf2 --x 20,400",
        "plot psd.vdf2 --x 20,",
        "plot psd.vdf2 --y 1e-6,1",
        "plot psd.vdf2 --x-scale linear",
        "plot psd.vdf2 --y-scale linear",
        "plot psd.vdf2 --unit '(m/s2)2/Hz'",
        "plot psd.vdf2 --panes channel",
        "plot psd.vdf2 --channels base",
        "plot psd.vdf2 --profile profile.txt",
        "plot psd.vdf2 --scheme black",
        "plot psd.vdf2 --scheme printer",
        "plot psd.vdf2 --title Other",
        "plot psd.vdf2 --show steps",
        "plot wave.vdf2",
        "plot wave.vdf2 --record 1",
        "plot wave.vdf2 --record 1 --suffix p-p",
        "plot wave.vdf2 --x 0.0101,0.0104",  // between two samples
        "plot spectrum.vdf2",
        "plot xfr.vdf2",
        "plot xfr.vdf2 --show phase",
        "plot xfr.vdf2 --show real-imaginary",
        "plot xfr.vdf2 --show nyquist",
        "spectrogram wave.vdf2 --record 1",
        "spectrogram wave.vdf2 --channels top",
        "spectrogram wave.vdf2 --channels top --density",
        "spectrogram wave.vdf2 --channels top --slices 3",
        "spectrogram wave.vdf2 --channels top --waterfall",
        "spectrogram wave.vdf2 --channels top --unit m/s2",
    };
    for (const char* command : commands) {
        const std::string picture = Picture(command);
        EXPECT_GT(picture.size(), 3000) << command;
        EXPECT_TRUE(pictures.insert(picture).second) << "nothing differs: " << command;
    }
    EXPECT_TRUE(pictures.contains(Picture("plot psd.vdf2 --unit g2/Hz --x-scale log")));
}

TEST_F(Plot, TellsWhatItCannotShow) {
    RunWell(*folder_,
            "set -e\nprintf 'a [V],b [A]\\n1e308,-1\\n-1e308,-2\\n' > huge.csv\n"
            "kvx import huge.csv -o huge.vdf2 --rate 1 > /dev/null");
    const struct {
        const char* command;
        const char* sentence;
    } cases[] = {
        {"plot wave.vdf2 --x 20,30",
         "draw 'wave.vdf2': --x shows none of its samples, which reach from 0 s to 7.99902 s"},
        {"plot psd.vdf2 --x 2000,3000",
         "draw 'psd.vdf2': --x shows none of its samples, which reach from 1 Hz to 511 Hz"},
        {"plot psd.vdf2 --x ,0.5",
         "draw 'psd.vdf2': --x shows none of its samples, which reach from 1 Hz to 511 Hz"},
        {"plot psd.vdf2 --y 1,2", "draw 'psd.vdf2': --y shows none of its values, which reach from "},
        {"plot wave.vdf2 --y -5,-4", "draw 'wave.vdf2': --y shows none of its values, which reach from "},
        {"plot huge.vdf2 --y-scale log --record 2",
         "draw 'huge.vdf2': --y-scale log: it has no value above 0"},
        {"plot huge.vdf2", "draw 'huge.vdf2': no axis can reach from -1e+308 to 1e+308"},
        {"plot wave.vdf2 --x -1e308,1e308", "draw 'wave.vdf2': no axis can reach from -1e+308 to 1e+308"},
        {"plot wave.vdf2 --show nyquist",
         "draw 'wave.vdf2': --show nyquist is for complex lines, which no channel has"},
        {"plot psd.vdf2 --show phase",
         "draw 'psd.vdf2': --show phase is for complex lines, which no channel has"},
        {"plot xfr.vdf2 --record 1 --show bars",
         "draw 'xfr.vdf2': --show bars is for real values, which no channel has"},
        {"plot xfr.vdf2 --show nyquist --x 1e4,",
         "draw 'xfr.vdf2': --x shows none of its samples, which reach from 2 Hz"},
        {"plot xfr.vdf2 --show nyquist --x-scale log",
         "draw 'xfr.vdf2': --x-scale log: the axes of a locus are linear"},
        {"plot psd.vdf2 --suffix p-p", "draw 'psd.vdf2': --suffix is for amplitudes, which no channel has"},
        {"spectrogram wave.vdf2 --x 600,",
         "analyse 'wave.vdf2': --x shows none of its samples, which reach from 1 Hz"},
        {"spectrogram wave.vdf2 --y 100,200",
         "analyse 'wave.vdf2': --y shows none of the levels of channel 'top'"},
        {"spectrogram huge.vdf2 --block 2",
         "analyse 'huge.vdf2': the squares of channel 'a' leave the range of numbers"},
    };
    for (const auto& [command, sentence] : cases) {
        const ToolResult result = RunShell(*folder_, std::string("kvx ") + command + " -o none.svg");
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.err.rfind(std::string("kvx: cannot ") + sentence, 0), 0U) << result.err;
        EXPECT_FALSE(std::filesystem::exists(*folder_ / "none.svg")) << command;
    }
    EXPECT_EQ(RunShell(*folder_, "kvx psd wave.vdf2 --channels force --cutoff 5").err,
              "kvx: cannot analyse 'wave.vdf2': --cutoff is for the motion of accelerations, which no "
              "channel is\n");
}

TEST_F(Plot, ShowsDataOfAnySort) {
    RunWell(*folder_,
            "set -e\nawk 'BEGIN { for (i = 0; i < 2048; ++i) print \"0 7 \" i % 2 \"e-310\" }' > flat.txt\n"
            "kvx import flat.txt -o flat.vdf2 --rate 1024 > /dev/null\n"
            "kvx psd flat.vdf2 -o flat-psd.vdf2 > /dev/null\n"
            "echo 5 > one.txt; kvx import one.txt -o one.vdf2 --rate 1 > /dev/null");
    for (const char* command :
         {"plot flat.vdf2 --channels 1", "plot flat.vdf2 --channels 3", "plot flat-psd.vdf2 --channels 1",
          "plot one.vdf2", "plot one.vdf2 --show bars", "spectrogram flat.vdf2 --channels 1",
          "spectrogram flat.vdf2 --waterfall", "spectrogram flat.vdf2 --block 2 --slices 3"}) {
        const std::string svg = Picture(command);
        int letters = 0;  // those of the numbers tell that there are axes
        for (std::size_t at = 0; (at = svg.find("<use ", at)) != std::string::npos; ++at) ++letters;
        EXPECT_GT(letters, 50) << command;
    }
    EXPECT_TRUE(Picture("plot flat-psd.vdf2 --channels 1") ==
                Picture("plot flat-psd.vdf2 --channels 1 --y-scale linear"));
}

TEST_F(Plot, TakesColoursFromTheSettingsItStored) {
    const std::string black = Picture("plot psd.vdf2 --scheme black --store-settings black.gci2");
    EXPECT_EQ(Picture("plot psd.vdf2 --settings black.gci2"), black);
    EXPECT_EQ(Picture("plot psd.vdf2 --settings black.gci2 --scheme white"), Picture("plot psd.vdf2"));
    RunWell(*folder_, "head -c 36000 black.gci2 > short.gci2");
    const auto error = [](const std::string& options) {
        return RunShell(*folder_, "kvx plot psd.vdf2 -o x.svg " + options).err;
    };
    EXPECT_EQ(error("--settings short.gci2"),
              "kvx: cannot read 'short.gci2': its configuration is damaged\n");
    EXPECT_EQ(error("--store-settings psd.vdf2").rfind("kvx: the output 'psd.vdf2' is the input file", 0),
              0U);
}

}  // namespace
