// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFFT.h>
#include <tests/dsp/Signals.h>

#include <string>

namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

/// Coefficients and equivalent noise bandwidths: F. J. Harris, Proc. IEEE 66 (1978). The last window keeps
/// the misprint of its third and fourth coefficients (for 0.09892 and 0.00188).
struct PublishedWindow {
    std::string name;
    int (*generate)(CDataArrayDouble*);
    double a0, a1, a2, a3, enbw;
};

// clang-format off
const PublishedWindow kPublished[] = {
    {"Rectangular",         CMatWIND::GeneRectangular,         1.0,     0.0,     0.0,     0.0,     1.0000},
    {"Hanning",             CMatWIND::GeneHanning,             0.5,     0.5,     0.0,     0.0,     1.5000},
    {"Hamming",             CMatWIND::GeneHamming,             0.54,    0.46,    0.0,     0.0,     1.3628},
    {"Blackman",            CMatWIND::GeneBlackman,            0.42,    0.5,     0.08,    0.0,     1.7268},
    {"BlackmanHarris",      CMatWIND::GeneBlackmanHarris,      0.35875, 0.48829, 0.14128, 0.01168, 2.0044},
    {"BlackmanHarris_61dB", CMatWIND::GeneBlackmanHarris_61dB, 0.44959, 0.49364, 0.05677, 0.0,     1.6108},
    {"BlackmanHarris_67dB", CMatWIND::GeneBlackmanHarris_67dB, 0.42323, 0.49755, 0.07922, 0.0,     1.7085},
    {"BlackmanHarris_74dB", CMatWIND::GeneBlackmanHarris_74dB, 0.40217, 0.49703, 0.09392, 0.00183, 1.7910},
};
// clang-format on

class CosineWindow : public testing::TestWithParam<PublishedWindow> {};

TEST_P(CosineWindow, IsItsSumOfCosinesWithPeriodN) {
    const auto& [name, generate, a0, a1, a2, a3, enbw] = GetParam();
    for (const __int64 count : {1, 2, 3, 8, 255, 256}) {
        CDataArrayDouble window(count, 9.0), general(count, 9.0);
        ASSERT_EQ(generate(&window), 1);
        ASSERT_EQ(a3 == 0.0 ? CMatWIND::Gen3termCos(&general, a0, a1, a2)
                            : CMatWIND::Gen4termCos(&general, a0, a1, a2, a3),
                  1);
        EXPECT_EQ(ToWave(general), ToWave(window));
        for (__int64 n = 0; n < count; ++n) {
            const double phi = kTurn * static_cast<double>(n) / static_cast<double>(count);
            const double expected = a0 - a1 * std::cos(phi) + a2 * std::cos(2 * phi) - a3 * std::cos(3 * phi);
            EXPECT_NEAR(window[n], expected, 4e-15) << n << " of " << count;
            EXPECT_EQ(window[n], window[(count - n) % count]) << n << " of " << count;
        }
    }
}

TEST_P(CosineWindow, HasItsPublishedFigures) {
    CDataArrayDouble window(1024, 0.0);
    ASSERT_EQ(GetParam().generate(&window), 1);
    double enbw = 0.0, mean = 0.0;
    ASSERT_EQ(CMatWIND::CalcWindENBW(window, &enbw, &mean), 1);
    EXPECT_NEAR(mean, GetParam().a0, 1e-14);
    EXPECT_NEAR(enbw, GetParam().enbw, 5e-5);
}

INSTANTIATE_TEST_SUITE_P(Published, CosineWindow, testing::ValuesIn(kPublished),
                         [](const auto& test) { return test.param.name; });

TEST(Generators, RefuseAnArrayWithoutSamples) {
    CDataArrayDouble empty;
    for (CDataArrayDouble* const window : {static_cast<CDataArrayDouble*>(nullptr), &empty}) {
        for (const PublishedWindow& published : kPublished) EXPECT_EQ(published.generate(window), 0);
        EXPECT_TRUE(AllFail(CMatWIND::GeneFlatTop(window), CMatWIND::GeneHalfRectangular(window),
                            CMatWIND::GeneExponent(window, -1), CMatWIND::Gen3termCos(window, 1, 0, 0),
                            CMatWIND::Gen4termCos(window, 1, 0, 0, 0),
                            CMatWIND::AddKaiserBessel(window, 60)));
    }
}

TEST(GeneFlatTop, IsTheNarrowWindowTimesACardinalSine) {
    for (const __int64 count : {1, 2, 7, 8}) {
        CDataArrayDouble window(count, 0.0), narrow(count, 0.0);
        ASSERT_EQ(CMatWIND::GeneFlatTop(&window) + CMatWIND::GeneBlackmanHarris_67dB(&narrow), 2);
        for (__int64 n = 0; n < count; ++n) {
            const double x =
                2.4 * std::numbers::pi * static_cast<double>(count - 2 * n) / static_cast<double>(count);
            EXPECT_NEAR(window[n], narrow[n] * (x == 0.0 ? 1.0 : std::sin(x) / x), 1e-16) << n;
        }
    }
}

TEST(GeneHalfRectangular, SetsTheMiddleHalfAndLeavesTheRest) {
    for (const Wave& expected : {Wave{7, 7, 1, 1, 1, 1, 7, 7}, Wave{7, 1, 1, 1, 7, 7, 7}, Wave{7}}) {
        CDataArrayDouble window(Size(expected), 7.0);
        ASSERT_EQ(CMatWIND::GeneHalfRectangular(&window), 1);
        EXPECT_EQ(ToWave(window), expected);
    }
}

TEST(GeneExponent, DecaysByTheSameFactorFromSampleToSample) {
    CDataArrayDouble window(5, 9.0);
    ASSERT_EQ(CMatWIND::GeneExponent(&window, -std::numbers::ln2), 1);
    EXPECT_THAT(ToWave(window), Near({1, 0.5, 0.25, 0.125, 0.0625}, 1e-16));
}

/// The taper's series with its factorials written out.
double Series(double x) {
    double sum = 1.0;
    for (int k = 1; k <= 16; ++k) sum += std::pow(std::pow(x / 2, k) / std::tgamma(k), k);
    return sum;
}

TEST(AddKaiserBessel, TapersByItsOwnSeriesFromTheMiddle) {
    using Case = std::pair<double, double>;
    for (const auto& [attenuation, shape] :
         {Case{60.0, 0.1102 * 51.3}, Case{120.0, 0.1102 * 111.3}, Case{21.0, 0.0}, Case{-5.0, 0.0},
          Case{50.0, 0.5842 * std::pow(29.0, 0.4) + 0.07886 * 29.0}}) {
        for (const std::size_t count : {1U, 2U, 3U, 16U, 17U}) {
            CDataArrayDouble window(static_cast<__int64>(count), 2.0);
            ASSERT_EQ(CMatWIND::AddKaiserBessel(&window, attenuation), 1);
            const auto taper = [&, middle = static_cast<double>(count / 2), alpha = shape](double n) {
                const double ratio = count == 1 ? 0.0 : (n - middle) / middle;
                return 2.0 * Series(alpha * std::sqrt(1.0 - ratio * ratio)) / Series(alpha);
            };
            EXPECT_THAT(ToWave(window), Near(WaveOf(count, taper), 1e-12)) << attenuation << ", " << count;
        }
    }
    CDataArrayDouble window(16, 2.0);
    ASSERT_EQ(CMatWIND::AddKaiserBessel(&window, 1600.0), 1);
    const Wave before = ToWave(window);
    for (const double overflowing : {3000.0, kInfinity})
        EXPECT_EQ(CMatWIND::AddKaiserBessel(&window, overflowing), 0);
    EXPECT_EQ(ToWave(window), before);
}

TEST(CalcWindENBW, WritesTheOutputsThatAreWantedAndCanBeHad) {
    double enbw = 9.0, mean = 9.0;
    const CDataArrayDouble zeroMean = ToArray({1.0, -1.0});
    EXPECT_TRUE(
        AllFail(CMatWIND::CalcWindENBW({}, &enbw, &mean), CMatWIND::CalcWindENBW(zeroMean, &enbw, &mean)));
    EXPECT_EQ(mean, 9.0);
    EXPECT_EQ(CMatWIND::CalcWindENBW(zeroMean, nullptr, &mean), 1);
    EXPECT_EQ(CMatWIND::CalcWindENBW(ToArray({2.0}), &enbw, nullptr), 1);
    EXPECT_EQ(std::pair(enbw, mean), std::pair(1.0, 0.0));
}

TEST(SpecHanning, IsTheHannWindowOfMeanOneInTheTimeDomain) {
    Wave wave = Noise(64), work(64), re(32), im(32), windowedRe(32), windowedIm(32);
    CMatFFT::WaveRfft(wave.data(), work.data(), 64, re.data(), im.data(), 32);
    for (std::size_t n = 0; n < 64; ++n) wave[n] *= 1.0 - std::cos(kTurn * static_cast<double>(n) / 64);
    CMatFFT::WaveRfft(wave.data(), work.data(), 64, windowedRe.data(), windowedIm.data(), 32);
    CDataArrayDoubleCplx spectrum = ToSpectrum(re, im);
    ASSERT_EQ(CMatWIND::SpecHanning(&spectrum, spectrum), 1);
    for (std::size_t k = 2; k < 31; ++k) {
        EXPECT_NEAR(spectrum.GetReal()[k], windowedRe[k], 1e-15) << k;
        EXPECT_NEAR(spectrum.GetImaginary()[k], windowedIm[k], 1e-15) << k;
    }
}

TEST(SpecHanning, ExtrapolatesTheNeighboursOutside) {
    const std::pair<Parts, Parts> cases[] = {
        // clang-format off
        {{{3}, {4}},                   {{3}, {4}}},
        {{{3, 5}, {4, 6}},             {{3, 0}, {4, 6}}},
        {{{3, 5, 9}, {4, 6, 10}},      {{3, 0, 0}, {4, 1, 7}}},
        {{{3, 5, 9, 1}, {4, 6, 10, 2}}, {{3, 0, 6, 0}, {4, 1, 6, -3}}},
        // clang-format on
    };
    for (const auto& [in, expected] : cases) {
        CDataArrayDoubleCplx out(1, Size(in.first));
        ASSERT_EQ(CMatWIND::SpecHanning(&out, ToSpectrum(in.first, in.second)), 1);
        EXPECT_EQ(PartsOf(out), expected);
    }
}

TEST(SpecHanning, TakesRealSpectraAndRefusesWhatDoesNotFit) {
    CDataArrayDoubleCplx real(0, 3), complex = ToSpectrum({1, 2, 3}, {4, 5, 6}), longer(1, 4), empty;
    EXPECT_EQ(CMatWIND::SpecHanning(&real, ToSpectrum({3, 5, 9})), 1);
    EXPECT_EQ(CMatWIND::SpecHanning(&complex, ToSpectrum({3, 5, 9})), 1);
    EXPECT_EQ(PartsOf(complex), Parts(PartsOf(real).first, Wave(3)));
    EXPECT_TRUE(AllFail(CMatWIND::SpecHanning(&real, complex), CMatWIND::SpecHanning(&longer, complex),
                        CMatWIND::SpecHanning(&empty, empty), CMatWIND::SpecHanning(nullptr, complex)));
}

}  // namespace
