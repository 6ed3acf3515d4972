// SPDX-License-Identifier: MIT
//
// Short ways to write descriptors in tests.
#pragma once

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>

#include <cstdint>
#include <string>
#include <vector>

inline CUnitCtrl::UNIT_CODE Unit(std::uint32_t code) {
    return static_cast<CUnitCtrl::UNIT_CODE>(code);
}
inline CUnitCtrl::UNIT_CALC Calc(std::uint32_t flags) {
    return static_cast<CUnitCtrl::UNIT_CALC>(flags);
}
inline CUnitCtrl::DIM_CODE Dim(std::uint32_t code) {
    return static_cast<CUnitCtrl::DIM_CODE>(code);
}

struct MemberValue {
    std::uint32_t unit = 0x0F000001;
    std::uint32_t calc = 0x001;
    bool operator==(const MemberValue&) const = default;
};

// Units that many tests take, by their names.
inline constexpr std::uint32_t kAcc = 0x00010004, kG = 0x00010007, kMmPerSec = 0x00020001, kVel = 0x00020004,
                               kMm = 0x00030001, kSec = 0x01000003, kHz = 0x02000001, kMilliVolt = 0x04000001,
                               kVolt = 0x04000002, kCelsius = 0x05000002, kAmpere = 0x0B000002;

/// A descriptor built from all four members.
inline CUnitCtrl Make(MemberValue a, MemberValue b = {}, MemberValue c = {}, MemberValue d = {}) {
    return {Unit(a.unit), Calc(a.calc), Unit(b.unit), Calc(b.calc),
            Unit(c.unit), Calc(c.calc), Unit(d.unit), Calc(d.calc)};
}

inline CUnitCtrl Single(std::uint32_t unit) {
    return Make({unit});
}

struct Info {
    MemberValue members[4];
    int single = 1;
    bool operator==(const Info&) const = default;
};

inline Info InfoOf(const CUnitCtrl& unit) {
    CUnitCtrl::UNIT_CODE u[4];
    CUnitCtrl::UNIT_CALC c[4];
    int single = -1;
    unit.GetInfo(&u[0], &c[0], &single, &u[1], &c[1], &u[2], &c[2], &u[3], &c[3]);
    return {{{u[0], c[0]}, {u[1], c[1]}, {u[2], c[2]}, {u[3], c[3]}}, single};
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

/// Every dimension code, in the order of the selection lists.
inline const std::vector<std::uint32_t> kDimensions = {
    0x00010000, 0x00020000, 0x00030000, 0x00040000, 0x00050000, 0x00060000, 0x00070000, 0x00080000,
    0x01000000, 0x02000000, 0x03000000, 0x04000000, 0x05000000, 0x06000000, 0x07000000, 0x08000000,
    0x0A000000, 0x0B000000, 0x0C000000, 0x0D000000, 0x0E000000, 0x10000000, 0x11000000, 0x12000000,
    0x13000000, 0x14000000, 0x15000000, 0x16000000, 0x17000000, 0x18000000, 0x09000000, 0x0F000000};

/// Every unit of the table.
inline std::vector<CUnitCtrl> AllUnits() {
    std::vector<CUnitCtrl> all;
    CUnitCtrlList list;
    for (const std::uint32_t dim : kDimensions) {
        list.MakeSingleUnitListByDimCode(Dim(dim));
        for (const CUnitCtrl& unit : UnitsOf(list)) all.push_back(unit);
    }
    return all;
}
