// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/detail/UnitHints.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <optional>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace kvx::detail {
namespace {

std::vector<std::string> AllNames() {
    std::vector<std::string> names;
    for (const UnitRow& row : Units()) names.push_back(UnitText(SingleUnit(row.code)));
    for (const std::wstring_view name : OtherUnitNames()) names.push_back(ToUtf8(std::wstring(name)));
    for (const std::wstring_view name : ForeignUnitNames()) {
        // Those in capitals alone are there in small letters, too.
        const auto isSmall = [](wchar_t c) { return std::iswlower(static_cast<std::wint_t>(c)) != 0; };
        if (std::ranges::any_of(name, isSmall)) names.push_back(ToUtf8(std::wstring(name)));
    }
    return names;
}

/// " (did you mean 'inch'?)"; empty when nothing is near.
std::string Suggestion(const std::wstring& text) {
    return DidYouMean(ToUtf8(text), AllNames());
}

}  // namespace

std::string UnknownUnitText(std::string_view text) {
    const std::string sentence = Quote(text) + " is not a unit";
    const std::optional<std::wstring> wide = FromUtf8(text);
    if (!wide) return sentence + ": it is not valid UTF-8";
    const std::string whole = Suggestion(*wide);
    if (!whole.empty()) return sentence + whole;
    const std::vector<std::wstring> symbols = SymbolsIn(*wide);
    const bool isCompound = symbols.size() > 1 || (symbols.size() == 1 && symbols.front() != *wide);
    if (!isCompound) return sentence + " that is known";
    const auto unknown =
        std::ranges::find_if(symbols, [](const std::wstring& symbol) { return !ParseEntryUnit(symbol); });
    if (unknown == symbols.end())
        return sentence +
               ": its parts are, but at most four make one, with powers of 1 and 2 and no blank behind '/'";
    return sentence + ": no " + Quote(*unknown) + " is known" + Suggestion(*unknown);
}

std::string OnlyReadUnitText(std::string_view text, const CUnitCtrl& nearest) {
    return "values in " + Quote(text) +
           " are read, but none are kept in it; the nearest unit that they can be kept in is " +
           Quote(UnitText(nearest));
}

}  // namespace kvx::detail
