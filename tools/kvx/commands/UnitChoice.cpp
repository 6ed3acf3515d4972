// SPDX-License-Identifier: MIT
#include "commands/UnitChoice.h"

#include <algorithm>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>

#include "cli/Failure.h"
#include "cli/Options.h"

namespace kvx::tool {
namespace {

/// What `name` returns; an Error of it becomes a ValueError.
template <class Name>
auto Required(Name name) try {
    return name();
} catch (const Error& error) {
    if (error.Kind() != ErrorKind::kUnknownName && error.Kind() != ErrorKind::kBadValue) throw;
    throw ValueError(error.Sentence());
}

}  // namespace

CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    return Required([&] { return NamedKeptUnit(text, hint); });
}

EntryUnit RequireEntryUnit(std::string_view text) {
    return Required([&] { return NamedEntryUnit(text); });
}

Quantity RequireQuantity(std::string_view option, std::string_view text, std::string_view example) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789.+-eE"), text.size());
    const double value = ParseArgument(text.substr(0, end));
    const std::size_t unit = text.find_first_not_of(' ', end);
    if (unit == text.npos) {
        throw ValueError(std::string(option) + " " + Quote(text) + " has no unit, as '" +
                         std::string(example) + "' has");
    }
    return {value, RequireEntryUnit(text.substr(unit))};
}

std::string JsonUnit(const CUnitCtrl& unit) {
    return UnitText(unit, Language::kEnglish);
}

std::vector<std::string> SuffixNames() {
    return {"none", "0-p", "p-p", "rms", "usual"};
}

CValConv::UNIT_SUFFIX RequireSuffix(std::string_view name, const CUnitCtrl& unit) {
    if (const auto suffix = FindSuffix(name, unit)) return *suffix;
    const std::string near = DidYouMean(name, SuffixNames());
    throw ValueError("--suffix: there is no suffix " + Quote(name) +
                     (near.empty() ? ", only none, 0-p, p-p, rms and usual" : near));
}

}  // namespace kvx::tool
