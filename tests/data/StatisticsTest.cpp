// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <vector>

namespace {

constexpr double kNone = kvx::kNoValue<double>;

TEST(SampleStatistics, AreThoseOfTheSamplesThatHoldAValue) {
    kvx::SampleStatistics statistics;
    EXPECT_EQ(statistics.Figures().count, 0);
    statistics.Add(std::vector<double>(3, kNone));
    EXPECT_EQ(statistics.Figures().missing, 3);
    EXPECT_EQ(statistics.Figures().max, 0.0);
    statistics.Add(std::vector<double>{1.0, kNone, -3.0});
    const kvx::SampleFigures figures = statistics.Figures();
    EXPECT_EQ(figures.count, 2);
    EXPECT_EQ(figures.missing, 4);
    EXPECT_EQ(figures.mean, -1.0);
    EXPECT_EQ(figures.rms, std::sqrt(5.0));
    EXPECT_EQ(figures.min, -3.0);
    EXPECT_EQ(figures.max, 1.0);
    EXPECT_EQ(figures.peak, 3.0);
    statistics.Add(std::vector<double>{std::numeric_limits<double>::quiet_NaN(), -9.0});
    EXPECT_TRUE(std::isnan(statistics.Figures().mean));
    EXPECT_EQ(statistics.Figures().min, -9.0);
}

template <typename Element>
void ExpectRange(std::vector<Element> values, Element low, Element high, Element positiveLow) {
    for (std::size_t cut = 0; cut <= values.size(); ++cut) {
        kvx::RangeScan<Element> scan;
        scan.Add(std::span(values).first(cut));
        scan.Add(std::span(values).subspan(cut));
        Element found[3] = {};
        EXPECT_EQ(scan.Write(&found[0], &found[1], &found[2]), 1);
        EXPECT_EQ(found[0], low);
        EXPECT_EQ(found[1], high);
        EXPECT_EQ(found[2], positiveLow);
    }
}

TEST(RangeScan, FindsTheExtremesAndTheSmallestPositiveValueOfEveryKind) {
    constexpr auto kNoInteger = kvx::kNoValue<std::int32_t>;
    ExpectRange<double>({7, 3, kNone, -2, 5, 0}, -2, 7, 3);
    ExpectRange<std::int32_t>({7, 3, kNoInteger, -2, 5, 0}, -2, 7, 3);
    ExpectRange<std::int32_t>({kNoInteger, 4, 9}, 4, 9, 4);
    ExpectRange<std::int32_t>({-4, -1}, -4, -1, std::numeric_limits<std::int32_t>::min());
}

TEST(SampleStatistics, HaveTheBitsOfTheArraysForEveryCut) {
    std::mt19937_64 random(1);
    std::vector<double> samples(1003);
    for (double& x : samples) x = random() % 7 == 0 ? kNone : std::normal_distribution<double>()(random);
    samples[500] = -0.0;
    std::vector<double> values = samples;
    std::erase(values, kNone);
    const CDataArrayDouble array(std::ssize(values), values.data());
    for (const std::size_t length : {1U, 5U, 8U, 100U, 2000U}) {
        kvx::SampleStatistics statistics;
        for (std::span<const double> rest = samples; !rest.empty();) {
            const std::size_t count = std::min(length, rest.size());
            statistics.Add(rest.first(count));
            rest = rest.subspan(count);
        }
        const kvx::SampleFigures figures = statistics.Figures();
        EXPECT_EQ(figures.count, array.GetNum());
        EXPECT_EQ(figures.missing, std::ssize(samples) - array.GetNum());
        EXPECT_EQ(figures.mean, array.GetAve());
        EXPECT_EQ(figures.rms, array.CalcRms(0, 0));
        EXPECT_EQ(figures.min, *std::ranges::min_element(values));
        EXPECT_EQ(figures.max, *std::ranges::max_element(values));
        EXPECT_EQ(figures.peak, array.GetAbsMax(0, 0));
    }
}

}  // namespace
