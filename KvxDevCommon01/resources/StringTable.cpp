// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/resources/StringTable.h>

#include <algorithm>
#include <functional>

#include <KvxDevCommon01/resources/detail/EnglishTexts.h>
#include <KvxDevCommon01/resources/detail/Texts.h>

namespace kvx {
namespace {

using detail::kEnglishTexts;
using detail::kTexts;
using detail::TextRow;

template <typename Table>
constexpr const TextRow* Find(const Table& table, unsigned int id) {
    const auto row = std::ranges::lower_bound(table, id, {}, &TextRow::id);
    return row != table.end() && row->id == id ? &*row : nullptr;
}

/// Kana, Chinese characters, and the full-width and half-width forms that come with them.
constexpr bool IsJapanese(wchar_t c) {
    return (c >= L'\u3000' && c <= L'\u9FFF') || (c >= L'\uFF00' && c <= L'\uFFEF');
}

constexpr bool HasJapanese(const TextRow& row) {
    return std::ranges::any_of(row.text, IsJapanese);
}

constexpr bool NeedsNoEnglish(const TextRow& row) {
    return !HasJapanese(row) || Find(kEnglishTexts, row.id) != nullptr;
}

constexpr bool IsOfTheTable(const TextRow& english) {
    const TextRow* const row = Find(kTexts, english.id);
    return row != nullptr && row->text != english.text;
}

static_assert(std::ranges::is_sorted(kTexts, std::less_equal{}, &TextRow::id), "ids ascend and none repeats");
static_assert(std::ranges::is_sorted(kEnglishTexts, std::less_equal{}, &TextRow::id),
              "ids ascend and none repeats");
static_assert(std::ranges::none_of(kTexts, &std::wstring_view::empty, &TextRow::text));
static_assert(std::ranges::none_of(kEnglishTexts, &std::wstring_view::empty, &TextRow::text));
static_assert(std::ranges::all_of(kTexts, NeedsNoEnglish), "a Japanese text has no English row");
static_assert(std::ranges::none_of(kEnglishTexts, HasJapanese), "an English row holds Japanese characters");
static_assert(std::ranges::all_of(kEnglishTexts, IsOfTheTable), "an English row changes a text of the table");

}  // namespace

std::wstring_view ResourceText(unsigned int id, Language language) {
    const TextRow* row = language == Language::kEnglish ? Find(kEnglishTexts, id) : nullptr;
    if (row == nullptr) row = Find(kTexts, id);
    return row != nullptr ? row->text : std::wstring_view{};
}

std::wstring_view ResourceText(unsigned int id) {
    return ResourceText(id, CurrentLanguage());
}

}  // namespace kvx
