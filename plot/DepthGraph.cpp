// SPDX-License-Identifier: MIT
#include <KvxPlot01/DepthGraph.h>

#include <algorithm>
#include <utility>

#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ColorMap.h>
#include <KvxPlot01/DepthChart.h>
#include <KvxPlot01/LineLook.h>
#include <KvxPlot01/Waterfall.h>
#include <KvxPlot01/detail/GraphAxis.h>
#include <KvxPlot01/detail/SeriesSetting.h>
#include <KvxPlot01/detail/ShownValues.h>

namespace kvx::plot {
namespace {

using Param = CGraphParam;

/// The slices to be drawn of each series.
struct ShownSlices {
    __int64 first = 0;
    __int64 count = 0;
};

ShownSlices Shown(const CGraphParam& param, const CScaleParam& scale) {
    const __int64 first = std::min(scale.m_lZStart, param.m_z.num);
    return {first, std::min(scale.m_lZNum, param.m_z.num - first)};
}

bool CanBeDrawn(const GraphView& view) {
    if (view.param == nullptr || view.scale == nullptr || view.info == nullptr || view.content == nullptr) {
        return false;
    }
    const CGraphParam& param = *view.param;
    if (!param.Check() || !view.scale->Check()) return false;
    const Param::GRAPHDISP_TYPE type = param.m_z.dispType;
    if (type == Param::GRAPHDISP_2D || view.scale->m_eDispType != type) return false;
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    if (kind == Param::GRAPH_NYQUIST || kind == Param::GRAPH_ORBIT) return false;
    const std::vector<GraphSeries>& slices = view.content->series;
    const __int64 num = std::ssize(slices);
    // The product of the counts may be more than a number holds.
    if (num % param.m_z.num != 0 || num / param.m_z.num != param.m_series.num) return false;
    if (Shown(param, *view.scale).count < 1) return false;
    return std::ranges::all_of(slices, detail::IsComplete);
}

/// The graph with its slices side by side: in two dimensions, a pane for each series, which has them as its
/// curves. So units, axes and what is shown of a sample are resolved as in every other graph.
struct FlatGraph {
    std::vector<__int64> series;  ///< those that are drawn, by their pane
    CGraphParam param;
    CScaleParam scale;
    GraphContent content;

    explicit FlatGraph(const GraphView& view)
        : param(*view.param), scale(*view.scale), content(*view.content) {
        const ShownSlices shown = Shown(param, scale);
        CStringArray names;
        content.series.clear();
        content.hasRoom = false;
        for (__int64 k = 0; k < param.m_series.num; ++k) {
            if (!detail::LineOf(param, k).m_bDisp) continue;
            const auto first = view.content->series.begin() + k * param.m_z.num + shown.first;
            content.series.insert(content.series.end(), first, first + shown.count);
            names.push_back(detail::SeriesName(param, k));
            series.push_back(k);
        }
        param.m_cells.rowNum = std::ssize(series);
        param.m_cells.colNum = shown.count;
        param.m_cells.rowNames = std::move(names);
        param.m_cells.colNames.assign(static_cast<std::size_t>(shown.count), {});
        param.m_lines.CreateInfo(1);
        param.m_series.num = std::ssize(content.series);
        param.m_series.y2Num = 0;
        param.m_series.selected = 0;
        param.m_units.y2Enable = 0;
        param.m_z.dispType = Param::GRAPHDISP_2D;
        param.m_frame.paneMode = Param::PANE_PER_ROW;
        scale.m_bY2Enable = 0;
        scale.m_eDispType = Param::GRAPHDISP_2D;
    }
};

SliceAxis AxisOfSlices(const CGraphParam& param, __int64 first) {
    const Param::ZAxis& z = param.m_z;
    const CValConv shown(z.unit, CValConv::SUFFIX_NONE);
    const auto valueAt = [&](__int64 index) {
        return ToShown(shown, z.start + static_cast<double>(index) * z.interval);
    };
    SliceAxis axis;
    axis.title = AxisTitle(z.name, shown);
    axis.isEven = z.interval != 0.0;
    axis.start = valueAt(first);
    axis.step = valueAt(first + 1) - axis.start;
    axis.textOf = [&param, first](__int64 index) {
        CString text;
        param.GetZDataString(first + index, &text);
        return text;
    };
    return axis;
}

}  // namespace

int DrawDepthGraph(const GraphView& view, Canvas& canvas) {
    if (!CanBeDrawn(view)) return 0;
    const FlatGraph flat(view);
    const GraphView flatView{&flat.param, &flat.scale, view.info, &flat.content, view.output};
    const GraphCharts charts(flatView);
    if (charts.GetPanes().empty()) return 0;

    const Size size = canvas.GetSize();
    const GraphLayout layout =
        LayOutGraph(flatView, charts, {0.0, 0.0, size.width, size.height}, canvas.GetPointLength(), canvas);
    const ChartColors colors{view.info->GetGraphColorInfo(), view.output};
    canvas.FillRect(layout.area, colors.Of(CGraphColorInfo::COMPO_WINDOW_BACK));
    const bool isMap = view.param->m_z.dispType == Param::GRAPHDISP_COLORMAP;
    for (std::size_t i = 0; i < charts.GetPanes().size(); ++i) {
        const GraphPane& pane = charts.GetPanes()[i];
        DepthChart depth;
        depth.z = AxisOfSlices(*view.param, Shown(*view.param, *view.scale).first);
        depth.isLastInFront = view.scale->m_bZFlag1 != 0;
        depth.isSolid = view.scale->m_bZFlag2 != 0;
        depth.isFilled = view.param->m_z.waterfallOption == Param::WATERFALL_FILLED;
        depth.rise = view.scale->m_dZRatio1;
        depth.shift = view.scale->m_dZRatio2;
        depth.look =
            LineSampleOf(*colors.colors, detail::DataLineOf(*view.param, flat.series[i]), view.output);
        for (std::size_t k = 0; k < pane.charts.size(); ++k) {
            const Chart& chart = pane.charts[k];
            depth.title = chart.title;
            depth.x = chart.x;
            depth.y = chart.y;
            depth.cursors = chart.cursors;
            depth.hasGrid = chart.hasGrid;
            depth.hasNumbers = chart.hasNumbers;
            depth.slices.clear();
            for (const ChartCurve& curve : chart.curves) depth.slices.push_back(curve.samples);
            const Rect& area = layout.paneAreas[i][k];
            isMap ? DrawColorMap(depth, area, colors, canvas) : DrawWaterfall(depth, area, colors, canvas);
        }
    }
    const COLORREF text = colors.Of(CGraphColorInfo::COMPO_TEXT);
    if (layout.title) DrawPlacedText(*layout.title, text, canvas);
    for (const PlacedText& note : layout.notes) DrawPlacedText(note, text, canvas);
    return 1;
}

}  // namespace kvx::plot
