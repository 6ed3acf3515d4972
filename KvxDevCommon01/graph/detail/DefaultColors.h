// SPDX-License-Identifier: MIT
//
// The built-in colour schemes of graphs: two for the display, on black and on white ground, one for the
// printer.
#pragma once

#include <KvxDevCommon01/graph/GraphColorInfo.h>

namespace kvx::detail {

enum class ColorScheme { onBlack, onWhite, printer };

/// Width of every line, in points.
inline constexpr double kDefaultPoint = 0.8;

/// The complete set of a scheme.
GRAPH_COLOR_INFO_TAG DefaultColors(ColorScheme scheme);

}  // namespace kvx::detail
