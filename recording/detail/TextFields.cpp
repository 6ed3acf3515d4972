// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextFields.h>

#include <algorithm>

namespace kvx {
namespace {

constexpr std::string_view kBlanks = " \t";

/// Where the brackets end that open at `begin`; npos when none do.
std::size_t EndOfBrackets(std::string_view text, std::size_t begin) {
    return text[begin] == '(' ? text.find(')', begin) : std::string_view::npos;
}

/// One field from `*rest`, which is left behind its separator; quotes around it are kept.
std::string_view TakeField(std::string_view* rest, char separator, bool* more) {
    const std::size_t begin = rest->find_first_not_of(' ');
    std::size_t searchFrom = 0;
    if (begin != std::string_view::npos && (*rest)[begin] == '"') {
        std::size_t close = rest->find('"', begin + 1);
        while (close < rest->size() && rest->substr(close).starts_with("\"\"")) {
            close = rest->find('"', close + 2);
        }
        if (close != std::string_view::npos) searchFrom = close;
    } else if (begin != std::string_view::npos) {
        const std::size_t close = EndOfBrackets(*rest, begin);
        if (close != std::string_view::npos) searchFrom = close;
    }
    const std::size_t end = rest->find(separator, searchFrom);
    *more = end != std::string_view::npos;
    const std::string_view field = rest->substr(0, end);
    *rest = *more ? rest->substr(end + 1) : std::string_view();
    return Trim(field);
}

}  // namespace

std::string_view Trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view Unquoted(std::string_view field) {
    if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
        return Trim(field.substr(1, field.size() - 2));
    }
    return field;
}

bool Contains(std::string_view line, char separator) {
    if (separator == kBlankRun) return Trim(line).find_first_of(kBlanks) != std::string_view::npos;
    return separator == kNone || line.find(separator) != std::string_view::npos;
}

void Split(std::string_view line, char separator, Fields* fields) {
    fields->clear();
    if (separator == kNone) {
        fields->push_back(Trim(line));
        return;
    }
    if (separator == kBlankRun) {
        for (std::size_t at = line.find_first_not_of(kBlanks);
             at != std::string_view::npos && fields->size() <= kMaxColumns;) {
            const std::size_t close = EndOfBrackets(line, at);
            const std::size_t from = close == std::string_view::npos ? at : close;
            const std::size_t end = std::min(line.find_first_of(kBlanks, from), line.size());
            fields->push_back(line.substr(at, end - at));
            at = line.find_first_not_of(kBlanks, end);
        }
        return;
    }
    bool more = true;
    while (more && fields->size() <= kMaxColumns) fields->push_back(TakeField(&line, separator, &more));
}

void DropEmptyEnd(Fields* fields) {
    while (!fields->empty() && fields->back().empty()) fields->pop_back();
}

bool IsBlankOrComment(std::string_view line, std::string_view comments) {
    const std::string_view text = Trim(line);
    return text.empty() || comments.find(text.front()) != std::string_view::npos;
}

}  // namespace kvx
