// SPDX-License-Identifier: MIT
//
// Units as recordings of other makers state them: those of the table, those that the table lacks ("psi",
// "mil", "ips"), and compounds that are a dimension of the table ("mm/s2" is an acceleration, "N/mm2" a
// pressure). The latter become units of the table with a factor, so that what works on their dimension works
// on them. Pure functions, safe from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// A unit of the table, or a compound of such, and what a value in the unit that was stated is multiplied by
/// to be in it.
struct EntryUnit {
    EntryUnit() = default;
    EntryUnit(const CUnitCtrl& of) : unit(of) {}

    CUnitCtrl unit;
    double scale = 1.0;
    std::wstring converted = {};  ///< what was stated, where `unit` is another one
};

/// Reads a unit as ParseUnit does, and besides it units that the table lacks, compounds of two dimensions
/// that are a third one, units with a word for the amplitude ("g rms", which changes no value), squares per
/// hertz and quotients of all these: "(mm/s2)2/Hz", "psi/V". No value for other text.
KVX_API std::optional<EntryUnit> ParseEntryUnit(std::wstring_view text,
                                                std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The unit of that name (UTF-8) as ParseEntryUnit reads it. Throws Error (kUnknownName), which suggests near
/// names, when there is none.
KVX_API EntryUnit NamedEntryUnit(std::string_view text,
                                 std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The same of a unit that values are to be kept in, which is one of the table or a compound of such. Throws
/// Error: kUnknownName, and kBadValue, which tells the nearest that they can be kept in, for one that is only
/// converted from.
KVX_API CUnitCtrl NamedKeptUnit(std::string_view text,
                                std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// A value of one unit in another to which it is convertible, as ConvertValue of single units and compounds.
KVX_API double ConvertValue(double value, const EntryUnit& from, const EntryUnit& to);

}  // namespace kvx
