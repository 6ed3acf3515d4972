// SPDX-License-Identifier: MIT
//
// Reference values of levels in decibels: L = 10 lg(x^2/x0^2) dB. Those of ISO 1683:2015 for the dimensions
// that it knows; for all others, and for what is not a single unit, one shown unit.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

struct LevelReference {
    double value = 1.0;     ///< in the standard unit of its dimension
    std::string text = {};  ///< "20 µPa"
};

/// The customary reference for values in a unit.
KVX_API LevelReference LevelReferenceOf(const CUnitCtrl& unit);

/// The level of a mean square of standard units, in dB; minus infinity of 0.
KVX_API double LevelOf(double meanSquare, const LevelReference& reference);

/// A row of the table of customary references.
struct CustomaryReference {
    CUnitCtrl::DIM_CODE dimension;
    double value;
    std::string_view text;
};
KVX_API std::span<const CustomaryReference> CustomaryReferences();

}  // namespace kvx
