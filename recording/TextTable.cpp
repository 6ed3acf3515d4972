// SPDX-License-Identifier: MIT
#include <KvxRecording01/TextTable.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextLayout.h>
#include <KvxRecording01/detail/TextNumbers.h>

namespace kvx {
namespace {

constexpr std::size_t kLinesPerUpdate = 4096;

/// Walks over the rows of a table from its start.
class RowReader {
public:
    RowReader(const OpenText& open, const TextOptions& options)
        : lines_(open(), options.codePage, options.encodingName),
          layout_(ReadTextLayout(lines_, options)),
          values_(layout_.columns) {}

    const TextLayout& Table() const { return layout_; }

    /// Reads the first `columns` values of the next row; false at the end.
    bool Next(std::size_t columns, const ProgressFunction* progress = nullptr) {
        std::optional<std::string_view> line;
        do {
            line = lines_.Next();
            if (!line) return false;
            if (progress != nullptr && *progress && lines_.Number() % kLinesPerUpdate == 0) {
                (*progress)(lines_.Position(), lines_.Size());
            }
        } while (IsBlankOrComment(*line));
        Split(*line, layout_.separator, &fields_);
        RequireFields();
        for (std::size_t c = 0; c < columns; ++c) {
            const std::string_view field = fields_[layout_.skipped + c];
            const std::optional<double> value = numbers_.Read(field);
            if (!value) throw FieldError(field, numbers_.Fault(), PlaceOf(c));
            values_[c] = *value;
        }
        return true;
    }

    const std::vector<double>& Values() const { return values_; }
    std::size_t LineNumber() const { return lines_.Number(); }
    int DecimalsOfFirst() const { return Decimals(fields_[layout_.skipped]); }
    /// Where a value of the row stands.
    ErrorPlace PlaceOf(std::size_t column) const {
        return FieldPlace(lines_.Number(), layout_.skipped + column);
    }

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
        if (fields_.size() == 1 && !numbers_.Read(fields_[0]))
            throw FieldError(fields_[0], numbers_.Fault(), FieldPlace(lines_.Number(), 0));
        const bool many = fields_.size() > kMaxColumns;
        Fail(" has " + (many ? "more than " + std::to_string(kMaxColumns) : std::to_string(fields_.size())) +
             (fields_.size() == 1 ? " column" : " columns") + " where " + std::to_string(expected) +
             (expected == 1 ? " was" : " were") + " expected");
    }

    LineReader lines_;
    TextLayout layout_;
    NumberReader numbers_;
    Fields fields_;
    std::vector<double> values_;
};

/// What the statements and the headings say of the first column; no value when they say nothing.
std::optional<bool> IsFirstColumnTime(const TextLayout& layout, const TextOptions& options) {
    if (options.firstColumnIsTime) return options.firstColumnIsTime;
    if (layout.firstIsTime) return layout.firstIsTime;
    if (!layout.headings.empty()) return IsTimeHeading(layout.headings.front());
    return std::nullopt;
}

/// The unit of time stamps; no value for seconds.
std::optional<CUnitCtrl> StampUnit(const TextLayout& layout) {
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
        return WithErrors([&] { return ReadRows(targets, room); });
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        if (index >= lineNumbers_.size()) return Error(kind, sentence);
        const std::size_t column = rows_->Table().skipped + firstChannel_ + channel;
        return Error(kind, sentence, FieldPlace(lineNumbers_[index], column));
    }

private:
    std::size_t ReadRows(std::span<double* const> targets, std::size_t room) {
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
            throw Error(ErrorKind::kHost, "it changed while it was read");
        }
        return count;
    }

    /// Goes through the whole text once, and once more through a column that may be the time.
    void Survey(const ProgressFunction& progress) {
        RowReader rows(open_, options_);
        const TextLayout& layout = rows.Table();
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
                throw Error(ErrorKind::kUnsupported, "the time overflows in conversion to seconds",
                            rows.PlaceOf(0));
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
    return WithErrors([&] { return std::make_unique<TextTableReader>(std::move(open), options, progress); });
}

std::vector<double> ReadCoefficients(OpenText open, TextOptions options, const ProgressFunction& progress) {
    constexpr __int64 kMost = 1 << 20;
    options.firstColumnIsTime = false;
    const std::unique_ptr<RecordingReader> text = OpenTextTable(std::move(open), options, progress);
    const std::size_t columns = text->Info().channels.size();
    const __int64 rows = text->Info().samples;
    if (columns > 1 && rows > 1)
        throw Error(ErrorKind::kUnsupported, "coefficients stand in one column or one row");
    if (rows > kMost) {
        throw Error(ErrorKind::kUnsupported, "it has more than " + std::to_string(kMost) + " coefficients");
    }
    std::vector<double> values(columns * static_cast<std::size_t>(rows));
    std::vector<double*> targets;
    for (double& value : std::span(values).first(columns)) targets.push_back(&value);
    text->Read(targets, static_cast<std::size_t>(rows));
    return values;
}

}  // namespace kvx
