// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <array>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

struct DimensionName {
    CUnitCtrl::DIM_CODE code;
    std::string_view english;
};

// clang-format off
constexpr std::array kDimensionNames = {
    DimensionName{CUnitCtrl::DIM_ACCELERATION,          "acceleration"},
    DimensionName{CUnitCtrl::DIM_VELOCITY,              "velocity"},
    DimensionName{CUnitCtrl::DIM_DISPLACEMENT,          "displacement"},
    DimensionName{CUnitCtrl::DIM_FORCE,                 "force"},
    DimensionName{CUnitCtrl::DIM_STRAIN,                "strain"},
    DimensionName{CUnitCtrl::DIM_ANGULAR_VELOCITY,      "angular velocity"},
    DimensionName{CUnitCtrl::DIM_ANGULAR_ACCELERATION,  "angular acceleration"},
    DimensionName{CUnitCtrl::DIM_PRESSURE,              "pressure"},
    DimensionName{CUnitCtrl::DIM_TIME,                  "time"},
    DimensionName{CUnitCtrl::DIM_FREQUENCY,             "frequency"},
    DimensionName{CUnitCtrl::DIM_CHARGE,                "charge"},
    DimensionName{CUnitCtrl::DIM_VOLTAGE,               "voltage"},
    DimensionName{CUnitCtrl::DIM_TEMPERATURE,           "temperature"},
    DimensionName{CUnitCtrl::DIM_RATIO,                 "ratio"},
    DimensionName{CUnitCtrl::DIM_ANGLE,                 "angle"},
    DimensionName{CUnitCtrl::DIM_CYCLES,                "cycles"},
    DimensionName{CUnitCtrl::DIM_ENGINEERING_UNIT,      "engineering unit"},
    DimensionName{CUnitCtrl::DIM_COUNT,                 "count"},
    DimensionName{CUnitCtrl::DIM_CURRENT,               "current"},
    DimensionName{CUnitCtrl::DIM_RESISTANCE,            "resistance"},
    DimensionName{CUnitCtrl::DIM_STANDARD_DEVIATION,    "standard deviation"},
    DimensionName{CUnitCtrl::DIM_MASS,                  "mass"},
    DimensionName{CUnitCtrl::DIM_NONE,                  "none"},
    DimensionName{CUnitCtrl::DIM_HEAT,                  "heat"},
    DimensionName{CUnitCtrl::DIM_POWER,                 "power"},
    DimensionName{CUnitCtrl::DIM_TORQUE,                "torque"},
    DimensionName{CUnitCtrl::DIM_MOMENT_OF_INERTIA,     "moment of inertia"},
    DimensionName{CUnitCtrl::DIM_CAPACITANCE,           "capacitance"},
    DimensionName{CUnitCtrl::DIM_CONDUCTANCE,           "conductance"},
    DimensionName{CUnitCtrl::DIM_INDUCTANCE,            "inductance"},
    DimensionName{CUnitCtrl::DIM_MAGNETIC_FLUX,         "magnetic flux"},
    DimensionName{CUnitCtrl::DIM_MAGNETIC_FLUX_DENSITY, "magnetic flux density"},
};
// clang-format on

std::vector<std::string> AllUnitNames() {
    std::vector<std::string> names;
    CItemInfoList dimensions;
    CUnitCtrl::GetDimList(0, &dimensions);
    CItemInfo item;
    for (__int64 d = 0; dimensions.GetItem(d, &item); ++d) {
        CItemInfoList units;
        CUnitCtrl::GetUnitListByDimCode(static_cast<CUnitCtrl::DIM_CODE>(item.GetCode()), &units);
        for (__int64 u = 0; units.GetItem(u, &item); ++u) {
            const auto code = static_cast<CUnitCtrl::UNIT_CODE>(item.GetCode());
            names.push_back(ToUtf8(PlainUnitName(SingleUnit(code))));
        }
    }
    return names;
}

/// The brackets that end `text`: the position of the one that opens them, npos when there are none.
std::size_t FindClosingPair(std::wstring_view text) {
    if (text.empty()) return std::wstring_view::npos;
    const wchar_t close = text.back();
    if (close != L')' && close != L']') return std::wstring_view::npos;
    const wchar_t open = close == L')' ? L'(' : L'[';
    int depth = 0;
    for (std::size_t at = text.size(); at-- > 0;) {
        if (text[at] == close) ++depth;
        if (text[at] == open && --depth == 0) return at;
    }
    return std::wstring_view::npos;
}

struct Members {
    std::array<CUnitCtrl::DIM_CODE, 4> dimensions;
    std::array<CUnitCtrl::UNIT_CALC, 4> calcs;
    int single;
    bool operator==(const Members&) const = default;
};

Members MembersOf(const CUnitCtrl& unit) {
    std::array<CUnitCtrl::UNIT_CODE, 4> codes = {};
    Members members = {};
    unit.GetInfo(&codes[0], &members.calcs[0], &members.single, &codes[1], &members.calcs[1], &codes[2],
                 &members.calcs[2], &codes[3], &members.calcs[3]);
    std::ranges::transform(codes, members.dimensions.begin(),
                           [](CUnitCtrl::UNIT_CODE code) { return CUnitCtrl::GetDimCode(code); });
    return members;
}

}  // namespace

CUnitCtrl NamedUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    const std::optional<std::wstring> wide = FromUtf8(text);
    if (!wide) throw Error(ErrorKind::kUnknownName, Quote(text) + " is not a unit: it is not valid UTF-8");
    if (const std::optional<CUnitCtrl> unit = ParseUnit(*wide, hint)) return *unit;
    const std::string near = DidYouMean(text, AllUnitNames());
    throw Error(ErrorKind::kUnknownName,
                Quote(text) + " is not a unit" + (near.empty() ? " that is known" : near));
}

std::string UnitText(const CUnitCtrl& unit) {
    const std::string name = ToUtf8(PlainUnitName(unit));
    return name.empty() ? "-" : name;
}

UnitHeading ParseUnitHeading(std::wstring_view text) {
    const std::size_t open = FindClosingPair(text);
    if (open != std::wstring_view::npos) {
        const std::wstring_view inside = text.substr(open + 1, text.size() - open - 2);
        std::optional<CUnitCtrl> unit = inside == L"-" ? CUnitCtrl() : ParseUnit(inside);
        if (unit && !inside.empty()) {
            const std::size_t end = text.substr(0, open).find_last_not_of(L" \t");
            return {std::wstring(text.substr(0, end == std::wstring_view::npos ? 0 : end + 1)), unit};
        }
        if (inside.find_first_not_of(L" 0123456789") != inside.npos) {
            return {std::wstring(text), std::nullopt, std::wstring(inside)};
        }
    }
    return {std::wstring(text), std::nullopt};
}

std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit) {
    using units::kHertz;
    CUnitCtrl::UNIT_CODE code = CUnitCtrl::UNIT_NONE;
    CUnitCtrl::UNIT_CALC calc = CUnitCtrl::CALC_PLAIN;
    unit.GetInfo(&code, &calc, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (!unit.IsSingle() || calc != CUnitCtrl::CALC_PLAIN) return std::nullopt;
    if (code == CUnitCtrl::UNIT_NONE) return SingleUnit(kHertz, CUnitCtrl::CALC_DIVIDE);
    return CUnitCtrl(code, CUnitCtrl::CALC_SQUARED, kHertz, CUnitCtrl::CALC_DIVIDE, CUnitCtrl::UNIT_NONE,
                     CUnitCtrl::CALC_PLAIN, CUnitCtrl::UNIT_NONE, CUnitCtrl::CALC_PLAIN);
}

std::optional<CUnitCtrl> TransferUnit(const CUnitCtrl& response, const CUnitCtrl& reference) {
    if (!response.IsSingle() || !reference.IsSingle()) return std::nullopt;
    return reference == CUnitCtrl::DIM_NONE ? response : CUnitCtrl(response, reference, 1);
}

CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit) {
    CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_NONE;
    unit.GetDimCode(&dimension, nullptr, nullptr, nullptr);
    return dimension;
}

std::string_view DimensionText(CUnitCtrl::DIM_CODE dimension) {
    const auto row = std::ranges::find(kDimensionNames, dimension, &DimensionName::code);
    return row != kDimensionNames.end() ? row->english : std::string_view();
}

bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b) {
    return MembersOf(a) == MembersOf(b);
}

}  // namespace kvx
