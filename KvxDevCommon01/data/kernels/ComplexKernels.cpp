// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/data/kernels/Vectors.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr double kMarker = kNoValue<double>;

void Multiply(const SplitResults& to, const SplitValues& a, const SplitValues& b, Index count) {
    SetEachTwo<2>(to.re, to.im, count, [=]<unsigned kWidth>(Index i) {
        const auto aRe = LoadVector<kWidth>(a.re + i), aIm = LoadVector<kWidth>(a.im + i);
        const auto bRe = LoadVector<kWidth>(b.re + i), bIm = LoadVector<kWidth>(b.im + i);
        return Two<Vector<kWidth, double>>{aRe * bRe - aIm * bIm, aRe * bIm + aIm * bRe};
    });
}

void CrossPower(const SplitResults& to, const SplitValues& a, const SplitValues& b, double factor,
                Index count) {
    const auto plain = [=]<unsigned kWidth>(Index i) {
        using V = Vector<kWidth, double>;
        const V aRe = LoadVector<kWidth>(a.re + i), aIm = LoadVector<kWidth>(a.im + i);
        const V bRe = LoadVector<kWidth>(b.re + i), bIm = LoadVector<kWidth>(b.im + i);
        return Two<V>{(aRe * bRe + aIm * bIm) * factor, (aIm * bRe - aRe * bIm) * factor};
    };
    const auto general = [=]<unsigned kWidth>(Index i) {
        const auto lacks = [=](const double* part) { return LoadVector<kWidth>(part + i) == kMarker; };
        const auto lacksValue = lacks(a.re) | lacks(a.im) | lacks(b.re) | lacks(b.im);
        const auto [re, im] = plain.template operator()<kWidth>(i);
        const auto marker = Spread<decltype(re + im)>(kMarker);
        return Two<decltype(re + im)>{lacksValue ? marker : re, lacksValue ? marker : im};
    };
    // The marker is the most negative finite number.
    const auto arePlain = [=]<unsigned kCount>(Index i) {
        const auto take = [=](Lanes low, Index k) {
            for (const double* const part : {a.re, a.im, b.re, b.im}) low = kLower(low, Load(part + i + k));
            return low;
        };
        return AreAbove(Folded<kCount>(take), kMarker);
    };
    SetEachTwo<2>(to.re, to.im, count, TwoWays{general, plain, arePlain});
}

// ---- Polar form

template <unsigned kWidth>
struct Bits {
    using V = Vector<kWidth, double>;
    using Type = Vector<kWidth, std::int64_t>;

    static Type Of(V x) { return BitsAs<Type>(x); }
    static V Value(Type bits) { return BitsAs<V>(bits); }
};

constexpr std::int64_t kSignBit = INT64_MIN;
constexpr std::int64_t kExponentBits = 0x7FF0000000000000;
constexpr std::int64_t kHighBits = ~std::int64_t{0x7FFFFFF};  // all but the last 27 of a significand

template <unsigned kWidth, typename V>
inline V Magnitude(V x) {
    return Bits<kWidth>::Value(Bits<kWidth>::Of(x) & ~kSignBit);
}
template <unsigned kWidth, typename V>
inline V WithSignOf(V x, V magnitude) {
    return Bits<kWidth>::Value((Bits<kWidth>::Of(x) & kSignBit) | Bits<kWidth>::Of(magnitude));
}

// The magnitude as CplxValue::GetAbs has it.
void Magnitudes(double* to, const SplitValues& a, Index count) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        using V = Vector<kWidth, double>;
        const V re = Magnitude<kWidth, V>(LoadVector<kWidth>(a.re + i));
        const V im = Magnitude<kWidth, V>(LoadVector<kWidth>(a.im + i));
        const V larger = re < im ? im : re;
        const V smaller = re < im ? re : im;
        const V ratio = smaller / larger;
        const V result = larger * SquareRoot(1.0 + ratio * ratio);
        return smaller == 0.0 ? larger : result;
    });
}

// (atan(q)/q - 1)/q^2 as a polynomial in q^2 for 0 <= q <= 1: least largest error by the exchange method,
// which leaves 2^-57 of atan(q).
constexpr double kArcTangent[] = {
    -0x1.5555555555526p-2, 0x1.9999999995546p-3,  -0x1.249249237e1dfp-3,  0x1.c71c717f9369fp-4,
    -0x1.745d11aae105cp-4, 0x1.3b136675425e3p-4,  -0x1.110e501776618p-4,  0x1.e1bb9ae390457p-5,
    -0x1.ae5e43443cbfdp-5, 0x1.82da410fb5b8fp-5,  -0x1.59a28bbcca982p-5,  0x1.2c2b8fe9c41b7p-5,
    -0x1.e9f197dbd6bccp-6, 0x1.6832d5e5abba5p-6,  -0x1.c77dc6eda4442p-7,  0x1.d7a085dacb965p-8,
    -0x1.7a210dd4eb873p-9, 0x1.b3d9212d8679ap-11, -0x1.3f19eb335c416p-13, 0x1.bbc146c6815d3p-17,
};

/// The polynomial above at t, two terms at a time but for the first two, whose rounding errors weigh most.
template <typename V>
inline V ArcTangentRest(V t) {
    constexpr unsigned kTerms = sizeof kArcTangent / sizeof kArcTangent[0];
    static_assert(kTerms % 2 == 0);
    const auto twoTerms = [t](unsigned term) { return kArcTangent[term] + kArcTangent[term + 1] * t; };
    const V square = t * t;
    V sum = twoTerms(kTerms - 2);
    for (unsigned term = kTerms - 2; term > 2; term -= 2) sum = sum * square + twoTerms(term - 2);
    return kArcTangent[0] + t * (kArcTangent[1] + t * sum);
}

/// Amplitude and phase of one vector. Both parts are scaled by a power of two that brings the larger one to
/// [1, 4), which keeps squares in range. The phase is the angle to the nearer axis, at most 1/8 turn, added
/// to or subtracted from the phase of that axis.
template <unsigned kWidth>
inline Two<Vector<kWidth, double>> PolarForm(Vector<kWidth, double> x, Vector<kWidth, double> y,
                                             const PhaseUnit& unit) {
    using V = Vector<kWidth, double>;
    constexpr double kInfinity = __builtin_huge_val();
    const V sizeX = Magnitude<kWidth>(x);
    const V sizeY = Magnitude<kWidth>(y);
    const auto isSteep = sizeX < sizeY;
    const V larger = isSteep ? sizeY : sizeX;
    const V smaller = isSteep ? sizeX : sizeY;

    // The exponent of the larger part, kept to where both 2^e and 2^-e are normal numbers.
    const V least = Spread<V>(0x1p-1022), most = Spread<V>(0x1p1022);
    const V atLeast = larger < least ? least : larger;
    const auto exponent = Bits<kWidth>::Of(atLeast > most ? most : atLeast) & kExponentBits;
    const V scale = Bits<kWidth>::Value(2 * Bits<1>::Of(1.0) - exponent);
    const V unscale = Bits<kWidth>::Value(exponent);
    const V n = smaller * scale;
    const V d = larger * scale;
    const V length = SquareRoot(n * n + d * d) * unscale;

    // Of two infinite parts the angle is 1/8 turn, of one it is 0.
    const V infinite = Spread<V>(kInfinity), one = Spread<V>(1.0), none{};
    const V nOfInfinite = smaller == kInfinity ? one : none * smaller;
    const V q = (larger == kInfinity ? nOfInfinite : n) / (larger == kInfinity ? one : d);
    const V t = q * q;
    const V rest = q * t * ArcTangentRest(t);
    const V high = Bits<kWidth>::Value(Bits<kWidth>::Of(q) & kHighBits);
    const V angle =
        high * unit.factorHigh + (((q - high) + rest) * unit.factor + high * (unit.factor - unit.factorHigh));

    const V side = WithSignOf<kWidth>(x, one);
    const V axis = isSteep ? one : (side < 0.0 ? one + one : none);
    const V turned = (isSteep ? -side : side) * angle;
    const V size = axis * unit.quarterTurn + (turned + axis * unit.quarterTurnRest);

    const auto isZero = (sizeX == 0.0) & (sizeY == 0.0);
    const auto lacksValue = (x == kMarker) | (y == kMarker);
    const auto isInfinite = (sizeX == kInfinity) | (sizeY == kInfinity);
    const V marker = Spread<V>(kMarker);
    const V sound = isInfinite ? infinite : length;
    const V direction = isZero ? none : WithSignOf<kWidth>(y, size);
    return {lacksValue ? marker : sound, lacksValue ? marker : direction};
}

void Polar(double* amplitude, double* phase, const SplitValues& a, const PhaseUnit& unit, Index count) {
    SetEachTwo<1>(amplitude, phase, count, [=]<unsigned kWidth>(Index i) {
        return PolarForm<kWidth>(LoadVector<kWidth>(a.re + i), LoadVector<kWidth>(a.im + i), unit);
    });
}

}  // namespace

extern const ComplexKernels kComplexKernels = {Multiply, CrossPower, Magnitudes, Polar};

}  // namespace kvx::KVX_KERNEL_SET
