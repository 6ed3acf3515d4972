// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/Recording.h>

using namespace kvx;

namespace {

/// The axis as "rate offset", or the sentence.
std::string AxisOutcome(const std::vector<double>& times, double resolution, std::optional<double> rate) {
    RecordedAxis recorded;
    if (!times.empty()) {
        recorded.stamps = {std::ssize(times), times.front(), times.back(), resolution, {}};
        StrayFinder(&*recorded.stamps).Add(times);
    }
    try {
        const EvenAxis axis = SettleAxis(recorded, rate, "--rate");
        return FormatNumber(1.0 / axis.delta, 9) + " " + std::to_string(axis.offset) +
               (axis.remarks.empty() ? "" : ": " + axis.remarks.front());
    } catch (const Error& error) {
        return error.what();
    }
}

TEST(EvenAxis, FollowsTheStampsUnlessARateIsGiven) {
    EXPECT_EQ(AxisOutcome({0, 0.000391, 0.000781, 0.001172}, 1e-6, {}), "2559.72696 0");
    EXPECT_EQ(AxisOutcome({0, 0.000391, 0.000781, 0.001172}, 1e-6, 2560), "2560 0");
    EXPECT_EQ(AxisOutcome({-0.2, -0.1, 0}, 0.1, {}), "10 -2");
    EXPECT_EQ(AxisOutcome({}, 1, 100), "100 0");
    EXPECT_EQ(AxisOutcome({0, 0.1, 0.2}, 0.1, 20), "20 0: the time column says 10 Hz; --rate 20 is used");
    EXPECT_EQ(AxisOutcome({1e9, 1e9 + 0.01}, 0.01, 100),
              "100 0: the first stamp, 1000000000 s, is too far from 0; the record starts at 0 s");
    EXPECT_EQ(AxisOutcome({0.1, 0.6, 1.1}, 0.1, {}),
              "2 0: the first sample stands at 0.1 s, which is no multiple of the spacing; the record starts "
              "at 0 s");
    EXPECT_EQ(AxisOutcome({0, 1, 2, 4, 5}, 1, {}),
              "0.8 0: sample 4 is stamped 2 steps after the one before; samples may be missing");
    EXPECT_EQ(AxisOutcome({0, 1, 2, 2, 3, 4, 4, 5, 6, 7}, 1, {}),
              "1.28571429 0: sample 4 is stamped 0 steps after the one before; 2 such gaps: samples may be "
              "repeated");
    EXPECT_EQ(AxisOutcome({0, 0, 1, 1, 2, 2}, 1, {}), "2.5 0");
}

TEST(EvenAxis, IsRefusedWithoutARateOrWithUnevenStamps) {
    EXPECT_EQ(AxisOutcome({}, 1, {}),
              "it has neither a rate nor a time column; give the sampling rate with --rate");
    EXPECT_EQ(AxisOutcome({1}, 1, {}), "one sample has no sampling rate; give it with --rate");
    EXPECT_EQ(AxisOutcome({2, 1}, 1, {}),
              "the time column does not rise; give the sampling rate with --rate");
    EXPECT_EQ(AxisOutcome({0, 0.1, 0.25, 0.3}, 0.01, {}),
              "the time column is not evenly spaced: sample 3 is stamped 0.25 s where 0.2 s was expected; "
              "give the true sampling rate with --rate");
}

}  // namespace
