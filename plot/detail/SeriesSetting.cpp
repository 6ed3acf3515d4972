// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/SeriesSetting.h>

namespace kvx::plot::detail {

bool IsComplete(const GraphSeries& series) {
    const auto isAsLong = [&](std::span<const double> values) {
        return values.empty() || values.size() == series.real.size();
    };
    return !series.real.empty() && isAsLong(series.imaginary) && isAsLong(series.x);
}

bool IsCell(const CGraphParam& param, __int64 series) {
    return series / param.m_cells.colNum < param.m_cells.rowNum;
}

const CGraphLineInfo& LineOf(const CGraphParam& param, __int64 series) {
    return *param.m_lines.GetInfoPtr(series % param.m_lines.GetNum());
}

CGraphColorInfo::DATALINE_KIND DataLineOf(const CGraphParam& param, __int64 series) {
    const CGraphLineInfo& line = LineOf(param, series);
    const __int64 index =
        line.IsIndexValid() ? line.m_lColorIndex : series % CGraphLineInfoList::GetMaxColorNum();
    return static_cast<CGraphColorInfo::DATALINE_KIND>(index);
}

std::wstring CellName(const CGraphParam& param, __int64 row, __int64 col) {
    const std::wstring& rowName = param.m_cells.rowNames[static_cast<std::size_t>(row)];
    const std::wstring& colName = param.m_cells.colNames[static_cast<std::size_t>(col)];
    if (rowName.empty()) return colName;
    return param.m_cells.colNum > 1 && !colName.empty() ? rowName + L" / " + colName : rowName;
}

std::wstring SeriesName(const CGraphParam& param, __int64 series) {
    const CGraphLineInfo& line = LineOf(param, series);
    if (!line.m_strName.empty() || !IsCell(param, series)) return line.m_strName;
    return CellName(param, series / param.m_cells.colNum, series % param.m_cells.colNum);
}

}  // namespace kvx::plot::detail
