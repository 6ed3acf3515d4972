// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Decibels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace kvx {
namespace {

struct StandardReference {
    CUnitCtrl::DIM_CODE dimension;
    double value;
    std::string_view text;
};
// ISO 1683:2015, tables 1 and 2.
constexpr std::array kReferences = {
    StandardReference{CUnitCtrl::DIM_ACCELERATION, 1e-6, "1e-06 m/s2"},
    StandardReference{CUnitCtrl::DIM_VELOCITY, 1e-9, "1e-09 m/s"},
    StandardReference{CUnitCtrl::DIM_DISPLACEMENT, 1e-12, "1e-12 m"},
    StandardReference{CUnitCtrl::DIM_FORCE, 1e-6, "1e-06 N"},
    StandardReference{CUnitCtrl::DIM_PRESSURE, 2e-5, "2e-05 Pa"},
};

}  // namespace

DecibelReference UsualReference(const CUnitCtrl& unit) {
    const auto found = std::ranges::find(kReferences, DimensionOf(unit), &StandardReference::dimension);
    if (unit.IsSingle() && found != kReferences.end()) return {found->value, std::string(found->text)};
    return NamedReference("1", unit);
}

DecibelReference NamedReference(std::string_view text, const CUnitCtrl& unit) {
    if (text.empty()) return UsualReference(unit);
    const std::size_t end = std::min(text.find_first_not_of("0123456789.+-eE"), text.size());
    const std::optional<double> number = ParseNumber(text.substr(0, end));
    if (!number || !(*number > 0.0) || !std::isfinite(*number))
        throw Error(ErrorKind::kBadValue, "the reference " + Quote(text) + " begins with no number above 0");
    const std::size_t name = text.find_first_not_of(' ', end);
    const EntryUnit stated =
        name == text.npos ? EntryUnit(unit) : NamedEntryUnit(text.substr(name), DimensionOf(unit));
    if (!IsConvertible(stated.unit, unit)) {
        throw Error(ErrorKind::kBadValue, "the reference " + Quote(text) + " is of another dimension than " +
                                              Quote(UnitText(unit)));
    }
    const std::string shown = name == text.npos ? UnitText(unit) : std::string(text.substr(name));
    return {stated.unit.ConvItoD(*number * stated.scale, 1.0, 0), FormatNumber(*number) + " " + shown};
}

double DecibelsOf(const LineSpectrum& lines, double shownLevel, const DecibelReference& reference) {
    if (IsPower(lines.kind))
        return 10.0 *
               std::log10(lines.unit.ConvItoD(shownLevel, 1.0, 0) / (reference.value * reference.value));
    return DecibelsOfRms(lines.unit, shownLevel, reference);
}

double DecibelsOfRms(const CUnitCtrl& unit, double shownRms, const DecibelReference& reference) {
    return 20.0 * std::log10(unit.ConvItoD(shownRms, 1.0, 0) / reference.value);
}

}  // namespace kvx
