// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/FactLines.h>

#include <algorithm>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

constexpr std::string_view kMark = ": ";
constexpr std::string_view kQuotedMark = "\": ";

std::string OnOneLine(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }, ' ');
    return std::string(Trim(text));
}

}  // namespace

std::vector<RecordingInfo::Property> WrittenFacts(std::span<const RecordingInfo::Property> facts) {
    std::vector<RecordingInfo::Property> written(
        facts.begin(), facts.begin() + static_cast<std::ptrdiff_t>(std::min(facts.size(), kMostFacts)));
    std::erase_if(written, [](const RecordingInfo::Property& fact) {
        return fact.name.size() + fact.text.size() > kMostFactBytes || !FromUtf8(fact.name) ||
               !FromUtf8(fact.text);
    });
    return written;
}

std::string FactLine(const RecordingInfo::Property& fact) {
    const std::string name = OnOneLine(fact.name);
    const bool isQuoted =
        name.empty() || name.front() == '"' || name.find(kMark) != name.npos || name.ends_with(':');
    std::string line = isQuoted ? '"' + name + std::string(kQuotedMark) : name + std::string(kMark);
    return line += OnOneLine(fact.text);
}

std::optional<RecordingInfo::Property> ParseFactLine(std::string_view line) {
    line = Trim(line);
    const bool isQuoted = line.starts_with('"');
    if (isQuoted) line.remove_prefix(1);
    const std::string_view mark = isQuoted ? kQuotedMark : kMark;
    const std::size_t at = line.find(mark);
    if (at == line.npos || (at == 0 && !isQuoted)) return std::nullopt;
    RecordingInfo::Property fact = {std::string(Trim(line.substr(0, at))),
                                    std::string(Trim(line.substr(at + mark.size())))};
    if (fact.text.empty() || !FromUtf8(fact.name) || !FromUtf8(fact.text)) return std::nullopt;
    return fact;
}

}  // namespace kvx
