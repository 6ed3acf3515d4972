// SPDX-License-Identifier: MIT
//
// Units of Python: kvx.Unit, and what is taken for one.
#pragma once

#include <optional>
#include <string>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "arrays.h"

namespace kvx::python {

/// A Unit, or the unit of a name; None is no unit. Throws Error for an unknown name.
CUnitCtrl UnitOf(const py::object& unit, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);
/// The same, of names that the table lacks as well, with the factor to a unit of the table.
EntryUnit EntryUnitOf(const py::object& unit, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);
/// A unit as text that reads back: "g2/Hz".
std::string NameOf(const CUnitCtrl& unit);
/// A dimension by its name; none of None. Throws Error for an unknown name and for one of several.
std::optional<CUnitCtrl::DIM_CODE> DimensionNamed(const std::optional<std::string>& name);

/// Samples between the standard unit and another one, in place; missing values stay missing. Temperatures of
/// samples are absolute.
void ToShown(const CUnitCtrl& unit, std::span<double> samples, bool areAbsolute);
void ToStandard(const CUnitCtrl& unit, std::span<double> samples, bool areAbsolute);
/// The no-value marker becomes NaN, and NaN the marker.
void MarkMissing(std::span<double> samples);
void UnmarkMissing(std::span<double> samples);

void BindUnits(py::module_& module);

}  // namespace kvx::python
