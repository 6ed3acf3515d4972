// SPDX-License-Identifier: MIT
//
// Graphs of recordings, records and spectra as pictures: kvx.Graph.
#pragma once

#include "arrays.h"

namespace kvx::python {

void BindPlot(py::module_& module);

}  // namespace kvx::python
