// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextLayout.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FactLines.h>
#include <KvxRecording01/detail/LoggerHeader.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {
namespace {

/// So many rows are looked at for what the columns hold that the first row leaves empty, and so many with
/// texts among their numbers are enough to be those of the table.
constexpr std::size_t kRowsLookedAt = 1000;

/// What separates columns, most likely first. The others are tried of what is all numbers alone.
constexpr std::array kSeparators = {kTab, kSemicolon, kComma, kPipe, kBlankRun};
constexpr std::string_view kOtherSeparators = "&!~^";

void RequireOptions(const TextOptions& options) {
    const auto refuse = [](const std::string& name, const std::string& why) {
        throw Error(ErrorKind::kBadValue, name + " " + why);
    };
    const auto isPartOfNumbers = [](char c) {
        return (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.' || c == '"' || c == '(' || c == ')';
    };
    const char separator = options.separator;
    const bool isControl = static_cast<unsigned char>(separator) < ' ' && separator != kTab && separator != 0;
    if (isPartOfNumbers(separator) || isControl || static_cast<unsigned char>(separator) > '~')
        refuse(options.called.separator, "is no sign that can separate columns");
    if (separator == kComma && options.decimalComma)
        refuse(options.called.separator, "and " + options.called.decimal + " both state the comma");
    for (const char c : options.comments) {
        if (isPartOfNumbers(c) || static_cast<unsigned char>(c) <= ' ' ||
            static_cast<unsigned char>(c) > '~' || c == separator)
            refuse(options.called.comment, "has a sign that rows can begin with");
    }
}

/// Whether a text is a number with its thousands in groups: "1.234,5" or "1,234,567".
bool HasGroups(std::string_view text) {
    const std::size_t first = text.find_first_of(".,");
    const std::size_t last = text.find_last_of(".,");
    if (first == last || first > 4 || text.find_first_not_of("0123456789+-.,") != text.npos) return false;
    for (std::size_t at = first; at < last; at += 4) {
        if (text.find_first_of(".,", at + 1) != at + 4) return false;
    }
    return true;
}

/// What a field of a row holds; no value for a number that cannot be taken.
std::optional<FieldKind> KindOf(std::string_view field, const MissingTexts& missing) {
    NumberReader numbers;
    if (Unquoted(field).empty() || missing.Include(field)) return FieldKind::empty;
    if (numbers.Read(field)) return FieldKind::number;
    if (!numbers.WasNoNumber()) return std::nullopt;
    if (HasTwoParts(field) && numbers.ReadComplex(field, missing)) return FieldKind::complexNumber;
    if (ReadDateTime(field)) return FieldKind::dateTime;
    if (ReadDate(field)) return FieldKind::date;
    if (ReadClock(field)) return FieldKind::clock;
    return HasGroups(Unquoted(field)) ? std::nullopt : std::optional(FieldKind::text);
}

bool IsNumeric(FieldKind kind) {
    return kind == FieldKind::number || kind == FieldKind::complexNumber;
}

/// The lines above the first row.
struct LinesAbove {
    std::string last;
    std::string before;
    std::size_t number = 0;     ///< of the last one; 0 without any
    std::string uncommented;    ///< the last one that is no comment
    std::string beforeThat;     ///< the one before it that is none either
    std::size_t rowNumber = 0;  ///< number of `uncommented`; 0 without any
};

/// Rows in which the same columns hold numbers.
struct RowsAlike {
    TextLayout layout;
    LinesAbove above;
    std::size_t rows = 0;
};

class LayoutFinder {
public:
    LayoutFinder(LineReader& lines, const TextOptions& options)
        : lines_(lines),
          options_(options),
          missing_(options),
          decoder_(lines.CodePage(), options.encodingName) {}

    TextLayout Find() {
        std::optional<RowsAlike> alike;  // with texts among their numbers
        std::optional<RowsAlike> most;
        while (const std::optional<std::string_view> next = lines_.Next()) {
            const std::string_view line = *next;
            if (Trim(line).empty()) continue;
            const bool isComment = IsBlankOrComment(line, options_.comments);
            const bool isAlike = alike && !isComment && Takes(line, &*alike);
            if (std::optional<TextLayout> layout = isComment ? std::nullopt : LayoutOf(line)) {
                if (isAlike && Agrees(line, alike->layout)) return Finish(*std::move(alike));
                RefuseDamagedRow(*layout);
                return Finish({*std::move(layout), above_, 1});
            }
            if (isAlike && alike->rows >= kRowsLookedAt) return Finish(*std::move(alike));
            if (!isAlike && !isComment && (!most || most->rows < kRowsLookedAt)) {
                if (alike && (!most || alike->rows >= most->rows)) most = std::move(alike);
                alike = MixedLayoutOf(line);
            }
            above_.before = std::exchange(above_.last, std::string(line));
            above_.number = lines_.Number();
            if (isComment) {
                TakeFact(line);
                continue;
            }
            above_.beforeThat = std::exchange(above_.uncommented, above_.last);
            above_.rowNumber = above_.number;
        }
        if (!most || (alike && alike->rows >= most->rows)) most = std::move(alike);
        if (most && most->rows > 1) return Finish(*std::move(most));
        if (above_.number == 0) throw Error(ErrorKind::kDamaged, "it holds no text");
        throw Error(ErrorKind::kDamaged, "no line of it is a row of numbers; line " +
                                             std::to_string(above_.number) + " begins " +
                                             Quote(Trim(above_.last)));
    }

private:
    /// The columns that a line of numbers has; no value when it is none.
    std::optional<TextLayout> LayoutOf(std::string_view line) {
        std::string separators(kSeparators.begin(), kSeparators.end());
        separators += kOtherSeparators;
        separators += kNone;
        if (options_.separator != 0) separators = {options_.separator, kNone};
        for (const char separator : separators) {
            if (!IsSplitBy(line, separator) || AreBlanksInFields(line, separator)) continue;
            if (fields_.size() > kMaxColumns) {
                throw Error(ErrorKind::kUnsupported, "line " + std::to_string(lines_.Number()) +
                                                         " has more than " + std::to_string(kMaxColumns) +
                                                         " columns");
            }
            const std::size_t written = fields_.size();
            DropEmptyEnd(&fields_);
            const std::size_t columns =
                ColumnsOf(separator, written, missing_.AreStated() ? written : fields_.size());
            std::vector<FieldKind> kinds;
            for (const std::string_view field : fields_) {
                const std::optional<FieldKind> kind = KindOf(field, missing_);
                const bool isTaken =
                    kind && *kind != FieldKind::text && (*kind != FieldKind::empty || missing_.AreStated());
                if (!isTaken) break;
                kinds.push_back(*kind);
            }
            if (kinds.size() < fields_.size() || std::ranges::none_of(kinds, IsNumeric)) continue;
            return MakeLayout(separator, columns, std::move(kinds));
        }
        return std::nullopt;
    }

    /// The columns of a line that has numbers beside texts or nothing.
    std::optional<RowsAlike> MixedLayoutOf(std::string_view line) {
        for (const char separator : kSeparators) {
            const char stated = options_.separator != 0 ? options_.separator : separator;
            if (!IsSplitBy(line, stated) || fields_.size() > kMaxColumns) continue;
            std::vector<FieldKind> kinds;
            for (const std::string_view field : fields_) {
                const std::optional<FieldKind> kind = KindOf(field, missing_);
                if (!kind) return std::nullopt;
                kinds.push_back(*kind);
            }
            if (std::ranges::none_of(kinds, IsNumeric)) continue;
            const std::size_t written = fields_.size();
            DropEmptyEnd(&fields_);
            return RowsAlike{MakeLayout(stated, ColumnsOf(stated, written, written), std::move(kinds)),
                             above_, 1};
        }
        return std::nullopt;
    }

    /// Splits a line that a separator splits into `fields_`.
    bool IsSplitBy(std::string_view line, char separator) {
        if (!Contains(line, separator) || (separator == kComma && options_.decimalComma)) return false;
        Split(line, separator, &fields_);
        return true;
    }

    /// Whether the headings above say that another separator than the blanks of a line makes its columns:
    /// "time,a" above "0,1 000".
    bool AreBlanksInFields(std::string_view line, char separator) const {
        if (separator != kBlankRun || options_.separator != 0 || above_.rowNumber == 0) return false;
        const auto count = [](std::string_view text, char by) {
            Fields fields;
            Split(text, by, &fields);
            return fields.size();
        };
        if (count(above_.uncommented, kBlankRun) == count(line, kBlankRun)) return false;
        return std::ranges::any_of(kSeparators, [&](char other) {
            return other != kBlankRun && Contains(above_.uncommented, other) && Contains(line, other) &&
                   !(other == kComma && options_.decimalComma) &&
                   count(above_.uncommented, other) == count(line, other);
        });
    }

    /// The columns of a row that ends in nothing: as many as its headings, else `otherwise`.
    std::size_t ColumnsOf(char separator, std::size_t written, std::size_t otherwise) {
        if (fields_.size() == written) return written;
        Fields headings;
        Split(above_.last, separator, &headings);
        DropEmptyEnd(&headings);
        const bool areHeadings = headings.size() >= fields_.size() && headings.size() <= written;
        return areHeadings ? headings.size() : otherwise;
    }

    TextLayout MakeLayout(char separator, std::size_t columns, std::vector<FieldKind> kinds) {
        TextLayout layout;
        layout.separator = separator;
        layout.columns = columns;
        layout.firstRow = lines_.Number();
        kinds.resize(columns, FieldKind::empty);
        for (std::size_t c = 0; c + 1 < columns; ++c) {
            if (kinds[c] != FieldKind::date || kinds[c + 1] != FieldKind::clock) continue;
            kinds[c] = FieldKind::dateAndClock;
            kinds[c + 1] = FieldKind::text;
        }
        layout.kinds = std::move(kinds);
        layout.firstFields.assign(fields_.begin(), fields_.end());
        layout.firstFields.resize(columns);
        return layout;
    }

    /// Whether a line has the columns of rows and a number where they have one. Columns that were empty so
    /// far are what they are in it.
    bool Takes(std::string_view line, RowsAlike* rows) {
        TextLayout& layout = rows->layout;
        if (!IsSplitBy(line, layout.separator)) return false;
        if (fields_.size() > layout.columns) DropEmptyEnd(&fields_);
        while (fields_.size() < layout.columns && layout.Values(fields_.size()) == 0) fields_.emplace_back();
        if (fields_.size() != layout.columns) return false;
        bool hasNumber = false;
        for (std::size_t c = 0; c < layout.columns; ++c) {
            const std::optional<FieldKind> kind = KindOf(fields_[c], missing_);
            hasNumber = hasNumber || (kind && IsNumeric(*kind) && IsNumeric(layout.kinds[c]));
        }
        if (!hasNumber) return false;
        Learn(&layout);
        ++rows->rows;
        return true;
    }

    /// Whether no text stands where the line has a number.
    bool Agrees(std::string_view line, const TextLayout& layout) {
        IsSplitBy(line, layout.separator);
        fields_.resize(layout.columns);
        for (std::size_t c = 0; c < layout.columns; ++c) {
            const FieldKind kind = KindOf(fields_[c], missing_).value_or(FieldKind::text);
            if (IsNumeric(kind) && !IsNumeric(layout.kinds[c])) return false;
        }
        return true;
    }

    /// Takes what the fields at hand say of columns that were empty so far. A number there says that a value
    /// is missing above, which is for the reader of rows to tell where it may not be.
    void Learn(TextLayout* layout) {
        for (std::size_t c = 0; c < std::min(fields_.size(), layout->columns); ++c) {
            if (layout->kinds[c] != FieldKind::empty) continue;
            const FieldKind kind = KindOf(fields_[c], missing_).value_or(FieldKind::empty);
            if (!IsNumeric(kind) || missing_.AreStated()) layout->kinds[c] = kind;
        }
    }

    /// A line in front of the data that is itself a row of data with something wrong in it, told as such. It
    /// begins with a number, be it one that cannot be taken, or with a stamp.
    void RefuseDamagedRow(const TextLayout& layout) {
        if (above_.rowNumber == 0) return;
        Fields fields;
        Split(above_.uncommented, layout.separator, &fields);
        if (fields.size() != layout.columns) return;
        const std::optional<FieldKind> first = KindOf(fields.front(), missing_);
        if (first && !IsNumeric(*first) && !IsStamp(*first)) return;
        NumberReader numbers;
        if (!first && !numbers.Read(fields.front()) && numbers.WasNoNumber()) return;
        for (std::size_t c = 0; c < fields.size(); ++c) {
            if (IsStamp(layout.Kind(c))) continue;
            if (!numbers.ReadComplex(fields[c], missing_))
                throw FieldError(fields[c], numbers, options_, FieldPlace(above_.rowNumber, c));
        }
    }

    TextLayout Finish(RowsAlike rows) {
        TextLayout& layout = rows.layout;
        LookAtEmptyColumns(&layout);
        if (missing_.AreStated()) std::ranges::replace(layout.kinds, FieldKind::empty, FieldKind::number);
        if (std::ranges::all_of(layout.kinds, [](FieldKind kind) { return kind == FieldKind::number; }))
            layout.kinds.clear();
        const LinesAbove& above = rows.above;
        if (above.number == 0) return std::move(layout);
        std::erase_if(facts_, [&](const Fact& fact) { return fact.line > above.number; });
        layout.headings = HeadingsOf(above, layout.separator, layout.columns);
        if (layout.headings.empty()) TakeHeadingsOfDates(above, &layout);
        // A comment right above the numbers may be their headings.
        if (!layout.headings.empty() && above.uncommented.empty())
            std::erase_if(facts_, [&](const Fact& fact) { return fact.line == above.number; });
        StateFacts(&layout);
        layout.remark = decoder_.Remark();
        if (layout.headings.empty() && Contains(above.uncommented, layout.separator)) {
            layout.remark = "line " + std::to_string(above.rowNumber) + ", " +
                            Quote(Trim(above.uncommented)) + ", does not have the " +
                            Count(static_cast<long long>(layout.columns), "column") +
                            " of the numbers below it and is not taken for headings";
        }
        return std::move(layout);
    }

    /// Takes what a comment says, "# operator: A. Miller", if it has that form.
    void TakeFact(std::string_view line) {
        line = Trim(line);
        line.remove_prefix(std::min(line.find_first_not_of(options_.comments), line.size()));
        if (line.size() > kMostFactBytes || facts_.size() >= kMostFacts) return;
        if (auto fact = ParseFactLine(line)) facts_.push_back({lines_.Number(), *std::move(fact)});
    }

    void StateFacts(TextLayout* layout) {
        for (Fact& fact : facts_) {
            auto& [name, text] = fact.fact;
            const std::optional<StartTime> start = name == "start" ? ParseStartTime(text) : std::nullopt;
            if (start) {
                layout->start = start;
            } else if (name == "title" || name == "text") {
                (name == "title" ? layout->title : layout->text) = FromUtf8(text).value_or(L"");
            } else {
                layout->properties.push_back(std::move(fact.fact));
            }
        }
    }

    /// The headings right above the numbers, which may look like a comment, or those above the comments
    /// there.
    std::vector<UnitHeading> HeadingsOf(const LinesAbove& above, char separator, std::size_t columns) {
        std::vector<UnitHeading> headings = ReadHeadings(
            {above.last, above.before, above.beforeThat, options_.comments}, separator, columns, &decoder_);
        const auto sayWhatTheyAre = [](const std::vector<UnitHeading>& line) {
            return std::ranges::any_of(line, [](const UnitHeading& heading) {
                return heading.unit || !heading.unknownUnit.empty() || IsTimeHeading(heading);
            });
        };
        const bool isComment = above.uncommented != above.last;
        if (!isComment || above.uncommented.empty() || sayWhatTheyAre(headings)) return headings;
        std::vector<UnitHeading> others = ReadHeadings(
            {above.uncommented, above.beforeThat, {}, options_.comments}, separator, columns, &decoder_);
        return headings.empty() || sayWhatTheyAre(others) ? others : headings;
    }

    /// Headings of which one stands above a date and the time of day that a blank parts from it.
    void TakeHeadingsOfDates(const LinesAbove& above, TextLayout* layout) {
        const auto date = std::ranges::find(layout->kinds, FieldKind::dateAndClock);
        if (layout->separator != kBlankRun || date == layout->kinds.end()) return;
        layout->headings = HeadingsOf(above, layout->separator, layout->columns - 1);
        if (layout->headings.empty()) return;
        layout->headings.insert(layout->headings.begin() + (date - layout->kinds.begin()) + 1, UnitHeading());
    }

    /// Reads on as long as columns are empty that may not be.
    void LookAtEmptyColumns(TextLayout* layout) {
        for (std::size_t row = 0; row < kRowsLookedAt; ++row) {
            if (std::ranges::find(layout->kinds, FieldKind::empty) == layout->kinds.end()) return;
            const std::optional<std::string_view> line = lines_.Next();
            if (!line) return;
            if (IsBlankOrComment(*line, options_.comments)) continue;
            Split(*line, layout->separator, &fields_);
            Learn(layout);
        }
    }

    LineReader& lines_;
    const TextOptions& options_;
    MissingTexts missing_;
    HeadingDecoder decoder_;
    Fields fields_;
    LinesAbove above_;
    struct Fact {
        std::size_t line;
        RecordingInfo::Property fact;
    };
    std::vector<Fact> facts_;
};

}  // namespace

std::size_t TextLayout::Values(std::size_t column) const {
    switch (Kind(column)) {
        case FieldKind::complexNumber:
            return 2;
        case FieldKind::text:
        case FieldKind::empty:
            return 0;
        default:
            return 1;
    }
}

TextLayout ReadTextLayout(LineReader& lines, const TextOptions& options) {
    RequireOptions(options);
    while (lines.Number() < options.skippedLines && lines.Next()) {
    }
    const std::optional<std::string_view> first = lines.Next();
    if (first && IsLoggerText(*first)) {
        TextLayout layout = ReadLoggerHeader(lines, options);
        layout.firstRow = lines.Number() + 1;
        return layout;
    }
    if (first) lines.StepBack();
    return LayoutFinder(lines, options).Find();
}

Error FieldError(std::string_view field, const NumberReader& numbers, const TextOptions& options,
                 const ErrorPlace& place) {
    const bool isEmpty = Unquoted(field).empty();
    std::string sentence = isEmpty ? "the value is missing" : Quote(field) + " " + numbers.Fault();
    if (!options.missing && (isEmpty || numbers.MayMeanMissing(field)))
        sentence += " (" + options.called.missing + " lets such values pass)";
    return Error(ErrorKind::kDamaged, sentence, place);
}

}  // namespace kvx
