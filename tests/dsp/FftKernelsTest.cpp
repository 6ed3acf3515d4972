// SPDX-License-Identifier: MIT
//
// Every set of transform kernels that this machine can run.

#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>

namespace {

/// Lines of Noise(2^m) by definition: all up to half the rate, of larger blocks some hundreds, of the largest
/// a few.
const std::vector<std::pair<std::size_t, Line>>& ExactLinesOfNoise(int m) {
    static std::map<int, std::vector<std::pair<std::size_t, Line>>> known;
    auto& lines = known[m];
    if (!lines.empty()) return lines;
    const Wave wave = Noise(std::size_t{1} << m);
    const std::size_t size = wave.size();
    const DirectTransform direct(size);
    const std::size_t step = m > 17 ? size / 12 | 1 : m > 12 ? size / 48 | 1 : 1 + size / 1024;
    for (std::size_t k = 0; k <= size / 2; k += step) lines.emplace_back(k, direct.At<double>(wave, k));
    return lines;
}

class FftKernelSet : public testing::TestWithParam<kvx::KernelSet> {};

TEST_P(FftKernelSet, KeepsItsErrorBoundThereAndBackWhereverTheBlocksLie) {
    const kvx::FftKernels& kernels = kvx::KernelsOf<kvx::FftKernels>(GetParam());
    for (int m = kvx::kMinLog2PlannedSize; m <= kvx::kMaxLog2PlannedSize; ++m) {
        SCOPED_TRACE(m);
        const kvx::FftPlan& plan = kvx::TransformPlan(m);
        // The documented relative rms error: 1e-16 per doubling of the size.
        const long double bound = 1e-16L * static_cast<long double>(m);
        const Wave wave = Noise(std::size_t{1} << m);
        const std::size_t size = wave.size(), half = size / 2;
        Wave re(half + 1), im(half + 1), work(size);
        const auto lines = static_cast<std::int64_t>(half);
        re[half] =
            kernels.forward(plan, wave.data(), nullptr, work.data(), {re.data(), im.data(), lines, 1.0});
        long double error = 0, power = 0;
        for (const auto& [k, exact] : ExactLinesOfNoise(m)) {
            error += std::norm(ToLine(re[k], im[k]) - exact);
            power += std::norm(exact);
        }
        EXPECT_LE(std::sqrt(error / power), bound);

        // In blocks that lie anywhere, in the wave's own, and only some of the lines: the same bits.
        Wave shifted(size + 1), shiftedWork(size + 3), some(half / 3 + 1, 9.0), someIm = some;
        std::copy(wave.begin(), wave.end(), shifted.begin() + 1);
        double* const inPlace = shifted.data() + 1;
        kernels.forward(plan, inPlace, nullptr, shiftedWork.data() + 3,
                        {some.data(), someIm.data(), Size(some) - 1, 1.0});
        kernels.forward(plan, inPlace, nullptr, shiftedWork.data() + 3,
                        {inPlace, inPlace + half, lines, 1.0});
        EXPECT_TRUE(std::equal(re.begin(), re.end() - 1, inPlace));
        EXPECT_TRUE(std::equal(im.begin(), im.end() - 1, inPlace + half));
        EXPECT_TRUE(std::equal(some.begin(), some.end() - 1, re.begin()));
        EXPECT_TRUE(std::equal(someIm.begin(), someIm.end() - 1, im.begin()));
        EXPECT_EQ(some.back() + someIm.back(), 18.0);

        Wave back(size);
        kernels.inverse(plan, {re[0], re[half], inPlace, inPlace + half}, shiftedWork.data() + 1, inPlace,
                        1.0 / static_cast<double>(size));
        kernels.inverse(plan, {re[0], re[half], re.data(), im.data()}, work.data(), back.data(),
                        1.0 / static_cast<double>(size));
        EXPECT_TRUE(std::equal(back.begin(), back.end(), inPlace));
        error = power = 0;
        for (std::size_t n = 0; n < size; ++n) {
            error += std::norm(ToLine(back[n] - wave[n]));
            power += std::norm(ToLine(wave[n]));
        }
        EXPECT_LE(std::sqrt(error / power), 2 * bound);
    }
}

TEST_P(FftKernelSet, AddsUpThePowersOfTheLinesOfWindowedBlocks) {
    const kvx::FftKernels& kernels = kvx::KernelsOf<kvx::FftKernels>(GetParam());
    for (const int m : {4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 17, 18, 22}) {
        SCOPED_TRACE(m);
        const std::size_t size = std::size_t{1} << m, half = size / 2;
        const Wave wave = Noise(size), window = ToWave(Hann(Size(wave)));
        Wave windowed(size), work(size), re(half + 1), im(half + 1), sums(half + 1, 3.0);
        std::ranges::transform(wave, window, windowed.begin(), std::multiplies<>());
        const kvx::FftLines lines = {re.data(), im.data(), static_cast<std::int64_t>(half), 1.0};
        re[half] = kernels.forward(kvx::TransformPlan(m), windowed.data(), nullptr, work.data(), lines);
        for (int i = 0; i < 2; ++i)
            kernels.addPowers(kvx::TransformPlan(m), wave.data(), window.data(), work.data(), sums.data());
        for (std::size_t k = 0; k <= half; ++k) {
            const double power = 8.0 * (re[k] * re[k] + im[k] * im[k]);
            ASSERT_NEAR(sums[k], 3.0 + power, 1e-14 * (3.0 + power + static_cast<double>(size))) << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfThisMachine, FftKernelSet,
                         testing::ValuesIn(kvx::AvailableKernelSets().begin(),
                                           kvx::AvailableKernelSets().end()),
                         [](const auto& test) { return std::string(kvx::NameOf(test.param)); });

TEST(SineTable, HoldsSinesToTheLastPlace) {
    const double* const table = kvx::SineTable();
    for (std::int64_t k = 0; k < kvx::kSineCount; ++k) {
        const long double exact =
            std::sin(static_cast<long double>(k) * std::numbers::pi_v<long double> / 65536);
        const double lastPlace = table[k] == 0.0 ? 0.0 : std::ldexp(1.0, std::ilogb(table[k]) - 52);
        // Near the half turn the angle's own rounding counts.
        const auto error = static_cast<double>(std::fabs(static_cast<long double>(table[k]) - exact));
        ASSERT_LE(error, 0.51 * lastPlace + 1e-18) << k;
    }
    EXPECT_EQ(table[65536], 0.0);
    EXPECT_EQ(table[32768], 1.0);
}

}  // namespace
