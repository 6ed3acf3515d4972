// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/NearNames.h>

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <numeric>
#include <tuple>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr std::size_t kMostNames = 3;
constexpr std::size_t kLongestText = 100;

/// Number of changes between two texts: a character more, less or other, or two neighbours the other way
/// round. Case changes are not counted.
std::size_t EditDistance(std::wstring_view a, std::wstring_view b) {
    const auto areSame = [](wchar_t x, wchar_t y) {
        return std::towlower(static_cast<std::wint_t>(x)) == std::towlower(static_cast<std::wint_t>(y));
    };
    std::vector<std::size_t> beforeLast, last, row(b.size() + 1);  // distances of beginnings of both
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (areSame(a[i - 1], b[j - 1]) ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && areSame(a[i - 1], b[j - 2]) && areSame(a[i - 2], b[j - 1]))
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

}  // namespace

std::string DidYouMean(std::string_view text, const std::vector<std::string>& names) {
    const std::wstring wanted = FromUtf8(text).value_or(L"");
    if (wanted.size() > kLongestText) return {};
    const std::size_t limit = wanted.size() < 4 ? 1 : 2;
    std::vector<std::tuple<std::size_t, bool, std::string>> near;
    for (const std::string& name : names) {
        const std::wstring wide = FromUtf8(name).value_or(L"");
        const std::size_t distance = EditDistance(wanted, wide);
        const bool isBeginning = !wide.empty() && wanted.starts_with(wide);
        if (distance <= limit && (distance < wide.size() || isBeginning))
            near.emplace_back(distance, !isBeginning, name);
    }
    std::ranges::sort(near);
    near.erase(std::unique(near.begin(), near.end()), near.end());
    if (near.size() > kMostNames) near.resize(kMostNames);
    std::string list;
    for (const auto& [distance, isOther, name] : near) list += (list.empty() ? "" : " or ") + Quote(name);
    return list.empty() ? list : " (did you mean " + list + "?)";
}

std::string NoSuchName(std::string_view text, const std::vector<std::string>& names) {
    std::string hint = DidYouMean(text, names);
    if (hint.empty()) {
        for (const std::string& name : names) hint += (hint.empty() ? ", only " : ", ") + name;
    }
    return "there is no " + Quote(text) + hint;
}

}  // namespace kvx
