// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/Histogram.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/platform/Error.h>
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
    EXPECT_EQ(figures.Crest(), 3.0 / std::sqrt(5.0));
    EXPECT_EQ(figures.places.max, 3);
    EXPECT_EQ(figures.places.min, 5);
    EXPECT_EQ(figures.places.peak, 5);
    EXPECT_EQ(figures.deviation, 2.0);
    EXPECT_EQ(figures.skewness, 0.0);
    EXPECT_EQ(figures.kurtosis, 1.0);
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

kvx::SampleFigures FiguresOf(std::span<const double> samples, std::size_t piece = 1000) {
    kvx::SampleStatistics statistics;
    for (; !samples.empty(); samples = samples.subspan(std::min(piece, samples.size())))
        statistics.Add(samples.first(std::min(piece, samples.size())));
    return statistics.Figures();
}

/// Skewed noise, the same in every language: a 64-bit congruential generator, then (x^2 + 0.5 x + 0.25) x.
std::vector<double> SkewedNoise(std::size_t count) {
    std::vector<double> samples(count);
    std::uint64_t seed = 1;
    for (double& sample : samples) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;
        const double x = static_cast<double>(seed >> 11) * 0x1p-52 - 1.0;
        sample = x * x * x + 0.25 * x + 0.5 * x * x;
    }
    return samples;
}

TEST(SampleStatistics, HaveTheMomentsOfSciPyWhateverTheOffset) {
    // numpy.std, scipy.stats.skew and kurtosis(fisher=False), SciPy 1.10.1.
    const kvx::SampleFigures five = FiguresOf(std::vector<double>{1, 2, 3, 4, 100});
    EXPECT_NEAR(five.deviation, 39.01281840626232, 1e-14);
    EXPECT_NEAR(five.skewness, 1.4975367033335198, 1e-14);
    EXPECT_NEAR(five.kurtosis, 3.2467164893001637, 1e-14);
    const std::vector<double> noise = SkewedNoise(5000);
    const kvx::SampleFigures figures = FiguresOf(noise);
    EXPECT_NEAR(figures.deviation, 0.5356288590557305, 1e-14);
    EXPECT_NEAR(figures.skewness, 1.0579235335989234, 1e-14);
    EXPECT_NEAR(figures.kurtosis, 3.6617681209713013, 1e-14);

    // On a grid of 2^-20 an offset of 2^32 is exact, so that the moments must stay what they are.
    std::vector<double> grid = noise;
    for (double& x : grid) x = std::round(x * 0x1p20) * 0x1p-20;
    const kvx::SampleFigures plain = FiguresOf(grid);
    for (double& x : grid) x += 0x1p32;
    const kvx::SampleFigures raised = FiguresOf(grid);
    EXPECT_NEAR(raised.deviation, plain.deviation, 4e-15);
    EXPECT_NEAR(raised.skewness, plain.skewness, 2e-14);
    EXPECT_NEAR(raised.kurtosis, plain.kurtosis, 2e-14);

    // A level that moves on, against the definition in extended precision.
    std::vector<double> ramp = SkewedNoise(200'000);
    for (std::size_t i = 0; i < ramp.size(); ++i) ramp[i] += 1e-3 * static_cast<double>(i);
    long double mean = 0;
    for (const double x : ramp) mean += static_cast<long double>(x) / static_cast<long double>(ramp.size());
    long double m[5] = {};
    for (const double x : ramp) {
        long double power = 1;
        for (long double& sum : m) {
            sum += power / static_cast<long double>(ramp.size());
            power *= static_cast<long double>(x) - mean;
        }
    }
    const kvx::SampleFigures moved = FiguresOf(ramp);
    EXPECT_NEAR(moved.deviation, static_cast<double>(std::sqrt(m[2])), 1e-13);
    EXPECT_NEAR(moved.skewness, static_cast<double>(m[3] / (m[2] * std::sqrt(m[2]))), 1e-14);
    EXPECT_NEAR(moved.kurtosis, static_cast<double>(m[4] / (m[2] * m[2])), 1e-14);
}

TEST(SampleStatistics, HaveMomentsAndPlacesOfTheSameBitsForEveryCut) {
    std::vector<double> samples = SkewedNoise(7000);
    samples[0] = samples[3000] = kNone;
    const kvx::SampleFigures whole = FiguresOf(samples, samples.size());
    for (const std::size_t piece : {1U, 7U, 1024U, 3000U}) {
        const kvx::SampleFigures figures = FiguresOf(samples, piece);
        EXPECT_EQ(figures.deviation, whole.deviation);
        EXPECT_EQ(figures.skewness, whole.skewness);
        EXPECT_EQ(figures.kurtosis, whole.kurtosis);
        EXPECT_EQ(figures.places.min, std::ranges::find(samples, whole.min) - samples.begin());
        EXPECT_EQ(figures.places.max, std::ranges::find(samples, whole.max) - samples.begin());
        EXPECT_EQ(figures.places.peak, figures.places.max);
    }
    const kvx::SampleFigures constant = FiguresOf(std::vector<double>(5000, 0.1));
    EXPECT_EQ(constant.deviation, 0.0);
    EXPECT_TRUE(std::isnan(constant.skewness) && std::isnan(constant.kurtosis));
}

TEST(Histogram, CountsByItsEdgesAndEstimatesTheDensity) {
    // numpy.histogram([1, 2, 1, 0.1, 0.3, ...], 10, (0, 1)) puts a value that is an edge into the class
    // above.
    kvx::Histogram tenths(0.0, 1.0, 10);
    std::vector<double> edges;
    for (int i = 0; i <= 10; ++i) edges.push_back(tenths.Edge(i));
    tenths.Add(edges);
    EXPECT_EQ(tenths.Counts(), (std::vector<std::int64_t>{1, 1, 1, 1, 1, 1, 1, 1, 1, 2}));
    tenths.Add(std::vector<double>{-1.0, 2.0, 3.0, kNone, std::numeric_limits<double>::quiet_NaN()});
    EXPECT_EQ(tenths.Below(), 1);
    EXPECT_EQ(tenths.Above(), 2);
    EXPECT_EQ(tenths.NotANumber(), 1);
    EXPECT_EQ(tenths.Total(), 15);
    EXPECT_DOUBLE_EQ(tenths.Density()[9], 2.0 / 15.0 / 0.1);
    for (const auto& [low, high] : {std::pair{1.0, 1.0}, std::pair{0.0, std::nan("")},
                                    std::pair{-1e308, 1e308}, std::pair{1.0, std::nextafter(1.0, 2.0)}})
        EXPECT_THROW(kvx::Histogram(low, high, 3), kvx::Error);
    EXPECT_THROW(kvx::Histogram(0.0, 1.0, 0), kvx::Error);
}

}  // namespace
