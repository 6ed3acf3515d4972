// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/resources/StringTable.h>

#include <algorithm>
#include <functional>

#include <KvxDevCommon01/resources/detail/Texts.h>

namespace kvx {

using detail::kTexts;
using detail::TextRow;

static_assert(std::ranges::is_sorted(kTexts, std::less_equal{}, &TextRow::id), "ids ascend and none repeats");
static_assert(std::ranges::none_of(kTexts, &std::wstring_view::empty, &TextRow::text));

std::wstring_view ResourceText(unsigned int id) {
    const auto row = std::ranges::lower_bound(kTexts, id, {}, &TextRow::id);
    return row != kTexts.end() && row->id == id ? row->text : std::wstring_view{};
}

}  // namespace kvx
