// SPDX-License-Identifier: MIT
#include "cli/Help.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace kvx::tool {
namespace {

std::string_view WithoutLineEnds(std::string_view text) {
    while (text.starts_with('\n')) text.remove_prefix(1);
    while (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

}  // namespace

std::size_t HelpWidth() {
    constexpr std::size_t kLeast = 80, kMost = 120, kUnknown = 100;
    std::size_t width = 0;
    if (const char* columns = std::getenv("COLUMNS")) {
        const std::string_view text = columns;
        std::from_chars(text.data(), text.data() + text.size(), width);
    }
    winsize window = {};
    if (width == 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0) width = window.ws_col;
    return width == 0 ? kUnknown : std::clamp(width, kLeast, kMost);
}

std::string Wrapped(std::string_view text, std::size_t width) {
    std::string wrapped;
    std::size_t column = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = std::min(text.find_first_not_of(" \n", at), text.size());
        const std::string_view gap = text.substr(at, begin - at);
        const std::size_t end = std::min(text.find_first_of(" \n", begin), text.size());
        const std::string_view word = text.substr(begin, end - begin);
        at = end;
        if (word.empty()) break;
        if (std::ranges::count(gap, '\n') > 1) {
            wrapped += "\n\n";
            column = 0;
        } else if (column > 0 && column + 1 + word.size() > width) {
            wrapped += '\n';
            column = 0;
        } else if (column > 0) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
        column += word.size();
    }
    return wrapped;
}

std::string HelpFooter(std::string_view paragraphs, std::string_view example) {
    std::string footer = Wrapped(WithoutLineEnds(paragraphs), HelpWidth());
    footer += footer.empty() ? "Example:" : "\n\nExample:";
    for (std::string_view rest = WithoutLineEnds(example); !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        footer += fmt::format("\n  {}", rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return footer;
}

}  // namespace kvx::tool
