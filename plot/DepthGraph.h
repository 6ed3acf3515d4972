// SPDX-License-Identifier: MIT
//
// Waterfalls and colour maps of the suite as pictures: parameters, scales and settings together with the
// samples of all slices become depth charts in panes.
#pragma once

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Graph.h>

namespace kvx::plot {

/// Draws a waterfall or colour map over the whole canvas, with a pane for each series. The content's `series`
/// are the slices: all of the first series of the parameters, then all of the next. Only those that the
/// scales ask for are drawn.
///
/// 0, with nothing drawn, when a pointer is null, the parameters or scales fail their Check or are not both
/// those of the same kind of depth, the slices are not as many as the parameters say or one has no samples to
/// its count, none of them is to be drawn, or the graph's kind draws values over values.
KVX_PLOT_API int DrawDepthGraph(const GraphView& view, Canvas& canvas);

}  // namespace kvx::plot
