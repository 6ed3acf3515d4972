// SPDX-License-Identifier: MIT
#include <KvxRecording01/TextTable.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/TextLines.h>

namespace kvx {
namespace {

constexpr std::size_t kMaxColumns = 65536;
constexpr std::size_t kLinesPerUpdate = 4096;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLoggerMagic = "LabVIEW Measurement";
constexpr std::string_view kEndOfHeader = "***End_of_Header***";
constexpr std::string_view kMinusSign = "\u2212";  // as typesetters and some spreadsheets write it
constexpr const char* kNoNumber = "is not a number";

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

// ---- the texts of headings ----

constexpr unsigned int kJapaneseCodePage = 932;
constexpr unsigned int kWesternCodePage = 1252;

/// Whether bytes that are valid in the Japanese code page look like Japanese, too. Nearly all Japanese text
/// has bytes from 0x80 to 0x9F, and half-width katakana stand in rows. In Western text, where these bytes are
/// rare signs, letters and signs such as the raised 2 have the bytes above.
bool LooksJapanese(std::string_view bytes) {
    bool isKatakana = true;
    std::size_t row = 0;
    for (const char c : std::string(bytes) + '\0') {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && byte < 0xA0) return true;
        const bool isHalfWidth = byte > 0xA0 && byte < 0xE0;
        if (!isHalfWidth && (byte >= 0x80 || row == 1)) isKatakana = false;
        row = isHalfWidth ? row + 1 : 0;
    }
    return isKatakana;
}

/// The code page that bytes which are not UTF-8 are taken to be in; 0 when they are in none.
unsigned int GuessCodePage(std::string_view bytes) {
    const unsigned int system = SystemCodePage();
    const bool isLikely = system != kJapaneseCodePage || LooksJapanese(bytes);
    if (isLikely && DecodeCodePage(bytes, system)) return system;
    return DecodeCodePage(bytes, kWesternCodePage) ? kWesternCodePage : 0;
}

/// Makes the headings of a text wide: by the code page that is stated, else as UTF-8, else by a guess, of
/// which it leaves a remark.
class HeadingDecoder {
public:
    explicit HeadingDecoder(unsigned int codePage) : codePage_(codePage) {}

    /// A field of a line of headings, its quotes gone; `column` counts from 0.
    std::wstring Decode(std::string_view field, std::string_view line, std::size_t column) {
        std::string text(Unquoted(field));
        for (std::size_t at = text.find("\"\""); at != text.npos; at = text.find("\"\"", at + 1)) {
            text.erase(at, 1);
        }
        const std::string place = "column " + std::to_string(column + 1) + ": the heading ";
        if (codePage_ != 0) {
            if (std::optional<std::wstring> wide = DecodeCodePage(text, codePage_)) return *std::move(wide);
            throw Error(ErrorKind::kDamaged,
                        place + Quote(text) + " is not " + std::string(EncodingName(codePage_)));
        }
        if (std::optional<std::wstring> wide = FromUtf8(text)) return *std::move(wide);
        const unsigned int guess = GuessCodePage(line);
        const std::optional<std::wstring> wide = guess != 0 ? DecodeCodePage(text, guess) : std::nullopt;
        if (!wide)
            throw Error(ErrorKind::kDamaged,
                        place + Quote(text) + " is not UTF-8; give its encoding with --encoding");
        if (remark_.empty()) {
            remark_ = place + Quote(*wide) + " is not UTF-8 and was read as " +
                      std::string(EncodingName(guess)) + "; --encoding chooses another";
        }
        return *wide;
    }

    /// What was guessed of the first heading that needed it; empty when none did.
    const std::string& Remark() const { return remark_; }

private:
    unsigned int codePage_;
    std::string remark_;
};

// ---- fields ----

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
    /// The number, or no value with `*fault` told (kNoNumber or another).
    std::optional<double> Read(std::string_view field, const char** fault) {
        field = Unquoted(field);
        if (field.starts_with('+') && !field.starts_with("+-")) field.remove_prefix(1);
        std::array<char, 64> copy;
        if (field.starts_with(kMinusSign) && field.size() < copy.size()) {
            copy[0] = '-';
            field.remove_prefix(kMinusSign.size());
            std::ranges::copy(field, copy.begin() + 1);
            field = std::string_view(copy.data(), field.size() + 1);
        }
        std::size_t mark = field.find('.');
        if (mark != std::string_view::npos) {
            pointSeen_ = true;
        } else if ((mark = field.find(',')) != std::string_view::npos && field.size() < copy.size()) {
            commaSeen_ = true;
            if (field.data() != copy.data()) std::ranges::copy(field, copy.begin());
            copy[mark] = '.';
            field = std::string_view(copy.data(), field.size());
        }
        double value = 0.0;
        const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        if (field.empty() || end != field.data() + field.size()) {
            *fault = kNoNumber;
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
    std::vector<UnitHeading> headings;  ///< one per column, or none
    std::optional<bool> firstIsTime;
    std::string rateHint;
    std::string remark;  ///< on how the headings were read; may be empty
};

bool IsTimeHeading(const UnitHeading& heading) {
    if (heading.unit) return *heading.unit == CUnitCtrl::DIM_TIME;
    std::string name;
    for (const wchar_t c : heading.name) {
        if (c > 0x7F) return heading.name.starts_with(L"時間") || heading.name.starts_with(L"時刻");
        name += static_cast<char>(c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c);
    }
    static constexpr std::array kNames = {"t", "sec", "seconds", "elapsed", "x_value", "zeit", "temps"};
    return name.starts_with("time") || std::ranges::find(kNames, name) != kNames.end();
}

std::vector<UnitHeading> ParseHeadings(std::string_view line, char separator, std::size_t columns,
                                       HeadingDecoder* decoder) {
    line = Trim(line);
    if (line.starts_with('#')) line.remove_prefix(1);
    Fields fields;
    Split(line, separator, &fields);
    if (fields.size() > columns) DropEmptyEnd(&fields);
    if (fields.size() != columns) return {};
    std::vector<UnitHeading> headings;
    for (const std::string_view field : fields) {
        headings.push_back(ParseUnitHeading(decoder->Decode(field, line, headings.size())));
    }
    return headings;
}

/// The units of the columns when a line of headings holds nothing else: all fields are known units, most of
/// them, or the first is a unit of time below the heading of a time. Empty for a line of names.
std::vector<UnitHeading> ReadUnits(const std::vector<UnitHeading>& line, const UnitHeading& above) {
    std::vector<UnitHeading> units;
    std::size_t known = 0;
    std::size_t unknown = 0;
    for (const UnitHeading& field : line) {
        if (field.unit && !field.name.empty()) return {};
        UnitHeading unit = {{}, field.unit ? field.unit : ParseUnit(field.name), field.unknownUnit};
        if (field.name.empty()) {
            unit.unit = field.unit;
        } else if (!unit.unit) {
            const bool isBracketed = field.name.size() == field.unknownUnit.size() + 2;
            if (!isBracketed) unit.unknownUnit = field.name;
            ++(isBracketed ? known : unknown);
        }
        if (unit.unit) ++known;
        units.push_back(std::move(unit));
    }
    const std::optional<CUnitCtrl>& first = units.front().unit;
    const bool isBelowTime = first && *first == CUnitCtrl::DIM_TIME && IsTimeHeading(above);
    return unknown == 0 || known > unknown || isBelowTime ? units : std::vector<UnitHeading>();
}

/// The headings of columns whose last line of headings may hold their units alone.
std::vector<UnitHeading> ReadHeadings(std::string_view lastLine, std::string_view lineBefore,
                                      const Layout& layout, HeadingDecoder* decoder) {
    std::vector<UnitHeading> last = ParseHeadings(lastLine, layout.separator, layout.columns, decoder);
    if (last.empty() || lineBefore.empty()) return last;
    std::vector<UnitHeading> before = ParseHeadings(lineBefore, layout.separator, layout.columns, decoder);
    if (before.empty()) return last;
    const std::vector<UnitHeading> units = ReadUnits(last, before.front());
    if (units.empty()) return last;
    for (std::size_t c = 0; c < units.size(); ++c) {
        if (!units[c].unit && units[c].unknownUnit.empty()) continue;
        before[c].unit = units[c].unit;
        before[c].unknownUnit = units[c].unknownUnit;
    }
    return before;
}

/// Where a field stands: the number of its line and its column, which counts from 0.
std::string PlaceText(std::size_t line, std::size_t column) {
    return "line " + std::to_string(line) + ", column " + std::to_string(column + 1);
}

/// A line in front of the data that is itself a row of data with something wrong in it, told as such. It
/// begins with a number, be it one that cannot be taken.
void RefuseDamagedRow(std::string_view line, std::size_t number, const Layout& layout) {
    Fields fields;
    Split(line, layout.separator, &fields);
    NumberReader numbers;
    const char* fault = nullptr;
    if (fields.size() != layout.columns) return;
    if (!numbers.Read(fields.front(), &fault) && fault == kNoNumber) return;
    for (std::size_t c = 0; c < fields.size(); ++c) {
        if (numbers.Read(fields[c], &fault)) continue;
        throw Error(ErrorKind::kDamaged,
                    PlaceText(number, c) + ": " +
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
            throw Error(ErrorKind::kDamaged, "line " + std::to_string(number) + " has more than " +
                                                 std::to_string(kMaxColumns) + " columns");
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
    HeadingDecoder decoder(lines.CodePage());
    std::string_view line;
    std::string heading;
    std::string headingBefore;
    std::size_t headingNumber = 0;
    while (lines.Next(&line)) {
        if (Trim(line).empty()) continue;
        if (std::optional<Layout> layout = LayoutOf(line, lines.Number(), options)) {
            if (headingNumber > 0) {
                RefuseDamagedRow(heading, headingNumber, *layout);
                layout->headings = ReadHeadings(heading, headingBefore, *layout, &decoder);
                layout->remark = decoder.Remark();
                if (layout->headings.empty() && !IsBlankOrComment(heading) &&
                    Contains(heading, layout->separator)) {
                    layout->remark = "line " + std::to_string(headingNumber) + ", " + Quote(Trim(heading)) +
                                     ", does not have the " +
                                     Count(static_cast<long long>(layout->columns), "column") +
                                     " of the numbers below it and is not taken for headings";
                }
            }
            lines.StepBack();
            return *std::move(layout);
        }
        headingBefore = std::exchange(heading, std::string(line));
        headingNumber = lines.Number();
    }
    if (headingNumber == 0) throw Error(ErrorKind::kDamaged, "it holds no text");
    throw Error(ErrorKind::kDamaged, "no line of it is a row of numbers; line " +
                                         std::to_string(headingNumber) + " begins " + Quote(Trim(heading)));
}

/// Reads the two header blocks and the headings of a logger's measurement file, of which the first line is
/// past; leaves `lines` in front of the data.
Layout ReadLoggerHeader(LineReader& lines) {
    HeadingDecoder decoder(lines.CodePage());
    Layout layout;
    layout.separator = kTab;
    layout.extraIgnored = true;
    std::string_view line;
    Fields fields;
    std::vector<std::wstring> unitLabels;
    bool timeColumn = false;
    int blocks = 0;
    while (blocks < 2 && lines.Next(&line)) {
        if (line.starts_with("Separator")) layout.separator = line.find("Comma") != line.npos ? kComma : kTab;
        Split(line, layout.separator, &fields);
        const std::string_view key = fields.front();
        const std::string_view value = fields.size() > 1 ? fields[1] : std::string_view();
        if (key == kEndOfHeader) ++blocks;
        if (key == "X_Columns") {
            if (value == "Multi")
                throw Error(ErrorKind::kDamaged, "it has a time column per channel, which is not supported");
            timeColumn = value == "One";
        }
        if (key == "Delta_X") layout.rateHint = " (its header has the rounded step " + Quote(value) + " s)";
        if (key == "Y_Unit_Label") {
            unitLabels.clear();
            for (std::size_t c = 1; c < fields.size(); ++c) {
                unitLabels.push_back(decoder.Decode(fields[c], line, c));
            }
        }
    }
    if (blocks < 2 || !lines.Next(&line)) throw Error(ErrorKind::kDamaged, "its header does not end");
    Split(line, layout.separator, &fields);
    DropEmptyEnd(&fields);
    if (!fields.empty() && fields.back() == "Comment") fields.pop_back();
    if (fields.size() < 2)
        throw Error(ErrorKind::kDamaged, "line " + std::to_string(lines.Number()) + " names no channels");

    layout.firstIsTime = timeColumn;
    layout.skipped = timeColumn ? 0 : 1;
    layout.columns = fields.size() - layout.skipped;
    if (timeColumn) layout.headings.push_back({L"time"});
    for (std::size_t c = 0; c + 1 < fields.size(); ++c) {
        UnitHeading heading = {decoder.Decode(fields[c + 1], line, c + 1)};
        if (c < unitLabels.size() && !unitLabels[c].empty()) {
            heading.unit = ParseUnit(unitLabels[c]);
            if (!heading.unit) heading.unknownUnit = unitLabels[c];
        }
        layout.headings.push_back(std::move(heading));
    }
    layout.remark = decoder.Remark();
    return layout;
}

Layout ReadLayout(LineReader& lines, const TextOptions& options) {
    std::string_view line;
    if (lines.Next(&line) && line.starts_with(kLoggerMagic)) return ReadLoggerHeader(lines);
    if (lines.Number() > 0) lines.StepBack();
    return DetectLayout(lines, options);
}

// ---- the data ----

/// Walks over the rows of a table from its start.
class RowReader {
public:
    RowReader(const OpenText& open, const TextOptions& options)
        : lines_(open(), options.codePage), layout_(ReadLayout(lines_, options)), values_(layout_.columns) {}

    const Layout& Table() const { return layout_; }

    /// Reads the first `columns` values of the next row; false at the end.
    bool Next(std::size_t columns, const ProgressFunction* progress = nullptr) {
        std::string_view line;
        do {
            if (!lines_.Next(&line)) return false;
            if (progress != nullptr && *progress && lines_.Number() % kLinesPerUpdate == 0) {
                (*progress)(lines_.Position(), lines_.Size());
            }
        } while (IsBlankOrComment(line));
        Split(line, layout_.separator, &fields_);
        RequireFields();
        for (std::size_t c = 0; c < columns; ++c) {
            const std::string_view field = fields_[layout_.skipped + c];
            const char* fault = nullptr;
            const std::optional<double> value = numbers_.Read(field, &fault);
            if (!value) {
                throw Error(ErrorKind::kDamaged,
                            PlaceText(lines_.Number(), layout_.skipped + c) + ": " +
                                (field.empty() ? "the value is missing" : Quote(field) + " " + fault));
            }
            values_[c] = *value;
        }
        return true;
    }

    const std::vector<double>& Values() const { return values_; }
    std::size_t LineNumber() const { return lines_.Number(); }
    int DecimalsOfFirst() const { return Decimals(fields_[layout_.skipped]); }

private:
    [[noreturn]] void Fail(const std::string& what) const {
        throw Error(ErrorKind::kDamaged, "line " + std::to_string(lines_.Number()) + what);
    }

    void RequireFields() {
        if (layout_.extraIgnored && fields_.front() == "Channels") {
            Fail(" begins a second segment; a recording is one run of samples, so split the file there");
        }
        if (!layout_.extraIgnored && fields_.size() > layout_.columns) DropEmptyEnd(&fields_);
        const std::size_t expected = layout_.skipped + layout_.columns;
        if (fields_.size() == expected || (layout_.extraIgnored && fields_.size() > expected)) return;
        // A row that breaks off at a word is better told by the word.
        const char* fault = nullptr;
        if (fields_.size() == 1 && !numbers_.Read(fields_[0], &fault)) {
            Fail(", column 1: " + Quote(fields_[0]) + " " + fault);
        }
        const bool many = fields_.size() > kMaxColumns;
        Fail(" has " + (many ? "more than " + std::to_string(kMaxColumns) : std::to_string(fields_.size())) +
             (fields_.size() == 1 ? " column" : " columns") + " where " + std::to_string(expected) +
             (expected == 1 ? " was" : " were") + " expected");
    }

    LineReader lines_;
    Layout layout_;
    NumberReader numbers_;
    Fields fields_;
    std::vector<double> values_;
};

/// What the statements and the headings say of the first column; no value when they say nothing.
std::optional<bool> IsFirstColumnTime(const Layout& layout, const TextOptions& options) {
    if (options.firstColumnIsTime) return options.firstColumnIsTime;
    if (layout.firstIsTime) return layout.firstIsTime;
    if (!layout.headings.empty()) return IsTimeHeading(layout.headings.front());
    return std::nullopt;
}

/// The unit of time stamps; no value for seconds.
std::optional<CUnitCtrl> StampUnit(const Layout& layout) {
    if (layout.headings.empty()) return std::nullopt;
    const std::optional<CUnitCtrl>& unit = layout.headings.front().unit;
    return unit && *unit == CUnitCtrl::DIM_TIME ? unit : std::nullopt;
}

class TextTableReader : public RecordingReader {
public:
    TextTableReader(OpenText open, const TextOptions& options, const ProgressFunction& progress)
        : open_(std::move(open)), options_(options) {
        Survey(progress);
    }

    std::size_t Read(std::span<double* const> targets, std::size_t room) override {
        if (!rows_) rows_ = std::make_unique<RowReader>(open_, options_);
        std::size_t count = 0;
        lineNumbers_.clear();
        for (; count < room && rows_->Next(rows_->Table().columns); ++count) {
            lineNumbers_.push_back(rows_->LineNumber());
            for (std::size_t c = 0; c < targets.size(); ++c) {
                if (targets[c] != nullptr) targets[c][count] = rows_->Values()[c + firstChannel_];
            }
        }
        done_ += static_cast<__int64>(count);
        if (done_ > info_.samples || (count < room && done_ < info_.samples)) {
            throw Error(ErrorKind::kDamaged, "it changed while it was read");
        }
        return count;
    }

    std::string Place(std::size_t channel, std::size_t index) const override {
        return PlaceText(lineNumbers_[index], rows_->Table().skipped + firstChannel_ + channel);
    }

private:
    /// Goes through the whole text once, and once more through a column that may be the time.
    void Survey(const ProgressFunction& progress) {
        RowReader rows(open_, options_);
        const Layout& layout = rows.Table();
        TimeStamps stamps;
        int decimals = 0;
        for (; rows.Next(layout.columns, &progress); ++stamps.count) {
            stamps.last = rows.Values().front();
            if (stamps.count == 0) stamps.first = stamps.last;
            decimals = std::max(decimals, rows.DecimalsOfFirst());
        }
        if (stamps.count == 0) throw Error(ErrorKind::kDamaged, "it holds no samples");
        stamps.resolution = std::pow(10.0, -decimals);
        const std::optional<bool> isTime = IsFirstColumnTime(layout, options_);
        if (isTime.value_or(layout.columns > 1 && stamps.count > 2)) {
            FindStray(StampUnit(layout), &stamps, progress);
            if (isTime.value_or(stamps.IsEven())) info_.stamps = stamps;
        }
        firstChannel_ = info_.stamps ? 1 : 0;
        if (layout.columns == firstChannel_) throw Error(ErrorKind::kDamaged, "its only column is the time");
        info_.samples = stamps.count;
        info_.rateHint = layout.rateHint;
        info_.channels.resize(layout.columns - firstChannel_);
        if (!layout.remark.empty()) info_.remarks.push_back(layout.remark);
        if (info_.stamps && !layout.headings.empty() && !layout.headings.front().unknownUnit.empty()) {
            info_.remarks.push_back("the unit " + Quote(layout.headings.front().unknownUnit) +
                                    " of the time column is not known, so it is read in seconds");
        }
        for (std::size_t c = firstChannel_; c < layout.headings.size(); ++c) {
            const UnitHeading& heading = layout.headings[c];
            info_.channels[c - firstChannel_] = {heading.name, heading.unit, heading.unknownUnit};
        }
    }

    void FindStray(const std::optional<CUnitCtrl>& unit, TimeStamps* stamps,
                   const ProgressFunction& progress) {
        const auto seconds = [&](double stamp) { return unit ? unit->ConvItoD(stamp, 1.0, 0) : stamp; };
        for (double* value : {&stamps->first, &stamps->last, &stamps->resolution}) *value = seconds(*value);
        StrayFinder finder(stamps);
        for (RowReader rows(open_, options_); rows.Next(1, &progress);) {
            const double stamp = seconds(rows.Values().front());
            if (!std::isfinite(stamp)) {
                throw Error(ErrorKind::kDamaged, PlaceText(rows.LineNumber(), rows.Table().skipped) +
                                                     ": the time overflows in conversion to seconds");
            }
            finder.Add(stamp);
        }
    }

    OpenText open_;
    TextOptions options_;
    std::unique_ptr<RowReader> rows_;
    std::vector<std::size_t> lineNumbers_;  ///< of the rows last delivered
    std::size_t firstChannel_ = 0;
    __int64 done_ = 0;
};

}  // namespace

std::unique_ptr<RecordingReader> OpenTextTable(OpenText open, const TextOptions& options,
                                               const ProgressFunction& progress) {
    return std::make_unique<TextTableReader>(std::move(open), options, progress);
}

}  // namespace kvx
