// SPDX-License-Identifier: MIT
//
// Shock response spectra of arrays, all at once or as they come, and of recordings, and the pulses of shock
// tests.
#pragma once

#include "arrays.h"

namespace kvx::python {

/// After BindRecordings, whose class gets functions of its own here.
void BindShock(py::module_& module);

}  // namespace kvx::python
