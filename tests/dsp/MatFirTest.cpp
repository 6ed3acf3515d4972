// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr auto kKeep = CMatFir::RATE_NONE;
constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;

Wave Drain(CMatFir* fir) {
    Wave out(static_cast<std::size_t>(fir->GetNumOutputData()));
    fir->GetOutputData(out.data(), Size(out));
    return out;
}

CMatFir Filter(const Wave& coef, CMatFir::RATE_CONV mode = kKeep, __int64 ratio = 1, __int64 size = 1024) {
    CMatFir fir;
    fir.SetCoef(coef.data(), Size(coef), 0.0);
    fir.SetRateConv(mode, ratio);
    fir.SetOutBufSize(size);
    return fir;
}

/// sum + c x, as the loops of a set round it: once, where the set has an instruction for that.
double Plus(double sum, double c, double x, kvx::KernelSet set) {
    return set == kvx::KernelSet::baseline ? sum + c * x : std::fma(c, x, sum);
}

/// The filter by its definition: the input with zeros between its samples, the sum over the taps, of which
/// decimation keeps every ratio-th.
Wave Definition(const Wave& coef, CMatFir::RATE_CONV mode, std::size_t ratio, const Wave& x,
                kvx::KernelSet set = kvx::ActiveKernelSet()) {
    const std::size_t up = mode == kUp ? ratio : 1, keep = mode == kDown ? ratio : 1;
    Wave y;
    for (std::size_t t = keep - 1; t < x.size() * up; t += keep) {
        double sum = 0.0, size = 0.0;
        long double exact = 0.0L;
        for (std::size_t tap = 0; tap < coef.size(); ++tap) {
            const std::size_t back = coef.size() - 1 - tap;
            if (back > t || (t - back) % up != 0) continue;
            const double c = coef[tap] * static_cast<double>(up), sample = x[(t - back) / up];
            sum = Plus(sum, c, sample, set);
            exact += static_cast<long double>(c) * static_cast<long double>(sample);
            size += std::fabs(c * sample);
        }
        // The bound that numerics.md gives.
        EXPECT_LE(std::fabs(sum - static_cast<double>(exact)),
                  static_cast<double>(coef.size() + 1) * 0x1p-53 * size);
        y.push_back(sum);
    }
    return y;
}

using Shape = std::tuple<CMatFir::RATE_CONV, int, int>;  // mode, ratio, taps

class FirFilter : public testing::TestWithParam<Shape> {};

TEST_P(FirFilter, GivesTheBitsOfItsDefinitionHoweverTheInputIsCut) {
    const auto [mode, ratio, taps] = GetParam();
    const Wave coef = Noise(static_cast<std::size_t>(taps), 7);
    const Wave x = Noise(mode == kUp && ratio > 500 ? 90 : taps > 100 ? 800 : 5000);
    const Wave expected = Definition(coef, mode, static_cast<std::size_t>(ratio), x);
    for (const __int64 split : {0, 1, 5, 20, 300, 1001, 5000}) {
        SCOPED_TRACE(split);
        CMatFir fir = Filter(coef, mode, ratio, Size(expected) + 1);
        for (__int64 done = 0; done < Size(x);) {
            const __int64 mixed = done / 64 % 2 == 0 ? 3 : 41;
            const __int64 run = std::min(split == 0 ? mixed : split, Size(x) - done);
            ASSERT_EQ(fir.SetInputData(x.data() + done, run), 1);
            done += run;
        }
        ASSERT_EQ(Drain(&fir), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, FirFilter,
                         testing::Values(Shape{kKeep, 1, 1}, Shape{kKeep, 1, 37}, Shape{kKeep, 1, 600},
                                         Shape{kDown, 2, 1}, Shape{kDown, 2, 37}, Shape{kDown, 5, 93},
                                         Shape{kDown, 7, 3}, Shape{kDown, 600, 37}, Shape{kDown, 3, 700},
                                         Shape{kDown, 4, 27}, Shape{kUp, 2, 1}, Shape{kUp, 2, 37},
                                         Shape{kUp, 3, 20}, Shape{kUp, 4, 75}, Shape{kUp, 5, 93},
                                         Shape{kUp, 7, 3}, Shape{kUp, 600, 37}, Shape{kUp, 513, 700},
                                         Shape{kUp, 3, 2000}));

// ---- Kernels

// The blocks have no more room than they are promised, at any alignment.
TEST(FirKernels, GiveTheBitsOfTheDefinitionInEverySet) {
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const kvx::FirKernels& kernels = kvx::KernelsOf<kvx::FirKernels>(set);
        for (const std::size_t taps : {1U, 8U, 9U, 37U, 63U, 100U, 210U}) {
            for (const std::size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 31U, 66U, 127U, 131U, 261U}) {
                SCOPED_TRACE(testing::Message() << kvx::NameOf(set) << " " << taps << " " << count);
                const std::size_t shift = (taps + count) % 5;
                const Wave coef = Noise(taps, 3), x = Noise(count + taps - 1);
                const auto length = static_cast<std::int64_t>(count);
                Wave aligned(shift + x.size());
                std::ranges::copy(x, aligned.begin() + static_cast<std::ptrdiff_t>(shift));
                const double* const from = aligned.data() + shift;
                const Wave all = Definition(coef, kKeep, 1, x, set);
                Wave y(count), expected(all.begin() + (static_cast<std::ptrdiff_t>(taps) - 1), all.end());
                kernels.convolve(coef.data(), Size(coef), from, y.data(), length);
                ASSERT_EQ(y, expected);
                for (const std::size_t ratio : {1U, 2U, 3U, 4U, 5U, 6U}) {
                    const auto before = static_cast<std::ptrdiff_t>((taps - 1) / ratio);
                    const Wave in(x.begin(), x.begin() + before + length);
                    const Wave late = Definition(coef, kUp, ratio, in, set);
                    Wave up(count * ratio), scaled = coef;
                    for (double& c : scaled) c *= static_cast<double>(ratio);
                    kernels.interpolate(scaled.data(), Size(coef), static_cast<std::int64_t>(ratio),
                                        in.data() + before, up.data(), length);
                    ASSERT_TRUE(std::equal(up.rbegin(), up.rend(), late.rbegin())) << ratio;
                }
            }
        }
    }
}

TEST(FirKernels, DealSamplesOutAndAddWhereTheyAreTold) {
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const kvx::FirKernels& kernels = kvx::KernelsOf<kvx::FirKernels>(set);
        for (const std::int64_t ratio : {1, 2, 3, 4, 5, 6, 40}) {
            for (const std::int64_t count : {0, 1, 15, 16, 39, 40, 41, 133}) {
                const Wave x = Noise(static_cast<std::size_t>(count));
                const std::int64_t rowCount = std::min<std::int64_t>(ratio, 9), rowLength = count + 1;
                Wave rows(static_cast<std::size_t>(rowCount * rowLength + kvx::kFirOverrun));
                kernels.deal(x.data(), count, ratio, rows.data(), rowCount, rowLength);
                for (std::int64_t k = 0; k < count; ++k) {
                    const std::int64_t row = k % ratio, place = row * rowLength + k / ratio;
                    if (row >= rowCount) continue;
                    ASSERT_EQ(rows[static_cast<std::size_t>(place)], x[static_cast<std::size_t>(k)]);
                }
            }
        }
        constexpr std::size_t kTaps = 41, kRatio = 2;
        std::vector<std::int64_t> offsets;
        for (std::size_t tap = 0; tap < kTaps; ++tap)
            offsets.push_back(static_cast<std::int64_t>(tap % kRatio * 170 + tap / kRatio));
        const Wave coef = Noise(kTaps, 3), x = Noise(400);
        for (std::size_t count = 0; count < 140; ++count) {
            Wave y(count), sums = Noise(count + 1 + kvx::kFirOverrun, 5);
            const Wave before = sums;
            kernels.weightedSums(coef.data(), offsets.data(), kTaps, kRatio, x.data() + count % 3, y.data(),
                                 Size(y));
            const double completed = kernels.addTerms(x.data(), 3.0, sums.data(), Size(y) + 1);
            ASSERT_EQ(completed, Plus(before[0], x[0], 3.0, set));
            for (std::size_t k = 0; k < count; ++k) {
                double expected = 0.0;
                for (std::size_t tap = 0; tap < kTaps; ++tap)
                    expected = Plus(expected, coef[tap],
                                    x[k + count % 3 + static_cast<std::size_t>(offsets[tap])], set);
                ASSERT_EQ(y[k], expected) << kvx::NameOf(set) << " " << count;
                ASSERT_EQ(sums[k], Plus(before[k + 1], x[k + 1], 3.0, set));
            }
        }
    }
}

// ---- Small streams by hand

TEST(Fir, OneCoefficientOfOnePassesEveryBitThrough) {
    CMatFir fir = Filter({1.0});
    const Wave x = {1.5, -0.0, kInfinity, kNone, 5e-324};
    EXPECT_EQ(fir.SetInputData(ToArray(x)), 1);
    const Wave y = Drain(&fir);
    EXPECT_EQ(y, x);
    EXPECT_TRUE(std::signbit(y[1]));
    EXPECT_EQ(fir.GetOutputData(), 0.0);
}

TEST(Fir, SmallStreamsComeOutAsComputedByHand) {
    CMatFir fir = Filter({1, 2, 3});  // the first coefficient meets the oldest sample
    fir.SetInputData(ToArray({1, 0, 0}));
    EXPECT_THAT(Drain(&fir), ElementsAre(3, 2, 1));
    fir = Filter({1}, kDown, 4);
    fir.SetInputData(ToArray({1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_THAT(Drain(&fir), ElementsAre(4, 8));
    fir = Filter({0.5, 1, 0.5}, kUp, 2);  // a straight line between two samples, at half gain
    fir.SetInputData(ToArray({1, 3}));
    EXPECT_THAT(Drain(&fir), ElementsAre(1, 2, 4, 6));
}

TEST(Fir, TakesAtMostWhatWaits) {
    CMatFir fir = Filter({1.0});
    fir.SetInputData(ToArray({1, 2, 3, 4}));
    Wave out(10, -1.0);
    EXPECT_TRUE(AllFail(fir.GetOutputData(nullptr, 2), fir.GetOutputData(out.data(), 0),
                        fir.GetOutputData(out.data(), kLowest), fir.GetOutputDataLong(nullptr, 2)));
    EXPECT_EQ(fir.GetOutputData(out.data(), 1), 1);
    EXPECT_EQ(fir.GetOutputData(out.data() + 1, 10), 3);
    EXPECT_THAT(out, ElementsAre(1, 2, 3, 4, -1, -1, -1, -1, -1, -1));
}

TEST(Fir, IntegersGoInExactlyAndComeOutRounded) {
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    CMatFir fir = Filter({0.5});
    const CDataArrayLong whole(3, std::array<std::int32_t, 3>{kMax, 3, -3}.data());
    EXPECT_EQ(fir.SetInputDataLong(whole), 1);
    EXPECT_EQ(fir.SetInputDataLong(4), 1);
    EXPECT_THAT(Drain(&fir), ElementsAre(kMax / 2.0, 1.5, -1.5, 2.0));
    fir.SetInputData(ToArray({-1.0, 1e300, -kInfinity, kNaN, 2.4}));
    EXPECT_EQ(fir.GetOutputDataLong(), -1);
    std::array<std::int32_t, 9> out{};
    EXPECT_EQ(fir.GetOutputDataLong(out.data(), 9), 4);
    EXPECT_THAT(out, ElementsAre(kMax, -kMax - 1, 0, 1, 0, 0, 0, 0, 0));
    EXPECT_TRUE(AllFail(fir.SetInputDataLong(nullptr, 1), fir.SetInputDataLong(out.data(), -1)));
}

// ---- Full buffers

TEST(Fir, AFullBufferKeepsTheNewestAndSaysSo) {
    CMatFir fir = Filter({1.0}, kKeep, 1, 4);
    EXPECT_EQ(fir.SetInputData(ToArray({1, 2, 3, 4})), 1);
    EXPECT_EQ(fir.SetInputData(5.0), 0);
    EXPECT_EQ(fir.SetInputData(6.0), 0);
    EXPECT_EQ(fir.GetNumOutputData(), 4);
    EXPECT_EQ(fir.GetOutputData(), 3.0);
    EXPECT_EQ(fir.SetInputData(7.0), 1);
    EXPECT_EQ(fir.SetInputData(ToArray({8, 9})), 0);
    EXPECT_THAT(Drain(&fir), ElementsAre(6, 7, 8, 9));
    EXPECT_EQ(fir.SetInputData(ToArray(WaveOf(2000, [](double i) { return i; }))), 0);
    EXPECT_THAT(Drain(&fir), ElementsAre(1996, 1997, 1998, 1999));
}

TEST(Fir, ResultsAreTheSameWhereverTheyWait) {
    const Wave coef = Noise(40), x = Noise(3000);
    for (const auto& [mode, ratio] : {std::pair(kKeep, 1), {kDown, 3}, {kUp, 2}, {kUp, 60}}) {
        CMatFir fir = Filter(coef, mode, ratio, 151 * (mode == kUp ? ratio : 1));
        Wave y;
        for (std::size_t done = 0; done < x.size(); done += 100) {
            ASSERT_EQ(fir.SetInputData(x.data() + done, 100), 1);
            Wave some(static_cast<std::size_t>(fir.GetNumOutputData() * 2 / 3));
            fir.GetOutputData(some.data(), Size(some));
            y.insert(y.end(), some.begin(), some.end());
        }
        const Wave rest = Drain(&fir);
        y.insert(y.end(), rest.begin(), rest.end());
        EXPECT_EQ(y, Definition(coef, mode, static_cast<std::size_t>(ratio), x));
    }
}

TEST(Fir, AnEnormousRatioEndsLikeAnyOther) {
    CMatFir fir = Filter({1.0, 2.0}, kUp, kFarthest, 3);
    EXPECT_EQ(fir.SetInputData(1.0), 0);
    EXPECT_THAT(Drain(&fir), ElementsAre(0, 0, 0));
    CMatFir hold;
    hold.SetStdCoef(CMatFir::FIR_COEF_2, 1);
    hold.SetRateConv(kUp, kFarthest);
    EXPECT_EQ(hold.SetInputData(1.0), 0);
    EXPECT_EQ(hold.GetOutputData(), 1.0);
    CMatFir rare = Filter({1.0}, kDown, kFarthest);
    EXPECT_EQ(rare.SetInputData(ToArray(Noise(3000))), 1);
    EXPECT_EQ(rare.GetNumOutputData(), 0);
}

// ---- Settings

TEST(Fir, SettingsStandWhenTheNextInputComes) {
    CMatFir fir = Filter({1.0}, kKeep, 1, 2);
    fir.SetInputData(ToArray({1, 2}));
    fir.SetOutBufSize(3);  // waits for the next preparation
    EXPECT_EQ(fir.SetInputData(3.0), 0);
    fir.SetRateConv(kUp, 3);  // causes it; until then what waits can be taken
    EXPECT_EQ(fir.GetOutputData(), 2.0);
    EXPECT_EQ(fir.SetInputData(1.0), 1);
    EXPECT_THAT(Drain(&fir), ElementsAre(3, 0, 0));
    fir.SetRateConv(kKeep, 1);
    fir.SetCoef(ToArray({1, 0}), 0.0);
    fir.SetInputData(7.0);
    EXPECT_EQ(fir.ClearResult(), 1);  // forgets the result, not the sample
    fir.SetInputData(8.0);
    EXPECT_THAT(Drain(&fir), ElementsAre(7));
    EXPECT_EQ(fir.PrepFir(), 1);
    fir.SetInputData(9.0);
    fir.SetStdCoef(CMatFir::FIR_COEF_2, 1);
    EXPECT_EQ(fir.GetNumOutputData(), 1);
    EXPECT_EQ(fir.ClearResult(), 1);  // prepares
    EXPECT_EQ(fir.GetNumOutputData(), 0);
}

TEST(Fir, ReportsWhatWasSet) {
    CMatFir fir;
    CMatFir::RATE_CONV mode = kUp;
    EXPECT_EQ(fir.GetRateConv(&mode), 1);
    EXPECT_EQ(mode, kKeep);
    EXPECT_EQ(fir.GetOutBufSize(), 1024);
    for (const auto& [asked, ratio] :
         {std::pair(kDown, 1), {kUp, -7}, {kKeep, 5}, {CMatFir::RATE_CONV{9}, 5}}) {
        fir.SetRateConv(asked, ratio);
        EXPECT_EQ(fir.GetRateConv(&mode), 1);
        EXPECT_EQ(mode, kKeep);
    }
    fir.SetRateConv(kDown, 5);
    EXPECT_EQ(fir.GetRateConv(nullptr), 5);
    for (const double delay : {0.0, -1.0, kNaN, kInfinity}) {
        EXPECT_EQ(fir.SetCoef(ToArray({1, 2, 3, 4}), delay), 1);
        EXPECT_EQ(fir.GetDelay(), 1.5);
    }
    EXPECT_EQ(fir.SetCoef(ToArray({1, 2}), 7.25), 1);
    CDataArrayDouble coef;
    EXPECT_EQ(fir.GetCoef(nullptr), 7.25);
    EXPECT_EQ(fir.GetCoef(&coef), 7.25);
    EXPECT_THAT(ToWave(coef), ElementsAre(1, 2));
}

TEST(Fir, RefusesWhatIsNoFilterAndNoInput) {
    CMatFir fir;
    const Wave x = {1.0};
    EXPECT_TRUE(AllFail(fir.PrepFir(), fir.ClearResult(), fir.SetInputData(1.0), fir.SetInputDataLong(1),
                        fir.SetCoef(nullptr, 1, 0.0), fir.SetCoef(x.data(), 0, 0.0),
                        fir.SetCoef(CDataArrayDouble(), 0.0), fir.SetStdCoef(CMatFir::FIR_COEF{6}, 0),
                        fir.SetOutBufSize(0), fir.SetOutBufSize(kLowest), fir.GetNumOutputData()));
    fir = Filter({1.0});
    EXPECT_TRUE(
        AllFail(fir.SetInputData(nullptr, 1), fir.SetInputData(x.data(), -1), fir.GetNumOutputData()));
    EXPECT_EQ(fir.SetInputData(CDataArrayDouble()), 1);
    for (const __int64 size : {kFarthest, kFarthest / 8}) {
        EXPECT_EQ(fir.SetOutBufSize(size), 1);
        EXPECT_EQ(fir.PrepFir(), 0);
        EXPECT_TRUE(AllFail(fir.SetInputData(1.0), fir.ClearResult(), fir.GetNumOutputData()));
    }
}

TEST(Fir, CopiesCarryTheStateAndGoTheirOwnWay) {
    const Wave coef = Noise(40), x = Noise(500, 9);
    CMatFir fir = Filter(coef, kDown, 3);
    fir.SetInputData(x.data(), 250);
    CMatFir copy = fir, assigned;
    assigned = copy;
    fir.SetInputData(x.data(), 100);
    for (CMatFir* const other : {&copy, &assigned}) {
        other->SetInputData(x.data() + 250, 250);
        EXPECT_EQ(Drain(other), Definition(coef, kDown, 3, x));
    }
}

// ---- Built-in sets

struct StdSet {
    int taps;
    double centre;
    int rateChange;
    double passEdge, ripple, stopEdge, stopDb;  // edges in units of the lower rate
    std::vector<double> first;
};

// The masks of the design rule: both bands meet their figure to the last digit given.
const std::array<StdSet, 6> kSets = {{
    // clang-format off
    {37, 0.490608, 2, 0.390625, 7.14e-4, 0.609375, -80.0, {0.000519756, 0.000762731, -0.00103069, -0.00213407, 0.00188314}},
    {13, 0.459555, 2, 0.195312, 6.16e-4, 0.804688, -91.4, {}},
    {75, 0.244723, 4, 0.390625, 7.77e-4, 0.609375, -81.4, {0.000122401, 0.000305132, 0.0004108, 0.000363697, -9.76121e-06}},
    {27, 0.235571, 4, 0.195312, 5.29e-4, 0.804688, -81.2, {}},
    {93, 0.195912, 5, 0.390625, 7.87e-4, 0.609375, -80.7, {}},
    {33, 0.189312, 5, 0.195312, 5.07e-4, 0.804688, -80.2, {}},
    // clang-format on
}};

class FirStdSet : public testing::TestWithParam<std::uint32_t> {
protected:
    const StdSet& set() const { return kSets[GetParam()]; }
    CMatFir::FIR_COEF code() const { return static_cast<CMatFir::FIR_COEF>(GetParam()); }
};

TEST_P(FirStdSet, KeepsItsMask) {
    CMatFir fir;
    ASSERT_EQ(fir.SetStdCoef(code(), 0), 1);
    CDataArrayDouble coef;
    EXPECT_EQ(fir.GetCoef(&coef), (set().taps - 1) / 2);
    const Wave h = ToWave(coef);
    ASSERT_EQ(Size(h), set().taps);
    EXPECT_EQ(h[h.size() / 2], set().centre);
    EXPECT_TRUE(std::equal(h.begin(), h.end(), h.rbegin()));
    EXPECT_TRUE(std::equal(set().first.begin(), set().first.end(), h.begin()));

    EXPECT_NEAR(std::accumulate(h.begin(), h.end(), 0.0), 1.0, 1e-3);

    double ripple = 0.0, stop = 0.0;
    for (int i = 0; i <= 20000; ++i) {
        const double f = i / 40000.0;  // of the higher rate
        double response = h[h.size() / 2];
        for (std::size_t tap = 0; tap < h.size() / 2; ++tap) {
            response +=
                2 * h[tap] * std::cos(2 * std::numbers::pi * f * static_cast<double>(h.size() / 2 - tap));
        }
        const double ofLowerRate = f * set().rateChange;
        if (ofLowerRate <= set().passEdge) ripple = std::max(ripple, std::fabs(response - 1.0));
        if (ofLowerRate >= set().stopEdge) stop = std::max(stop, std::fabs(response));
    }
    // Six digits of coefficients and three of the figures.
    EXPECT_NEAR(ripple, set().ripple, 2e-5);
    EXPECT_NEAR(20 * std::log10(stop), set().stopDb, 0.1);
}

TEST_P(FirStdSet, AloneDelaysByAsManySamplesWithoutFiltering) {
    CMatFir fir;
    ASSERT_EQ(fir.SetStdCoef(code(), 1), 1);
    const auto delay = static_cast<std::ptrdiff_t>(fir.GetDelay());
    EXPECT_EQ(delay, (set().taps - 1) / 2);
    Wave x = Noise(100);
    fir.SetInputData(ToArray(x));
    x.insert(x.begin(), static_cast<std::size_t>(delay), 0.0);
    x.resize(100);
    EXPECT_EQ(Drain(&fir), x);
}

INSTANTIATE_TEST_SUITE_P(All, FirStdSet, testing::Range(0U, 6U));

}  // namespace
