// SPDX-License-Identifier: MIT
//
// ChartLayout: where everything of a chart stands, worked out before anything is drawn: rectangles, mappings,
// ticks and the places of all texts, in canvas units.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>
#include <KvxPlot01/PlacedText.h>

namespace kvx::plot {

struct PlacedTick {
    double pixel = 0.0;
    bool isMajor = false;
};

struct AxisLayout {
    AxisMapping mapping;
    std::vector<PlacedTick> ticks;
    std::vector<PlacedText> numbers;
    std::vector<PlacedText>
        titles;  ///< the axis' title and the factor of its numbers, as far as there are any
};

struct LegendEntry {
    std::size_t curve = 0;
    Rect sample;
    PlacedText name;  ///< with an ellipsis when it is cut
};

struct ChartLayout {
    Rect area;
    Rect plot;
    double letterSize = 0.0;
    AxisLayout x;
    AxisLayout y;
    std::optional<AxisLayout> y2;
    std::optional<PlacedText> title;
    std::optional<Rect> legend;
    std::vector<LegendEntry> entries;
};

/// Lays out a chart in `area`. Where that is too small for everything, the legend, then the titles, then the
/// numbers give way to the plot.
KVX_PLOT_API ChartLayout LayOutChart(const Chart& chart, const Rect& area, double pointLength,
                                     const TextMeasure& measure);

/// Where a chart is to stand.
struct ChartPlace {
    const Chart* chart = nullptr;
    Rect area;
    double letterSize = 0.0;  ///< in canvas units
};
/// Lays out charts that stand below or beside each other: each plot is as far from the left and right edges
/// of its area as the plot that needs the most room there.
KVX_PLOT_API std::vector<ChartLayout> LayOutInLine(std::span<const ChartPlace> places, double pointLength,
                                                   const TextMeasure& measure);

}  // namespace kvx::plot
