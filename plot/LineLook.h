// SPDX-License-Identifier: MIT
//
// What the numbers of line and mark settings look like on a picture.
#pragma once

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

/// The setting with which `colors` draws a kind of data line; no marks are shown.
KVX_PLOT_API CKvxGraphLineSample LineSampleOf(const CGraphColorInfo& colors,
                                              CGraphColorInfo::DATALINE_KIND line,
                                              CGraphColorInfo::OUTPUT_KIND output);

/// The pen of a setting's line: as wide as its thickness says on the display (0.75, 1.5 or 3 points), on the
/// printer as its width says.
KVX_PLOT_API Pen LinePen(const CKvxGraphLineSample& look, CGraphColorInfo::OUTPUT_KIND output,
                         double pointLength);

/// Draws the mark of a setting at each point of `places`; nothing for the shape 0 and unknown ones.
KVX_PLOT_API void DrawMarks(Canvas& canvas, const Path& places, const CKvxGraphLineSample& look);

}  // namespace kvx::plot
