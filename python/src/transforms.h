// SPDX-License-Identifier: MIT
//
// Windows and transforms of arrays.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <KvxDevCommon01/dsp/Blocks.h>

#include "arrays.h"

namespace kvx::python {

/// How the functions that cut signals into blocks are told so, as SciPy calls it.
struct Cutting {
    std::vector<double> window;
    std::int64_t overlap = 0;
};
/// A window by its name, by (name, numbers), or by its samples, of `size` of them; the overlap is half a
/// block without a choice. Throws Error.
Cutting CuttingOf(const py::object& window, std::optional<std::int64_t> size,
                  std::optional<std::int64_t> overlap);

void BindTransforms(py::module_& module);

}  // namespace kvx::python
