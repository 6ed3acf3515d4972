// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/PolyphaseResampling.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <memory>

using namespace kvx;

namespace {

using std::numbers::pi;
using Process = std::unique_ptr<SampleProcess>;

Wave Through(const Process& process, std::span<const double> wave, std::size_t piece = 1 << 30) {
    Wave results;
    for (std::size_t at = 0; at < wave.size(); at += piece)
        process->Feed(wave.subspan(at, std::min(piece, wave.size() - at)), results);
    process->Finish(results);
    return results;
}

Wave Sine(double hz, const SampleTimes& times, double shift = 0.0) {
    return WaveOf(static_cast<std::size_t>(times.samples), [&](double i) {
        return std::sin(2 * pi * hz * ((i + static_cast<double>(times.offset)) * times.delta - shift) + 0.7);
    });
}

struct RateCase {
    double fromHz, toHz;
    std::int64_t up;     ///< of the ratio in lowest terms; 0 where whole numbers do not tell it
    __int64 offset;      ///< of the first sample
    double shift = 0.0;  ///< seconds
};
class Polyphase : public testing::TestWithParam<RateCase> {};

double DbOf(double value) {
    return 20 * std::log10(value);
}

TEST_P(Polyphase, KeepsItsBandAndTakesAwayWhatWouldFold) {
    const auto [fromHz, toHz, up, offset, shift] = GetParam();
    const double lower = std::min(fromHz, toHz);
    const auto samples = static_cast<__int64>(2000 * fromHz / lower);
    const SampleTimes times = {1 / fromHz, offset, samples};
    const PolyphasePlan plan = PlanPolyphase(times, toHz);
    EXPECT_EQ(plan.exact ? plan.exact->up : 0, up);
    EXPECT_NEAR(plan.bandHz, 0.45 * lower, 1e-9);
    // The first sample stands at the first whole multiple not before the signal, the last one before its end.
    const double first = static_cast<double>(plan.after.offset) * plan.step - static_cast<double>(offset);
    EXPECT_TRUE(first >= 0.0 && first < plan.step) << first;
    const double behind = first + static_cast<double>(plan.after.samples) * plan.step;
    EXPECT_TRUE(behind >= static_cast<double>(samples) - 1e-6 &&
                behind < static_cast<double>(samples) + plan.step);
    const auto worst = [&, seconds = shift](double hz, double amplitude) {
        const Wave results = Through(MakePolyphase(plan, Ends::held, seconds), Sine(hz, times));
        const Wave sine = Sine(hz, plan.after, seconds);
        EXPECT_EQ(results.size(), sine.size());
        double error = 0.0;
        for (std::size_t i = sine.size() / 4; i < sine.size() * 3 / 4; ++i)
            error = std::max(error, std::abs(results[i] - amplitude * sine[i]));
        return DbOf(error);
    };
    for (const double part : {0.01, 0.3, 0.6, 0.85, 0.9})
        EXPECT_LT(worst(0.5 * part * lower, 1.0), -122.0) << part;
    if (toHz == lower && toHz < fromHz) {
        for (const double part : {1.0, 1.03, 1.3}) {
            EXPECT_TRUE(part * toHz >= fromHz || worst(0.5 * part * toHz, 0.0) < -122.0) << part;
        }
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rates, Polyphase, testing::Values(
    RateCase{48000, 51200,              16,  0},
    RateCase{44100, 48000,              160, 17},
    RateCase{48000, 44100,              147, -5},
    RateCase{1000,  37,                 37,  3},
    RateCase{1000,  1000,               1,   9, 0.00037},
    RateCase{1000,  1600,               8,  -9, -0.0123},
    RateCase{1000,  1000 * pi,          0,   5},
    RateCase{1000,  1000 / pi,          0,   3, 0.0123},
    RateCase{1000,  999.99,             0,   0}));
// clang-format on

TEST(PolyphaseStreams, GivesTheSameBitsHoweverTheSignalIsCut) {
    const Wave wave = Noise(9001);
    for (const double toHz : {700.0, 1234.5678901, 5000.0}) {
        const PolyphasePlan plan = PlanPolyphase({1e-3, 5, 9001}, toHz);
        const Wave whole = Through(MakePolyphase(plan, Ends::held, 1e-4), wave);
        ASSERT_EQ(Size(whole), plan.after.samples);
        for (const std::size_t piece : {1U, 7U, 300U, 4097U})
            EXPECT_EQ(Through(MakePolyphase(plan, Ends::held, 1e-4), wave, piece), whole)
                << toHz << " " << piece;
    }
}

TEST(PolyphaseStreams, HoldsAConstantOrBeginsFromNothing) {
    for (const double toHz : {700.0, 1000.0, 1234.5678901}) {
        const PolyphasePlan plan = PlanPolyphase({1e-3, 0, 500}, toHz);
        EXPECT_THAT(Through(MakePolyphase(plan, Ends::held, 0.01), Wave(500, 3.0)),
                    testing::Each(testing::DoubleNear(3.0, 1e-12)));
        EXPECT_LT(Through(MakePolyphase(plan, Ends::zero), Wave(500, 3.0)).front(), 2.95);
    }
}

TEST(PolyphaseStreams, FindsTheRatioOfWholeNumbers) {
    const auto text = [](double ratio) {
        const auto found = FindRatio(ratio);
        return found ? std::to_string(found->up) + "/" + std::to_string(found->down) : "none";
    };
    EXPECT_EQ(text(51200.0 / 48000.0), "16/15");
    EXPECT_EQ(text(44100.0 / 48000.0), "147/160");
    EXPECT_EQ(text(1.0 / 3.0), "1/3");
    EXPECT_EQ(text(4096.0 / 4095.0), "4096/4095");
    EXPECT_EQ(text(pi), "none");
    EXPECT_EQ(text(5000.0), "none");
    EXPECT_EQ(text(kNaN), "none");
}

TEST(PolyphaseStreams, SaysWhatIsWrongWithItsValues) {
    const SampleTimes times = {1e-3, 0, 100};
    EXPECT_TRUE(IsBadValue([&] { PlanPolyphase(times, 0.0); }));
    EXPECT_TRUE(IsBadValue([&] { PlanPolyphase(times, kNaN); }));
    EXPECT_TRUE(IsBadValue([&] { PlanPolyphase({0.0, 0, 100}, 10.0); }));
    EXPECT_TRUE(IsBadValue([&] { PlanPolyphase(times, RateRatio{0, 1}); }));
    EXPECT_TRUE(IsBadValue([&] { PlanPolyphase({1e-3, 1, 100}, 0.5); }));
    EXPECT_TRUE(IsBadValue([&] { MakePolyphase(PlanPolyphase(times, 700.0), Ends::held, 1001.0); }));
    EXPECT_EQ(FailureOf([&] { PlanPolyphase(times, 1.1e7); }), ErrorKind::kUnsupported);
    EXPECT_EQ(FailureOf([&] { PlanPolyphase({1e-3, 0, kFarthest}, 700.0); }), ErrorKind::kUnsupported);
    EXPECT_EQ(FailureOf([&] { PlanPolyphase({1e-3, 1 << 30, 100}, 7000.0); }), ErrorKind::kUnsupported);
}

}  // namespace
