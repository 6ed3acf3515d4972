// SPDX-License-Identifier: MIT
//
// kvx::units: the codes of all units by name, for whatever takes a unit code, as in
// kvx::SingleUnit(kvx::units::kHertz). UnitNames.inl lists them with their display names. Names are singular
// and spelled out. Where the table has a unit in several spellings, the usual one has the plain name (kSecond
// is "s") and the others tell how they are written (kSec is "sec", kGalUppercase is "GAL").
#pragma once

#include <array>

#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx::units {

#define KVX_UNIT(name, code) inline constexpr CUnitCtrl::UNIT_CODE name{code};
#include <KvxDevCommon01/units/UnitNames.inl>
#undef KVX_UNIT

/// All of them, ascending by code.
inline constexpr auto kAll = std::to_array<CUnitCtrl::UNIT_CODE>({
#define KVX_UNIT(name, code) name,
#include <KvxDevCommon01/units/UnitNames.inl>
#undef KVX_UNIT
});

}  // namespace kvx::units
