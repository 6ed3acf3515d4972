// SPDX-License-Identifier: MIT
//
// What is said of a text that is no unit, or none that values are kept in: which part of it is wrong, and
// what was probably meant. The same sentence wherever a unit is taken.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx::detail {

/// "'psii' is not a unit (did you mean 'psi'?)"; of a compound the part that is none. For text (UTF-8) that
/// neither ParseUnit nor ParseEntryUnit reads.
std::string UnknownUnitText(std::string_view text);

/// What is said of a unit that is read and becomes `nearest`, where values are to be kept in it.
std::string OnlyReadUnitText(std::string_view text, const CUnitCtrl& nearest);

// The names that there are besides those of the table.

/// Other spellings of its symbols: "newton".
std::vector<std::wstring_view> OtherUnitNames();
/// Units that it lacks: "psi".
std::vector<std::wstring_view> ForeignUnitNames();
/// The symbols in a text: "mm" and "sec" of "mm/sec2". More than one, or a power, make a compound of it.
std::vector<std::wstring> SymbolsIn(std::wstring_view text);

}  // namespace kvx::detail
