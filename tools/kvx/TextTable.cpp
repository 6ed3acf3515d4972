// SPDX-License-Identifier: MIT
#include "TextTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "Failure.h"
#include "UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kMaxColumns = 65536;
constexpr std::size_t kLinesPerUpdate = 4096;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLoggerMagic = "LabVIEW Measurement";
constexpr std::string_view kEndOfHeader = "***End_of_Header***";

using Fields = std::vector<std::string_view>;

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

// ---- bytes to UTF-8 ----

std::string DecodeUtf16(std::string_view bytes, bool bigEndian) {
    if (bytes.size() % 2 != 0) throw Reason("its UTF-16 text ends in the middle of a character");
    constexpr std::size_t kBlock = 1 << 16;
    std::string text;
    text.reserve(bytes.size() / 2);
    std::u16string block;
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        const auto first = static_cast<unsigned char>(bytes[at]);
        const auto second = static_cast<unsigned char>(bytes[at + 1]);
        const auto unit = static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
        block += unit;
        const bool pairBegins = unit >= 0xD800 && unit < 0xDC00;
        if ((block.size() >= kBlock && !pairBegins) || at + 2 == bytes.size()) {
            text += ToUtf8(FromUtf16(block));
            block.clear();
        }
    }
    return text;
}

/// Replaces `bytes` by UTF-8 if they are UTF-16 and returns the text behind any byte-order mark.
std::string_view DecodeInPlace(std::string& bytes) {
    const auto startsWith = [&](std::string_view mark) { return std::string_view(bytes).starts_with(mark); };
    if (startsWith("\xEF\xBB\xBF")) return std::string_view(bytes).substr(3);
    const bool bigEndian = startsWith("\xFE\xFF");
    if (bigEndian || startsWith("\xFF\xFE")) {
        bytes = DecodeUtf16(std::string_view(bytes).substr(2), bigEndian);
    }
    return bytes;
}

/// A heading of the text, its quotes gone, as wide text: UTF-8, else the system's code page.
std::wstring DecodeHeading(std::string_view field) {
    std::string text(Unquoted(field));
    for (std::size_t at = text.find("\"\""); at != text.npos; at = text.find("\"\"", at + 1)) {
        text.erase(at, 1);
    }
    if (std::optional<std::wstring> wide = FromUtf8(text)) return *std::move(wide);
    if (std::optional<std::wstring> wide = DecodeCodePage(text, 0)) return *std::move(wide);
    throw Reason("the heading " + Quote(text) + " is neither UTF-8 nor text of the system's code page");
}

// ---- lines and fields ----

/// Walks over lines that end in LF, CR LF or, in a text without any LF, CR.
class LineReader {
public:
    explicit LineReader(std::string_view text)
        : text_(text), end_(text.find('\n') == std::string_view::npos ? '\r' : '\n') {}

    bool Next(std::string_view* line) {
        if (position_ >= text_.size()) return false;
        const std::size_t end = std::min(text_.find(end_, position_), text_.size());
        *line = text_.substr(position_, end - position_);
        if (line->ends_with('\r')) line->remove_suffix(1);
        position_ = std::min(end + 1, text_.size());
        ++number_;
        return true;
    }
    /// Number of the line last delivered, from 1.
    std::size_t Number() const { return number_; }
    std::size_t Position() const { return position_; }
    std::size_t Size() const { return text_.size(); }

private:
    std::string_view text_;
    char end_;
    std::size_t position_ = 0;
    std::size_t number_ = 0;
};

/// Separator of the columns; ' ' stands for any run of blanks and tabs.
enum Separator : char { kNone = '\0', kBlankRun = ' ', kTab = '\t', kSemicolon = ';', kComma = ',' };

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
    }
    const std::size_t end = rest->find(separator, searchFrom);
    *more = end != std::string_view::npos;
    const std::string_view field = rest->substr(0, end);
    *rest = *more ? rest->substr(end + 1) : std::string_view();
    return Trim(field);
}

/// Splits a line into trimmed fields; one more than kMaxColumns at most.
void Split(std::string_view line, char separator, Fields* fields) {
    fields->clear();
    if (separator == kNone) {
        fields->push_back(Trim(line));
        return;
    }
    if (separator == kBlankRun) {
        for (std::size_t at = line.find_first_not_of(kBlanks);
             at != std::string_view::npos && fields->size() <= kMaxColumns;) {
            const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
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

bool IsBlankOrComment(std::string_view line) {
    const std::string_view text = Trim(line);
    return text.empty() || text.front() == '#';
}

// ---- numbers ----

/// Reads fields as doubles, correctly rounded. A text keeps to one decimal mark: both in one text would mean
/// that one of them groups thousands.
class NumberReader {
public:
    /// The number, or no value with `*fault` told ("is not a number").
    std::optional<double> Read(std::string_view field, const char** fault) {
        field = Unquoted(field);
        if (field.starts_with('+') && !field.starts_with("+-")) field.remove_prefix(1);
        std::array<char, 64> copy;
        std::size_t mark = field.find('.');
        if (mark != std::string_view::npos) {
            pointSeen_ = true;
        } else if ((mark = field.find(',')) != std::string_view::npos && field.size() < copy.size()) {
            commaSeen_ = true;
            std::ranges::copy(field, copy.begin());
            copy[mark] = '.';
            field = std::string_view(copy.data(), field.size());
        }
        double value = 0.0;
        const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        if (field.empty() || end != field.data() + field.size()) {
            *fault = "is not a number";
            return std::nullopt;
        }
        // Too small a number is the nearest double all the same; from_chars leaves it out.
        if (error == std::errc::result_out_of_range) value = std::strtod(std::string(field).c_str(), nullptr);
        if (!std::isfinite(value)) {
            *fault = error == std::errc() ? "is not a finite number" : "is too large";
            return std::nullopt;
        }
        if (pointSeen_ && commaSeen_) {
            *fault = "has another decimal mark than the numbers before it";
            return std::nullopt;
        }
        return value;
    }

private:
    bool pointSeen_ = false;
    bool commaSeen_ = false;
};

bool AreNumbers(const Fields& fields) {
    NumberReader numbers;
    const char* fault = nullptr;
    return !fields.empty() && std::ranges::all_of(fields, [&](std::string_view f) {
        return numbers.Read(f, &fault).has_value();
    });
}

/// Decimals of a number as written: 6 for "0.000605", 3 for "1.5E-2", 0 for "12".
int Decimals(std::string_view field) {
    field = Unquoted(field);
    const std::size_t exponentAt = std::min(field.find_first_of("eE"), field.size());
    int exponent = 0;
    if (exponentAt < field.size()) {
        std::string_view digits = field.substr(exponentAt + 1);
        if (digits.starts_with('+')) digits.remove_prefix(1);
        std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    }
    const std::size_t mark = field.substr(0, exponentAt).find_first_of(".,");
    const int written = mark == std::string_view::npos ? 0 : static_cast<int>(exponentAt - mark - 1);
    return written - std::clamp(exponent, -400, 400);
}

// ---- what the columns are ----

struct Layout {
    char separator = kNone;
    std::size_t skipped = 0;  ///< leading fields that hold nothing
    std::size_t columns = 0;  ///< the time column included
    bool extraIgnored = false;
    std::vector<Heading> headings;  ///< one per column, or none
    std::optional<bool> firstIsTime;
    std::string rateHint;
};

bool IsTimeHeading(const Heading& heading) {
    if (heading.unit) return *heading.unit == CUnitCtrl::DIM_TIME;
    std::string name;
    for (const wchar_t c : heading.name) {
        if (c > 0x7F) return heading.name.starts_with(L"時間") || heading.name.starts_with(L"時刻");
        name += static_cast<char>(c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c);
    }
    static constexpr std::array kNames = {"t", "sec", "seconds", "elapsed", "x_value", "zeit", "temps"};
    return name.starts_with("time") || std::ranges::find(kNames, name) != kNames.end();
}

std::vector<Heading> ParseHeadings(std::string_view line, char separator, std::size_t columns) {
    line = Trim(line);
    if (line.starts_with('#')) line.remove_prefix(1);
    Fields fields;
    Split(line, separator, &fields);
    if (fields.size() > columns) DropEmptyEnd(&fields);
    if (fields.size() != columns) return {};
    std::vector<Heading> headings;
    for (const std::string_view field : fields) headings.push_back(ParseHeading(DecodeHeading(field)));
    return headings;
}

/// The headings of columns whose last line of headings may hold their units alone.
std::vector<Heading> ReadHeadings(std::string_view lastLine, std::string_view lineBefore,
                                  const Layout& layout) {
    std::vector<Heading> last = ParseHeadings(lastLine, layout.separator, layout.columns);
    if (last.empty() || lineBefore.empty()) return last;
    std::vector<Heading> before = ParseHeadings(lineBefore, layout.separator, layout.columns);
    if (before.empty()) return last;
    for (std::size_t c = 0; c < last.size(); ++c) {
        const std::wstring& text = last[c].name;
        std::optional<CUnitCtrl> unit = last[c].unit;
        if (!text.empty()) unit = unit ? std::nullopt : ParseUnit(text);
        if (!unit && !text.empty()) return last;
        if (unit) before[c].unit = unit;
    }
    return before;
}

/// A line in front of the data that is itself a row of data with something wrong in it, told as such.
void RefuseDamagedRow(std::string_view line, std::size_t number, const Layout& layout) {
    Fields fields;
    Split(line, layout.separator, &fields);
    NumberReader numbers;
    const char* fault = nullptr;
    if (fields.size() != layout.columns || !numbers.Read(fields.front(), &fault)) return;
    for (std::size_t c = 1; c < fields.size(); ++c) {
        if (numbers.Read(fields[c], &fault)) continue;
        throw Reason("line " + std::to_string(number) + ", column " + std::to_string(c + 1) + ": " +
                     (fields[c].empty() ? "the value is missing" : Quote(fields[c]) + " " + fault));
    }
}

bool Contains(std::string_view line, char separator) {
    if (separator == kBlankRun) return Trim(line).find_first_of(kBlanks) != std::string_view::npos;
    return separator == kNone || line.find(separator) != std::string_view::npos;
}

/// The columns that a line of numbers has; no value when it is none.
std::optional<Layout> LayoutOf(std::string_view line, std::size_t number, const TextOptions& options) {
    Fields fields;
    for (const char separator : {kTab, kSemicolon, kComma, kBlankRun, kNone}) {
        if (!Contains(line, separator) || (separator == kComma && options.decimalComma)) continue;
        Split(line, separator, &fields);
        if (fields.size() > kMaxColumns) {
            throw Reason("line " + std::to_string(number) + " has more than " + std::to_string(kMaxColumns) +
                         " columns");
        }
        DropEmptyEnd(&fields);
        if (!AreNumbers(fields)) continue;
        Layout layout;
        layout.separator = separator;
        layout.columns = fields.size();
        return layout;
    }
    return std::nullopt;
}

/// Finds the first line of numbers; leaves `lines` in front of it.
Layout DetectLayout(LineReader& lines, const TextOptions& options) {
    std::string_view line;
    std::string_view heading;
    std::string_view headingBefore;
    std::size_t headingNumber = 0;
    for (LineReader here = lines; lines.Next(&line); here = lines) {
        if (Trim(line).empty()) continue;
        if (std::optional<Layout> layout = LayoutOf(line, lines.Number(), options)) {
            if (headingNumber > 0) {
                RefuseDamagedRow(heading, headingNumber, *layout);
                layout->headings = ReadHeadings(heading, headingBefore, *layout);
            }
            lines = here;
            return *std::move(layout);
        }
        headingBefore = std::exchange(heading, line);
        headingNumber = lines.Number();
    }
    if (headingNumber == 0) throw Reason("it holds no text");
    throw Reason("no line of it is a row of numbers; line " + std::to_string(headingNumber) + " begins " +
                 Quote(Trim(heading)));
}

/// Reads the two header blocks and the headings of a logger's measurement file; leaves `lines` in front of
/// the data.
Layout ReadLoggerHeader(LineReader& lines) {
    Layout layout;
    layout.separator = kTab;
    layout.extraIgnored = true;
    std::string_view line;
    Fields fields;
    Fields unitLabels;
    bool timeColumn = false;
    int blocks = 0;
    while (blocks < 2 && lines.Next(&line)) {
        if (line.starts_with("Separator")) layout.separator = line.find("Comma") != line.npos ? kComma : kTab;
        Split(line, layout.separator, &fields);
        const std::string_view key = fields.front();
        const std::string_view value = fields.size() > 1 ? fields[1] : std::string_view();
        if (key == kEndOfHeader) ++blocks;
        if (key == "X_Columns") {
            if (value == "Multi") throw Reason("it has a time column per channel, which is not supported");
            timeColumn = value == "One";
        }
        if (key == "Delta_X") layout.rateHint = " (its header has the rounded step " + Quote(value) + " s)";
        if (key == "Y_Unit_Label") unitLabels.assign(fields.begin() + 1, fields.end());
    }
    if (blocks < 2 || !lines.Next(&line)) throw Reason("its header does not end");
    Split(line, layout.separator, &fields);
    DropEmptyEnd(&fields);
    if (!fields.empty() && fields.back() == "Comment") fields.pop_back();
    if (fields.size() < 2) throw Reason("line " + std::to_string(lines.Number()) + " names no channels");

    layout.firstIsTime = timeColumn;
    layout.skipped = timeColumn ? 0 : 1;
    layout.columns = fields.size() - layout.skipped;
    if (timeColumn) layout.headings.push_back({L"time"});
    for (std::size_t c = 0; c + 1 < fields.size(); ++c) {
        Heading heading = {DecodeHeading(fields[c + 1])};
        if (c < unitLabels.size() && !unitLabels[c].empty()) {
            heading.unit = ParseUnit(DecodeHeading(unitLabels[c]));
            if (!heading.unit) heading.unknownUnit = unitLabels[c];
        }
        layout.headings.push_back(std::move(heading));
    }
    return layout;
}

// ---- the data ----

struct Columns {
    std::vector<std::vector<double>> values;
    int decimalsOfFirst = 0;
};

/// All rows from `lines` on.
Columns ReadRows(LineReader& lines, const Layout& layout, Progress& progress) {
    Columns columns;
    columns.values.resize(layout.columns);
    NumberReader numbers;
    Fields fields;
    std::string_view line;
    const auto fail = [&](const std::string& what) {
        throw Reason("line " + std::to_string(lines.Number()) + what);
    };
    while (lines.Next(&line)) {
        if (lines.Number() % kLinesPerUpdate == 0) progress.Update(lines.Position(), lines.Size());
        if (IsBlankOrComment(line)) continue;
        Split(line, layout.separator, &fields);
        if (layout.extraIgnored && fields.front() == "Channels") {
            fail(" begins a second segment; a recording is one run of samples, so split the file there");
        }
        if (!layout.extraIgnored && fields.size() > layout.columns) DropEmptyEnd(&fields);
        const std::size_t expected = layout.skipped + layout.columns;
        if (fields.size() < expected || (!layout.extraIgnored && fields.size() > expected)) {
            // A row that breaks off at a word is better told by the word.
            const char* fault = nullptr;
            if (fields.size() == 1 && !numbers.Read(fields[0], &fault)) {
                fail(", column 1: " + Quote(fields[0]) + " " + fault);
            }
            const bool many = fields.size() > kMaxColumns;
            fail(" has " +
                 (many ? "more than " + std::to_string(kMaxColumns) : std::to_string(fields.size())) +
                 (fields.size() == 1 ? " column" : " columns") + " where " + std::to_string(expected) +
                 (expected == 1 ? " was" : " were") + " expected");
        }
        for (std::size_t c = 0; c < layout.columns; ++c) {
            const std::string_view field = fields[layout.skipped + c];
            const char* fault = nullptr;
            const std::optional<double> value = numbers.Read(field, &fault);
            if (!value) {
                fail(", column " + std::to_string(layout.skipped + c + 1) + ": " +
                     (field.empty() ? "the value is missing" : Quote(field) + " " + fault));
            }
            std::vector<double>& column = columns.values[c];
            // The first row tells how long a line is, and so about how many there will be.
            if (column.empty()) column.reserve((lines.Size() - lines.Position()) / (line.size() + 1) + 1);
            column.push_back(*value);
        }
        columns.decimalsOfFirst = std::max(columns.decimalsOfFirst, Decimals(fields[layout.skipped]));
    }
    if (columns.values.front().empty()) throw Reason("it holds no samples");
    return columns;
}

bool FirstColumnIsTime(const Layout& layout, const Columns& columns, double resolution,
                       const TextOptions& options) {
    if (options.firstColumnIsTime) return *options.firstColumnIsTime;
    if (layout.firstIsTime) return *layout.firstIsTime;
    if (!layout.headings.empty()) return IsTimeHeading(layout.headings.front());
    return layout.columns > 1 && columns.values.front().size() > 2 &&
           IsEven(columns.values.front(), resolution);
}

}  // namespace

Recording ParseTextTable(std::string bytes, const TextOptions& options, Progress& progress) {
    const std::string_view text = DecodeInPlace(bytes);
    if (text.find('\0') != std::string_view::npos)
        throw Reason("it is neither a text table nor a sound file");
    LineReader lines(text);
    const Layout layout =
        text.starts_with(kLoggerMagic) ? ReadLoggerHeader(lines) : DetectLayout(lines, options);
    Columns columns = ReadRows(lines, layout, progress);

    Recording recording;
    recording.rateHint = layout.rateHint;
    recording.timeResolution = std::pow(10.0, -columns.decimalsOfFirst);
    const bool hasTime = FirstColumnIsTime(layout, columns, recording.timeResolution, options);
    if (hasTime) {
        if (layout.columns < 2) throw Reason("its only column is the time");
        recording.times = std::move(columns.values.front());
        const bool stated = !layout.headings.empty() && layout.headings.front().unit;
        if (stated && *layout.headings.front().unit == CUnitCtrl::DIM_TIME) {
            const CUnitCtrl& unit = *layout.headings.front().unit;
            unit.ConvItoD(recording.times.data(), recording.times.data(), std::ssize(recording.times), 1.0,
                          0);
            recording.timeResolution = unit.ConvItoD(recording.timeResolution, 1.0, 0);
        }
    }
    for (std::size_t c = hasTime ? 1 : 0; c < layout.columns; ++c) {
        Recording::Channel channel;
        if (!layout.headings.empty()) {
            channel.name = layout.headings[c].name;
            channel.unit = layout.headings[c].unit;
            channel.unknownUnit = layout.headings[c].unknownUnit;
        }
        channel.values = std::move(columns.values[c]);
        recording.channels.push_back(std::move(channel));
    }
    return recording;
}

}  // namespace kvx::tool
