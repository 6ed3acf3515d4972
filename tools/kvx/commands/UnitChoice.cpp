// SPDX-License-Identifier: MIT
#include "commands/UnitChoice.h"

#include <fmt/format.h>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"

namespace kvx::tool {
CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    try {
        return NamedUnit(text, hint);
    } catch (const Error& error) {
        if (error.Kind() != ErrorKind::kUnknownName) throw;
        throw ValueError(error.Sentence());
    }
}

EntryUnit RequireEntryUnit(std::string_view text) {
    if (const auto unit = ParseEntryUnit(FromUtf8(text).value_or(L""))) return *unit;
    return RequireUnit(text);
}

CValConv::UNIT_SUFFIX RequireSuffix(std::string_view name, const CUnitCtrl& unit) {
    if (const auto suffix = FindSuffix(name, unit)) return *suffix;
    throw ValueError(
        fmt::format("--suffix: there is no suffix {}, only none, 0-p, p-p, rms and usual", Quote(name)));
}

}  // namespace kvx::tool
