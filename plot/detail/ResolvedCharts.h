// SPDX-License-Identifier: MIT
//
// The charts of a graph in two dimensions: its parameters, scales and settings together with its samples.
#pragma once

#include <deque>
#include <vector>

#include <KvxDevCommon01/units/ValConv.h>
#include <KvxPlot01/Graph.h>

namespace kvx::plot::detail {

/// Panes with everything resolved, and what their charts refer to besides the view.
struct ResolvedCharts {
    std::vector<GraphPane> panes;
    // Deques: the places of what they hold stay.
    std::deque<std::vector<double>> derived;  ///< values derived from complex samples
    std::deque<CValConv> converters;
};

/// Throws Error (kBadValue) unless the condition is met.
void Require(bool isGiven, const char* sentence);

/// Throws Error unless all parts of the view are given and can be drawn, whatever their display type.
void RequireConsistent(const GraphView& view);

/// Throws Error as RequireConsistent does, and when the series are not those of the parameters.
ResolvedCharts ResolveCharts(const GraphView& view);

}  // namespace kvx::plot::detail
