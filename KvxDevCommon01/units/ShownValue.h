// SPDX-License-Identifier: MIT
//
// Standard values as UTF-8 text in the unit they are shown in, without markup: CValConv for reports. Pure
// functions, safe from any thread.
#pragma once

#include <optional>
#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/ValConv.h>

namespace kvx {

/// How values are shown.
struct ShowSettings {
    std::optional<std::wstring> format = {};  ///< of one number, "%.3e"; else what is customary for the unit
    CValConv::UNIT_SUFFIX suffix = CValConv::SUFFIX_NONE;  ///< the amplitude that is shown
    bool isAbsolute = false;       ///< whether temperatures are absolute, not differences
    const char* locale = nullptr;  ///< whose decimal sign is used; null for the current one
};

struct ShownValue {
    std::string value;
    std::string unit;
};
KVX_API ShownValue ShowIn(const CUnitCtrl& unit, double standardValue, const ShowSettings& settings = {});

/// Value, blank and unit: "12.5 Hz"; the decimal sign is that of the current locale.
KVX_API std::string ShownText(const CUnitCtrl& unit, double standardValue, const ShowSettings& settings = {});

/// The heading of a column of values: "peak [g 0-p]"; the name alone where the unit has none.
KVX_API std::string ColumnHeading(const std::string& name, const CUnitCtrl& unit,
                                  CValConv::UNIT_SUFFIX suffix);

}  // namespace kvx
