// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::MakeWindow;

// Printed figures; 0 is not compared. Harris (1978), table I: side lobe, noise bandwidth, 3 dB and 6 dB
// widths, scallop loss. (The widths there of Blackman's kind are not those of the formulas beside them.)
// Heinzel, Rudiger and Schilling (2002), table 2 and appendix D: side lobe, noise bandwidth, 3 dB width,
// largest error between lines. HFT169D prints -169.5 dB, which its coefficients, printed to 8 decimals, miss.
TEST(Windows, HaveThePrintedFigures) {
    struct Row {
        const char* name;
        double sideLobe, bandwidth, width3, width6, scallop;
        double within;
    };
    constexpr double kHarris = 1.2e-2, kHeinzel = 2e-4;
    constexpr Row kRows[] = {
        // clang-format off
        {"rectangular",        -13.3,  1.00,   0.89,   1.21, 3.92,   kHarris},
        {"bartlett",           -26.5,  1.33,   1.28,   1.78, 1.82,   kHarris},
        {"hann",               -31.5,  1.50,   1.44,   2.00, 1.42,   kHarris},
        {"blackman",           -58.1,  1.73,   0,      0,    1.10,   kHarris},
        {"tukey:0.25",         -13.6,  1.10,   1.01,   1.38, 2.96,   kHarris},
        {"tukey:0.5",          -15.1,  1.22,   1.15,   1.57, 2.24,   kHarris},
        {"kaiser:6.283185307", -45.9,  1.50,   1.43,   1.99, 1.46,   kHarris},
        {"kaiser:9.424777961", -69.6,  1.80,   1.71,   2.39, 1.02,   kHarris},
        {"blackman-harris-67", -70.8,  1.71,   0,      0,    1.13,   kHarris},
        {"blackman-harris",    -92.0,  2.00,   1.90,   0,    0.83,   kHarris},
        {"rectangular",        -13.3,  1.0000, 0.8845, 0,    3.9224, kHeinzel},
        {"hann",               -31.5,  1.5000, 1.4382, 0,    1.4236, kHeinzel},
        {"hamming",            -42.7,  1.3628, 1.3008, 0,    1.7514, kHeinzel},
        {"blackman-harris",    -92.0,  2.0044, 1.8962, 0,    0.8256, kHeinzel},
        {"nuttall-continuous", -93.3,  2.0212, 1.9122, 0,    0.8118, kHeinzel},
        {"nuttall",            -98.1,  1.9761, 1.8687, 0,    0.8506, kHeinzel},
        {"hft70",              -70.4,  3.4129, 3.3720, 0,    0.0065, kHeinzel},
        {"hft95",              -95.0,  3.8112, 3.7590, 0,    0.0044, kHeinzel},
        {"hft90d",             -90.2,  3.8832, 3.8320, 0,    0.0039, kHeinzel},
        {"hft116d",            -116.8, 4.2186, 4.1579, 0,    0.0028, kHeinzel},
        {"hft144d",            -144.1, 4.5386, 4.4697, 0,    0.0021, kHeinzel},
        {"hft169d",            -167.9, 4.8347, 4.7588, 0,    0.0017, kHeinzel},
        {"hft196d",            -196.2, 5.1134, 5.0308, 0,    0.0013, kHeinzel},
        {"hft223d",            -223.0, 5.3888, 5.3000, 0,    0.0011, kHeinzel},
        {"hft248d",            -248.4, 5.6512, 5.5567, 0,    0.0009, kHeinzel},
        // clang-format on
    };
    for (const auto& [name, sideLobe, bandwidth, width3, width6, scallop, within] : kRows) {
        SCOPED_TRACE(name);
        const kvx::WindowFigures figures = kvx::FiguresOfWindow(MakeWindow(name, 1024));
        EXPECT_NEAR(figures.sideLobeDb.value(), sideLobe, 0.1);
        EXPECT_NEAR(figures.noiseBandwidth, bandwidth, within);
        EXPECT_NEAR(width3 == 0.0 ? 0.0 : figures.width3dB, width3, within);
        EXPECT_NEAR(width6 == 0.0 ? 0.0 : figures.width6dB, width6, within);
        EXPECT_NEAR(std::fabs(figures.scallopDb), scallop, within);
    }
}

// scipy.signal.windows of SciPy 1.10.1, sym=False and sym=True.
TEST(Windows, HaveTheSamplesOfScipy) {
    struct Row {
        const char* text;
        std::size_t size;
        Wave first;
    };
    const Row rows[] = {
        // clang-format off
        {"kaiser:8.6", 16, {0.00133251399790242, 0.01735164291608831, 0.06747207920440855, 0.1723884340205331, 0.3403936224401886, 0.5552257905328044, 0.7738293810170912, 0.9385836693589701, 1}},
        {"kaiser:2:symmetric", 16, {0.4386762798370488, 0.5548422787577921, 0.6661117044912518, 0.7676749968275236, 0.8550484479368736, 0.9243138756260791, 0.9723298008693713, 0.9969017628744411}},
        {"tukey:0.25", 16, {0, 0.5, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0.5}},
        {"tukey:symmetric", 9, {0, 0.5, 1, 1, 1, 1, 1, 0.5, 0}},
        {"bartlett", 8, {0, 0.25, 0.5, 0.75, 1, 0.75, 0.5, 0.25}},
        {"nuttall:periodic", 16, {0.0003628, 0.004159080069511729, 0.02520556651540182, 0.08962243700094036, 0.2269824, 0.4443604974856761, 0.7019582334845982, 0.9161855854438717, 1}},
        {"exponential:0.06948345122280154", 8, {1, 0.7165313105737893, 0.513417119032592, 0.3678794411714424, 0.2635971381157268, 0.1888756028375618, 0.1353352832366127, 0.09697196786440504}},
        {"hann:symmetric", 9, {0, 0.1464466094067262, 0.5, 0.8535533905932737, 1, 0.8535533905932737, 0.5, 0.1464466094067262, 0}},
        {"force:0.25,0.25", 8, {1, 1, 1, 0.5, 0, 0, 0, 0}},
        {"tukey:0", 4, {1, 1, 1, 1}}, {"kaiser:symmetric", 1, {1}}, {"hann:symmetric", 1, {1}},
        // clang-format on
    };
    for (const auto& [text, size, first] : rows) {
        Wave window = MakeWindow(text, static_cast<std::int64_t>(size));
        ASSERT_EQ(window.size(), size) << text;
        window.resize(first.size());
        EXPECT_THAT(window, Near(first, 1e-14)) << text;
    }
}

TEST(Windows, TakeNumbersOnlyWhereTheyMeanSomething) {
    for (const char* text :
         {"hann:1", "kaiser:-1", "kaiser:701", "kaiser:6000dB", "kaiser:", "tukey:1.1", "tukey:x",
          "exponential:0", "exponential:1.5", "force:0", "force:0.1,0.2,0.3", "force:0.1,2", "hann:symetric",
          "kaiser:1,2", "half-rectangular:symmetric", "tukey:80dB"}) {
        const bool isWhole = std::string_view(text) == "kaiser:";  // the usual number
        EXPECT_EQ(IsBadValue([&] { MakeWindow(text, 16); }), !isWhole) << text;
    }
    EXPECT_EQ(FailureOf([] { MakeWindow("kaisr:3", 16); }), kvx::ErrorKind::kUnknownName);
    EXPECT_EQ(FailureOf([] { kvx::WindowDescription("kaisr"); }), kvx::ErrorKind::kUnknownName);
    for (const std::string& name : kvx::WindowNames()) {
        EXPECT_FALSE(kvx::WindowDescription(name).empty());
        EXPECT_NO_THROW(kvx::FiguresOfWindow(MakeWindow(name, 48))) << name;
    }
    for (const Wave& window : {Wave(7, 1.0), Wave(65537, 1.0), Wave(16), Wave(16, kNaN)})
        EXPECT_TRUE(IsBadValue([&] { kvx::FiguresOfWindow(window); })) << window.size();
    // Kaiser and Schafer state their formula for side lobes within some tenths of a dB.
    for (const double level : {20.0, 40.0, 60.0, 80.0, 120.0}) {
        const Wave window = MakeWindow("kaiser:" + std::to_string(level) + "dB", 1024);
        EXPECT_NEAR(kvx::FiguresOfWindow(window).sideLobeDb.value(), -level, 0.5) << level;
    }
}

TEST(Windows, AddADecayThatComesOutOfQAgain) {
    // A resonance of Q 50 at 100 Hz rings e^(-pi f t/Q); over a second the window takes it to 1 %.
    constexpr double kRate = 1024.0;
    const double decay = std::numbers::pi * 100.0 / 50.0;
    const double added = kvx::WindowDecay("exponential:0.01", 64.0);
    EXPECT_NEAR(added, std::log(100.0) / 64.0, 1e-15);
    EXPECT_EQ(kvx::WindowDecay("hann", 1.0), 0.0);
    const Wave ringing = WaveOf(65536, [&](double n) {
        return std::exp(-decay * n / kRate) * std::sin(2.0 * std::numbers::pi * 100.0 * n / kRate);
    });
    for (const char* window : {"exponential:1", "exponential:0.01", "exponential:1e-12"}) {
        SCOPED_TRACE(window);
        kvx::LineSpectrum lines = kvx::BlockLines(ringing, MakeWindow(window, 65536), kRate, CUnitCtrl());
        const auto bare = kvx::FindPeaks(lines, {1, 32767}, 1).at(0).q.value();
        const double measured =
            1.0 / (1.0 / 50.0 + kvx::WindowDecay(window, 64.0) / (std::numbers::pi * 100.0));
        EXPECT_NEAR(bare / measured, 1.0, 2e-3);
        EXPECT_NEAR(kvx::QWithoutDecay(bare, 100.0, kvx::WindowDecay(window, 64.0)).value(), 50.0, 0.1);
    }
    EXPECT_FALSE(kvx::QWithoutDecay(50.0, 100.0, decay).has_value());
}

}  // namespace
