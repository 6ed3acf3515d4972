// SPDX-License-Identifier: MIT
//
// What the settings of a graph's axis come to, given its data: bounds in shown values and a title.
#pragma once

#include <string>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <KvxPlot01/Curve.h>

namespace kvx::plot {

/// The settings of one axis out of CScaleParam.
struct AxisSetting {
    bool isFullRange = false;  ///< exactly what the data reach
    bool isAutomatic = false;
    AxisRange standard;  ///< bounds in the standard unit
    AxisForm form = AxisForm::kLinear;
    bool isSymmetric = false;
    bool hasRoom = false;  ///< automatic bounds lie a little beyond the data
};

AxisSetting XSetting(const CScaleParam& scale);
AxisSetting YSetting(const CScaleParam& scale);
AxisSetting Y2Setting(const CScaleParam& scale);

/// The bounds to show, low below high. Automatic ones are fitted to `data`, the extent of the shown values;
/// those of a single value lie around it, those of none are 0 to 1 (1 to 10 on a logarithmic axis).
AxisRange ShownBounds(const AxisSetting& setting, const CValConv& shown, const CurveExtent& data);

/// The unit in brackets, with the text of the amplitude suffix; empty without a unit.
std::wstring UnitTitle(const CValConv& shown);
/// "name [unit]"; without a unit the name alone.
std::wstring AxisTitle(const std::wstring& name, const CValConv& shown);

}  // namespace kvx::plot
