// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <sstream>
#include <string>

#include "tests/tools/ToolRun.h"

namespace {

using nlohmann::json;

TEST(Design, TellsTheResponseAtTheCorners) {
    const TempFolder folder;
    const json low =
        RunJson(folder, "kvx design --rate 1000 --family elliptic --lowpass 100 --ripple 0.2 --at 0,100");
    EXPECT_NEAR(low["response"][1]["levelDb"].get<double>(), -0.2, 1e-9);
    EXPECT_EQ(low["sos"].size(), 2U);
    EXPECT_EQ(low["poles"].size(), 4U);
    const json notch = RunJson(folder, "kvx design --rate 1000 --notch 50,10 --at 50");
    EXPECT_LT(notch["response"][0]["real"].get<double>(), 1e-12);
    const json fir = RunJson(folder, "kvx design --rate 1000 --fir-set 0 --keep-delay --at 0,499");
    EXPECT_EQ(fir["response"][1]["groupDelaySamples"], 18.0);
    EXPECT_EQ(RunWell(folder, "kvx design --rate 1000 --notch 250 --csv sos").substr(0, 18),
              "b0,b1,b2,a0,a1,a2\n");
    EXPECT_EQ(RunWell(folder, "echo 0.25 0.5 0.25 > f.txt && kvx design --rate 10 --fir f.txt --csv fir"),
              "0.25\n0.5\n0.25\n");
    EXPECT_EQ(RunWell(folder, "kvx design --rate 10 --fir f.txt --csv response --at 0"),
              "frequency[Hz],level[dB],phase[deg],group delay[s]\n0,0,0,0\n");
}

TEST(Resample, ReachesAnyRateAndShifts) {
    const TempFolder folder;
    RunWell(folder, "awk 'BEGIN { for (i = 0; i < 20000; ++i) print sin(0.5 * i) }' > sine.txt");
    const json info = [&] {
        EXPECT_THAT(
            RunWell(folder, "kvx resample sine.txt --input-rate 1000 -o y.vdf2 --rate 1234.5 --shift 0.0123"),
            testing::HasSubstr(
                "become 24690 at 1234.5 Hz, band up to 450 Hz, 120 dB from half the lower rate "
                "on, shifted by 0.0123 s"));
        return RunJson(folder, "kvx info y.vdf2 --start 5 --end 15");
    }();
    EXPECT_NEAR(info["records"][0]["channels"][0]["rms"].get<double>(), std::numbers::sqrt2 / 2, 1e-4);
    // A shift by whole samples is the signal itself, moved.
    RunWell(folder, "kvx resample sine.txt --input-rate 1000 -o z.csv --shift -0.5 --start 1 --end 2");
    const auto value = [&](const std::string& file, const std::string& line) {
        return std::stod(RunWell(folder, "sed -n " + line + "p " + file + " | awk -F, '{print $NF}'"));
    };
    EXPECT_NEAR(value("z.csv", "202"), value("sine.txt", "1701"), 2e-6);
}

TEST(Design, StoresTheResponseAsLines) {
    const TempFolder folder;
    RunWell(folder, "kvx design --rate 1000 --lowpass 100 --order 1 --lines 500 -o r.vdf2");
    const json info = RunJson(folder, "kvx info r.vdf2");
    EXPECT_EQ(info["records"][0]["samples"], 500);
    EXPECT_DOUBLE_EQ(info["records"][0]["channels"][0]["max"].get<double>(), 1.0);
}

// What the design says of a frequency is what the filter makes of a sine there.
TEST(Design, IsWhatTheFilterDoes) {
    const TempFolder folder;
    RunWell(folder, "awk 'BEGIN { for (i = 0; i < 20000; ++i) print sin(0.5 * i) }' > sine.txt");
    const std::string hz = std::to_string(500.0 / std::numbers::pi / 2);
    for (const std::string filter :
         {"--bandpass 60,90 --order 3", "--family chebyshev1 --lowpass 70 --ripple 1", "--notch 80,2",
          "--family chebyshev2 --highpass 90 --attenuation 30",
          "--bandstop 70,90 --family bessel --norm phase", "--peak 75,4 --fir-set 1"}) {
        const json design = RunJson(folder, "kvx design --rate 1000 --at " + hz + " " + filter);
        const double level = std::pow(10.0, design["response"][0]["levelDb"].get<double>() / 20);
        for (const auto& [option, gain] : {std::pair("", level), {" --zero-phase", level * level}}) {
            RunWell(folder, "kvx filter sine.txt --rate 1000 -o y.csv " + filter + option);
            const json info = RunJson(folder, "kvx info y.csv --start 5 --end 15");
            EXPECT_NEAR(info["records"][0]["channels"][0]["rms"].get<double>() * std::numbers::sqrt2, gain,
                        2e-4 * gain + 1e-6)
                << filter << option;
        }
    }
}

}  // namespace
