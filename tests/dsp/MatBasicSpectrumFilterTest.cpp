// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <tests/dsp/Signals.h>

#include <functional>
#include <string>

namespace {

TEST(PolarSpectrum, IsAmplitudeAndPhase) {
    constexpr double kAngle = 53.13010235415598;  // of 3 + 4i
    Wave re = {3, 0, -1, 0, kNone, 1, 0, -0.0, 1e200, 3e-200, kInfinity};
    Wave im = {4, -2, 0, 0, 1, kNone, 0.5, 0.0, 1e200, 4e-200, 1.0};
    const Wave amplitude = {5, 2, 1, 0, kNone, kNone, 0.5, 0, std::numbers::sqrt2 * 1e200, 5e-200, kInfinity};
    const Wave degrees = {kAngle, -90, 180, 0, kNone, kNone, 90, 0, 45, kAngle, 0};
    Wave amp(re.size()), phase(re.size());
    ASSERT_EQ(CMatBasic::FouToAmpFltN(re.data(), im.data(), amp.data(), phase.data(), Size(re), 1), 1);
    EXPECT_THAT(amp, testing::Pointwise(testing::DoubleEq(), amplitude));
    EXPECT_THAT(phase, testing::Pointwise(testing::DoubleEq(), degrees));
    ASSERT_EQ(CMatBasic::FouToAmpFltN(re.data(), im.data(), re.data(), im.data(), Size(re), 1), 1);
    EXPECT_EQ(Parts(re, im), Parts(amp, phase)) << "in place";
}

TEST(PolarSpectrum, ComesBackAsItWas) {
    Wave re = Noise(257, 1), im = Noise(257, 2), amp(257), phase(257), re2(257), im2(257);
    re[5] = im[5] = 0;
    re[6] = im[6] = kNone;
    for (const int degrees : {0, 1}) {
        ASSERT_EQ(CMatBasic::FouToAmpFltN(re.data(), im.data(), amp.data(), phase.data(), 257, degrees), 1);
        ASSERT_EQ(CMatBasic::AmpToFouFltN(re2.data(), im2.data(), amp.data(), phase.data(), 257, degrees), 1);
        EXPECT_THAT(re2, Near(re, 1e-15));
        EXPECT_THAT(im2, Near(im, 1e-15));
    }
}

TEST(PolarSpectrum, RefusesNullBlocksAndTakesNegativeCountsAsNothingToDo) {
    double x = 1.0;
    const auto convert = [](double* a, double* b, double* c, double* d, __int64 n) {
        return CMatBasic::FouToAmpFltN(a, b, c, d, n, 0) + CMatBasic::AmpToFouFltN(a, b, c, d, n, 0);
    };
    EXPECT_TRUE(AllFail(convert(nullptr, &x, &x, &x, 1), convert(&x, nullptr, &x, &x, 1),
                        convert(&x, &x, nullptr, &x, 1), convert(&x, &x, &x, nullptr, 1),
                        convert(&x, &x, &x, &x, 0)));
    EXPECT_EQ(convert(&x, &x, &x, &x, kLowest), 2);
    EXPECT_EQ(x, 1.0);
}

using Complex = Line;

/// A spectrum filter, and its response in s = i f/fc.
struct FilterCase {
    std::string name;
    std::function<int(CDataArrayDoubleCplx*, double f0, double df, double fc)> run;
    std::function<Complex(Complex s)> response;
};

void PrintTo(const FilterCase& filter, std::ostream* out) {
    *out << filter.name;
}

/// The product over the poles of the normalised Butterworth low-pass.
Complex ButterworthLowPass(Complex s, int order) {
    Complex h = 1;
    for (int k = 1; k <= order; ++k) {
        const long double angle = std::numbers::pi_v<long double> * (2 * k + order - 1) / (2 * order);
        h /= s - Complex(std::cos(angle), std::sin(angle));
    }
    return h;
}

std::vector<FilterCase> Filters() {
    std::vector<FilterCase> filters = {
        {"LowPass1", CMatBasic::SpecLPF1Ex, [](Complex s) { return 1.0L / (1.0L + s); }},
        {"HighPass1", CMatBasic::SpecHPF1Ex, [](Complex s) { return s / (1.0L + s); }},
    };
    const auto add = [&](const std::string& name, auto routine, auto parameter, auto response) {
        const auto run = [=](auto spec, auto... grid) { return routine(spec, grid..., parameter); };
        filters.push_back({name + std::to_string(static_cast<int>(10 * parameter)), run, response});
    };
    for (const double q : {0.3, 1.0, 40.0}) {
        const auto lowPass = [=](Complex s) { return 1.0L / (1.0L + s * s + s / ToLine(q)); };
        add("LowPass2TenQ", CMatBasic::SpecLPF2Ex, q, lowPass);
        add("HighPass2TenQ", CMatBasic::SpecHPF2Ex, q, [=](Complex s) { return s * s * lowPass(s); });
    }
    for (const int n : {1, 2, 3, 4, 7, 8, 15, 16}) {
        const auto lowPass = [=](Complex s) { return ButterworthLowPass(s, n); };
        add("ButterworthLowPassTenN", CMatBasic::SpecBwLPFN, n, lowPass);
        add("ButterworthHighPassTenN", CMatBasic::SpecBwHPFN, n,
            [=](Complex s) { return lowPass(1.0L / s); });
    }
    return filters;
}

class SpectrumFilterTest : public testing::TestWithParam<FilterCase> {};

TEST_P(SpectrumFilterTest, MultipliesByTheAnalyticResponse) {
    constexpr long double kTolerance = 1e-13L;  // of the response, over eight sections
    constexpr double f0 = 0.25, df = 0.5, fc = 20.0;
    const Wave re = Noise(400, 1), im = Noise(400, 2);
    CDataArrayDoubleCplx spectrum = ToSpectrum(re, im);
    ASSERT_EQ(GetParam().run(&spectrum, f0, df, fc), 1);
    for (std::size_t k = 0; k < re.size(); ++k) {
        const auto x = static_cast<long double>((f0 + static_cast<double>(k) * df) / fc);
        const Complex expected = GetParam().response(Complex(0, x)) * Complex(std::complex(re[k], im[k]));
        const Complex actual(std::complex(spectrum.GetReal()[k], spectrum.GetImaginary()[k]));
        ASSERT_LE(std::abs(actual - expected), kTolerance * std::abs(expected)) << k;
    }
}

TEST_P(SpectrumFilterTest, StaysFiniteFarFromTheCornerAndKeepsNothingAtZero) {
    const bool isHighPass = GetParam().name.find("High") != std::string::npos;
    CDataArrayDoubleCplx far = ToSpectrum({1, 1, 1}, {0, 0, 0});
    ASSERT_EQ(GetParam().run(&far, -5.0, 1e300, 1e-5), 1) << "f0 counts as 0";
    for (std::size_t k = 0; k < 3; ++k) {
        const double magnitude = std::hypot(far.GetReal()[k], far.GetImaginary()[k]);
        EXPECT_NEAR(magnitude, isHighPass == (k > 0) ? 1.0 : 0.0, 1e-12) << k;
    }
    CDataArrayDoubleCplx infinite = ToSpectrum({kInfinity, 1}, {kNaN, 1});
    ASSERT_EQ(GetParam().run(&infinite, 0.0, 1.0, 5.0), 1);
    EXPECT_EQ(infinite.GetReal()[0] == 0.0, isHighPass);
}

TEST_P(SpectrumFilterTest, RefusesWhatHasNoMeaning) {
    CDataArrayDoubleCplx spectrum = ToSpectrum({1}, {3}), empty;
    const auto& run = GetParam().run;
    for (const double bad : {-1.0, kNaN, kInfinity})
        EXPECT_EQ(run(&spectrum, 0, 1, bad) + run(&spectrum, 0, bad, 5), 0) << bad;
    EXPECT_TRUE(AllFail(run(nullptr, 0, 1, 5), run(&empty, 0, 1, 5), run(&spectrum, 0, 1, 0),
                        run(&spectrum, kNaN, 1, 5)));
    EXPECT_EQ(PartsOf(spectrum), Parts({1}, {3}));
}

INSTANTIATE_TEST_SUITE_P(MatBasic, SpectrumFilterTest, testing::ValuesIn(Filters()),
                         [](const auto& test) { return test.param.name; });

TEST(SpectrumFilter, ClampsTheOrderOfButterworthFilters) {
    for (const auto& [given, clamped] : {std::pair{-3, 1}, {0, 1}, {17, 16}, {2147483647, 16}}) {
        CDataArrayDoubleCplx a = ToSpectrum({1, 1, 1}, {0, 0, 0}), b = a;
        ASSERT_EQ(CMatBasic::SpecBwLPFN(&a, 0, 1, 1.5, given) + CMatBasic::SpecBwLPFN(&b, 0, 1, 1.5, clamped),
                  2);
        EXPECT_EQ(PartsOf(a), PartsOf(b));
    }
}

TEST(SpectrumFilter, RefusesQualitiesAndStepsThatAreNone) {
    CDataArrayDoubleCplx one = ToSpectrum({1}, {1});
    EXPECT_TRUE(
        AllFail(CMatBasic::SpecBwLPFN(&one, 5, 0, 1.5, 2), CMatBasic::SpecBwHPFN(&one, 5, 0, 1.5, 2)));
    for (const double q : {0.0, -1.0, kNaN, kInfinity})
        EXPECT_EQ(CMatBasic::SpecLPF2Ex(&one, 0, 1, 5, q) + CMatBasic::SpecHPF2Ex(&one, 0, 1, 5, q), 0) << q;
}

TEST(SpectrumFilter, WorksOnTheRealBlockAloneOfARealSpectrum) {
    CDataArrayDoubleCplx spectrum = ToSpectrum({2, 2, 2});
    ASSERT_EQ(CMatBasic::SpecLPF1Ex(&spectrum, 0, 1, 1), 1);
    EXPECT_EQ(PartsOf(spectrum).first, (Wave{2, 1, 0.4}));
    ASSERT_EQ(CMatBasic::SpecLinLPFN(&spectrum, 0, 1, 1, 1), 1);
    EXPECT_EQ(PartsOf(spectrum).first, (Wave{2, 1, 0.2}));
    ASSERT_EQ(CMatBasic::SpecTrancHPF(&spectrum, 0, 1, 1), 1);
    EXPECT_EQ(PartsOf(spectrum).first, (Wave{0, 1, 0.2}));
}

TEST(SpectrumFilter, CutsLeaveTheBinsOnTheirSideOfTheCorner) {
    struct Case {
        int (*run)(CDataArrayDoubleCplx*, double f0, double df, double fc);
        double f0, fc;
        int result;
        Wave gains;  // of bins 1 Hz apart
    };
    const auto linearLowPass = [](auto spec, auto... grid) {
        return CMatBasic::SpecLinLPFN(spec, grid..., 2.0);
    };
    const auto linearHighPass = [](auto spec, auto... grid) {
        return CMatBasic::SpecLinHPFN(spec, grid..., 2.0);
    };
    const Case cases[] = {
        // clang-format off
        // On a bin, within 1 % of a bin, between bins, beyond the ends.
        {CMatBasic::SpecTrancLPF, 0, 2.0, 1, {1, 1, 1, 0}},           {CMatBasic::SpecTrancLPF, 0, 1.995, 1, {1, 1, 1, 0}},
        {CMatBasic::SpecTrancLPF, 0, 1.98, 1, {1, 1, 0, 0}},          {CMatBasic::SpecTrancLPF, 0, 3.0, 0, {1, 1, 1, 1}},
        {CMatBasic::SpecTrancLPF, 5, 2.0, 1, {0, 0, 0, 0}},           {CMatBasic::SpecTrancHPF, 0, 2.0, 1, {0, 0, 1, 1}},
        {CMatBasic::SpecTrancHPF, 0, 2.005, 1, {0, 0, 1, 1}},         {CMatBasic::SpecTrancHPF, 0, 2.02, 1, {0, 0, 0, 1}},
        {CMatBasic::SpecTrancHPF, 5, 5.0, 0, {1, 1, 1, 1}},           {CMatBasic::SpecTrancHPF, 0, 1e300, 1, {0, 0, 0, 0}},
        {CMatBasic::SpecTrancHPF, 0, -1.0, 0, {1, 1, 1, 1}},          {linearLowPass, 0, 1.0, 1, {1, 1, 1.0 / 4, 1.0 / 9}},
        {linearLowPass, 0, 3.0, 0, {1, 1, 1, 1}},                     {linearHighPass, 0, 2.0, 1, {0, 1.0 / 4, 1, 1}},
        {linearHighPass, 1, 8.0, 1, {1.0 / 64, 1.0 / 16, 9.0 / 64, 1.0 / 4}},{linearHighPass, 2, 1.0, 0, {1, 1, 1, 1}},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        CDataArrayDoubleCplx spectrum = ToSpectrum({1, 1, 1, 1}, {-2, -2, -2, -2});
        EXPECT_EQ(c.run(&spectrum, c.f0, 1.0, c.fc), c.result);
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_DOUBLE_EQ(spectrum.GetReal()[k], c.gains[k]) << k;
            EXPECT_DOUBLE_EQ(spectrum.GetImaginary()[k], -2.0 * c.gains[k]) << k;
        }
        EXPECT_TRUE(
            AllFail(c.run(&spectrum, 0, 0, 2), c.run(&spectrum, 0, 1, kNaN), c.run(nullptr, 0, 1, 2)));
    }
}

TEST(SpecMul, IsTheComplexProductOfTheBinsOfItsResult) {
    const CDataArrayDoubleCplx a = ToSpectrum({1, 0, 9}, {2, 3, 9}), b = ToSpectrum({3, 2, 9}, {4, -1, 9});
    CDataArrayDoubleCplx out(1, 2), left = a, right = b;
    ASSERT_EQ(CMatBasic::SpecMul(&out, a, b), 1);
    EXPECT_EQ(PartsOf(out), Parts({-5, 3}, {10, 6}));
    ASSERT_EQ(CMatBasic::SpecMul(&left, left, b) + CMatBasic::SpecMul(&right, a, right), 2);
    EXPECT_EQ(PartsOf(left), Parts({-5, 3, 0}, {10, 6, 162}));
    EXPECT_EQ(PartsOf(right), PartsOf(left));
}

TEST(SpecMul, NeedsThreeComplexSpectraOfEnoughBins) {
    const CDataArrayDoubleCplx two = ToSpectrum({1, 2}, {3, 4}), real = ToSpectrum({1, 2});
    CDataArrayDoubleCplx out(1, 2), longer(1, 3), realOut(0, 2), empty;
    EXPECT_TRUE(AllFail(CMatBasic::SpecMul(nullptr, two, two), CMatBasic::SpecMul(&empty, two, two),
                        CMatBasic::SpecMul(&longer, two, longer), CMatBasic::SpecMul(&longer, longer, two),
                        CMatBasic::SpecMul(&realOut, two, two), CMatBasic::SpecMul(&out, real, two),
                        CMatBasic::SpecMul(&out, two, real)));
}

}  // namespace
