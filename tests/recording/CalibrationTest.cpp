// SPDX-License-Identifier: MIT
#include <KvxRecording01/Calibration.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalReader.h>

#include "tests/support/TempFolder.h"

using namespace kvx;

namespace {

template <class Operation>
std::string Refusal(Operation operation) {
    try {
        operation();
    } catch (const Error& error) {
        return error.Sentence();
    }
    return "";
}

TEST(Sensitivity, IsReadAndWrittenAsPeopleWriteIt) {
    for (const std::string text :
         {"100 mV/g", "-3.2 pC/N", "10.2 mV/(m/s2)", "0.5 V/Pa", "4 mA/degree", "12 mV/kPa"})
        EXPECT_EQ(SensitivityText(ParseSensitivity(text)), text);
    EXPECT_EQ(SensitivityText(ParseSensitivity("10.2mV/m/s2")), "10.2 mV/(m/s2)");
    EXPECT_EQ(SensitivityText(ParseSensitivity("1 mV/mil")), "0.0393700787 mV/μm");
    const auto refusal = [](const char* text) { return Refusal([=] { ParseSensitivity(text); }); };
    EXPECT_EQ(refusal("mV/g"), "'mV/g' does not begin with a number other than 0");
    EXPECT_EQ(refusal("0 mV/g"), "'0 mV/g' does not begin with a number other than 0");
    EXPECT_EQ(refusal("100 mV"), "'100 mV' has no unit per unit, as 100 mV/g has");
    EXPECT_EQ(refusal("100 mV/parsec"), "'parsec' is not a unit (did you mean 'psec'?)");
    EXPECT_EQ(refusal("100 mV/"), "'' is not a single unit");
    EXPECT_EQ(refusal("100 mV/g2/Hz"), "'g2/Hz' is not a single unit");
}

/// The first sample of each channel and their units: "2 g, 3 N".
std::string FirstOf(const std::string& path, const RecordingStatements& stated,
                    std::string* remarks = nullptr) {
    const auto reader = OpenSignal(path, {}, stated);
    const std::vector<SignalRun::Channel>& channels = reader->Runs().front().channels;
    std::vector<double> samples(channels.size());
    std::vector<double*> targets;
    for (double& sample : samples) targets.push_back(&sample);
    reader->Read(0, targets, 1);
    std::string text;
    for (std::size_t c = 0; c < channels.size(); ++c) {
        text += (c == 0 ? "" : ", ") + FormatNumber(channels[c].unit.ConvDtoI(samples[c], 1.0, 0)) + " " +
                UnitText(channels[c].unit);
    }
    for (const std::string& remark : reader->Remarks())
        if (remarks != nullptr) *remarks += remark + "; ";
    return text;
}

TEST(Sensitivity, TurnsVoltsIntoWhatTheSensorMeasures) {
    const TempFolder folder;
    folder.Write("in.csv", "a [mV],b\n200,0.5\n0,0\n");
    const std::string path = (folder / "in.csv").string();
    const auto with = [](std::vector<std::string> texts, std::vector<double> gains = {}) {
        RecordingStatements stated = {.rateHz = 4.0};
        for (const std::string& text : texts) stated.sensitivities.push_back(ParseSensitivity(text));
        stated.gains = std::move(gains);
        return stated;
    };
    std::string remarks;
    EXPECT_EQ(FirstOf(path, with({"100 mV/g", "0.25 V/N"}), &remarks), "2 g, 2 N");
    EXPECT_EQ(remarks, "channel 'b' has no unit, so its values are taken as V; ");
    EXPECT_EQ(FirstOf(path, with({"-100 mV/g"}, {10.0, 0.5})), "-0.2 g, -10 g");
    EXPECT_EQ(FirstOf(path, with({}, {2.0})), "100 mV, 0.25 -");
    EXPECT_EQ(Refusal([&] { FirstOf(path, with({"1 pC/g"})); }),
              "sensitivities: channel 'a' is in 'mV', which does not convert to 'pC'");
    EXPECT_EQ(Refusal([&] { FirstOf(path, with({}, {0.0})); }), "gains gives 0, by which nothing divides");
    EXPECT_EQ(Refusal([&] {
                  FirstOf(path, with({}, {1.0, 1.0, 1.0}));
              }),
              "gains gives 3 values for 2 channels");
}

TEST(Units, ThatTheTableLacksAreConvertedWithANote) {
    const TempFolder folder;
    folder.Write("in.csv", "a [mm/s2],b (psi)\n2500,1\n3,4\n");
    const std::string path = (folder / "in.csv").string();
    std::string remarks;
    EXPECT_EQ(FirstOf(path, {.rateHz = 4.0}, &remarks), "2.5 m/s2, 6.89476 kPa");
    EXPECT_EQ(
        remarks,
        "the unit 'mm/s2' of channel 'a' becomes 'm/s2'; the unit 'psi' of channel 'b' becomes 'kPa'; ");
    remarks.clear();
    EXPECT_EQ(FirstOf(path, {.rateHz = 4.0, .units = {*ParseEntryUnit(L"mil")}}, &remarks),
              "63500 μm, 25.4 μm");
    EXPECT_EQ(remarks,
              "the unit 'mil' of channel 'a' becomes 'μm'; the unit 'mil' of channel 'b' becomes 'μm'; ");
}

TEST(OpenSignal, CallsAMissingSampleMissingWhateverItsUnit) {
    const TempFolder folder;
    folder.Write("in.csv", "a [g]\n1\n\"\"\n3\n");
    RecordingStatements stated = {.rateHz = 4.0};
    stated.text.missing = {""};
    EXPECT_EQ(Refusal([&] { FirstOf((folder / "in.csv").string(), stated); }), "");
    const auto reader = OpenSignal((folder / "in.csv").string(), {}, stated);
    double samples[3];
    double* const target = samples;
    EXPECT_EQ(Refusal([&] { reader->Read(0, {&target, 1}, 3); }), "the sample holds no value");
}

TEST(Calibration, TellsSensitivityOrGain) {
    const TempFolder folder;
    std::string text = "volts [mV],plain,g [g]\n";
    for (int i = 0; i < 3000; ++i) {
        const double tone = std::numbers::sqrt2 * std::sin(0.37 * i);
        text += FormatNumber(98.5 * tone + 3.0, 17) + "," + FormatNumber(0.2 * tone, 17) + "," +
                FormatNumber(1.02 * tone, 17) + "\n";
    }
    folder.Write("in.csv", text);
    const auto calibrate = [&](const CalibrationChoice& choice) {
        return CalibrationsOf(*OpenSignal((folder / "in.csv").string(), {}, {.rateHz = 1000.0}), choice);
    };
    const auto channels = calibrate({.level = 1.0, .unit = NamedUnit("g")});
    ASSERT_EQ(channels.size(), 3U);
    EXPECT_EQ(SensitivityText(*channels[0].sensitivity), "98.5 mV/g");
    EXPECT_EQ(SensitivityText(*channels[1].sensitivity), "0.2 V/g");
    EXPECT_NEAR(*channels[2].gain, 1.02, 1e-12);
    EXPECT_NEAR(channels[0].tone.frequencyHz, 370.0 / (2.0 * std::numbers::pi), 1e-9);
    EXPECT_TRUE(channels[0].isClean);
    EXPECT_NEAR(*calibrate({.level = 10.0, .unit = NamedUnit("m/s2")})[2].gain, 1.02 * 0.980665, 1e-12);
    EXPECT_EQ(Refusal([&] { calibrate({.level = 1.0, .unit = NamedUnit("N")}); }),
              "channel 'g': it is in 'g', which is neither electrical nor converts to 'N'");
    EXPECT_EQ(Refusal([&] { calibrate({.level = 94.0, .unit = NamedUnit("dB")}); }),
              "a level in dB is a ratio; state what the sensor is exposed to, as 1 Pa for 94 dB");
    EXPECT_EQ(Refusal([&] { calibrate({.level = 0.0, .unit = NamedUnit("g")}); }),
              "a level of 0 is not above 0");
}

}  // namespace
