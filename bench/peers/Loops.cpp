// SPDX-License-Identifier: MIT

#include "Loops.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#ifdef KVX_PEER_EIGEN3
#define EIGEN_DONT_PARALLELIZE
#include <Eigen/Core>
#endif

#ifdef KVX_PEER_SLEEF
#include <sleef.h>
#endif

namespace peers::KVX_LOOPS {
namespace {

// What writes to memory says by __restrict that nothing else does, as one does who wants vectors.
constexpr ArrayOperations kPlain{
    .add =
        [](const double* a, const double* b, double* __restrict out, size_t n) {
            for (size_t i = 0; i < n; ++i) out[i] = a[i] + b[i];
        },
    .multiply =
        [](const double* a, const double* b, double* __restrict out, size_t n) {
            for (size_t i = 0; i < n; ++i) out[i] = a[i] * b[i];
        },
    .scale =
        [](double* x, double factor, size_t n) {
            for (size_t i = 0; i < n; ++i) x[i] *= factor;
        },
    .shift =
        [](double* x, double offset, size_t n) {
            for (size_t i = 0; i < n; ++i) x[i] += offset;
        },
    .toFloat =
        [](const double* x, float* __restrict out, size_t n) {
            for (size_t i = 0; i < n; ++i) out[i] = static_cast<float>(x[i]);
        },
    .sum =
        [](const double* x, size_t n) {
            double sum = 0;
            for (size_t i = 0; i < n; ++i) sum += x[i];
            return sum;
        },
    .sumOfSquares =
        [](const double* x, size_t n) {
            double sum = 0;
            for (size_t i = 0; i < n; ++i) sum += x[i] * x[i];
            return sum;
        },
    .range =
        [](const double* x, size_t n) {
            Range range{x[0], x[0]};
            for (size_t i = 1; i < n; ++i) {
                range.low = x[i] < range.low ? x[i] : range.low;
                range.high = x[i] > range.high ? x[i] : range.high;
            }
            return range;
        },
    .crossPower =
        [](const double* a, const double* b, double* __restrict out, size_t n) {
            for (size_t i = 0; i < n; ++i) {
                out[i] = (a[i] * b[i] + a[n + i] * b[n + i]) * 0.5;
                out[n + i] = (a[n + i] * b[i] - a[i] * b[n + i]) * 0.5;
            }
        },
    .polar =
        [](const double* z, double* __restrict amplitude, double* __restrict phase, size_t n) {
            for (size_t i = 0; i < n; ++i) amplitude[i] = std::sqrt(z[i] * z[i] + z[n + i] * z[n + i]);
            for (size_t i = 0; i < n; ++i) phase[i] = std::atan2(z[n + i], z[i]);
        },
};

#ifdef KVX_PEER_EIGEN3
using Index = Eigen::Index;
template <class Scalar>
auto Array(Scalar* x, size_t n) {
    return Eigen::Map<Eigen::Array<Scalar, Eigen::Dynamic, 1>>(x, static_cast<Index>(n));
}
auto Array(const double* x, size_t n) {
    return Eigen::Map<const Eigen::ArrayXd>(x, static_cast<Index>(n));
}

constexpr ArrayOperations kEigen{
    .add = [](const double* a, const double* b, double* out,
              size_t n) { Array(out, n) = Array(a, n) + Array(b, n); },
    .multiply = [](const double* a, const double* b, double* out,
                   size_t n) { Array(out, n) = Array(a, n) * Array(b, n); },
    .scale = [](double* x, double factor, size_t n) { Array(x, n) *= factor; },
    .shift = [](double* x, double offset, size_t n) { Array(x, n) += offset; },
    .toFloat = [](const double* x, float* out, size_t n) { Array(out, n) = Array(x, n).cast<float>(); },
    .sum = [](const double* x, size_t n) { return Array(x, n).sum(); },
    .sumOfSquares = [](const double* x, size_t n) { return Array(x, n).matrix().squaredNorm(); },
    .range =
        [](const double* x, size_t n) {
            return Range{Array(x, n).minCoeff(), Array(x, n).maxCoeff()};
        },
    .crossPower =
        [](const double* a, const double* b, double* out, size_t n) {
            const auto re = Array(a, n), im = Array(a + n, n), otherRe = Array(b, n),
                       otherIm = Array(b + n, n);
            Array(out, n) = (re * otherRe + im * otherIm) * 0.5;
            Array(out + n, n) = (im * otherRe - re * otherIm) * 0.5;
        },
    .polar =
        [](const double* z, double* amplitude, double* phase, size_t n) {
            const auto x = Array(z, n), y = Array(z + n, n);
            Array(amplitude, n) = (x * x + y * y).sqrt();
            Array(phase, n) = y.binaryExpr(x, [](double b, double a) { return std::atan2(b, a); });
        },
};

/// The overlapping runs of samples as the columns of a matrix.
void FirByEigen(const double* taps, size_t count, size_t, const double* x, double* y, size_t n) {
    const Eigen::Map<const Eigen::MatrixXd, 0, Eigen::OuterStride<>> runs(
        x, static_cast<Index>(n), static_cast<Index>(count), Eigen::OuterStride<>(1));
    Array(y, n).matrix().noalias() = runs * Array(taps, count).matrix();
}
#else
constexpr ArrayOperations kEigen{};
constexpr FirLoop FirByEigen = nullptr;
#endif

#ifdef KVX_PEER_SLEEF
/// Whole vectors only, with errors of at most 3.5 units in the last place.
template <auto kArcTangent, class Vector>
void PolarBySleef(const double* z, double* amplitude, double* phase, size_t n) {
    constexpr size_t kLanes = sizeof(Vector) / sizeof(double);
    for (size_t i = 0; i < n; i += kLanes) {
        Vector x, y;
        std::memcpy(&x, z + i, sizeof x);
        std::memcpy(&y, z + n + i, sizeof y);
        const Vector angle = kArcTangent(y, x);
        std::memcpy(phase + i, &angle, sizeof angle);
        for (size_t k = i; k < i + kLanes; ++k) amplitude[k] = std::sqrt(z[k] * z[k] + z[n + k] * z[n + k]);
    }
}
#if defined(__AVX512F__)
constexpr ArrayOperations kSleef{.polar = PolarBySleef<Sleef_atan2d8_u35, __m512d>};
#elif defined(__AVX__)
constexpr ArrayOperations kSleef{.polar = PolarBySleef<Sleef_atan2d4_u35, __m256d>};
#else
constexpr ArrayOperations kSleef{.polar = PolarBySleef<Sleef_atan2d2_u35, __m128d>};
#endif
#else
constexpr ArrayOperations kSleef{};
#endif

void FirByResults(const double* taps, size_t count, size_t ratio, const double* x, double* y, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        double sum = 0;
        for (size_t k = 0; k < count; ++k) sum += taps[k] * x[i * ratio + k];
        y[i] = sum;
    }
}

void FirByTaps(const double* taps, size_t count, size_t, const double* x, double* __restrict y, size_t n) {
    std::fill_n(y, n, 0.0);
    for (size_t k = 0; k < count; ++k)
        for (size_t i = 0; i < n; ++i) y[i] += taps[k] * x[i + k];
}

void Interpolate2(const double* taps, size_t count, size_t, const double* x, double* __restrict y, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        double even = 0, odd = 0;
        for (size_t k = 0; k < count; ++k) {
            even += taps[k] * x[i + k];
            odd += taps[count + k] * x[i + k];
        }
        y[2 * i] = even;
        y[2 * i + 1] = odd;
    }
}

void Biquads4(const double* sections, double* states, const double* x, double* y, size_t n) {
    double s[8];
    std::copy_n(states, 8, s);
    for (size_t i = 0; i < n; ++i) {
        double value = x[i];
        for (size_t k = 0; k < 4; ++k) {
            const double* c = sections + 5 * k;
            const double out = c[0] * value + s[2 * k];
            s[2 * k] = c[1] * value - c[3] * out + s[2 * k + 1];
            s[2 * k + 1] = c[2] * value - c[4] * out;
            value = out;
        }
        y[i] = value;
    }
    std::copy_n(s, 8, states);
}

void Split(const double* lines, double* __restrict re, double* __restrict im, size_t n, double factor) {
    for (size_t k = 0; k < n; ++k) {
        re[k] = lines[2 * k] * factor;
        im[k] = lines[2 * k + 1] * factor;
    }
}

void Join(const double* re, const double* im, double* __restrict lines, size_t n, double factor) {
    for (size_t k = 0; k < n; ++k) {
        lines[2 * k] = re[k] * factor;
        lines[2 * k + 1] = im[k] * factor;
    }
}

void AddPowers(const double* lines, double* __restrict power, size_t n) {
    for (size_t k = 0; k < n; ++k)
        power[k] += lines[2 * k] * lines[2 * k] + lines[2 * k + 1] * lines[2 * k + 1];
}

#ifdef __AVX512F__
constexpr size_t kLanes = 8;
#else
constexpr size_t kLanes = 4;
#endif

double MultiplyAdd(double* x) {
    typedef double Vector __attribute__((vector_size(kLanes * sizeof(double))));
    constexpr size_t kRounds = 20000,
                     kChains = 12;  // enough to hide the latency, few enough for the registers
    Vector chains[kChains]{}, factor{}, offset{};
    factor += *x;
    offset += 1 - *x;
    for (size_t i = 0; i < kRounds; ++i)
        for (size_t k = 0; k < kChains; ++k) chains[k] = chains[k] * factor + offset;
    for (size_t k = 1; k < kChains; ++k) chains[0] += chains[k];
    *x = chains[0][0] / static_cast<double>(kChains);
    return static_cast<double>(2 * kRounds * kChains * kLanes);
}

}  // namespace

const Loops kLoops{.plain = kPlain,
                   .eigen = kEigen,
                   .sleef = kSleef,
                   .firByResults = FirByResults,
                   .firByTaps = FirByTaps,
                   .firByEigen = FirByEigen,
                   .interpolate2 = Interpolate2,
                   .biquads4 = Biquads4,
                   .split = Split,
                   .join = Join,
                   .addPowers = AddPowers,
                   .multiplyAdd = MultiplyAdd};

}  // namespace peers::KVX_LOOPS
