// SPDX-License-Identifier: MIT
//
// The arithmetic of unit conversion on a block of values. Whatever depends on the unit alone is decided
// outside the loops, so that the usual kinds run as plain vector loops; a block of one value gives the bits
// of any longer one.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

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

// The quotient is formed first and dropped afterwards: a choice between two values vectorises, a branch does
// not.
inline double ZeroIf(bool guard, double value) {
    return guard ? 0.0 : value;
}

template <typename Formula>
void ReplaceEach(std::span<double> values, Formula formula) {
    for (double& x : values) x = formula(x);
}

inline void RowToUnit(const UnitRow& row, std::span<double> values) {
    const double f = row.factor;
    const double o = row.offset;
    const bool noF = f == 0.0;
    switch (row.kind) {
        using enum UnitKind;
        case same:
            return;
        case times:
            return ReplaceEach(values, [=](double x) { return x * f; });
        case over:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, x / f); });
        case reciprocal:
            return ReplaceEach(values, [=](double x) { return x == 0.0 ? x : 1.0 / x; });
        case reciprocalTimes:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF || x == 0.0, 1.0 / (f * x)); });
        case reciprocalOver:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF || x == 0.0, 1.0 / x / f); });
        case timesPlus:
            return ReplaceEach(values, [=](double x) { return x * f + o; });
        case overPlus:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, x / f + o); });
        case plusTimes:
            return ReplaceEach(values, [=](double x) { return (x + o) * f; });
        case plusOver:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, (x + o) / f); });
        case logarithm:
            return ReplaceEach(values, [=](double x) { return ZeroIf(x == 0.0, f * std::log10(x)); });
        case logarithmOfRatio:
            return ReplaceEach(
                values, [=](double x) { return ZeroIf(noF || o == 0.0 || x == 0.0, std::log10(x / o) / f); });
        case logarithmToBase:
            return ReplaceEach(
                values, [=](double x) { return ZeroIf(noF || x == 0.0, std::log10(x) / std::log10(f)); });
    }
}

inline void RowToStandard(const UnitRow& row, std::span<double> values) {
    const double f = row.factor;
    const double o = row.offset;
    const bool noF = f == 0.0;
    switch (row.kind) {
        using enum UnitKind;
        case same:
            return;
        case times:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, x / f); });
        case over:
            return ReplaceEach(values, [=](double x) { return x * f; });
        case reciprocal:
            return ReplaceEach(values, [=](double x) { return x == 0.0 ? x : 1.0 / x; });
        case reciprocalTimes:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF || x == 0.0, 1.0 / (x / f)); });
        case reciprocalOver:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF || x == 0.0, 1.0 / (f * x)); });
        case timesPlus:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, (x - o) / f); });
        case overPlus:
            return ReplaceEach(values, [=](double x) { return (x - o) * f; });
        case plusTimes:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, x / f - o); });
        case plusOver:
            return ReplaceEach(values, [=](double x) { return x * f - o; });
        case logarithm:
            return ReplaceEach(values, [=](double x) { return ZeroIf(noF, std::pow(10.0, x / f)); });
        case logarithmOfRatio:
            return ReplaceEach(values, [=](double x) { return std::pow(10.0, x * f) * o; });
        case logarithmToBase:
            return ReplaceEach(values, [=](double x) { return std::pow(f, x); });
    }
}

inline void ConvertByRow(const UnitRow& row, Direction direction, std::span<double> values) {
    if (direction == Direction::toUnit) {
        RowToUnit(row, values);
    } else {
        RowToStandard(row, values);
    }
}

/// Converts at most kConversionBlock values by one member. A plain member is its unit's conversion; any other
/// acts by the ratio k of the converted to the given value, squared or divided by as its flags tell.
inline void ConvertByMember(const ConversionStep& step, Direction direction, std::span<double> values) {
    if (step.calc == CUnitCtrl::CALC_PLAIN) return ConvertByRow(step.row, direction, values);

    std::array<double, kConversionBlock> ratios;
    std::ranges::copy(values, ratios.begin());
    ConvertByRow(step.row, direction, std::span(ratios).first(values.size()));
    const bool squared = (step.calc & CUnitCtrl::CALC_SQUARED) != 0;
    const bool divide = (step.calc & CUnitCtrl::CALC_DIVIDE) != 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = values[i];
        const double ratio = ZeroIf(x == 0.0, ratios[i] / x);
        const double k = squared ? ratio * ratio : ratio;
        values[i] = divide ? ZeroIf(k == 0.0, x / k) : x * k;
    }
}

/// Converts `num` values by the steps in their order and multiplies the results by `gain`. All arithmetic is
/// double.
template <typename Real>
void ConvertAll(std::span<const ConversionStep> steps, Direction direction, const Real* src, Real* dst,
                std::size_t num, double gain) {
    std::array<double, kConversionBlock> block;
    for (std::size_t start = 0; start < num; start += kConversionBlock) {
        const auto values = std::span(block).first(std::min(kConversionBlock, num - start));
        std::copy_n(src + start, values.size(), values.begin());
        for (const ConversionStep& step : steps) ConvertByMember(step, direction, values);
        std::ranges::transform(values, dst + start, [=](double x) { return static_cast<Real>(x * gain); });
    }
}

}  // namespace kvx::detail
