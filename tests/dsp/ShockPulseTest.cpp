// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/ShockPulse.h>

#include <algorithm>
#include <string>

#include "Signals.h"

using namespace kvx;

namespace {

using std::numbers::pi;
using enum PulseShape;

const Pulse kTrapezoidPulse = {kTrapezoid, 30.0, 0.02, 0.1, 0.3};

/// Area and centre by sums of a fine division.
TEST(ShockPulse, HasItsVelocityAndCentreInClosedForm) {
    for (const NamedPulseShape& named : NamedPulseShapes()) {
        const Pulse pulse = {named.shape, -3.0, 0.4, 0.15, 0.35};
        double area = 0.0, moment = 0.0;
        const int steps = 20000;
        for (int i = 0; i < steps; ++i) {
            const double t = 0.4 * (i + 0.5) / steps;
            area += PulseValue(pulse, t) * 0.4 / steps;
            moment += PulseValue(pulse, t) * t * 0.4 / steps;
        }
        EXPECT_NEAR(PulseVelocity(pulse), area, 1e-8) << named.name;
        EXPECT_NEAR(PulseCentre(pulse), moment / area, 1e-8) << named.name;
        EXPECT_EQ(PulseValue(pulse, -1e-9), 0.0);
        EXPECT_EQ(PulseValue(pulse, 0.41), 0.0);
    }
    EXPECT_NEAR(PulseVelocity({kHalfSine, 490.3325, 0.011}), 3.43370, 1e-5);
    EXPECT_EQ(PulseValue({kTerminalSawtooth, 5.0, 0.01}, 0.01), 5.0);
    EXPECT_EQ(PulseValue({kInitialSawtooth, 5.0, 0.01}, 0.0), 5.0);
    EXPECT_EQ(PulseValue({kRectangle, 5.0, 0.01}, 0.01), 0.0);
}

/// What a shaker does with the samples: sums of straight lines.
struct Motion {
    double endVelocity = 0.0, endDisplacement = 0.0, lowest = 0.0, highest = 0.0;
};
Motion MotionOf(const Wave& samples, double rate) {
    Motion motion;
    long double velocity = 0.0L, displacement = 0.0L, before = 0.0L,
                h = 1.0L / static_cast<long double>(rate);
    for (const double sample : samples) {
        const auto now = static_cast<long double>(sample);
        displacement += h * velocity + h * h * (2.0L * before + now) / 6.0L;
        velocity += h * (before + now) / 2.0L;
        before = now;
        motion.lowest = std::min(motion.lowest, static_cast<double>(displacement));
        motion.highest = std::max(motion.highest, static_cast<double>(displacement));
    }
    motion.endVelocity = static_cast<double>(velocity);
    motion.endDisplacement = static_cast<double>(displacement);
    return motion;
}

TEST(ShockPulse, LeavesTheTableAtRestWhereItBegan) {
    for (const NamedPulseShape& named : NamedPulseShapes()) {
        for (const PulseCompensation compensation :
             {PulseCompensation::kHalfSine, PulseCompensation::kRectangle}) {
            for (const bool isCentred : {false, true}) {
                const Pulse pulse = {named.shape, 500.0, 0.011, 0.1, 0.3};
                const PulseWaveSettings settings = {20480.0, compensation, 0.1, 0.2, isCentred, 0.01, 0.02};
                const PulseWave wave = MakePulseWave(pulse, settings);
                const Motion motion = MotionOf(wave.samples, settings.rateHz);
                const std::string what = std::string(named.name) + (isCentred ? ", centred" : "");
                EXPECT_LT(std::abs(motion.endVelocity), 1e-13 * wave.highestVelocity) << what;
                EXPECT_LT(std::abs(motion.endDisplacement), 1e-12) << what;
                EXPECT_NEAR(wave.lowestDisplacement, motion.lowest, 1e-12);
                EXPECT_NEAR(wave.highestDisplacement, motion.highest, 1e-12);
                // One sided, or as far to either side.
                const double stroke = motion.highest - motion.lowest;
                EXPECT_NEAR(motion.highest / stroke, isCentred ? 0.5 : 0.0, 0.01) << what;
                EXPECT_EQ(wave.samples.front(), 0.0);
                EXPECT_EQ(wave.samples.back(), 0.0);
                // The heights stay within the limits of test standards, a fifth of the peak.
                const double deepest = *std::ranges::min_element(wave.samples);
                EXPECT_NEAR(deepest, -0.2 * 500.0, 5.0) << what;
            }
        }
    }
}

TEST(ShockPulse, OfAHalfSineIsCompensatedAsItsFormulasSay) {
    // Both sides last 1/(2 r) durations; the table moves to one side by what the velocity, half of the change
    // in front of the pulse, does in both compensations and in the pulse.
    const Pulse pulse = {kHalfSine, 500.0, 0.01};
    const PulseWave wave = MakePulseWave(pulse, {1e6, PulseCompensation::kHalfSine, 0.1, 0.1});
    EXPECT_NEAR(wave.beforeSeconds, 0.05, 1e-12);
    EXPECT_NEAR(wave.afterSeconds, 0.05, 1e-12);
    const double change = 2.0 / pi * 500.0 * 0.01;
    EXPECT_NEAR(wave.velocityChange, change, 1e-12);
    EXPECT_NEAR(wave.highestVelocity, change / 2.0, 1e-6);
    EXPECT_NEAR(wave.lowestVelocity, -change / 2.0, 1e-6);
    const double stroke = change / 2.0 * 0.05 / 2.0 + 500.0 * 0.01 * 0.01 / (pi * pi);
    EXPECT_NEAR(wave.lowestDisplacement, -stroke, 1e-6);
    EXPECT_NEAR(wave.highestDisplacement, 0.0, 1e-12);
    EXPECT_EQ(wave.samples[static_cast<std::size_t>(wave.start) + 5000], 500.0);
    const PulseWave bare = MakePulseWave(pulse, {1000.0});
    EXPECT_THAT(bare.samples, Near({0.0, 0.0, 154.5085, 293.8926, 404.5085, 475.5283, 500.0, 475.5283,
                                    404.5085, 293.8926, 154.5085, 0.0, 0.0},
                                   1e-4));
    EXPECT_EQ(bare.start, 1);
    EXPECT_NEAR(bare.endVelocity, change, 0.03);
}

TEST(ShockPulse, IsMeasuredAsItWasMade) {
    // A trapezoid is above a tenth of its peak but for a tenth of its rise and fall.
    const double rate = 1e5;
    const PulseWave wave =
        MakePulseWave(kTrapezoidPulse, {rate, PulseCompensation::kNone, 0, 0, false, 0.01, 0.01});
    const PulseFigures figures = MeasurePulse(wave.samples, rate);
    EXPECT_EQ(figures.peak, 30.0);
    EXPECT_NEAR(figures.startSeconds, static_cast<double>(wave.start) / rate + 0.0002, 1e-12);
    EXPECT_NEAR(figures.durationSeconds, 0.02 * (1.0 - 0.04), 1e-12);
    EXPECT_NEAR(figures.velocityChange, 30.0 * 0.02 * 0.8, 1e-9);
    EXPECT_NEAR(figures.fromSeconds, figures.startSeconds - 0.4 * figures.durationSeconds, 1e-12);
    EXPECT_NEAR(figures.toSeconds - figures.startSeconds, 1.1 * figures.durationSeconds, 1e-12);
    EXPECT_TRUE(figures.isWhole);
    // By other definitions: from half the peak, and within these places alone.
    const PulseFigures half = MeasurePulse(wave.samples, rate, {0.5, 0.0, 0.0});
    EXPECT_NEAR(half.durationSeconds, 0.02 * 0.8, 1e-12);
    EXPECT_NEAR(half.velocityChange, 30.0 * 0.02 * (0.6 + 0.75 * 0.2), 1e-9);
    // A pulse of the other sign, the highest of several, and one that the signal cuts.
    const PulseFigures low = MeasurePulse(Wave{0, 5, 0, -4, -8, -4, 1, 0}, 1.0, {0.25, 0.0, 0.0});
    EXPECT_EQ(low.peak, -8.0);
    EXPECT_EQ(low.peakSeconds, 4.0);
    EXPECT_NEAR(low.startSeconds, 2.5, 1e-12);
    EXPECT_NEAR(low.durationSeconds, 5.4 - 2.5, 1e-12);
    EXPECT_NEAR(low.velocityChange, -(0.5 * 3.0 + 12.0 + 0.4 * 3.0), 1e-12);
    const PulseFigures cut = MeasurePulse(Wave{3, 4, 2}, 10.0);
    EXPECT_FALSE(cut.isWhole);
    EXPECT_NEAR(cut.durationSeconds, 0.2, 1e-12);
    EXPECT_NEAR(cut.velocityChange, 0.65, 1e-12);
    EXPECT_EQ(MeasurePulse(Wave{-2}, 10.0).durationSeconds, 0.0);
}

TEST(ShockPulse, RefusesWhatIsNone) {
    const auto refused = [](const Pulse& pulse, const PulseWaveSettings& settings) {
        return IsBadValue([&] { MakePulseWave(pulse, settings); });
    };
    const Pulse good = {kHalfSine, 1.0, 0.01};
    const auto half = PulseCompensation::kHalfSine;
    EXPECT_FALSE(refused(good, {1000.0}));
    EXPECT_TRUE(refused({kHalfSine, 0.0, 0.01}, {1000.0}));
    EXPECT_TRUE(refused({kHalfSine, kNaN, 0.01}, {1000.0}));
    EXPECT_TRUE(refused({kHalfSine, 1.0, 0.0}, {1000.0}));
    EXPECT_TRUE(refused({kHalfSine, 1.0, kInfinity}, {1000.0}));
    EXPECT_TRUE(refused({kTrapezoid, 1.0, 0.01, 0.6, 0.6}, {1000.0}));
    EXPECT_TRUE(refused({kTrapezoid, 1.0, 0.01, 0.0, 0.6}, {1000.0}));
    EXPECT_TRUE(refused(good, {700.0}));
    EXPECT_TRUE(refused(good, {0.0}));
    EXPECT_TRUE(refused(good, {1000.0, PulseCompensation::kNone, 0.1, 0.1, true}));
    EXPECT_TRUE(refused(good, {1000.0, half, 0.0}));
    EXPECT_TRUE(refused(good, {1000.0, half, 0.1, 1.1}));
    EXPECT_TRUE(refused(good, {1000.0, half, 1.0, 1.0}));  // with 5 samples on either side
    EXPECT_TRUE(refused(good, {1000.0, half, 1e-9, 1e-9}));
    EXPECT_TRUE(refused(good, {1000.0, half, 0.1, 0.1, false, -1.0}));
    EXPECT_TRUE(refused(good, {1000.0, half, 0.1, 0.1, false, 1e9}));
    const Wave zeros(3), wave = {0, 1, 0};
    EXPECT_TRUE(IsBadValue([&] { MeasurePulse(zeros, 1.0); }));
    EXPECT_TRUE(IsBadValue([] { MeasurePulse({}, 1.0); }));
    EXPECT_TRUE(IsBadValue([] { MeasurePulse(Wave{0, kNaN, 1}, 1.0); }));
    EXPECT_TRUE(IsBadValue([&] { MeasurePulse(wave, 0.0); }));
    EXPECT_TRUE(IsBadValue([&] { MeasurePulse(wave, 1.0, {1.0}); }));
    EXPECT_TRUE(IsBadValue([&] { MeasurePulse(wave, 1.0, {0.1, -1.0}); }));
}

}  // namespace
