// SPDX-License-Identifier: MIT
//
// Units as people type them: plain text without markup ("m/s2", "(m/s2)2/Hz", "degC", "N.m") to and from
// descriptors. Pure functions, independent of the locale and safe from any thread.
//
// The grammar, which docs/units.md explains with examples:
//
//   text     = [ "1" | [ "1/" ] product ]
//   product  = power { operator power }
//   operator = "/" | "." | "*" | "·" | "×" | "・" | a blank
//   power    = ( symbol | "(" product ")" ) [ [ "^" ] [ "-" ] digit ]
//   symbol   = letters and signs of the unit table, or another spelling: "um", "deg", "ft", "Ohm"
//
// Superscripts are digits, U+00B5, U+03BC and "u" are micro, blanks around other operators mean nothing, and
// the markup "#u", "#l" and "#n" is passed over. Products and quotients are taken from left to right. A blank
// is no operator behind a "/", where "J/kg K" may mean either, nor behind "in", which may be English.
//
// A name of several symbols in the unit table is taken whole where that means the same: "m/s2/V" and "m s-2".
// Symbols are looked up as they are written. Only when the text is then no unit is their case forgiven, as
// long as what is then found is one name or converts alike, and as long as the case means nothing: a leading
// "m" never becomes "M" or back, and no prefix or newton in front of a unit is taken for another one ("mG",
// "Ns").
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// Every unit of that name, in the order of the unit table: "g" is an acceleration and a mass. Empty when
/// unknown.
KVX_API std::vector<CUnitCtrl::UNIT_CODE> FindUnit(std::wstring_view plainText);

/// The text without the markup "#u", "#l" and "#n".
KVX_API std::wstring WithoutMarkup(std::wstring_view text);

/// The unit's name with markup, in a language; CUnitCtrl::GetUnitName gives it in the chosen one.
KVX_API std::wstring UnitName(const CUnitCtrl& unit, Language language);

/// The unit's name without markup, which ParseUnit reads: "(m/s2)2/Hz". Degrees and products have the signs
/// that other programs read: "°C", "N·m", and kelvins are "K". Empty for no unit. Without a language it is
/// the suite's own (Japanese) name, as files hold it whatever language was chosen.
KVX_API std::wstring PlainUnitName(const CUnitCtrl& unit, Language language = Language::kJapanese);

/// Reads a unit or a compound of up to four. Empty text and "1" are no unit.
///
/// Of several units of one name the first of the dimension `hint` is taken, else the first in the unit table:
/// without a hint "g" and "G" are accelerations, "rpm" is an angular velocity, "dB" 20 log10 of an amplitude
/// ratio.
///
/// No value for text outside the grammar or of more than 256 characters, when a symbol is unknown or its case
/// means something else, and when more than four members or another power of one than -2, -1, 1 and 2 would
/// be needed.
KVX_API std::optional<CUnitCtrl> ParseUnit(std::wstring_view plainText,
                                           std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

}  // namespace kvx
