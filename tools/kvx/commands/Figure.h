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
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxPlot01/Graph.h>

#include "commands/DataFiles.h"
#include "commands/PictureChoice.h"

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
    AxisBounds x;  ///< of a locus the range of the lines that are drawn
    AxisBounds y;
    std::optional<CUnitCtrl> unit;                     ///< of the values, where it fits
    std::optional<std::string> suffix;                 ///< by name, as RequireSuffix takes it; for amplitudes
    std::optional<CGraphParam::GRAPH_KIND> graphKind;  ///< for the records it suits
    CGraphParam::PANE_MODE paneMode = CGraphParam::PANE_SINGLE;
};

/// The choice that the options of both axes and --unit stand for; throws ValueError.
FigureChoice ResolveFigure(const AxisChoice& x, const AxisChoice& y, const std::string& unit);

/// Units in which the axes are shown.
inline constexpr auto kAxisSeconds = units::kSecond;

CGraphParam::DATA_KIND DataKindOf(const CComDataBase& record);

/// Whether the values are amplitudes, which a suffix tells the sort of.
bool HasAmplitudes(const CGraphParam& param);

/// Whether the kind draws parts of complex values.
bool IsForComplex(CGraphParam::GRAPH_KIND kind);

/// The graph of the chosen channels of one record. Throws Error when the bounds leave nothing of X.
Figure MakeFigure(const CComDataBase& record, const std::vector<Channel>& channels,
                  const FigureChoice& choice);

/// Throws Error when the bounds of one of the graphs, which are in two dimensions, make no axis, or when no
/// value of any lies within its bounds.
void RequireSomethingSeen(const std::vector<Figure>& figures);

/// Adds a profile, in standard units, to the graph of a density.
void AddProfile(Figure& figure, const PsdProfile& profile, const std::wstring& name);

/// Takes over bounds and forms of the choice; where it leaves them open, what suits the record and the series
/// of the figure. Throws Error when the bounds leave nothing of X.
void ApplyScale(Figure& figure, const CComDataBase& record, const FigureChoice& choice);

/// Draws figures below and beside each other under the title of the choice, else `title`, and tells of it on
/// `out`; throws Failure.
void WriteFigures(const PictureChoice& choice, const PictureTarget& target, const std::wstring& title,
                  std::vector<Figure>& figures, ByteStream& out);

}  // namespace kvx::tool
