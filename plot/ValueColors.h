// SPDX-License-Identifier: MIT
//
// The colours that stand for values in a colour map, from a dark blue by green to a light yellow. Lightness
// grows evenly with the value, so that equal steps look equal, nothing shows an edge where the data have
// none, and the picture can be read in shades of grey and with any kind of colour vision. Safe from any
// thread.
#pragma once

#include <array>
#include <cstddef>

#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

inline constexpr std::size_t kValueColors = 256;

/// All colours, from that of the lowest value to that of the highest.
KVX_PLOT_API const std::array<COLORREF, kValueColors>& ValueColors();

}  // namespace kvx::plot
