// SPDX-License-Identifier: MIT
//
// Octave bands, weightings and levels.
#pragma once

#include "arrays.h"

namespace kvx::python {

void BindBands(py::module_& module);

}  // namespace kvx::python
