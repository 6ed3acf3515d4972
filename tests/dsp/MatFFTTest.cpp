// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFFT.h>
#include <tests/dsp/Signals.h>

#include <algorithm>
#include <latch>
#include <string>
#include <thread>

namespace {

using Transform = int (*)(double*, double*, __int64, double*, double*, __int64);
constexpr Transform kForward[] = {CMatFFT::WaveRfft, CMatFFT::XfrRfft};
constexpr Transform kInverse[] = {CMatFFT::WaveIfft, CMatFFT::XfrIfft};
constexpr Transform kTransforms[] = {CMatFFT::WaveRfft, CMatFFT::XfrRfft, CMatFFT::WaveIfft,
                                     CMatFFT::XfrIfft};

/// Block sizes from 2^0 to 2^12.
class TransformOfSize : public testing::TestWithParam<int> {
protected:
    const std::size_t size = std::size_t{1} << GetParam();
    const __int64 N = __int64{1} << GetParam();
    /// Of one value of the unscaled transform of noise.
    const double tolerance = 1e-15 * std::sqrt(static_cast<double>(size)) * (GetParam() + 1);
};

TEST_P(TransformOfSize, ForwardGivesTheLinesAskedForAndUnscaledTheWholeTransform) {
    const Wave input = Noise(size);
    const DirectTransform direct(size);
    const std::size_t asked = size / 2 + 1;
    for (const Transform transform : kForward) {
        const bool unscaled = transform == CMatFFT::XfrRfft;
        Wave wave = input, work(size), re(asked + 1, 9.0), im(asked + 1, 9.0);
        ASSERT_EQ(transform(wave.data(), work.data(), N, re.data(), im.data(), static_cast<__int64>(asked)),
                  1);
        EXPECT_EQ(im[0], 0.0);
        EXPECT_EQ(std::pair(re[asked], im[asked]), std::pair(9.0, 9.0));
        // The lines may be the blocks themselves.
        Wave same = input, sameWork(size);
        ASSERT_EQ(transform(same.data(), sameWork.data(), N, same.data(), sameWork.data(),
                            static_cast<__int64>(asked)),
                  1);
        EXPECT_TRUE(std::equal(re.begin(), re.end() - 1, same.begin()));
        EXPECT_TRUE(std::equal(im.begin(), im.end() - 1, sameWork.begin()));
        Wave ownRe(asked), imWork(size), kept = input;
        transform(kept.data(), imWork.data(), N, ownRe.data(), imWork.data(), static_cast<__int64>(asked));
        EXPECT_TRUE(std::equal(ownRe.begin(), ownRe.end(), re.begin()));
        EXPECT_TRUE(std::equal(im.begin(), im.end() - 1, imWork.begin()));
        // Any number of them: the same bits, those above the middle conjugate mirror images.
        for (std::size_t count = 1; count <= size; count += 1 + size / 7) {
            Wave someRe(count + 1, 9.0), someIm = someRe, copy = input;
            ASSERT_EQ(transform(copy.data(), sameWork.data(), N, someRe.data(), someIm.data(),
                                static_cast<__int64>(count)),
                      1);
            EXPECT_EQ(someRe[count] + someIm[count], 18.0) << count;
            for (std::size_t k = 0; k < count; ++k) {
                const std::size_t below = k < asked ? k : size - k;
                ASSERT_EQ(someRe[k], re[below]) << k;
                ASSERT_EQ(someIm[k], below == k ? im[below] : -im[below]) << k;
            }
        }
        for (std::size_t k = 0; k < size; k += 1 + size / 512) {
            const Line exact = direct.At<double>(input, k);
            EXPECT_NEAR(wave[k], unscaled ? static_cast<double>(exact.real()) : input[k],
                        unscaled ? tolerance : 0.0)
                << k;
            const double imaginary = unscaled ? static_cast<double>(exact.imag()) : work[k];
            EXPECT_NEAR(work[k], imaginary, tolerance) << k;
            if (k >= asked) continue;
            const double scale = unscaled ? 1.0 : (k == 0 ? 1.0 : 2.0) / static_cast<double>(N);
            EXPECT_NEAR(re[k], scale * static_cast<double>(exact.real()), scale * tolerance) << k;
            EXPECT_NEAR(im[k], scale * static_cast<double>(exact.imag()), scale * tolerance) << k;
        }
    }
}

TEST_P(TransformOfSize, InverseIsTheTimeBlockOfAnyNumberOfLines) {
    for (std::size_t count = 1; count <= size; count += 1 + (size > 32 ? size / 5 : 0)) {
        SCOPED_TRACE(count);
        Wave re = Noise(count, 5), im = Noise(count, 6);
        // The two-sided spectrum, built line after line: a later line overwrites an earlier one.
        std::vector<Line> spectrum(size);
        for (std::size_t k = 1; k < count; ++k) {
            spectrum[k] = ToLine(re[k], im[k]);
            spectrum[size - k] = std::conj(spectrum[k]);
        }
        const DirectTransform direct(size, 1);
        for (const Transform transform : kInverse) {
            const bool unscaled = transform == CMatFFT::XfrIfft;
            const long double scale = unscaled ? 1.0L / static_cast<long double>(size) : 0.5L;
            spectrum[0] = ToLine(unscaled ? re[0] : 2.0 * re[0]);
            Wave wave(size, 9.0), work(size, 9.0);
            const auto lineCount = static_cast<__int64>(count);
            ASSERT_EQ(transform(wave.data(), work.data(), N, re.data(), im.data(), lineCount), 1);
            Wave same = re, sameWork = im;
            same.resize(size);
            sameWork.resize(size);
            transform(same.data(), sameWork.data(), N, same.data(), sameWork.data(), lineCount);
            EXPECT_EQ(same, wave) << "in place";
            for (std::size_t n = 0; n < size; n += 1 + size / 256) {
                const Line exact = scale * direct.At<Line>(spectrum, n);
                EXPECT_NEAR(wave[n], static_cast<double>(exact.real()), tolerance) << n;
                const double imaginary = unscaled ? static_cast<double>(exact.imag()) : work[n];
                EXPECT_NEAR(work[n], imaginary, tolerance) << n;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(PowersOfTwo, TransformOfSize, testing::Range(0, 13),
                         [](const auto& test) { return std::to_string(1 << test.param); });

TEST(Transforms, RefuseNullBlocksAndSizesThatTheyDoNotHave) {
    Wave a(16, 7.0), b(16, 7.0), c(16, 7.0), d(16, 7.0);
    for (const Transform run : kTransforms) {
        const auto transform = [&](__int64 size, __int64 count) {
            return run(a.data(), b.data(), size, c.data(), d.data(), count);
        };
        EXPECT_TRUE(AllFail(run(nullptr, b.data(), 16, c.data(), d.data(), 8),
                            run(a.data(), nullptr, 16, c.data(), d.data(), 8),
                            run(a.data(), b.data(), 16, nullptr, d.data(), 8),
                            run(a.data(), b.data(), 16, c.data(), nullptr, 8)));
        for (const __int64 size : Results{0, -16, 3, 12, 262144, __int64{1} << 62, kLowest})
            EXPECT_EQ(transform(size, 8), 0) << size;
        for (const __int64 count : Results{0, -1, 17, __int64{1} << 62})
            EXPECT_EQ(transform(16, count), 0) << count;
    }
    for (const Wave& block : {a, b, c, d}) EXPECT_EQ(block, Wave(16, 7.0));
}

TEST(Transforms, SpreadANaNInsteadOfHidingIt) {
    Wave wave = Noise(64), work(64), re(32), im(32);
    wave[13] = kNaN;
    ASSERT_EQ(CMatFFT::WaveRfft(wave.data(), work.data(), 64, re.data(), im.data(), 32), 1);
    for (std::size_t k = 0; k < 32; ++k) EXPECT_TRUE(std::isnan(re[k] + im[k])) << k;
}

TEST(Transforms, GiveTheSameInThreadsThatStartAtOnce) {
    constexpr std::size_t kThreads = 4, kSizes = 18;
    const auto transform = [](std::size_t log2Size) {
        Wave wave = Noise(std::size_t{1} << log2Size), work(wave.size()), re(wave.size()), im(wave.size());
        for (const Transform run : kTransforms) {
            run(wave.data(), work.data(), Size(wave), re.data(), im.data(), Size(wave) / 2 + 1);
        }
        return wave;
    };
    std::latch start(kThreads);
    std::vector<Wave> results(kThreads * kSizes);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            start.arrive_and_wait();
            // Each thread is the first at some of the sizes.
            for (std::size_t i = 0; i < kSizes; ++i) {
                const std::size_t log2Size = (i * 5 + thread * 4) % kSizes;
                results[thread * kSizes + log2Size] = transform(log2Size);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(results[i], transform(i % kSizes)) << i;
}

TEST(GetCosSinI, GoesRoundTheCircleInBothDirections) {
    double cosine = 9.0, sine = 9.0;
    for (const __int64 size : Results{1, 4, 100, 131072, kFarthest}) {
        for (const __int64 i : Results{0, 1, 65536, 131071, -200001, kFarthest, kLowest}) {
            ASSERT_EQ(CMatFFT::GetCosSinI(i, size, &cosine, &sine), 1);
            const double turn = static_cast<double>(i % size) / static_cast<double>(size);
            const auto point = std::polar(1.0, 2.0 * std::numbers::pi * turn);
            // Half a step of the table unless the size divides its circle.
            const double tolerance = 131072 % size == 0 ? 1e-15 : std::numbers::pi / 131072.0;
            EXPECT_THAT((Wave{cosine, sine}), Near({point.real(), point.imag()}, tolerance))
                << i << '/' << size;
        }
    }
    EXPECT_EQ(CMatFFT::GetCosSinI(1, 4, nullptr, &sine) + CMatFFT::GetCosSinI(1, 4, &cosine, nullptr), 2);
    EXPECT_TRUE(
        AllFail(CMatFFT::GetCosSinI(1, 0, &cosine, &sine), CMatFFT::GetCosSinI(1, -4, &cosine, &sine)));
}

}  // namespace
