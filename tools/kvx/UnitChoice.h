// SPDX-License-Identifier: MIT
//
// Units as the command line and the headings of a table name them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/ValConv.h>

namespace kvx::tool {

/// The unit named by an argument (UTF-8), among several of one name that of `hint`'s dimension. Throws
/// ValueError, which suggests near names, when there is none.
CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The unit's name for people, UTF-8 without markup; "-" for no unit.
std::string UnitText(const CUnitCtrl& unit);

/// The amplitude suffix of that name: none, 0-p, p-p, rms or, for what is customary for the unit, usual.
/// Throws ValueError for any other.
CValConv::UNIT_SUFFIX RequireSuffix(std::string_view name, const CUnitCtrl& unit);

/// The dimension of a unit's first member.
CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit);

/// The English name of a dimension: "angular velocity"; empty for an unknown one.
std::string_view DimensionText(CUnitCtrl::DIM_CODE dimension);

/// A heading of a table, "top [m/s2]" or "top (g)", as name and unit; all of it is the name when what the
/// brackets hold is no unit.
struct Heading {
    std::wstring name;
    std::optional<CUnitCtrl> unit = std::nullopt;
    std::wstring unknownUnit = {};  ///< what stands in the place of a unit and is none; never a number
};
Heading ParseHeading(std::wstring_view text);

/// The unit squared per hertz: "g2/Hz"; no value for a unit that is no plain single one.
std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit);

/// Whether both units are single or compounds of the same dimensions, so that values convert from one to the
/// other.
bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b);

}  // namespace kvx::tool
