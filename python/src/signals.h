// SPDX-License-Identifier: MIT
//
// Test profiles, random signals, sine fits and figures of samples.
#pragma once

#include <optional>
#include <string>

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include "arrays.h"

namespace kvx::python {

/// A profile and the unit of the signals that it is a density of, where that is known.
struct Profile {
    PsdProfile profile;
    std::optional<CUnitCtrl> unit = std::nullopt;
};

void BindSignals(py::module_& module);

}  // namespace kvx::python
