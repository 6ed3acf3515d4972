// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitText.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <span>
#include <utility>

#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <KvxDevCommon01/units/detail/UnitHints.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace kvx {
namespace {

using UNIT = CUnitCtrl::UNIT_CODE;
using DIM = CUnitCtrl::DIM_CODE;
using Hint = std::optional<DIM>;

constexpr std::size_t kMaxText = 256;
constexpr std::size_t kMaxMembers = 4;
constexpr int kMaxPower = 4;  // the square of a unit whose name holds a square

constexpr wchar_t kProduct = L'・';
constexpr wchar_t kQuotient = L'/';
constexpr std::wstring_view kNotInSymbols = L"・/ ()^-0123456789";

struct Spelling {
    std::wstring_view text;
    std::wstring_view inTable;
};

// What is replaced wherever it appears, so that each sign is written in one way. In this order.
// clang-format off
constexpr auto kSigns = std::to_array<Spelling>({
    {L"#u", L""}, {L"#l", L""}, {L"#n", L""},                             // markup
    {L"\t", L" "}, {L"\u00A0", L" "}, {L"\u2009", L" "}, {L"\u202F", L" "}, {L"\u3000", L" "},
    {L"\u00B9", L"1"}, {L"\u00B2", L"2"}, {L"\u2074", L"4"},              // powers
    {L"\u207B", L"-"}, {L"\u2212", L"-"},                                 // minus
    {L"**", L"^"}, {L"*", L"・"}, {L".", L"・"},                           // powers and products
    {L"\u00B7", L"・"}, {L"\u22C5", L"・"}, {L"\u00D7", L"・"}, {L"\uFF65", L"・"},
    {L"\u00B5", L"μ"}, {L"\u2126", L"Ω"},                                 // micro, ohm
    {L"\u00B0", L"ﾟ"}, {L"\u2103", L"ﾟC"}, {L"\u2109", L"ﾟF"},            // degrees
    {L"deg K", L"ﾟK"}, {L"deg C", L"ﾟC"}, {L"deg F", L"ﾟF"},              // the blank is no product here
    {L"ﾟ K", L"ﾟK"}, {L"ﾟ C", L"ﾟC"}, {L"ﾟ F", L"ﾟF"},
});

// Other names of the table's symbols and, where those have several symbols, of whole units; signs already
// replaced.
constexpr auto kOtherNames = std::to_array<Spelling>({
    {L"in", L"inch"},
    {L"ft", L"feet"},
    {L"yd", L"yard"},
    {L"mi", L"mile"},
    {L"mph", L"mile/h"},
    {L"dyn", L"dyne"},
    {L"microstrain", L"μ"},
    {L"μstrain", L"μ"},
    {L"μStrain", L"μ"},
    {L"με", L"μ"},
    {L"μe", L"μ"},
    {L"volt", L"V"},
    {L"volts", L"V"},
    {L"newton", L"N"},
    {L"newtons", L"N"},
    {L"pascal", L"Pa"},
    {L"hertz", L"Hz"},
    {L"amp", L"A"},
    {L"amps", L"A"},
    {L"ampere", L"A"},
    {L"second", L"s"},
    {L"seconds", L"s"},
    {L"secs", L"s"},
    {L"minute", L"min"},
    {L"minutes", L"min"},
    {L"hours", L"hour"},
    {L"meter", L"m"},
    {L"metre", L"m"},
    {L"degrees", L"degree"},
    {L"radian", L"rad"},
    {L"radians", L"rad"},
    {L"lbs", L"lb"},
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
    {L"t", L"ton"},
    {L"Nm", L"N・m"},
});
// clang-format on

// Signs of the table, which are those of Japanese programs, as the field writes them.
constexpr auto kCommonSigns = std::to_array<Spelling>({
    {L"K", L"ﾟK"},
    {L"\u00B0", L"ﾟ"},
    {L"\u00B7", L"・"},
});

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

// ---- the grammar: from text to powers of symbols

/// A power of a symbol or, without one, of a group in parentheses. What is divided by has a negative power.
struct Factor {
    std::wstring symbol;
    int power = 1;
    std::vector<Factor> group = {};
};
using Factors = std::vector<Factor>;

bool EqualButForCase(std::wstring_view a, std::wstring_view b) {
    const auto lower = [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    };
    return std::ranges::equal(a, b, {}, lower, lower);
}

/// Reads normalised text by the grammar of the header, one member function per rule.
class Parser {
public:
    explicit Parser(std::wstring_view text) : rest_(text) {}

    /// The factors of the whole text, none for an empty one; no value when it is no unit text.
    std::optional<Factors> Text() {
        SkipBlanks();
        if (rest_.empty()) return Factors{};
        std::optional<Factors> factors = Product();
        return rest_.empty() ? std::move(factors) : std::nullopt;
    }

private:
    enum class Sign { product, blank, quotient, end, none };

    bool SkipBlanks() {
        const std::size_t before = rest_.size();
        while (rest_.starts_with(L' ')) rest_.remove_prefix(1);
        return rest_.size() < before;
    }

    bool Take(wchar_t c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::optional<Factors> Product() {
        Factors factors;
        Sign sign = Sign::product;
        if (Take(L'1')) {
            sign = Operator();
            if (sign == Sign::end) return factors;
            if (sign != Sign::quotient) return std::nullopt;
        }
        for (bool isDivided = false;; sign = Operator()) {
            if (sign == Sign::end) return factors;
            if (sign == Sign::none) return std::nullopt;
            if (sign == Sign::quotient) isDivided = true;
            // "J/kg K" may mean either, and "in mm" is English.
            if (sign == Sign::blank && (isDivided || EqualButForCase(factors.back().symbol, L"in")))
                return std::nullopt;
            std::optional<Factor> factor = Power();
            if (!factor) return std::nullopt;
            if (sign == Sign::quotient) factor->power = -factor->power;
            factors.push_back(*std::move(factor));
        }
    }

    /// What stands between factors, with the blanks around it.
    Sign Operator() {
        const bool hasBlank = SkipBlanks();
        if (rest_.empty() || rest_.starts_with(L')')) return Sign::end;
        const bool isProduct = Take(kProduct);
        if (!isProduct && !Take(kQuotient)) return hasBlank ? Sign::blank : Sign::none;
        SkipBlanks();
        return isProduct ? Sign::product : Sign::quotient;
    }

    std::optional<Factor> Power() {
        std::optional<Factor> factor = Take(L'(') ? Group() : Symbol();
        if (!factor) return std::nullopt;
        const bool hasCaret = Take(L'^');
        const bool isNegative = Take(L'-');
        int exponent = 1;
        if (!rest_.empty() && rest_.front() >= L'1' && rest_.front() <= L'9') {
            exponent = rest_.front() - L'0';
            rest_.remove_prefix(1);
        } else if (hasCaret || isNegative) {
            return std::nullopt;
        }
        factor->power *= isNegative ? -exponent : exponent;
        return std::abs(factor->power) <= kMaxPower ? std::move(factor) : std::nullopt;
    }

    std::optional<Factor> Group() {
        SkipBlanks();
        std::optional<Factors> inside = Product();
        if (!inside || inside->empty() || !Take(L')')) return std::nullopt;
        if (inside->size() == 1) return inside->front();
        return Factor{.symbol = {}, .group = *std::move(inside)};
    }

    std::optional<Factor> Symbol() {
        const std::size_t size = std::min(rest_.find_first_of(kNotInSymbols), rest_.size());
        if (size == 0) return std::nullopt;
        Factor factor{std::wstring(rest_.substr(0, size))};
        rest_.remove_prefix(size);
        return factor;
    }

    std::wstring_view rest_;
};

// ---- the names of the unit table

struct NamedUnit {
    Factors name;  // "m/s2" is m and s to the -2
    UNIT unit;
};

/// A symbol of the table in all its spellings.
std::vector<std::wstring> SpellingsOf(const std::wstring& symbol) {
    std::vector<std::wstring> all = {symbol};
    for (const Spelling& other : kOtherNames) {
        if (other.inTable == symbol) all.emplace_back(other.text);
    }
    if (symbol.ends_with(L"Ω")) {
        all.push_back(Replaced(symbol, L"Ω", L"Ohm"));
        all.push_back(Replaced(symbol, L"Ω", L"ohm"));
    }
    for (std::size_t i = 0, count = all.size(); i < count; ++i) {
        if (all[i].starts_with(L"μ")) all.push_back(L"u" + all[i].substr(1));
    }
    return all;
}

/// Every spelling of every unit, in the order of the unit table.
const std::vector<NamedUnit>& NamedUnits() {
    static const std::vector<NamedUnit> all = [] {
        std::vector<NamedUnit> named;
        for (const detail::UnitRow& row : detail::Units()) {
            const UNIT unit = row.code;
            const std::wstring text = Normalised(ResourceText(row.nameId, Language::kJapanese));
            std::vector<Factors> names = {{}};
            for (const Factor& factor : Parser(text).Text().value_or(Factors{})) {
                std::vector<Factors> longer;
                for (const Factors& begun : names) {
                    for (std::wstring& symbol : SpellingsOf(factor.symbol)) {
                        longer.push_back(begun);
                        longer.back().push_back({std::move(symbol), factor.power});
                    }
                }
                names = std::move(longer);
            }
            for (Factors& name : names) named.push_back({std::move(name), unit});
            for (const Spelling& other : kOtherNames) {
                if (named.back().name.size() > 1 && other.inTable == text)
                    named.push_back({{{std::wstring(other.text)}}, unit});
            }
        }
        return named;
    }();
    return all;
}

/// Whether the case of a symbol carries meaning: as it is written it reads as a prefix of the table, or a
/// newton, in front of another unit. "mG" is not "mg", "kS" not "ks", "Ns" not "ns".
bool IsCaseMeant(std::wstring_view symbol) {
    constexpr std::wstring_view kFirst = L"fpnμumchkMGN";
    return !symbol.empty() && kFirst.find(symbol.front()) != kFirst.npos &&
           std::ranges::any_of(NamedUnits(), [rest = symbol.substr(1)](const NamedUnit& named) {
               return named.name.size() == 1 && named.name.front().symbol == rest;
           });
}

using Name = std::span<const Factor>;

bool IsSameName(Name text, Name known) {
    return std::ranges::equal(text, known, [](const Factor& a, const Factor& b) {
        return a.symbol == b.symbol && a.power == b.power;
    });
}

bool IsSameNameButForCase(Name text, Name known) {
    if (text.empty() || text.size() != known.size()) return false;
    const auto isMilliOrMega = [](Name name) {
        return name.front().symbol.starts_with(L'm') || name.front().symbol.starts_with(L'M');
    };
    if (isMilliOrMega(text) && text.front().symbol.front() != known.front().symbol.front()) return false;
    return std::ranges::equal(text, known, [](const Factor& a, const Factor& b) {
        return a.power == b.power &&
               (a.symbol == b.symbol || (EqualButForCase(a.symbol, b.symbol) && !IsCaseMeant(a.symbol)));
    });
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

/// How symbols are looked up.
struct Reading {
    Hint hint;
    bool forgivesCase;
};

/// The units of a name; see the header for what counts as one.
std::vector<UNIT> Lookup(Name name, const Reading& reading) {
    const Hint hint = reading.hint;
    std::vector<NamedUnit> found = UnitsWhose([&](Name known) { return IsSameName(name, known); }, hint);
    if (found.empty() && reading.forgivesCase) {
        found = UnitsWhose([&](Name known) { return IsSameNameButForCase(name, known); }, hint);
        const bool isAmbiguous = std::ranges::any_of(found, [&](const NamedUnit& named) {
            return !IsSameName(named.name, found.front().name) &&
                   !ConvertAlike(named.unit, found.front().unit);
        });
        if (isAmbiguous) found.clear();
    }
    std::vector<UNIT> units;
    std::ranges::transform(found, std::back_inserter(units), &NamedUnit::unit);
    return units;
}

// ---- from factors to the members of a descriptor

struct Member {
    UNIT unit;
    int power = 1;
};
using Members = std::vector<Member>;

/// The member that the factors name together. Its power is theirs when it is one, else 1, or 2 for the square
/// of a name that holds a square: m2/s4.
std::optional<Member> NamedMember(Name factors, const Reading& reading) {
    const bool isFourth =
        std::ranges::any_of(factors, [](const Factor& f) { return std::abs(f.power) == 4; });
    const int power = factors.size() == 1 ? factors.front().power : isFourth ? 2 : 1;
    Factors name(factors.begin(), factors.end());
    for (Factor& factor : name) {
        if (factor.power % power != 0) return std::nullopt;
        factor.power /= power;
    }
    const std::vector<UNIT> units = Lookup(name, reading);
    return units.empty() ? std::nullopt : std::optional(Member{units.front(), power});
}

/// The members that factors stand for. A name of several symbols is taken whole, the longest first.
std::optional<Members> MembersOf(Name factors, const Reading& reading) {
    Members members;
    while (!factors.empty()) {
        std::size_t taken = 0;
        if (const Factor& first = factors.front(); !first.group.empty()) {
            const std::optional<Members> inside = MembersOf(first.group, reading);
            if (!inside) return std::nullopt;
            for (const Member& member : *inside) {
                members.push_back({member.unit, member.power * first.power});
                if (std::abs(members.back().power) > kMaxPower) return std::nullopt;
            }
            taken = 1;
        } else {
            const auto run = std::ranges::find_if(factors, [](const Factor& f) { return !f.group.empty(); });
            for (auto count = static_cast<std::size_t>(run - factors.begin()); count > 0; --count) {
                const std::optional<Member> member = NamedMember(factors.first(count), reading);
                if (!member) continue;
                members.push_back(*member);
                taken = count;
                break;
            }
        }
        if (taken == 0 || members.size() > kMaxMembers) return std::nullopt;
        factors = factors.subspan(taken);
    }
    return members;
}

CUnitCtrl::UNIT_CALC CalcOf(const Member& member) {
    const bool isSquared = std::abs(member.power) == 2;
    if (member.power < 0)
        return isSquared ? CUnitCtrl::CALC_SQUARED | CUnitCtrl::CALC_DIVIDE : CUnitCtrl::CALC_DIVIDE;
    return isSquared ? CUnitCtrl::CALC_SQUARED : CUnitCtrl::CALC_PLAIN;
}

}  // namespace

std::vector<CUnitCtrl::UNIT_CODE> FindUnit(std::wstring_view plainText) {
    if (plainText.size() > kMaxText) return {};
    const std::optional<Factors> name = Parser(Normalised(plainText)).Text();
    return name ? Lookup(*name, {.hint = std::nullopt, .forgivesCase = true}) : std::vector<UNIT>{};
}

std::wstring WithoutMarkup(std::wstring_view text) {
    std::wstring plain(text);
    for (const std::wstring_view markup : {L"#u", L"#l", L"#n"}) {
        plain = Replaced(std::move(plain), markup, L"");
    }
    return plain;
}

std::wstring PlainUnitName(const CUnitCtrl& unit, Language language) {
    std::array<UnitPart, kMaxMembers> p{};
    std::ranges::copy(UnitParts(unit), p.begin());
    std::wstring name;
    if (p[0].unit == CUnitCtrl::UNIT_NONE && p[0].calc != CUnitCtrl::CALC_PLAIN) {
        // The square of no unit is none.
        name = UnitName(CUnitCtrl(p[0].unit, CUnitCtrl::CALC_PLAIN, p[1].unit, p[1].calc, p[2].unit,
                                  p[2].calc, p[3].unit, p[3].calc),
                        language);
    } else {
        name = UnitName(unit, language);
    }
    name = WithoutMarkup(name);
    for (const Spelling& sign : kCommonSigns) name = Replaced(std::move(name), sign.inTable, sign.text);
    if (name.starts_with(L' ')) {  // no unit as the first member
        name.erase(0, 1);
        if (name.starts_with(kQuotient)) name.insert(0, L"1");
        if (name.starts_with(L'\u00B7')) name.erase(0, 1);
    }
    return name;
}

std::optional<CUnitCtrl> ParseUnit(std::wstring_view plainText, std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (plainText.size() > kMaxText) return std::nullopt;
    const std::optional<Factors> factors = Parser(Normalised(plainText)).Text();
    if (!factors) return std::nullopt;
    std::optional<Members> members = MembersOf(*factors, {hint, false});
    if (!members) members = MembersOf(*factors, {hint, true});
    const auto isTooHigh = [](const Member& member) { return std::abs(member.power) > 2; };
    if (!members || std::ranges::any_of(*members, isTooHigh)) return std::nullopt;
    members->resize(kMaxMembers, {CUnitCtrl::UNIT_NONE});
    const Members& m = *members;
    return CUnitCtrl(m[0].unit, CalcOf(m[0]), m[1].unit, CalcOf(m[1]), m[2].unit, CalcOf(m[2]), m[3].unit,
                     CalcOf(m[3]));
}

std::vector<std::wstring_view> detail::OtherUnitNames() {
    std::vector<std::wstring_view> names;
    for (const Spelling& other : kOtherNames) names.push_back(other.text);
    return names;
}

std::vector<std::wstring> detail::SymbolsIn(std::wstring_view text) {
    std::vector<std::wstring> symbols;
    const std::wstring plain = Normalised(text);
    for (std::size_t at = 0; (at = plain.find_first_not_of(kNotInSymbols, at)) != plain.npos;) {
        const std::size_t end = std::min(plain.find_first_of(kNotInSymbols, at), plain.size());
        symbols.push_back(plain.substr(at, end - at));
        at = end;
    }
    return symbols;
}

}  // namespace kvx
