// SPDX-License-Identifier: MIT
//
// The unit table and the dimension table: read-only, computed by the compiler, safe from any thread.
#pragma once

#include <cstdint>
#include <span>

#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx::detail {

/// How a unit's value y follows from the value x in the standard unit of its dimension, with factor f and
/// offset o.
enum class UnitKind : std::uint8_t {
    same = 1,               ///< y = x
    times = 2,              ///< y = x f
    over = 3,               ///< y = x / f
    reciprocal = 4,         ///< y = 1 / x
    reciprocalTimes = 5,    ///< y = 1 / (f x), back 1 / (y / f): by convention no inverse unless f is 1
    reciprocalOver = 6,     ///< y = 1 / x / f, back x = 1 / (f y)
    timesPlus = 7,          ///< y = x f + o
    overPlus = 8,           ///< y = x / f + o
    plusTimes = 9,          ///< y = (x + o) f
    plusOver = 10,          ///< y = (x + o) / f
    logarithm = 11,         ///< y = f log10 x
    logarithmOfRatio = 12,  ///< y = log10(x / o) / f
    logarithmToBase = 13,   ///< y = log10 x / log10 f
};

struct UnitRow {
    CUnitCtrl::UNIT_CODE code;
    unsigned int nameId;  ///< display name in the string table
    UnitKind kind;
    double factor = 1.0;
    double offset = 0.0;
};

struct DimensionRow {
    CUnitCtrl::DIM_CODE code;
    CUnitCtrl::UNIT_CODE standardUnit;
    bool controlAvailable;
    bool measurementAvailable;
    unsigned int nameId;  ///< display name in the string table
};

constexpr CUnitCtrl::DIM_CODE DimensionOf(CUnitCtrl::UNIT_CODE unit) {
    return CUnitCtrl::DIM_CODE{unit & 0xFFFF0000};
}

/// All units, ascending by code.
std::span<const UnitRow> Units();
/// The units of a dimension, ascending by code; empty for an unknown one.
std::span<const UnitRow> UnitsOfDimension(CUnitCtrl::DIM_CODE dimension);
/// The row of a unit; null for an unknown code.
const UnitRow* FindUnitRow(CUnitCtrl::UNIT_CODE code);

/// All dimensions, in the order in which selection lists offer them.
std::span<const DimensionRow> Dimensions();
/// The row of a dimension; null for an unknown code.
const DimensionRow* FindDimensionRow(CUnitCtrl::DIM_CODE code);

}  // namespace kvx::detail
