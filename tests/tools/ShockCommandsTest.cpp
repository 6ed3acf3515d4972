// SPDX-License-Identifier: MIT
//
// Pulses made, measured and analysed by the tool, whose figures are known in closed form.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "ToolRun.h"

using testing::HasSubstr;

namespace {

constexpr double kGravity = 9.80665;

TEST(Shock, IsMeasuredAsItWasMade) {
    const TempFolder folder;
    const nlohmann::json made = RunJson(folder,
                                        "kvx pulse -o p.vdf2 --peak '50 g' --duration '11 ms' --rate 1e5 "
                                        "--lead 0.02 --compensation half-sine");
    const double change = 2.0 / M_PI * 50.0 * kGravity * 0.011;
    EXPECT_NEAR(made["velocityChange"], change, 1e-12);
    EXPECT_NEAR(made["velocityHighest"], change / 2.0, 1e-4);
    EXPECT_NEAR(made["beforeDuration"], 0.055, 1e-12);
    const double stroke = change / 2.0 * 0.055 / 2.0 + 50.0 * kGravity * 0.011 * 0.011 / (M_PI * M_PI);
    EXPECT_NEAR(made["displacementLowest"], -1000.0 * stroke, 1e-2);
    EXPECT_NEAR(made["displacementHighest"], 0.0, 1e-9);
    const nlohmann::json measured =
        RunJson(folder, "kvx shock p.vdf2 --before 0.02 --after 0.02")["channels"][0];
    EXPECT_NEAR(measured["peak"], 50.0, 1e-9);
    EXPECT_NEAR(measured["peakTime"], 0.0055, 1e-12);
    EXPECT_NEAR(measured["duration"], 0.011 * (1.0 - 2.0 * std::asin(0.1) / M_PI), 1e-7);
    EXPECT_EQ(measured["isWhole"], true);
    // The pulse continues behind the limits: from 10 % less 2 % of its duration.
    const double from = measured["velocityFrom"], to = measured["velocityTo"];
    const double inside = (std::cos(M_PI * from / 0.011) - std::cos(M_PI * to / 0.011)) / 2.0 * change;
    EXPECT_NEAR(measured["velocityChange"], inside, 5e-6);
    EXPECT_THAT(
        RunWell(folder, "kvx pulse -o q.csv --shape rectangle --peak '2 V' --duration '1 s' --rate 16"),
        testing::Not(HasSubstr("velocity")));
}

TEST(Shock, TakesOffsetsOffAndTellsOfWhatIsCut) {
    const TempFolder folder;
    RunWell(folder,
            "kvx pulse -o p.vdf2 --shape terminal-sawtooth --peak '100 m/s2' --duration '10 ms' --rate 10000 "
            "--lead 0.1; "
            "kvx edit p.vdf2 -o off.vdf2 --offset 7; kvx edit p.vdf2 -o volts.csv --channels 1");
    const nlohmann::json plain = RunJson(folder, "kvx shock p.vdf2")["channels"][0];
    const nlohmann::json mended = RunJson(folder, "kvx shock off.vdf2 --baseline 0.05")["channels"][0];
    for (const char* key : {"peak", "start", "duration", "velocityChange", "velocityFrom"})
        EXPECT_NEAR(mended[key], plain[key], 1e-9) << key;
    const auto highest = [&](const std::string& command) {
        return RunJson(folder, command)["records"][0]["channels"][0]["spectra"][0]["highest"].get<double>();
    };
    EXPECT_NEAR(highest("kvx srs off.vdf2 --to 1000 --baseline 0.05"), highest("kvx srs p.vdf2 --to 1000"),
                1e-9);
    const ToolResult cut = RunShell(folder, "kvx shock p.vdf2 --start 0.005");
    EXPECT_EQ(cut.status, 0);
    EXPECT_EQ(
        cut.err,
        "kvx: note: the pulse of channel 'pulse' is cut: the signal begins or ends above the threshold\n");
}

TEST(Srs, OfAHalfSineReadsItsFigureAndIsStored) {
    const TempFolder folder;
    RunWell(folder, "kvx pulse -o p.vdf2 --peak '50 g' --duration '10 ms' --rate 50000 --tail 0.2");
    const std::string srs = "kvx srs p.vdf2 --damping 0 --from 50 --to 120 --step 0.5 ";
    const nlohmann::json report = RunJson(folder, srs + "--response static-acceleration -o s.vdf2");
    const nlohmann::json& spectrum = report["records"][0]["channels"][0]["spectra"][0];
    EXPECT_NEAR(spectrum["highest"], 50.0 * 1.7684577, 50.0 * 1e-4);
    EXPECT_NEAR(spectrum["highestHz"], 81.0, 0.5);
    EXPECT_EQ(report["q"], nullptr);
    // What was stored is what was reported, in the unit of the signal, and is drawn.
    const nlohmann::json info = RunJson(folder, "kvx info s.vdf2")["records"][0];
    EXPECT_EQ(info["unit"], "g");
    EXPECT_NEAR(info["channels"][0]["max"], spectrum["highest"], 1e-9);
    EXPECT_THAT(RunWell(folder, "kvx export s.vdf2 -o - | head -n 1"), HasSubstr("frequency [Hz],pulse [g]"));
    RunWell(folder, "kvx plot s.vdf2 -o s.svg");
    // Displacement and velocity are apart by omega.
    const auto level = [&](const std::string& response) {
        const nlohmann::json all = RunJson(folder, "kvx srs p.vdf2 --frequencies 80 --response " + response);
        return all["records"][0]["channels"][0]["spectra"][0]["levels"][0].get<double>();
    };
    EXPECT_NEAR(level("pseudo-velocity"), level("relative-displacement") / 1000.0 * 2.0 * M_PI * 80.0, 1e-9);
    const std::string table = RunWell(
        folder,
        "kvx srs p.vdf2 --frequencies 20,100 --extremes positive,negative --table -o s.csv; head -n 1 s.csv");
    EXPECT_THAT(table, HasSubstr("frequency [Hz]  pulse positive [g]  pulse negative [g]\n              20"));
    EXPECT_THAT(table, HasSubstr("frequency [Hz],pulse positive [g],pulse negative [g]"));
}

TEST(Shock, IsRefusedInASentence) {
    const TempFolder folder;
    RunWell(folder,
            "kvx pulse -o p.vdf2 --peak '50 g' --duration '10 ms'; kvx edit p.vdf2 -o v.vdf2 --unit V; "
            "kvx pulse -o n.vdf2 --peak=-5g --duration 10ms");
    const struct {
        const char* command;
        const char* sentence;
        int status;
    } cases[] = {
        {"pulse -o q.vdf2 --peak 50 --duration '10 ms'", "--peak '50' has no unit, as '50 g' has", 1},
        {"pulse -o q.vdf2 --peak '50 g' --duration '10 mm'", "--duration: 'mm' is no unit of time", 1},
        {"pulse -o q.vdf2 --peak '50 g' --duration '10 ms' --rate 100",
         "cannot make 'q.vdf2': a pulse of 0.01 s has fewer than 8 samples at 100 Hz", 1},
        {"pulse -o q.vdf2 --peak '50 g' --duration '10 ms' --centred",
         "--before, --after and --centred need a --compensation", 1},
        {"pulse -o q.vdf2 --peak '50 g' --duration '10 ms' --rise 5", "--rise and --fall are of a trapezoid",
         1},
        {"pulse -o q.vdf2 --shape sine --peak '50 g' --duration '10 ms'", "'sine'", 1},
        {"shock p.vdf2 --threshold 100",
         "cannot analyse 'p.vdf2': channel 'pulse': a threshold of 1 is not above 0", 1},
        {"shock p.vdf2 --baseline 9", "a baseline of 9 s is no part of the recording", 1},
        {"srs v.vdf2 --response relative-displacement",
         "channel 'pulse': only of an acceleration are there spectra of velocity and displacement", 1},
        {"srs p.vdf2 --q 0.5", "a damping ratio of 1 is not from 0 to below 1", 1},
        {"srs p.vdf2 --peak-error 0.1", "a peak error of 0.001 is not from 0.005 to below 1", 1},
        {"srs p.vdf2 --from 10 --to 5", "there is no natural frequency from 10 Hz to 5 Hz", 1},
        {"srs p.vdf2 --frequencies 1,abc", "'abc' is not a number", 1},
        {"srs p.vdf2 --extremes most", "--extremes: ", 1},
        {"srs p.vdf2 --q 10 --damping 5", "--q and --damping say the same", 2},
        {"srs p.vdf2 --step 1 --per-octave 3", "only one of --per-octave, --step and --frequencies", 2},
        {"srs p.vdf2 --frequencies 1 --to 3", "--from and --to do not apply", 2},
    };
    for (const auto& [command, sentence, status] : cases) {
        const ToolResult result = RunShell(folder, std::string("kvx ") + command);
        EXPECT_EQ(result.status, status) << command << result.err;
        EXPECT_THAT(result.err, HasSubstr(sentence)) << command;
    }
}

}  // namespace
