// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/StatedUnit.h>

#include <optional>

#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

void Take(RecordingInfo::Channel* channel, const EntryUnit& unit) {
    channel->unit = unit.unit;
    channel->scale = unit.scale;
    channel->convertedUnit = unit.converted;
}

}  // namespace

void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text,
               std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (text.empty()) return;
    if (const std::optional<EntryUnit> unit = ParseEntryUnit(text, hint)) {
        Take(channel, *unit);
    } else {
        channel->unknownUnit = text;
    }
}

EntryUnit StateAxisUnit(RecordedAxis* axis, std::wstring_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    const std::optional<EntryUnit> unit = ParseEntryUnit(text, hint);
    const bool isTaken = unit && unit->unit.IsSingle() && !IsLogarithmic(unit->unit) &&
                         UnitParts(unit->unit).front().calc == CUnitCtrl::CALC_PLAIN &&
                         DimensionOf(unit->unit) != CUnitCtrl::DIM_RATIO;
    axis->unit = isTaken ? CUnitCtrl(DimensionOf(unit->unit)) : CUnitCtrl();
    axis->unknownUnit = isTaken ? std::wstring() : std::wstring(text);
    return isTaken ? *unit : EntryUnit();
}

void ToStandardPlaces(const EntryUnit& unit, std::span<double> places) {
    if (unit.scale != 1.0) {
        for (double& place : places) place *= unit.scale;
    }
    unit.unit.ConvItoD(places.data(), places.data(), std::ssize(places), 1.0, 1);
}

double ToStandardDistance(const EntryUnit& unit, double distance) {
    return unit.unit.ConvItoD(distance * unit.scale, 1.0, 0);
}

void ToStandardPlaces(const EntryUnit& unit, TimeStamps* stamps) {
    for (double* const place : {&stamps->first, &stamps->last}) ToStandardPlaces(unit, {place, 1});
    stamps->resolution = ToStandardDistance(unit, stamps->resolution);
    if (stamps->stray) ToStandardPlaces(unit, {&stamps->stray->stamp, 1});
}

void StateHeading(RecordingInfo::Channel* channel, const UnitHeading& heading) {
    channel->name = heading.name;
    if (heading.unit) {
        const bool isSingle = heading.unit->IsSingle() != 0;
        Take(channel, isSingle ? EntryUnit(*heading.unit)
                               : ParseEntryUnit(PlainUnitName(*heading.unit)).value_or(*heading.unit));
        return;
    }
    StateUnit(channel, heading.unknownUnit);
    // What was no unit was left in the name, behind which it stands in brackets.
    const std::size_t inside = heading.name.rfind(heading.unknownUnit);
    if (!channel->unit || heading.unknownUnit.empty() || inside == heading.name.npos || inside == 0) return;
    if (heading.name[inside - 1] != L'[' && heading.name[inside - 1] != L'(') return;
    const std::size_t end = heading.name.substr(0, inside - 1).find_last_not_of(L" \t");
    channel->name = heading.name.substr(0, end == heading.name.npos ? 0 : end + 1);
}

}  // namespace kvx
