// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/HeaderText.h>

#include <algorithm>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/detail/TextHeadings.h>

namespace kvx {

std::string Utf8OrWestern(std::string_view text) {
    if (FromUtf8(text)) return std::string(text);
    return ToUtf8(DecodeCodePageReplacing(text, kWesternCodePage).value_or(L""));
}

std::string PlainLine(std::string_view line) {
    std::string text;
    for (const char c : Trim(line)) {
        const bool isBlank = static_cast<unsigned char>(c) <= ' ';
        if (isBlank && (text.empty() || text.back() == ' ')) continue;
        text += isBlank ? ' ' : c;
    }
    if (text.ends_with(' ')) text.pop_back();
    return Utf8OrWestern(text);
}

std::string SmallLetters(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return small;
}

std::string Padded(std::int64_t number, std::size_t digits) {
    const std::string text = std::to_string(number);
    return std::string(digits - std::min(digits, text.size()), '0') + text;
}

}  // namespace kvx
