// SPDX-License-Identifier: MIT
//
// Test profiles, random signals, sine fits and figures of samples.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include "arrays.h"

namespace kvx::python {

/// A profile, the unit of the signals that it is a density of, where that is known, and its limits.
struct Profile {
    PsdProfile profile;
    std::optional<CUnitCtrl> unit = std::nullopt;
    std::vector<DensityLimit> tolerance = {};
    std::vector<DensityLimit> abort = {};
};

void BindSignals(py::module_& module);

}  // namespace kvx::python
