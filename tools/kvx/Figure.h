// SPDX-License-Identifier: MIT
//
// Records as graphs: what a record's unit and axis tell about how it is best drawn.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxPlot01/Graph.h>

#include "DataFiles.h"
#include "PictureChoice.h"

namespace kvx::tool {

/// A graph with what it shows. Samples stay in their record unless they are the figure's own.
struct Figure {
    CGraphParam param;
    CScaleParam scale;
    plot::GraphContent content;
    std::vector<CDataArrayDouble> own;  ///< blocks that belong to no record
};

/// How records are drawn.
struct FigureChoice {
    AxisBounds x;
    AxisBounds y;
    std::optional<CUnitCtrl> unit;                     ///< of the values, where it fits
    std::optional<std::string> suffix;                 ///< by name, as RequireSuffix takes it
    std::optional<CGraphParam::GRAPH_KIND> graphKind;  ///< for the records it suits
    CGraphParam::PANE_MODE paneMode = CGraphParam::PANE_SINGLE;
};

/// The choice that the options of both axes and --unit stand for; throws ValueError.
FigureChoice ResolveFigure(const AxisChoice& x, const AxisChoice& y, const std::string& unit);

/// Units in which the axes are shown.
inline constexpr auto kAxisSeconds = static_cast<CUnitCtrl::UNIT_CODE>(0x01000003);

CGraphParam::DATA_KIND DataKindOf(const CComDataBase& record);

/// The graph of the chosen channels of one record.
Figure MakeFigure(const CComDataBase& record, const std::vector<Channel>& channels,
                  const FigureChoice& choice);

/// Adds a profile, in standard units, to the graph of a density.
void AddProfile(Figure& figure, const PsdProfile& profile, const std::wstring& name);

/// Takes over bounds and forms of the choice; where it leaves a form open, that which suits the data. Throws
/// Reason when the bounds leave nothing of X.
void ApplyScale(Figure& figure, const FigureChoice& choice, bool suitsLogX, bool suitsLogY);

/// Draws figures below and beside each other under the title of the choice, else `title`, and tells of it on
/// `out`; throws Failure.
void WriteFigures(const PictureChoice& choice, const PictureTarget& target, const std::wstring& title,
                  std::vector<Figure>& figures, ByteStream& out);

}  // namespace kvx::tool
