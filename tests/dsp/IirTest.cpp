// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/kernels/IirKernels.h>
#include <tests/dsp/Signals.h>
#include <tests/support/FailingMemory.h>

#include <algorithm>
#include <tuple>
#include <vector>

namespace {

enum Kind { kLow, kHigh };

template <class... Quality>
int Design(auto* section, Kind kind, double fc, Quality... q) {
    return kind == kLow ? section->CalcCoefLPF(fc, q...) : section->CalcCoefHPF(fc, q...);
}
int Design(CMatIirNth* filter, Kind kind, double fc, int order) {
    return kind == kLow ? filter->CalcCoefBwLPF(fc, order) : filter->CalcCoefBwHPF(fc, order);
}
CMatIirNth Butterworth(Kind kind, double fc, int order) {
    CMatIirNth filter;
    EXPECT_EQ(Design(&filter, kind, fc, order), 1);
    return filter;
}

template <class Filter>
Wave Filtered(Filter&& filter, const Wave& wave) {
    Wave out(wave.size());
    EXPECT_EQ(filter.Filtering(wave.data(), out.data(), Size(wave)), 1);
    return out;
}

/// The difference equation as it is written, in extended precision.
struct Written {
    long double b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
    long double x1, x2, y1, y2;

    explicit Written(long double state) : x1(state), x2(state), y1(state), y2(state) {}

    void SetFirst(Kind kind, long double p) {
        b0 = (kind == kLow ? p : 1) / (1 + p);
        b1 = kind == kLow ? b0 : -b0;
        a1 = (1 - p) / (1 + p);
    }
    void SetSecond(Kind kind, long double p, long double q) {
        const long double d = 1 + p / q + p * p;
        b0 = b2 = (kind == kLow ? p * p : 1) / d;
        b1 = kind == kLow ? 2 * b0 : -2 * b0;
        a1 = 2 * (1 - p * p) / d;
        a2 = -(1 - p / q + p * p) / d;
    }
    double Step(double x) {
        const long double y = b0 * static_cast<long double>(x) + b1 * x1 + b2 * x2 + a1 * y1 + a2 * y2;
        x2 = std::exchange(x1, x);
        y2 = std::exchange(y1, y);
        return static_cast<double>(y);
    }
};

class IirSections : public testing::TestWithParam<std::tuple<Kind, double>> {};

// The state survives a new design, across the quarter of the sampling rate too.
TEST_P(IirSections, FollowTheirDifferenceEquations) {
    const auto [kind, fc] = GetParam();
    constexpr double kLevel = 0.75, kQuality = 3.0;  // exact in any precision
    CMatIir1th first;
    CMatIir2th second;
    first.ClearBuf(kLevel);
    second.ClearBuf(kLevel);
    Written writtenFirst(0.75L), writtenSecond(0.75L);
    for (const double corner : {fc, 0.5 - fc, fc}) {
        ASSERT_EQ(Design(&first, kind, corner), 1);
        ASSERT_EQ(Design(&second, kind, corner, kQuality), 1);
        const long double p = std::tan(std::numbers::pi_v<long double> * static_cast<long double>(corner));
        writtenFirst.SetFirst(kind, p);
        writtenSecond.SetSecond(kind, p, 3.0L);
        for (const double x : Noise(100)) {
            ASSERT_NEAR(first.Filtering(x), writtenFirst.Step(x), 1e-14);
            ASSERT_NEAR(second.Filtering(x), writtenSecond.Step(x), 1e-12);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Corners, IirSections,
                         testing::Combine(testing::Values(kLow, kHigh),
                                          testing::Values(0.01, 0.1, 0.2499, 0.25, 0.2501, 0.4, 0.49)));

class IirButterworth : public testing::TestWithParam<std::tuple<Kind, double, int>> {};

TEST_P(IirButterworth, HasTheAnalogueResponseAtTheWarpedFrequency) {
    const auto [kind, fc, order] = GetParam();
    constexpr std::size_t kPeriod = 400;
    // Folded to one period, the impulse response keeps its spectrum on the lines of the period.
    Wave impulse(kPeriod, 0.0), folded(kPeriod, 0.0);
    impulse[0] = 1.0;
    CMatIirNth filter = Butterworth(kind, fc, order);
    for (int period = 0; period < 60 + order / 8; ++period) {
        const Wave part = Filtered(filter, period == 0 ? impulse : Wave(kPeriod, 0.0));
        for (std::size_t i = 0; i < kPeriod; ++i) folded[i] += part[i];
    }
    EXPECT_LT(std::abs(filter.Filtering(0.0)), 1e-15);

    const DirectTransform transform(kPeriod);
    constexpr long double kPi = std::numbers::pi_v<long double>;
    for (std::size_t k = 0; k <= kPeriod / 2; ++k) {
        const long double angle =
            kPi * static_cast<long double>(k) / kPeriod;  // its tangent at the end is huge
        const long double ratio = std::tan(angle) / std::tan(kPi * static_cast<long double>(fc));
        const Line s(0.0L, kind == kLow ? ratio : -1 / ratio);
        Line gain = 1.0L;  // the poles stand evenly on the left half of the unit circle
        for (int pole = 0; pole < order && gain != 0.0L; ++pole)
            gain /= s - std::polar(1.0L, kPi * static_cast<long double>(2 * pole + 1 + order) / (2 * order));
        const Line measured = transform.At(std::span<const double>(folded), k);
        ASSERT_NEAR(static_cast<double>(std::abs(measured - gain)), 0.0, 1e-13 * order) << "line " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, IirButterworth,
                         testing::Combine(testing::Values(kLow, kHigh),
                                          testing::Values(0.01, 0.1, 0.25, 0.37, 0.49),
                                          testing::Values(1, 2, 3, 4, 5, 8, 17, 32)));
INSTANTIATE_TEST_SUITE_P(HighOrders, IirButterworth,
                         testing::Combine(testing::Values(kLow, kHigh), testing::Values(0.1, 0.37),
                                          testing::Values(33, 64, CMatIirNth::kMaxOrder)));

// The analogue poles s and t stand at z = (1 + s)/(1 - s) and its conjugate; partial fractions of the
// transform of the step response give it in closed form.
TEST(IirExtremes, StepResponsesOfTheLowestCornersAreExact) {
    constexpr double kCorner = 1e-6, kQuality = 2.0;
    CMatIir2th low, high;
    ASSERT_EQ(low.CalcCoefLPF(kCorner, kQuality) + high.CalcCoefHPF(kCorner, kQuality), 2);
    const long double p = std::tan(std::numbers::pi_v<long double> * static_cast<long double>(kCorner));
    const Line s = p * Line(-0.25L, std::sqrt(15.0L / 16)), t = std::conj(s);
    const Line logPole = std::log((1.0L + s) / (1.0L - s));
    const Line lowPart = p * p / (1.0L - s) / (s * (s - t));
    const Line highPart = s / (1.0L - s) / (s - t);
    double worst = 0.0;
    for (int n = 0; n < 1000000; ++n) {
        const double lowStep = low.Filtering(1.0), highStep = high.Filtering(1.0);
        if (n % 100 != 0) continue;
        const Line wave = std::exp(logPole * static_cast<long double>(n));
        const auto exactLow = static_cast<double>(1 + 2 * (lowPart * wave).real());
        const auto exactHigh = static_cast<double>(2 * (highPart * wave).real());
        worst = std::max({worst, std::abs(lowStep - exactLow), std::abs(highStep - exactHigh)});
    }
    EXPECT_LT(worst, 2e-11);
}

// With every other sample negated a low-pass is the high-pass of the mirrored corner.
TEST(IirExtremes, HighCornersMirrorLowOnesToTheLastBit) {
    for (const double fc : {0x1p-20, 0x1p-5, 0.1875}) {
        for (const int order : {1, 2, 5, 32}) {
            Wave x = Noise(5000), mirrored = x;
            for (std::size_t i = 1; i < x.size(); i += 2) mirrored[i] = -x[i];
            const Wave high = Filtered(Butterworth(kHigh, fc, order), x);
            Wave low = Filtered(Butterworth(kLow, 0.5 - fc, order), mirrored);
            for (std::size_t i = 1; i < low.size(); i += 2) low[i] = -low[i];
            EXPECT_EQ(low, high) << fc << " order " << order;
            EXPECT_THAT(high, testing::Each(testing::DoubleNear(0.0, 3.0)));
        }
    }
}

TEST(IirLevels, ASettledLowPassKeepsItsLevel) {
    for (const double fc : {1e-6, 0.003, 0.1, 0.25, 0.4, 0.499999}) {
        for (const int order : {1, 2, 7, 32}) {
            CMatIirNth filter = Butterworth(kLow, fc, order);
            filter.ClearBuf(0.1);
            const Wave out = Filtered(filter, Wave(20000, 0.1));
            EXPECT_THAT(out, testing::Each(testing::DoubleNear(0.1, fc <= 0.25 ? 0.0 : 1e-11)))
                << fc << " order " << order;
        }
    }
}

TEST(IirLevels, QuarterOfTheRateMakesATwoPointAverage) {
    CMatIir1th average;
    ASSERT_EQ(average.CalcCoefLPF(0.25), 1);
    EXPECT_EQ(Filtered(average, {1.0, 0.0, 0.0, 3.0, 5.0}), Wave({0.5, 0.5, 0.0, 1.5, 4.0}));
}

class IirBlocks : public testing::TestWithParam<int> {};

TEST_P(IirBlocks, AnySplitGivesTheSameBits) {
    Wave x = Noise(700);  // with a silence in which every filter comes to rest
    x.insert(x.begin() + 350, 2000, 0.0);
    for (const Kind kind : {kLow, kHigh}) {
        CMatIirNth bySample = Butterworth(kind, 0.3, GetParam());
        Wave expected;
        for (const double sample : x) expected.push_back(bySample.Filtering(sample));
        for (const __int64 size : {1, 2, 3, 5, 20, 300, 2700}) {
            CMatIirNth filter = Butterworth(kind, 0.3, GetParam());
            Wave inPlace = x;
            for (__int64 i = 0; i < Size(x); i += size) {
                double* const block = inPlace.data() + i;
                ASSERT_EQ(filter.Filtering(block, block, std::min(size, Size(x) - i)), 1);
            }
            EXPECT_EQ(inPlace, expected) << "blocks of " << size;
        }
    }
}

// Subnormal numbers would cost a hundred times as much, for as long as the silence lasts.
TEST_P(IirBlocks, SilenceEndsInZerosWithoutSubnormalNumbers) {
    for (const Kind kind : {kLow, kHigh}) {
        for (const double fc : {0.02, 0.25, 0.4}) {
            CMatIirNth filter = Butterworth(kind, fc, GetParam());
            Filtered(filter, Noise(1000));
            const Wave tail =
                Filtered(filter, Wave(30000 + 4000 * static_cast<std::size_t>(GetParam()), 0.0));
            const auto isSubnormal = [](double y) { return std::fpclassify(y) == FP_SUBNORMAL; };
            EXPECT_FALSE(std::ranges::any_of(tail, isSubnormal)) << fc;
            EXPECT_EQ(tail.back(), 0.0) << fc;
            if (GetParam() == 0) continue;  // which passes every bit
            filter.ClearBuf(0.0);
            EXPECT_THAT(Filtered(filter, Wave(100, 1e-160)), testing::Each(0.0)) << fc;
        }
    }
}

TEST_P(IirBlocks, CopiesGoOnFromTheStateOfTheOriginalOnTheirOwn) {
    CMatIirNth original = Butterworth(kLow, 0.05, GetParam());
    Filtered(original, Noise(50));
    CMatIirNth copy(original), assigned = Butterworth(kHigh, 0.2, 9);
    assigned = original;
    assigned = *&assigned;
    const Wave x = Noise(50, 2), expected = Filtered(original, x);
    EXPECT_EQ(Filtered(copy, x), expected);
    EXPECT_EQ(Filtered(assigned, x), expected);
}

INSTANTIATE_TEST_SUITE_P(Orders, IirBlocks, testing::Values(0, 1, 2, 3, 4, 5, 8, 9, 17, 19, 33));

/// What the header of the kernels says of section k of a group.
double StepOf(kvx::IirGroup* g, std::size_t k, double x) {
    const double outer = g->n0[k] * x + g->n2[k] * g->x2[k];
    const double inner = g->n1[k] * g->x1[k] - g->leak[k] * g->r2[k];
    g->v1[k] = g->glide[k] * g->v1[k] + (outer + inner);
    g->r2[k] = std::exchange(g->r1[k], g->side[k] * g->r1[k] + g->v1[k]);
    if (std::fabs(g->r1[k]) < kvx::kIirSilence) {
        g->r1[k] = 0.0;
        if (std::fabs(g->v1[k]) < kvx::kIirSilence) g->v1[k] = 0.0;
    }
    g->x2[k] = std::exchange(g->x1[k], x);
    return g->direct[k] * x + g->r1[k];
}

TEST(IirKernels, GiveTheBitsOfTheirSectionsInEverySet) {
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        for (std::size_t count = 2; count <= kvx::kIirSections; ++count) {
            kvx::IirGroup group{};
            for (std::size_t s = 0; s < kvx::kIirSections; ++s) {
                if (s >= count) {
                    group.side[s] = group.r1[s] = group.r2[s] = 1.0;
                    continue;
                }
                group.side[s] = s % 2 == 0 ? 1.0 : -1.0;
                group.direct[s] = 0.5;
                group.n0[s] = 0.2;
                group.n1[s] = 0.1;
                group.n2[s] = 0.05;
                group.leak[s] = 0.1 + 0.05 * static_cast<double>(s);
                group.glide[s] = group.side[s] * (0.6 - group.leak[s]);
            }
            kvx::IirGroup expectedGroup = group;
            const Wave noise = Noise(10000);
            std::size_t from = 0;
            const std::size_t least = count * kvx::kIirRound;
            for (const std::size_t length : {least, least + 1, least + 2, least + 3, least + 4, least + 21,
                                             std::size_t{200}, std::size_t{9000}, least + 28, least + 18}) {
                SCOPED_TRACE(testing::Message() << kvx::NameOf(set) << " " << count << " " << length);
                Wave x(noise.begin() + static_cast<std::ptrdiff_t>(from), noise.end());
                x.resize(length);
                from += length;
                // A silence long enough to come to rest in, with magnitudes that count as 0.
                const bool isSilence = length == 9000, isLast = length == least + 18;
                if (isSilence) std::ranges::fill(x, 1e-160);
                if (isLast) x[17] = kInfinity;
                Wave expected;
                for (double y : x) {
                    if (std::fabs(y) < kvx::kIirSilence) y = 0.0;
                    for (std::size_t s = 0; s < count; ++s) y = StepOf(&expectedGroup, s, y);
                    expected.push_back(y);
                }
                kvx::KernelsOf<kvx::IirKernels>(set).runSections(&group, static_cast<std::int64_t>(count),
                                                                 true, x.data(), x.data(), Size(x));
                ASSERT_TRUE(std::ranges::equal(x, expected, [](double a, double b) {
                    return a == b || (std::isnan(a) && std::isnan(b));
                }));
                ASSERT_EQ(x.back() == 0.0, isSilence);
                ASSERT_EQ(std::isnan(x.back()), isLast);
            }
        }
    }
}

template <class Filter>
class IirArrays : public testing::Test {};
using Filters = testing::Types<CMatIir1th, CMatIir2th, CMatIirNth>;
TYPED_TEST_SUITE(IirArrays, Filters);

TYPED_TEST(IirArrays, TheResultTakesTheCountOfTheSamples) {
    TypeParam filter;  // not designed; a level tells its output from the input
    filter.ClearBuf(2.0);
    const Wave x = Noise(30), expected = Filtered(TypeParam(filter), x);
    const CDataArrayDouble in = ToArray(x), empty;
    CDataArrayDouble out(7, 1.0), same = in;
    EXPECT_EQ(TypeParam(filter).Filtering(&out, in), 1);
    EXPECT_EQ(TypeParam(filter).Filtering(&same, same), 1);
    double sample = 0.0;
    EXPECT_TRUE(AllFail(filter.Filtering(nullptr, in), filter.Filtering(&out, empty),
                        filter.Filtering(nullptr, &sample, 1), filter.Filtering(&sample, nullptr, 1),
                        filter.Filtering(&sample, &sample, 0), filter.Filtering(&sample, &sample, kLowest)));
    EXPECT_EQ(ToWave(out), expected);
    EXPECT_EQ(ToWave(same), expected);
}

TEST(IirDesign, BadArgumentsChangeNothing) {
    CMatIir1th first;
    CMatIir2th second;  // order 3 has one of quality 1
    CMatIirNth cascade = Butterworth(kLow, 0.1, 3);
    ASSERT_EQ(first.CalcCoefLPF(0.1) + second.CalcCoefLPF(0.1, 1.0), 2);
    const Wave x = Noise(20);
    const Wave expected = Filtered(CMatIir2th(second), Filtered(CMatIir1th(first), x));
    for (const Kind kind : {kLow, kHigh}) {
        for (const double bad : {0.0, -0.1, 0.5, 7.0, kInfinity, -kInfinity, kNaN})
            EXPECT_TRUE(AllFail(Design(&first, kind, bad), Design(&second, kind, bad, 1.0),
                                Design(&cascade, kind, bad, 4)));
        for (const double bad : {0.0, -1.0, kInfinity, kNaN}) EXPECT_EQ(Design(&second, kind, 0.1, bad), 0);
        for (const int bad : {-1, CMatIirNth::kMaxOrder + 1, std::numeric_limits<int>::min(),
                              std::numeric_limits<int>::max()})
            EXPECT_EQ(Design(&cascade, kind, 0.1, bad), 0);
    }
    EXPECT_THAT(Filtered(cascade, x), Near(expected, 1e-15));
    EXPECT_EQ(Filtered(second, Filtered(first, x)), expected);
}

TEST(IirDesign, ExtremeArgumentsGiveFiniteNumbers) {
    constexpr double kTiniest = std::numeric_limits<double>::denorm_min(),
                     kMost = std::numeric_limits<double>::max();
    for (const double fc : {kTiniest, 1e-200, 0.1, std::nextafter(0.5, 0.0)}) {
        for (const double q : {kTiniest, 1e-150, 1e150, kMost}) {
            CMatIir2th low, high;
            ASSERT_EQ(low.CalcCoefLPF(fc, q) + high.CalcCoefHPF(fc, q), 2);
            for (const double x : Noise(1000))
                ASSERT_LT(std::abs(low.Filtering(x)) + std::abs(high.Filtering(x)), 1e3) << fc << " " << q;
        }
    }
}

TEST(IirDesign, WithoutMemoryADesignKeepsTheFilterAndACopyPassesThrough) {
    const Wave x = Noise(20), expected = Filtered(Butterworth(kLow, 0.1, 3), x);
    CMatIirNth filter = Butterworth(kLow, 0.1, 3);
    EXPECT_EQ(Starve([&] { return filter.CalcCoefBwHPF(0.2, 8); },
                     [&] { EXPECT_EQ(Filtered(CMatIirNth(filter), x), expected); }),
              1);
    const auto copyWithoutMemory = [&] {
        const FailingMemory failing(0);
        return CMatIirNth(filter);
    };
    EXPECT_EQ(Filtered(copyWithoutMemory(), x), x);
}

}  // namespace
