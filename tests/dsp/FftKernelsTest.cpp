// SPDX-License-Identifier: MIT
//
// Every set of transform kernels that this machine can run.

#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <string>

namespace {

class FftKernelSet : public testing::TestWithParam<kvx::KernelSet> {};

TEST_P(FftKernelSet, KeepsItsErrorBoundThereAndBackWhereverTheBlocksLie) {
    const kvx::FftKernels& kernels = kvx::KernelsOf<kvx::FftKernels>(GetParam());
    for (std::int64_t m = 4; m <= 17; ++m) {
        SCOPED_TRACE(m);
        // The documented relative rms error: 1e-16 per doubling of the size.
        const long double bound = 1e-16L * static_cast<long double>(m);
        const Wave wave = Noise(std::size_t{1} << m);
        const std::size_t size = wave.size();
        Wave re(size), im(size), shiftedRe(size + 1), shiftedIm(size + 3);
        kernels.forward(m, kvx::TwiddlesUpTo(m), wave.data(), re.data(), im.data());
        const DirectTransform direct(size);
        long double error = 0, power = 0;
        // All lines up to half the rate, of larger blocks some hundreds, of the largest some two dozen.
        for (std::size_t k = 0; k <= size / 2; k += m > 12 ? size / 48 | 1 : 1 + size / 1024) {
            const Line exact = direct.At<double>(wave, k);
            error += std::norm(ToLine(re[k], im[k]) - exact);
            power += std::norm(exact);
        }
        EXPECT_LE(std::sqrt(error / power), bound);
        for (std::size_t k = 1; k < size; ++k) {
            ASSERT_EQ(re[k], re[size - k]) << k;
            ASSERT_EQ(im[k], -im[size - k]) << k;
        }
        std::copy(wave.begin(), wave.end(), shiftedRe.begin() + 1);
        double* const inPlace = shiftedRe.data() + 1;
        kernels.forward(m, kvx::TwiddlesUpTo(m), inPlace, inPlace, shiftedIm.data() + 3);
        EXPECT_TRUE(std::equal(re.begin(), re.end(), inPlace));
        EXPECT_TRUE(std::equal(im.begin(), im.end(), shiftedIm.begin() + 3));
        kernels.inverse(m, kvx::TwiddlesUpTo(m), re.data(), im.data());
        error = power = 0;
        for (std::size_t n = 0; n < size; ++n) {
            error += std::norm(ToLine(re[n] / static_cast<double>(size) - wave[n]));
            power += std::norm(ToLine(wave[n]));
        }
        EXPECT_LE(std::sqrt(error / power), 2 * bound);
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
