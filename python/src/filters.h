// SPDX-License-Identifier: MIT
//
// Filters and changes of the rate, of arrays and of what comes in pieces, and the design of filters.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/IirDesign.h>

#include "arrays.h"

namespace kvx::python {

void BindFilters(py::module_& module);
void BindFilterDesign(py::module_& module);

/// fs, which must be above 0; throws Error.
double RequireRate(double fs);

/// A filter by SciPy's names; throws Error.
IirFilter IirOf(IirFilter::Family family, std::int32_t order, const ArrayLike& corners,
                const std::string& btype, std::optional<double> ripple = std::nullopt,
                std::optional<double> attenuation = std::nullopt);

/// The name of a family ("chebyshev1"); throws Error.
IirFilter::Family FamilyOf(const std::string& name);
/// The norm of a Bessel filter by SciPy's name; throws Error.
IirFilter::BesselNorm NormOf(const std::string& norm);

/// Rows of SciPy's second-order sections, and back; throws Error.
py::array_t<double> SosArray(const std::vector<Biquad>& sections);
std::vector<Biquad> SectionsOf(const py::object& sos);

}  // namespace kvx::python
