// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <tests/dsp/Signals.h>

namespace {

TEST(CMatSpec, TurnsAmplitudesIntoDensitiesAndPowersAndBack) {
    using Spec = CMatSpec;
    const Wave amp{2, 1, 0, 4};
    using Case = std::pair<__int64, Wave>;
    for (const auto& [dc, psd] :
         {Case{0, {8, 1, 0, 16}}, Case{-1, {4, 1, 0, 16}}, Case{3, {4, 1, 0, 32}}, Case{4, {4, 1, 0, 16}}}) {
        SCOPED_TRACE(dc);
        CDataArrayDouble out(4, 9.0);
        ASSERT_EQ(Spec::CnvAmpToPsd(&out, ToArray(amp), 0.5, dc), 1);
        EXPECT_EQ(ToWave(out), psd);
        ASSERT_EQ(Spec::CnvPsdToAmp(&out, out, 0.5, dc), 1);
        EXPECT_EQ(ToWave(out), amp);
        ASSERT_EQ(Spec::CnvCplxToPsd(&out, ToSpectrum(amp), 0.5, dc), 1);
        EXPECT_EQ(ToWave(out), psd);
        ASSERT_EQ(Spec::CnvCplxToPow(&out, ToSpectrum(amp), dc) + Spec::CnvPowToPsd(&out, out, 0.5), 2);
        EXPECT_EQ(ToWave(out), psd);
        for (CDataArrayDoubleCplx inPlace : {ToSpectrum(amp, amp), ToSpectrum(amp)}) {
            ASSERT_EQ(Spec::CnvAmpToPsd(&inPlace, inPlace, 0.5, dc), 1);
            EXPECT_EQ(PartsOf(inPlace), Parts(psd, Wave(4)));
            ASSERT_EQ(Spec::CnvPsdToAmp(&inPlace, inPlace, 0.5, dc), 1);
            EXPECT_EQ(PartsOf(inPlace), Parts(amp, Wave(4)));
        }
    }
    CDataArrayDouble pow(2, 9.0);
    ASSERT_EQ(Spec::CnvCplxToPow(&pow, ToSpectrum({3, 3}, {4, 4}), 0), 1);
    EXPECT_EQ(ToWave(pow), (Wave{25, 12.5}));
}

TEST(CMatSpec, FormsCrossPowersAndTransferFunctions) {
    const CDataArrayDoubleCplx a = ToSpectrum({1, 1, 0}, {2, 2, 0}), b = ToSpectrum({3, 3, 5}, {-1, -1, 5});
    CDataArrayDoubleCplx power(1, 3), transfer(0, 3), inPlace = a;
    // (1 + 2i)(3 + i) = 1 + 7i
    ASSERT_EQ(CMatSpec::CalcCrossPow(&inPlace, inPlace, b, 0), 1);
    EXPECT_EQ(PartsOf(inPlace), Parts({1, 0.5, 0}, {7, 3.5, 0}));
    ASSERT_EQ(CMatSpec::CalcCrossPow(&power, a, a, 0), 1);
    EXPECT_EQ(PartsOf(power), Parts({5, 2.5, 0}, {0, 0, 0}));
    ASSERT_EQ(CMatSpec::CalcXfr(&transfer, power, inPlace), 1);
    EXPECT_EQ(PartsOf(transfer), Parts({0.2, 0.2, 0}, {1.4, 1.4, 0}));
    ASSERT_EQ(CMatSpec::CalcXfr(&inPlace, power, ToSpectrum({5, 5, 5})), 1);
    EXPECT_EQ(PartsOf(inPlace), Parts({1, 2, 0}, {0, 0, 0}));
}

TEST(CMatSpec, SumsPowersOverARangeOfLines) {
    const Wave re{1, 2, 3, 4}, im{0, 2, 0, 2};
    const CDataArrayDoubleCplx complex = ToSpectrum(re, im), real = ToSpectrum(re);
    struct Case {
        __int64 first, last;
        double fourier, amplitude, plain;  // with and without imaginary parts, dc 0; without factors
    };
    constexpr Case cases[] = {
        // clang-format off
        {0, 0, 19.5, 15.5, 10}, {1, 2, 8.5, 6.5, 5}, {0, 3, 19.5, 15.5, 10}, {3, 99, 10, 8, 4},
        {3, 2, 0, 0, 0},        {4, 0, 0, 0, 0},     {-1, 2, 0, 0, 0},       {0, -1, 0, 0, 0},
        // clang-format on
    };
    for (const auto& [first, last, fourier, amplitude, plain] : cases) {
        SCOPED_TRACE(testing::Message() << first << ".." << last);
        EXPECT_EQ(CMatSpec::CalcFouSumPow(complex, first, last, 0), fourier);
        EXPECT_EQ(CMatSpec::CalcFouRms(complex, first, last, 0), std::sqrt(fourier));
        EXPECT_EQ(CMatSpec::CalcFouSumPow(real, first, last, 0), amplitude);
        EXPECT_EQ(CMatSpec::CalcAmpRms(ToArray(re), first, last, 0), std::sqrt(amplitude));
        EXPECT_EQ(CMatSpec::CalcAmpRms(complex, first, last, 0), std::sqrt(amplitude));
        EXPECT_EQ(CMatSpec::CalcPowRms(ToArray(re), first, last), std::sqrt(plain));
        EXPECT_EQ(CMatSpec::CalcPowRms(complex, first, last), std::sqrt(plain));
        EXPECT_EQ(CMatSpec::CalcPsdRms(ToArray(re), 2.5, first, last), std::sqrt(2.5 * plain));
        EXPECT_EQ(CMatSpec::CalcPsdRms(complex, 2.5, first, last), std::sqrt(2.5 * plain));
    }
    EXPECT_EQ(CMatSpec::CalcPowRms(ToArray({-1}), 0, 0), 0.0);
    EXPECT_TRUE(std::isnan(CMatSpec::CalcPowRms(ToArray({kNaN}), 0, 0)));
}

// Line 1 has no value: in its real part or in its imaginary part.
TEST(CMatSpec, ALineWithoutAValueHasNoneInAnyResultAndIsNoPartOfASum) {
    using Spec = CMatSpec;
    const Wave values{1, kNone, 2};
    const auto bothOf = [](const CDataArrayDoubleCplx& spec) {
        return Wave{spec.GetReal()[1], spec.GetImaginary()[1]};
    };
    CDataArrayDouble out(3, 9.0), levels = ToArray(values);
    for (const auto& [re, im] : {Parts(values, {0, 5, 0}), Parts({1, 5, 2}, {0, kNone, 0})}) {
        const CDataArrayDoubleCplx spec = ToSpectrum(re, im), ones = ToSpectrum({1, 1, 1}, {0, 0, 0});
        CDataArrayDoubleCplx result(1, 3);
        ASSERT_EQ(Spec::CnvCplxToPow(&out, spec, 0), 1);
        EXPECT_EQ(ToWave(out), (Wave{1, kNone, 2}));
        ASSERT_EQ(Spec::CnvCplxToPsd(&out, spec, 0.5, 0), 1);
        EXPECT_EQ(ToWave(out), (Wave{2, kNone, 4}));
        ASSERT_EQ(Spec::CalcCrossPow(&result, ones, spec, 0), 1);
        EXPECT_EQ(bothOf(result), Wave(2, kNone));
        ASSERT_EQ(Spec::CalcXfr(&result, ones, spec) & Spec::CalcXfr(&result, spec, result), 1);
        EXPECT_EQ(bothOf(result), Wave(2, kNone));
        EXPECT_EQ(Spec::CalcFouSumPow(spec, 0, 0, 0), 3.0);
        EXPECT_EQ(Spec::CalcFouRms(spec, 0, 0, 0), std::sqrt(3.0));
    }
    ASSERT_EQ(Spec::CnvPowToPsd(&out, levels, 0.5), 1);
    EXPECT_EQ(ToWave(out), (Wave{2, kNone, 4}));
    ASSERT_EQ(Spec::CnvAmpToPsd(&out, levels, 0.5, 0), 1);
    EXPECT_EQ(ToWave(out), (Wave{2, kNone, 4}));
    ASSERT_EQ(Spec::CnvPsdToAmp(&out, out, 0.5, 0), 1);
    EXPECT_EQ(ToWave(out), values);
    EXPECT_EQ(Spec::CalcAmpRms(levels, 0, 0, 0), std::sqrt(3.0));
    EXPECT_EQ(Spec::CalcPowRms(levels, 0, 0), std::sqrt(3.0));
    EXPECT_EQ(Spec::CalcPsdRms(levels, 2.0, 0, 0), std::sqrt(6.0));
    EXPECT_EQ(Spec::CalcPsdRms(levels, 2.0, 1, 1), 0.0);

    const CDataArrayDouble freq = ToArray({1, 2, 4});
    double level = 9.0;
    EXPECT_EQ(Spec::GetLevelFromFreq(1.5, 0, freq, levels, &level), 1);
    EXPECT_EQ(level, kNone);
    ASSERT_EQ(Spec::ChangePsdLevelRatio(1, 4, 3, freq, &levels, 0), 1);
    EXPECT_EQ(ToWave(levels), (Wave{3, kNone, 6}));
    CDataArrayDouble profile = ToArray({1, 1, kNone});
    ASSERT_EQ(Spec::ChangePsdLevel(2, freq, &profile), 1);
    EXPECT_THAT(ToWave(profile), testing::ElementsAre(testing::DoubleEq(4), testing::DoubleEq(4), kNone));
    std::uint32_t seed = 1;
    CDataArrayDoubleCplx random(1, 3);
    ASSERT_EQ(Spec::GenRandomPhaseSpec(&random, levels, &seed), 1);
    EXPECT_EQ(bothOf(random), Wave(2, kNone));
}

TEST(CMatSpec, FailsOnWhatDoesNotFitTogether) {
    using Spec = CMatSpec;
    const CDataArrayDouble three(3, 1.0);
    const CDataArrayDoubleCplx three2(1, 3), empty2;
    CDataArrayDouble out(3, 9.0), two(2, 9.0);
    CDataArrayDoubleCplx out2 = ToSpectrum({9, 9, 9}, {9, 9, 9}), two2(1, 2);
    double* const block = out.GetData();
    std::uint32_t seed = 5;
    const auto convert = [&](CDataArrayDouble* to, double df) {
        return Spec::CnvCplxToPsd(to, three2, df, 0) + Spec::CnvPowToPsd(to, three, df) +
               Spec::CnvAmpToPsd(to, three, df, 0) + Spec::CnvPsdToAmp(to, three, df, 0);
    };
    const auto convert2 = [&](CDataArrayDoubleCplx* to, double df) {
        return Spec::CnvAmpToPsd(to, three2, df, 0) + Spec::CnvPsdToAmp(to, three2, df, 0);
    };
    for (const double df : {0.0, -1.0, kNaN})
        EXPECT_TRUE(AllFail(convert(&out, df), convert2(&out2, df), Spec::CalcPsdRms(three, df, 0, 0)));
    for (CDataArrayDouble* const bad : {static_cast<CDataArrayDouble*>(nullptr), &two}) {
        EXPECT_TRUE(AllFail(convert(bad, 1), Spec::CnvCplxToPow(bad, three2, 0),
                            Spec::ChangePsdLevel(1, three, bad), Spec::ChangePsdLevel(1, 2, 1, three, bad),
                            Spec::ChangePsdLevelRatio(1, 2, 1, three, bad, 0)));
    }
    for (CDataArrayDoubleCplx* const bad : {static_cast<CDataArrayDoubleCplx*>(nullptr), &two2}) {
        EXPECT_TRUE(AllFail(convert2(bad, 1), Spec::CalcCrossPow(bad, three2, three2, 0),
                            Spec::CalcXfr(bad, three2, three2), Spec::GenRandomPhaseSpec(bad, three, &seed)));
    }
    EXPECT_TRUE(AllFail(
        Spec::CalcCrossPow(&out2, three2, two2, 0), Spec::CalcXfr(&out2, empty2, three2),
        Spec::GenRandomPhaseSpec(&out2, three, nullptr), Spec::GetLevelFromFreq(1, 0, three, two, block),
        Spec::GetLevelFromFreq(1, 0, three, three, nullptr), Spec::GenRandomPhaseSpec(&out2, 1, nullptr),
        Spec::GenRandomPhaseSpec(nullptr, 1, &seed), Spec::CnvAmpToPsd(nullptr, block, 3, 1, 0),
        Spec::CnvPsdToAmp(block, nullptr, 3, 1, 0), Spec::CnvPsdToAmp(block, block, 0, 1, 0),
        Spec::CalcAmpRms(nullptr, 1, 0, 0, 0), Spec::CalcPowRms(nullptr, 1, 0, 0),
        Spec::CalcFouRms(empty2, 0, 0, 0), Spec::CalcPsdRms(three, two, 0, 0)));
    EXPECT_EQ(ToWave(out), Wave(3, 9.0));
    EXPECT_EQ(PartsOf(out2), Parts(Wave(3, 9.0), Wave(3, 9.0)));
    EXPECT_EQ(seed, 5U);
}

TEST(CalcPsdRmsOfAProfile, IsTheExactIntegralOfStraightLogarithmicLines) {
    struct Case {
        Wave freq, psd;
        double power;
        __int64 first = 0, last = 0;
    };
    // clang-format off
    const Case cases[] = {
        {{10, 100}, {1, 1}, 90},                         {{10, 100}, {1, 0.1}, 10 * std::log(10.0)},
        {{10, 100}, {1, 10}, 0.1 / 2 * (1e4 - 1e2)},     {{10, 100}, {1, 0.01}, 100 * (0.1 - 0.01)},
        {{10, 100, 100, 200}, {1, 1, 5, 5}, 90 + 500},   {{10, 20}, {-1, -1}, 0},
        // No logarithm at the lower end, no slope.
        {{0, 10, 20}, {1, 1, 1}, 10},                    {{10, 20, 30}, {0, 1, 1}, 10},
        {{10, 20}, {1, 0}, 10},                          {{10}, {1}, 0},
        {{10, 20, 30}, {1, -1, 2}, 10},                  {{10, 20, 30, 40}, {1, 1, -1, 1}, 20},
        {{10, 20, 30, 40}, {1, 1, kNone, 1}, 10},        {{10, 20, 30, 40}, {kNone, 1, 1, kNone}, 10},
        // The whole is the sum of its parts, however short and steep they are.
        {{10, 10 + 0x1p-30}, {1, 1}, 0x1p-30},           {{1, 1 + 0x1p-40}, {1, 3}, 0x1p-40 * 2 / std::log(3.0)},
        {{1, std::numbers::e}, {1e-200, 1e200}, 1e200 * std::numbers::e / (400 * std::log(10.0) + 1)},
        {{1, 2, 4, 8}, {1, 1, 1, 1}, 2, 1, 2},           {{1, 2, 4, 8}, {1, 1, 1, 1}, 6, 1, 99},
        {{1, 2, 4, 8}, {1, 1, 1, 1}, 0, 2, 2},           {{1, 2, 4, 8}, {1, 1, 1, 1}, 0, -1, 2},
    };
    // clang-format on
    for (const auto& [freq, psd, power, first, last] : cases) {
        const double rms = CMatSpec::CalcPsdRms(ToArray(psd), ToArray(freq), first, last);
        EXPECT_NEAR(rms * rms, power, 1e-12 * power) << testing::PrintToString(std::pair(freq, psd));
    }
}

TEST(ChangePsdLevel, ScalesToAnRmsOrSetsABand) {
    const CDataArrayDouble freq = ToArray({10, 100, 1000});
    CDataArrayDouble psd = ToArray({1, 3, 0.5}), silent(3, 0.0), band(5, 1.0);
    ASSERT_EQ(CMatSpec::ChangePsdLevel(7.5, freq, &psd), 1);
    EXPECT_NEAR(CMatSpec::CalcPsdRms(psd, freq, 0, 0), 7.5, 1e-14);
    EXPECT_NEAR(psd[1] / psd[0], 3.0, 1e-15);
    const Wave before = ToWave(psd);
    EXPECT_EQ(CMatSpec::ChangePsdLevel(CMatSpec::CalcPsdRms(psd, freq, 0, 0), freq, &psd), 1);
    EXPECT_TRUE(AllFail(CMatSpec::ChangePsdLevel(0.0, freq, &psd), CMatSpec::ChangePsdLevel(-1.0, freq, &psd),
                        CMatSpec::ChangePsdLevel(kNaN, freq, &psd),
                        CMatSpec::ChangePsdLevel(1, freq, &silent)));
    EXPECT_EQ(ToWave(psd), before);
    ASSERT_EQ(CMatSpec::ChangePsdLevel(20.0, 40.0, 7.0, ToArray({10, 20, 30, 40, 50}), &band), 1);
    EXPECT_EQ(ToWave(band), (Wave{1, 7, 7, 7, 1}));
}

TEST(ChangePsdLevelRatio, MultipliesTheBandAndBlendsItsEdges) {
    const CDataArrayDouble freq = ToArray({0, 1, 2, 4, 8, 16, 32, 64, 128});
    struct Case {
        double fLow, fHigh, ratio, slope;
        Wave expected;
    };
    // clang-format off
    const Case cases[] = {
        {8, 16, 0.25, 0, {1, 1, 1, 1, 0.25, 0.25, 1, 1, 1}},
        // Downward 0.25 (8/f): 0.5 at 4 Hz, 1 at 2 Hz. Upward 0.25 (f/16): 0.5 at 32 Hz, and no further.
        {8, 16, 0.25, 1, {1, 1, 1, 0.5, 0.25, 0.25, 0.5, 1, 1}},
        {8, 16, 0.125, 1, {1, 1, 0.5, 0.25, 0.125, 0.125, 0.25, 1, 1}},
        {8, 16, 4, -1, {1, 1, 1, 2, 4, 4, 2, 1, 1}},
        {8, 16, 4, 1, {1, 1, 1, 1, 4, 4, 1, 1, 1}},
        // The blend passes over the line at 0 Hz, which has no gain.
        {256, 512, 0x1p-9, 1, {1, 0.5, 0.25, 0.125, 0x1p-4, 0x1p-5, 0x1p-6, 0x1p-7, 0x1p-8}},
        {0, 16, 2, 1, Wave(9, 1.0)}, {8, -1, 2, 1, Wave(9, 1.0)}, {8, 16, 0, 1, Wave(9, 1.0)}, {8, 16, kNaN, 1, Wave(9, 1.0)},
        {8, 16, 2, kNaN, Wave(9, 1.0)},
    };
    // clang-format on
    for (const auto& [fLow, fHigh, ratio, slope, expected] : cases) {
        CDataArrayDouble psd(9, 1.0);
        EXPECT_EQ(CMatSpec::ChangePsdLevelRatio(fLow, fHigh, ratio, freq, &psd, slope),
                  expected[8] == 1.0 && expected[4] == 1.0 ? 0 : 1);
        EXPECT_EQ(ToWave(psd), expected) << fLow << ".." << fHigh << " ratio " << ratio << " slope " << slope;
    }
}

TEST(GenRandomPhaseSpec, DrawsOnePhasePerLineInOrder) {
    const Wave amp{1, 2, 3};
    CDataArrayDoubleCplx out(0, 3), constant(1, 3);
    std::uint32_t seed = 7, sameSeed = 7, expectedSeed = 7;
    ASSERT_EQ(CMatSpec::GenRandomPhaseSpec(&out, ToArray(amp), &seed), 1);
    ASSERT_EQ(CMatSpec::GenRandomPhaseSpec(&constant, 5.0, &sameSeed), 1);
    for (std::size_t k = 0; k < 3; ++k) {
        const auto phase = std::polar(1.0, 2.0 * std::numbers::pi * CMatBasic::GenRandom(&expectedSeed));
        EXPECT_NEAR(out.GetReal()[k], amp[k] * phase.real(), 1e-15);
        EXPECT_NEAR(out.GetImaginary()[k], amp[k] * phase.imag(), 1e-15);
        EXPECT_NEAR(constant.GetReal()[k], 5.0 * phase.real(), 2e-15);
    }
    EXPECT_EQ(std::pair(seed, sameSeed), std::pair(expectedSeed, expectedSeed));
}

TEST(GetLevelFromFreq, FollowsTheSegmentThatTheIndexNames) {
    struct Case {
        double f;
        __int64 index;
        int result;
        double expected;
    };
    const Case cases[] = {
        // clang-format off
        {5, 0, 1, 2},   {10, 0, 1, 3},  {10, 1, 1, 3},   {50, 1, 1, 3},   {std::sqrt(1e5), 2, 1, 0.3}, {1000, 2, 1, 0.03},
        {1000, 3, 1, 0.03}, {1000, 4, 1, 5}, {1500, 4, 1, 2.5}, {2000, 4, 1, 0},
        {9, 1, 0, 9},   {101, 1, 0, 9}, {kNaN, 1, 0, 9}, {50, -1, 0, 9},  {50, 5, 0, 9}, {50, 6, 0, 9},
        // clang-format on
    };
    const CDataArrayDouble freq = ToArray({0, 10, 100, 1000, 1000, 2000}),
                           level = ToArray({1, 3, 3, 0.03, 5, 0});
    for (const auto& [f, index, result, expected] : cases) {
        double out = 9.0;
        EXPECT_EQ(CMatSpec::GetLevelFromFreq(f, index, freq, level, &out), result) << f << " on " << index;
        EXPECT_NEAR(out, expected, 1e-14) << f << " on " << index;
    }
}

/// A filter, and its gain in power at x = f/fc.
struct ShapeCase {
    int filter;  // of CMatSpec::PSD_FILTER
    double parameter;
    double (*power)(double x);
};

const ShapeCase kShapes[] = {
    // clang-format off
    {CMatSpec::FILTER_LPF1, 0,         [](double x) { return 1 / (1 + x * x); }},
    {CMatSpec::FILTER_HPF1, 0,         [](double x) { return x * x / (1 + x * x); }},
    {CMatSpec::FILTER_LPF2, 20,        [](double x) { return 1 / (std::pow(1 - x * x, 2) + x * x / 400); }},
    {CMatSpec::FILTER_HPF2, 20,        [](double x) { return std::pow(x, 4) / (std::pow(1 - x * x, 2) + x * x / 400); }},
    {CMatSpec::FILTER_BW_LPF, 8,       [](double x) { return 1 / (1 + std::pow(x, 16)); }},
    {CMatSpec::FILTER_BW_HPF, 3,       [](double x) { return 1 / (1 + std::pow(x, -6)); }},
    {CMatSpec::FILTER_LIN_LPF, 2,      [](double x) { return x > 1 ? std::pow(x, -4) : 1; }},
    {CMatSpec::FILTER_LIN_HPF, 1,      [](double x) { return x < 1 ? x * x : 1; }},
    {CMatSpec::FILTER_TRANC_LPF, 0,    [](double x) { return x > 1 ? 0.0 : 1.0; }},
    {CMatSpec::FILTER_TRANC_HPF, 0,    [](double x) { return x < 1 ? 0.0 : 1.0; }},
    // clang-format on
};

TEST(FilteringPsd, FollowsTheFilteredProfileWithin002Decibels) {
    constexpr double kCorner = 80.0;
    for (const ShapeCase& shape : kShapes) {
        SCOPED_TRACE(shape.filter);
        CDataArrayDouble freq = ToArray({5, 20, 300, 2000}), psd = ToArray({0.01, 0.04, 0.04, 0.001});
        const kvx::PsdProfile before(freq, psd);
        ASSERT_EQ(CMatSpec::FilteringPsd(kCorner, shape.filter, &freq, &psd, shape.parameter), 1);
        const kvx::PsdProfile after(freq, psd);  // which refuses points out of order
        for (double f = 5.0; f < 2000.0; f *= 1.001) {
            const double expected = before.LevelAt(f) * shape.power(f / kCorner);
            // A part cut off is 0 in both.
            const double errorDb =
                expected == 0.0 ? after.LevelAt(f) : 10 * std::log10(after.LevelAt(f) / expected);
            ASSERT_NEAR(errorDb, 0.0, expected == 0.0 ? 0.0 : 0.02) << f;
        }
        EXPECT_LT(freq.GetNum(), 400);
    }
}

TEST(FilteringPsd, AddsOnlyTheCornerToAStraightSlopeHoweverSteep) {
    CDataArrayDouble freq = ToArray({10, 1000}), psd = ToArray({1, 1});
    ASSERT_EQ(CMatSpec::FilteringPsd(100, CMatSpec::FILTER_LIN_HPF, &freq, &psd, 2), 1);
    EXPECT_EQ(ToWave(freq), (Wave{10, 100, 1000}));
    EXPECT_THAT(ToWave(psd), Near({1e-4, 1, 1}, 1e-18));
    ASSERT_EQ(CMatSpec::FilteringPsd(100, CMatSpec::FILTER_LIN_LPF, &freq, &psd, 400), 1);
    EXPECT_EQ(psd[psd.GetNum() - 1], std::numeric_limits<double>::min()) << "no level falls to 0";
}

TEST(FilteringPsd, RefusesWhatHasNoMeaningAndChangesNothing) {
    CDataArrayDouble freq = ToArray({10, 100}), psd = ToArray({1, 2}), unordered = ToArray({100, 10}),
                     three(3, 1.0);
    const auto run = [&](double fc, int filter, double parameter) {
        return CMatSpec::FilteringPsd(fc, filter, &freq, &psd, parameter);
    };
    const auto filterOf = [](CDataArrayDouble* f, CDataArrayDouble* levels) {
        return CMatSpec::FilteringPsd(50, CMatSpec::FILTER_LPF1, f, levels, 0);
    };
    for (const double bad : {0.0, -1.0, kNaN})
        EXPECT_EQ(run(bad, CMatSpec::FILTER_LPF1, 0) + run(50, CMatSpec::FILTER_BW_LPF, bad), 0) << bad;
    EXPECT_TRUE(AllFail(run(50, 0, 1), run(50, 11, 1), run(50, -1, 1), run(50, CMatSpec::FILTER_BW_LPF, 17),
                        run(50, CMatSpec::FILTER_LPF2, 0), run(50, CMatSpec::FILTER_LIN_LPF, kNaN),
                        filterOf(&unordered, &psd), filterOf(&three, &psd), filterOf(nullptr, &psd),
                        filterOf(&freq, nullptr)));
    EXPECT_EQ(run(10, CMatSpec::FILTER_TRANC_LPF, 0), 0) << "one point remains";
    EXPECT_EQ(Parts(ToWave(freq), ToWave(psd)), Parts({10, 100}, {1, 2}));
}

}  // namespace
