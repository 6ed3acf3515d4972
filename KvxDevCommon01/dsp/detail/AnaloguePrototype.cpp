// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/AnaloguePrototype.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numbers>

namespace kvx {
namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

/// 10^(db/10) - 1
double PowerAbove1(double db) {
    return std::expm1(db * (std::numbers::ln10 / 10.0));
}

/// The angles of the pole pairs from the positive imaginary axis.
std::vector<double> PairAngles(std::int32_t order) {
    std::vector<double> angles;
    for (std::int32_t pair = 0; pair < order / 2; ++pair)
        angles.push_back(pi * (2 * pair + 1) / (2.0 * order));
    return angles;
}

bool IsOdd(std::int32_t order) {
    return order % 2 != 0;
}

AnaloguePrototype Butterworth(std::int32_t order) {
    AnaloguePrototype prototype;
    for (const double angle : PairAngles(order))
        prototype.poles.emplace_back(-std::sin(angle), std::cos(angle));
    if (IsOdd(order)) prototype.realPole = -1.0;
    return prototype;
}

/// The poles of the Chebyshev low-pass whose ripple is 1 - 1/(1 + epsilon^2) of the power.
AnaloguePrototype Chebyshev(std::int32_t order, double epsilon) {
    AnaloguePrototype prototype;
    const double mu = std::asinh(1.0 / epsilon) / order;
    for (const double angle : PairAngles(order)) {
        prototype.poles.emplace_back(-std::sinh(mu) * std::sin(angle), std::cosh(mu) * std::cos(angle));
    }
    if (IsOdd(order)) prototype.realPole = -std::sinh(mu);
    return prototype;
}

AnaloguePrototype Chebyshev1(std::int32_t order, double rippleDb) {
    const double epsilon = std::sqrt(PowerAbove1(rippleDb));
    AnaloguePrototype prototype = Chebyshev(order, epsilon);
    if (!IsOdd(order)) prototype.gain = 1.0 / std::hypot(1.0, epsilon);
    return prototype;
}

AnaloguePrototype Chebyshev2(std::int32_t order, double attenuationDb) {
    AnaloguePrototype prototype = Chebyshev(order, 1.0 / std::sqrt(PowerAbove1(attenuationDb)));
    for (Complex& pole : prototype.poles) pole = 1.0 / pole;
    if (prototype.realPole) prototype.realPole = 1.0 / *prototype.realPole;
    for (const double angle : PairAngles(order)) prototype.zeros.push_back(1.0 / std::cos(angle));
    return prototype;
}

// ---- elliptic: S. J. Orfanidis, Lecture Notes on Elliptic Filter Design (2006) ----

double ArithmeticGeometricMean(double a, double b) {
    for (int step = 0; step < 40 && std::abs(a - b) > 1e-16 * a; ++step) {
        const double mean = 0.5 * (a + b);
        b = std::sqrt(a * b);
        a = mean;
    }
    return 0.5 * (a + b);
}

/// The modulus of elliptic functions, k, with its complement sqrt(1 - k^2).
struct Modulus {
    double k;
    double complement;

    Modulus Swapped() const { return {complement, k}; }
};

double ComplementOf(double k) {
    return std::sqrt((1.0 - k) * (1.0 + k));
}

/// The modulus whose nome is exp(logNome), by theta functions of the nome or, where it is large, of the one
/// that belongs to the complement.
Modulus ModulusOfNome(double logNome) {
    if (logNome > -pi) return ModulusOfNome(pi * pi / logNome).Swapped();
    const double q = std::exp(logNome);
    double upper = 0.0;
    double lower = 0.0;
    for (int m = 4; m >= 0; --m) upper += std::pow(q, m * (m + 1));
    for (int m = 4; m >= 1; --m) lower += 2.0 * std::pow(q, m * m);
    const double root = upper / (1.0 + lower);
    const double k = 4.0 * std::exp(0.5 * logNome) * root * root;
    return {k, ComplementOf(k)};
}

/// Landen's moduli, from k down to where elliptic functions are circular.
std::vector<double> LandenModuli(Modulus modulus) {
    std::vector<double> moduli = {modulus.k};
    while (moduli.back() > 1e-18 && moduli.size() < 16) {
        const double sum = 1.0 + modulus.complement;
        modulus = {modulus.k / sum * (modulus.k / sum), 2.0 * std::sqrt(modulus.complement) / sum};
        moduli.push_back(modulus.k);
    }
    return moduli;
}

/// cd or sn, whose circular value is `w`, by ascending Landen's moduli.
Complex Ascend(const std::vector<double>& moduli, Complex w) {
    for (std::size_t n = moduli.size() - 1; n > 0; --n) w = (1.0 + moduli[n]) * w / (1.0 + moduli[n] * w * w);
    return w;
}

AnaloguePrototype Elliptic(std::int32_t order, double rippleDb, double attenuationDb) {
    const double epsilon = std::sqrt(PowerAbove1(rippleDb));
    const double k1 = epsilon / std::sqrt(PowerAbove1(attenuationDb));
    const Modulus selectivity = {k1, ComplementOf(k1)};
    const double logNome = -pi * ArithmeticGeometricMean(1.0, selectivity.complement) /
                           ArithmeticGeometricMean(1.0, selectivity.k);
    const Modulus modulus = ModulusOfNome(logNome / order);
    const std::vector<double> moduli = LandenModuli(modulus);
    // Where sn is i/epsilon, on the imaginary axis, by descending the moduli of the selectivity.
    const std::vector<double> descent = LandenModuli(selectivity);
    double height = 1.0 / epsilon;
    for (std::size_t n = 1; n < descent.size(); ++n) {
        height *= 2.0 / ((1.0 + descent[n]) * (1.0 + std::hypot(1.0, descent[n - 1] * height)));
    }
    const double depth = std::asinh(height) / order;  // times 2/pi, in quarter periods

    AnaloguePrototype prototype;
    for (const double angle : PairAngles(order)) {
        const double zero = Ascend(moduli, std::cos(angle)).real();
        prototype.zeros.push_back(1.0 / (modulus.k * zero));
        const Complex pole = Ascend(moduli, std::cos(Complex(angle, -depth)));
        prototype.poles.emplace_back(-std::abs(pole.imag()), pole.real());
    }
    if (IsOdd(order)) {
        prototype.realPole = -Ascend(moduli, Complex(0.0, std::sinh(depth))).imag();
    } else {
        prototype.gain = 1.0 / std::hypot(1.0, epsilon);
    }
    return prototype;
}

// ---- Bessel ----

using Exact = long double;
using ExactComplex = std::complex<Exact>;

/// The reverse Bessel polynomial, s^2 of two orders before plus (2n-1) of the one before.
ExactComplex BesselSum(std::int32_t order, ExactComplex s) {
    ExactComplex before = 1.0L;
    ExactComplex now = order == 0 ? before : s + 1.0L;
    for (std::int32_t n = 2; n <= order; ++n) {
        const ExactComplex next = static_cast<Exact>(2 * n - 1) * now + s * s * before;
        before = now;
        now = next;
    }
    return now;
}

/// The same for any s. The sum cancels where the zeros are, on the left; there it is evaluated at w = -s, by
///   theta(-w) e^w = theta(w) e^-w + 2 (-1)^n w^(2n+1)/(2n+1)!! (1 + (w^2/2)/(2n+3) + ...),
/// in which nothing does (the relation of the modified Bessel functions K and I of half orders).
ExactComplex Bessel(std::int32_t order, ExactComplex s) {
    if (s.real() >= 0.0L) return BesselSum(order, s);
    const ExactComplex w = -s;
    ExactComplex odd = (IsOdd(order) ? -2.0L : 2.0L) * w;
    for (std::int32_t n = 1; n <= order; ++n) odd *= w * w / static_cast<Exact>(2 * n + 1);
    ExactComplex term = 1.0L;
    ExactComplex series = 1.0L;
    for (int k = 1; k < 500 && std::abs(term) > 1e-21L * std::abs(series); ++k) {
        term *= w * w / static_cast<Exact>(2 * k * (2 * order + 1 + 2 * k));
        series += term;
    }
    return (BesselSum(order, w) * std::exp(-w) + odd * series) * std::exp(-w);
}

/// All zeros of the reverse Bessel polynomial, the highest first, by the method of Ehrlich and Aberth.
std::vector<ExactComplex> BesselZeros(std::int32_t order) {
    std::vector<ExactComplex> zeros;
    const Exact n = order;
    for (std::int32_t i = 0; i < order; ++i) {
        const Exact angle = std::numbers::pi_v<Exact> * (static_cast<Exact>(i) + 0.5L) / n;
        zeros.emplace_back(-0.75L * n * std::sin(angle), 0.9L * n * std::cos(angle));
    }
    for (int round = 0; round < 60; ++round) {
        Exact largest = 0.0L;
        for (ExactComplex& zero : zeros) {
            const ExactComplex value = Bessel(order, zero);
            const ExactComplex newton = value / (value - zero * Bessel(order - 1, zero));
            ExactComplex push = 0.0L;
            for (const ExactComplex& other : zeros) {
                if (&other != &zero) push += 1.0L / (zero - other);
            }
            const ExactComplex step = newton / (1.0L - newton * push);
            zero -= step;
            largest = std::max(largest, std::abs(step) / std::abs(zero));
        }
        if (largest < 1e-16L) break;
    }
    std::ranges::sort(zeros, std::greater(), [](const ExactComplex& zero) { return zero.imag(); });
    return zeros;
}

/// Where the gain of poles alone is 1/sqrt(2).
Exact HalfPowerEdge(const std::vector<ExactComplex>& poles) {
    Exact low = 0.0L;
    Exact high = 2.0L * static_cast<Exact>(poles.size());
    for (int step = 0; step < 80; ++step) {
        const Exact edge = 0.5L * (low + high);
        Exact loss = 1.0L;
        for (const ExactComplex& pole : poles)
            loss *= std::norm(ExactComplex(0.0L, edge) - pole) / std::norm(pole);
        (loss > 2.0L ? high : low) = edge;
    }
    return 0.5L * (low + high);
}

AnaloguePrototype Bessel(std::int32_t order, IirFilter::BesselNorm norm) {
    const std::vector<ExactComplex> zeros = BesselZeros(order);
    Exact edge = 1.0L;
    if (norm == IirFilter::BesselNorm::magnitude) edge = HalfPowerEdge(zeros);
    if (norm == IirFilter::BesselNorm::phase) {
        for (const ExactComplex& zero : zeros)
            edge *= std::pow(std::abs(zero), 1.0L / static_cast<Exact>(order));
    }
    AnaloguePrototype prototype;
    for (std::size_t i = 0; i < zeros.size() / 2; ++i) prototype.poles.emplace_back(zeros[i] / edge);
    if (IsOdd(order)) prototype.realPole = static_cast<double>(zeros[zeros.size() / 2].real() / edge);
    return prototype;
}

}  // namespace

AnaloguePrototype MakePrototype(const IirFilter& filter) {
    switch (filter.family) {
        case IirFilter::Family::chebyshev1:
            return Chebyshev1(filter.order, filter.rippleDb);
        case IirFilter::Family::chebyshev2:
            return Chebyshev2(filter.order, filter.attenuationDb);
        case IirFilter::Family::elliptic:
            return Elliptic(filter.order, filter.rippleDb, filter.attenuationDb);
        case IirFilter::Family::bessel:
            return Bessel(filter.order, filter.norm);
        case IirFilter::Family::butterworth:
            break;
    }
    return Butterworth(filter.order);
}

}  // namespace kvx
