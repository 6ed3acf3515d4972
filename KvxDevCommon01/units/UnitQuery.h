// SPDX-License-Identifier: MIT
//
// Questions about units: by which name, of which dimension, what the unit of a density or of a transfer
// function is, which values convert, and what there is to choose from. Pure functions, safe from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/ValConv.h>

namespace kvx {

/// The unit of that name (UTF-8) as ParseUnit reads it. Throws Error: kUnknownName, which suggests near
/// names, when there is none, and kBadValue, which tells the nearest, for one that only ParseEntryUnit reads.
KVX_API CUnitCtrl NamedUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The unit's name for people, UTF-8 without markup; "-" for no unit.
KVX_API std::string UnitText(const CUnitCtrl& unit, Language language = CurrentLanguage());

/// Its name in files, the same in every language: PlainUnitName as UTF-8; "-" for no unit.
KVX_API std::string StoredUnitText(const CUnitCtrl& unit);

/// A heading of a table, "top [m/s2]" or "top (g)", as name and unit; all of it is the name when what the
/// brackets hold is no unit.
struct UnitHeading {
    std::wstring name;
    std::optional<CUnitCtrl> unit = std::nullopt;
    std::wstring unknownUnit = {};  ///< what stands in the place of a unit and is none; never a number
};
KVX_API UnitHeading ParseUnitHeading(std::wstring_view text);

/// The unit squared per hertz: "g2/Hz"; no value for a unit that is no plain single one.
KVX_API std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit);

/// The unit squared: "g2", of mean squares; no value for a unit that is no plain single one.
KVX_API std::optional<CUnitCtrl> SquareUnit(const CUnitCtrl& unit);

/// The response's unit over the reference's; no value when one of them is a compound.
KVX_API std::optional<CUnitCtrl> TransferUnit(const CUnitCtrl& response, const CUnitCtrl& reference);

/// Whether both units are single or compounds of the same dimensions, so that values convert from one to the
/// other.
KVX_API bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b);

/// Whether values of the unit are logarithms (dB, octaves, decades), of which no filter or average is meant.
KVX_API bool IsLogarithmic(const CUnitCtrl& unit);

/// The unit of differences between values of the unit: K for the single "°C" and "°F", whose zeros are places
/// on a scale, and the unit itself for all others.
KVX_API CUnitCtrl DifferenceUnit(const CUnitCtrl& unit);

/// Where the zero of such a scale lies, in kelvin: 273.15 for "°C"; 0 for all other units.
KVX_API double ZeroOf(const CUnitCtrl& unit);

/// A value of one unit in another to which it is convertible; temperatures of single units are absolute. It
/// may be infinite or 0 at the limits of double.
KVX_API double ConvertValue(double value, const CUnitCtrl& from, const CUnitCtrl& to);

/// Two units of which one converts to the other.
struct UnitPair {
    EntryUnit from;
    EntryUnit to;
};
/// The units of these names, be they such that the table lacks; where one of the names means several units,
/// the other one decides. Throws Error: kUnknownName as NamedUnit does, kBadValue when they are of different
/// dimensions.
KVX_API UnitPair NamedUnitPair(std::string_view from, std::string_view to);

/// What a selection list offers in place of the unit: the first member in all units of its dimension.
KVX_API std::vector<CUnitCtrl> UnitsAlike(const CUnitCtrl& unit);

/// The dimension of a unit's first member.
KVX_API CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit);

/// The English name of a dimension: "angular velocity"; empty for an unknown one.
KVX_API std::string DimensionText(CUnitCtrl::DIM_CODE dimension);
/// Its name as the suite's programs show it, UTF-8; empty for an unknown one.
KVX_API std::string DimensionDisplayName(CUnitCtrl::DIM_CODE dimension,
                                         Language language = CurrentLanguage());

/// All dimensions, in the order in which selection lists offer them.
KVX_API std::vector<CUnitCtrl::DIM_CODE> AllDimensions();

/// The dimension that a text names: in English, in Japanese, or by its code "0x00010000"; else
/// those of the units of that name. Empty when it means none.
KVX_API std::vector<CUnitCtrl::DIM_CODE> FindDimensions(std::string_view text);

/// The units of a dimension, ascending by code; empty for an unknown one.
KVX_API std::vector<CUnitCtrl> UnitsOf(CUnitCtrl::DIM_CODE dimension);

/// The amplitude suffix of that name: "none", "0-p", "p-p", "rms" or, for what is customary for the unit,
/// "usual". No value for any other.
KVX_API std::optional<CValConv::UNIT_SUFFIX> FindSuffix(std::string_view name, const CUnitCtrl& unit);

}  // namespace kvx
