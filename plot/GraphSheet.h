// SPDX-License-Identifier: MIT
//
// GraphSheet: graphs of records on one picture, below and beside each other under one title, with their plots
// in line. Its content does not change; copies share it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/GraphLook.h>
#include <KvxPlot01/RecordGraph.h>

namespace kvx::plot {

class KVX_PLOT_API GraphSheet {
public:
    /// Resolves the graphs, whose records must outlive the sheet. Throws Error as ResolvedGraph does.
    GraphSheet(std::vector<RecordGraph> graphs, std::wstring title,
               const GraphLook& look = LookOf(ColorScheme::kWhite));

    std::size_t Count() const;

    /// Throws Error (kBadValue) when the bounds of Y of one of the graphs, which are in two dimensions, make
    /// no axis, or when no value of any lies within its bounds. `yName` is what the error calls the axis.
    void RequireSomethingSeen(const std::string& yName = "y") const;

    /// Draws the sheet over the whole canvas.
    void Draw(Canvas& canvas) const;

private:
    struct Content;

    std::shared_ptr<const Content> content_;
};

}  // namespace kvx::plot
