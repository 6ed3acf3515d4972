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
        const auto aRe = LoadVector<kWidth>(a.re + i), aIm = LoadVector<kWidth>(a.im + i);
        const auto bRe = LoadVector<kWidth>(b.re + i), bIm = LoadVector<kWidth>(b.im + i);
        const auto lacksValue = (aRe == kMarker) | (aIm == kMarker) | (bRe == kMarker) | (bIm == kMarker);
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

// From this tangent on, a little above that of 1/2, angles are taken from 1/8 turn: below it they have an
// exponent less, and the errors of a difference and a sum would weigh twice.
constexpr double kWideTangent = 35.0 / 64;

// (atan(q)/q - 1)/q^2 as a polynomial in q^2 for |q| <= kWideTangent: least largest error by the exchange
// method, which leaves 2^-59 of atan(q).
constexpr double kArcTangent[] = {
    -0x1.5555555555538p-2, 0x1.9999999995b78p-3, -0x1.2492492326510p-3, 0x1.c71c71408dbf5p-4,
    -0x1.745d088e2fc0bp-4, 0x1.3b12a748bf571p-4, -0x1.11044f00d1100p-4, 0x1.e10639c2ec507p-5,
    -0x1.a9e4ad8b23f78p-5, 0x1.6ef1d8c2ada1ap-5, -0x1.1b7d70aae0dcfp-5, 0x1.4cdda984dd727p-6,
    -0x1.a3a4bb99bc7aap-8,
};

/// The polynomial above at t, in groups of terms that the machine can work on side by side.
template <typename V>
KVX_ALWAYS_INLINE V ArcTangentRest(V t) {
    static_assert(sizeof kArcTangent / sizeof kArcTangent[0] == 13);
    const auto two = [t](unsigned term) { return kArcTangent[term] + kArcTangent[term + 1] * t; };
    const V t2 = t * t;
    const V t4 = t2 * t2;
    const auto four = [&](unsigned term) { return two(term) + t2 * two(term + 2); };
    return two(0) + t2 * (four(2) + t4 * (four(6) + t4 * (two(10) + t2 * kArcTangent[12])));
}

/// The parts of a number by their size. Numbers without any or with an infinite part count as well.
template <unsigned kWidth>
struct PartSizes {
    using V = Vector<kWidth, double>;

    PartSizes(V x, V y) : sizeX(Magnitude<kWidth>(x)), sizeY(Magnitude<kWidth>(y)) {
        larger = sizeX < sizeY ? sizeY : sizeX;
        smaller = sizeX < sizeY ? sizeX : sizeY;
    }

    V sizeX, sizeY, larger, smaller;
};

/// The phase of numbers whose parts are, in proportion, n <= d: the angle to the nearest eighth of a turn
/// that is even or, of wide ones, odd, added to or subtracted from that one.
template <unsigned kWidth, bool kIsInRadians>
KVX_ALWAYS_INLINE Vector<kWidth, double> Phase(Vector<kWidth, double> x, Vector<kWidth, double> y,
                                               const PartSizes<kWidth>& parts, Vector<kWidth, double> n,
                                               Vector<kWidth, double> d, const PhaseUnit& unit) {
    using V = Vector<kWidth, double>;
    const V none{}, one = Spread<V>(1.0), two = Spread<V>(2.0);
    const auto isSteep = parts.sizeX < parts.sizeY;
    const auto isWide = n >= d * kWideTangent;
    const V difference = n - d, sum = n + d;
    const V q = (isWide ? difference : n) / (isWide ? sum : d);
    const V t = q * q;
    const V rest = q * t * ArcTangentRest(t);
    V angle;
    if constexpr (kIsInRadians) {
        angle = q + rest;
    } else {
        const V high = Bits<kWidth>::Value(Bits<kWidth>::Of(q) & kHighBits);
        angle = high * unit.factorHigh +
                (((q - high) + rest) * unit.factor + high * (unit.factor - unit.factorHigh));
    }
    const V side = WithSignOf<kWidth>(x, one);
    const V direction = isSteep ? -side : side;
    const V axis = isSteep ? two : two - (side + side);
    const V eighths = axis + (isWide ? direction : none);
    const V size = eighths * unit.eighthTurn + (direction * angle + eighths * unit.eighthTurnRest);
    return WithSignOf<kWidth>(y, size);
}

/// Amplitude and phase of one vector of moderate numbers.
template <unsigned kWidth, bool kIsInRadians>
KVX_ALWAYS_INLINE Two<Vector<kWidth, double>> ModeratePolarForm(Vector<kWidth, double> x,
                                                                Vector<kWidth, double> y,
                                                                const PhaseUnit& unit) {
    const PartSizes<kWidth> parts(x, y);
    const auto n = parts.smaller, d = parts.larger;
    return {SquareRoot(n * n + d * d), Phase<kWidth, kIsInRadians>(x, y, parts, n, d, unit)};
}

/// Amplitude and phase of one vector. Both parts are scaled by a power of two that brings the larger one to
/// [1, 4), which keeps squares in range; those of moderate numbers need it not.
template <unsigned kWidth, bool kIsInRadians>
inline Two<Vector<kWidth, double>> PolarForm(Vector<kWidth, double> x, Vector<kWidth, double> y,
                                             const PhaseUnit& unit) {
    using V = Vector<kWidth, double>;
    constexpr double kInfinity = __builtin_huge_val();
    const PartSizes<kWidth> parts(x, y);
    const V larger = parts.larger, smaller = parts.smaller;

    // The exponent of the larger part, kept to where both 2^e and 2^-e are normal numbers.
    const V least = Spread<V>(0x1p-1022), most = Spread<V>(0x1p1022), one = Spread<V>(1.0), none{};
    const V atLeast = larger < least ? least : larger;
    const V within = atLeast > most ? most : atLeast;
    const auto isModerate = (larger >= 0x1p-255) & (larger < 0x1p257);
    const auto exponent = Bits<kWidth>::Of(isModerate ? one : within) & kExponentBits;
    const V scale = Bits<kWidth>::Value(2 * Bits<1>::Of(1.0) - exponent);
    const V n = smaller * scale;
    const V d = larger * scale;
    const V length = SquareRoot(n * n + d * d) * Bits<kWidth>::Value(exponent);

    // Of two infinite parts the angle is 1/8 turn, of one it is 0.
    const V nOfInfinite = smaller == kInfinity ? one : none * smaller;
    const V phase = Phase<kWidth, kIsInRadians>(x, y, parts, larger == kInfinity ? nOfInfinite : n,
                                                larger == kInfinity ? one : d, unit);

    const auto isZero = (parts.sizeX == 0.0) & (parts.sizeY == 0.0);
    const auto lacksValue = (x == kMarker) | (y == kMarker);
    const auto isInfinite = (parts.sizeX == kInfinity) | (parts.sizeY == kInfinity);
    const V marker = Spread<V>(kMarker), infinite = Spread<V>(kInfinity);
    const V sound = isInfinite ? infinite : length;
    const V direction = isZero ? none : phase;
    return {lacksValue ? marker : sound, lacksValue ? marker : direction};
}

template <bool kIsInRadians>
void PolarIn(const PhaseUnit& unit, double* amplitude, double* phase, const SplitValues& a, Index count) {
    const auto general = [=]<unsigned kWidth>(Index i) {
        return PolarForm<kWidth, kIsInRadians>(LoadVector<kWidth>(a.re + i), LoadVector<kWidth>(a.im + i),
                                               unit);
    };
    const auto plain = [=]<unsigned kWidth>(Index i) {
        return ModeratePolarForm<kWidth, kIsInRadians>(LoadVector<kWidth>(a.re + i),
                                                       LoadVector<kWidth>(a.im + i), unit);
    };
    const auto arePlain = [=]<unsigned kCount>(Index i) {
        static_assert(kCount == 1);
        return AreModerate(Immoderate(PartSizes<kLanes>(Load(a.re + i), Load(a.im + i)).larger));
    };
    SetEachTwo<1>(amplitude, phase, count, TwoWays{general, plain, arePlain});
}
void Polar(double* amplitude, double* phase, const SplitValues& a, const PhaseUnit& unit, Index count) {
    unit.factor == 1.0 ? PolarIn<true>(unit, amplitude, phase, a, count)
                       : PolarIn<false>(unit, amplitude, phase, a, count);
}

}  // namespace

extern const ComplexKernels kComplexKernels = {Multiply, CrossPower, Magnitudes, Polar};

}  // namespace kvx::KVX_KERNEL_SET
