// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/kernels/ElementKernels.h>
#include <KvxDevCommon01/data/kernels/Vectors.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

/// to[i] = combine(a[i], b[i])
template <class Combine>
void SetOfTwo(double* to, const double* a, const double* b, Index count, Combine combine) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        return combine(LoadVector<kWidth>(a + i), LoadVector<kWidth>(b + i));
    });
}

/// to[i] = change(a[i])
template <class Change>
void SetOfOne(double* to, const double* a, Index count, Change change) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) { return change(LoadVector<kWidth>(a + i)); });
}

void Add(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return x + y; });
}
void Multiply(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return x * y; });
}
void Divide(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return x / y; });
}
void DivideUnlessByZero(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return y == 0.0 ? x : x / y; });
}
void TakeLarger(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return x < y ? y : x; });
}
void TakeSmaller(double* to, const double* a, const double* b, Index count) {
    SetOfTwo(to, a, b, count, [](auto x, auto y) { return y < x ? y : x; });
}

void AddNumber(double* to, const double* a, double k, Index count) {
    SetOfOne(to, a, count, [=](auto x) { return x + k; });
}
void Scale(double* to, const double* a, double k, Index count) {
    SetOfOne(to, a, count, [=](auto x) { return x * k; });
}
void AddScaled(double* to, const double* a, const double* b, double k, Index count) {
    SetOfTwo(to, a, b, count, [=](auto x, auto y) { return x + y * k; });
}
void Clip(double* to, const double* a, double low, double high, Index count) {
    SetOfOne(to, a, count, [=](auto x) {
        const auto lowest = Spread<decltype(x)>(low);
        const auto highest = Spread<decltype(x)>(high);
        const auto raised = x < lowest ? lowest : x;
        return raised > highest ? highest : raised;
    });
}
void TakeSquareRoot(double* to, const double* a, Index count) {
    SetOfOne(to, a, count, [](auto x) { return SquareRoot(x > 0.0 ? x : decltype(x){}); });
}

// ---- Precisions

/// The values of a vector in another type.
template <typename To, unsigned kWidth, typename From>
inline Vector<kWidth, To> Converted(From from) {
#if defined(__GNUC__)
    if constexpr (kWidth > 1) {
        return __builtin_convertvector(from, Vector<kWidth, To>);
    } else
#endif
    {
        return static_cast<To>(from);
    }
}

// The markers are exchanged in double precision, where both of them are exact.
constexpr auto kFloatMarker = static_cast<double>(kNoValue<float>);

/// to[i] = converted a[i], with one marker for the other. The markers are the most negative finite numbers,
/// so that a group whose lowest value is above has none.
template <typename To, typename From>
void ChangePrecision(To* to, const From* a, double marker, double newMarker, Index count) {
    const auto wide = [=]<unsigned kWidth>(Index i) {
        return Converted<double, kWidth>(LoadVector<kWidth>(a + i));
    };
    const auto general = [=]<unsigned kWidth>(Index i) {
        const auto x = wide.template operator()<kWidth>(i);
        return Converted<To, kWidth>(x == marker ? Spread<decltype(x + x)>(newMarker) : x);
    };
    const auto plain = [=]<unsigned kWidth>(Index i) {
        return Converted<To, kWidth>(wide.template operator()<kWidth>(i));
    };
    const auto arePlain = [=]<unsigned kCount>(Index i) {
        const auto take = [=](Lanes low, Index k) {
            return kLower(low, wide.template operator()<kLanes>(i + k));
        };
        return AreAbove(Folded<kCount>(take), marker);
    };
    SetEach(to, count, TwoWays{general, plain, arePlain});
}
void Narrow(float* to, const double* a, Index count) {
    ChangePrecision(to, a, kNoValue<double>, kFloatMarker, count);
}
void Widen(double* to, const float* a, Index count) {
    ChangePrecision(to, a, kFloatMarker, kNoValue<double>, count);
}

// ---- Units

/// Divides by one number. Quotients take the machine longer than all else of a conversion. Where it can fuse,
/// the product with the reciprocal and with the reciprocal's rest, which is within a unit in the last place,
/// is corrected by its remainder instead: by Markstein's theorem that rounds correctly where no part lies
/// near the ends of the range.
struct Divisor {
    explicit Divisor(double number) : divisor(number), reciprocal(1.0 / number) {
        const double size = number < 0.0 ? -number : number;
        isModerate = size >= 0x1p-100 && size <= 0x1p100;
    }

    template <unsigned kWidth>
    Vector<kWidth, double> Quotient(Vector<kWidth, double> x) const {
        return x / divisor;
    }
#if defined(__FMA__)
    Lanes ModerateQuotient(Lanes x) const {
        const Lanes d = Spread<Lanes>(divisor), r = Spread<Lanes>(reciprocal);
        const Lanes rest = FusedRemainder(Spread<Lanes>(1.0), r, d) * r;
        const Lanes q = FusedSum(x, r, x * rest);
        return FusedSum(FusedRemainder(x, q, d), r, q);
    }
#endif

    double divisor;
    double reciprocal;
    bool isModerate;
};

/// to[i] = after(scaled(before(a[i])))
template <typename Real, class Before, class Scaled, class After>
void ConvertEach(Real* to, const Real* a, Index count, Before before, Scaled scaled, After after) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        const auto x = before(Converted<double, kWidth>(LoadVector<kWidth>(a + i)));
        return Converted<Real, kWidth>(after(scaled.template operator()<kWidth>(x)));
    });
}

template <typename Real, class Before, class After>
void DivideEach(Real* to, const Real* a, Index count, Before before, double number, After after) {
    const Divisor divisor(number);
    const auto scaled = [=]<unsigned kWidth>(Vector<kWidth, double> x) {
        return divisor.Quotient<kWidth>(x);
    };
#if defined(__FMA__)
    if (divisor.isModerate) {
        const auto prepared = [=]<unsigned kWidth>(Index i) {
            return before(Converted<double, kWidth>(LoadVector<kWidth>(a + i)));
        };
        const auto general = [=]<unsigned kWidth>(Index i) {
            const auto x = prepared.template operator()<kWidth>(i);
            return Converted<Real, kWidth>(after(scaled.template operator()<kWidth>(x)));
        };
        const auto plain = [=]<unsigned kWidth>(Index i) {
            const Lanes x = prepared.template operator()<kWidth>(i);
            return Converted<Real, kWidth>(after(divisor.ModerateQuotient(x)));
        };
        const auto arePlain = [=]<unsigned kCount>(Index i) {
            LaneBits immoderate{};
            KVX_UNROLLED
            for (unsigned v = 0; v < kCount; ++v)
                immoderate |= Immoderate(prepared.template operator()<kLanes>(i + Index{v * kLanes}));
            return AreModerate(immoderate);
        };
        return SetEach(to, count, TwoWays{general, plain, arePlain});
    }
#endif
    ConvertEach(to, a, count, before, scaled, after);
}

/// Whether it is the number that changes no bit of a sum.
bool IsNothing(double added) {
    return added == 0.0 && 1.0 / added < 0.0;
}

template <typename Real>
void Convert(Real* to, const Real* a, const AffineConversion& conversion, double gain, Index count) {
    const auto [before, factor, divides, after] = conversion;
    const double b = before, f = factor, c = after;
    const auto same = [](auto x) { return x; };
    const auto raised = [=](auto x) { return x + b; };
    const auto finished = [=](auto x) { return (x + c) * gain; };
    const auto product = [=]<unsigned kWidth>(Vector<kWidth, double> x) { return x * f; };
    const bool isOnlyScaled = IsNothing(b) && IsNothing(c) && gain == 1.0;
    const bool isOnlyRaised = f == 1.0 && gain == 1.0 && (IsNothing(b) || IsNothing(c));
    if (isOnlyRaised) {
        const double added = IsNothing(b) ? c : b;
        SetEach(to, count, [=]<unsigned kWidth>(Index i) {
            return Converted<Real, kWidth>(Converted<double, kWidth>(LoadVector<kWidth>(a + i)) + added);
        });
    } else if (divides) {
        isOnlyScaled ? DivideEach(to, a, count, same, f, same)
                     : DivideEach(to, a, count, raised, f, finished);
    } else {
        isOnlyScaled ? ConvertEach(to, a, count, same, product, same)
                     : ConvertEach(to, a, count, raised, product, finished);
    }
}

void ActByRatio(double* values, const double* converted, const RatioUse& use, Index count) {
    SetOfTwo(values, values, converted, count, [=](auto x, auto y) {
        using V = decltype(x + x);
        const V quotient = y / x;
        const V ratio = x == 0.0 ? V{} : quotient;
        const V k = use.squared ? ratio * ratio : ratio;
        if (!use.divides) return x * k;
        const V divided = x / k;
        return k == 0.0 ? V{} : divided;
    });
}

}  // namespace

extern const ElementKernels kElementKernels = {
    Add,
    Multiply,
    Divide,
    DivideUnlessByZero,
    TakeLarger,
    TakeSmaller,
    AddNumber,
    Scale,
    AddScaled,
    Clip,
    TakeSquareRoot,
    Narrow,
    Widen,
    Convert<double>,
    Convert<float>,
    ActByRatio,
};

}  // namespace kvx::KVX_KERNEL_SET
