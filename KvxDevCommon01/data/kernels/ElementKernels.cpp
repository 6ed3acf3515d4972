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

void Narrow(float* to, const double* a, Index count) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        const auto x = LoadVector<kWidth>(a + i);
        return Converted<float, kWidth>(x == kNoValue<double> ? Spread<decltype(x + x)>(kFloatMarker) : x);
    });
}

void Widen(double* to, const float* a, Index count) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        const auto x = Converted<double, kWidth>(LoadVector<kWidth>(a + i));
        return x == kFloatMarker ? Spread<decltype(x + x)>(kNoValue<double>) : x;
    });
}

// ---- Units

/// Divides by one number. A register of eight quotients takes the machine longer than all else of a
/// conversion; there the product with the reciprocal is corrected twice by its remainder instead, which by
/// Markstein's theorem rounds correctly where no part lies near the ends of the range.
struct Divisor {
    explicit Divisor(double number) : divisor(number), reciprocal(1.0 / number) {
        const double size = number < 0.0 ? -number : number;
        isModerate = size >= 0x1p-100 && size <= 0x1p100;
    }

    template <unsigned kWidth>
    Vector<kWidth, double> Quotient(Vector<kWidth, double> x) const {
#if defined(__AVX512F__)
        if constexpr (kWidth == kLanes) {
            const Lanes size = x < 0.0 ? -x : x;
            if (isModerate && AreAll((size >= 0x1p-900) & (size <= 0x1p900))) {
                const Lanes d = Spread<Lanes>(divisor), r = Spread<Lanes>(reciprocal);
                Lanes q = x * r;
                q = FusedSum(FusedRemainder(x, q, d), r, q);
                return FusedSum(FusedRemainder(x, q, d), r, q);
            }
        }
#endif
        return x / divisor;
    }

    double divisor;
    double reciprocal;
    bool isModerate;
};

/// to[i] = ((a[i] + before) scaled + after) * gain
template <typename Real, class Scaled>
void ConvertEach(Real* to, const Real* a, double before, double after, double gain, Index count,
                 Scaled scaled) {
    SetEach(to, count, [=]<unsigned kWidth>(Index i) {
        const Vector<kWidth, double> x = Converted<double, kWidth>(LoadVector<kWidth>(a + i)) + before;
        return Converted<Real, kWidth>((scaled.template operator()<kWidth>(x) + after) * gain);
    });
}

template <typename Real>
void Convert(Real* to, const Real* a, const AffineConversion& conversion, double gain, Index count) {
    const auto [before, factor, divides, after] = conversion;
    if (divides) {
        const Divisor divisor(factor);
        ConvertEach(to, a, before, after, gain, count,
                    [=]<unsigned kWidth>(Vector<kWidth, double> x) { return divisor.Quotient<kWidth>(x); });
    } else {
        const double f = factor;
        ConvertEach(to, a, before, after, gain, count,
                    [=]<unsigned kWidth>(Vector<kWidth, double> x) { return x * f; });
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
