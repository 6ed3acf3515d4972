// SPDX-License-Identifier: MIT
#include "commands/Figure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cwctype>
#include <new>
#include <numeric>
#include <span>
#include <tuple>
#include <utility>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/graph/PaneLayout.h>
#include <KvxDevCommon01/graph/VisibleRange.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxPlot01/CanvasRegion.h>
#include <KvxPlot01/DepthGraph.h>
#include <KvxPlot01/GraphCharts.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Param = CGraphParam;

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
    std::array<CUnitCtrl::UNIT_CODE, 4> codes;
    std::array<CUnitCtrl::UNIT_CALC, 4> calcs;
    unit.GetInfo(&codes[0], &calcs[0], nullptr, &codes[1], &calcs[1], &codes[2], &calcs[2], &codes[3],
                 &calcs[3]);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (CUnitCtrl::GetDimCode(codes[i]) == CUnitCtrl::DIM_FREQUENCY &&
            (calcs[i] & CUnitCtrl::CALC_DIVIDE))
            return true;
    }
    return false;
}

Param::GRAPH_KIND GraphKindOf(Param::DATA_KIND data, const FigureChoice& choice) {
    const bool isComplex = data == Param::DATA_TRANSFER || data == Param::DATA_COMPLEX_SPECTRUM;
    if (choice.graphKind && IsForComplex(*choice.graphKind) == isComplex) return *choice.graphKind;
    return isComplex ? Param::GRAPH_MAGNITUDE_PHASE : Param::GRAPH_VALUE;
}

/// How Y is shown: phases in degrees unless the values are angles themselves.
CValConv ShownY(const Param& param) {
    constexpr auto kDegrees = static_cast<CUnitCtrl::UNIT_CODE>(CUnitCtrl::DIM_ANGLE + 2);
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    const bool isPhase = kind == Param::GRAPH_PHASE || kind == Param::GRAPH_UNWRAPPED_PHASE;
    if (isPhase && !(param.m_units.y == CUnitCtrl::DIM_ANGLE)) return {kDegrees, CValConv::SUFFIX_NONE};
    return {param.m_units.y, param.m_frame.suffix.y};
}

/// Whether values of either sign are drawn, which no logarithm shows.
bool IsSigned(const Param& param) {
    const Param::GRAPH_KIND kind = param.m_cells.graphKind;
    return param.m_cells.dataKind == Param::DATA_WAVEFORM ||
           (IsForComplex(kind) && kind != Param::GRAPH_MAGNITUDE && kind != Param::GRAPH_MAGNITUDE_PHASE);
}

/// Whether a logarithmic axis shows any of the values.
bool HasLevels(const Figure& figure) {
    const std::size_t first = figure.param.m_x.option == Param::X_WITHOUT_FIRST ? 1 : 0;
    const bool isMagnitude = IsForComplex(figure.param.m_cells.graphKind);
    return std::ranges::any_of(figure.content.series, [&](const plot::GraphSeries& series) {
        for (std::size_t i = first; i < series.real.size(); ++i) {
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
    param.m_units.x = SingleUnit(IsFrequency(record) ? kAxisHertz : kAxisSeconds);
    if (IsFrequency(record) && param.m_x.num > 1 && param.GetXValue(0) <= 0.0)
        param.m_x.option = Param::X_WITHOUT_FIRST;
}

/// Values of an amplitude spectrum are peaks; those of other records have no customary word.
CValConv::UNIT_SUFFIX SuffixOf(const Param& param, const FigureChoice& choice) {
    if (!HasAmplitudes(param)) return CValConv::SUFFIX_NONE;
    if (choice.suffix) return RequireSuffix(*choice.suffix, param.m_units.y);
    const bool isAmplitude = param.m_cells.dataKind == Param::DATA_SPECTRUM;
    return isAmplitude && param.m_units.y.IsAccOrVelOrDisp() ? CValConv::SUFFIX_ZERO_TO_PEAK
                                                             : CValConv::SUFFIX_NONE;
}

/// The first and last X that are drawn; on a logarithmic axis those above 0. X ascends.
AxisRange ReachOfX(const Param& param, bool isLogarithmic) {
    const __int64 last = param.m_x.num - 1;
    __int64 first = param.m_x.option == Param::X_WITHOUT_FIRST ? 1 : 0;
    while (isLogarithmic && first < last && param.GetXValue(first) <= 0.0) ++first;
    return {param.GetXValue(first), param.GetXValue(last)};
}

[[noreturn]] void RefuseBoundsOfX(const Param& param) {
    const AxisRange reach = ReachOfX(param, false);
    const std::string unit = " " + UnitText(param.m_units.x);
    throw Error(ErrorKind::kBadValue, "--x shows none of its samples, which reach from " +
                                          FormatNumber(reach.low) + unit + " to " + FormatNumber(reach.high) +
                                          unit);
}

void RequireAxisSpan(const AxisRange& bounds) {
    const double span = bounds.high - bounds.low;
    if (span > plot::kLeastAxisSpan && span < plot::kMostAxisSpan) return;
    throw Error(ErrorKind::kBadValue,
                "no axis can reach from " + FormatNumber(bounds.low) + " to " + FormatNumber(bounds.high));
}

/// The samples whose X lies within the bounds; throws Error when there is none.
IndexRange SamplesWithin(const Param& param, const AxisBounds& bounds) {
    __int64 first = 0;
    __int64 end = param.m_x.num;
    while (bounds.low && first < end && param.GetXValue(first) < *bounds.low) ++first;
    while (bounds.high && first < end && param.GetXValue(end - 1) > *bounds.high) --end;
    if (first == end) RefuseBoundsOfX(param);
    return {first, end - first};
}

/// Draws a title over the top of the canvas and returns where it ends.
double DrawTitle(const std::wstring& title, const PictureTarget& target, plot::Canvas& canvas) {
    constexpr double kTitleSize = 1.25;
    const plot::Size size = canvas.GetSize();
    const double letters = kTitleSize * plot::LetterSizeFor(size, canvas.GetPointLength());
    const double bottom = title.empty() ? 0.0 : std::round(1.8 * letters);
    const CGraphColorInfo& colors = *target.settings.GetGraphColorInfo();
    canvas.FillRect({0.0, 0.0, size.width, size.height},
                    colors.GetCompoInfo(CGraphColorInfo::COMPO_WINDOW_BACK, target.colors));
    const plot::TextStyle style = {letters, colors.GetCompoInfo(CGraphColorInfo::COMPO_TEXT, target.colors),
                                   plot::Align::kMiddle, plot::Align::kEnd};
    canvas.DrawText(plot::CutText(title, letters, size.width - letters, canvas), {size.width / 2.0, bottom},
                    style);
    return bottom;
}

/// Where the figures of a picture stand: in a grid, or below each other with more height for those that have
/// two plots.
std::vector<plot::Rect> PlaceFigures(const std::vector<Figure>& figures, const plot::Rect& room) {
    constexpr double kAspect = 2.4;
    const __int64 count = std::ssize(figures);
    const PaneGrid grid = TilePanes(count, room.Width(), room.Height(), kAspect);
    std::vector<double> heights(static_cast<std::size_t>(grid.rows), 1.0);
    for (std::size_t i = 0; i < figures.size(); ++i) {
        const Param::GRAPH_KIND kind = figures[i].param.m_cells.graphKind;
        if (kind == Param::GRAPH_MAGNITUDE_PHASE || kind == Param::GRAPH_REAL_IMAGINARY)
            heights[i / static_cast<std::size_t>(grid.columns)] = 1.7;
    }
    const double total = std::accumulate(heights.begin(), heights.end(), 0.0);
    std::vector<plot::Rect> places;
    double above = 0.0;
    for (const double height : heights) {
        const double top = std::round(room.top + room.Height() * above / total);
        above += height;
        const double bottom = std::round(room.top + room.Height() * above / total);
        for (__int64 column = 0; column < grid.columns && std::ssize(places) < count; ++column) {
            const auto edge = [&](__int64 index) {
                return std::round(room.left + room.Width() * static_cast<double>(index) /
                                                  static_cast<double>(grid.columns));
            };
            places.push_back({edge(column), top, edge(column + 1), bottom});
        }
    }
    return places;
}

}  // namespace

FigureChoice ResolveFigure(const AxisChoice& x, const AxisChoice& y, const std::string& unit) {
    FigureChoice choice;
    choice.x = ResolveAxis("x", x);
    choice.y = ResolveAxis("y", y);
    if (choice.y.low.has_value() != choice.y.high.has_value()) throw ValueError("--y needs both bounds");
    if (!unit.empty()) choice.unit = RequireUnit(unit);
    return choice;
}

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

bool HasAmplitudes(const Param& param) {
    const Param::DATA_KIND kind = param.m_cells.dataKind;
    return kind == Param::DATA_WAVEFORM || kind == Param::DATA_SPECTRUM ||
           kind == Param::DATA_COMPLEX_SPECTRUM;
}

bool IsForComplex(Param::GRAPH_KIND kind) {
    return kind >= Param::GRAPH_MAGNITUDE && kind <= Param::GRAPH_NYQUIST;
}

Figure MakeFigure(const CComDataBase& record, const std::vector<Channel>& channels,
                  const FigureChoice& choice) {
    const __int64 count = std::ssize(channels);
    if (count > CGraphLineInfoList::GetMaxLineNum()) {
        throw Error(ErrorKind::kBadValue, "a graph shows at most " +
                                              std::to_string(CGraphLineInfoList::GetMaxLineNum()) +
                                              " channels; choose some with --channels");
    }
    Figure figure;
    Param& param = figure.param;
    param.m_cells.rowNum = count;
    param.m_cells.colNum = 1;
    param.m_cells.dataKind = DataKindOf(record);
    param.m_cells.graphKind = GraphKindOf(param.m_cells.dataKind, choice);
    param.m_cells.rowNames = NamesOf(channels);
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
    const bool isLocus = param.m_cells.graphKind == Param::GRAPH_NYQUIST;
    const IndexRange drawn = SamplesWithin(param, isLocus ? choice.x : AxisBounds());
    for (__int64 i = 0; i < count; ++i) {
        const Channel& channel = channels[static_cast<std::size_t>(i)];
        CGraphLineInfo& line = *param.m_lines.GetInfoPtr(i);
        line.m_strName = channel.name;
        // The colour stays with the channel, whichever are chosen.
        line.m_lColorIndex =
            (channel.row * record.GetNumCol() + channel.column) % CGraphLineInfoList::GetMaxColorNum();
        const auto first = static_cast<std::size_t>(drawn.first);
        const auto length = static_cast<std::size_t>(drawn.count);
        plot::GraphSeries& series = figure.content.series.emplace_back();
        series.real = Samples(record, channel.row, channel.column).subspan(first, length);
        series.imaginary = ImaginarySamples(record, channel.row, channel.column);
        if (!series.imaginary.empty()) series.imaginary = series.imaginary.subspan(first, length);
    }
    figure.content.xName = isLocus ? L"Real part" : IsFrequency(record) ? L"Frequency" : L"Time";
    figure.content.yName = ValueName(param);
    figure.content.lowerName =
        param.m_cells.graphKind == Param::GRAPH_REAL_IMAGINARY ? L"Imaginary part" : L"Phase";
    if (!param.Check()) throw std::bad_alloc();
    ApplyScale(figure, record, choice);
    return figure;
}

void RequireSomethingSeen(const std::vector<Figure>& figures) {
    const CGraphInfo settings;
    bool isSeen = false;
    std::string why = "it holds no value that can be drawn";
    for (const Figure& figure : figures) {
        const plot::GraphCharts charts({&figure.param, &figure.scale, &settings, &figure.content});
        for (const plot::GraphPane& pane : charts.GetPanes()) {
            const plot::Chart& chart = pane.charts.front();
            const AxisRange& bounds = chart.y.bounds;
            RequireAxisSpan(bounds);
            for (const plot::ChartCurve& curve : chart.curves) {
                const plot::CurveExtent reach = plot::ExtentOfY(curve.samples, chart.x.bounds);
                if (reach.IsEmpty()) continue;
                isSeen = isSeen || (reach.low <= bounds.high && reach.high >= bounds.low);
                why = "--y shows none of its values, which reach from " + FormatNumber(reach.low) + " to " +
                      FormatNumber(reach.high);
                if (figure.scale.m_bYAuto) why = "--y-scale log: it has no value above 0";
            }
        }
    }
    if (!isSeen) throw Error(ErrorKind::kBadValue, why);
}

void ApplyScale(Figure& figure, const CComDataBase& record, const FigureChoice& choice) {
    const Param& param = figure.param;
    const bool isLocus = param.m_cells.graphKind == Param::GRAPH_NYQUIST;
    const bool isCoherence = param.m_cells.dataKind == Param::DATA_COHERENCE;
    const auto isLog = [](const AxisBounds& bounds, bool suits) {
        return bounds.form.value_or(suits ? AxisForm::kLogarithmic : AxisForm::kLinear) ==
               AxisForm::kLogarithmic;
    };
    CScaleParam& scale = figure.scale;
    scale.m_eDispType = param.m_z.dispType;
    scale.m_lZNum = param.m_z.num;
    const bool isAboveZero = ReachOfX(param, false).high > 0.0;
    scale.m_bXLog = isLog(choice.x, IsFrequency(record) && !isLocus && isAboveZero);
    scale.m_bYLog = isLog(choice.y, !isCoherence && !IsSigned(param) && HasLevels(figure));
    if (isLocus && scale.m_bXLog)
        throw Error(ErrorKind::kBadValue, "--x-scale log: the axes of a locus are linear");
    const AxisRange reach = ReachOfX(param, scale.m_bXLog);
    if (scale.m_bXLog && !isAboveZero)
        throw Error(ErrorKind::kBadValue, "--x-scale log: it has no sample above 0");
    scale.m_bXAuto = isLocus || (!choice.x.low && !choice.x.high);
    if (!scale.m_bXAuto) {
        scale.m_dXMin = choice.x.low.value_or(reach.low);
        scale.m_dXMax = choice.x.high.value_or(reach.high);
        if (scale.m_dXMin > reach.high || scale.m_dXMax < reach.low) RefuseBoundsOfX(param);
        RequireAxisSpan({scale.m_dXMin, scale.m_dXMax});
    }
    AxisBounds y = choice.y;
    if (isCoherence && !y.low && !scale.m_bYLog) y = {0.0, 1.0, {}};
    scale.m_bYAuto = !y.low;
    if (!scale.m_bYAuto) {
        const CValConv shown = ShownY(param);
        const int absolute = shown.GetUnit().IsSingle();
        std::tie(scale.m_dYMin, scale.m_dYMax) =
            std::minmax({shown.ConvItoD(*y.low, absolute), shown.ConvItoD(*y.high, absolute)});
    }
    if (!scale.Check()) throw Error(ErrorKind::kBadValue, "the bounds cannot be shown");
}

void AddProfile(Figure& figure, const PsdProfile& profile, const std::wstring& name) {
    // Close enough to each other that the profile is straight on its own axes and looks right on any other.
    constexpr __int64 kPointsPerSegment = 32;
    CDataArrayDouble hz;
    CDataArrayDouble levels;
    const std::span<const double> corners = profile.Frequencies();
    for (std::size_t i = 0; i + 1 < corners.size(); ++i) {
        const double ratio = corners[i + 1] / corners[i];
        for (__int64 k = 0; k < kPointsPerSegment; ++k)
            hz.Append(corners[i] * std::pow(ratio, static_cast<double>(k) / kPointsPerSegment));
    }
    hz.Append(corners.back());
    for (__int64 i = 0; i < hz.GetNum(); ++i) levels.Append(profile.LevelAt(hz[i]));
    if (levels.GetNum() != (std::ssize(corners) - 1) * kPointsPerSegment + 1) throw std::bad_alloc();

    CGraphLineInfo line;
    line.m_strName = name;
    if (!figure.param.m_lines.Append(line))
        throw Error(ErrorKind::kBadValue, "there is no room for the profile beside 64 channels");
    figure.param.m_series.num += 1;
    figure.param.m_frame.legend = 1;
    figure.content.series.push_back({Samples(levels), {}, Samples(hz), CGraphColorInfo::DATALINE_LIMIT});
    figure.own.push_back(std::move(hz));
    figure.own.push_back(std::move(levels));
}

void WriteFigures(const PictureChoice& choice, const PictureTarget& target, const std::wstring& title,
                  std::vector<Figure>& figures, ByteStream& out) {
    const std::wstring shown = target.title.value_or(title);
    const auto view = [&](const Figure& figure) {
        return plot::GraphView{&figure.param, &figure.scale, &target.settings, &figure.content,
                               target.colors};
    };
    WritePicture(choice, target, [&](plot::Canvas& canvas) {
        if (figures.size() == 1) figures.front().param.m_z.title = shown;
        plot::Rect room = {0.0, 0.0, canvas.GetSize().width, canvas.GetSize().height};
        if (figures.size() > 1) room.top = DrawTitle(shown, target, canvas);
        const std::vector<plot::Rect> places = PlaceFigures(figures, room);
        double letters = 0.0;
        for (const plot::Rect& place : places) {
            letters = std::max(letters,
                               plot::LetterSizeFor({place.Width(), place.Height()}, canvas.GetPointLength()));
        }
        // One below the other, the same X should be at the same place.
        plot::PlotMargins margins;
        for (std::size_t i = 0; i < figures.size(); ++i) {
            figures[i].content.letterSize = letters;
            if (figures.size() == 1) break;
            const plot::CanvasRegion region(canvas, places[i]);
            const plot::PlotMargins own = plot::GraphMargins(view(figures[i]), region);
            margins = {std::max(margins.left, own.left), std::max(margins.right, own.right)};
        }
        for (std::size_t i = 0; i < figures.size(); ++i) {
            plot::CanvasRegion region(canvas, places[i]);
            const bool isFlat = figures[i].param.m_z.dispType == Param::GRAPHDISP_2D;
            const int isDrawn = isFlat ? plot::DrawGraph(view(figures[i]), region, margins)
                                       : plot::DrawDepthGraph(view(figures[i]), region);
            if (!isDrawn) throw Error(ErrorKind::kBadValue, "it cannot be drawn");
        }
    });
    const plot::Size& size = target.options.size;
    const std::string& output = choice.output.name;
    const bool storesToStream = IsStandardStream(choice.storeSettings);
    WriteText(ReportStream(storesToStream ? choice.storeSettings : output, out),
              OutputName(output) + ": " + Count(std::ssize(figures), "graph") + ", " +
                  FormatNumber(size.width) + " x " + FormatNumber(size.height) +
                  (target.format == plot::PictureFormat::kPdf ? " points\n" : " pixels\n"));
}

}  // namespace kvx::tool
