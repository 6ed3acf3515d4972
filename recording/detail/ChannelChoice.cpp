// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/ChannelChoice.h>

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>
#include <system_error>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

/// A whole number from the start of `text`, which is left behind it; no value where none stands there.
std::optional<std::size_t> TakeNumber(std::string_view& text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// The positions that one piece of a choice stands for; none for a channel that is not there.
std::vector<std::size_t> PositionsOf(std::string_view piece, const std::vector<std::wstring>& names) {
    const auto named = std::ranges::find(names, FromUtf8(piece).value_or(L""));
    if (!piece.empty() && named != names.end()) return {static_cast<std::size_t>(named - names.begin())};
    const std::optional<std::size_t> first = TakeNumber(piece);
    std::optional<std::size_t> last = first;
    if (first && piece.starts_with('-')) {
        piece.remove_prefix(1);
        last = TakeNumber(piece);
    }
    if (!first || !last || !piece.empty() || *first < 1 || *last < *first || *last > names.size()) return {};
    std::vector<std::size_t> positions(*last - *first + 1);
    std::iota(positions.begin(), positions.end(), *first - 1);
    return positions;
}

}  // namespace

std::vector<std::size_t> ChannelPositions(std::string_view choice, const std::vector<std::wstring>& names) {
    std::vector<std::size_t> chosen(choice.empty() ? names.size() : 0);
    std::iota(chosen.begin(), chosen.end(), std::size_t{0});
    for (std::size_t begin = 0; !choice.empty() && begin <= choice.size();) {
        const std::size_t end = std::min(choice.find(',', begin), choice.size());
        const std::string_view piece = choice.substr(begin, end - begin);
        const std::vector<std::size_t> positions = PositionsOf(piece, names);
        if (positions.empty()) {
            throw Error(ErrorKind::kUnknownName, "there is no channel " + Quote(piece) + " among its " +
                                                     Count(std::ssize(names), "channel"));
        }
        chosen.insert(chosen.end(), positions.begin(), positions.end());
        begin = end + 1;
    }
    for (auto at = chosen.begin(); at != chosen.end(); ++at) {
        if (std::find(chosen.begin(), at, *at) != at)
            throw Error(ErrorKind::kBadValue, "channel " + std::to_string(*at + 1) + " is chosen twice");
    }
    return chosen;
}

}  // namespace kvx
