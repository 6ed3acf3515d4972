// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

namespace kvx {
namespace {

/// Blocks shorter than 2^kLog2SmallestKernel points are summed by definition.
constexpr int kLog2SmallestKernel = 4;

bool ValidArguments(const double* wave, const double* work, __int64 size, const double* re, const double* im,
                    __int64 lineCount) {
    return wave != nullptr && work != nullptr && re != nullptr && im != nullptr && IsTransformSize(size) &&
           lineCount >= 1 && lineCount <= size;
}

int Log2(__int64 size) {
    return std::countr_zero(static_cast<std::uint64_t>(size));
}

/// Cosine and sine of 2 pi k/131072, 0 <= k < 131072.
struct TableAngle {
    double cosine;
    double sine;

    explicit TableAngle(__int64 k) {
        const double sign = k < kSineHalfTurn ? 1.0 : -1.0;
        const double* const entry = SineTable() + k % kSineHalfTurn;
        cosine = sign * entry[kSineHalfTurn / 2];
        sine = sign * entry[0];
    }
};

using SmallBlock = std::array<double, 1 << (kLog2SmallestKernel - 1)>;

/// Angle of the product of a line and a sample in a block of `size` points.
TableAngle ProductAngle(__int64 line, __int64 sample, __int64 size) {
    return TableAngle(line * sample % size * (2 * kSineHalfTurn / size));
}

void ForwardByDefinition(__int64 size, const double* wave, double* re, double* im) {
    SmallBlock samples{};
    std::copy_n(wave, size, samples.begin());
    for (__int64 k = 0; k < size; ++k) {
        re[k] = 0.0;
        im[k] = 0.0;
        for (__int64 n = 0; n < size; ++n) {
            const TableAngle angle = ProductAngle(k, n, size);
            re[k] += samples[static_cast<std::size_t>(n)] * angle.cosine;
            im[k] -= samples[static_cast<std::size_t>(n)] * angle.sine;
        }
    }
}

void InverseByDefinition(__int64 size, double* re, const double* im) {
    SmallBlock lines{};
    std::copy_n(re, size / 2 + 1, lines.begin());
    for (__int64 n = 0; n < size; ++n) {
        re[n] = lines[0];
        for (__int64 k = 1; 2 * k <= size; ++k) {
            const TableAngle angle = ProductAngle(k, n, size);
            const double weight = 2 * k < size ? 2.0 : 1.0;
            re[n] += weight * lines[static_cast<std::size_t>(k)] * angle.cosine;
            if (2 * k < size) re[n] -= weight * im[k] * angle.sine;
        }
    }
}

/// The whole transform of `wave`, which may be `re`.
void Forward(__int64 size, const double* wave, double* re, double* im) {
    const int log2Size = Log2(size);
    if (log2Size < kLog2SmallestKernel) {
        ForwardByDefinition(size, wave, re, im);
    } else {
        ActiveKernels<FftKernels>().forward(log2Size, TwiddlesUpTo(log2Size), wave, re, im);
    }
}

/// The time block of the lines 0..size/2 in `re` and `im`, into `re`.
void Inverse(__int64 size, double* re, double* im) {
    const int log2Size = Log2(size);
    if (log2Size < kLog2SmallestKernel) {
        InverseByDefinition(size, re, im);
    } else {
        ActiveKernels<FftKernels>().inverse(log2Size, TwiddlesUpTo(log2Size), re, im);
    }
}

/// Inverse transform of given lines, the DC line multiplied by `dcScale` and the others by `scale`.
void InverseOfLines(double* wave, double* work, __int64 size, const double* re, const double* im,
                    __int64 lineCount, double dcScale, double scale) {
    const __int64 half = size / 2;
    // A line above size/2 overwrites its mirror image below, which keeps the spectrum Hermitian.
    const __int64 firstMirrored = std::min(half, size - lineCount + 1);
    const __int64 directEnd = std::min(lineCount, std::max<__int64>(firstMirrored, 1));

    wave[0] = dcScale * re[0];
    for (__int64 k = 1; k < directEnd; ++k) {
        wave[k] = scale * re[k];
        work[k] = scale * im[k];
    }
    for (__int64 k = std::max<__int64>(directEnd, 1); k < half; ++k) {
        const bool mirrored = size - k < lineCount;
        wave[k] = mirrored ? scale * re[size - k] : 0.0;
        work[k] = mirrored ? -scale * im[size - k] : 0.0;
    }
    // The line at size/2 is its own mirror image: its imaginary part cannot be Hermitian, and gives an
    // imaginary part of the time block that alternates from sample to sample.
    const bool hasMiddle = half >= 1 && lineCount > half;
    const double alternating = hasMiddle ? -scale * im[half] : 0.0;
    if (half >= 1) wave[half] = hasMiddle ? scale * re[half] : 0.0;

    Inverse(size, wave, work);
    for (__int64 n = 0; n < size; n += 2) work[n] = alternating;
    for (__int64 n = 1; n < size; n += 2) work[n] = alternating == 0.0 ? 0.0 : -alternating;
}

}  // namespace
}  // namespace kvx

int CMatFFT::WaveRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    const std::unique_ptr<double[]> real(new (std::nothrow) double[static_cast<std::size_t>(N)]);
    if (real == nullptr) return 0;
    kvx::Forward(N, wave, real.get(), work);

    const double dcScale = 1.0 / static_cast<double>(N);
    const double scale = 2.0 / static_cast<double>(N);
    re[0] = dcScale * real[0];
    im[0] = dcScale * work[0];
    for (__int64 k = 1; k < nLines; ++k) {
        re[k] = scale * real[static_cast<std::size_t>(k)];
        im[k] = scale * work[k];
    }
    return 1;
}

int CMatFFT::WaveIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    kvx::InverseOfLines(wave, work, N, re, im, nLines, 1.0, 0.5);
    return 1;
}

int CMatFFT::XfrRfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    kvx::Forward(N, wave, wave, work);
    if (re != wave) std::copy_n(wave, nLines, re);
    if (im != work) std::copy_n(work, nLines, im);
    im[0] = 0.0;
    return 1;
}

int CMatFFT::XfrIfft(double* wave, double* work, __int64 N, double* re, double* im, __int64 nLines) {
    if (!kvx::ValidArguments(wave, work, N, re, im, nLines)) return 0;
    const double scale = 1.0 / static_cast<double>(N);
    kvx::InverseOfLines(wave, work, N, re, im, nLines, scale, scale);
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
