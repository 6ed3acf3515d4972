// SPDX-License-Identifier: MIT
//
// Averages, windows and levels as the commands take them. The signal is a sine of 2 g rms on 125 Hz over an
// offset of 5 g, sampled at 1000 Hz.
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

#include "tests/tools/ToolRun.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class Average : public testing::Test {
protected:
    Average() {
        std::string text;
        for (int n = 0; n < 8192; ++n)
            text += std::to_string(5.0 + std::sqrt(8.0) * std::sin(std::numbers::pi * n / 4)) + "\n";
        folder_.Write("sine.txt", text);
        RunWell(folder_, "kvx import sine.txt -o sine.vdf2 --rate 1000 --unit g --name sine");
    }

    json Record(const std::string& command) { return RunJson(folder_, "kvx " + command)["records"].at(0); }
    json Channel(const std::string& command) { return Record(command)["channels"].at(0); }
    std::string Refusal(const std::string& command) {
        const ToolResult result = RunShell(folder_, "kvx " + command);
        EXPECT_EQ(result.status, 1) << command;
        return result.err;
    }

    TempFolder folder_;
};

TEST_F(Average, StatesWhatItIsAndHowSure) {
    const json record = Record("psd sine.vdf2 --df 4 --overlap 0 --detrend mean --confidence 90");
    EXPECT_EQ(record["block"], 256);  // 3.90625 Hz
    EXPECT_EQ(record["blocks"], 32);
    EXPECT_EQ(record["detrend"], "mean");
    EXPECT_EQ(record["noiseBandwidth"], 1.5);
    EXPECT_DOUBLE_EQ(record["degreesOfFreedom"].get<double>(), 64.0);
    // scipy.stats.chi2: 64/ppf(0.95, 64) and 64/ppf(0.05, 64)
    EXPECT_NEAR(record["confidence"]["lowerFactor"].get<double>(), 64.0 / 83.67526074, 1e-7);
    EXPECT_NEAR(record["confidence"]["upperFactor"].get<double>(), 64.0 / 46.59490522, 1e-7);
    EXPECT_THAT(
        RunWell(folder_, "kvx psd sine.vdf2 --df 4 --overlap 0 --detrend mean --confidence 90"),
        HasSubstr("mean of each block taken out, noise bandwidth 1.5 lines or 5.8594 Hz, 64 degrees of "
                  "freedom, 90 % limits -1.16 to +1.38 dB"));
    EXPECT_NEAR(record["channels"][0]["rms"].get<double>(), 2.0, 1e-3);

    const json weighted =
        Record("psd sine.vdf2 --average exponential --time-constant 2 --block 1000 --pad 1024");
    EXPECT_NEAR(weighted["weight"].get<double>(), 1.0 - std::exp(-0.25), 1e-12);
    EXPECT_EQ(weighted["transform"], 1024);
    EXPECT_EQ(weighted["lineSpacing"], 1000.0 / 1024.0);
    EXPECT_TRUE(Record("psd sine.vdf2 --average peak-hold --confidence 90")["degreesOfFreedom"].is_null());
}

TEST_F(Average, TellsOfADisplacementThatAnOffsetLeaves) {
    const std::string with = RunWell(folder_, "kvx psd sine.vdf2");
    EXPECT_THAT(
        with, HasSubstr("channel 1: the three lowest lines hold most of the displacement; take out the mean "
                        "with --detrend mean, or cut them off with --cutoff"));
    EXPECT_THAT(RunWell(folder_, "kvx psd sine.vdf2 --cutoff 100 --detrend linear"),
                testing::Not(HasSubstr("lowest lines")));
    const json motion = Channel("psd sine.vdf2 --detrend mean --block 512")["motion"];
    EXPECT_NEAR(motion["displacement"].get<double>(), 2.0 * 9806.65 / std::pow(250 * std::numbers::pi, 2),
                1e-4);
}

TEST_F(Average, ReadsLevelsAsAsked) {
    struct Case {
        const char* scale;
        double level;
        const char* unit;
    };
    for (const auto& [scale, level, unit] :
         {Case{"peak", std::sqrt(8.0), "g"}, Case{"rms", 2.0, "g"},
          Case{"peak-to-peak", std::sqrt(32.0), "g"}, Case{"power", 4.0, "g2"}}) {
        const std::string command =
            std::string("spectrum sine.vdf2 --block 512 --detrend mean --db-re '1 g' --scale ") + scale;
        const json channel = Channel(command + " -o out.vdf2");
        EXPECT_NEAR(channel["highestLevel"].get<double>(), level, 1e-5) << scale;
        EXPECT_EQ(channel["levelUnit"], unit);
        const double amplitude = unit[1] == '2' ? std::sqrt(level) : level;
        EXPECT_NEAR(channel["highestDecibels"].get<double>(), 20.0 * std::log10(amplitude), 1e-4);
        EXPECT_NEAR(channel["rmsDecibels"].get<double>(), 20.0 * std::log10(2.0), 1e-4);
        const json info = RunJson(folder_, "kvx info out.vdf2")["records"][0];
        EXPECT_EQ(info["unit"], unit);
        EXPECT_EQ(info["samples"], 256);
    }
    EXPECT_THAT(RunWell(folder_, "kvx psd sine.vdf2 --db"), HasSubstr("levels in dB re 1 µm/s2"));
    RunWell(folder_, "kvx spectrum sine.vdf2 --block 512 --nyquist -o out.csv");
    EXPECT_THAT(folder_.Read("out.csv"), HasSubstr("\n500,"));
}

TEST_F(Average, TellsTheFiguresOfWindows) {
    const json figures = RunJson(folder_, "kvx windows hann kaiser:80dB exponential:1");
    EXPECT_EQ(figures[0]["noiseBandwidth"], 1.5);
    EXPECT_NEAR(figures[1]["sideLobe"].get<double>(), -80.0, 0.5);
    EXPECT_EQ(figures[2]["mean"], 1.0);
    EXPECT_THAT(RunWell(folder_, "kvx windows force:0.1,0.1 hann --csv"), HasSubstr("\"force:0.1,0.1\",0.1"));
    const json decaying = Record("spectrum sine.vdf2 --block 1024 --window exponential:0.01");
    EXPECT_NEAR(decaying["windowDecay"].get<double>(), std::log(100.0) / 1.024, 1e-12);
}

TEST_F(Average, RefusesWhatDoesNotGoTogether) {
    const std::pair<const char*, const char*> cases[] = {
        {"psd sine.vdf2 --df 1 --block 64", "--df chooses the block; leave out --block"},
        {"psd sine.vdf2 --df 0.0001", "take more than the 4194304 samples of the largest block"},
        {"psd sine.vdf2 --df 0.01",
         "is more than its 8192 samples; choose a smaller block, or a larger --df"},
        {"psd sine.vdf2 --df 1 --pad 64", "--pad goes with --block, not with --df"},
        {"psd sine.vdf2 --block 1000 --pad 1000", "--pad: 1000 is not a power of two from 2 to 4194304"},
        {"psd sine.vdf2 --block 1000 --pad 512",
         "--pad: a block of 1000 does not go into a transform of 512 points"},
        {"psd sine.vdf2 --weight 0.1", "--weight and --time-constant are for --average exponential"},
        {"psd sine.vdf2 --average exponential --weight 2", "--weight: the newest block weighs at most 1"},
        {"psd sine.vdf2 --average exponential --weight 1 --time-constant 1", "leave out --weight"},
        {"psd sine.vdf2 --confidence 100", "--confidence: a confidence is below 100 %"},
        {"psd sine.vdf2 --db-re '1 N'", "--db-re: the reference '1 N' is of another dimension than 'g'"},
        {"psd sine.vdf2 --window kaiser:x", "--window: 'x' is no number that the window kaiser takes"},
        {"spectrum sine.vdf2 --complex --scale rms", "--scale: complex lines are peak amplitudes"},
        {"windows hann --csv --json", "--csv and --json are two forms; choose one"},
        {"windows hat", "cannot tell the figures of window 'hat': there is no 'hat'"},
    };
    for (const auto& [command, sentence] : cases)
        EXPECT_THAT(Refusal(command), HasSubstr(sentence)) << command;
}

}  // namespace
