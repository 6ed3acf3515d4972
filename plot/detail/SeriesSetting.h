// SPDX-License-Identifier: MIT
//
// What the parameters of a graph that pass their Check say of one of its series.
#pragma once

#include <string>

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphLineInfo.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxPlot01/GraphContent.h>

namespace kvx::plot::detail {

/// Whether there are samples, and for each as much as for every other.
bool IsComplete(const GraphSeries& series);

/// Whether it is a cell of the data; the others accompany every pane.
bool IsCell(const CGraphParam& param, __int64 series);

/// Its line setting.
const CGraphLineInfo& LineOf(const CGraphParam& param, __int64 series);

/// The kind of data line it is drawn with.
CGraphColorInfo::DATALINE_KIND DataLineOf(const CGraphParam& param, __int64 series);

/// The name of a cell: that of its row; with several columns, or without one, also that of the column.
std::wstring CellName(const CGraphParam& param, __int64 row, __int64 col);

/// The name of its line, else that of its cell.
std::wstring SeriesName(const CGraphParam& param, __int64 series);

}  // namespace kvx::plot::detail
