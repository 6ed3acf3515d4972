// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <new>

namespace kvx {
namespace {

bool ValidArguments(const double* wave, const double* work, __int64 size, const double* re, const double* im,
                    __int64 lineCount) {
    return wave != nullptr && work != nullptr && re != nullptr && im != nullptr && IsTransformSize(size) &&
           lineCount >= 1 && lineCount <= size;
}

int Log2(__int64 size) {
    return std::countr_zero(static_cast<std::uint64_t>(size));
}

/// Blocks without a plan are summed by definition.
bool HasPlan(__int64 size) {
    return size >= __int64{1} << kMinLog2PlannedSize;
}

/// Angle of the product of a line and a sample in a block of `size` points.
TableAngle ProductAngle(__int64 line, __int64 sample, __int64 size) {
    return TableAngle(line * sample % size * (2 * kSineHalfTurn / size));
}

/// The lines 0..size/2 - 1 times `scale`, as many as lines.count; returns the middle line times `scale`,
/// which of one point is the line at 0 Hz.
double ForwardByDefinition(__int64 size, const double* wave, const FftLines& lines) {
    std::array<double, __int64{1} << (kMinLog2PlannedSize - 1)> samples{};
    std::copy_n(wave, size, samples.begin());
    double middle = 0.0;
    for (__int64 k = 0; 2 * k <= size; ++k) {
        double re = 0.0, im = 0.0;
        for (__int64 n = 0; n < size; ++n) {
            const TableAngle angle = ProductAngle(k, n, size);
            re += samples[static_cast<std::size_t>(n)] * angle.cosine;
            im -= samples[static_cast<std::size_t>(n)] * angle.sine;
        }
        if (2 * k == size || size == 1) {
            middle = lines.scale * re;
        } else if (k < lines.count) {
            lines.re[k] = lines.scale * re;
            lines.im[k] = lines.scale * im;
        }
    }
    return middle;
}

void InverseByDefinition(__int64 size, const FftSpectrum& lines, double* wave, double scale) {
    std::array<double, __int64{1} << (kMinLog2PlannedSize - 1)> samples{};
    for (__int64 n = 0; n < size; ++n) {
        double sum = lines.dc + (n % 2 == 0 ? lines.middle : -lines.middle);
        for (__int64 k = 1; 2 * k < size; ++k) {
            const TableAngle angle = ProductAngle(k, n, size);
            sum += 2.0 * (lines.re[k] * angle.cosine - lines.im[k] * angle.sine);
        }
        samples[static_cast<std::size_t>(n)] = scale * sum;
    }
    std::copy_n(samples.begin(), size, wave);
}

/// The same of any size. The lines may overlap `wave`, but not `work`.
double Forward(__int64 size, const double* wave, double* work, const FftLines& lines) {
    if (!HasPlan(size)) return ForwardByDefinition(size, wave, lines);
    return ActiveKernels<FftKernels>().forward(TransformPlan(Log2(size)), wave, nullptr, work, lines);
}

/// Sets the lines from the middle one on, which mirror those below.
void FillLinesFromMiddle(__int64 size, double middle, double* re, double* im, __int64 lineCount) {
    const __int64 half = size / 2;
    if (lineCount <= half) return;
    re[half] = middle;
    im[half] = 0.0;
    if (lineCount == half + 1) return;
    const __int64 first = size - lineCount + 1;
    std::reverse_copy(re + first, re + half, re + half + 1);
    std::transform(std::reverse_iterator(im + half), std::reverse_iterator(im + first), im + half + 1,
                   std::negate<>());
}

/// Inverse transform of given lines, the DC line multiplied by `dcScale` and the others by `scale`.
void InverseOfLines(double* wave, double* work, __int64 size, const double* re, const double* im,
                    __int64 lineCount, double dcScale, double scale) {
    const __int64 half = size / 2;
    FftSpectrum lines = {dcScale / scale * re[0], 0.0, re, im};
    if (half >= 1 && lineCount > half) lines.middle = re[half];
    const bool isWhole = lineCount == half || lineCount == half + 1;
    if (!isWhole || im == work) {
        // The lines are put together in the wave: real parts below, imaginary ones above. A line above size/2
        // replaces its mirror image, which keeps the spectrum Hermitian.
        const auto gather = [&](double* to, const double* from, double mirroredSign) {
            for (__int64 k = 1; k < half; ++k)
                to[k] = size - k < lineCount ? mirroredSign * from[size - k] : k < lineCount ? from[k] : 0.0;
        };
        gather(wave, re, 1.0);
        gather(wave + half, im, -1.0);
        lines.re = wave;
        lines.im = wave + half;
    }
    if (HasPlan(size)) {
        ActiveKernels<FftKernels>().inverse(TransformPlan(Log2(size)), lines, work, wave, scale);
    } else {
        InverseByDefinition(size, lines, wave, scale);
    }
}

}  // namespace
}  // namespace kvx

int CMatFFT::WaveRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    const __int64 half = N / 2;
    const double scale = N > 1 ? 2.0 / static_cast<double>(N) : 1.0;
    kvx::FftLines lines = {re, im, std::min(nLines, half), scale};
    // Where the lines replace the work, their imaginary parts pass through the upper half of the wave, which
    // they replace, too, or of a block.
    std::unique_ptr<double[]> block;
    if (im == work) {
        if (re != wave) {
            block.reset(new (std::nothrow) double[static_cast<std::size_t>(half) + 1]);
            if (block == nullptr) return 0;
        }
        lines.im = re == wave ? wave + half : block.get();
    }
    const double middle = kvx::Forward(N, wave, work, lines);
    if (im == work) std::copy_n(lines.im, lines.count, im);
    if (N > 1) re[0] *= 0.5;
    kvx::FillLinesFromMiddle(N, middle, re, im, nLines);
    return 1;
}

int CMatFFT::WaveIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    kvx::InverseOfLines(wave, work, N, re, im, nLines, 1.0, 0.5);
    return 1;
}

int CMatFFT::XfrRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    const __int64 half = N / 2;
    const double middle = kvx::Forward(N, wave, work, {wave, wave + half, half, 1.0});
    std::copy_n(wave + half, half, work);
    kvx::FillLinesFromMiddle(N, middle, wave, work, N);
    work[0] = 0.0;
    if (re != wave) std::copy_n(wave, nLines, re);
    if (im != work) std::copy_n(work, nLines, im);
    return 1;
}

int CMatFFT::XfrIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    const double scale = 1.0 / static_cast<double>(N);
    // The line at N/2 is its own mirror image: its imaginary part cannot be Hermitian, and gives an imaginary
    // part of the time block that alternates from sample to sample.
    const bool hasMiddle = N >= 2 && nLines > N / 2;
    const double alternating = hasMiddle ? -scale * im[N / 2] : 0.0;
    kvx::InverseOfLines(wave, work, N, re, im, nLines, scale, scale);
    for (__int64 n = 0; n < N; n += 2) work[n] = alternating;
    for (__int64 n = 1; n < N; n += 2) work[n] = alternating == 0.0 ? 0.0 : -alternating;
    return 1;
}

int CMatFFT::GetCosSinI(__int64 i, __int64 N, double* cosOut, double* sinOut) {
    if (N < 1) return 0;
    const __int64 remainder = i % N;
    const double turns =
        static_cast<double>(remainder < 0 ? remainder + N : remainder) / static_cast<double>(N);
    constexpr __int64 kFullTurn = 2 * kvx::kSineHalfTurn;
    const kvx::TableAngle angle(static_cast<__int64>(turns * static_cast<double>(kFullTurn) + 0.5) %
                                kFullTurn);
    if (cosOut != nullptr) *cosOut = angle.cosine;
    if (sinOut != nullptr) *sinOut = angle.sine;
    return 1;
}
