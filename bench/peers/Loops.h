// SPDX-License-Identifier: MIT
//
// Loops as an engineer writes them, and the same as Eigen expressions. Neither chooses an instruction set
// when it runs, so both are compiled twice: for the x86-64 baseline, and for this machine with -ffast-math.
// Each build is a shared library of its own, so that no template of one serves the other.
#pragma once

#include <cstddef>

namespace peers {

using std::size_t;

struct Range {
    double low;
    double high;
};

/// What a library does with arrays of n elements; null where it has no such operation. A complex array is n
/// real parts, then n imaginary parts.
struct ArrayOperations {
    void (*add)(const double* a, const double* b, double* out, size_t n) = nullptr;
    void (*multiply)(const double* a, const double* b, double* out, size_t n) = nullptr;
    void (*scale)(double* x, double factor, size_t n) = nullptr;
    void (*shift)(double* x, double offset, size_t n) = nullptr;
    void (*toFloat)(const double* x, float* out, size_t n) = nullptr;
    double (*sum)(const double* x, size_t n) = nullptr;
    double (*sumOfSquares)(const double* x, size_t n) = nullptr;
    Range (*range)(const double* x, size_t n) = nullptr;
    void (*crossPower)(const double* a, const double* b, double* out, size_t n) = nullptr;  // a conj(b) / 2
    void (*polar)(const double* z, double* amplitude, double* phase, size_t n) = nullptr;
};

/// y[i] = sum of taps[k] x[ratio i + k] over `count` taps, the one of the oldest sample first.
using FirLoop = void (*)(const double* taps, size_t count, size_t ratio, const double* x, double* y,
                         size_t n);

struct Loops {
    ArrayOperations plain, eigen, sleef;
    FirLoop firByResults;
    FirLoop firByTaps, firByEigen;  // for ratio 1
    /// n samples become 2n; the taps of even results, then those of odd ones, `count` each.
    FirLoop interpolate2;
    /// Four sections b0 b1 b2 a1 a2, each with two states (direct form II transposed).
    void (*biquads4)(const double* sections, double* states, const double* x, double* y, size_t n);
    /// Interleaved lines to scaled real and imaginary parts, and back; their powers added to `power`.
    void (*split)(const double* lines, double* re, double* im, size_t n, double factor);
    void (*join)(const double* re, const double* im, double* lines, size_t n, double factor);
    void (*addPowers)(const double* lines, double* power, size_t n);
    /// Returns how many operations it did.
    double (*multiplyAdd)(double* x);
};

#pragma GCC visibility push(default)
namespace baseline {
extern const Loops kLoops;
}
namespace native {
extern const Loops kLoops;
}
#pragma GCC visibility pop

}  // namespace peers
