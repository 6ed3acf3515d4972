// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/MotionUnit.h>

#include <algorithm>
#include <iterator>
#include <string>

#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/StatedUnit.h>

namespace kvx {
namespace {

// clang-format off
constexpr MotionUnit kUnits[] = {
    {"nm/s2", L"m/s2", 1e-9},
    {"nm/s",  L"mm/s", 1e-6},
    {"nm",    L"nm"},
    {"mm/s2", L"m/s2", 1e-3},
    {"mm/s",  L"mm/s"},
    {"mm",    L"mm"},
    {"cm/s2", L"Gal"},
    {"gal",   L"Gal"},
    {"cm/s",  L"cm/s"},
    {"cm",    L"cm"},
    {"m/s2",  L"m/s2"},
    {"m/s",   L"m/s"},
    {"m",     L"m"},
    {"g",     L"g"},
    {"g/10",  L"g",    0.1},
    {"v",     L"V"},
};
// clang-format on

void ReplaceAll(std::string* text, std::string_view from, std::string_view to) {
    for (std::size_t at = text->find(from); at != text->npos; at = text->find(from, at + to.size()))
        text->replace(at, from.size(), to);
}

}  // namespace

std::optional<MotionUnit> FindMotionUnit(std::string_view name) {
    std::string text = SmallLetters(name);
    ReplaceAll(&text, "sec", "s");
    for (const std::string_view squared : {"/s/s", "/s**2", "/s^2", "/(s*s)"})
        ReplaceAll(&text, squared, "/s2");
    const auto row = std::ranges::find(kUnits, text, &MotionUnit::written);
    return row == std::end(kUnits) ? std::nullopt : std::optional(*row);
}

std::optional<MotionUnit> UnitInLine(std::string_view line) {
    constexpr std::string_view kBetween = " ():;,=";
    const std::string small = SmallLetters(line);
    for (const std::string_view begin : {"units", " in "}) {
        const std::size_t at = small.find(begin);
        if (at == small.npos) continue;
        std::string_view rest = std::string_view(small).substr(at + begin.size());
        while (true) {
            rest.remove_prefix(std::min(rest.find_first_not_of(kBetween), rest.size()));
            if (rest.empty()) break;
            std::string_view word = rest.substr(0, rest.find_first_of(kBetween));
            rest.remove_prefix(word.size());
            while (word.ends_with('.')) word.remove_suffix(1);
            if (const std::optional<MotionUnit> unit = FindMotionUnit(word)) return unit;
        }
    }
    return std::nullopt;
}

void StateMotionUnit(RecordingInfo::Channel* channel, const MotionUnit& unit, double factor) {
    StateUnit(channel, unit.unit);
    channel->scale *= unit.scale * factor;
    if (channel->scale != 1.0) channel->convertedUnit.assign(unit.written.begin(), unit.written.end());
}

}  // namespace kvx
