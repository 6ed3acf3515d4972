// SPDX-License-Identifier: MIT
//
// Every set of transform kernels that this machine can run.

#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <tests/dsp/Signals.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using kvx::FftKernels;

/// The documented bound of the relative rms error: 1e-16 per doubling of the size.
double ErrorBound(std::int64_t log2Size) {
    return 1e-16 * static_cast<double>(log2Size);
}

/// Root of the ratio of the energies of a - b and b.
double RelativeError(const Wave& a, const Wave& b) {
    double error = 0.0, power = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        error += (a[i] - b[i]) * (a[i] - b[i]);
        power += b[i] * b[i];
    }
    return std::sqrt(error / power);
}

struct Parts {
    Wave re, im;
};

Parts Forward(const FftKernels& kernels, std::int64_t log2Size, const Wave& wave) {
    Parts parts{Wave(wave.size()), Wave(wave.size())};
    kernels.forward(log2Size, kvx::TwiddlesUpTo(log2Size), wave.data(), parts.re.data(), parts.im.data());
    return parts;
}

class FftKernelSet : public testing::TestWithParam<const FftKernels*> {};

TEST_P(FftKernelSet, KeepsTheErrorBound) {
    for (const std::int64_t m : {4, 5, 6, 7, 8, 9, 10, 11, 12, 17}) {
        const Wave wave = Noise(std::size_t{1} << m);
        const Parts parts = Forward(*GetParam(), m, wave);
        const DirectTransform direct(wave.size());
        long double error = 0, power = 0;
        // All lines up to half the rate, of larger blocks some hundreds, of the largest some two dozen.
        const std::size_t step = m == 17 ? 2731 : 1 + wave.size() / 1024;
        for (std::size_t k = 0; k <= wave.size() / 2; k += step) {
            const Line exact = direct.At<double>(wave, k);
            error += std::norm(ToLine(parts.re[k], parts.im[k]) - exact);
            power += std::norm(exact);
        }
        EXPECT_LE(static_cast<double>(std::sqrt(error / power)), ErrorBound(m)) << "size " << wave.size();
        for (std::size_t k = 1; k < wave.size(); ++k) {
            ASSERT_EQ(parts.re[k], parts.re[wave.size() - k]) << k << " of " << wave.size();
            ASSERT_EQ(parts.im[k], -parts.im[wave.size() - k]) << k << " of " << wave.size();
        }
    }
}

TEST_P(FftKernelSet, AgreesWithTheBaselineAndGoesThereAndBack) {
    for (std::int64_t m = 4; m <= 17; ++m) {
        const Wave wave = Noise(std::size_t{1} << m);
        Parts parts = Forward(*GetParam(), m, wave);
        const Parts baseline = Forward(*kvx::AvailableFftKernels().front(), m, wave);
        EXPECT_LE(RelativeError(parts.re, baseline.re), 2.0 * ErrorBound(m)) << "size " << wave.size();
        EXPECT_LE(RelativeError(parts.im, baseline.im), 2.0 * ErrorBound(m)) << "size " << wave.size();
        GetParam()->inverse(m, kvx::TwiddlesUpTo(m), parts.re.data(), parts.im.data());
        for (double& x : parts.re) x /= static_cast<double>(wave.size());
        EXPECT_LE(RelativeError(parts.re, wave), 2.0 * ErrorBound(m)) << "size " << wave.size();
    }
}

TEST_P(FftKernelSet, GivesTheSameInPlaceAndInUnalignedBlocks) {
    for (std::int64_t m = 4; m <= 12; ++m) {
        const Wave wave = Noise(std::size_t{1} << m);
        const Parts expected = Forward(*GetParam(), m, wave);
        Wave re(wave.size() + 1), im(wave.size() + 3);
        std::copy(wave.begin(), wave.end(), re.begin() + 1);
        GetParam()->forward(m, kvx::TwiddlesUpTo(m), re.data() + 1, re.data() + 1, im.data() + 3);
        EXPECT_EQ(Wave(re.begin() + 1, re.end()), expected.re) << "size " << wave.size();
        EXPECT_EQ(Wave(im.begin() + 3, im.end()), expected.im) << "size " << wave.size();
    }
}

INSTANTIATE_TEST_SUITE_P(OfThisMachine, FftKernelSet,
                         testing::ValuesIn(kvx::AvailableFftKernels().begin(),
                                           kvx::AvailableFftKernels().end()),
                         [](const auto& test) { return std::string(test.param->name); });

TEST(FftKernels, TheActiveSetIsOneThatTheMachineCanRun) {
    const auto sets = kvx::AvailableFftKernels();
    EXPECT_STREQ(sets.front()->name, "baseline");
    EXPECT_NE(std::find(sets.begin(), sets.end(), &kvx::ActiveFftKernels()), sets.end());
}

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
