// SPDX-License-Identifier: MIT
//
// Questions about units: by which name, of which dimension, what the unit of a density or of a transfer
// function is, and whether values convert. Pure functions, safe from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// The unit of that name (UTF-8) as ParseUnit reads it. Throws Error (kUnknownName), which suggests near
/// names, when there is none.
KVX_API CUnitCtrl NamedUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The unit's name for people, UTF-8 without markup; "-" for no unit.
KVX_API std::string UnitText(const CUnitCtrl& unit);

/// A heading of a table, "top [m/s2]" or "top (g)", as name and unit; all of it is the name when what the
/// brackets hold is no unit.
struct UnitHeading {
    std::wstring name;
    std::optional<CUnitCtrl> unit = std::nullopt;
    std::wstring unknownUnit = {};  ///< what stands in the place of a unit and is none; never a number
};
KVX_API UnitHeading ParseUnitHeading(std::wstring_view text);

/// The dimension of a unit's first member.
KVX_API CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit);

/// The English name of a dimension: "angular velocity"; empty for an unknown one.
KVX_API std::string_view DimensionText(CUnitCtrl::DIM_CODE dimension);

/// The unit squared per hertz: "g2/Hz"; no value for a unit that is no plain single one.
KVX_API std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit);

/// The response's unit over the reference's; no value when one of them is a compound.
KVX_API std::optional<CUnitCtrl> TransferUnit(const CUnitCtrl& response, const CUnitCtrl& reference);

/// Whether both units are single or compounds of the same dimensions, so that values convert from one to the
/// other.
KVX_API bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b);

}  // namespace kvx
