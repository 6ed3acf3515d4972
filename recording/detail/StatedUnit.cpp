// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/StatedUnit.h>

#include <optional>

#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

void Take(RecordingInfo::Channel* channel, const EntryUnit& unit) {
    channel->unit = unit.unit;
    channel->scale = unit.scale;
    channel->convertedUnit = unit.converted;
}

}  // namespace

void StateUnit(RecordingInfo::Channel* channel, std::wstring_view text) {
    if (text.empty()) return;
    if (const std::optional<EntryUnit> unit = ParseEntryUnit(text)) {
        Take(channel, *unit);
    } else {
        channel->unknownUnit = text;
    }
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
