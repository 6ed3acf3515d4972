// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/GraphAxis.h>

#include <algorithm>
#include <cmath>

#include <KvxDevCommon01/graph/AutoRange.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxPlot01/Ticks.h>
#include <KvxPlot01/detail/ShownValues.h>

namespace kvx::plot {
namespace {

// An automatic logarithmic axis shows no more than this below the largest value: what lies deeper is rounding
// noise, however small it gets.
constexpr double kDeepest = 1e-8;
// Part of the range (of its decades on a logarithmic axis) that stays free beyond the data on either side.
constexpr double kRoom = 0.02;
// Data whose range is a smaller part of their size, or too small for an axis, count as one value.
constexpr double kLeastRange = 1e-9;

AxisForm FormOf(BOOL isLogarithmic) {
    return isLogarithmic ? AxisForm::kLogarithmic : AxisForm::kLinear;
}

/// Room around data of one value.
AxisRange Around(const AxisRange& data, AxisForm form) {
    if (form == AxisForm::kLogarithmic) return {data.low / std::sqrt(10.0), data.high * std::sqrt(10.0)};
    const double size = std::max(std::abs(data.low), std::abs(data.high));
    const double margin = size > 0.0 ? std::max(0.1 * size, kLeastAxisSpan) : 1.0;
    return {data.low - margin, data.high + margin};
}

AxisRange DataRange(const AxisSetting& setting, const CurveExtent& data) {
    AxisRange range{data.low, data.high};
    if (setting.form == AxisForm::kLogarithmic) range.low = std::max(data.lowAboveZero, data.high * kDeepest);
    if (setting.isSymmetric) {
        range.high = std::max(std::abs(range.low), std::abs(range.high));
        range.low = -range.high;
    }
    return range;
}

/// The data with room on either side; without where that leaves the range of numbers.
AxisRange WithRoom(const AxisRange& data, AxisForm form) {
    const bool isLogarithmic = form == AxisForm::kLogarithmic;
    const double factor = std::pow(data.high / data.low, kRoom);
    const double room = kRoom * (data.high - data.low);
    const AxisRange wider = isLogarithmic ? AxisRange{data.low / factor, data.high * factor}
                                          : AxisRange{data.low - room, data.high + room};
    return std::isfinite(wider.low) && std::isfinite(wider.high) ? wider : data;
}

AxisRange AutomaticBounds(const AxisSetting& setting, const CurveExtent& data) {
    const bool isLogarithmic = setting.form == AxisForm::kLogarithmic;
    if (data.IsEmpty() || (isLogarithmic && !(data.lowAboveZero > 0.0))) {
        return isLogarithmic ? AxisRange{1.0, 10.0} : AxisRange{0.0, 1.0};
    }
    AxisRange range = DataRange(setting, data);
    const double size = std::max(std::abs(range.low), std::abs(range.high));
    const bool isLinear = setting.form == AxisForm::kLinear;
    if (!(range.high - range.low > std::max(kLeastRange * size, isLinear ? kLeastAxisSpan : 0.0)))
        return Around(range, setting.form);
    if (setting.hasRoom) range = WithRoom(range, setting.form);
    if (setting.isFullRange) return range;
    const std::optional<AxisRange> rounded =
        AutoRange(range.low, range.high, setting.form, RangeRounding::kOutward);
    return rounded && rounded->low < rounded->high && (!isLogarithmic || rounded->low > 0.0) ? *rounded
                                                                                             : range;
}

}  // namespace

AxisSetting XSetting(const CScaleParam& scale) {
    return {scale.m_bXFullRange != 0,
            scale.m_bXAuto != 0,
            {scale.m_dXMin, scale.m_dXMax},
            FormOf(scale.m_bXLog),
            scale.m_bXSymmetric != 0};
}

AxisSetting YSetting(const CScaleParam& scale) {
    return {false,
            scale.m_bYAuto != 0,
            {scale.m_dYMin, scale.m_dYMax},
            FormOf(scale.m_bYLog),
            scale.m_bYSymmetric != 0};
}

AxisSetting Y2Setting(const CScaleParam& scale) {
    return {false,
            scale.m_bY2Auto != 0,
            {scale.m_dY2Min, scale.m_dY2Max},
            FormOf(scale.m_bY2Log),
            scale.m_bY2Symmetric != 0};
}

AxisRange ShownBounds(const AxisSetting& setting, const CValConv& shown, const CurveExtent& data) {
    if (setting.isAutomatic || setting.isFullRange) return AutomaticBounds(setting, data);
    const double first = ToShown(shown, setting.standard.low);
    const double second = ToShown(shown, setting.standard.high);
    // A unit of reciprocals turns the bounds round.
    AxisRange bounds{std::min(first, second), std::max(first, second)};
    if (setting.isSymmetric) {
        bounds.high = std::max(std::abs(first), std::abs(second));
        bounds.low = -bounds.high;
    }
    bounds.high = UpperBoundApart(bounds.low, bounds.high);
    return bounds;
}

std::wstring UnitTitle(const CValConv& shown) {
    if (PlainUnitName(shown.GetUnit()).empty()) return {};
    CString unit;
    shown.GetUnitString(&unit);
    // A trailing run of markup would reach the bracket.
    return L"[" + unit + L"#n]";
}

std::wstring AxisTitle(const std::wstring& name, const CValConv& shown) {
    const std::wstring unit = UnitTitle(shown);
    return name.empty() || unit.empty() ? name + unit : name + L" " + unit;
}

}  // namespace kvx::plot
