// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextRows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/kernels/PlainNumber.h>

namespace kvx {
namespace {

/// A piece of text is read on one core; so many are read at a time.
constexpr std::size_t kPiece = std::size_t{1} << 17;
constexpr std::size_t kPieces = 16;

/// Reads a piece of lines. Rows of plain numbers take the short way; any other line, and so all that is
/// wrong, is split into fields first.
class PieceReader {
public:
    PieceReader(const TextLayout& layout, char lineEnd, std::size_t columns, std::size_t checked,
                const DecimalMarks& marks, TextRows* rows)
        : layout_(layout),
          lineEnd_(lineEnd),
          columns_(columns),
          checked_(checked),
          commaIsMark_(layout.separator != kComma),
          numbers_(marks),
          rows_(*rows) {
        rows_.count = 0;
        rows_.lines.clear();
        rows_.linesInAll = 0;
        rows_.decimals = 0;
        rows_.marks = marks;
    }

    void Read(std::string_view text) {
        const char* const end = text.data() + text.size();
        for (const char* at = text.data(); at < end;) {
            const std::size_t used = rows_.count * columns_;
            if (rows_.values.size() < used + columns_) rows_.values.resize(2 * used + columns_);
            ++rows_.linesInAll;
            if (const char* const next = ReadPlainRow(at, end, rows_.values.data() + used)) {
                at = next;
                continue;
            }
            const auto* const lineEnd =
                static_cast<const char*>(std::memchr(at, lineEnd_, static_cast<std::size_t>(end - at)));
            std::string_view line(at, static_cast<std::size_t>((lineEnd != nullptr ? lineEnd : end) - at));
            at += line.size() + (lineEnd != nullptr ? 1 : 0);
            if (line.ends_with('\r')) line.remove_suffix(1);
            if (!IsBlankOrComment(line)) ReadLine(line, rows_.values.data() + used);
        }
    }

private:
    /// Where the next line begins; null for a line that is no row of plain numbers.
    const char* ReadPlainRow(const char* at, const char* end, double* values) {
        const char separator = layout_.separator;
        DecimalMarks marks = rows_.marks;
        at = SkipBlanks(at, end);
        if (layout_.skipped > 0) {
            if (layout_.skipped > 1 || at == end || *at != separator) return nullptr;
            at = SkipBlanks(at + 1, end);
        }
        int decimals = 0;
        for (std::size_t c = 0; c < checked_; ++c) {
            if (end - at < kPlainFieldRoom) return nullptr;
            const PlainNumber number = c < columns_ ? ReadPlainField<true>(at, separator, commaIsMark_)
                                                    : ReadPlainField<false>(at, separator, commaIsMark_);
            if (number.end == nullptr) return nullptr;
            if (c < columns_) values[c] = number.value;
            marks.point |= number.mark == '.';
            marks.comma |= number.mark == ',';
            if (c == 0) decimals = number.decimals;
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
        if (checked_ < layout_.columns || (layout_.extraIgnored && at < end && *at == separator)) {
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

    void ReadLine(std::string_view line, double* values) {
        numbers_ = NumberReader(rows_.marks);
        Split(line, layout_.separator, &fields_);
        RequireFields();
        for (std::size_t c = 0; c < checked_; ++c) {
            const std::string_view field = fields_[layout_.skipped + c];
            const std::optional<double> value = numbers_.Read(field);
            if (!value)
                throw FieldError(field, numbers_.Fault(), FieldPlace(LineNumber(), layout_.skipped + c));
            if (c < columns_) values[c] = *value;
        }
        rows_.marks = numbers_.Marks();
        AddRow(Decimals(fields_[layout_.skipped]));
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
        if (fields_.size() == expected || (layout_.extraIgnored && fields_.size() > expected)) return;
        // A row that breaks off at a word is better told by the word.
        if (fields_.size() == 1 && !numbers_.Read(fields_[0]))
            throw FieldError(fields_[0], numbers_.Fault(), FieldPlace(LineNumber(), 0));
        const bool many = fields_.size() > kMaxColumns;
        Fail(" has " + (many ? "more than " + std::to_string(kMaxColumns) : std::to_string(fields_.size())) +
             (fields_.size() == 1 ? " column" : " columns") + " where " + std::to_string(expected) +
             (expected == 1 ? " was" : " were") + " expected");
    }

    const TextLayout& layout_;
    char lineEnd_;
    std::size_t columns_;  ///< whose values are kept
    std::size_t checked_;  ///< that are read at all
    bool commaIsMark_;
    NumberReader numbers_;
    Fields fields_;
    TextRows& rows_;
};

}  // namespace

RowReader::RowReader(const OpenText& open, const TextOptions& options)
    : lines_(open(), options.codePage, options.encodingName), layout_(ReadTextLayout(lines_, options)) {}

std::span<const TextRows> RowReader::Next(std::size_t columns, std::size_t checked,
                                          const ProgressFunction& progress) {
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
    const auto read = [&](std::size_t i, const DecimalMarks& before) {
        PieceReader(layout_, lines_.End(), columns, checked, before, &pieces_[i]).Read(texts[i]);
    };
    ForEachInParallel(texts.size(), [&](std::size_t i) {
        try {
            read(i, {});
            isRead[i] = 1;
        } catch (const std::exception&) {
            // It is read again below, where the number of its first line is known.
        }
    });
    std::size_t line = lines_.Number();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        TextRows& piece = pieces_[i];
        piece.lineBefore = line;
        DecimalMarks marks = marks_;
        marks.Include(piece.marks);
        if (!isRead[i] || marks.AreBoth()) read(i, marks_);
        marks_.Include(piece.marks);
        line += piece.linesInAll;
    }
    lines_.Count(line - lines_.Number());
    if (progress) progress(lines_.Position(), lines_.Size());
    return std::span(pieces_).first(texts.size());
}

}  // namespace kvx
