// SPDX-License-Identifier: MIT
//
// Windows and transforms of arrays.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/dsp/Blocks.h>

#include "arrays.h"

namespace kvx::python {

/// How the functions that cut signals into blocks are told so, as SciPy calls it.
struct Cutting {
    std::vector<double> window;
    std::int64_t overlap = 0;
    Averaging averaging = {};

    /// Points of the transforms, and their lines.
    std::size_t Points() const {
        const auto points = static_cast<std::size_t>(averaging.transformSize);
        return points > 0 ? points : window.size();
    }
    std::size_t Lines() const { return Points() / 2 + (averaging.hasMiddleLine ? 1 : 0); }
};
/// A window by its name, by (name, numbers), or by its samples, of `size` of them; the overlap is half a
/// block without a choice. Throws Error.
Cutting CuttingOf(const py::object& window, std::optional<std::int64_t> size,
                  std::optional<std::int64_t> overlap, const Averaging& averaging = {});

/// False, None or the name of what is taken out of each block.
using DetrendLike = std::optional<std::variant<bool, std::string>>;
Detrend DetrendOf(const DetrendLike& detrend);

void BindTransforms(py::module_& module);

}  // namespace kvx::python
