// SPDX-License-Identifier: MIT
//
// Filters and changes of the rate, of arrays and of what comes in pieces.
#pragma once

#include "arrays.h"

namespace kvx::python {

void BindFilters(py::module_& module);

}  // namespace kvx::python
