// SPDX-License-Identifier: MIT
//
// The inner loops of element-wise arithmetic. Products and sums are rounded one by one, so that all sets give
// the same bits.
#pragma once

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <cstdint>

namespace kvx {

/// The conversion ((x + before) * factor + after) * gain, or with x + before divided by the factor. The
/// absent number to add is -0.0, which changes no bit.
struct AffineConversion {
    double before = -0.0;
    double factor = 1.0;
    bool divides = false;
    double after = -0.0;
};

/// How the ratio of a converted value to the value acts on the value.
struct RatioUse {
    bool squared;
    bool divides;
};

/// The loops of one instruction set over `count` elements, which need no alignment. `to` may be one of the
/// operands, and may overlap them as long as it begins before them.
struct ElementKernels {
    using OfTwo = void(double* to, const double* a, const double* b, std::int64_t count);
    OfTwo* add;
    OfTwo* multiply;
    OfTwo* divide;
    OfTwo* divideUnlessByZero;  ///< a / b, and a where b is 0
    OfTwo* larger;              ///< b where it is above a, else a
    OfTwo* smaller;             ///< b where it is below a, else a

    using OfNumber = void(double* to, const double* a, double k, std::int64_t count);
    OfNumber* addNumber;
    OfNumber* scale;

    /// a + b * k
    void (*addScaled)(double* to, const double* a, const double* b, double k, std::int64_t count);
    /// `low` where a is below it, `high` where it is above that
    void (*clip)(double* to, const double* a, double low, double high, std::int64_t count);
    /// The square root, 0 where a is not above 0
    void (*squareRoot)(double* to, const double* a, std::int64_t count);

    // Conversions between precisions keep the no-value marker. These do not work in place.
    void (*narrow)(float* to, const double* a, std::int64_t count);
    void (*widen)(double* to, const float* a, std::int64_t count);

    // Units. All arithmetic is double.
    void (*convert)(double* to, const double* a, const AffineConversion& conversion, double gain,
                    std::int64_t count);
    void (*convertFloat)(float* to, const float* a, const AffineConversion& conversion, double gain,
                         std::int64_t count);
    /// Multiplies (or divides) each value by its ratio of converted to given value, or by the square of it.
    /// The ratio of 0 is 0, and so is a quotient by 0.
    void (*actByRatio)(double* values, const double* converted, const RatioUse& use, std::int64_t count);
};

KVX_DECLARE_KERNELS(ElementKernels)

}  // namespace kvx
