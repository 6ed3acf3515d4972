// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ConvData.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

int CConvData::StrToIntW(const wchar_t* text) {
    if (text == nullptr) return 0;
    std::wstring_view rest = text;
    rest.remove_prefix(std::min(rest.find_first_not_of(L" \t\n\v\f\r"), rest.size()));

    const bool negative = rest.starts_with(L'-');
    if (negative || rest.starts_with(L'+')) rest.remove_prefix(1);

    // The magnitude of the lower limit is one more than that of the upper one; no sum gets far beyond either.
    constexpr std::int64_t upper = std::numeric_limits<int>::max();
    const std::int64_t limit = negative ? upper + 1 : upper;
    std::int64_t magnitude = 0;
    for (const wchar_t c : rest) {
        if (c < L'0' || c > L'9') break;
        magnitude = std::min(magnitude * 10 + (c - L'0'), limit);
    }
    return static_cast<int>(negative ? -magnitude : magnitude);
}
