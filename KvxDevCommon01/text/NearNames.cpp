// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/NearNames.h>

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <numeric>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr std::size_t kMostNames = 3;
constexpr std::size_t kLongestText = 100;

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

}  // namespace

std::string DidYouMean(std::string_view text, const std::vector<std::string>& names) {
    const std::wstring wanted = FromUtf8(text).value_or(L"");
    if (wanted.size() > kLongestText) return {};
    const std::size_t limit = wanted.size() < 4 ? 1 : 2;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& name : names) {
        const std::wstring wide = FromUtf8(name).value_or(L"");
        const std::size_t distance = EditDistance(wanted, wide);
        if (distance <= limit && distance < wide.size()) near.emplace_back(distance, name);
    }
    std::ranges::sort(near);
    near.erase(std::unique(near.begin(), near.end()), near.end());
    if (near.size() > kMostNames) near.resize(kMostNames);
    std::string list;
    for (const auto& [distance, name] : near) list += (list.empty() ? "" : " or ") + Quote(name);
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
