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

}  // namespace
