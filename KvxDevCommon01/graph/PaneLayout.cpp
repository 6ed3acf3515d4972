// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/PaneLayout.h>

#include <cmath>

namespace kvx {

namespace {

/// As many rows (or columns) as `panes` panes need; without the sum that could overflow.
__int64 CeilingQuotient(__int64 panes, __int64 perLine) {
    return (panes - 1) / perLine + 1;
}

/// A grid of that many columns, but at least one and no more than there are panes.
PaneGrid GridOf(double columns, __int64 panes) {
    PaneGrid grid;
    if (columns >= static_cast<double>(panes)) {
        grid.columns = panes;
    } else if (columns > 1.0) {
        grid.columns = static_cast<__int64>(columns);
    }
    grid.rows = CeilingQuotient(panes, grid.columns);
    return grid;
}

}  // namespace

PaneGrid TilePanes(__int64 panes, double width, double height, double aspect) {
    if (panes < 1 || !(height > 0.0) || !(aspect > 0.0)) return {};

    const double idealWidth = aspect * std::sqrt(height * width / (static_cast<double>(panes) * aspect));
    const double idealColumns = width / idealWidth;
    const auto miss = [&](const PaneGrid& grid) {
        const double achieved =
            (width / static_cast<double>(grid.columns)) / (height / static_cast<double>(grid.rows));
        return std::abs(achieved - aspect);
    };
    PaneGrid grid = GridOf(std::floor(idealColumns), panes);
    const PaneGrid wider = GridOf(std::ceil(idealColumns), panes);
    if (miss(wider) < miss(grid)) grid = wider;

    // The rows are as few as these columns allow; columns that the last row does not need are given up. Rows
    // and columns are then both as few as the other allows, whichever would be given up first.
    grid.columns = CeilingQuotient(panes, grid.rows);
    return grid;
}

}  // namespace kvx
