// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextRows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/kernels/PlainNumber.h>

namespace kvx {
namespace {

/// A piece of text is read on one core; so many are read at a time.
constexpr std::size_t kPiece = std::size_t{1} << 17;
constexpr std::size_t kPieces = 16;

/// What is known of all rows.
struct RowRules {
    const TextLayout& layout;
    const TextOptions& options;
    const MissingTexts& missing;
    const TextStamp& firstStamp;
    RowReader::Scope scope;
    char lineEnd;

    /// The values of a row that are kept in front of a column.
    std::size_t ValuesBefore(std::size_t column) const {
        if (scope.isAxisOnly) return column > layout.axis ? 1 : 0;
        std::size_t values = 0;
        for (std::size_t c = 0; c < column; ++c) values += layout.Values(c);
        return values;
    }
    std::size_t Width() const { return ValuesBefore(layout.columns); }
};

/// Reads a piece of lines. Rows of plain numbers take the short way; any other line, and so all that is
/// wrong, is split into fields first.
class PieceReader {
public:
    PieceReader(const RowRules& rules, const DecimalMarks& marks, TextRows* rows)
        : rules_(rules),
          layout_(rules.layout),
          width_(rules.Width()),
          scope_(rules.scope),
          lineEnd_(rules.lineEnd),
          commaIsMark_(layout_.separator != kComma),
          isPlain_(layout_.kinds.empty()),
          numbers_(marks),
          rows_(*rows) {
        rows_.count = 0;
        rows_.lines.clear();
        rows_.linesInAll = 0;
        rows_.decimals = 0;
        rows_.marks = marks;
        rows_.haveValues.assign(rules.missing.AreStated() ? layout_.columns : 0, 0);
    }

    void Read(std::string_view text) {
        const char* const end = text.data() + text.size();
        for (const char* at = text.data(); at < end;) {
            const std::size_t used = rows_.count * width_;
            if (rows_.values.size() < used + width_) rows_.values.resize(2 * used + width_);
            ++rows_.linesInAll;
            double* const values = rows_.values.data() + used;
            if (const char* const next = !isPlain_           ? nullptr
                                         : scope_.isAxisOnly ? ReadPlainRow<true>(at, end, values)
                                                             : ReadPlainRow<false>(at, end, values)) {
                at = next;
                if (rules_.missing.AreStated()) MarkMissing(values);
                continue;
            }
            const auto* const lineEnd =
                static_cast<const char*>(std::memchr(at, lineEnd_, static_cast<std::size_t>(end - at)));
            std::string_view line(at, static_cast<std::size_t>((lineEnd != nullptr ? lineEnd : end) - at));
            at += line.size() + (lineEnd != nullptr ? 1 : 0);
            if (line.ends_with('\r')) line.remove_suffix(1);
            if (!IsBlankOrComment(line, rules_.options.comments)) ReadLine(line, values);
        }
    }

private:
    /// Where the next line begins; null for a line that is no row of plain numbers.
    template <bool isAxisOnly>
    const char* ReadPlainRow(const char* at, const char* end, double* values) {
        const char separator = layout_.separator;
        DecimalMarks marks = rows_.marks;
        at = SkipBlanks(at, end);
        if (layout_.skipped > 0) {
            if (layout_.skipped > 1 || at == end || *at != separator) return nullptr;
            at = SkipBlanks(at + 1, end);
        }
        int decimals = 0;
        for (std::size_t c = 0; c < scope_.checked; ++c) {
            if (end - at < kPlainFieldRoom) return nullptr;
            const bool isKept = !isAxisOnly || c == layout_.axis;
            const PlainNumber number = isKept ? ReadPlainField<true>(at, separator, commaIsMark_)
                                              : ReadPlainField<false>(at, separator, commaIsMark_);
            if (number.end == nullptr) return nullptr;
            if (isKept) values[isAxisOnly ? 0 : c] = number.value;
            if (layout_.origin && c == layout_.axis) {
                const auto stamp = ReadDecimalStamp({at, static_cast<std::size_t>(number.end - at)});
                if (!stamp) return nullptr;
                values[isAxisOnly ? 0 : c] = stamp->Since(*layout_.origin);
            }
            if (isAxisOnly && isKept) decimals = number.decimals;
            marks.point |= number.mark == '.';
            marks.comma |= number.mark == ',';
            at = SkipBlanks(number.end, end);
            if (c + 1 == layout_.columns) break;
            if (separator == kBlankRun) {
                if (at == number.end) return nullptr;
            } else {
                if (at == end || *at != separator) return nullptr;
                at = SkipBlanks(at + 1, end);
            }
        }
        if (marks.AreBoth()) return nullptr;
        if (scope_.checked < layout_.columns || (layout_.extraIgnored && at < end && *at == separator)) {
            at = static_cast<const char*>(std::memchr(at, lineEnd_, static_cast<std::size_t>(end - at)));
            if (at == nullptr) return nullptr;
        } else {
            while (at < end && *at == separator && separator != kNone) at = SkipBlanks(at + 1, end);
            if (at < end && *at == '\r' && lineEnd_ != '\r') ++at;
            if (at == end || *at != lineEnd_) return nullptr;
        }
        rows_.marks = marks;
        AddRow(decimals);
        return at + 1;
    }

    const char* SkipBlanks(const char* at, const char* end) const {
        while (at < end && (*at == ' ' || (*at == '\t' && layout_.separator != kTab))) ++at;
        return at;
    }

    /// Makes the numbers that stand for missing values such values.
    void MarkMissing(double* values) {
        rows_.haveValues.clear();
        if (scope_.isAxisOnly || !rules_.missing.HaveNumbers()) return;
        for (std::size_t c = 0; c < layout_.columns; ++c) {
            if (c != layout_.axis && rules_.missing.Include(values[c])) values[c] = kNoValue<double>;
        }
    }

    void ReadLine(std::string_view line, double* values) {
        numbers_ = NumberReader(rows_.marks);
        Split(line, layout_.separator, &fields_);
        RequireFields();
        int decimals = 0;
        for (std::size_t c = 0; c < scope_.checked; ++c) {
            const std::string_view field = fields_[layout_.skipped + c];
            double room[2] = {};
            double* const target = !scope_.isAxisOnly || c == layout_.axis ? values : room;
            ReadField(c, field, target);
            if (c == layout_.axis) decimals = IsStamp(layout_.Kind(c)) ? stampDecimals_ : Decimals(field);
            if (c < rows_.haveValues.size() && layout_.Values(c) > 0 && target[0] != kNoValue<double>)
                rows_.haveValues[c] = 1;
            if (target == values) values += layout_.Values(c);
        }
        rows_.marks = numbers_.Marks();
        AddRow(decimals);
    }

    void ReadField(std::size_t column, std::string_view field, double* values) {
        const FieldKind kind = layout_.Kind(column);
        if (kind == FieldKind::text || kind == FieldKind::empty) {
            RequireNoNumber(column, field);
        } else if (IsStamp(kind)) {
            const std::size_t next = layout_.skipped + column + 1;
            const auto stamp = ReadStamp(kind, layout_.dateOrder, field,
                                         next < fields_.size() ? fields_[next] : std::string_view());
            if (!stamp) Refuse(column, field, "is not a time like the one in the first row");
            values[0] = kind == FieldKind::clock ? stamp->SinceOnClock(rules_.firstStamp)
                                                 : stamp->Since(rules_.firstStamp);
            stampDecimals_ = stamp->decimals;
        } else if (column != layout_.axis && rules_.missing.Include(field)) {
            for (std::size_t i = 0; i < layout_.Values(column); ++i) values[i] = kNoValue<double>;
        } else if (kind == FieldKind::complexNumber) {
            const auto value = numbers_.ReadComplex(field, rules_.missing);
            if (!value) RefuseNumber(column, field);
            values[0] = value->real();
            values[1] = value->imag();
        } else {
            const std::optional<double> value = numbers_.Read(field);
            if (!value) RefuseNumber(column, field);
            if (layout_.origin && column == layout_.axis) {
                const std::optional<TextStamp> stamp = ReadDecimalStamp(field);
                if (!stamp) Refuse(column, field, "is not written like the time in the first row");
                values[0] = stamp->Since(*layout_.origin);
                return;
            }
            values[0] = column != layout_.axis && rules_.missing.Include(*value) ? kNoValue<double> : *value;
        }
    }

    /// A column that began without numbers goes on without them: else the first row is what is wrong.
    void RequireNoNumber(std::size_t column, std::string_view field) {
        const std::optional<double> number = NumberReader().Read(field);
        if (!number || rules_.missing.Include(*number)) return;
        const std::string& first = layout_.firstFields[column];
        NumberReader numbers;
        if (numbers.Read(first)) return;
        throw FieldError(first, numbers, rules_.options,
                         FieldPlace(layout_.firstRow, layout_.skipped + column));
    }

    [[noreturn]] void RefuseNumber(std::size_t column, std::string_view field) const {
        throw FieldError(field, numbers_, rules_.options, PlaceOf(column));
    }

    [[noreturn]] void Refuse(std::size_t column, std::string_view field, const char* fault) const {
        throw Error(ErrorKind::kDamaged,
                    field.empty() ? std::string("the time is missing") : Quote(field) + " " + fault,
                    PlaceOf(column));
    }

    ErrorPlace PlaceOf(std::size_t column) const {
        return FieldPlace(LineNumber(), layout_.skipped + column);
    }

    void AddRow(int decimals) {
        rows_.decimals = std::max(rows_.decimals, decimals);
        rows_.lines.push_back(rows_.linesInAll);
        ++rows_.count;
    }

    std::size_t LineNumber() const { return rows_.lineBefore + rows_.linesInAll; }

    [[noreturn]] void Fail(const std::string& what) const {
        throw Error(ErrorKind::kDamaged, "line " + std::to_string(LineNumber()) + what);
    }

    void RequireFields() {
        if (layout_.extraIgnored && fields_.front() == "Channels") {
            Fail(" begins a second segment; a recording is one run of samples, so split the file there");
        }
        if (!layout_.extraIgnored && fields_.size() > layout_.columns) DropEmptyEnd(&fields_);
        const std::size_t expected = layout_.skipped + layout_.columns;
        while (!isPlain_ && fields_.size() < expected && layout_.Values(fields_.size()) == 0)
            fields_.emplace_back();
        if (fields_.size() == expected || (layout_.extraIgnored && fields_.size() > expected)) return;
        // A row that breaks off at a word is better told by the word.
        if (fields_.size() == 1 && !numbers_.Read(fields_[0]))
            throw FieldError(fields_[0], numbers_, rules_.options, FieldPlace(LineNumber(), 0));
        const bool many = fields_.size() > kMaxColumns;
        Fail(" has " + (many ? "more than " + std::to_string(kMaxColumns) : std::to_string(fields_.size())) +
             (fields_.size() == 1 ? " column" : " columns") + " where " + std::to_string(expected) +
             (expected == 1 ? " was" : " were") + " expected");
    }

    const RowRules& rules_;
    const TextLayout& layout_;
    std::size_t width_;  ///< values that are kept of a row
    RowReader::Scope scope_;
    char lineEnd_;
    bool commaIsMark_;
    bool isPlain_;  ///< whether all columns hold numbers
    NumberReader numbers_;
    Fields fields_;
    int stampDecimals_ = 0;
    TextRows& rows_;
};

}  // namespace

std::optional<TextStamp> ReadStamp(FieldKind kind, std::optional<DateOrder> order, std::string_view field,
                                   std::string_view next) {
    switch (kind) {
        case FieldKind::dateTime:
            return ReadDateTime(field, order);
        case FieldKind::date:
            return ReadDate(field, order);
        case FieldKind::clock:
            return ReadClock(field);
        default: {
            const std::optional<TextStamp> day = ReadDate(field, order);
            const std::optional<TextStamp> clock = ReadClock(next);
            return day && clock ? std::optional(clock->On(*day)) : std::nullopt;
        }
    }
}

RowReader::RowReader(const OpenText& open, const TextOptions& options, const TextLayout& layout)
    : layout_(layout),
      options_(options),
      missing_(options),
      lines_(open(), options.codePage, options.encodingName) {
    while (lines_.Number() + 1 < layout.firstRow && lines_.Next()) {
    }
    if (layout.axis != kNoColumn && IsStamp(layout.Kind(layout.axis))) {
        const std::size_t next = layout.axis + 1;
        firstStamp_ = ReadStamp(layout.Kind(layout.axis), layout.dateOrder, layout.firstFields[layout.axis],
                                next < layout.columns ? layout.firstFields[next] : std::string_view())
                          .value_or(TextStamp());
    }
}

void RowReader::CountDays(std::span<double> values, std::size_t width, std::size_t axis) {
    constexpr double kDay = kSecondsPerDay;
    for (std::size_t at = axis; at < values.size(); at += width) {
        if (values[at] + days_ < previous_ - kDay / 2) days_ += kDay;
        previous_ = values[at] += days_;
    }
}

std::span<const TextRows> RowReader::Next(const Scope& scope, const ProgressFunction& progress) {
    std::string_view text = lines_.NextLines(kPieces * kPiece);
    if (text.empty()) return {};
    std::vector<std::string_view> texts;
    while (!text.empty()) {
        const std::size_t end =
            std::min(text.find(lines_.End(), std::min(kPiece, text.size()) - 1), text.size() - 1);
        texts.push_back(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
    }
    if (pieces_.size() < texts.size()) pieces_.resize(texts.size());
    std::vector<char> isRead(texts.size(), 0);
    const RowRules rules = {layout_, options_, missing_, firstStamp_, scope, lines_.End()};
    const auto read = [&](std::size_t i, const DecimalMarks& before) {
        PieceReader(rules, before, &pieces_[i]).Read(texts[i]);
    };
    ForEachInParallel(texts.size(), [&](std::size_t i) {
        try {
            read(i, {});
            isRead[i] = 1;
        } catch (const std::exception&) {
            // It is read again below, where the number of its first line is known.
        }
    });
    const bool isClock = layout_.axis != kNoColumn && layout_.Kind(layout_.axis) == FieldKind::clock;
    std::size_t line = lines_.Number();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        TextRows& piece = pieces_[i];
        piece.lineBefore = line;
        DecimalMarks marks = marks_;
        marks.Include(piece.marks);
        if (!isRead[i] || marks.AreBoth()) read(i, marks_);
        marks_.Include(piece.marks);
        if (isClock) {
            const std::size_t width = rules.Width();
            CountDays(std::span(piece.values).first(piece.count * width), width,
                      rules.ValuesBefore(layout_.axis));
        }
        line += piece.linesInAll;
    }
    lines_.Count(line - lines_.Number());
    if (progress) progress(lines_.Position(), lines_.Size());
    return std::span(pieces_).first(texts.size());
}

}  // namespace kvx
