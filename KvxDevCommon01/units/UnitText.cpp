// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitText.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <utility>

#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace kvx {
namespace {

using UNIT = CUnitCtrl::UNIT_CODE;
using DIM = CUnitCtrl::DIM_CODE;
using Hint = std::optional<DIM>;

constexpr std::size_t kMaxText = 256;
constexpr std::size_t kMaxMembers = 4;

constexpr wchar_t kProduct = L'・';
constexpr wchar_t kQuotient = L'/';
constexpr std::wstring_view kOperators = L"・/";

struct Spelling {
    std::wstring_view text;
    std::wstring_view inTable;
};

// What is replaced wherever it appears, so that each sign is written in the unit table's way. In this order.
// clang-format off
constexpr auto kSigns = std::to_array<Spelling>({
    {L"#u", L""}, {L"#l", L""}, {L"#n", L""},                             // markup
    {L" ", L""}, {L"\t", L""}, {L"\u00A0", L""}, {L"\u3000", L""},        // blanks
    {L"^", L""}, {L"\u00B2", L"2"},                                       // powers
    {L"*", L"・"}, {L".", L"・"},                                         // products
    {L"\u00B7", L"・"}, {L"\u22C5", L"・"}, {L"\u00D7", L"・"}, {L"\uFF65", L"・"},
    {L"\u00B5", L"μ"}, {L"\u2126", L"Ω"},                                 // micro, ohm
    {L"\u00B0", L"ﾟ"}, {L"\u2103", L"ﾟC"}, {L"\u2109", L"ﾟF"},            // degrees
});

// Other names of whole units, signs already replaced.
constexpr auto kOtherNames = std::to_array<Spelling>({
    {L"in", L"inch"},
    {L"in/s", L"inch/s"},
    {L"ft", L"feet"},
    {L"ft/s", L"feet/s"},
    {L"ft/min", L"feet/min"},
    {L"yd", L"yard"},
    {L"mi", L"mile"},
    {L"mph", L"mile/h"},
    {L"dyn", L"dyne"},
    {L"microstrain", L"μ"},
    {L"ustrain", L"μ"},
    {L"με", L"μ"},
    {L"deg/s", L"degree/s"},
    {L"deg/s2", L"degree/s2"},
    {L"deg", L"degree"},
    {L"rev", L"revolution"},
    {L"hr", L"h"},
    {L"K", L"ﾟK"},
    {L"degK", L"ﾟK"},
    {L"degC", L"ﾟC"},
    {L"degF", L"ﾟF"},
    {L"percent", L"%"},
    {L"count", L"回"},
    {L"sigma", L"σ"},
    {L"Nm", L"N・m"},
});
// clang-format on

std::wstring Replaced(std::wstring text, std::wstring_view from, std::wstring_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::wstring Normalised(std::wstring_view plainText) {
    std::wstring text(plainText);
    for (const Spelling& sign : kSigns) text = Replaced(std::move(text), sign.text, sign.inTable);
    return text;
}

struct NamedUnit {
    std::wstring name;
    UNIT unit;
};

/// Every spelling of every unit, in the order of the unit table.
const std::vector<NamedUnit>& NamedUnits() {
    static const std::vector<NamedUnit> all = [] {
        std::vector<NamedUnit> names;
        for (const detail::UnitRow& row : detail::Units()) {
            const auto unit = static_cast<UNIT>(row.code);
            const std::wstring name = Normalised(ResourceText(row.nameId));
            names.push_back({name, unit});
            if (name.starts_with(L"μ")) names.push_back({L"u" + name.substr(1), unit});
            if (name.ends_with(L"Ω")) {
                names.push_back({Replaced(name, L"Ω", L"Ohm"), unit});
                names.push_back({Replaced(name, L"Ω", L"ohm"), unit});
            }
            for (const Spelling& other : kOtherNames) {
                if (other.inTable == name) names.push_back({std::wstring(other.text), unit});
            }
        }
        return names;
    }();
    return all;
}

wchar_t LowerCase(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool EqualButForCase(std::wstring_view a, std::wstring_view b) {
    const auto isMilliOrMega = [](std::wstring_view s) { return s.starts_with(L'm') || s.starts_with(L'M'); };
    if (isMilliOrMega(a) && a.front() != b.front()) return false;
    return std::ranges::equal(a, b, {}, LowerCase, LowerCase);
}

bool ConvertAlike(UNIT a, UNIT b) {
    const detail::UnitRow* rowA = detail::FindUnitRow(a);
    const detail::UnitRow* rowB = detail::FindUnitRow(b);
    return CUnitCtrl::GetDimCode(a) == CUnitCtrl::GetDimCode(b) && rowA->kind == rowB->kind &&
           rowA->factor == rowB->factor && rowA->offset == rowB->offset;
}

/// The units whose name matches, those of the hinted dimension if there are any.
template <typename Matches>
std::vector<NamedUnit> UnitsWhose(Matches nameMatches, Hint hint) {
    std::vector<NamedUnit> found;
    std::ranges::copy_if(NamedUnits(), std::back_inserter(found), nameMatches, &NamedUnit::name);
    const auto isHinted = [hint](const NamedUnit& named) {
        return CUnitCtrl::GetDimCode(named.unit) == hint;
    };
    if (std::ranges::any_of(found, isHinted)) std::erase_if(found, std::not_fn(isHinted));
    return found;
}

/// The units of a normalised name; see the header for what counts as one.
std::vector<UNIT> Lookup(std::wstring_view name, Hint hint) {
    std::vector<NamedUnit> found = UnitsWhose([&](std::wstring_view known) { return known == name; }, hint);
    if (found.empty()) {
        found = UnitsWhose([&](std::wstring_view known) { return EqualButForCase(name, known); }, hint);
        const bool ambiguous = std::ranges::any_of(found, [&](const NamedUnit& named) {
            return named.name != found.front().name && !ConvertAlike(named.unit, found.front().unit);
        });
        if (ambiguous) found.clear();
    }
    std::vector<UNIT> units;
    std::ranges::transform(found, std::back_inserter(units), &NamedUnit::unit);
    return units;
}

struct ParsedMember {
    UNIT unit;
    bool squared = false;
    bool divide = false;
};
using ParsedMembers = std::vector<ParsedMember>;

std::optional<ParsedMembers> ParseMembers(std::wstring_view text, Hint hint);

std::optional<ParsedMembers> ParseName(std::wstring_view text, Hint hint) {
    const std::vector<UNIT> units = Lookup(text, hint);
    if (text.empty() || units.empty()) return std::nullopt;
    return ParsedMembers{{units.front()}};
}

/// A factor: "1", a name or a group in parentheses, the latter two perhaps squared.
std::optional<ParsedMembers> ParseFactor(std::wstring_view text, Hint hint) {
    if (text == L"1") return ParsedMembers{};
    if (auto named = ParseName(text, hint)) return named;

    const bool squared = text.ends_with(L'2');
    if (squared) text.remove_suffix(1);
    const bool group = text.starts_with(L'(') && text.ends_with(L')');
    auto members = group ? ParseMembers(text.substr(1, text.size() - 2), hint) : ParseName(text, hint);
    if (!members || !squared) return members;
    for (ParsedMember& member : *members) {
        if (std::exchange(member.squared, true)) return std::nullopt;
    }
    return members;
}

/// Where the factors of a text end: at each operator outside parentheses and at its end. Empty when the
/// parentheses do not match.
std::vector<std::size_t> FactorEnds(std::wstring_view text) {
    std::vector<std::size_t> ends;
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'(') ++depth;
        if (text[i] == L')' && --depth < 0) return {};
        if (depth == 0 && kOperators.find(text[i]) != kOperators.npos) ends.push_back(i);
    }
    if (depth != 0) return {};
    ends.push_back(text.size());
    return ends;
}

std::optional<ParsedMembers> ParseMembers(std::wstring_view text, Hint hint) {
    const std::vector<std::size_t> ends = FactorEnds(text);
    ParsedMembers members;
    std::size_t begin = 0;
    for (auto end = ends.begin(); end != ends.end(); ++end) {
        const bool divide = begin > 0 && text[begin - 1] == kQuotient;
        std::optional<ParsedMembers> factor;
        // A name with operators of its own is taken whole, the longest first. Behind a quotient it would mean
        // something else: there only the next factor is divided by.
        for (auto last = divide ? end : ends.end() - 1; last != end && !factor; --last) {
            factor = ParseName(text.substr(begin, *last - begin), hint);
            if (factor) end = last;
        }
        if (!factor) factor = ParseFactor(text.substr(begin, *end - begin), hint);
        if (!factor) return std::nullopt;
        for (ParsedMember& member : *factor) {
            member.divide = member.divide != divide;
            members.push_back(member);
        }
        begin = *end + 1;
    }
    if (ends.empty() || members.size() > kMaxMembers) return std::nullopt;
    return members;
}

CUnitCtrl::UNIT_CALC CalcOf(const ParsedMember& member) {
    if (!member.squared && !member.divide) return CUnitCtrl::CALC_PLAIN;
    return static_cast<CUnitCtrl::UNIT_CALC>((member.squared ? CUnitCtrl::CALC_SQUARED : 0U) |
                                             (member.divide ? CUnitCtrl::CALC_DIVIDE : 0U));
}

}  // namespace

std::vector<CUnitCtrl::UNIT_CODE> FindUnit(std::wstring_view plainText) {
    if (plainText.size() > kMaxText) return {};
    return Lookup(Normalised(plainText), std::nullopt);
}

std::wstring WithoutMarkup(std::wstring_view text) {
    std::wstring plain(text);
    for (const std::wstring_view markup : {L"#u", L"#l", L"#n"}) {
        plain = Replaced(std::move(plain), markup, L"");
    }
    return plain;
}

std::wstring PlainUnitName(const CUnitCtrl& unit) {
    CString name;
    unit.GetUnitName(&name);
    name = WithoutMarkup(name);
    if (name.starts_with(L' ')) {  // no unit as the first member
        name.erase(0, 1);
        if (name.starts_with(kQuotient)) name.insert(0, L"1");
        if (name.starts_with(kProduct)) name.erase(0, 1);
    }
    return name;
}

std::optional<CUnitCtrl> ParseUnit(std::wstring_view plainText, std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (plainText.size() > kMaxText) return std::nullopt;
    const std::wstring text = Normalised(plainText);
    if (text.empty()) return CUnitCtrl();
    auto members = ParseMembers(text, hint);
    if (!members) return std::nullopt;
    members->resize(kMaxMembers, {CUnitCtrl::UNIT_NONE});
    const ParsedMembers& m = *members;
    return CUnitCtrl(m[0].unit, CalcOf(m[0]), m[1].unit, CalcOf(m[1]), m[2].unit, CalcOf(m[2]), m[3].unit,
                     CalcOf(m[3]));
}

}  // namespace kvx
