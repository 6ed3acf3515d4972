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
#include <KvxRecording01/detail/LoggerSegments.h>
#include <KvxRecording01/detail/StatedUnit.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextLayout.h>
#include <KvxRecording01/detail/TextRows.h>

namespace kvx {
namespace {

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

    std::size_t Read(std::size_t, std::span<double* const> targets, std::size_t room) override {
        return WithErrors([&] { return ReadRows(targets, room); });
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        if (index >= lineNumbers_.size()) return Error(kind, sentence);
        return Error(kind, sentence, rows_->PlaceOf(lineNumbers_[index], firstChannel_ + channel));
    }

private:
    std::size_t ReadRows(std::span<double* const> targets, std::size_t room) {
        if (!rows_) rows_ = std::make_unique<RowReader>(open_, options_);
        const std::size_t columns = rows_->Table().columns;
        std::size_t count = 0;
        lineNumbers_.clear();
        while (count < room) {
            if (parsed_.empty()) parsed_ = rows_->Next(columns);
            if (parsed_.empty()) break;
            const TextRows& rows = parsed_.front();
            const std::size_t taken = std::min(room - count, rows.count - taken_);
            for (std::size_t i = 0; i < taken; ++i) lineNumbers_.push_back(rows.LineNumber(taken_ + i));
            for (std::size_t c = 0; c < targets.size(); ++c) {
                if (targets[c] == nullptr) continue;
                const double* const values = rows.values.data() + taken_ * columns + firstChannel_ + c;
                for (std::size_t i = 0; i < taken; ++i) targets[c][count + i] = values[i * columns];
            }
            count += taken;
            taken_ += taken;
            if (taken_ < rows.count) break;
            parsed_ = parsed_.subspan(1);
            taken_ = 0;
        }
        done_ += static_cast<__int64>(count);
        const __int64 samples = info_.runs.front().samples;
        if (done_ > samples || (count < room && done_ < samples)) {
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
        for (auto parsed = rows.Next(1, progress); !parsed.empty(); parsed = rows.Next(1, progress)) {
            for (const TextRows& piece : parsed) {
                if (piece.count == 0) continue;
                if (stamps.count == 0) stamps.first = piece.values.front();
                stamps.last = piece.values[piece.count - 1];
                stamps.count += static_cast<__int64>(piece.count);
                decimals = std::max(decimals, piece.decimals);
            }
        }
        if (stamps.count == 0) throw Error(ErrorKind::kDamaged, "it holds no samples");
        RecordingInfo::Run& run = info_.runs.emplace_back();
        stamps.resolution = std::pow(10.0, -decimals);
        const std::optional<bool> isTime = IsFirstColumnTime(layout, options_);
        if (isTime.value_or(layout.columns > 1 && stamps.count > 2)) {
            FindStray(StampUnit(layout), &stamps, progress);
            if (isTime.value_or(stamps.IsEven())) run.axis.stamps = stamps;
        }
        firstChannel_ = run.axis.stamps ? 1 : 0;
        if (layout.columns == firstChannel_) throw Error(ErrorKind::kDamaged, "its only column is the time");
        run.samples = stamps.count;
        run.axis.rateHint = layout.rateHint;
        info_.properties = layout.properties;
        run.channels.resize(layout.columns - firstChannel_);
        if (!layout.remark.empty()) info_.remarks.push_back(layout.remark);
        if (run.axis.stamps && !layout.headings.empty() && !layout.headings.front().unknownUnit.empty()) {
            info_.remarks.push_back("the unit " + Quote(layout.headings.front().unknownUnit) +
                                    " of the time column is not known, so it is read in seconds");
        }
        for (std::size_t c = firstChannel_; c < layout.headings.size(); ++c) {
            StateHeading(&run.channels[c - firstChannel_], layout.headings[c]);
        }
    }

    void FindStray(const std::optional<CUnitCtrl>& unit, TimeStamps* stamps,
                   const ProgressFunction& progress) {
        const auto toSeconds = [&](std::span<double> values) {
            if (unit) unit->ConvItoD(values.data(), values.data(), std::ssize(values), 1.0, 0);
        };
        for (double* value : {&stamps->first, &stamps->last, &stamps->resolution}) toSeconds({value, 1});
        StrayFinder finder(stamps);
        RowReader rows(open_, options_);
        std::vector<double> seconds;
        for (auto parsed = rows.NextFirst(progress); !parsed.empty(); parsed = rows.NextFirst(progress)) {
            for (const TextRows& piece : parsed) {
                seconds.assign(piece.values.begin(),
                               piece.values.begin() + static_cast<std::ptrdiff_t>(piece.count));
                toSeconds(seconds);
                const auto bad = std::ranges::find_if(seconds, [](double s) { return !std::isfinite(s); });
                if (bad != seconds.end()) {
                    const auto row = static_cast<std::size_t>(bad - seconds.begin());
                    throw Error(ErrorKind::kUnsupported, "the time overflows in conversion to seconds",
                                rows.PlaceOf(piece.LineNumber(row), 0));
                }
                finder.Add(seconds);
            }
        }
    }

    OpenText open_;
    TextOptions options_;
    std::unique_ptr<RowReader> rows_;
    std::span<const TextRows> parsed_ = {};  ///< not delivered yet
    std::size_t taken_ = 0;                  ///< rows of the first of them that are
    std::vector<std::size_t> lineNumbers_;   ///< of the rows last delivered
    std::size_t firstChannel_ = 0;
    __int64 done_ = 0;
};

}  // namespace

std::unique_ptr<RecordingReader> OpenTextTable(OpenText open, const TextOptions& options,
                                               const ProgressFunction& progress) {
    return WithErrors([&]() -> std::unique_ptr<RecordingReader> {
        if (auto segments = OpenLoggerSegments(open, options, progress)) return segments;
        return std::make_unique<TextTableReader>(std::move(open), options, progress);
    });
}

std::vector<double> ReadCoefficients(OpenText open, TextOptions options, const ProgressFunction& progress) {
    constexpr __int64 kMost = 1 << 20;
    options.firstColumnIsTime = false;
    const std::unique_ptr<RecordingReader> text = OpenTextTable(std::move(open), options, progress);
    const std::size_t columns = text->Info().runs.front().channels.size();
    const __int64 rows = text->Info().runs.front().samples;
    if (columns > 1 && rows > 1)
        throw Error(ErrorKind::kUnsupported, "coefficients stand in one column or one row");
    if (rows > kMost) {
        throw Error(ErrorKind::kUnsupported, "it has more than " + std::to_string(kMost) + " coefficients");
    }
    std::vector<double> values(columns * static_cast<std::size_t>(rows));
    std::vector<double*> targets;
    for (double& value : std::span(values).first(columns)) targets.push_back(&value);
    text->Read(0, targets, static_cast<std::size_t>(rows));
    return values;
}

}  // namespace kvx
