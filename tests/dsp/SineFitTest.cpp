// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/SineFit.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>

using namespace kvx;

namespace {

std::vector<double> Tone(std::size_t count, double radians, double phase, double second = 0.0) {
    std::vector<double> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i);
        samples[i] = 0.3 + 1.7 * std::cos(radians * t + phase) + second * std::cos(2.0 * radians * t);
    }
    return samples;
}

TEST(SineFit, FindsAToneBetweenTheLines) {
    for (const std::size_t count : {64U, 1000U, 8191U}) {
        for (const double radians : {0.21, 0.5, 1.234567, 3.0}) {
            for (const double phase : {-3.0, 0.1, 2.0}) {
                const SineFit fit = FitSine(Tone(count, radians, phase), 1000.0);
                EXPECT_NEAR(fit.frequencyHz, radians * 500.0 / std::numbers::pi, 1e-8) << count;
                EXPECT_NEAR(fit.amplitude, 1.7, 1e-11);
                EXPECT_NEAR(fit.offset, 0.3, 1e-11);
                EXPECT_NEAR(std::remainder(fit.phase - phase, 2.0 * std::numbers::pi), 0.0, 1e-10);
                EXPECT_LT(fit.residualRms, 1e-11);
            }
        }
    }
}

TEST(SineFit, TakesMoreSamplesThanATransform) {
    const SineFit fit = FitSine(Tone(1 << 20, 0.5, 0.1, 0.4), 1000.0);
    EXPECT_NEAR(fit.frequencyHz, 250.0 / std::numbers::pi, 1e-8);
    EXPECT_NEAR(fit.amplitude, 1.7, 1e-5);
}

TEST(SineFit, LeavesWhatIsNotTheTone) {
    const SineFit fit = FitSine(Tone(20000, 0.5, 0.0, 0.2), 2000.0);
    EXPECT_NEAR(fit.amplitude, 1.7, 1e-4);
    EXPECT_NEAR(fit.residualRms, 0.2 / std::numbers::sqrt2, 1e-4);
    const double known = 0.5 * 1000.0 / std::numbers::pi;
    EXPECT_EQ(FitSine(Tone(20000, 0.5, 0.0), 2000.0, known).frequencyHz, known);
    EXPECT_NEAR(FitSine(Tone(20000, 0.5, 0.0), 2000.0, known).amplitude, 1.7, 1e-12);
}

std::string Refusal(const std::vector<double>& samples, double rateHz,
                    std::optional<double> frequencyHz = {}) {
    try {
        FitSine(samples, rateHz, frequencyHz);
    } catch (const Error& error) {
        return error.Sentence();
    }
    return "";
}

TEST(SineFit, IsRefusedWhereThereIsNone) {
    EXPECT_EQ(Refusal(Tone(15, 0.5, 0.0), 1.0), "a sine is fitted to 16 samples or more");
    EXPECT_EQ(Refusal(Tone(100, 0.5, 0.0), 0.0), "a rate of 0 Hz is none");
    EXPECT_EQ(Refusal(Tone(100, 0.5, 0.0), 10.0, 5.0), "5 Hz is not between 0 and half the rate");
    EXPECT_EQ(Refusal(Tone(100, 0.5, 0.0), 10.0, 0.01), "there are less than two periods of it");
    EXPECT_EQ(Refusal(std::vector<double>(100, 0.0), 10.0), "nothing oscillates in it");
    EXPECT_EQ(Refusal({100, std::numeric_limits<double>::infinity()}, 10.0),
              "a sine is fitted to 16 samples or more");
    std::vector<double> infinite = Tone(100, 0.5, 0.0);
    infinite[50] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Refusal(infinite, 10.0), "a sample is not finite");
}

}  // namespace
