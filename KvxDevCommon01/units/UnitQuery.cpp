// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <array>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/detail/UnitHints.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace kvx {
namespace {

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

}  // namespace

CUnitCtrl NamedUnit(std::string_view text, std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (const std::optional<std::wstring> wide = FromUtf8(text)) {
        if (const std::optional<CUnitCtrl> unit = ParseUnit(*wide, hint)) return *unit;
        if (const std::optional<EntryUnit> read = ParseEntryUnit(*wide, hint))
            throw Error(ErrorKind::kBadValue, detail::OnlyReadUnitText(text, read->unit));
    }
    throw Error(ErrorKind::kUnknownName, detail::UnknownUnitText(text));
}

std::string UnitText(const CUnitCtrl& unit, Language language) {
    const std::string name = ToUtf8(PlainUnitName(unit, language));
    return name.empty() ? "-" : name;
}

std::string StoredUnitText(const CUnitCtrl& unit) {
    return UnitText(unit, Language::kJapanese);
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
    const UnitPart& part = UnitParts(unit).front();
    if (!unit.IsSingle() || part.calc != CUnitCtrl::CALC_PLAIN) return std::nullopt;
    if (part.unit == CUnitCtrl::UNIT_NONE) return SingleUnit(kHertz, CUnitCtrl::CALC_DIVIDE);
    return CUnitCtrl(part.unit, CUnitCtrl::CALC_SQUARED, kHertz, CUnitCtrl::CALC_DIVIDE, CUnitCtrl::UNIT_NONE,
                     CUnitCtrl::CALC_PLAIN, CUnitCtrl::UNIT_NONE, CUnitCtrl::CALC_PLAIN);
}

std::optional<CUnitCtrl> SquareUnit(const CUnitCtrl& unit) {
    const UnitPart& part = UnitParts(unit).front();
    if (!unit.IsSingle() || part.calc != CUnitCtrl::CALC_PLAIN) return std::nullopt;
    if (part.unit == CUnitCtrl::UNIT_NONE) return unit;
    return SingleUnit(part.unit, CUnitCtrl::CALC_SQUARED);
}

std::optional<CUnitCtrl> TransferUnit(const CUnitCtrl& response, const CUnitCtrl& reference) {
    if (!response.IsSingle() || !reference.IsSingle()) return std::nullopt;
    return reference == CUnitCtrl::DIM_NONE ? response : CUnitCtrl(response, reference, 1);
}

bool IsConvertible(const CUnitCtrl& a, const CUnitCtrl& b) {
    constexpr std::uint32_t kFlags = CUnitCtrl::CALC_SQUARED | CUnitCtrl::CALC_DIVIDE;
    return std::ranges::equal(UnitParts(a), UnitParts(b), [](const UnitPart& one, const UnitPart& other) {
        return detail::DimensionOf(one.unit) == detail::DimensionOf(other.unit) &&
               (one.calc & kFlags) == (other.calc & kFlags);
    });
}

bool IsLogarithmic(const CUnitCtrl& unit) {
    return std::ranges::any_of(UnitParts(unit), [](const UnitPart& part) {
        const detail::UnitRow* row = detail::FindUnitRow(part.unit);
        return row != nullptr &&
               (row->kind == detail::UnitKind::logarithm || row->kind == detail::UnitKind::logarithmToBase);
    });
}

CUnitCtrl DifferenceUnit(const CUnitCtrl& unit) {
    return ZeroOf(unit) != 0.0 ? CUnitCtrl(CUnitCtrl::DIM_TEMPERATURE) : unit;
}

double ZeroOf(const CUnitCtrl& unit) {
    const bool isReading =
        unit == CUnitCtrl::DIM_TEMPERATURE && UnitParts(unit).front().calc == CUnitCtrl::CALC_PLAIN;
    return isReading ? unit.ConvItoD(0.0, 1.0, 1) : 0.0;
}

double ConvertValue(double value, const CUnitCtrl& from, const CUnitCtrl& to) {
    const int absolute = from.IsSingle();
    return to.ConvDtoI(from.ConvItoD(value, 1.0, absolute), 1.0, absolute);
}

UnitPair NamedUnitPair(std::string_view from, std::string_view to) {
    UnitPair pair;
    pair.from = NamedEntryUnit(from);
    pair.to = NamedEntryUnit(to, DimensionOf(pair.from.unit));
    if (!IsConvertible(pair.from.unit, pair.to.unit)) {
        pair.to = NamedEntryUnit(to);
        pair.from = NamedEntryUnit(from, DimensionOf(pair.to.unit));
    }
    if (!IsConvertible(pair.from.unit, pair.to.unit)) {
        throw Error(ErrorKind::kBadValue,
                    Quote(from) + " does not convert to " + Quote(to) + ": they are of different dimensions");
    }
    return pair;
}

std::vector<CUnitCtrl> UnitsAlike(const CUnitCtrl& unit) {
    CUnitCtrlList list;
    list.MakeConexusUnitListByUnit(unit, 0);
    std::vector<CUnitCtrl> units(static_cast<std::size_t>(list.GetNum()));
    for (std::size_t i = 0; i < units.size(); ++i) list.GetUnit(static_cast<__int64>(i), &units[i]);
    return units;
}

CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit) {
    return detail::DimensionOf(UnitParts(unit).front().unit);
}

std::string DimensionText(CUnitCtrl::DIM_CODE dimension) {
    return DimensionDisplayName(dimension, Language::kEnglish);
}

std::string DimensionDisplayName(CUnitCtrl::DIM_CODE dimension, Language language) {
    const detail::DimensionRow* row = detail::FindDimensionRow(dimension);
    return row != nullptr ? ToUtf8(ResourceText(row->nameId, language)) : std::string();
}

std::vector<CUnitCtrl::DIM_CODE> AllDimensions() {
    std::vector<CUnitCtrl::DIM_CODE> dimensions;
    for (const detail::DimensionRow& row : detail::Dimensions()) dimensions.push_back(row.code);
    return dimensions;
}

std::vector<CUnitCtrl::DIM_CODE> FindDimensions(std::string_view text) {
    std::vector<CUnitCtrl::DIM_CODE> dimensions = AllDimensions();
    const auto isCalled = [&](CUnitCtrl::DIM_CODE dimension) {
        return text == DimensionText(dimension) ||
               text == DimensionDisplayName(dimension, Language::kJapanese) || text == HexCode(dimension, 8);
    };
    if (const auto named = std::ranges::find_if(dimensions, isCalled); named != dimensions.end())
        return {*named};
    const std::vector<CUnitCtrl::UNIT_CODE> units = FindUnit(FromUtf8(text).value_or(L""));
    std::erase_if(dimensions, [&](CUnitCtrl::DIM_CODE dimension) {
        return std::ranges::find(units, dimension, detail::DimensionOf) == units.end();
    });
    return dimensions;
}

std::vector<CUnitCtrl> UnitsOf(CUnitCtrl::DIM_CODE dimension) {
    std::vector<CUnitCtrl> units;
    for (const detail::UnitRow& row : detail::UnitsOfDimension(dimension))
        units.push_back(SingleUnit(row.code));
    return units;
}

std::optional<CValConv::UNIT_SUFFIX> FindSuffix(std::string_view name, const CUnitCtrl& unit) {
    if (name == "usual")
        return unit.IsSingle() ? CValConv::GetUnitSuffixCode(DimensionOf(unit)) : CValConv::SUFFIX_NONE;
    const auto row = std::ranges::find(kSuffixNames, name, &SuffixName::name);
    return row != kSuffixNames.end() ? std::optional(row->suffix) : std::nullopt;
}

}  // namespace kvx
