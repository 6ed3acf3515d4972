// SPDX-License-Identifier: MIT
//
// Units as the command line and the headings of a table name them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx::tool {

/// The unit named by an argument (UTF-8), among several of one name that of `hint`'s dimension. Throws
/// ValueError, which suggests near names, when there is none.
CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The unit's name for people, UTF-8 without markup; "-" for no unit.
std::string UnitText(const CUnitCtrl& unit);

/// A heading of a table, "top [m/s2]" or "top (g)", as name and unit; all of it is the name when what the
/// brackets hold is no unit.
struct Heading {
    std::wstring name;
    std::optional<CUnitCtrl> unit = std::nullopt;
    std::string unknownUnit = {};  ///< the text of a unit stated elsewhere that is not known
};
Heading ParseHeading(std::wstring_view text);

/// The unit squared per hertz: "g2/Hz"; no value for a unit that is no plain single one.
std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit);

/// Whether both units are single or compounds of the same dimensions, so that values convert from one to the
/// other.
bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b);

}  // namespace kvx::tool
