// SPDX-License-Identifier: MIT
//
// The inner loops of the Fourier transform of real blocks. All sets give the same results within the error
// bound of docs/numerics.md; they are not bit-identical, because some of them fuse multiplications and
// additions.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// The passes and the twiddle factors of the transforms of one size.
///
/// A real block of N points is taken as a complex one of N/2 = 8 G points, even samples real and odd samples
/// imaginary. The first pass, of radix 8, leaves G groups of 8 values that belong to 8 separate transforms of
/// G points each. The middle passes transform these side by side and in place, the last pass puts the lines
/// in order. Twiddle factors are the cosine and sine of angles; tables of them come in blocks of 8 cosines
/// and the 8 sines of the same angles.
struct FftPlan {
    static constexpr int kMostMiddlePasses = 5;

    /// A pass of transforms of n points: for p = 0..n/radix-1 the cosine and sine of 2 pi j p/n, j =
    /// 1..radix-1.
    struct Pass {
        int radix = 1;
        const double* twiddles = nullptr;
    };

    std::int64_t groups = 0;  ///< G
    /// For each 8 values of p < G seven blocks, the angles 2 pi 2 j p/N, j = 1..7.
    const double* first = nullptr;
    Pass middle[kMostMiddlePasses];
    int middlePasses = 0;
    int lastRadix = 1;
    /// Between the complex transform and the lines: the angles 2 pi k/N, k = 0..N/4-1.
    const double* real = nullptr;
    /// The lines halfway: four cosines of 2 pi (1 + 2 r)/(4 lastRadix) and the four sines, of which the first
    /// lastRadix/2, but one at least, are used.
    const double* halfway = nullptr;
};

/// Where lines go: `count` lines X[k] times `scale`.
struct FftLines {
    double* re;
    double* im;
    std::int64_t count;
    double scale;
};

/// The lines 0..N/2 of a spectrum: those at 0 Hz and in the middle, which are real, and the others.
struct FftSpectrum {
    double dc;
    double middle;
    const double* re;  ///< of lines 1..N/2-1
    const double* im;
};

/// Sums over blocks of the powers of the lines of two signals, and of the response times the conjugate
/// reference.
struct FftCrossPowers {
    double* reference;
    double* response;
    double* re;
    double* im;
};

/// The transforms of one instruction set. A block has N >= 16 points; blocks need no alignment and must not
/// overlap unless it is said that they may. `work` is a block of N values that is left undefined.
struct FftKernels {
    /// Lines X[k] = sum over n of wave[n] window[n] e^(-2 pi i k n/N), 0 <= k < min(count, N/2), and the line
    /// N/2 as the result, times the scale all. Without a window if it is null. The lines may overlap `wave`.
    double (*forward)(const FftPlan& plan, const double* wave, const double* window, double* work,
                      const FftLines& lines);

    /// Adds 4 |X[k]|^2, k = 0..N/2, to `sums`.
    void (*addPowers)(const FftPlan& plan, const double* wave, const double* window, double* work,
                      double* sums);

    /// Adds those of `count` lines x of a reference and y of its response.
    void (*addCrossPowers)(std::int64_t count, const double* xRe, const double* xIm, const double* yRe,
                           const double* yIm, const FftCrossPowers& sums);

    /// wave[n] = scale times the sum over k of X[k] e^(+2 pi i k n/N), X[N-k] = conj X[k]. The lines may
    /// overlap `wave`.
    void (*inverse)(const FftPlan& plan, const FftSpectrum& lines, double* work, double* wave, double scale);
};

KVX_DECLARE_KERNELS(FftKernels)

}  // namespace kvx
