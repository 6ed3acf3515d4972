// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/ShownValue.h>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

CValConv ConverterTo(const CUnitCtrl& unit, const ShowSettings& settings) {
    CValConv converter;
    if (settings.format) converter.SetFmt(settings.format->c_str());
    converter.SetUnit(unit);
    converter.SetUnitSuffix(settings.suffix);
    return converter;
}

}  // namespace

ShownValue ShowIn(const CUnitCtrl& unit, double standardValue, const ShowSettings& settings) {
    const CValConv converter = ConverterTo(unit, settings);
    CString value, name;
    if (settings.isAbsolute) {
        converter.ConvTempDataToString(standardValue, &value, &name, settings.locale);
    } else {
        converter.ConvDataToString(standardValue, &value, &name, settings.locale);
    }
    return {ToUtf8(value), ToUtf8(WithoutMarkup(name))};
}

std::string ShownText(const CUnitCtrl& unit, double standardValue, const ShowSettings& settings) {
    const CValConv converter = ConverterTo(unit, settings);
    CString text;
    if (settings.isAbsolute) {
        converter.ConvTempDataToString(standardValue, &text);
    } else {
        converter.ConvDataToString(standardValue, &text);
    }
    return ToUtf8(WithoutMarkup(text));
}

std::string ColumnHeading(const std::string& name, const CUnitCtrl& unit, CValConv::UNIT_SUFFIX suffix) {
    CString text, own;
    CValConv(unit, suffix).GetUnitString(&text);
    unit.GetUnitName(&own);
    text = PlainUnitName(unit) + WithoutMarkup(text.substr(own.size()));
    const bool isNamed = text.find_first_not_of(L' ') != text.npos;
    return isNamed ? name + " [" + ToUtf8(text) + "]" : name;
}

}  // namespace kvx
