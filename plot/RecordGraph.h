// SPDX-License-Identifier: MIT
//
// Records as graphs: what a record's unit and axis tell about how it is best drawn, and what a person chooses
// instead. Pure functions, safe from any thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/GraphContent.h>

namespace kvx::plot {

/// How an axis is scaled; what is left open is chosen to suit the data. An axis with a bound that is not
/// above 0 is linear.
struct AxisChoice {
    std::optional<double> low = {};
    std::optional<double> high = {};
    std::optional<AxisForm> form = {};
    std::string name = {};  ///< what errors call the axis
};

/// A kind of graph and how a person calls it: "magnitude-phase", "nyquist", "steps" ...
struct NamedGraphKind {
    std::string_view name;
    CGraphParam::GRAPH_KIND kind;
};
KVX_PLOT_API std::span<const NamedGraphKind> NamedGraphKinds();

/// How records are drawn; what is left open is chosen to suit each record.
struct RecordGraphChoice {
    /// Bounds in seconds or hertz. A locus is drawn of the lines between them, on axes of its own.
    AxisChoice x = {.name = "x"};
    /// Bounds in the shown unit, of phases in degrees; both or none.
    AxisChoice y = {.name = "y"};
    std::optional<CUnitCtrl> unit = {};  ///< of the values of records that it suits
    /// The amplitude that is shown of values of a unit. Without a function zero-to-peak for amplitude spectra
    /// of motion, else none.
    std::function<CValConv::UNIT_SUFFIX(const CUnitCtrl&)> suffixOf = {};
    std::optional<CGraphParam::GRAPH_KIND> graphKind = {};  ///< for the records it suits
    CGraphParam::PANE_MODE paneMode = CGraphParam::PANE_SINGLE;
    /// What errors advise when there are more channels than a graph shows: "choose some with --channels".
    std::string advice = {};
};

/// A cell of a record and the name to show.
struct RecordCell {
    __int64 row = 0;
    __int64 column = 0;
    std::wstring name;
};

/// A graph with what it shows. The samples stay in the record, which must outlive the graph.
struct RecordGraph {
    CGraphParam param;
    CScaleParam scale;
    GraphContent content;
    std::vector<std::shared_ptr<const std::vector<double>>> own;  ///< samples that belong to no record
};

/// What the values of a record are, by its axis, unit, names and imaginary parts.
KVX_PLOT_API CGraphParam::DATA_KIND DataKindOf(const CComDataBase& record);

/// Whether such values are amplitudes, of which there are several: zero-to-peak, rms ...
KVX_PLOT_API bool AreAmplitudes(CGraphParam::DATA_KIND kind);

/// Whether the kind draws parts of complex values.
KVX_PLOT_API bool DrawsComplexValues(CGraphParam::GRAPH_KIND kind);

/// The graph of some cells of one record: waveforms on linear axes, spectra and densities on logarithmic
/// ones, complex lines as magnitude over phase. Throws Error (kBadValue) for no cells, more than a graph
/// shows and one that is not in the record, bounds that make no axis or leave nothing of X, and a logarithmic
/// axis without a value above 0.
KVX_PLOT_API RecordGraph MakeRecordGraph(const CComDataBase& record, std::span<const RecordCell> cells,
                                         const RecordGraphChoice& choice = {});

/// Graphs of channels in their order: one for those of a record that follow one another, or with another
/// paneMode than PANE_SINGLE one for each. The content must outlive them. Throws Error as MakeRecordGraph
/// does.
KVX_PLOT_API std::vector<RecordGraph> MakeRecordGraphs(const DataFileContent& content,
                                                       std::span<const Channel> channels,
                                                       const RecordGraphChoice& choice = {});

/// Slices that follow one another in time.
struct SliceCourse {
    double startSeconds = 0.0;  ///< time of the first slice
    double intervalSeconds = 1.0;
    bool isWaterfall = false;  ///< else a colour map
    /// Automatic bounds of a logarithmic axis begin at the highest level over this, so that the few lines
    /// that nearly vanish leave something of the scale to the others.
    double dynamicRange = 1e3;
};

/// The graph of a record whose rows are the slices of one channel, as a waterfall or colour map. Throws Error
/// as MakeRecordGraph does, and when the bounds of Y leave none of the levels.
KVX_PLOT_API RecordGraph MakeSliceGraph(const CComDataBase& slices, const std::wstring& name,
                                        const SliceCourse& course, const RecordGraphChoice& choice = {});

/// Adds a profile, in the standard unit of the density, to the graph of densities. Throws Error (kBadValue)
/// when the graph has no room for another line.
KVX_PLOT_API void AddProfile(RecordGraph& graph, const PsdProfile& profile, const std::wstring& name);

}  // namespace kvx::plot
