// SPDX-License-Identifier: MIT
#include <KvxRecording01/Sensitivity.h>

#include <charconv>
#include <cmath>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {
namespace {

/// A single unit, or one that the table lacks by one of it.
EntryUnit SingleEntry(std::string_view name) {
    if (name.starts_with('(') && name.ends_with(')')) name = name.substr(1, name.size() - 2);
    const EntryUnit unit = NamedEntryUnit(name);
    if (name.empty() || !unit.unit.IsSingle())
        throw Error(ErrorKind::kBadValue, Quote(name) + " is not a single unit");
    return unit;
}

}  // namespace

Sensitivity ParseSensitivity(std::string_view text) {
    std::string_view rest = text;
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    Sensitivity sensitivity;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), sensitivity.value);
    if (error != std::errc() || !std::isfinite(sensitivity.value) || sensitivity.value == 0.0)
        throw Error(ErrorKind::kBadValue, Quote(text) + " does not begin with a number other than 0");
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    while (rest.starts_with(' ')) rest.remove_prefix(1);
    const std::size_t per = rest.find('/');
    if (per == rest.npos)
        throw Error(ErrorKind::kBadValue, Quote(text) + " has no unit per unit, as 100 mV/g has");
    const EntryUnit electrical = SingleEntry(rest.substr(0, per));
    const EntryUnit physical = SingleEntry(rest.substr(per + 1));
    sensitivity.electrical = electrical.unit;
    sensitivity.physical = physical.unit;
    sensitivity.value *= electrical.scale / physical.scale;
    return sensitivity;
}

std::string SensitivityText(const Sensitivity& sensitivity, int digits, Language language) {
    std::string physical = UnitText(sensitivity.physical, language);
    if (physical.find('/') != physical.npos) physical = "(" + physical + ")";
    return FormatNumber(sensitivity.value, digits) + " " + UnitText(sensitivity.electrical, language) + "/" +
           physical;
}

}  // namespace kvx
