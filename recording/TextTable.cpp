// SPDX-License-Identifier: MIT
#include <KvxRecording01/TextTable.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
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
#include <KvxRecording01/detail/TextColumns.h>
#include <KvxRecording01/detail/TextLayout.h>
#include <KvxRecording01/detail/TextRows.h>

namespace kvx {
namespace {

/// Finds a spacing of which all places are multiples, to the bit: that of an axis as it is stored.
class ExactSpacing {
public:
    explicit ExactSpacing(const TimeStamps& places) {
        if (places.count < 2 || !(places.Step() > 0.0)) return;
        first_ = std::round(places.first / places.Step());
        const double count = first_ + static_cast<double>(places.count - 1);
        if (!(std::abs(first_) <= std::numeric_limits<std::int32_t>::max()) || !(std::abs(count) >= 1.0))
            return;
        // The last place is a rounded multiple, so that the spacing is near to its part.
        double spacing = places.last / count;
        for (const double end : {0.0, kInfinity}) {
            double next = spacing;
            for (int i = 0; i < 2; ++i) spacings_.push_back(next = std::nextafter(next, end));
        }
        spacings_.push_back(spacing);
    }

    void Add(std::span<const double> places) {
        for (const double place : places) {
            if (spacings_.empty()) return;
            const double index = first_ + static_cast<double>(done_++);
            std::erase_if(spacings_, [&](double spacing) { return index * spacing != place; });
        }
    }

    /// The one with the shortest text; no value when there is none.
    std::optional<double> Value() const {
        const auto shortest = std::ranges::min_element(
            spacings_, {}, [](double spacing) { return FormatExact(spacing).size(); });
        return shortest == spacings_.end() ? std::nullopt : std::optional(*shortest);
    }

private:
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();

    double first_ = 0.0;
    __int64 done_ = 0;
    std::vector<double> spacings_;
};

/// What the numbers of a clock that counts from 1970 on count.
struct ClockUnit {
    std::int64_t perSecond;
    const char* name;
};
constexpr ClockUnit kClockUnits[] = {
    {1, "seconds"},
    {1'000, "milliseconds"},
    {1'000'000, "microseconds"},
    {1'000'000'000, "nanoseconds"},
};

TextLayout LayoutOf(const OpenText& open, const TextOptions& options) {
    LineReader lines(open(), options.codePage, options.encodingName);
    return ReadTextLayout(lines, options);
}

class TextTableReader : public RecordingReader {
public:
    TextTableReader(OpenText open, const TextOptions& options, const ProgressFunction& progress)
        : open_(std::move(open)), options_(options), layout_(LayoutOf(open_, options_)) {
        if (options_.spacing && !(*options_.spacing > 0.0 && std::isfinite(*options_.spacing)))
            throw Error(ErrorKind::kBadValue, options_.called.spacing + " is not a number above 0");
        axis_ = FindAxis(layout_, options_);
        layout_.axis = axis_.column;
        SettleStamps();
        SettleOrigin();
        Survey(progress);
        MakeRun();
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        if (run > 0 || targets.size() != sources_.size())
            throw Error(ErrorKind::kBadValue, "there is no such run");
        return WithErrors([&] { return ReadRows(targets, room); });
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        if (index >= lineNumbers_.size() || channel >= sources_.size()) return Error(kind, sentence);
        return Error(kind, sentence, rows_->PlaceOf(lineNumbers_[index], sources_[channel].column));
    }

private:
    /// Where a target's values come from.
    struct Source {
        std::size_t column;
        std::size_t value;                   ///< of those of a row
        const TextChannel* polar = nullptr;  ///< of a part that is computed from a magnitude and a phase
        std::size_t phase = 0;               ///< as `value`
        bool isImaginary = false;
    };

    std::size_t ReadRows(std::span<double* const> targets, std::size_t room) {
        if (!rows_) rows_ = std::make_unique<RowReader>(open_, options_, layout_);
        std::size_t count = 0;
        lineNumbers_.clear();
        while (count < room) {
            if (parsed_.empty()) parsed_ = rows_->Next();
            if (parsed_.empty()) break;
            const TextRows& rows = parsed_.front();
            const std::size_t taken = std::min(room - count, rows.count - taken_);
            lineNumbers_.resize(count + taken);
            for (std::size_t i = 0; i < taken; ++i) lineNumbers_[count + i] = rows.LineNumber(taken_ + i);
            for (std::size_t t = 0; t < targets.size(); ++t) {
                if (targets[t] == nullptr) continue;
                const double* const values = rows.values.data() + taken_ * width_;
                if (sources_[t].polar != nullptr) {
                    TakePart(sources_[t], values, {targets[t] + count, taken}, count);
                    continue;
                }
                const double* const samples = values + sources_[t].value;
                for (std::size_t i = 0; i < taken; ++i) targets[t][count + i] = samples[i * width_];
            }
            count += taken;
            taken_ += taken;
            if (taken_ < rows.count) break;
            parsed_ = parsed_.subspan(1);
            taken_ = 0;
        }
        if (info_.runs.front().axis.isListed && targets[0] != nullptr) ToStandardUnit({targets[0], count});
        done_ += static_cast<__int64>(count);
        const __int64 samples = info_.runs.front().samples;
        if (done_ > samples || (count < room && done_ < samples)) {
            throw Error(ErrorKind::kHost, "it changed while it was read");
        }
        return count;
    }

    /// A part of the numbers whose magnitudes and phases are in rows; the first is sample `number` of those
    /// being delivered.
    void TakePart(const Source& source, const double* values, std::span<double> part,
                  std::size_t number) const {
        for (std::size_t i = 0; i < part.size(); ++i, values += width_) {
            const std::complex<double> value =
                FromPolar(*source.polar, values[source.value], values[source.phase]);
            part[i] = source.isImaginary ? value.imag() : value.real();
            if (std::isfinite(part[i])) continue;
            throw Error(ErrorKind::kUnsupported, "the magnitude or the phase overflows",
                        rows_->PlaceOf(lineNumbers_[number + i], source.column));
        }
    }

    void ToStandardUnit(std::span<double> places) const {
        ToStandardPlaces(axis_.unit, places);
        if (ticksPerSecond_ == 1) return;
        for (double& place : places) place /= static_cast<double>(ticksPerSecond_);
    }

    // ---- when the first sample was taken ----

    std::string_view FirstField(std::size_t column) const {
        return column < layout_.firstFields.size() ? std::string_view(layout_.firstFields[column])
                                                   : std::string_view();
    }

    /// Settles the order of dates on the axis, and the start by the first of them.
    void SettleStamps() {
        if (layout_.axis == kNoColumn || !IsStamp(layout_.Kind(layout_.axis))) return;
        const FieldKind kind = layout_.Kind(layout_.axis);
        const std::string_view field = FirstField(layout_.axis);
        if (kind != FieldKind::clock && NeedsDateOrder(field)) layout_.dateOrder = FindDateOrder(field);
        const auto stamp = ReadStamp(kind, layout_.dateOrder, field, FirstField(layout_.axis + 1));
        if (!stamp || kind == FieldKind::clock) return;
        start_ = StartTime{stamp->seconds, stamp->parts, stamp->isUniversal};
    }

    /// The order that is stated, else the one that a date of the column says. Throws Error where none does.
    DateOrder FindDateOrder(std::string_view firstField) const {
        if (options_.dateOrder) return *options_.dateOrder;
        LineReader lines(open_(), options_.codePage, options_.encodingName);
        Fields fields;
        while (const std::optional<std::string_view> line = lines.Next()) {
            if (lines.Number() < layout_.firstRow || IsBlankOrComment(*line, options_.comments)) continue;
            Split(*line, layout_.separator, &fields);
            if (fields.size() <= layout_.axis) continue;
            if (const std::optional<DateOrder> order = OrderOf(fields[layout_.axis])) return *order;
        }
        throw Error(ErrorKind::kDamaged,
                    "its dates, such as " + Quote(Unquoted(firstField)) +
                        ", may begin with the day as with the month; say which with " + options_.called.dates,
                    FieldPlace(layout_.firstRow, layout_.axis));
    }

    /// Takes times far from 0 as those of a clock that counts from 1970 on, from the first of them on.
    void SettleOrigin() {
        const bool isNumber = layout_.axis != kNoColumn && layout_.Kind(layout_.axis) == FieldKind::number;
        if (!isNumber || axis_.dimension != CUnitCtrl::DIM_TIME) return;
        const auto first = ReadDecimalStamp(FirstField(layout_.axis));
        if (!first) return;
        constexpr std::int64_t kYear = 365 * kSecondsPerDay;
        constexpr std::int64_t kFar = 3 * kYear;
        // Between 1980 and 2065; later ones may count from another year.
        const auto isDate = [](std::int64_t seconds) { return seconds > 10 * kYear && seconds < 95 * kYear; };
        std::int64_t perSecond = 1;
        if (axis_.unit.unit != CUnitCtrl()) {
            const double unit = ToStandardDistance(axis_.unit, 1.0);
            if (!(unit <= 1.0) || !(unit >= 1e-9)) return;
            perSecond = static_cast<std::int64_t>(std::round(1.0 / unit));
        } else {
            const auto whole = std::ranges::find_if(
                kClockUnits, [&](const ClockUnit& unit) { return isDate(first->seconds / unit.perSecond); });
            if (whole != std::end(kClockUnits)) {
                perSecond = ticksPerSecond_ = whole->perSecond;
                if (perSecond > 1)
                    axis_.remark = std::string("the time column is read as ") + whole->name + " since 1970";
            }
        }
        if (std::abs(first->seconds / perSecond) < kFar) return;
        layout_.origin = first;
        if (!isDate(first->seconds / perSecond)) return;
        constexpr std::int64_t kPerSecond = StartTime::kPartsPerSecond;
        start_ =
            StartTime{first->seconds / perSecond,
                      first->seconds % perSecond * (kPerSecond / perSecond) + first->parts / perSecond, true};
    }

    /// Goes through the whole text once, and once more through a column that is or may be the axis.
    void Survey(const ProgressFunction& progress) {
        RowReader rows(open_, options_, layout_);
        std::vector<char> haveValues(options_.missing ? layout_.columns : 0, 0);
        int decimals = 0;
        for (auto parsed = rows.Survey(progress); !parsed.empty(); parsed = rows.Survey(progress)) {
            for (const TextRows& piece : parsed) {
                if (piece.count == 0) continue;
                if (layout_.axis != kNoColumn) {
                    if (stamps_.count == 0) stamps_.first = piece.values.front();
                    stamps_.last = piece.values[piece.count - 1];
                }
                stamps_.count += static_cast<__int64>(piece.count);
                decimals = std::max(decimals, piece.decimals);
                for (std::size_t c = 0; c < haveValues.size(); ++c)
                    if (piece.haveValues.empty() || piece.haveValues[c] != 0) haveValues[c] = 1;
            }
        }
        if (stamps_.count == 0) throw Error(ErrorKind::kDamaged, "it holds no samples");
        stamps_.resolution = std::pow(10.0, -decimals);
        const bool isGuess = !axis_.isCertain && layout_.columns > 1 && stamps_.count > 2;
        if (layout_.axis != kNoColumn && (axis_.isCertain || isGuess)) {
            FindStray(progress);
            axis_.isCertain = axis_.isCertain || stamps_.IsEven();
        }
        if (!axis_.isCertain) axis_.column = layout_.axis = kNoColumn;
        LeaveOut(haveValues);
    }

    /// Leaves out the columns that have no value, and those with times that are not the axis.
    void LeaveOut(std::span<const char> haveValues) {
        std::vector<FieldKind> kinds = layout_.kinds;
        kinds.resize(layout_.columns, FieldKind::number);
        for (std::size_t c = 0; c < layout_.columns; ++c) {
            if (c == layout_.axis) continue;
            if (!haveValues.empty() && haveValues[c] == 0 && layout_.Values(c) > 0 && !IsStamp(kinds[c]))
                kinds[c] = FieldKind::empty;
        }
        if (std::ranges::any_of(kinds, [](FieldKind kind) { return kind != FieldKind::number; })) {
            layout_.kinds = std::move(kinds);
            layout_.firstFields.resize(layout_.columns);
        }
    }

    void FindStray(const ProgressFunction& progress) {
        for (double* const place : {&stamps_.first, &stamps_.last}) ToStandardUnit({place, 1});
        stamps_.resolution =
            ToStandardDistance(axis_.unit, stamps_.resolution) / static_cast<double>(ticksPerSecond_);
        StrayFinder finder(&stamps_);
        ExactSpacing exact(stamps_);
        RowReader rows(open_, options_, layout_);
        std::vector<double> places;
        for (auto parsed = rows.NextOfAxis(progress); !parsed.empty(); parsed = rows.NextOfAxis(progress)) {
            for (const TextRows& piece : parsed) {
                places.assign(piece.values.begin(),
                              piece.values.begin() + static_cast<std::ptrdiff_t>(piece.count));
                ToStandardUnit(places);
                const auto bad = std::ranges::find_if(places, [](double s) { return !std::isfinite(s); });
                if (bad != places.end()) {
                    const auto row = static_cast<std::size_t>(bad - places.begin());
                    const bool isTime = axis_.dimension == CUnitCtrl::DIM_TIME;
                    throw Error(ErrorKind::kUnsupported,
                                isTime ? "the time overflows in conversion to seconds"
                                       : "the place overflows in conversion to the standard unit",
                                rows.PlaceOf(piece.LineNumber(row), layout_.axis));
                }
                finder.Add(places);
                exact.Add(places);
            }
        }
        exactSpacing_ = exact.Value();
    }

    void MakeRun() {
        RecordingInfo::Run& run = info_.runs.emplace_back();
        run.samples = stamps_.count;
        run.start = layout_.start;
        run.title = layout_.title;
        info_.text = layout_.text;
        if (layout_.axis != kNoColumn && start_) run.start = start_;
        info_.properties = layout_.properties;
        if (!layout_.remark.empty()) info_.remarks.push_back(layout_.remark);
        if (layout_.axis != kNoColumn && !axis_.remark.empty()) info_.remarks.push_back(axis_.remark);
        channels_ = ListChannels(layout_, axis_, &info_.remarks);
        if (channels_.empty()) {
            throw Error(ErrorKind::kDamaged, layout_.axis == kNoColumn ? "it has no column of numbers"
                                             : axis_.dimension == CUnitCtrl::DIM_TIME
                                                 ? "its only column is the time"
                                                 : "its only column is the axis");
        }
        SettleAxis(&run.axis);
        std::vector<std::size_t> values;  // the first of each column
        for (std::size_t c = 0; c < layout_.columns; ++c) {
            values.push_back(width_);
            width_ += layout_.Values(c);
        }
        if (run.axis.isListed) sources_.push_back({layout_.axis, values[layout_.axis]});
        for (const TextChannel& channel : channels_) {
            run.channels.push_back(channel.channel);
            const bool isPair = channel.second != kNoColumn;
            const bool isPolar = channel.phaseDegrees != 0.0;
            Source source = {channel.first, values[channel.first]};
            if (isPolar) {
                source.polar = &channel;
                source.phase = values[channel.second];
            }
            sources_.push_back(source);
            if (!channel.channel.isComplex) continue;
            source.isImaginary = true;
            if (!isPolar) {
                source.column = isPair ? channel.second : channel.first;
                source.value = isPair ? values[channel.second] : values[channel.first] + 1;
            }
            sources_.push_back(source);
        }
    }

    /// A column of texts that may be times, for the sentence that there is no time column.
    std::string UnreadTimes() const {
        for (std::size_t c = 0; c < layout_.kinds.size(); ++c) {
            const std::string_view field = Unquoted(layout_.firstFields[c]);
            if (layout_.kinds[c] != FieldKind::text || field.empty() || field[0] < '0' || field[0] > '9' ||
                field.find_first_of("/.:-") == field.npos)
                continue;
            return " (column " + std::to_string(layout_.skipped + c + 1) + " holds text, such as " +
                   Quote(field) + ", which is no time that can be read)";
        }
        return {};
    }

    void SettleAxis(RecordedAxis* axis) {
        const bool isTime = axis_.dimension == CUnitCtrl::DIM_TIME;
        axis->unit = CUnitCtrl(axis_.dimension);
        axis->unknownUnit = axis_.unknownUnit;
        axis->rateHint = layout_.rateHint;
        if (layout_.axis == kNoColumn) {
            if (options_.keepsUneven)
                throw Error(ErrorKind::kBadValue,
                            options_.called.uneven + " is for a text with a time column");
            axis->first = layout_.first;
            axis->rateHint += UnreadTimes();
            axis->delta = options_.spacing.value_or(0.0);
            if (!isTime && !options_.spacing)
                throw Error(ErrorKind::kBadValue,
                            "it has no column for its axis; give the distance of samples with " +
                                options_.called.spacing);
            return;
        }
        if (layout_.Kind(layout_.axis) == FieldKind::clock) {
            info_.properties.push_back({"start", Printable(Unquoted(layout_.firstFields[layout_.axis]))});
        }
        const bool isEven = stamps_.IsEven();
        if (isTime) {
            axis->stamps = stamps_;
            axis->delta = isEven ? exactSpacing_.value_or(0.0) : 0.0;
            axis->isListed = !isEven && options_.keepsUneven;
            axis->unevenHint = " or keep the times as they are with " + options_.called.uneven;
            return;
        }
        // Places that even spacing would move stay where they are.
        constexpr double kFine = 0.1;
        constexpr double kJitter = 0.01;
        const double offset = isEven ? stamps_.first / stamps_.Step() : 0.0;
        const bool isFine =
            stamps_.resolution <= kFine * stamps_.Step() && std::abs(offset - std::round(offset)) <= kJitter;
        axis->isListed = !isEven || !(exactSpacing_ || isFine);
        axis->first = stamps_.first;
        if (!axis->isListed) axis->delta = exactSpacing_.value_or(stamps_.Step());
    }

    OpenText open_;
    TextOptions options_;
    TextLayout layout_;
    TextAxis axis_;
    TimeStamps stamps_;                ///< of the axis, if there is one; else their number alone counts
    std::optional<StartTime> start_;   ///< by the axis
    std::int64_t ticksPerSecond_ = 1;  ///< of times without a unit
    std::optional<double> exactSpacing_;
    std::vector<TextChannel> channels_;
    std::vector<Source> sources_;  ///< per target of Read
    std::size_t width_ = 0;        ///< values of a row
    std::unique_ptr<RowReader> rows_;
    std::span<const TextRows> parsed_ = {};  ///< not delivered yet
    std::size_t taken_ = 0;                  ///< rows of the first of them that are
    std::vector<std::size_t> lineNumbers_;   ///< of the rows last delivered
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
    options.axisColumn.clear();
    const std::unique_ptr<RecordingReader> text = OpenTextTable(std::move(open), options, progress);
    const std::size_t columns = text->Info().runs.front().channels.size();
    if (std::ranges::any_of(text->Info().runs.front().channels, &RecordingInfo::Channel::isComplex))
        throw Error(ErrorKind::kUnsupported, "coefficients are real numbers");
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
