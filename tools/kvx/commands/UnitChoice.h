// SPDX-License-Identifier: MIT
//
// Units as the command line names them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/ValConv.h>

namespace kvx::tool {

/// The unit named by an argument (UTF-8), among several of one name that of `hint`'s dimension. Throws
/// ValueError, which suggests near names, when there is none, and for one that values are not kept in.
CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint = std::nullopt);

/// The same of a unit that samples are stated in: also one that the table lacks.
EntryUnit RequireEntryUnit(std::string_view text);

/// A value with its unit: '50 g'.
struct Quantity {
    double value = 0.0;
    EntryUnit unit = {};

    /// In the standard unit of the dimension.
    double Standard() const { return unit.unit.ConvItoD(value * unit.scale, 1.0, 0); }
};

/// The quantity that an option states. Throws ValueError, which names the option and gives `example`, for a
/// text without a number or a unit.
Quantity RequireQuantity(std::string_view option, std::string_view text, std::string_view example);

/// The unit's name in JSON, English whatever language was chosen.
std::string JsonUnit(const CUnitCtrl& unit);

/// The names of amplitude suffixes.
std::vector<std::string> SuffixNames();

/// The amplitude suffix of that name: none, 0-p, p-p, rms or, for what is customary for the unit, usual.
/// Throws ValueError for any other.
CValConv::UNIT_SUFFIX RequireSuffix(std::string_view name, const CUnitCtrl& unit);

}  // namespace kvx::tool
