// SPDX-License-Identifier: MIT
//
// Measured signals, taken through the tool from file to density. The expected figures were computed from the
// same files with another numerical library. The recordings lie outside the tree: KVX_RECORDINGS names their
// folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Types.h>

#include "ToolRun.h"

namespace {

struct ChannelFigures {
    const char* file;
    const char* options;
    int channel;  ///< number through the file
    const char* unit;
    __int64 samples;
    double mean, rms, min, max;
};

struct PsdFigures {
    const char* file;
    const char* options;
    int channel;
    int block;
    int blocks;
    double spacing;
    std::map<int, double> lines;
    double bandRms;  ///< from line 4 on
    double highestHz, highestLevel;
};

// clang-format off
#define BRIDGE_A "bridgeA_ambient.lvm", "--rate 1651.612903"
#define BRIDGE_B "bridgeB_shaker_15Hz.lvm", "--rate 2560"
#define HAMMER "hammer_test_F_2acc.lvm", "--rate 1024 --unit N,m/s2,m/s2"
#define TRAFFIC "road_traffic.wav", ""

const ChannelFigures kChannels[] = {
    {BRIDGE_A, 1, "g",    72000,  -0.0024367350271,   0.003980777430278, -0.009693,     0.00688},
    {BRIDGE_B, 1, "g",    7400,   -0.00220263795797,  0.1535018564317,   -0.761293,     0.917875},
    {BRIDGE_B, 2, "g",    7400,   0.00948354851351,   6.040640057612,    -27.077947,    45.299014},
    {BRIDGE_B, 3, "g",    7400,   0.00369236290085,   0.01999428124826,  -0.044112,     0.045927},
    {HAMMER,   1, "N",    16384,  0.0524150588989,    0.2098614078014,   -18.032922,    2.75606},
    {HAMMER,   2, "m/s2", 16384,  0.230588509477,     0.2872551713009,   -1.740318,     1.554889},
    {HAMMER,   3, "m/s2", 16384,  0.243344722689,     0.3360216843154,   -3.671687,     7.461832},
    {TRAFFIC,  1, "-",    500640, 0.000349614261324,  0.02705788716788,  -0.2547302246, 0.2255554199},
};

const PsdFigures kPsds[] = {
    {BRIDGE_A, 1, 1024, 139, 1.61290323,  {{1, 3.13637306e-06}, {5, 4.385840633e-11}, {64, 1.25337058e-09}, {256, 7.251260667e-11}, {511, 2.808794093e-11}}, 0.000884428259328, 33.870968, 1.449035802e-07},
    {BRIDGE_A, 1, 4096, 34,  0.403225806, {{1, 1.273145883e-05}, {5, 7.839074285e-12}, {256, 3.442313607e-09}, {1024, 6.722822381e-11}, {2047, 1.240911791e-11}}, 0.000880086139005, 33.870968, 2.71184208e-07},
    {BRIDGE_B, 1, 1024, 13,  2.5,         {{1, 6.147715166e-07}, {5, 0.0001957041865}, {64, 6.141567849e-06}, {256, 4.847461387e-06}, {511, 2.070442704e-08}}, 0.157526430926, 15, 0.0003228564009},
    {BRIDGE_B, 1, 2048, 6,   1.25,        {{1, 1.304590902e-06}, {5, 6.507274673e-09}, {128, 4.49334759e-06}, {512, 1.716284827e-06}, {1023, 1.879635085e-08}}, 0.154585327253, 13.75, 0.0006124973435},
    {BRIDGE_B, 2, 1024, 13,  2.5,         {{1, 1.167757377e-05}, {5, 0.02012875866}, {64, 0.06463674906}, {256, 0.01709808407}, {511, 0.003358294084}}, 6.14021572185, 170, 0.3071929281},
    {BRIDGE_B, 2, 2048, 6,   1.25,        {{1, 1.829997978e-05}, {5, 1.08584456e-05}, {128, 0.08567377235}, {512, 0.0121770563}, {1023, 0.001458920456}}, 6.01202243451, 42.5, 0.5428706826},
    {BRIDGE_B, 3, 1024, 13,  2.5,         {{1, 2.23534e-06}, {5, 1.005427784e-06}, {64, 6.447549405e-07}, {256, 1.705651513e-07}, {511, 5.397019527e-08}}, 0.0194818232544, 125, 1.945150028e-06},
    {BRIDGE_B, 3, 2048, 6,   1.25,        {{1, 3.719353956e-06}, {5, 2.79935564e-07}, {128, 9.3068295e-09}, {512, 3.188388062e-07}, {1023, 4.227154527e-08}}, 0.0196314197761, 125, 3.641363202e-06},
    {HAMMER,   1, 1024, 31,  1,           {{1, 0.0009471135224}, {5, 6.036442252e-05}, {64, 5.174316162e-05}, {256, 5.23402472e-05}, {511, 1.513409067e-05}}, 0.159573928589, 5, 6.036442252e-05},
    {HAMMER,   1, 4096, 7,   0.25,        {{1, 0.003557742727}, {5, 6.839906964e-05}, {256, 6.447686906e-05}, {1024, 6.519708133e-05}, {2047, 1.827584933e-05}}, 0.178565099399, 3.5, 7.734969611e-05},
    {HAMMER,   2, 1024, 31,  1,           {{1, 0.01771916418}, {5, 4.408634991e-08}, {64, 5.709328148e-09}, {256, 6.527821101e-07}, {511, 1.131438692e-07}}, 0.165993166028, 21, 0.01010407274},
    {HAMMER,   2, 4096, 7,   0.25,        {{1, 0.07087497369}, {5, 2.419687272e-07}, {256, 7.561334815e-09}, {1024, 8.502649763e-07}, {2047, 1.36010797e-07}}, 0.158590416578, 21.25, 0.02317243691},
    {HAMMER,   3, 1024, 31,  1,           {{1, 0.01974122525}, {5, 4.238779877e-08}, {64, 3.703098579e-06}, {256, 7.556438661e-06}, {511, 1.126239455e-05}}, 0.19777857531, 20, 0.008199569816},
    {HAMMER,   3, 4096, 7,   0.25,        {{1, 0.07888742153}, {5, 1.163623835e-07}, {256, 4.530274795e-06}, {1024, 9.541656079e-06}, {2047, 1.350473053e-05}}, 0.208259266776, 19.75, 0.02714081591},
    {TRAFFIC,  1, 1024, 976, 46.875,      {{1, 1.000779984e-06}, {5, 6.481295201e-07}, {64, 7.063273559e-09}, {256, 1.116717372e-10}, {511, 1.104674169e-13}}, 0.0240047409076, 281.25, 7.227023545e-07},
    {TRAFFIC,  1, 4096, 243, 11.71875,    {{1, 4.676004985e-07}, {5, 1.49376668e-06}, {256, 7.249687825e-09}, {1024, 1.007968384e-10}, {2047, 1.105290948e-13}}, 0.0268267679365, 82.03125, 2.291848437e-06},
};

/// The largest values of the absolute acceleration and the pseudo-velocity, up and down, of oscillators with Q
/// 10 under the second acceleration of the hammer's file: by lfilter of SciPy with the coefficients of
/// Smallwood's paper and ISO 18431-4.
struct ShockFigures {
    double hz, accelerationUp, accelerationDown, velocityUp, velocityDown;
};

struct TransferFigures {
    int channel;
    double hz, real, imaginary, coherence;
};

// Of the hammer's file: the force to each acceleration, both blows, each a block of 8192.
const TransferFigures kTransfers[] = {
    {2, 21,      -10.03919374, 3.771102702,   0.9979245653},
    {2, 40,      0.1430772015, 0.03566619163, 0.8787268784},
    {2, 160.625, -1.311850802, 1.139511462,   0.9999787212},
    {2, 160.75,  -1.063765983, 1.370211408,   0.9999733479},
    {2, 235,     1.047221709,  -0.713326837,  0.9999306061},
    {2, 340,     0.2588720773, 1.332859958,   0.9998534011},
    {3, 21,      5.127654266,  -2.649228653,  0.9953914158},
    {3, 40,      -3.275930797, 0.1032243821,  0.9999748228},
    {3, 160.625, -1.600054315, -6.531050059,  0.9997986435},
    {3, 160.75,  -2.66126493,  -6.255510906,  0.9998311132},
    {3, 235,     -1.143593251, 0.2598175566,  0.9999657445},
    {3, 340,     -0.5899128113, -1.433324991, 0.9999365056},
};

const ShockFigures kShocks[] = {
    {5,   0.4920479953, 0,           0.01554532407,  0},
    {20,  4.718644826,  4.252306983, 0.03736913145,  0.03369025346},
    {50,  1.80217609,   2.004261724, 0.005732067285, 0.00633051827},
    {100, 3.303550237,  2.963865213, 0.00513805088,  0.004771693691},
    {400, 7.658159369,  8.588379007, 0.003140255283, 0.003545935197},
};
// clang-format on

// Half a unit of the last digit that the expected figures were written with, at the worst first digit.
constexpr double kDigits13 = 5e-13;
constexpr double kDigits12 = 5e-12;
constexpr double kDigits10 = 5e-10;

void ExpectFigure(const nlohmann::json& value, double expected, double relative, const std::string& what) {
    EXPECT_NEAR(value.get<double>(), expected, std::abs(expected) * relative) << what;
}

class Recordings : public testing::Test {
protected:
    void SetUp() override {
        const char* folder = std::getenv("KVX_RECORDINGS");
        if (folder == nullptr || *folder == '\0')
            GTEST_SKIP() << "KVX_RECORDINGS does not name a folder of recordings";
        source_ = folder;
    }
    void Import(const char* file, const char* options) const {
        RunWell(folder_, "kvx import '" + source_ + "/" + file + "' -o data.vdf2 " + options);
    }
    const nlohmann::json& Channel(const nlohmann::json& report, int number,
                                  const nlohmann::json** record) const {
        for (const nlohmann::json& candidate : report["records"]) {
            *record = &candidate;
            for (const nlohmann::json& channel : candidate["channels"]) {
                if (channel["channel"] == number) return channel;
            }
        }
        throw std::out_of_range("the channel is not in the report");
    }

    TempFolder folder_;
    std::string source_;
};

TEST_F(Recordings, OfOtherFormatsAreDescribedWithTheirKnownFigures) {
    const struct {
        const char* file;
        std::size_t record, channel;  // from 0
        const char* unit;
        double samples, rate, peak;  // as the origins of the files publish them
    } cases[] = {
        {"microphone_58b_binary.uff", 0, 0, "Pa", 79292, 65536, 0.1413039},
        {"loma_prieta_1989_redwood_city_133deg.smc", 0, 0, "Gal", 7183, 200, 222.5194},
        {"coalinga_1983_parkfield_CE36456.V2", 0, 0, "Gal", 3251, 50, 267.957},
        {"daqmx_raw1.tdms", 0, 0, "V", 2000, 50000, 0},
        {"ridgecrest_2019_csn_T001230_HNE.sac", 0, 0, "", 15001, 50, 0},
    };
    for (const auto& expected : cases) {
        const nlohmann::json info =
            RunJson(folder_, "kvx info '" + source_ + "/" + expected.file + "' 2>/dev/null");
        const nlohmann::json& record = info.at("records").at(expected.record);
        EXPECT_EQ(record.at("samples"), expected.samples) << expected.file;
        EXPECT_NEAR(record.at("axis").at("rate").get<double>(), expected.rate, 1e-9 * expected.rate);
        const nlohmann::json& channel = record.at("channels").at(expected.channel);
        if (expected.peak > 0.0) {
            EXPECT_EQ(channel.at("unit"), expected.unit) << expected.file;
            EXPECT_NEAR(channel.at("peak").get<double>(), expected.peak, 1e-5 * expected.peak)
                << expected.file;
        }
    }
}

TEST_F(Recordings, HaveTheirKnownStatistics) {
    for (const ChannelFigures& expected : kChannels) {
        const std::string what = std::string(expected.file) + " channel " + std::to_string(expected.channel);
        Import(expected.file, expected.options);
        const nlohmann::json info = RunJson(folder_, "kvx info data.vdf2");
        const nlohmann::json* record = nullptr;
        const nlohmann::json& channel = Channel(info, expected.channel, &record);
        EXPECT_EQ((*record)["samples"], expected.samples) << what;
        EXPECT_EQ((*record)["unit"], expected.unit) << what;
        ExpectFigure(channel["mean"], expected.mean, kDigits12, what + " mean");
        ExpectFigure(channel["rms"], expected.rms, kDigits13, what + " rms");
        ExpectFigure(channel["min"], expected.min, kDigits10, what + " min");
        ExpectFigure(channel["max"], expected.max, kDigits10, what + " max");
    }
}

TEST_F(Recordings, HaveTheirKnownMomentsAndLevels) {
    // numpy.std, scipy.stats.skew and kurtosis(fisher=False) of SciPy 1.10.1; the peak as its origin has it.
    const nlohmann::json traffic =
        RunJson(folder_, "kvx stats '" + source_ + "/road_traffic.wav'")["records"][0]["channels"][0];
    ExpectFigure(traffic["deviation"], 0.02705562839518055, kDigits13, "deviation");
    ExpectFigure(traffic["skewness"], -0.03725719811399796, kDigits12, "skewness");
    ExpectFigure(traffic["kurtosis"], 9.554342551117788, kDigits13, "kurtosis");
    EXPECT_EQ(traffic["peakTime"], 199386.0 / 48000.0);
    EXPECT_EQ(traffic["maxTime"], 183360.0 / 48000.0);
    const nlohmann::json levels =
        RunJson(folder_, "kvx levels '" + source_ + "/microphone_58b_binary.uff' --weighting Z 2>/dev/null");
    EXPECT_NEAR(levels["records"][0]["channels"][0]["levels"]["LZeq"].get<double>(), 57.11, 0.005);
}

TEST_F(Recordings, HaveTheirKnownDensities) {
    for (const PsdFigures& expected : kPsds) {
        const std::string what = std::string(expected.file) + " channel " + std::to_string(expected.channel) +
                                 " block " + std::to_string(expected.block);
        Import(expected.file, expected.options);
        const std::string number = std::to_string(expected.channel);
        const std::string psd = "kvx psd data.vdf2 -o psd.vdf2 --block " + std::to_string(expected.block) +
                                " --channels " + number + " --from " + std::to_string(4 * expected.spacing);
        const nlohmann::json report = RunJson(folder_, psd);
        const nlohmann::json* record = nullptr;
        const nlohmann::json& channel = Channel(report, expected.channel, &record);
        EXPECT_EQ((*record)["blocks"], expected.blocks) << what;
        ExpectFigure((*record)["lineSpacing"], expected.spacing, 1e-8, what + " line spacing");
        ExpectFigure(channel["rms"], expected.bandRms, 1e-9, what + " rms");
        ExpectFigure(channel["highestHz"], expected.highestHz, 1e-7, what + " highest line");
        ExpectFigure(channel["highestLevel"], expected.highestLevel, 1e-9, what + " highest level");

        std::istringstream csv(RunWell(folder_, "kvx export psd.vdf2 -o -"));
        std::vector<double> lines;
        for (std::string row; std::getline(csv, row);)
            lines.push_back(std::strtod(&row[row.find(',') + 1], nullptr));
        ASSERT_EQ(lines.size(), static_cast<std::size_t>(expected.block / 2 + 1));  // and the headings
        for (const auto& [line, level] : expected.lines) {
            ExpectFigure(lines[static_cast<std::size_t>(line) + 1], level, 1e-9,
                         what + " line " + std::to_string(line));
        }
    }
}

TEST_F(Recordings, HaveTheirKnownTransferFunctions) {
    Import(HAMMER);
    const nlohmann::json report =
        RunJson(folder_,
                "kvx xfr data.vdf2 --reference F --block 8192 --window rectangular --overlap 0 --at "
                "21,40,160.625,160.75,235,340");
    EXPECT_EQ(report["blocks"], 2);
    std::size_t next = 0;
    for (const nlohmann::json& response : report["responses"]) {
        for (const nlohmann::json& line : response["at"]) {
            const TransferFigures& expected = kTransfers[next++];
            const std::string what = response["name"].get<std::string>() + " at " + line["hz"].dump() + " Hz";
            EXPECT_EQ(response["channel"], expected.channel) << what;
            EXPECT_EQ(line["hz"], expected.hz) << what;
            ExpectFigure(line["real"], expected.real, kDigits10, what + " real");
            ExpectFigure(line["imaginary"], expected.imaginary, kDigits10, what + " imaginary");
            ExpectFigure(line["coherence"], expected.coherence, kDigits10, what + " coherence");
        }
    }
    EXPECT_EQ(next, std::size(kTransfers));
}

TEST_F(Recordings, OfTransferFunctionsAsTextHaveTheirKnownPeaks) {
    // The resonances of a free beam: the frequency and the magnitude of each.
    const std::map<double, double> expected = {{52, 8.43},  {142, 45.1},  {279, 40.5},
                                               {460, 43.3}, {687, 102.8}, {959, 43.2}};
    Import("beam_frf_point1.txt", "--axis frequency --spacing 1 --unit '(m/s2)/N' --name H");
    std::istringstream csv(RunWell(folder_, "kvx export data.vdf2 -o -"));
    std::string row;
    std::getline(csv, row);
    EXPECT_EQ(row, "frequency [Hz],H re [(m/s2)/N],H im [(m/s2)/N]");
    std::vector<double> magnitudes;
    for (double hz = 0, re = 0, im = 0; std::getline(csv, row); magnitudes.push_back(std::hypot(re, im))) {
        ASSERT_EQ(std::sscanf(row.c_str(), "%lf,%lf,%lf", &hz, &re, &im), 3);
        ASSERT_EQ(hz, static_cast<double>(magnitudes.size()));
    }
    ASSERT_EQ(magnitudes.size(), 1001U);
    for (const auto& [hz, magnitude] : expected) {
        const auto middle = magnitudes.begin() + static_cast<std::ptrdiff_t>(hz);
        EXPECT_EQ(std::max_element(middle - 40, middle + 40), middle) << hz;
        EXPECT_NEAR(*middle, magnitude, 0.05) << hz;
    }
}

TEST_F(Recordings, HaveTheirKnownShockResponses) {
    Import("hammer_test_F_2acc.lvm", "--rate 1024 --unit N,m/s2,m/s2");
    for (const std::string response : {"acceleration", "pseudo-velocity"}) {
        const nlohmann::json report = RunJson(
            folder_, "kvx srs data.vdf2 --channels 3 --straight --frequencies 5,20,50,100,400 --response " +
                         response + " --extremes primary-positive,primary-negative");
        const nlohmann::json& spectra = report["records"][0]["channels"][0]["spectra"];
        for (std::size_t i = 0; i < std::size(kShocks); ++i) {
            const ShockFigures& row = kShocks[i];
            const bool isVelocity = response != "acceleration";
            const double up = isVelocity ? row.velocityUp : row.accelerationUp;
            const double down = isVelocity ? row.velocityDown : row.accelerationDown;
            // Single steps of the textbook's difference equation cancel to eight digits at 5 Hz.
            ExpectFigure(spectra[0]["levels"][i], up, 1e-8, response + " up");
            ExpectFigure(spectra[1]["levels"][i], down, 1e-8, response + " down");
        }
    }
}

}  // namespace
