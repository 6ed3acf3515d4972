// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Decibels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>

namespace kvx {
LevelReference NamedReference(std::string_view text, const CUnitCtrl& unit) {
    if (text.empty()) return LevelReferenceOf(unit);
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

double DecibelsOf(const LineSpectrum& lines, double shownLevel, const LevelReference& reference) {
    if (IsPower(lines.kind))
        return 10.0 *
               std::log10(lines.unit.ConvItoD(shownLevel, 1.0, 0) / (reference.value * reference.value));
    return DecibelsOfRms(lines.unit, shownLevel, reference);
}

double DecibelsOfRms(const CUnitCtrl& unit, double shownRms, const LevelReference& reference) {
    return 20.0 * std::log10(unit.ConvItoD(shownRms, 1.0, 0) / reference.value);
}

}  // namespace kvx
