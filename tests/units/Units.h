// SPDX-License-Identifier: MIT
//
// Short ways to write descriptors in tests.
#pragma once

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>
#include <KvxDevCommon01/units/UnitNames.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace kvx::units;
using enum CUnitCtrl::DIM_CODE;

// Units and flags that many tests take, in short.
inline constexpr auto kAcc = kMetrePerSecondSquared, kG = kStandardGravity, kMmPerSec = kMillimetrePerSecond,
                      kVel = kMetrePerSecond, kMm = kMillimetre, kHz = kHertz;
inline constexpr auto kSquared = CUnitCtrl::CALC_SQUARED, kDivide = CUnitCtrl::CALC_DIVIDE;

// Codes that are not in the tables.
inline constexpr auto kUnknownUnit = CUnitCtrl::UNIT_CODE{0x00010063};
inline constexpr auto kUnknownDimension = CUnitCtrl::DIM_CODE{0x19000000};

/// A descriptor built from all four members.
inline CUnitCtrl Make(kvx::UnitPart a, kvx::UnitPart b = {}, kvx::UnitPart c = {}, kvx::UnitPart d = {}) {
    return {a.unit, a.calc, b.unit, b.calc, c.unit, c.calc, d.unit, d.calc};
}

inline CUnitCtrl Single(CUnitCtrl::UNIT_CODE unit) {
    return Make({unit});
}

struct Info {
    kvx::UnitPart members[4];
    int single = 1;
    bool operator==(const Info&) const = default;
};

inline Info InfoOf(const CUnitCtrl& unit) {
    Info info;
    auto& [a, b, c, d] = info.members;
    unit.GetInfo(&a.unit, &a.calc, &info.single, &b.unit, &b.calc, &c.unit, &c.calc, &d.unit, &d.calc);
    return info;
}

inline std::wstring NameOf(const CUnitCtrl& unit) {
    CString name;
    unit.GetUnitName(&name);
    return name;
}

inline std::vector<CUnitCtrl> UnitsOf(const CUnitCtrlList& list) {
    std::vector<CUnitCtrl> units(static_cast<std::size_t>(list.GetNum()));
    for (std::size_t i = 0; i < units.size(); ++i) list.GetUnit(static_cast<__int64>(i), &units[i]);
    return units;
}

/// Every dimension, in the order of the selection lists.
inline const std::vector<CUnitCtrl::DIM_CODE> kDimensions = {DIM_ACCELERATION,
                                                             DIM_VELOCITY,
                                                             DIM_DISPLACEMENT,
                                                             DIM_FORCE,
                                                             DIM_STRAIN,
                                                             DIM_ANGULAR_VELOCITY,
                                                             DIM_ANGULAR_ACCELERATION,
                                                             DIM_PRESSURE,
                                                             DIM_TIME,
                                                             DIM_FREQUENCY,
                                                             DIM_CHARGE,
                                                             DIM_VOLTAGE,
                                                             DIM_TEMPERATURE,
                                                             DIM_RATIO,
                                                             DIM_ANGLE,
                                                             DIM_CYCLES,
                                                             DIM_COUNT,
                                                             DIM_CURRENT,
                                                             DIM_RESISTANCE,
                                                             DIM_STANDARD_DEVIATION,
                                                             DIM_MASS,
                                                             DIM_HEAT,
                                                             DIM_POWER,
                                                             DIM_TORQUE,
                                                             DIM_MOMENT_OF_INERTIA,
                                                             DIM_CAPACITANCE,
                                                             DIM_CONDUCTANCE,
                                                             DIM_INDUCTANCE,
                                                             DIM_MAGNETIC_FLUX,
                                                             DIM_MAGNETIC_FLUX_DENSITY,
                                                             DIM_ENGINEERING_UNIT,
                                                             DIM_NONE};

/// Every unit of the table.
inline std::vector<CUnitCtrl> AllUnits() {
    std::vector<CUnitCtrl> all;
    CUnitCtrlList list;
    for (const CUnitCtrl::DIM_CODE dim : kDimensions) {
        list.MakeSingleUnitListByDimCode(dim);
        for (const CUnitCtrl& unit : UnitsOf(list)) all.push_back(unit);
    }
    return all;
}
