// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/ResolvedCharts.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxPlot01/LineLook.h>
#include <KvxPlot01/PeakMarks.h>
#include <KvxPlot01/detail/GraphAxis.h>
#include <KvxPlot01/detail/SeriesSetting.h>
#include <KvxPlot01/detail/ShownValues.h>

namespace kvx::plot::detail {
namespace {

using Param = CGraphParam;

/// What a chart shows of its samples.
enum class Part { kReal, kImaginary, kMagnitude, kPhase, kUnwrappedPhase };

bool IsPhase(Part part) {
    return part == Part::kPhase || part == Part::kUnwrappedPhase;
}

std::vector<Part> PartsOf(Param::GRAPH_KIND kind) {
    switch (kind) {
        case Param::GRAPH_MAGNITUDE:
            return {Part::kMagnitude};
        case Param::GRAPH_PHASE:
            return {Part::kPhase};
        case Param::GRAPH_UNWRAPPED_PHASE:
            return {Part::kUnwrappedPhase};
        case Param::GRAPH_IMAGINARY:
            return {Part::kImaginary};
        case Param::GRAPH_MAGNITUDE_PHASE:
            return {Part::kMagnitude, Part::kPhase};
        case Param::GRAPH_REAL_IMAGINARY:
            return {Part::kReal, Part::kImaginary};
        default:
            return {Part::kReal};
    }
}

CurveShape ShapeOf(Param::GRAPH_KIND kind) {
    switch (kind) {
        case Param::GRAPH_STEPS:
            return CurveShape::kSteps;
        case Param::GRAPH_BARS:
            return CurveShape::kBars;
        case Param::GRAPH_MARKS:
            return CurveShape::kMarks;
        default:
            return CurveShape::kLine;
    }
}

CValConv Converter(const CUnitCtrl& unit, CValConv::UNIT_SUFFIX suffix) {
    return CValConv(unit, suffix);
}

TickStyle StyleOf(std::int32_t significantDigits) {
    TickStyle style;
    if (significantDigits > 0) style.significantDigits = std::min(significantDigits, 15);
    return style;
}

double Derived(Part part, double real, double imaginary) {
    if (real == kNoValue<double> || imaginary == kNoValue<double>) return kNoValue<double>;
    switch (part) {
        case Part::kImaginary:
            return imaginary;
        case Part::kMagnitude:
            return std::hypot(real, imaginary);
        case Part::kPhase:
        case Part::kUnwrappedPhase:
            return std::atan2(imaginary, real);
        default:
            return real;
    }
}

/// Takes the jumps by whole turns out of phases in radians; gaps are passed over.
void Unwrap(std::span<double> phases) {
    constexpr double kTurn = 2.0 * std::numbers::pi;
    double last = std::numeric_limits<double>::quiet_NaN();
    for (double& phase : phases) {
        if (phase == kNoValue<double> || !std::isfinite(phase)) continue;
        if (!std::isnan(last)) phase -= std::round((phase - last) / kTurn) * kTurn;
        last = phase;
    }
}

/// Builds the charts of a view that is consistent.
class Builder {
public:
    explicit Builder(const GraphView& view)
        : param_(*view.param),
          scale_(*view.scale),
          info_(*view.info),
          content_(*view.content),
          output_(view.output),
          x_(Keep(Converter(param_.m_units.x, param_.m_frame.suffix.x))),
          y_(Keep(Converter(param_.m_units.y, param_.m_frame.suffix.y))),
          y2_(Keep(Converter(param_.m_units.y2, param_.m_frame.suffix.y2))),
          angle_(param_.m_units.y == CUnitCtrl::DIM_ANGLE
                     ? y_
                     : Keep(CValConv(units::kDegree, CValConv::SUFFIX_NONE))) {}

    ResolvedCharts Build() {
        const auto pane = [&](std::wstring title, __int64 firstRow, __int64 rows, __int64 firstCol,
                              __int64 cols) {
            std::vector<__int64> cells;
            for (__int64 row = firstRow; row < firstRow + rows; ++row) {
                for (__int64 col = firstCol; col < firstCol + cols; ++col) {
                    cells.push_back(row * param_.m_cells.colNum + col);
                }
            }
            charts_.panes.push_back(BuildPane(std::move(title), std::move(cells)));
        };
        const __int64 rows = param_.m_cells.rowNum;
        const __int64 cols = param_.m_cells.colNum;
        switch (param_.m_frame.paneMode) {
            case Param::PANE_PER_ROW:
                for (__int64 row = 0; row < rows; ++row) pane(RowName(row), row, 1, 0, cols);
                break;
            case Param::PANE_PER_COL:
                for (__int64 col = 0; col < cols; ++col) pane(ColName(col), 0, rows, col, 1);
                break;
            case Param::PANE_PER_CELL:
                for (__int64 row = 0; row < rows; ++row) {
                    for (__int64 col = 0; col < cols; ++col) pane(CellName(row, col), row, 1, col, 1);
                }
                break;
            default:
                pane({}, 0, rows, 0, cols);
        }
        return std::move(charts_);
    }

private:
    const CValConv& Keep(CValConv converter) { return charts_.converters.emplace_back(std::move(converter)); }

    std::wstring RowName(__int64 row) const { return param_.m_cells.rowNames[static_cast<std::size_t>(row)]; }
    std::wstring ColName(__int64 col) const { return param_.m_cells.colNames[static_cast<std::size_t>(col)]; }
    std::wstring CellName(__int64 row, __int64 col) const { return detail::CellName(param_, row, col); }

    bool IsCell(__int64 series) const { return detail::IsCell(param_, series); }

    bool IsSelected(__int64 series) const {
        return param_.m_series.selected != 0 &&
               series == param_.m_series.selectedRow * param_.m_cells.colNum + param_.m_series.selectedCol;
    }

    const CGraphLineInfo& LineOf(__int64 series) const { return detail::LineOf(param_, series); }
    std::wstring NameOf(__int64 series) const { return detail::SeriesName(param_, series); }

    CKvxGraphLineSample LookOf(__int64 series) const {
        const auto kind = SeriesAt(series).special.value_or(detail::DataLineOf(param_, series));
        CKvxGraphLineSample look = LineSampleOf(*info_.GetGraphColorInfo(), kind, output_);
        if (IsSelected(series)) {
            look.m_lLineThick =
                std::min<std::int32_t>(look.m_lLineThick + 1, GRAPH_COLOR_LINE_TAG::THICK_EXTRA);
            look.m_lLineWidth *= 2;
        }
        return look;
    }

    const GraphSeries& SeriesAt(__int64 series) const {
        return content_.series[static_cast<std::size_t>(series)];
    }

    bool HasSecondAxis() const { return param_.m_units.y2Enable && scale_.m_bY2Enable; }

    // ---- Samples ----

    /// A part of a series' samples: the real part itself, anything else derived into `derived_`.
    std::span<const double> Values(const GraphSeries& series, Part part) {
        if (part == Part::kReal) return series.real;
        std::vector<double>& values = charts_.derived.emplace_back(series.real.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double imaginary = series.imaginary.empty() ? 0.0 : series.imaginary[i];
            values[i] = Derived(part, series.real[i], imaginary);
        }
        if (part == Part::kUnwrappedPhase) Unwrap(values);
        return values;
    }

    CurveSamples SamplesOver(const GraphSeries& series, std::span<const double> values,
                             const CValConv& shownY) const {
        CurveSamples samples;
        samples.y = values;
        samples.shownX = &x_;
        samples.shownY = &shownY;
        if (!series.x.empty()) {
            samples.x = series.x;
            return samples;
        }
        if (param_.m_x.interval == 0.0) {
            samples.x = Samples(param_.m_x.values);
        } else {
            samples.start = param_.m_x.start + static_cast<double>(param_.m_x.offset) * param_.m_x.interval;
            samples.step = param_.m_x.interval;
        }
        const bool hasFirst = (param_.m_x.option & Param::X_WITHOUT_FIRST) == 0;
        if (hasFirst || samples.Count() == 0) return samples;
        samples.y = samples.y.subspan(1);
        // Without a sample left there is no X either, which would be an even spacing.
        if (!samples.IsEven()) samples.x = samples.x.subspan(samples.y.empty() ? 0 : 1);
        samples.start += samples.step;
        return samples;
    }

    // ---- Charts ----

    ChartCurve NewCurve(__int64 series, const CValConv*& shownY) const {
        ChartCurve curve;
        curve.name = NameOf(series);
        curve.shape = IsCell(series) ? ShapeOf(param_.m_cells.graphKind) : CurveShape::kLine;
        curve.look = LookOf(series);
        curve.isOnSecondAxis = HasSecondAxis() && LineOf(series).m_lAxis != 0;
        if (curve.isOnSecondAxis) shownY = &y2_;
        return curve;
    }

    /// The curves of one part over X.
    void AddCurves(const std::vector<__int64>& series, Part part, bool isPhaseBelow, Chart* chart) {
        for (const __int64 k : series) {
            if (!LineOf(k).m_bDisp) continue;
            // A profile belongs to the magnitudes, a phase line to the phases.
            const GraphSeries& source = SeriesAt(k);
            const bool isPhaseLine = source.special == CGraphColorInfo::DATALINE_PHASE;
            if (source.special && isPhaseBelow && isPhaseLine != IsPhase(part)) continue;
            const CValConv* shownY = IsPhase(part) ? &angle_ : &y_;
            ChartCurve curve = NewCurve(k, shownY);
            const std::span<const double> values = Values(source, source.special ? Part::kReal : part);
            curve.samples = SamplesOver(source, values, *shownY);
            chart->curves.push_back(std::move(curve));
        }
    }

    /// Curves of one quantity over another one of the same kind.
    void AddLoops(const std::vector<__int64>& series, Chart* chart) {
        const bool isOrbit = param_.m_cells.graphKind == Param::GRAPH_ORBIT;
        const std::size_t stride = isOrbit ? 2 : 1;
        for (std::size_t i = 0; i + stride <= series.size(); i += stride) {
            const __int64 k = series[i];
            if (!LineOf(k).m_bDisp) continue;
            const CValConv* shownY = &y_;
            ChartCurve curve = NewCurve(k, shownY);
            curve.isOnSecondAxis = false;
            curve.samples.shownX = curve.samples.shownY = &y_;
            curve.samples.x = SeriesAt(k).real;
            if (isOrbit) {
                const GraphSeries& over = SeriesAt(series[i + 1]);
                curve.samples.y = over.real;
                if (!NameOf(series[i + 1]).empty()) curve.name = NameOf(series[i + 1]) + L" / " + curve.name;
            } else {
                curve.samples.y = Values(SeriesAt(k), Part::kImaginary);
            }
            chart->curves.push_back(std::move(curve));
        }
    }

    Chart NewChart() const {
        const Param::Frame& frame = param_.m_frame;
        Chart chart;
        chart.hasGrid = frame.grid != 0;
        chart.hasNumbers = frame.numbers != 0;
        chart.legend = frame.legend ? content_.legend : LegendPlace::kNone;
        chart.isLegendWidthFromText = info_.GetGraphConfigInfo()->IsLegendWidthText() != 0;
        chart.x.ticks = StyleOf(frame.digits.x);
        chart.y.ticks = StyleOf(frame.digits.y);
        if (HasSecondAxis()) chart.y2.emplace().ticks = StyleOf(frame.digits.y2);
        const CGraphConfigInfo& config = *info_.GetGraphConfigInfo();
        if (config.GetScaleDigitFlg()) {
            chart.y.ticks.decimals = std::clamp(config.GetScaleDigit(), 0, 15);
            if (chart.y2) chart.y2->ticks.decimals = chart.y.ticks.decimals;
        }
        return chart;
    }

    /// What a curve needs of X. Bars at the ends are as wide as the others.
    static CurveExtent RoomOfX(const ChartCurve& curve) {
        CurveExtent extent = ExtentOfX(curve.samples);
        if (curve.shape != CurveShape::kBars || !curve.samples.IsEven() || extent.IsEmpty()) return extent;
        CurveSamples edges = curve.samples;
        edges.start -= edges.step / 2.0;
        extent.Include(ExtentOfX(edges));
        edges.start += edges.step;
        extent.Include(ExtentOfX(edges));
        return extent;
    }

    /// Bounds of the X axis for the curves of all charts of a pane, so that these stay one below the other.
    AxisRange BoundsOfX(const std::vector<Chart>& charts, const AxisSetting& setting,
                        const CValConv& shown) const {
        CurveExtent extent;
        if (setting.isAutomatic || setting.isFullRange) {
            for (const Chart& chart : charts) {
                for (const ChartCurve& curve : chart.curves) extent.Include(RoomOfX(curve));
            }
        }
        return ShownBounds(setting, shown, extent);
    }

    AxisRange BoundsOfY(const Chart& chart, bool isSecond, AxisSetting setting, const CValConv& shown) const {
        CurveExtent extent;
        setting.hasRoom = content_.hasRoom;
        if (setting.isAutomatic) {
            for (const ChartCurve& curve : chart.curves) {
                if (curve.isOnSecondAxis != isSecond) continue;
                extent.Include(ExtentOfY(curve.samples, chart.x.bounds));
                if (curve.shape != CurveShape::kBars) continue;
                setting.hasRoom = false;  // bars stand on the frame
                if (setting.form == AxisForm::kLinear) extent.Include({0.0, 0.0, 0.0});
            }
        }
        return ShownBounds(setting, shown, extent);
    }

    void FinishAxes(Part part, const std::wstring& name, Chart* chart) const {
        const AxisSetting y = YSetting(scale_);
        if (IsPhase(part) && part == Part::kPhase &&
            param_.m_cells.graphKind == Param::GRAPH_MAGNITUDE_PHASE) {
            chart->y.bounds = {ToShown(angle_, -std::numbers::pi), ToShown(angle_, std::numbers::pi)};
        } else {
            chart->y.form = y.form;
            chart->y.bounds = BoundsOfY(*chart, false, y, IsPhase(part) ? angle_ : y_);
        }
        const CValConv& shownY = IsPhase(part) ? angle_ : y_;
        chart->y.ticks.isDegrees =
            kvx::PlainUnitName(shownY.GetUnit()) == kvx::PlainUnitName(SingleUnit(units::kDegree));
        chart->y.title = AxisTitle(name, shownY);
        chart->y.shortTitle = UnitTitle(shownY);
        if (!chart->y2) return;
        const AxisSetting y2 = Y2Setting(scale_);
        chart->y2->form = y2.form;
        chart->y2->bounds = BoundsOfY(*chart, true, y2, y2_);
        chart->y2->title = AxisTitle(content_.y2Name, y2_);
        chart->y2->shortTitle = UnitTitle(y2_);
    }

    /// A value with its unit; temperatures as readings unless they are a member of a compound.
    static std::wstring ValueText(double value, CValConv shown) {
        CString text;
        shown.SetFmt(L"%.4g");
        shown.GetUnit().IsSingle() ? shown.ConvTempDataToString(value, &text)
                                   : shown.ConvDataToString(value, &text);
        return text;
    }

    /// Marks the peaks of the cells, whose curves are the first ones, as the configuration says.
    void MarkPeaks(const std::vector<__int64>& series, Chart* chart) const {
        GRAPHCONFIGINFO_PEAKSEARCH_TAG search;
        std::int32_t most = 0;
        int isShown = 0;
        int hasText = 0;
        info_.GetGraphConfigInfo()->GetPeakMarkInfo(&search, &most, &isShown, &hasText);
        if (!isShown) return;
        const auto cells =
            std::ranges::count_if(series, [&](__int64 k) { return IsCell(k) && LineOf(k).m_bDisp; });
        for (std::size_t i = 0; i < static_cast<std::size_t>(cells); ++i) {
            const ChartCurve& curve = chart->curves[i];
            for (const CurvePeak& peak : FindPeaks(curve.samples, chart->x.bounds, search, most)) {
                const double x = curve.samples.XAt(peak.index);
                const double y = curve.samples.YAt(peak.index);
                ChartMark mark{i,
                               {ToShown(*curve.samples.shownX, x), ToShown(*curve.samples.shownY, y)},
                               peak.isMaximum,
                               {}};
                if (hasText) {
                    mark.text =
                        ValueText(x, *curve.samples.shownX) + L", " + ValueText(y, *curve.samples.shownY);
                }
                chart->marks.push_back(std::move(mark));
            }
        }
    }

    GraphPane BuildPane(std::wstring title, std::vector<__int64> series) {
        // Whatever stands out is drawn over the other cells, and profiles over them all.
        std::stable_partition(series.begin(), series.end(), [&](__int64 k) { return !IsSelected(k); });
        for (__int64 k = param_.m_cells.rowNum * param_.m_cells.colNum; k < param_.m_series.num; ++k) {
            series.push_back(k);
        }
        const Param::GRAPH_KIND kind = param_.m_cells.graphKind;
        const bool isLoop = kind == Param::GRAPH_NYQUIST || kind == Param::GRAPH_ORBIT;
        const std::vector<Part> parts = PartsOf(kind);

        GraphPane pane;
        for (const Part part : parts) {
            Chart chart = NewChart();
            if (isLoop) {
                AddLoops(series, &chart);
                chart.y2.reset();
                chart.isToScale = scale_.m_bXAuto && scale_.m_bYAuto;
            } else {
                AddCurves(series, part, kind == Param::GRAPH_MAGNITUDE_PHASE, &chart);
            }
            pane.charts.push_back(std::move(chart));
        }
        const CValConv& shownX = isLoop ? y_ : x_;
        AxisSetting x = XSetting(scale_);
        x.hasRoom = isLoop && content_.hasRoom;
        const AxisRange bounds = BoundsOfX(pane.charts, x, shownX);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            Chart& chart = pane.charts[i];
            chart.x.form = x.form;
            chart.x.bounds = bounds;
            for (const double cursor : content_.cursors) chart.cursors.push_back(ToShown(shownX, cursor));
            const bool hasOwnName = i > 0 && !content_.lowerName.empty();
            FinishAxes(parts[i], hasOwnName ? content_.lowerName : content_.yName, &chart);
            if (i == 0 && !isLoop) MarkPeaks(series, &chart);
            // What the charts share stands once: X below them, the legend where there is room for it.
            if (i + 1 == parts.size()) chart.x.title = AxisTitle(content_.xName, shownX);
            const std::size_t withLegend = chart.legend == LegendPlace::kBelow ? parts.size() - 1 : 0;
            if (i != withLegend) chart.legend = LegendPlace::kNone;
        }
        if (param_.m_frame.title) pane.charts.front().title = std::move(title);
        return pane;
    }

    ResolvedCharts charts_;
    const CGraphParam& param_;
    const CScaleParam& scale_;
    const CGraphInfo& info_;
    const GraphContent& content_;
    CGraphColorInfo::OUTPUT_KIND output_;
    const CValConv& x_;
    const CValConv& y_;
    const CValConv& y2_;
    const CValConv& angle_;
};

}  // namespace

void Require(bool isGiven, const char* sentence) {
    if (!isGiven) throw Error(ErrorKind::kBadValue, sentence);
}

void RequireConsistent(const GraphView& view) {
    Require(view.param != nullptr && view.scale != nullptr && view.info != nullptr && view.content != nullptr,
            "a graph needs parameters, scales, settings and content");
    Require(view.param->Check(), "the parameters of the graph are incomplete or contradict each other");
    Require(view.scale->Check(), "the scales of the graph have no bounds or contradict each other");
    Require(view.scale->m_eDispType == view.param->m_z.dispType,
            "the scales are made for another display type than the graph's");
    Require(std::ranges::all_of(view.content->series, IsComplete),
            "a series has no samples, or X values or imaginary parts for some of them only");
}

ResolvedCharts ResolveCharts(const GraphView& view) {
    RequireConsistent(view);
    const CGraphParam& param = *view.param;
    const __int64 num = std::ssize(view.content->series);
    // Rows times columns may be more than a number holds.
    Require(num == param.m_series.num && param.m_cells.rowNum <= num / param.m_cells.colNum,
            "the series of samples are not as many as the parameters of the graph say");
    return Builder(view).Build();
}

}  // namespace kvx::plot::detail
