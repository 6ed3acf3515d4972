// SPDX-License-Identifier: MIT
#include "cli/Help.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>

#include <KvxDevCommon01/text/PlainText.h>

namespace kvx::tool {
namespace {

std::string_view WithoutLineEnds(std::string_view text) {
    while (text.starts_with('\n')) text.remove_prefix(1);
    while (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

}  // namespace

std::size_t HelpWidth() {
    constexpr std::size_t kLeast = 60, kMost = 120, kUnknown = 80;
    std::size_t width = 0;
    if (const char* columns = std::getenv("COLUMNS")) {
        const std::string_view text = columns;
        std::from_chars(text.data(), text.data() + text.size(), width);
    }
    winsize window = {};
    if (width == 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0) width = window.ws_col;
    return width == 0 ? kUnknown : std::clamp(width, kLeast, kMost);
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
