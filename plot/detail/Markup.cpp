// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/Markup.h>

#include <optional>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx::plot {
namespace {

std::optional<Script> ScriptOf(wchar_t letter) {
    switch (letter) {
        case L'u':
            return Script::kSuperscript;
        case L'l':
            return Script::kSubscript;
        case L'n':
            return Script::kNormal;
        default:
            return std::nullopt;
    }
}

}  // namespace

std::vector<TextRun> SplitMarkup(std::wstring_view text) {
    std::vector<TextRun> runs;
    std::wstring plain;
    Script script = Script::kNormal;
    const auto finishRun = [&] {
        if (!plain.empty()) runs.push_back({ToUtf8(plain), script});
        plain.clear();
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'#' && i + 1 < text.size()) {
            if (const std::optional<Script> next = ScriptOf(text[i + 1])) {
                finishRun();
                script = *next;
                ++i;
                continue;
            }
        }
        const bool isControl =
            text[i] < L' ' || text[i] == L'\x7f' || (text[i] >= L'\x80' && text[i] < L'\xa0');
        plain.push_back(isControl ? L' ' : text[i]);
    }
    finishRun();
    return runs;
}

}  // namespace kvx::plot
