// SPDX-License-Identifier: MIT
//
// What kvx stats, bands and levels tell, against closed forms.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/TempFolder.h"
#include "tests/tools/ToolRun.h"

namespace {

/// A sine of amplitude 2, of whole periods, at 1024 Hz, in the file sine.csv.
void WriteSine(const TempFolder& folder) {
    RunWell(folder,
            "awk 'BEGIN { print \"sine [Pa]\"; for (i = 0; i < 8192; ++i)"
            " printf \"%.17g\\n\", 2 * sin(3.14159265358979324 * (i % 16) / 8) }' > sine.csv");
}

TEST(Stats, AreThoseOfASine) {
    const TempFolder folder;
    WriteSine(folder);
    const nlohmann::json report =
        RunJson(folder, "kvx stats sine.csv --rate 1024 --start 1 --histogram 4 --limits -2,2");
    const nlohmann::json& channel = report["records"][0]["channels"][0];
    EXPECT_EQ(channel["unit"], "Pa");
    EXPECT_EQ(channel["count"], 7168);
    EXPECT_NEAR(channel["mean"].get<double>(), 0.0, 1e-15);
    EXPECT_NEAR(channel["deviation"].get<double>(), std::sqrt(2.0), 1e-14);
    EXPECT_NEAR(channel["crest"].get<double>(), std::sqrt(2.0), 1e-14);
    EXPECT_NEAR(channel["skewness"].get<double>(), 0.0, 1e-14);
    EXPECT_NEAR(channel["kurtosis"].get<double>(), 1.5, 1e-14);
    EXPECT_EQ(channel["maxTime"], 1.0 + 4.0 / 1024);
    EXPECT_EQ(channel["minTime"], 1.0 + 12.0 / 1024);
    // Of sixteen values of a period sin falls 5 times below -1/2, 2 times below 0 and 4 times on or above it.
    const auto counts = channel["histogram"]["counts"].get<std::vector<int>>();
    EXPECT_EQ(counts, (std::vector<int>{5 * 448, 2 * 448, 4 * 448, 5 * 448}));
    EXPECT_EQ(channel["histogram"]["densityUnit"], "1/(Pa)");

    EXPECT_NE(RunWell(folder, "kvx stats sine.csv --rate 1024 --running-rms 0.25 --step 0.125 -o rms.vdf2")
                  .find("kurtosis"),
              std::string::npos);
    const nlohmann::json moving = RunJson(folder, "kvx info rms.vdf2");
    EXPECT_EQ(moving["records"][0]["samples"], 63);
    EXPECT_EQ(moving["records"][0]["axis"]["first"], 0.25);
    EXPECT_NEAR(moving["records"][0]["channels"][0]["min"].get<double>(), std::sqrt(2.0), 1e-14);
    EXPECT_NEAR(moving["records"][0]["channels"][0]["max"].get<double>(), std::sqrt(2.0), 1e-14);
}

TEST(Stats, SayWhatTheyCannotDo) {
    const TempFolder folder;
    WriteSine(folder);
    const struct {
        const char* options;
        int status;
        const char* sentence;
    } cases[] = {
        {"-o out.vdf2", 2, "belong together"},
        {"--running-rms 1", 2, "belong together"},
        {"--step 1", 2, "--step is for --running-rms"},
        {"--limits 1,2", 2, "--limits is for --histogram"},
        {"--histogram 3 --limits 2,1", 1, "the lowest edge comes first"},
        {"--running-rms 9 -o out.vdf2", 1, "longer than its 8192 samples"},
    };
    for (const auto& each : cases) {
        const ToolResult result =
            RunShell(folder, std::string("kvx stats sine.csv --rate 1024 ") + each.options);
        EXPECT_EQ(result.status, each.status) << each.options;
        EXPECT_NE(result.err.find(each.sentence), std::string::npos) << result.err;
    }
}

TEST(Bands, ShowTheSineInItsBandInEveryForm) {
    const TempFolder folder;
    WriteSine(folder);
    const nlohmann::json report = RunJson(folder, "kvx bands sine.csv --rate 1024 --fraction 1 --from 16");
    const nlohmann::json& record = report["records"][0];
    EXPECT_EQ(record["bands"][0]["nominal"], 16);
    EXPECT_EQ(record["bands"][2]["nominal"], 63);
    ASSERT_EQ(record["bands"].size(), 5U);
    const nlohmann::json& channel = record["channels"][0];
    EXPECT_EQ(channel["reference"], "20 µPa");
    EXPECT_NEAR(channel["level"].get<double>(), 96.990, 0.001);  // 2/sqrt(2) Pa over 20 uPa
    EXPECT_NEAR(channel["bandLevels"][2].get<double>(), 96.990, 0.03);
    EXPECT_LT(channel["bandLevels"][4].get<double>(), 96.990 - 35.0);

    const nlohmann::json linear =
        RunJson(folder, "kvx bands sine.csv --rate 1024 --fraction 1 --from 63 --to 63 --linear -o lin.vdf2");
    EXPECT_EQ(linear["records"][0]["bands"].size(), 1U);
    const nlohmann::json stored = RunJson(folder, "kvx info lin.vdf2")["records"][0];
    EXPECT_EQ(stored["unit"], "Pa");
    EXPECT_NEAR(stored["axis"]["first"].get<double>(), 63.0957344480193, 1e-12);
    EXPECT_NEAR(stored["channels"][0]["max"].get<double>(), 1.41421, 0.004);

    // Running levels: of the steady tone, once the average has settled.
    RunWell(folder,
            "kvx bands sine.csv --rate 1024 --fraction 3 --from 63 --to 80 --time-weighting F --step 0.25"
            " --reference '1 Pa' -o run.vdf2");
    const nlohmann::json running = RunJson(folder, "kvx info run.vdf2 --start 2")["records"][0];
    EXPECT_EQ(running["channels"][0]["name"], "sine 63 Hz");
    EXPECT_EQ(running["channels"][1]["unit"], "dB");
    EXPECT_NEAR(running["channels"][0]["min"].get<double>(), 3.010, 0.1);
    EXPECT_NEAR(running["channels"][0]["max"].get<double>(), 3.010, 0.1);
    EXPECT_EQ(running["axis"]["delta"], 0.25);
}

TEST(Levels, AreThoseOfTheSine) {
    const TempFolder folder;
    WriteSine(folder);
    const nlohmann::json report =
        RunJson(folder, "kvx levels sine.csv --rate 1024 --peak-weighting Z -o run.vdf2");
    const nlohmann::json& levels = report["records"][0]["channels"][0]["levels"];
    constexpr double kLevel = 96.9897 - 25.9565;  // A at 64 Hz by the closed form
    EXPECT_NEAR(levels["LAeq"].get<double>(), kLevel, 0.03);
    EXPECT_NEAR(levels["LAFmax"].get<double>(), kLevel, 0.12);
    EXPECT_NEAR(levels["LAF50"].get<double>(), kLevel, 0.12);
    EXPECT_NEAR(levels["LAE"].get<double>(), kLevel + 9.031, 0.03);  // 8 s
    EXPECT_NEAR(levels["LZpeak"].get<double>(), 100.0, 1e-9);
    const nlohmann::json running = RunJson(folder, "kvx info run.vdf2 --start 2")["records"][0];
    EXPECT_NEAR(running["channels"][0]["mean"].get<double>(), kLevel, 0.1);
    EXPECT_EQ(running["axis"]["delta"], 0.125);
    // Without a unit of sound pressure the weighting is Z.
    const nlohmann::json other =
        RunJson(folder, "kvx levels sine.csv --rate 1024 --unit m/s2 --reference '1 um/s2'");
    EXPECT_NEAR(other["records"][0]["channels"][0]["levels"]["LZeq"].get<double>(), 123.010, 0.001);
}

TEST(Bands, AndLevelsSayWhatTheyCannotDo) {
    const TempFolder folder;
    WriteSine(folder);
    const struct {
        const char* command;
        int status;
        const char* sentence;
    } cases[] = {
        {"bands --to 500", 1, "the highest possible is that at 400 Hz"},
        {"bands --from 480", 1, "no 1/3 octave band from 480 Hz on ends below 481.28 Hz"},
        {"bands --fraction 97", 1, "97"},
        {"bands --weighting B", 1, "--weighting: there is no 'B'"},
        {"bands --time-weighting F", 2, "need a file, -o"},
        {"bands --step 1", 2, "--step is for --time-weighting"},
        {"bands --reference '1 g'", 1, "--reference '1 g' does not convert to 'Pa'"},
        {"bands --reference '0 Pa'", 1, "is not above 0"},
        {"levels --exceeded 101", 1, "is not a percentage"},
        {"levels --time-weighting X", 1, "--time-weighting"},
        {"levels -o out.vdf2 --step 99", 1, "longer than its 8192 samples"},
        {"levels --linear", 2, "--linear is for the running levels"},
    };
    for (const auto& each : cases) {
        const std::string words = each.command;
        const std::size_t end = words.find(' ');
        const ToolResult result =
            RunShell(folder, "kvx " + words.substr(0, end) + " sine.csv --rate 1024" + words.substr(end));
        EXPECT_EQ(result.status, each.status) << words;
        EXPECT_NE(result.err.find(each.sentence), std::string::npos) << words << ": " << result.err;
    }
}

}  // namespace
