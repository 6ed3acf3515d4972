// SPDX-License-Identifier: MIT
//
// The arithmetic of unit conversion on a block of values. Whatever depends on the unit alone is decided
// outside the loops, so that the usual kinds run in kernels; a block of one value gives the bits of any
// longer one.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <optional>
#include <span>

#include <KvxDevCommon01/data/kernels/ElementKernels.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace kvx::detail {

enum class Direction { toUnit, toStandard };

/// Longest block of one call, in values; two of them fit a first-level cache.
inline constexpr std::size_t kConversionBlock = 1024;

/// A member of a descriptor as a conversion needs it.
struct ConversionStep {
    UnitRow row;
    CUnitCtrl::UNIT_CALC calc;
};

/// The conversions that are sums and products, as the kernels take them; none for the other kinds.
inline std::optional<AffineConversion> AffineToUnit(const UnitRow& row) {
    constexpr double kNothing = -0.0;
    switch (row.kind) {
        using enum UnitKind;
        case same:
            return AffineConversion{};
        case times:
            return AffineConversion{kNothing, row.factor, false, kNothing};
        case over:
            return AffineConversion{kNothing, row.factor, true, kNothing};
        case timesPlus:
            return AffineConversion{kNothing, row.factor, false, row.offset};
        case overPlus:
            return AffineConversion{kNothing, row.factor, true, row.offset};
        case plusTimes:
            return AffineConversion{row.offset, row.factor, false, kNothing};
        case plusOver:
            return AffineConversion{row.offset, row.factor, true, kNothing};
        default:
            return std::nullopt;
    }
}

inline std::optional<AffineConversion> AffineOf(const UnitRow& row, Direction direction) {
    const auto toUnit = AffineToUnit(row);
    if (!toUnit || row.kind == UnitKind::same || direction == Direction::toUnit) return toUnit;
    const auto takenBack = [](double added) { return added == 0.0 ? added : -added; };
    const bool divides = !toUnit->divides && toUnit->factor != 1.0;
    return AffineConversion{takenBack(toUnit->after), toUnit->factor, divides, takenBack(toUnit->before)};
}

// The quotient is formed first and dropped afterwards: a choice between two values vectorises, a branch does
// not.
inline double ZeroIf(bool guard, double value) {
    return guard ? 0.0 : value;
}

template <typename Formula>
void ReplaceEach(std::span<double> values, Formula formula) {
    for (double& x : values) x = formula(x);
}

/// The other kinds. The factor is never 0, which the unit table checks.
inline void CurveToUnit(const UnitRow& row, std::span<double> values) {
    const double f = row.factor;
    const double o = row.offset;
    switch (row.kind) {
        using enum UnitKind;
        case reciprocal:
            return ReplaceEach(values, [=](double x) { return x == 0.0 ? x : 1.0 / x; });
        case reciprocalTimes:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, 1.0 / (f * x)); });
        case reciprocalOver:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, 1.0 / x / f); });
        case logarithm:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, f * std::log10(x)); });
        case logarithmOfRatio:
            return ReplaceEach(values,
                               [=](double x) { return ZeroIf(o == 0.0 || x == 0.0, std::log10(x / o) / f); });
        case logarithmToBase:
            return ReplaceEach(values,
                               [=](double x) { return ZeroIf(x == 0.0, std::log10(x) / std::log10(f)); });
        default:
            return;
    }
}

inline void CurveToStandard(const UnitRow& row, std::span<double> values) {
    const double f = row.factor;
    const double o = row.offset;
    switch (row.kind) {
        using enum UnitKind;
        case reciprocal:
            return ReplaceEach(values, [=](double x) { return x == 0.0 ? x : 1.0 / x; });
        case reciprocalTimes:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, 1.0 / (x / f)); });
        case reciprocalOver:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, 1.0 / (f * x)); });
        case logarithm:
            return ReplaceEach(values, [=](double x) { return std::pow(10.0, x / f); });
        case logarithmOfRatio:
            return ReplaceEach(values, [=](double x) { return std::pow(10.0, x * f) * o; });
        case logarithmToBase:
            return ReplaceEach(values, [=](double x) { return std::pow(f, x); });
        default:
            return;
    }
}

inline void ConvertByRow(const UnitRow& row, Direction direction, std::span<double> values) {
    if (const auto affine = AffineOf(row, direction)) {
        ActiveKernels<ElementKernels>().convert(values.data(), values.data(), *affine, 1.0,
                                                std::ssize(values));
    } else if (direction == Direction::toUnit) {
        CurveToUnit(row, values);
    } else {
        CurveToStandard(row, values);
    }
}

/// Converts at most kConversionBlock values by one member. A plain member is its unit's conversion; any other
/// acts by the ratio of the converted to the given value, squared or divided by as its flags tell.
inline void ConvertByMember(const ConversionStep& step, Direction direction, std::span<double> values) {
    if (step.calc == CUnitCtrl::CALC_PLAIN) return ConvertByRow(step.row, direction, values);

    std::array<double, kConversionBlock> converted;
    std::ranges::copy(values, converted.begin());
    ConvertByRow(step.row, direction, std::span(converted).first(values.size()));
    const RatioUse use{(step.calc & CUnitCtrl::CALC_SQUARED) != 0, (step.calc & CUnitCtrl::CALC_DIVIDE) != 0};
    ActiveKernels<ElementKernels>().actByRatio(values.data(), converted.data(), use, std::ssize(values));
}

inline void ConvertRun(double* to, const double* from, const AffineConversion& conversion, double gain,
                       __int64 count) {
    ActiveKernels<ElementKernels>().convert(to, from, conversion, gain, count);
}
inline void ConvertRun(float* to, const float* from, const AffineConversion& conversion, double gain,
                       __int64 count) {
    ActiveKernels<ElementKernels>().convertFloat(to, from, conversion, gain, count);
}

/// Converts `num` values by the steps in their order and multiplies the results by `gain`. All arithmetic is
/// double.
template <typename Real>
void ConvertAll(std::span<const ConversionStep> steps, Direction direction, const Real* src, Real* dst,
                std::size_t num, double gain) {
    const auto leavesAll = [](const ConversionStep& step) {
        return step.row.kind == UnitKind::same && step.calc == CUnitCtrl::CALC_PLAIN;
    };
    if (src == dst && gain == 1.0 && std::ranges::all_of(steps, leavesAll)) return;
    if (steps.size() == 1 && steps[0].calc == CUnitCtrl::CALC_PLAIN) {
        if (const auto affine = AffineOf(steps[0].row, direction))
            return ConvertRun(dst, src, *affine, gain, static_cast<__int64>(num));
    }
    std::array<double, kConversionBlock> block;
    for (std::size_t start = 0; start < num; start += kConversionBlock) {
        const auto values = std::span(block).first(std::min(kConversionBlock, num - start));
        std::copy_n(src + start, values.size(), values.begin());
        for (const ConversionStep& step : steps) ConvertByMember(step, direction, values);
        std::ranges::transform(values, dst + start, [=](double x) { return static_cast<Real>(x * gain); });
    }
}

}  // namespace kvx::detail
