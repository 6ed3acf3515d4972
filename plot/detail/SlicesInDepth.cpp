// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/SlicesInDepth.h>

#include <algorithm>
#include <utility>

#include <KvxPlot01/LineLook.h>
#include <KvxPlot01/detail/GraphAxis.h>
#include <KvxPlot01/detail/SeriesSetting.h>
#include <KvxPlot01/detail/ShownValues.h>

namespace kvx::plot::detail {
namespace {

using Param = CGraphParam;

/// The slices to be drawn of each series.
struct SliceRange {
    __int64 first = 0;
    __int64 count = 0;
};

SliceRange ShownSlices(const CGraphParam& param, const CScaleParam& scale) {
    const __int64 first = std::min(scale.m_lZStart, param.m_z.num);
    return {first, std::min(scale.m_lZNum, param.m_z.num - first)};
}

void RequireSlices(const GraphView& deep) {
    RequireConsistent(deep);
    const CGraphParam& param = *deep.param;
    Require(param.m_z.dispType != Param::GRAPHDISP_2D, "the graph has no depth");
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    Require(kind != Param::GRAPH_NYQUIST && kind != Param::GRAPH_ORBIT,
            "values over values are drawn in two dimensions only");
    const __int64 num = std::ssize(deep.content->series);
    // The product of the counts may be more than a number holds.
    Require(num % param.m_z.num == 0 && num / param.m_z.num == param.m_series.num,
            "the slices are not as many as the parameters of the graph say");
    Require(ShownSlices(param, *deep.scale).count >= 1, "the scales show none of the slices");
}

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

FlatGraph::FlatGraph(const GraphView& deep) {
    RequireSlices(deep);
    param = *deep.param;
    scale = *deep.scale;
    content = *deep.content;
    info = deep.info;
    output = deep.output;
    const SliceRange shown = ShownSlices(param, scale);
    CStringArray names;
    content.series.clear();
    content.hasRoom = false;
    for (__int64 k = 0; k < param.m_series.num; ++k) {
        if (!LineOf(param, k).m_bDisp) continue;
        const auto first = deep.content->series.begin() + k * param.m_z.num + shown.first;
        content.series.insert(content.series.end(), first, first + shown.count);
        names.push_back(SeriesName(param, k));
        series.push_back(k);
    }
    Require(!series.empty(), "no series of the graph is displayed");
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

std::vector<std::vector<DepthChart>> StackSlices(const GraphView& deep, const FlatGraph& flat,
                                                 const std::vector<GraphPane>& panes) {
    DepthChart common;
    common.z = AxisOfSlices(*deep.param, ShownSlices(*deep.param, *deep.scale).first);
    common.isLastInFront = deep.scale->m_bZFlag1 != 0;
    common.isSolid = deep.scale->m_bZFlag2 != 0;
    common.isFilled = deep.param->m_z.waterfallOption == Param::WATERFALL_FILLED;
    common.rise = deep.scale->m_dZRatio1;
    common.shift = deep.scale->m_dZRatio2;
    std::vector<std::vector<DepthChart>> stacks;
    for (std::size_t i = 0; i < panes.size(); ++i) {
        std::vector<DepthChart>& stack = stacks.emplace_back();
        for (const Chart& chart : panes[i].charts) {
            DepthChart& depth = stack.emplace_back(common);
            depth.look = LineSampleOf(*deep.info->GetGraphColorInfo(),
                                      DataLineOf(*deep.param, flat.series[i]), deep.output);
            depth.title = chart.title;
            depth.x = chart.x;
            depth.y = chart.y;
            depth.cursors = chart.cursors;
            depth.hasGrid = chart.hasGrid;
            depth.hasNumbers = chart.hasNumbers;
            for (const ChartCurve& curve : chart.curves) depth.slices.push_back(curve.samples);
        }
    }
    return stacks;
}

}  // namespace kvx::plot::detail
