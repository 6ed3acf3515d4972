// SPDX-License-Identifier: MIT
#include "commands/UnitChoice.h"

#include <algorithm>
#include <array>

#include <KvxDevCommon01/platform/Error.h>

#include "cli/Failure.h"

namespace kvx::tool {
namespace {

struct SuffixName {
    std::string_view name;
    CValConv::UNIT_SUFFIX suffix;
};

constexpr std::array kSuffixNames = {
    SuffixName{"none", CValConv::SUFFIX_NONE},
    SuffixName{"0-p", CValConv::SUFFIX_ZERO_TO_PEAK},
    SuffixName{"p-p", CValConv::SUFFIX_PEAK_TO_PEAK},
    SuffixName{"rms", CValConv::SUFFIX_RMS},
};
constexpr std::string_view kUsual = "usual";

}  // namespace

CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    try {
        return NamedUnit(text, hint);
    } catch (const Error& error) {
        if (error.Kind() != ErrorKind::kUnknownName) throw;
        throw ValueError(error.Sentence());
    }
}

CValConv::UNIT_SUFFIX RequireSuffix(std::string_view name, const CUnitCtrl& unit) {
    if (name == kUsual) {
        return unit.IsSingle() ? CValConv::GetUnitSuffixCode(DimensionOf(unit)) : CValConv::SUFFIX_NONE;
    }
    const auto row = std::ranges::find(kSuffixNames, name, &SuffixName::name);
    if (row == kSuffixNames.end())
        throw ValueError("--suffix: there is no suffix " + Quote(name) +
                         ", only none, 0-p, p-p, rms and usual");
    return row->suffix;
}

}  // namespace kvx::tool
