// SPDX-License-Identifier: MIT
#include "UnitChoice.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <numeric>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "Failure.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kSuggestions = 3;

/// Number of single-character changes between two texts, case changes not counted.
std::size_t EditDistance(std::wstring_view a, std::wstring_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const auto lower = [](wchar_t c) { return std::towlower(static_cast<std::wint_t>(c)); };
            const std::size_t replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

std::vector<std::wstring> AllUnitNames() {
    std::vector<std::wstring> names;
    CItemInfoList dimensions;
    CUnitCtrl::GetDimList(0, &dimensions);
    CItemInfo item;
    for (__int64 d = 0; dimensions.GetItem(d, &item); ++d) {
        CItemInfoList units;
        CUnitCtrl::GetUnitListByDimCode(static_cast<CUnitCtrl::DIM_CODE>(item.GetCode()), &units);
        for (__int64 u = 0; units.GetItem(u, &item); ++u) {
            names.push_back(PlainUnitName(SingleUnit(static_cast<CUnitCtrl::UNIT_CODE>(item.GetCode()))));
        }
    }
    return names;
}

/// " (did you mean 'm/s2' or 'mm/s'?)", or nothing when no name is near.
std::string Suggestion(std::wstring_view text) {
    const std::size_t limit = text.size() < 4 ? 1 : 2;
    std::vector<std::pair<std::size_t, std::wstring>> near;
    for (std::wstring& name : AllUnitNames()) {
        const std::size_t distance = EditDistance(text, name);
        if (distance <= limit && distance < name.size()) near.emplace_back(distance, std::move(name));
    }
    std::ranges::sort(near);
    near.erase(std::unique(near.begin(), near.end()), near.end());
    if (near.size() > kSuggestions) near.resize(kSuggestions);
    std::string list;
    for (const auto& [distance, name] : near) list += (list.empty() ? "" : " or ") + Quote(name);
    return list.empty() ? " that 'kvx units' lists" : " (did you mean " + list + "?)";
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

CUnitCtrl RequireUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    const std::optional<std::wstring> wide = FromUtf8(text);
    if (!wide) throw ValueError(Quote(text) + " is not a unit: it is not valid UTF-8");
    if (const std::optional<CUnitCtrl> unit = ParseUnit(*wide, hint)) return *unit;
    throw ValueError(Quote(text) + " is not a unit" + Suggestion(*wide));
}

std::string UnitText(const CUnitCtrl& unit) {
    const std::string name = ToUtf8(PlainUnitName(unit));
    return name.empty() ? "-" : name;
}

Heading ParseHeading(std::wstring_view text) {
    const std::size_t open = FindClosingPair(text);
    if (open != std::wstring_view::npos) {
        const std::wstring_view inside = text.substr(open + 1, text.size() - open - 2);
        std::optional<CUnitCtrl> unit = inside == L"-" ? CUnitCtrl() : ParseUnit(inside);
        if (unit && !inside.empty()) {
            const std::size_t end = text.substr(0, open).find_last_not_of(L" \t");
            return {std::wstring(text.substr(0, end == std::wstring_view::npos ? 0 : end + 1)), unit};
        }
    }
    return {std::wstring(text), std::nullopt};
}

std::optional<CUnitCtrl> DensityUnit(const CUnitCtrl& unit) {
    constexpr auto kHertz = static_cast<CUnitCtrl::UNIT_CODE>(0x02000001);
    CUnitCtrl::UNIT_CODE code = CUnitCtrl::UNIT_NONE;
    CUnitCtrl::UNIT_CALC calc = CUnitCtrl::CALC_PLAIN;
    unit.GetInfo(&code, &calc, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (!unit.IsSingle() || calc != CUnitCtrl::CALC_PLAIN) return std::nullopt;
    if (code == CUnitCtrl::UNIT_NONE) return SingleUnit(kHertz, CUnitCtrl::CALC_DIVIDE);
    return CUnitCtrl(code, CUnitCtrl::CALC_SQUARED, kHertz, CUnitCtrl::CALC_DIVIDE, CUnitCtrl::UNIT_NONE,
                     CUnitCtrl::CALC_PLAIN, CUnitCtrl::UNIT_NONE, CUnitCtrl::CALC_PLAIN);
}

bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b) {
    return MembersOf(a) == MembersOf(b);
}

}  // namespace kvx::tool
