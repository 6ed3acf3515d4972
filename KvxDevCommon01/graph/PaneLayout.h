// SPDX-License-Identifier: MIT
//
// How many panes stand beside and below each other. Pure functions, safe from any thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

struct PaneGrid {
    __int64 columns = 1;
    __int64 rows = 1;

    bool operator==(const PaneGrid&) const = default;
};

/// The grid for `panes` panes in an area of that width and height, in pixels, whose panes come closest to the
/// ratio `aspect` of width to height. One column and row without panes, or when height or aspect is not above
/// 0; one column when the width is not.
KVX_API PaneGrid TilePanes(__int64 panes, double width, double height, double aspect);

}  // namespace kvx
