// SPDX-License-Identifier: MIT
//
// Units as people type them: plain text without markup ("m/s2", "(m/s2)2/Hz", "degC", "N.m") to and from
// descriptors. Pure functions, independent of the locale and safe from any thread.
//
// A name is looked up as it is written, in the unit table and among common other spellings ("um", "deg",
// "ft", "Ohm"). Only when that finds nothing is its case forgiven, as long as what is then found is one name
// or converts alike. Case never turns a leading "m" into "M" or back: a milli must not become a mega.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// Every unit of that name, in the order of the unit table: "g" is an acceleration and a mass. Empty when
/// unknown.
KVX_API std::vector<CUnitCtrl::UNIT_CODE> FindUnit(std::wstring_view plainText);

/// The text without the markup "#u", "#l" and "#n".
KVX_API std::wstring WithoutMarkup(std::wstring_view text);

/// The unit's name without markup: "(m/s2)2/Hz". Empty for no unit.
KVX_API std::wstring PlainUnitName(const CUnitCtrl& unit);

/// Reads a unit or a compound of up to four: names joined by "/" or by "*", "." or a middle dot; a square as
/// "2", "^2" or a superscript two; parentheses; "1/" for a reciprocal. Empty text or "1" is no unit. Products
/// and quotients are taken from left to right, but a name of the unit table stays whole where that means the
/// same: "m/s2/V".
///
/// Of several units of one name the first of the dimension `hint` is taken, else the first in the unit table:
/// without a hint "g" and "G" are accelerations, "rpm" is an angular velocity, "dB" 20 log10 of an amplitude
/// ratio.
///
/// No value when a name is unknown or its case ambiguous, when more than four members or a power above two
/// would be needed, and for text of more than 256 characters.
KVX_API std::optional<CUnitCtrl> ParseUnit(std::wstring_view plainText,
                                           std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

}  // namespace kvx
