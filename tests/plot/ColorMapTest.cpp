// SPDX-License-Identifier: MIT
#include <KvxPlot01/ColorMap.h>
#include <KvxPlot01/ValueColors.h>

#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "tests/plot/PlotTesting.h"

namespace kvx::plot {
namespace {

using Slices = std::vector<std::vector<double>>;

std::vector<CurveSamples> AllOf(const Slices& slices) {
    std::vector<CurveSamples> samples;
    for (const std::vector<double>& slice : slices) samples.push_back(SamplesOf(slice));
    return samples;
}

/// A frame for values of 0 to 1 over X from `low` to `high`.
MapFrame Frame(__int64 columns, __int64 rows, double low, double high) {
    MapFrame frame;
    frame.x = AxisMapping::Between({low, high}, 0.0, static_cast<double>(columns), AxisForm::kLinear);
    frame.values = {0.0, 1.0};
    frame.columns = columns;
    frame.rows = rows;
    return frame;
}

float At(const std::vector<float>& pixels, const MapFrame& frame, __int64 column, __int64 row) {
    return pixels[static_cast<std::size_t>(row * frame.columns + column)];
}

TEST(ValueColors, GrowLighterInEvenSteps) {
    const auto lightness = [](COLORREF color) {  // of CIE 1976, 0 to 100
        double light = 0.0;
        for (const auto& [shift, weight] : {std::pair{0, 0.2126}, {8, 0.7152}, {16, 0.0722}}) {
            const double part = (color >> shift & 0xFF) / 255.0;
            light += weight * (part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4));
        }
        return 116.0 * std::cbrt(light) - 16.0;
    };
    const auto& colors = ValueColors();
    for (std::size_t i = 8; i < colors.size(); i += 8) {
        const double step = lightness(colors[i]) - lightness(colors[i - 8]);
        EXPECT_GT(step, 1.0) << i;
        EXPECT_LT(step, 5.0) << i;
    }
    EXPECT_LT(lightness(colors.front()), 15.0);
    EXPECT_GT(lightness(colors.back()), 90.0);
}

TEST(ColorMap, ShowsTheLargestOfAllSamplesOnAPixel) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> values(0.0, 0.9);
    for (const auto& [sliceNum, count] : {std::pair{300, 2000}, {7, 5000}, {400, 50}}) {
        Slices slices(static_cast<std::size_t>(sliceNum));
        for (std::vector<double>& slice : slices) {
            slice.resize(static_cast<std::size_t>(count));
            for (double& value : slice) value = values(random);
        }
        slices[5][33] = 1.0;
        const MapFrame frame = Frame(40, 6, 0.0, count);
        const std::vector<float> pixels = MapPixels(AllOf(slices), frame);
        ASSERT_EQ(pixels.size(), 240U);
        for (int s = 0; s < sliceNum; ++s) {
            for (int i = 0; i < count; ++i) {
                const double column = std::floor(frame.x.ToPixel(i));
                const double row = 5.0 - std::floor((s + 0.5) * 6.0 / sliceNum);
                const float pixel =
                    At(pixels, frame, static_cast<__int64>(column), static_cast<__int64>(row));
                const auto sample = slices[static_cast<std::size_t>(s)][static_cast<std::size_t>(i)];
                ASSERT_GE(pixel, static_cast<float>(sample)) << s << ' ' << i;
            }
        }
        EXPECT_EQ(std::ranges::count(pixels, 1.0F), 1) << "the peak is on its own pixel only";
    }
}

TEST(ColorMap, FillsPixelsBetweenSamplesWithTheNearerOrABlend) {
    const Slices slices = {{0.0, 1.0}, {0.5, kNone}};
    MapFrame frame = Frame(8, 4, -0.5, 1.5);
    frame.isBlended = false;
    std::vector<float> pixels = MapPixels(AllOf(slices), frame);
    for (const __int64 row : {2, 3}) {  // the first slice is at the bottom
        for (__int64 column = 0; column < 8; ++column)
            EXPECT_EQ(At(pixels, frame, column, row), column < 4 ? 0.0F : 1.0F) << column;
    }
    EXPECT_EQ(At(pixels, frame, 3, 0), 0.5F);
    EXPECT_TRUE(std::isnan(At(pixels, frame, 7, 0)));
    frame.isLastAtBottom = true;
    pixels = MapPixels(AllOf(slices), frame);
    EXPECT_EQ(At(pixels, frame, 7, 0), 1.0F);

    frame.isBlended = true;
    pixels = MapPixels(AllOf(slices), frame);
    EXPECT_EQ(At(pixels, frame, 2, 1), 0.0F) << "the pixels of samples are those samples";
    EXPECT_EQ(At(pixels, frame, 6, 1), 1.0F);
    for (__int64 column = 3; column < 6; ++column) {
        const float part = (static_cast<float>(column) - 1.5F) / 4.0F;
        EXPECT_FLOAT_EQ(At(pixels, frame, column, 1), part);
    }
}

TEST(ColorMap, LeavesOutWhatIsNoValueAndKeepsToTheScale) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const Slices slices = {{kNaN, kNone, 100.0, 1e-3, 0.0, -5.0, kInfinity, -kInfinity}};
    MapFrame frame = Frame(8, 1, -0.5, 7.5);
    frame.values = {1e-4, 1.0};
    frame.valueForm = AxisForm::kLogarithmic;
    const std::vector<float> pixels = MapPixels(AllOf(slices), frame);
    EXPECT_TRUE(std::isnan(pixels[0]) && std::isnan(pixels[1]) && std::isnan(pixels[7]));
    EXPECT_EQ(pixels[2], 1.0F);
    EXPECT_NEAR(pixels[3], 0.25F, 1e-6);
    EXPECT_EQ(pixels[4] + pixels[5], 0.0F);
    EXPECT_EQ(pixels[6], 1.0F);
}

TEST(ColorMap, HasItsPixelsWhateverTheSamplesAre) {
    const std::vector<double> y = {1.0, 2.0, 3.0};
    const std::vector<double> wild[] = {
        {kNaN, kNaN, kNaN}, {2.0, 1.0, 0.0}, {-1e308, 0.0, 1e308}, {1.0, 1.0, 1.0}};
    for (const std::vector<double>& x : wild) {
        CurveSamples samples = SamplesOf(y);
        samples.x = x;
        const std::vector<CurveSamples> slices = {samples, CurveSamples(), samples};
        for (const AxisRange values : {AxisRange{0.0, 3.0}, {1.0, 1.0}, {kNaN, 2.0}}) {
            MapFrame frame = Frame(16, 9, 0.0, 2.0);
            frame.values = values;
            EXPECT_EQ(MapPixels(slices, frame).size(), 16U * 9U);
        }
    }
    EXPECT_TRUE(MapPixels({}, Frame(0, 5, 0.0, 1.0)).empty());
    EXPECT_EQ(MapPixels({}, Frame(2, 2, 0.0, 1.0)).size(), 4U);
}

}  // namespace
}  // namespace kvx::plot
