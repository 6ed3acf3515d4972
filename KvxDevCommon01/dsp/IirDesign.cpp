// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/IirDesign.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>
#include <utility>

#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/detail/AnaloguePrototype.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;
using Complex = std::complex<double>;
using Pass = IirFilter::Pass;
using Family = IirFilter::Family;
using Quadratic = std::array<double, 3>;  // by rising powers of s

void RequireAbove(double value, double least, const std::string& what) {
    if (value > least && std::isfinite(value)) return;
    throw Error(ErrorKind::kBadValue,
                what + " of " + FormatNumber(value) + " is not above " + FormatNumber(least));
}

// ---- from the low-pass at 1 to corners ----

/// tan(pi f/rate), to full precision up to half the rate.
double Warped(double part) {
    return part <= 0.25 ? std::tan(pi * part) : 1.0 / std::tan(pi * (0.5 - part));
}

/// What the corners make of the low-pass at 1.
struct Corners {
    double centre = 0.0;  // the corner, or of a band the square root of the product of both
    double width = 0.0;   // of a band

    static Corners Of(const IirFilter& filter, double rateHz) {
        const double low = filter.cornerHz / rateHz;
        if (!filter.IsBand()) return {Warped(low), 0.0};
        const double high = filter.upperHz / rateHz;
        const auto cosine = [](double part) {
            return part <= 0.25 ? std::cos(pi * part) : std::sin(pi * (0.5 - part));
        };
        return {std::sqrt(Warped(low) * Warped(high)),
                std::sin(pi * (filter.upperHz - filter.cornerHz) / rateHz) / (cosine(low) * cosine(high))};
    }
};

/// (s - pole)(s - its conjugate)
Quadratic PairAt(Complex pole) {
    return {std::norm(pole), -2.0 * pole.real(), 1.0};
}

/// The roots of s^2 - b s + centre^2 in the upper half, of a complex b without cancellation, as two pairs
/// with their conjugates.
std::array<Quadratic, 2> SplitPair(Complex b, double centre) {
    const Complex half = 0.5 * b;
    const double re = (half.real() - centre) * (half.real() + centre) - half.imag() * half.imag();
    const double im = 2.0 * half.real() * half.imag();
    Complex root = std::sqrt(Complex(re, im));
    if (root.real() * half.real() + root.imag() * half.imag() < 0.0) root = -root;
    const Complex larger = half + root;
    return {PairAt(larger), PairAt(centre * (centre / larger))};
}

/// Sections in the making: as many numerators as denominators, not yet together.
struct Parts {
    std::vector<Quadratic> numerators = {};
    std::vector<Quadratic> denominators = {};
    std::vector<Biquad> done = {};  // of real poles, which have their zeros
};

Parts LowOrHigh(const AnaloguePrototype& prototype, double corner, bool isHigh) {
    Parts parts;
    for (const Complex& pole : prototype.poles)
        parts.denominators.push_back(PairAt(isHigh ? corner / pole : corner * pole));
    for (const double zero : prototype.zeros) {
        const double moved = isHigh ? corner / zero : corner * zero;
        parts.numerators.push_back({moved * moved, 0.0, 1.0});
    }
    const Quadratic flat = isHigh ? Quadratic{0.0, 0.0, 1.0} : Quadratic{1.0, 0.0, 0.0};
    parts.numerators.resize(parts.denominators.size(), flat);
    if (prototype.realPole) {
        const double pole = isHigh ? corner / *prototype.realPole : corner * *prototype.realPole;
        parts.done.push_back(
            {isHigh ? Quadratic{0.0, 1.0, 0.0} : Quadratic{1.0, 0.0, 0.0}, {-pole, 1.0, 0.0}});
    }
    return parts;
}

Parts BandOrStop(const AnaloguePrototype& prototype, const Corners& corners, bool isStop) {
    Parts parts;
    const auto& [centre, width] = corners;
    for (const Complex& pole : prototype.poles) {
        for (const Quadratic& pair : SplitPair(isStop ? width / pole : width * pole, centre))
            parts.denominators.push_back(pair);
    }
    for (const double zero : prototype.zeros) {
        const double half = 0.5 * (isStop ? width / zero : width * zero);
        const double upper = half + std::hypot(half, centre);
        const double lower = centre * (centre / upper);
        parts.numerators.push_back({upper * upper, 0.0, 1.0});
        parts.numerators.push_back({lower * lower, 0.0, 1.0});
    }
    const Quadratic rest = isStop ? Quadratic{centre * centre, 0.0, 1.0} : Quadratic{0.0, 1.0, 0.0};
    parts.numerators.resize(parts.denominators.size(), rest);
    if (prototype.realPole) {
        const double damping = -(isStop ? width / *prototype.realPole : width * *prototype.realPole);
        parts.done.push_back({rest, {centre * centre, damping, 1.0}});
    }
    return parts;
}

// ---- pairing ----

/// The root of n0 + n1 s + n2 s^2 in the upper half as a place in z.
Complex PlaceOf(const Quadratic& q) {
    if (q[2] == 0.0) return q[1] == 0.0 ? Complex(-1.0) : Complex((q[1] - q[0]) / (q[1] + q[0]));
    const double half = 0.5 * q[1] / q[2];
    const Complex s = -half + std::sqrt(Complex(half * half - q[0] / q[2]));
    return (1.0 + s) / (1.0 - s);
}

/// How far from the unit circle a pole pair lies, 1 - |z|^2 over 1 + |z|^2.
double DistanceFromCircle(const Quadratic& d) {
    return d[1] / (d[0] + d[2]);
}

/// Gives each pole pair, those nearest to the unit circle first, the zeros that are nearest to it; the most
/// resonant section comes last (L. B. Jackson, Digital Filters and Signal Processing, 11.5).
std::vector<Biquad> Paired(Parts parts) {
    std::ranges::sort(parts.denominators, {}, DistanceFromCircle);
    std::vector<Biquad> sections = std::move(parts.done);
    std::vector<Biquad> pairs;
    for (const Quadratic& denominator : parts.denominators) {
        const Complex pole = PlaceOf(denominator);
        const auto nearest = std::ranges::min_element(
            parts.numerators, {}, [&](const Quadratic& zeros) { return std::abs(PlaceOf(zeros) - pole); });
        pairs.push_back({*nearest, denominator});
        parts.numerators.erase(nearest);
    }
    sections.insert(sections.end(), pairs.rbegin(), pairs.rend());
    return sections;
}

/// Where a filter passes, as cos + i sin of pi f/rate: s is the second over the first.
Complex At(const Quadratic& q, double cosine, double sine) {
    return {q[0] * cosine * cosine - q[2] * sine * sine, q[1] * cosine * sine};
}

void Normalise(std::vector<Biquad>& sections, const IirFilter& filter, double centre, double gain) {
    const double size = std::hypot(1.0, centre);
    double cosine = 1.0;
    double sine = 0.0;
    if (filter.pass == Pass::band || filter.pass == Pass::peak) {
        cosine = 1.0 / size;
        sine = centre / size;
    }
    for (Biquad& section : sections) {
        double ratio = 0.0;
        if (filter.pass == Pass::high) {  // the first order has no s^2
            const std::size_t top = section.denominator[2] == 0.0 ? 1 : 2;
            ratio = section.denominator[top] / section.numerator[top];
        } else {
            ratio = std::abs(At(section.denominator, cosine, sine)) /
                    std::abs(At(section.numerator, cosine, sine));
        }
        for (double& n : section.numerator) n *= gain * ratio;
        gain = 1.0;
    }
}

std::string RangeText(const IirFilter& filter) {
    return FormatNumber(filter.cornerHz) + " to " + FormatNumber(filter.upperHz) + " Hz";
}

constexpr std::int32_t kHighestOrder = 32;

}  // namespace

std::int32_t HighestOrder(const IirFilter& filter) {
    const bool isPlain =
        filter.family == Family::butterworth && (filter.pass == Pass::low || filter.pass == Pass::high);
    return isPlain ? CMatIirNth::kMaxOrder : kHighestOrder;
}

std::string FilterText(const IirFilter& filter) {
    if (filter.HasQ()) {
        return std::string(filter.pass == Pass::notch ? "notch" : "peak") + " at " +
               FormatNumber(filter.cornerHz) + " Hz, Q " + FormatNumber(filter.q);
    }
    constexpr std::array kPasses = {" low-pass", " high-pass", " band-pass", " band-stop"};
    const auto named = std::ranges::find(kIirFamilies, filter.family, &NamedIirFamily::family);
    std::string text(named == kIirFamilies.end() ? std::string_view("unknown") : named->name);
    text += kPasses[static_cast<std::size_t>(filter.pass) % kPasses.size()];
    text += " of order " + std::to_string(filter.order);
    text += filter.IsBand() ? " from " + RangeText(filter) : " at " + FormatNumber(filter.cornerHz) + " Hz";
    const bool hasRipple = filter.family == Family::chebyshev1 || filter.family == Family::elliptic;
    const bool hasAttenuation = filter.family == Family::chebyshev2 || filter.family == Family::elliptic;
    if (hasRipple) text += ", ripple " + FormatNumber(filter.rippleDb) + " dB";
    if (hasAttenuation) text += ", attenuation " + FormatNumber(filter.attenuationDb) + " dB";
    if (filter.family == Family::bessel && filter.norm != IirFilter::BesselNorm::magnitude)
        text += filter.norm == IirFilter::BesselNorm::phase ? ", by phase" : ", by delay";
    return text;
}

PassedBand BandOf(std::span<const IirFilter> filters) {
    PassedBand band;
    for (const IirFilter& filter : filters) {
        if (filter.pass == Pass::low) band.highestHz = std::min(band.highestHz, filter.cornerHz);
        if (filter.pass == Pass::band) band.highestHz = std::min(band.highestHz, filter.upperHz);
        if (filter.pass == Pass::high || filter.pass == Pass::band)
            band.lowestHz = std::max(band.lowestHz, filter.cornerHz);
    }
    return band;
}

void RequireCorner(double cornerHz, double rateHz) {
    if (!(cornerHz > 0.0)) {
        throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(cornerHz) + " Hz is not above 0");
    }
    if (cornerHz < 0.5 * rateHz && std::isfinite(rateHz)) return;
    throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(cornerHz) +
                                          " Hz is not below half its rate of " + FormatNumber(rateHz, 10) +
                                          " Hz");
}

void RequireFilter(const IirFilter& filter, double rateHz) {
    if (static_cast<unsigned>(filter.pass) > static_cast<unsigned>(Pass::peak) ||
        static_cast<unsigned>(filter.family) > static_cast<unsigned>(Family::bessel)) {
        throw Error(ErrorKind::kUnknownName, "there is no such kind of filter");
    }
    RequireCorner(filter.cornerHz, rateHz);
    if (filter.HasQ()) {
        RequireAbove(filter.q, 0.0, "a quality");
        if (filter.cornerHz / filter.q < 0.5 * rateHz) return;
        throw Error(ErrorKind::kBadValue, "a quality of " + FormatNumber(filter.q) + " at " +
                                              FormatNumber(filter.cornerHz) +
                                              " Hz makes a band wider than half the rate");
    }
    const std::string order = "an order of " + std::to_string(filter.order);
    if (filter.order < 1) throw Error(ErrorKind::kBadValue, order + " is below 1");
    if (filter.order > HighestOrder(filter)) {
        throw Error(ErrorKind::kBadValue,
                    order + " is above the limit of " + std::to_string(HighestOrder(filter)));
    }
    if (filter.IsBand()) {
        RequireCorner(filter.upperHz, rateHz);
        if (!(filter.cornerHz < filter.upperHz))
            throw Error(ErrorKind::kBadValue, "a band from " + RangeText(filter) + " does not rise");
    }
    if (filter.family == Family::chebyshev1 || filter.family == Family::elliptic)
        RequireAbove(filter.rippleDb, 0.0, "a ripple in dB");
    if (filter.family == Family::chebyshev2) RequireAbove(filter.attenuationDb, 0.0, "an attenuation in dB");
    if (filter.family == Family::elliptic)
        RequireAbove(filter.attenuationDb, filter.rippleDb, "an attenuation in dB");
}

double GainAtZero(const IirFilter& filter) {
    const bool hasRipple = filter.family == Family::chebyshev1 || filter.family == Family::elliptic;
    const bool hasAttenuation = filter.family == Family::chebyshev2 || filter.family == Family::elliptic;
    const bool touches = !filter.HasQ() && filter.order % 2 == 0;
    const auto below = [](double db) { return std::pow(10.0, db / -20.0); };
    if (filter.BlocksConstants()) return touches && hasAttenuation ? below(filter.attenuationDb) : 0.0;
    return touches && hasRipple ? below(filter.rippleDb) : 1.0;
}

std::vector<Biquad> DesignIir(const IirFilter& filter, double rateHz) {
    RequireFilter(filter, rateHz);
    const Corners corners = Corners::Of(filter, rateHz);
    const double centre = corners.centre;
    std::vector<Biquad> sections;
    double gain = 1.0;
    if (filter.HasQ()) {
        const double damping =
            std::tan(0.5 * pi * (2.0 * (filter.cornerHz / filter.q) / rateHz)) * (1.0 + centre * centre);
        const Quadratic numerator =
            filter.pass == Pass::notch ? Quadratic{centre * centre, 0.0, 1.0} : Quadratic{0.0, damping, 0.0};
        sections.push_back({numerator, {centre * centre, damping, 1.0}});
    } else {
        const AnaloguePrototype prototype = MakePrototype(filter);
        gain = prototype.gain;
        sections = Paired(filter.IsBand() ? BandOrStop(prototype, corners, filter.pass == Pass::stop)
                                          : LowOrHigh(prototype, centre, filter.pass == Pass::high));
    }
    Normalise(sections, filter, centre, gain);
    return sections;
}

SosRow RowOf(const Biquad& section) {
    const auto& [n0, n1, n2] = section.numerator;
    const auto& [d0, d1, d2] = section.denominator;
    const double scale = d2 + d1 + d0;
    if (n2 == 0.0 && d2 == 0.0)
        return {(n0 + n1) / scale, (n0 - n1) / scale, 0.0, 1.0, (d0 - d1) / scale, 0.0};
    return {(n2 + n1 + n0) / scale,  2.0 * (n0 - n2) / scale, (n2 - n1 + n0) / scale, 1.0,
            2.0 * (d0 - d2) / scale, (d2 - d1 + d0) / scale};
}

Biquad SectionOf(const SosRow& row) {
    if (!std::ranges::all_of(row, [](double value) { return std::isfinite(value); }))
        throw Error(ErrorKind::kBadValue, "a section has a coefficient that is no number");
    if (row[3] == 0.0) throw Error(ErrorKind::kBadValue, "a section has an a0 of 0");
    const bool isFirstOrder = row[2] == 0.0 && row[5] == 0.0;
    const auto inS = [&](std::size_t at) {
        const double c0 = row[at] / row[3], c1 = row[at + 1] / row[3], c2 = row[at + 2] / row[3];
        if (isFirstOrder) return Quadratic{c0 + c1, c0 - c1, 0.0};
        return Quadratic{c0 + c1 + c2, 2.0 * (c0 - c2), c0 - c1 + c2};
    };
    return {inS(0), inS(3)};
}

ZerosAndPoles ZerosAndPolesOf(std::span<const Biquad> sections) {
    ZerosAndPoles result;
    // Roots in s are places in z, (1 + s)/(1 - s); a missing power of s is a root at infinity, -1 in z.
    const auto add = [](const Quadratic& q, bool isFirstOrder, std::vector<Complex>& places) {
        const auto place = [&](Complex s) {
            if (s != 1.0) places.push_back((1.0 + s) / (1.0 - s));
        };
        if (q[2] != 0.0) {
            const double half = 0.5 * q[1] / q[2];
            const double product = q[0] / q[2];
            const double square = half * half - product;
            if (square < 0.0) {
                const double root = std::sqrt(-square);
                place({-half, root});
                place({-half, -root});
            } else {
                const double larger = -half - std::copysign(std::sqrt(square), half);
                place(larger);
                place(larger == 0.0 ? 0.0 : product / larger);
            }
            return;
        }
        if (q[1] != 0.0) place(-q[0] / q[1]);
        if (q[1] == 0.0) places.emplace_back(-1.0);
        if (!isFirstOrder) places.emplace_back(-1.0);
    };
    for (const Biquad& section : sections) {
        const bool isFirstOrder = section.numerator[2] == 0.0 && section.denominator[2] == 0.0;
        add(section.numerator, isFirstOrder, result.zeros);
        add(section.denominator, isFirstOrder, result.poles);
        result.gain *= RowOf(section)[0];
    }
    return result;
}

void RequireStable(std::span<const Biquad> sections) {
    for (const Biquad& section : sections) {
        const auto& [d0, d1, d2] = section.denominator;
        const bool isFirstOrder = section.numerator[2] == 0.0 && d2 == 0.0;
        if (!(d0 > 0.0 && d1 > 0.0 && (d2 > 0.0 || isFirstOrder)))
            throw Error(ErrorKind::kBadValue, "a section has a pole that is not inside the unit circle");
    }
}

double SettlingSamples(std::span<const Biquad> sections) {
    double slowest = 0.0;
    for (const Biquad& section : sections) {
        // 1 - z of the poles, of which the one nearest to the circle lasts longest.
        const auto& [d0, d1, d2] = section.denominator;
        double decay = 0.0;  // -ln |z|
        const double square = d1 * d1 - 4.0 * d0 * d2;
        if (d2 == 0.0 || square >= 0.0) {
            // Real: |z| = |1 + s|/|1 - s| with s below 0, of the root nearer to 0 or to infinity.
            const double sum = 0.5 * (d1 + std::sqrt(std::max(square, 0.0)));
            const double near = d0 / sum;
            const double far = d2 == 0.0 ? near : sum / d2;
            decay =
                2.0 * std::min(std::atanh(std::min(near, 1.0 / near)), std::atanh(std::min(far, 1.0 / far)));
        } else {
            decay = std::atanh(d1 / (d0 + d2));
        }
        slowest = std::max(slowest, decay > 0.0 ? 1.0 / decay : std::numeric_limits<double>::infinity());
    }
    // e^-40 is below the rounding of a double; poles that lie together take longer.
    return slowest * (40.0 + 3.0 * static_cast<double>(sections.size()));
}

}  // namespace kvx
