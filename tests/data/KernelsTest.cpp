// SPDX-License-Identifier: MIT
//
// The kernels of every instruction set that the machine can run, against loops as they are written down: the
// same bits for every length and wherever the blocks begin.
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/detail/LaneSum.h>
#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/data/kernels/ElementRuns.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace {

using Numbers = std::vector<double>;
constexpr double kNone = kvx::kNoValue<double>;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTiniest = std::numeric_limits<double>::denorm_min();
constexpr double kLargest = std::numeric_limits<double>::max();

/// Normal noise, of which one value in `every` is special; no special ones for 0.
Numbers Values(std::size_t count, unsigned seed, unsigned every = 0) {
    constexpr std::array kSpecial = {0.0, -0.0, kNone, kNan, kInf, -kInf, kTiniest, kLargest};
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    Numbers values(count);
    for (double& x : values)
        x = every != 0 && random() % every == 0 ? kSpecial[random() % 8] : normal(random);
    return values;
}

/// The same bits, of NaNs any.
bool IsSame(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

/// Runs `test(shift, count)` over lengths around the widths of registers and groups, and over all positions
/// in a cache line.
void ForEachRun(const std::function<void(std::size_t, std::size_t)>& test) {
    for (std::size_t count = 0; count <= 70; ++count) test(count % 8, count);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        for (const std::size_t count : {7U, 8U, 9U, 31U, 32U, 33U, 66U, 258U, 511U, 512U, 1031U})
            test(shift, count);
    }
}

std::int64_t Signed(std::size_t count) {
    return static_cast<std::int64_t>(count);
}

// ---- Sums and searches

/// The sum as numerics.md has it: term i in lane i mod 32, the lanes added up by halves.
double SumByLanes(const double* values, std::size_t count, bool squares) {
    std::array<double, 32> lanes{};
    for (std::size_t i = 0; i < count; ++i) lanes[i % 32] += squares ? values[i] * values[i] : values[i];
    for (std::size_t half = 16; half > 0; half /= 2) {
        for (std::size_t lane = 0; lane < half; ++lane) lanes[lane] += lanes[lane + half];
    }
    return lanes[0];
}

TEST(ReductionKernels, SumInOneOrderWhateverTheSetAndTheAlignment) {
    const Numbers values = Values(1100, 1), wild = Values(1100, 2, 400);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::ReductionKernels>(set);
        ForEachRun([&](std::size_t shift, std::size_t count) {
            for (const Numbers& all : {std::cref(values), std::cref(wild)}) {
                const double* const x = all.data() + shift;
                SCOPED_TRACE(testing::Message() << kvx::NameOf(set) << " " << count << " from " << shift);
                ASSERT_PRED2(IsSame, kernels.sum(x, Signed(count)), SumByLanes(x, count, false));
                ASSERT_PRED2(IsSame, kernels.sumOfSquares(x, Signed(count)), SumByLanes(x, count, true));
            }
        });
        Numbers lanes(32, 1.5);
        kernels.addToLanes(lanes.data(), values.data() + 1, 2);
        EXPECT_EQ(lanes[31], 1.5 + values[32] + values[64]);
        Numbers rows(4 * 32, 0.5);
        kernels.addPowersToLanes(rows.data(), values.data() + 1, 2, 0.25);
        for (std::size_t lane = 0; lane < 32; ++lane) {
            const double a = values[1 + lane] - 0.25, b = values[33 + lane] - 0.25;
            EXPECT_EQ(rows[lane], 0.5 + a + b);
            EXPECT_EQ(rows[32 + lane], 0.5 + a * a + b * b);
            EXPECT_EQ(rows[64 + lane], 0.5 + a * a * a + b * b * b);
            EXPECT_EQ(rows[96 + lane], 0.5 + (a * a) * (a * a) + (b * b) * (b * b));
        }
    }
}

TEST(ReductionKernels, ContinueOneSumOverAnyCut) {
    const Numbers values = Values(900, 3);
    for (const std::size_t piece : {1U, 5U, 31U, 32U, 33U, 64U, 100U, 500U}) {
        kvx::LaneSum sum, squares;
        for (std::size_t i = 0; i < values.size(); i += piece) {
            const std::int64_t count = Signed(std::min(piece, values.size() - i));
            sum.Add(values.data() + i, count);
            squares.AddSquares(values.data() + i, count);
        }
        EXPECT_EQ(sum.Total(), SumByLanes(values.data(), values.size(), false)) << piece;
        EXPECT_EQ(squares.Total(), SumByLanes(values.data(), values.size(), true)) << piece;
    }
}

TEST(ReductionKernels, FindTheExtremesOfTheNumbersThatAreNoMarkers) {
    const Numbers calm = Values(1100, 4), wild = Values(1100, 5, 3), none(1100, kNone), nans(1100, kNan);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::ReductionKernels>(set);
        ForEachRun([&](std::size_t shift, std::size_t count) {
            for (const Numbers& all : {std::cref(calm), std::cref(wild), std::cref(none), std::cref(nans)}) {
                SCOPED_TRACE(testing::Message() << kvx::NameOf(set) << " " << count << " from " << shift);
                const double* const x = all.data() + shift;
                double low = kInf, high = -kInf, positive = kInf, magnitude = 0.0;
                std::size_t firstTwo = count;
                for (std::size_t i = count; i-- > 0;) {
                    if (std::isnan(x[i])) continue;
                    magnitude = std::max(magnitude, std::abs(x[i]));
                    if (x[i] == all[shift + count / 2]) firstTwo = i;
                    if (x[i] > 0.0) positive = std::min(positive, x[i]);
                    if (x[i] == kNone) continue;
                    low = std::min(low, x[i]);
                    high = std::max(high, x[i]);
                }
                const auto [foundLow, foundHigh] = kernels.extremes(x, Signed(count));
                ASSERT_EQ(foundLow, low);
                ASSERT_EQ(foundHigh, high);
                ASSERT_EQ(kernels.smallestPositive(x, Signed(count)), positive);
                ASSERT_EQ(kernels.largestMagnitude(x, Signed(count)), magnitude);
                ASSERT_EQ(kernels.find(x, Signed(count), all[shift + count / 2]), Signed(firstTwo));
                const auto isWithin = [](double one) { return one > kNone && one <= kLargest; };
                ASSERT_EQ(kernels.areWithin(x, Signed(count), kNone, kLargest),
                          std::all_of(x, x + count, isWithin));
            }
            for (const double other : {kNone, kNan, kInf, -kInf}) {
                Numbers all = calm;
                all[shift + (count * 5 + shift * 3) % (count + 1)] = other;  // perhaps just behind them
                const bool isBehind = (count * 5 + shift * 3) % (count + 1) == count;
                ASSERT_EQ(kernels.areWithin(all.data() + shift, Signed(count), kNone, kLargest), isBehind)
                    << kvx::NameOf(set) << " " << count << " from " << shift;
            }
            std::vector<std::int32_t> longs(shift + count);
            for (std::size_t i = 0; i < longs.size(); ++i)
                longs[i] =
                    i % 3 == 1 ? kvx::kNoValue<std::int32_t> : static_cast<std::int32_t>(calm[i] * 2e8);
            auto numbers = std::vector(longs.begin() + Signed(shift), longs.end());
            std::erase(numbers, kvx::kNoValue<std::int32_t>);
            const auto [low, high] = kernels.longExtremes(longs.data() + shift, Signed(count));
            if (numbers.empty()) {
                ASSERT_GT(low, high);
            } else {
                ASSERT_EQ(low, *std::ranges::min_element(numbers));
                ASSERT_EQ(high, *std::ranges::max_element(numbers));
            }
        });
    }
}

// ---- Element by element

using Loop =
    std::function<void(const kvx::ElementKernels&, double*, const double*, const double*, std::int64_t)>;
using Element = double (*)(double, double);

// clang-format off
const struct LoopCase {
    const char* name;
    Loop loop;
    Element element;
} kLoops[] = {
    {"add",       [](auto& k, auto to, auto a, auto b, auto n) { k.add(to, a, b, n); },      [](double x, double y) { return x + y; }},
    {"multiply",  [](auto& k, auto to, auto a, auto b, auto n) { k.multiply(to, a, b, n); }, [](double x, double y) { return x * y; }},
    {"divide",    [](auto& k, auto to, auto a, auto b, auto n) { k.divide(to, a, b, n); },   [](double x, double y) { return x / y; }},
    {"nonzero",   [](auto& k, auto to, auto a, auto b, auto n) { k.divideUnlessByZero(to, a, b, n); }, [](double x, double y) { return y == 0 ? x : x / y; }},
    {"larger",    [](auto& k, auto to, auto a, auto b, auto n) { k.larger(to, a, b, n); },   [](double x, double y) { return x < y ? y : x; }},
    {"smaller",   [](auto& k, auto to, auto a, auto b, auto n) { k.smaller(to, a, b, n); },  [](double x, double y) { return y < x ? y : x; }},
    {"addNumber", [](auto& k, auto to, auto a, auto, auto n) { k.addNumber(to, a, 0.3, n); }, [](double x, double) { return x + 0.3; }},
    {"scale",     [](auto& k, auto to, auto a, auto, auto n) { k.scale(to, a, 0.3, n); },    [](double x, double) { return x * 0.3; }},
    {"addScaled", [](auto& k, auto to, auto a, auto b, auto n) { k.addScaled(to, a, b, 0.3, n); }, [](double x, double y) { return x + y * 0.3; }},
    {"clip",      [](auto& k, auto to, auto a, auto, auto n) { k.clip(to, a, -1, 0.5, n); }, [](double x, double) { return x < -1 ? -1 : x > 0.5 ? 0.5 : x; }},
    {"root",      [](auto& k, auto to, auto a, auto, auto n) { k.squareRoot(to, a, n); },    [](double x, double) { return x > 0 ? std::sqrt(x) : 0; }},
    {"convert",   [](auto& k, auto to, auto a, auto, auto n) { k.convert(to, a, {1, 3, true, 2}, 0.1, n); }, [](double x, double) { return ((x + 1) / 3 + 2) * 0.1; }},
    {"identity",  [](auto& k, auto to, auto a, auto, auto n) { k.convert(to, a, {}, 1.0, n); }, [](double x, double) { return x; }},
    {"ratio",     [](auto& k, auto to, auto a, auto b, auto n) { std::copy_n(a, n, to); k.actByRatio(to, b, {true, true}, n); },
                  [](double x, double y) { const double r = x == 0 ? 0 : y / x; return r * r == 0 ? 0 : x / (r * r); }},
};
// clang-format on

TEST(ElementKernels, GiveTheBitsOfThePlainLoop) {
    const Numbers a = Values(1100, 6, 5), b = Values(1100, 7, 5);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::ElementKernels>(set);
        for (const LoopCase& tried : kLoops) {
            ForEachRun([&](std::size_t shift, std::size_t count) {
                SCOPED_TRACE(testing::Message()
                             << kvx::NameOf(set) << " " << tried.name << " " << count << " at " << shift);
                Numbers expected(shift + count + 1, 7.0);
                for (std::size_t i = 0; i < count; ++i)
                    expected[shift + i] = tried.element(a[shift + i], b[i]);
                Numbers elsewhere(shift + count + 1, 7.0);
                tried.loop(kernels, elsewhere.data() + shift, a.data() + shift, b.data(), Signed(count));
                ASSERT_TRUE(std::ranges::equal(elsewhere, expected, IsSame));
                Numbers inPlace(a.begin(), a.begin() + Signed(shift + count));
                tried.loop(kernels, inPlace.data() + shift, inPlace.data() + shift, b.data(), Signed(count));
                ASSERT_TRUE(std::equal(inPlace.begin() + Signed(shift), inPlace.end(),
                                       expected.begin() + Signed(shift), IsSame));
                // The operand on one element after the result.
                Numbers shifted(a.begin() + Signed(shift), a.begin() + Signed(shift + count));
                shifted.insert(shifted.begin(), 7.0);
                tried.loop(kernels, shifted.data(), shifted.data() + 1, b.data(), Signed(count));
                ASSERT_TRUE(
                    std::equal(shifted.begin(), shifted.end() - 1, expected.begin() + Signed(shift), IsSame));
            });
        }
    }
}

TEST(ElementKernels, DivideByANumberWithOneRounding) {
    Numbers values = Values(20'000, 14);
    for (std::size_t i = 0; i < values.size(); ++i) {
        // Products of the divisor and few bits, whose quotients are exact or lie beside the middle of two
        // numbers.
        if (i % 3 == 0) values[i] = std::nextafter(std::round(values[i] * 0x1p20) * 9.80665, values[i]);
        if (i % 5 == 0) values[i] = std::ldexp(values[i], static_cast<int>(i % 2100) - 1050);
    }
    Numbers quotients(values.size());
    for (const double divisor : {9.80665, -0.3048, 1.8, 3.0, 1.0 / 3.0, 2.0 - 0x1p-52, 0x1p-30, 1e-200, 1e300,
                                 kTiniest, kInf, 0.0}) {
        for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
            kvx::KernelsOf<kvx::ElementKernels>(set).convert(
                quotients.data(), values.data(), {-0.0, divisor, true, -0.0}, 1.0, Signed(values.size()));
            for (std::size_t i = 0; i < values.size(); ++i)
                ASSERT_PRED2(IsSame, quotients[i], values[i] / divisor)
                    << kvx::NameOf(set) << " " << values[i] << " / " << divisor;
        }
    }
}

TEST(ElementKernels, ConvertPrecisionsAndKeepTheMarker) {
    const Numbers doubles = Values(1100, 8, 4);
    std::vector<float> floats(doubles.size());
    std::ranges::transform(doubles, floats.begin(), kvx::NarrowedSample);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::ElementKernels>(set);
        ForEachRun([&](std::size_t shift, std::size_t count) {
            std::vector<float> narrow(count), converted(count);
            Numbers wide(count);
            kernels.narrow(narrow.data(), doubles.data() + shift, Signed(count));
            kernels.widen(wide.data(), floats.data() + shift, Signed(count));
            kernels.convertFloat(converted.data(), floats.data() + shift, {-0.0, 3.0, true, -0.0}, 0.1,
                                 Signed(count));
            for (std::size_t i = 0; i < count; ++i) {
                const float x = floats[shift + i];
                ASSERT_PRED2(IsSame, narrow[i], x) << kvx::NameOf(set) << " " << count << " " << i;
                ASSERT_PRED2(IsSame, wide[i], kvx::WidenedSample(x));
                ASSERT_PRED2(IsSame, converted[i], static_cast<float>(static_cast<double>(x) / 3.0 * 0.1));
            }
        });
    }
}

TEST(ElementRuns, StepsSeeWhatTheStepsBeforeThemWrote) {
    Numbers values(100, 1.0);
    kvx::SetOfTwo(values.data() + 1, values.data() + 1, values.data(), 99, &kvx::ElementKernels::add,
                  std::plus<>());
    EXPECT_EQ(values[99], 100.0) << "a running sum";
}

// ---- Complex numbers

/// The error of `value` in units in the last place of the exact result.
double UlpsOff(double value, long double exact) {
    int exponent = 0;
    std::frexp(exact, &exponent);
    constexpr int kBits = std::numeric_limits<double>::digits;
    const long double ulp =
        std::ldexp(1.0L, std::max(exponent - kBits, std::numeric_limits<double>::min_exponent - kBits));
    return static_cast<double>(std::abs((static_cast<long double>(value) - exact) / ulp));
}

/// Pairs of numbers of all sizes and ratios, equal ones and neighbours of equal ones among them.
std::array<Numbers, 2> Pairs(std::size_t count) {
    std::mt19937_64 random(9);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    const auto power = [&](int range) { return static_cast<int>(random() % static_cast<unsigned>(range)); };
    std::array<Numbers, 2> parts{Numbers(count), Numbers(count)};
    for (std::size_t i = 0; i < count; ++i) {
        double& x = parts[0][i];
        double& y = parts[1][i];
        x = uniform(random);
        if (i % 4 == 0) y = uniform(random);
        if (i % 4 == 1) y = x * (1.0 + std::ldexp(uniform(random), -power(54)));
        if (i % 4 == 2) y = std::ldexp(x * uniform(random), power(60) - 30);
        if (i % 4 == 3) {
            x = std::ldexp(x, power(2080) - 1060);
            y = std::ldexp(uniform(random), power(2080) - 1060);
        }
        if (random() % 2 != 0) std::swap(x, y);
    }
    return parts;
}

TEST(ComplexKernels, AmplitudeAndPhaseAreWithinTwoUnitsInTheLastPlace) {
    constexpr std::size_t kCount = 40'000;
    const auto [re, im] = Pairs(kCount);
    const auto& kernels = kvx::KernelsOf<kvx::ComplexKernels>(kvx::KernelSet::baseline);
    Numbers amplitude(kCount), phase(kCount), degrees(kCount);
    kernels.polar(amplitude.data(), phase.data(), {re.data(), im.data()}, kvx::kPhaseInRadians,
                  Signed(kCount));
    kernels.polar(amplitude.data(), degrees.data(), {re.data(), im.data()}, kvx::kPhaseInDegrees,
                  Signed(kCount));
    for (std::size_t i = 0; i < kCount; ++i) {
        const auto x = static_cast<long double>(re[i]), y = static_cast<long double>(im[i]);
        const long double angle = std::atan2(y, x);
        SCOPED_TRACE(testing::Message() << std::hexfloat << re[i] << " + i " << im[i]);
        ASSERT_LE(UlpsOff(amplitude[i], std::hypot(x, y)), 2.0);
        ASSERT_LE(UlpsOff(phase[i], angle), 2.0);
        // In degrees a phase below the normal numbers is as exact as it is in radians.
        if (std::abs(phase[i]) < 1e-305) continue;
        ASSERT_LE(UlpsOff(degrees[i], angle * 180 / std::numbers::pi_v<long double>), 2.0);
    }
}

TEST(ComplexKernels, PhasesOfTheAxesAndOfInfinityAreExact) {
    const Numbers numbers = {0.0, -0.0, 1.0, -1.0, kInf, -kInf, kTiniest, -kLargest / 2, kNan, kNone};
    for (const double x : numbers) {
        for (const double y : numbers) {
            SCOPED_TRACE(testing::Message() << x << " + i " << y);
            double amplitude = 0, degrees = 0, phase = 0;
            const auto& kernels = kvx::ActiveKernels<kvx::ComplexKernels>();
            kernels.polar(&amplitude, &phase, {&x, &y}, kvx::kPhaseInRadians, 1);
            kernels.polar(&amplitude, &degrees, {&x, &y}, kvx::kPhaseInDegrees, 1);
            const bool lacksValue = x == kNone || y == kNone, isZero = x == 0 && y == 0;
            const double angle = isZero ? 0.0 : std::atan2(y, x);
            ASSERT_PRED2(IsSame, amplitude, lacksValue ? kNone : std::hypot(x, y));
            ASSERT_PRED2(IsSame, phase, lacksValue ? kNone : angle);
            // The angles of these numbers are whole eighths of a turn, but for those of very different sizes.
            const double exact = std::round(angle * 4 / std::numbers::pi) * 45;
            if (lacksValue || (std::abs(angle) > 0 && std::abs(angle) < 1e-300)) continue;
            ASSERT_PRED2(IsSame, degrees, exact == 0 ? angle : exact);
        }
    }
}

TEST(ComplexKernels, GiveTheSameBitsInEverySetWhereverTheBlocksLie) {
    const Numbers a = Values(1100, 10, 5), b = Values(1100, 11, 5), c = Values(1100, 12, 50),
                  d = Values(1100, 13);
    for (const kvx::KernelSet set : kvx::AvailableKernelSets()) {
        const auto& kernels = kvx::KernelsOf<kvx::ComplexKernels>(set);
        ForEachRun([&](std::size_t shift, std::size_t count) {
            SCOPED_TRACE(testing::Message() << kvx::NameOf(set) << " " << count << " at " << shift);
            const kvx::SplitValues x{a.data() + shift, b.data()}, y{c.data(), d.data() + shift};
            Numbers re(count + shift), im(count + shift), re2(count), im2(count), length(count), amp(count),
                phase(count);
            kernels.multiply({re.data() + shift, im.data()}, x, y, Signed(count));
            kernels.crossPower({re2.data(), im2.data()}, x, y, 0.3, Signed(count));
            kernels.magnitude(length.data(), x, Signed(count));
            kernels.polar(amp.data(), phase.data(), x, kvx::kPhaseInDegrees, Signed(count));
            for (std::size_t i = 0; i < count; ++i) {
                const double p = x.re[i], q = x.im[i], r = y.re[i], s = y.im[i];
                const bool isWhole = p != kNone && q != kNone && r != kNone && s != kNone;
                double oneAmp = 0, onePhase = 0;
                kvx::KernelsOf<kvx::ComplexKernels>(kvx::KernelSet::baseline)
                    .polar(&oneAmp, &onePhase, {&p, &q}, kvx::kPhaseInDegrees, 1);
                ASSERT_PRED2(IsSame, re[shift + i], p * r - q * s);
                ASSERT_PRED2(IsSame, im[i], p * s + q * r);
                ASSERT_PRED2(IsSame, re2[i], isWhole ? (p * r + q * s) * 0.3 : kNone);
                ASSERT_PRED2(IsSame, im2[i], isWhole ? (q * r - p * s) * 0.3 : kNone);
                ASSERT_PRED2(IsSame, length[i], CDataDoubleCplx(p, q).GetAbs());
                ASSERT_PRED2(IsSame, amp[i], oneAmp);
                ASSERT_PRED2(IsSame, phase[i], onePhase);
            }
            Numbers first(x.re, x.re + count), second(x.im, x.im + count);
            kernels.polar(first.data(), second.data(), {first.data(), second.data()}, kvx::kPhaseInDegrees,
                          Signed(count));
            ASSERT_TRUE(std::ranges::equal(first, amp, IsSame) && std::ranges::equal(second, phase, IsSame));
        });
    }
}

}  // namespace
