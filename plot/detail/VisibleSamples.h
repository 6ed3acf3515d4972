// SPDX-License-Identifier: MIT
//
// The samples of a curve that a range of X may show.
#pragma once

#include <KvxDevCommon01/graph/VisibleRange.h>
#include <KvxPlot01/Curve.h>

namespace kvx::plot {

/// The samples whose shown X may lie between the two, which come in any order; with X values all samples. The
/// samples must not be null.
IndexRange SamplesWithin(const CurveSamples& samples, double shownFrom, double shownTo);

}  // namespace kvx::plot
