// SPDX-License-Identifier: MIT
#include <KvxPlot01/RecordGraph.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cwctype>
#include <new>
#include <utility>

#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/graph/VisibleRange.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxPlot01/Ticks.h>
#include <KvxPlot01/detail/AxisSpan.h>
#include <KvxPlot01/detail/ShownValues.h>

namespace kvx::plot {
namespace {

using Param = CGraphParam;

// clang-format off
constexpr std::array kGraphKinds = {
    NamedGraphKind{"magnitude-phase", Param::GRAPH_MAGNITUDE_PHASE},
    NamedGraphKind{"magnitude",       Param::GRAPH_MAGNITUDE},
    NamedGraphKind{"phase",           Param::GRAPH_PHASE},
    NamedGraphKind{"unwrapped-phase", Param::GRAPH_UNWRAPPED_PHASE},
    NamedGraphKind{"real-imaginary",  Param::GRAPH_REAL_IMAGINARY},
    NamedGraphKind{"real",            Param::GRAPH_REAL},
    NamedGraphKind{"imaginary",       Param::GRAPH_IMAGINARY},
    NamedGraphKind{"nyquist",         Param::GRAPH_NYQUIST},
    NamedGraphKind{"line",            Param::GRAPH_VALUE},
    NamedGraphKind{"steps",           Param::GRAPH_STEPS},
    NamedGraphKind{"bars",            Param::GRAPH_BARS},
    NamedGraphKind{"marks",           Param::GRAPH_MARKS},
};
// clang-format on

[[noreturn]] void Refuse(const std::string& why) {
    throw Error(ErrorKind::kBadValue, why);
}

bool IsFrequency(const CComDataBase& record) {
    return record.GetHUnit() == CUnitCtrl::DIM_FREQUENCY;
}

/// Whether the columns are references, which have names; other columns are numbered.
bool HasReference(const CComDataBase& record) {
    const CComDataSpecA numbered(1.0, 1, record.GetNumCol(), 1, 0, CUnitCtrl(), nullptr, nullptr);
    return record.GetColName() != numbered.GetColName();
}

/// Whether the unit has hertz in a denominator.
bool IsPerHertz(const CUnitCtrl& unit) {
    return std::ranges::any_of(UnitParts(unit), [](const UnitPart& part) {
        return CUnitCtrl::GetDimCode(part.unit) == CUnitCtrl::DIM_FREQUENCY &&
               (part.calc & CUnitCtrl::CALC_DIVIDE);
    });
}

bool IsLocus(const Param& param) {
    return param.m_cells.graphKind == Param::GRAPH_NYQUIST;
}

Param::GRAPH_KIND GraphKindOf(Param::DATA_KIND data, const std::optional<Param::GRAPH_KIND>& chosen) {
    const bool isComplex = data == Param::DATA_TRANSFER || data == Param::DATA_COMPLEX_SPECTRUM;
    if (chosen && DrawsComplexValues(*chosen) == isComplex) return *chosen;
    return isComplex ? Param::GRAPH_MAGNITUDE_PHASE : Param::GRAPH_VALUE;
}

/// How Y is shown: phases in degrees unless the values are angles themselves.
CValConv ShownY(const Param& param) {
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    const bool isPhase = kind == Param::GRAPH_PHASE || kind == Param::GRAPH_UNWRAPPED_PHASE;
    if (isPhase && !(param.m_units.y == CUnitCtrl::DIM_ANGLE)) return {units::kDegree, CValConv::SUFFIX_NONE};
    return {param.m_units.y, param.m_frame.suffix.y};
}

/// Whether values of either sign are drawn, which no logarithm shows; those in dB are logarithms already.
bool IsSigned(const Param& param) {
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    return param.m_cells.dataKind == Param::DATA_WAVEFORM || kvx::IsLogarithmic(param.m_units.y) ||
           (DrawsComplexValues(kind) && kind != Param::GRAPH_MAGNITUDE &&
            kind != Param::GRAPH_MAGNITUDE_PHASE);
}

std::size_t FirstDrawn(const Param& param) {
    return param.m_x.option == Param::X_WITHOUT_FIRST ? 1 : 0;
}

/// Whether a logarithmic axis shows any of the values.
bool HasLevels(const RecordGraph& graph) {
    const bool isMagnitude = DrawsComplexValues(graph.param.m_cells.graphKind);
    return std::ranges::any_of(graph.content.series, [&](const GraphSeries& series) {
        for (std::size_t i = FirstDrawn(graph.param); i < series.real.size(); ++i) {
            if (series.real[i] > 0.0) return true;
            if (!isMagnitude || series.real[i] == kNoValue<double>) continue;
            if (series.real[i] < 0.0 || series.imaginary[i] != 0.0) return true;
        }
        return false;
    });
}

/// What stands at the axis of the values: "Power spectral density", "Acceleration".
std::wstring ValueName(const Param& param) {
    switch (param.m_cells.graphKind) {
        case Param::GRAPH_PHASE:
        case Param::GRAPH_UNWRAPPED_PHASE:
            return L"Phase";
        case Param::GRAPH_REAL:
        case Param::GRAPH_REAL_IMAGINARY:
            return L"Real part";
        case Param::GRAPH_IMAGINARY:
        case Param::GRAPH_NYQUIST:
            return L"Imaginary part";
        default:
            break;
    }
    switch (param.m_cells.dataKind) {
        case Param::DATA_PSD:
            return L"Power spectral density";
        case Param::DATA_TRANSFER:
            return L"Transfer function";
        case Param::DATA_COHERENCE:
            return L"Coherence";
        default:
            break;
    }
    const CUnitCtrl& unit = param.m_units.y;
    if (!unit.IsSingle() || unit == CUnitCtrl::DIM_NONE) return L"Value";
    std::wstring name = FromUtf8(DimensionText(DimensionOf(unit))).value_or(L"");
    if (!name.empty()) name[0] = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(name[0])));
    return name;
}

void SetAxis(Param& param, const CComDataBase& record) {
    param.m_x.num = record.GetNsamp();
    param.m_x.interval = record.GetDelta();
    param.m_x.offset = record.GetOffset();
    if (const CDataArrayDouble* axis = record.GetHData()) param.m_x.values = *axis;
    param.m_units.x = SingleUnit(IsFrequency(record) ? units::kHertz : units::kSecond);
    if (IsFrequency(record) && param.m_x.num > 1 && param.GetXValue(0) <= 0.0)
        param.m_x.option = Param::X_WITHOUT_FIRST;
}

CValConv::UNIT_SUFFIX SuffixOf(const Param& param, const RecordGraphChoice& choice) {
    if (!AreAmplitudes(param.m_cells.dataKind)) return CValConv::SUFFIX_NONE;
    if (choice.suffixOf) return choice.suffixOf(param.m_units.y);
    // Those of other records have no customary word.
    const bool isAmplitude = param.m_cells.dataKind == Param::DATA_SPECTRUM;
    return isAmplitude && param.m_units.y.IsAccOrVelOrDisp() ? CValConv::SUFFIX_ZERO_TO_PEAK
                                                             : CValConv::SUFFIX_NONE;
}

/// The first and last X that are drawn; on a logarithmic axis those above 0. X ascends.
AxisRange ReachOfX(const Param& param, bool isLogarithmic) {
    const __int64 last = param.m_x.num - 1;
    auto first = static_cast<__int64>(FirstDrawn(param));
    while (isLogarithmic && first < last && param.GetXValue(first) <= 0.0) ++first;
    return {param.GetXValue(first), param.GetXValue(last)};
}

[[noreturn]] void RefuseBoundsOfX(const Param& param, const AxisChoice& x) {
    const AxisRange reach = ReachOfX(param, false);
    const std::string unit = " " + UnitText(param.m_units.x);
    Refuse(x.name + " shows none of its samples, which reach from " + FormatNumber(reach.low) + unit +
           " to " + FormatNumber(reach.high) + unit);
}

/// The samples whose X lies within the bounds; throws Error when there is none.
IndexRange DrawnSamples(const Param& param, const AxisChoice& bounds) {
    __int64 first = 0;
    __int64 end = param.m_x.num;
    while (bounds.low && first < end && param.GetXValue(first) < *bounds.low) ++first;
    while (bounds.high && first < end && param.GetXValue(end - 1) > *bounds.high) --end;
    if (first == end) RefuseBoundsOfX(param, bounds);
    return {first, end - first};
}

/// The form that is chosen, with a bound that is not above 0 the linear one, else what suits the data.
bool IsLogarithmic(const AxisChoice& choice, bool suitsData) {
    const bool isAboveZero = choice.low.value_or(1.0) > 0.0 && choice.high.value_or(1.0) > 0.0;
    const AxisForm suitable = suitsData && isAboveZero ? AxisForm::kLogarithmic : AxisForm::kLinear;
    return choice.form.value_or(suitable) == AxisForm::kLogarithmic;
}

/// Whether there are values, and all of them are 0.
bool IsNought(const RecordGraph& graph) {
    RangeScan<double> scan;
    for (const GraphSeries& series : graph.content.series) {
        scan.Add(series.real);
        scan.Add(series.imaginary);
    }
    AxisRange reach{1.0, 1.0};
    scan.Write(&reach.low, &reach.high, nullptr);
    return reach == AxisRange{0.0, 0.0};
}

void ScaleX(RecordGraph& graph, bool isFrequency, const AxisChoice& x) {
    const Param& param = graph.param;
    CScaleParam& scale = graph.scale;
    const bool isAboveZero = ReachOfX(param, false).high > 0.0;
    scale.m_bXLog = IsLogarithmic(x, isFrequency && !IsLocus(param) && isAboveZero);
    if (IsLocus(param) && scale.m_bXLog) Refuse(x.name + "-scale log: the axes of a locus are linear");
    if (scale.m_bXLog && !isAboveZero) Refuse(x.name + "-scale log: it has no sample above 0");
    scale.m_bXAuto = IsLocus(param) || (!x.low && !x.high);
    if (scale.m_bXAuto) return;
    const AxisRange reach = ReachOfX(param, scale.m_bXLog);
    scale.m_dXMin = x.low.value_or(reach.low);
    scale.m_dXMax = x.high.value_or(reach.high);
    if (scale.m_dXMin > reach.high || scale.m_dXMax < reach.low) RefuseBoundsOfX(param, x);
    detail::RequireAxisSpan({scale.m_dXMin, scale.m_dXMax});
}

void ScaleY(RecordGraph& graph, const AxisChoice& y) {
    const Param& param = graph.param;
    CScaleParam& scale = graph.scale;
    const bool isCoherence = param.m_cells.dataKind == Param::DATA_COHERENCE;
    scale.m_bYLog = IsLogarithmic(y, !isCoherence && !IsSigned(param) && HasLevels(graph));
    if (y.low.has_value() != y.high.has_value()) Refuse(y.name + " needs both bounds");
    const bool isWhole = isCoherence && !y.low && !scale.m_bYLog;
    // Levels are never below 0, not even around a value of 0.
    const bool isFloor = !y.low && !scale.m_bYLog && !IsSigned(param) && IsNought(graph);
    scale.m_bYAuto = !y.low && !isWhole && !isFloor;
    if (scale.m_bYAuto) return;
    const CValConv shown = ShownY(param);
    const double first = ToStandard(shown, y.low.value_or(0.0));
    const double second = ToStandard(shown, y.high.value_or(1.0));
    scale.m_dYMin = std::min(first, second);
    scale.m_dYMax = std::max(first, second);
}

/// Takes over bounds and forms of the choice; where it leaves them open, what suits the record and the
/// series.
void ApplyScale(RecordGraph& graph, bool isFrequency, const RecordGraphChoice& choice) {
    graph.scale.m_eDispType = graph.param.m_z.dispType;
    graph.scale.m_lZNum = graph.param.m_z.num;
    ScaleX(graph, isFrequency, choice.x);
    ScaleY(graph, choice.y);
    if (!graph.scale.Check()) Refuse("the bounds cannot be shown");
}

/// The lowest and the highest level of the slices.
AxisRange ReachOfLevels(const RecordGraph& graph) {
    RangeScan<double> scan;
    for (const GraphSeries& slice : graph.content.series)
        scan.Add(slice.real.subspan(std::min(FirstDrawn(graph.param), slice.real.size())));
    AxisRange reach;
    scan.Write(nullptr, &reach.high, &reach.low);
    return reach;
}

}  // namespace

Param::DATA_KIND DataKindOf(const CComDataBase& record) {
    if (!IsFrequency(record)) return Param::DATA_WAVEFORM;
    const bool hasReference = HasReference(record);
    if (record.GetImaginary(0, 0) != nullptr) {
        const bool isTransfer = hasReference || !record.GetUnit().IsSingle();
        return isTransfer ? Param::DATA_TRANSFER : Param::DATA_COMPLEX_SPECTRUM;
    }
    if (IsPerHertz(record.GetUnit())) return Param::DATA_PSD;
    const bool isCoherence = hasReference && record.GetUnit() == CUnitCtrl::DIM_NONE;
    return isCoherence ? Param::DATA_COHERENCE : Param::DATA_SPECTRUM;
}

bool AreAmplitudes(Param::DATA_KIND kind) {
    return kind == Param::DATA_WAVEFORM || kind == Param::DATA_SPECTRUM ||
           kind == Param::DATA_COMPLEX_SPECTRUM;
}

bool DrawsComplexValues(Param::GRAPH_KIND kind) {
    return kind >= Param::GRAPH_MAGNITUDE && kind <= Param::GRAPH_NYQUIST;
}

std::span<const NamedGraphKind> NamedGraphKinds() {
    return kGraphKinds;
}

RecordGraph MakeRecordGraph(const CComDataBase& record, std::span<const RecordCell> cells,
                            const RecordGraphChoice& choice) {
    const __int64 count = std::ssize(cells);
    if (count == 0) Refuse("a graph shows one channel or more");
    for (const RecordCell& cell : cells) {
        if (Samples(record, cell.row, cell.column).empty())
            Refuse("the record has no channel " + Quote(cell.name));
    }
    if (count > CGraphLineInfoList::GetMaxLineNum()) {
        Refuse("a graph shows at most " + std::to_string(CGraphLineInfoList::GetMaxLineNum()) + " channels" +
               (choice.advice.empty() ? "" : "; " + choice.advice));
    }
    RecordGraph graph;
    Param& param = graph.param;
    param.m_cells.rowNum = count;
    param.m_cells.colNum = 1;
    param.m_cells.dataKind = DataKindOf(record);
    param.m_cells.graphKind = GraphKindOf(param.m_cells.dataKind, choice.graphKind);
    param.m_cells.colNames = {record.GetColName().front()};
    SetAxis(param, record);
    const bool isConverted = choice.unit && IsConvertible(record.GetUnit(), *choice.unit);
    param.m_units.y = isConverted ? *choice.unit : record.GetUnit();
    param.m_frame.suffix.y = SuffixOf(param, choice);
    param.m_frame.paneMode = choice.paneMode;
    // The title of a pane names its only channel.
    param.m_frame.legend = choice.paneMode == Param::PANE_SINGLE;
    param.m_series.num = count;
    if (!param.m_lines.CreateInfo(count)) throw std::bad_alloc();
    const IndexRange drawn = DrawnSamples(param, IsLocus(param) ? choice.x : AxisChoice());
    const auto drawnOf = [&](std::span<const double> samples) {
        if (samples.empty()) return samples;
        return samples.subspan(static_cast<std::size_t>(drawn.first), static_cast<std::size_t>(drawn.count));
    };
    for (__int64 i = 0; i < count; ++i) {
        const auto& [row, column, name] = cells[static_cast<std::size_t>(i)];
        param.m_cells.rowNames.push_back(name);
        CGraphLineInfo& line = *param.m_lines.GetInfoPtr(i);
        line.m_strName = name;
        // The colour stays with the channel, whichever are chosen.
        line.m_lColorIndex = (row * record.GetNumCol() + column) % CGraphLineInfoList::GetMaxColorNum();
        graph.content.series.push_back(
            {drawnOf(Samples(record, row, column)), drawnOf(ImaginarySamples(record, row, column))});
    }
    graph.content.xName = IsLocus(param) ? L"Real part" : IsFrequency(record) ? L"Frequency" : L"Time";
    graph.content.yName = ValueName(param);
    const bool isInParts = param.m_cells.graphKind == Param::GRAPH_REAL_IMAGINARY;
    graph.content.lowerName = isInParts ? L"Imaginary part" : L"Phase";
    if (!param.Check()) throw std::bad_alloc();
    ApplyScale(graph, IsFrequency(record), choice);
    return graph;
}

std::vector<RecordGraph> MakeRecordGraphs(const DataFileContent& content, std::span<const Channel> channels,
                                          const RecordGraphChoice& choice) {
    std::vector<RecordGraph> graphs;
    for (std::size_t next = 0; next < channels.size();) {
        const std::size_t record = channels[next].record;
        std::vector<RecordCell> cells;
        do {
            const Channel& channel = channels[next++];
            cells.push_back({channel.row, channel.column, channel.name});
        } while (choice.paneMode == Param::PANE_SINGLE && next < channels.size() &&
                 channels[next].record == record);
        graphs.push_back(MakeRecordGraph(content.records[record], cells, choice));
    }
    return graphs;
}

RecordGraph MakeSliceGraph(const CComDataBase& slices, const std::wstring& name, const SliceCourse& course,
                           const RecordGraphChoice& choice) {
    const RecordCell first{0, 0, name};
    RecordGraph graph = MakeRecordGraph(slices, {&first, 1}, choice);
    Param::ZAxis& z = graph.param.m_z;
    z.dispType = course.isWaterfall ? Param::GRAPHDISP_WATERFALL : Param::GRAPHDISP_COLORMAP;
    z.num = slices.GetNumRow();
    z.name = L"Time";
    z.unit = SingleUnit(units::kSecond);
    z.start = course.startSeconds;
    z.interval = course.intervalSeconds;
    graph.content.series.clear();
    for (__int64 slice = 0; slice < z.num; ++slice)
        graph.content.series.push_back({Samples(slices, slice, 0)});
    ApplyScale(graph, IsFrequency(slices), choice);
    CScaleParam& scale = graph.scale;
    // Rounded bounds would leave a strip beside the map.
    scale.m_bXFullRange = scale.m_bXAuto && !course.isWaterfall;
    const AxisRange reach = ReachOfLevels(graph);
    if (!scale.m_bYAuto && (reach.low > scale.m_dYMax || reach.high < scale.m_dYMin))
        Refuse(choice.y.name + " shows none of the levels of channel " + Quote(name));
    const double low = std::max(reach.low, reach.high / course.dynamicRange);
    if (scale.m_bYAuto && scale.m_bYLog && low < reach.high) {
        scale.m_bYAuto = 0;
        scale.m_dYMin = low;
        scale.m_dYMax = reach.high;
    }
    return graph;
}

void AddProfile(RecordGraph& graph, const PsdProfile& profile, const std::wstring& name) {
    // Close enough to each other that the profile is straight on its own axes and looks right on any other.
    constexpr int kPointsPerSegment = 32;
    const std::span<const double> corners = profile.Frequencies();
    std::vector<double> hz;
    for (std::size_t i = 0; i + 1 < corners.size(); ++i) {
        const double ratio = corners[i + 1] / corners[i];
        for (int k = 0; k < kPointsPerSegment; ++k)
            hz.push_back(corners[i] * std::pow(ratio, static_cast<double>(k) / kPointsPerSegment));
    }
    if (!corners.empty()) hz.push_back(corners.back());
    std::vector<double> levels;
    for (const double at : hz) levels.push_back(profile.LevelAt(at));

    CGraphLineInfo line;
    line.m_strName = name;
    if (!graph.param.m_lines.Append(line)) Refuse("there is no room for the profile beside 64 channels");
    graph.param.m_series.num += 1;
    graph.param.m_frame.legend = 1;
    const auto keep = [&](std::vector<double> samples) -> std::span<const double> {
        return *graph.own.emplace_back(std::make_shared<const std::vector<double>>(std::move(samples)));
    };
    const std::span<const double> y = keep(std::move(levels));
    graph.content.series.push_back({y, {}, keep(std::move(hz)), CGraphColorInfo::DATALINE_LIMIT});
}

}  // namespace kvx::plot
