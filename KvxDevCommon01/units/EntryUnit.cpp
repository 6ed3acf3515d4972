// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/EntryUnit.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/detail/UnitHints.h>

namespace kvx {
namespace {

using DIM = CUnitCtrl::DIM_CODE;

constexpr std::size_t kMaxText = 256;

/// What the table lacks.
struct ForeignUnit {
    std::wstring_view name;
    CUnitCtrl::UNIT_CODE unit;
    double factor;  ///< of a value, to be in `unit`
};

// By definition: inch 25.4 mm, pound-force 4.4482216152605 N, standard atmosphere 101325 Pa, torr 1/760 of
// it.
// clang-format off
constexpr auto kForeign = std::to_array<ForeignUnit>({
    {L"mil",   units::kMicrometre,         25.4},
    {L"mils",  units::kMicrometre,         25.4},
    {L"thou",  units::kMicrometre,         25.4},
    {L"MIL",   units::kMicrometre,         25.4},
    {L"MILS",  units::kMicrometre,         25.4},
    {L"IPS",   units::kInchPerSecond,      1.0},
    {L"PSI",   units::kKilopascal,         6.894757293168361},
    {L"KSI",   units::kMegapascal,         6.894757293168361},
    {L"BAR",   units::kKilopascal,         100.0},
    {L"ips",   units::kInchPerSecond,      1.0},
    {L"fps",   units::kFootPerSecond,      1.0},
    {L"psi",   units::kKilopascal,         6.894757293168361},
    {L"ksi",   units::kMegapascal,         6.894757293168361},
    {L"bar",   units::kKilopascal,         100.0},
    {L"mbar",  units::kHectopascal,        1.0},
    {L"atm",   units::kKilopascal,         101.325},
    {L"torr",  units::kPascal,             101325.0 / 760.0},
    {L"mmHg",  units::kPascal,             133.322387415},
    {L"uPa",   units::kPascal,             1e-6},
    {L"μPa",   units::kPascal,             1e-6},
    {L"mPa",   units::kPascal,             1e-3},
    {L"GPa",   units::kMegapascal,         1e3},
    {L"mN",    units::kNewton,             1e-3},
    {L"kip",   units::kKilonewton,         4.4482216152605},
    {L"kips",  units::kKilonewton,         4.4482216152605},
    {L"mGal",  units::kGal,                1e-3},
    {L"mrad",  units::kRadian,             1e-3},
    {L"mrad/s", units::kRadianPerSecond,   1e-3},
    {L"milli-g", units::kStandardGravity,  1e-3},
    {L"micro-g", units::kStandardGravity,  1e-6},
    {L"cpm",   units::kRevolutionPerMinuteFrequency, 1.0},
    {L"CPM",   units::kRevolutionPerMinuteFrequency, 1.0},
    {L"cps",   units::kHertz,              1.0},
    {L"CPS",   units::kHertz,              1.0},
    {L"lb",    units::kPoundForce,         1.0},
    {L"lbs",   units::kPoundForce,         1.0},
});

/// Words behind a unit, or ends of it, that say how an amplitude is meant and change no value: "g rms",
/// "grms".
constexpr std::wstring_view kAmplitudeWords[] = {L"rms", L"RMS", L"Rms", L"0-p", L"pk", L"Pk", L"peak"};

/// A member of a compound: a dimension and its power.
struct Power {
    DIM dimension;
    int power;
};
/// A compound that is a dimension of the table; one more member is of no dimension.
struct Reduction {
    std::array<Power, 2> compound;
    DIM dimension;
};
constexpr auto kReductions = std::to_array<Reduction>({
    {{{{CUnitCtrl::DIM_DISPLACEMENT, 1}, {CUnitCtrl::DIM_TIME, -2}}},        CUnitCtrl::DIM_ACCELERATION},
    {{{{CUnitCtrl::DIM_VELOCITY, 1},     {CUnitCtrl::DIM_TIME, -1}}},        CUnitCtrl::DIM_ACCELERATION},
    {{{{CUnitCtrl::DIM_DISPLACEMENT, 1}, {CUnitCtrl::DIM_TIME, -1}}},        CUnitCtrl::DIM_VELOCITY},
    {{{{CUnitCtrl::DIM_ANGLE, 1},        {CUnitCtrl::DIM_TIME, -2}}},        CUnitCtrl::DIM_ANGULAR_ACCELERATION},
    {{{{CUnitCtrl::DIM_ANGULAR_VELOCITY, 1}, {CUnitCtrl::DIM_TIME, -1}}},    CUnitCtrl::DIM_ANGULAR_ACCELERATION},
    {{{{CUnitCtrl::DIM_ANGLE, 1},        {CUnitCtrl::DIM_TIME, -1}}},        CUnitCtrl::DIM_ANGULAR_VELOCITY},
    {{{{CUnitCtrl::DIM_FORCE, 1},        {CUnitCtrl::DIM_DISPLACEMENT, -2}}}, CUnitCtrl::DIM_PRESSURE},
});
// clang-format on

int PowerOf(CUnitCtrl::UNIT_CALC calc) {
    return ((calc & CUnitCtrl::CALC_SQUARED) != 0 ? 2 : 1) * ((calc & CUnitCtrl::CALC_DIVIDE) != 0 ? -1 : 1);
}

bool IsCompound(const CUnitCtrl& unit, const std::array<Power, 2>& compound) {
    std::size_t found = 0;
    for (const UnitPart& part : UnitParts(unit)) {
        const DIM dimension = CUnitCtrl::GetDimCode(part.unit);
        if (dimension == CUnitCtrl::DIM_NONE) continue;
        const bool isMember = std::ranges::any_of(compound, [&](const Power& member) {
            return member.dimension == dimension && member.power == PowerOf(part.calc);
        });
        if (!isMember) return false;
        ++found;
    }
    return found == compound.size();
}

std::wstring_view Trimmed(std::wstring_view text) {
    const std::size_t begin = text.find_first_not_of(L" \t");
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(L" \t") - begin + 1);
}

/// The text without the brackets around all of it.
std::wstring_view Unwrapped(std::wstring_view text) {
    text = Trimmed(text);
    if (!text.starts_with(L'(') || !text.ends_with(L')')) return text;
    const std::wstring_view inside = text.substr(1, text.size() - 2);
    return inside.find_first_of(L"()") == inside.npos ? Trimmed(inside) : text;
}

EntryUnit Converted(const CUnitCtrl& unit, double scale, std::wstring_view stated) {
    EntryUnit entry(unit);
    entry.scale = scale;
    entry.converted = stated;
    return entry;
}

std::optional<EntryUnit> FindForeign(std::wstring_view name, std::optional<DIM> hint) {
    std::wstring plain(name);
    std::ranges::replace(plain, L'\u00B5', L'μ');
    const auto row = std::ranges::find_if(kForeign, [&](const ForeignUnit& foreign) {
        return foreign.name == plain && (!hint || CUnitCtrl::GetDimCode(foreign.unit) == *hint);
    });
    if (row == kForeign.end()) return std::nullopt;
    return Converted(SingleUnit(row->unit), row->factor, name);
}

/// The text in front of a square per hertz, "(mm/s2)" of "(mm/s2)2/Hz"; empty for other text.
std::wstring_view BaseOfDensity(std::wstring_view text) {
    constexpr std::wstring_view kPerHertz = L"/Hz";
    if (!text.ends_with(kPerHertz)) return {};
    text.remove_suffix(kPerHertz.size());
    if (!text.ends_with(L'2') && !text.ends_with(L'²')) return {};
    text.remove_suffix(1);
    if (text.ends_with(L'^')) text.remove_suffix(1);
    return Unwrapped(text);
}

/// A compound by the unit of the table that it is, or as it is.
EntryUnit ReducedUnit(const CUnitCtrl& unit) {
    const auto row = std::ranges::find_if(
        kReductions, [&](const Reduction& reduction) { return IsCompound(unit, reduction.compound); });
    if (unit.IsSingle() || row == kReductions.end()) return unit;
    return Converted(CUnitCtrl(row->dimension), unit.ConvItoD(1.0, 1.0, 0), PlainUnitName(unit));
}

/// The text in front of a word that says how an amplitude is meant; empty without one.
std::wstring_view WithoutAmplitudeWord(std::wstring_view text) {
    for (const std::wstring_view word : kAmplitudeWords) {
        if (text.size() > word.size() && text.ends_with(word))
            return Unwrapped(text.substr(0, text.size() - word.size()));
    }
    return {};
}

/// What neither a density nor a quotient is of units that are converted.
std::optional<EntryUnit> ParseOne(std::wstring_view text, std::optional<DIM> hint) {
    const std::optional<CUnitCtrl> unit = ParseUnit(text, hint);
    if (unit && unit->IsSingle()) {
        // What the table has as another dimension than the one that is expected: a pound of force.
        if (hint && DimensionOf(*unit) != *hint) {
            if (const std::optional<EntryUnit> foreign = FindForeign(text, hint)) return foreign;
        }
        return *unit;
    }
    if (const std::wstring_view plain = WithoutAmplitudeWord(text); !plain.empty()) {
        std::optional<EntryUnit> of = ParseOne(plain, hint);
        if (of) of->converted = text;
        return of;
    }
    for (const std::optional<DIM> of : {hint, std::optional<DIM>()}) {
        if (const std::optional<EntryUnit> foreign = FindForeign(text, of)) return foreign;
    }
    return unit ? std::optional<EntryUnit>(ReducedUnit(*unit)) : std::nullopt;
}

/// Of the quotients that the text can be read as, the first with a part that only this header knows.
std::optional<EntryUnit> ParseQuotient(std::wstring_view text) {
    for (std::size_t at = text.rfind(L'/'); at != text.npos && at > 0; at = text.rfind(L'/', at - 1)) {
        const std::optional<EntryUnit> above = ParseOne(Unwrapped(text.substr(0, at)), {});
        const std::optional<EntryUnit> below = ParseOne(Unwrapped(text.substr(at + 1)), {});
        if (!above || !below || (above->converted.empty() && below->converted.empty())) continue;
        if (const std::optional<CUnitCtrl> unit = TransferUnit(above->unit, below->unit))
            return Converted(*unit, above->scale / below->scale, text);
    }
    return std::nullopt;
}

/// "m/s2" of "m/sec2", for the table has its compounds over "s"; other text as it is.
std::wstring WithShortSeconds(std::wstring_view text, std::optional<DIM> hint) {
    std::wstring changed(Trimmed(text));
    const std::optional<CUnitCtrl> unit = ParseUnit(changed, hint);
    if (unit && unit->IsSingle()) return changed;
    for (std::size_t at = 0; (at = changed.find(L"sec", at)) != changed.npos;) changed.replace(at, 3, L"s");
    return changed;
}

}  // namespace

std::optional<EntryUnit> ParseEntryUnit(std::wstring_view stated, std::optional<DIM> hint) {
    if (stated.size() > kMaxText) return std::nullopt;
    const std::wstring text = WithShortSeconds(stated, hint);
    const std::optional<EntryUnit> one = ParseOne(text, hint);
    if (one && (one->unit.IsSingle() || !one->converted.empty())) return one;
    if (const std::wstring_view base = BaseOfDensity(text); !base.empty()) {
        const std::optional<EntryUnit> of = ParseOne(base, {});
        const std::optional<CUnitCtrl> density = of ? DensityUnit(of->unit) : std::nullopt;
        if (density && !of->converted.empty()) return Converted(*density, of->scale * of->scale, text);
    } else if (const std::optional<EntryUnit> quotient = ParseQuotient(text)) {
        return quotient;
    }
    return one;
}

EntryUnit NamedEntryUnit(std::string_view text, std::optional<DIM> hint) {
    const std::optional<std::wstring> wide = FromUtf8(text);
    if (wide) {
        if (std::optional<EntryUnit> unit = ParseEntryUnit(*wide, hint)) return *std::move(unit);
    }
    throw Error(ErrorKind::kUnknownName, detail::UnknownUnitText(text));
}

CUnitCtrl NamedKeptUnit(std::string_view text, std::optional<DIM> hint) {
    const EntryUnit unit = NamedEntryUnit(text, hint);
    if (unit.converted.empty()) return unit.unit;
    throw Error(ErrorKind::kBadValue, detail::OnlyReadUnitText(text, unit.unit));
}

double ConvertValue(double value, const EntryUnit& from, const EntryUnit& to) {
    return ConvertValue(value * from.scale, from.unit, to.unit) / to.scale;
}

std::vector<std::wstring_view> detail::ForeignUnitNames() {
    std::vector<std::wstring_view> names;
    for (const ForeignUnit& foreign : kForeign) names.push_back(foreign.name);
    return names;
}

}  // namespace kvx
