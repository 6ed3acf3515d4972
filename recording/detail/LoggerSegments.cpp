// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/LoggerSegments.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/LoggerHeader.h>
#include <KvxRecording01/detail/StatedUnit.h>
#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/detail/TextNumbers.h>

namespace kvx {
namespace {

/// Whether anything follows the first header that begins another segment.
bool HasMoreSegments(LineReader& lines) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    for (std::string_view text = lines.NextLines(kPiece); !text.empty(); text = lines.NextLines(kPiece)) {
        for (std::size_t at = text.find(kSegmentKey); at != text.npos; at = text.find(kSegmentKey, at + 1)) {
            if (at == 0 || text[at - 1] == '\n' || text[at - 1] == '\r') return true;
        }
    }
    return false;
}

/// The rows of segments, one after the other, as fields.
class SegmentRows {
public:
    SegmentRows(const OpenText& open, const TextOptions& options)
        : lines_(open(), options.codePage, options.encodingName), headers_(Begin(lines_, options)) {}

    const LoggerHeaders& Headers() const { return headers_; }
    const LineReader& Lines() const { return lines_; }
    /// The headers of the next segment, whose rows come next; no value at the end.
    std::optional<LoggerSegment> NextSegment() {
        if (!isAtSegment_) {
            while (NextRow()) {
            }
        }
        if (!isAtSegment_) return std::nullopt;
        isAtSegment_ = false;
        LoggerSegment segment = headers_.ReadSegment();
        separator_ = segment.separator;
        return segment;
    }
    /// The fields of the next row, which last until the next call; null at the end of the segment.
    const Fields* NextRow() {
        if (isAtSegment_) return nullptr;
        while (const std::optional<std::string_view> line = lines_.Next()) {
            if (headers_.PassSpecial(*line)) continue;
            Split(*line, separator_, &fields_);
            if (fields_.front() == kSegmentKey) {
                lines_.StepBack();
                isAtSegment_ = true;
                return nullptr;
            }
            if (!std::ranges::all_of(fields_, [](std::string_view field) { return field.empty(); }))
                return &fields_;
        }
        return nullptr;
    }

private:
    static LoggerHeaders Begin(LineReader& lines, const TextOptions& options) {
        lines.Next();
        return LoggerHeaders(lines, options);
    }

    LineReader lines_;
    LoggerHeaders headers_;
    char separator_ = kTab;
    bool isAtSegment_ = true;
    Fields fields_;
};

/// Samples of one or more channels of a segment that have one axis and one count.
struct Part {
    std::size_t segment = 0;
    std::optional<std::size_t> placeColumn = std::nullopt;
    std::vector<std::size_t> columns = {};  ///< of the channels
    TimeStamps stamps = {};                 ///< the count also without places
};

class LoggerReader : public RecordingReader {
public:
    LoggerReader(OpenText open, const TextOptions& options, const ProgressFunction& progress)
        : open_(std::move(open)), options_(options) {
        SegmentRows rows(open_, options_);
        while (const std::optional<LoggerSegment> segment = rows.NextSegment()) {
            Survey(*segment, rows, progress);
            ++segments_;
        }
        if (runs_.empty()) throw Error(ErrorKind::kDamaged, "it holds no samples");
        FindStrays(progress);
        for (std::size_t r = 0; r < runs_.size(); ++r) SettleAxisOf(r);
        info_.properties = rows.Headers().Properties();
        if (!rows.Headers().Remark().empty()) info_.remarks.push_back(rows.Headers().Remark());
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireRun(run, runs_.size());
        if (run != run_) Enter(run);
        lineNumbers_.clear();
        if (const auto kept = kept_.find(run); kept != kept_.end())
            return ReadKept(kept->second, targets, room);
        const Run& source = runs_[run];
        const bool isListed = info_.runs[run].axis.isListed;
        std::size_t count = 0;
        for (; count < room && part_ < source.parts.size(); ++count) {
            const Part& part = source.parts[part_];
            const Fields* const row = RowOf(part.segment);
            lineNumbers_.push_back(rows_->Lines().Number());
            if (isListed && targets[0] != nullptr) targets[0][count] = NumberIn(*row, *part.placeColumn);
            for (std::size_t c = 0; c < part.columns.size(); ++c) {
                double* const target = targets[c + (isListed ? 1 : 0)];
                if (target != nullptr) target[count] = NumberIn(*row, part.columns[c]);
            }
            if (++row_ == part.stamps.count) {
                ++part_;
                row_ = 0;
            }
        }
        return count;
    }

    Error ErrorAt(std::size_t column, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        if (index >= lineNumbers_.size() || run_ >= runs_.size()) return Error(kind, sentence);
        const std::size_t channel = column - (info_.runs[run_].axis.isListed && column > 0 ? 1 : 0);
        return Error(kind, sentence,
                     FieldPlace(lineNumbers_[index], runs_[run_].parts[0].columns.at(channel)));
    }

private:
    struct Run {
        std::vector<Part> parts;
        std::optional<double> next = std::nullopt;  ///< where the next segment would go on
        StrayFinder* finder = nullptr;
    };

    // ---- what the file holds ----

    /// Reads the rows of a segment and makes runs of them, or goes on with those of the segment before it.
    void Survey(const LoggerSegment& segment, SegmentRows& rows, const ProgressFunction& progress) {
        const std::vector<TimeStamps> stamps = StampsOf(segment, rows, progress);
        std::vector<Part> parts;
        std::vector<std::vector<std::size_t>> channels;  // per part
        std::map<std::tuple<__int64, double, double>, std::size_t> numbers;
        for (std::size_t c = 0; c < stamps.size(); ++c) {
            if (stamps[c].count == 0) continue;
            const auto [part, isNew] =
                numbers.try_emplace({stamps[c].count, stamps[c].first, stamps[c].last}, parts.size());
            const std::size_t number = part->second;
            if (isNew) {
                Part& added = parts.emplace_back(Part{segments_, std::nullopt, {}, stamps[c]});
                if (segment.times != LoggerSegment::Times::none) added.placeColumn = segment.PlaceColumn(c);
                channels.emplace_back();
            }
            parts[number].columns.push_back(segment.ChannelColumn(c));
            channels[number].push_back(c);
        }
        if (parts.empty()) return;
        const bool goesOn = GoesOn(segment, parts);
        if (!goesOn) firstRun_ = runs_.size();
        for (std::size_t p = 0; p < parts.size(); ++p) {
            if (!goesOn) AddRun(segment, channels[p]);
            Append(segment, parts[p], firstRun_ + p);
        }
    }

    /// Reads the rows of a segment: the count of each channel, with the ends of its places where there are
    /// some.
    std::vector<TimeStamps> StampsOf(const LoggerSegment& segment, SegmentRows& rows,
                                     const ProgressFunction& progress) {
        std::vector<TimeStamps> stamps(segment.channels.size());
        const bool isMulti = segment.times == LoggerSegment::Times::perChannel;
        std::vector<std::size_t> open(stamps.size());  // the channels that have not ended
        std::iota(open.begin(), open.end(), std::size_t{0});
        __int64 count = 0;
        for (; const Fields* const row = rows.NextRow(); ++count) {
            line_ = rows.Lines().Number();
            if ((count & 0xFFF) == 0 && progress) progress(rows.Lines().Position(), rows.Lines().Size());
            const auto isEmpty = [&, fields = row](std::size_t c) {
                return IsEmpty(*fields, segment.ChannelColumn(c)) &&
                       (!isMulti || IsEmpty(*fields, segment.PlaceColumn(c)));
            };
            if (!segment.areSamplesEqual) {
                std::erase_if(open, isEmpty);
                // A row has no fields of channels that ended before.
                for (std::size_t c = 0; c < std::min(stamps.size(), row->size()); ++c) {
                    if (stamps[c].count < count && !isEmpty(c))
                        throw Refused("", FieldPlace(line_, segment.ChannelColumn(c)));
                }
            }
            for (const std::size_t c : open) {
                const std::size_t column = segment.ChannelColumn(c);
                const std::size_t placeColumn = segment.PlaceColumn(c);
                NumberIn(*row, column);
                if (!isMulti && c > 0 && stamps[c - 1].count == count + 1) {
                    stamps[c] = stamps[c - 1];  // of the same column of places
                    continue;
                }
                if (segment.times != LoggerSegment::Times::none) AddPlace(*row, placeColumn, &stamps[c]);
                ++stamps[c].count;
            }
        }
        return stamps;
    }

    void AddPlace(const Fields& row, std::size_t column, TimeStamps* stamps) {
        const double place = NumberIn(row, column);
        const double resolution = std::pow(10.0, -Decimals(row[column]));
        const bool isFirst = stamps->count == 0;
        if (isFirst) stamps->first = place;
        stamps->last = place;
        stamps->resolution = isFirst ? resolution : std::min(stamps->resolution, resolution);
    }

    static bool IsEmpty(const Fields& row, std::size_t column) {
        return column >= row.size() || row[column].empty();
    }

    Error Refused(std::string_view field, const ErrorPlace& place) const {
        const bool isEmpty = Unquoted(field).empty();
        return Error(ErrorKind::kDamaged,
                     isEmpty ? "the value is missing" : Quote(field) + " " + numbers_.Fault(), place);
    }

    /// A field as a number. Throws Error.
    double NumberIn(const Fields& row, std::size_t column) {
        const std::string_view field = column < row.size() ? row[column] : std::string_view();
        const std::optional<double> number = numbers_.Read(field);
        if (number) return *number;
        const std::size_t line = rows_ ? rows_->Lines().Number() : line_;
        throw Refused(field, FieldPlace(line, column));
    }

    /// Whether the parts of a segment go on where the runs of the one before it end.
    bool GoesOn(const LoggerSegment& segment, const std::vector<Part>& parts) const {
        if (runs_.size() - firstRun_ != parts.size() || runs_.empty() || before_ != segment.dimension)
            return false;
        for (std::size_t p = 0; p < parts.size(); ++p) {
            const Run& run = runs_[firstRun_ + p];
            const Part& last = run.parts.back();
            const RecordingInfo::Run& info = info_.runs[firstRun_ + p];
            if (last.columns != parts[p].columns || last.placeColumn != parts[p].placeColumn) return false;
            std::size_t c = 0;
            for (const std::size_t column : parts[p].columns) {
                const std::size_t channel =
                    segment.times == LoggerSegment::Times::perChannel ? column / 2 : column - 1;
                if (!AreAlike(info.channels[c++], ChannelOf(segment.channels[channel]))) return false;
            }
            const std::optional<double> first = last.placeColumn ? parts[p].stamps.first : segment.first;
            const double step = StepOf(segment, last);
            const double rounding = std::min(2.0 * last.stamps.resolution, 0.5 * step);
            const double tolerance = last.placeColumn ? 0.01 * step + rounding : 0.5 * step;
            if (!first || !run.next || !(step > 0.0) || !(std::abs(*first - *run.next) <= tolerance))
                return false;
        }
        return true;
    }

    static RecordingInfo::Channel ChannelOf(const UnitHeading& heading) {
        RecordingInfo::Channel channel;
        StateHeading(&channel, heading);
        return channel;
    }

    static bool AreAlike(const RecordingInfo::Channel& one, const RecordingInfo::Channel& other) {
        return one.name == other.name && one.unknownUnit == other.unknownUnit && one.scale == other.scale &&
               PlainUnitName(one.unit.value_or(CUnitCtrl())) ==
                   PlainUnitName(other.unit.value_or(CUnitCtrl()));
    }

    static double StepOf(const LoggerSegment& segment, const Part& part) {
        if (!part.placeColumn) return segment.step.value_or(0.0);
        return part.stamps.count > 1 ? part.stamps.Step() : segment.step.value_or(0.0);
    }

    void AddRun(const LoggerSegment& segment, const std::vector<std::size_t>& channels) {
        runs_.emplace_back();
        RecordingInfo::Run& run = info_.runs.emplace_back();
        run.start = segment.Start();
        if (!run.start && segment.isOwnDate) run.title = FromUtf8(segment.date).value_or(L"");
        run.axis.rateHint = segment.RateHint();
        if (segment.dimension == L"Frequency") {
            run.axis.unit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
        } else if (!segment.dimension.empty()) {
            run.axis.unit = CUnitCtrl();
            run.axis.unknownUnit = segment.dimension;
        }
        channels_ += channels.size();
        if (channels_ > kMaxColumns) {
            throw Error(ErrorKind::kUnsupported,
                        "its segments have more than " + std::to_string(kMaxColumns) + " channels");
        }
        for (const std::size_t channel : channels) {
            run.channels.push_back(ChannelOf(segment.channels[channel]));
        }
        before_ = segment.dimension;
    }

    void Append(const LoggerSegment& segment, const Part& part, std::size_t number) {
        Run& run = runs_[number];
        RecordingInfo::Run& info = info_.runs[number];
        const double step = StepOf(segment, part);
        const double first = part.placeColumn ? part.stamps.last : segment.first.value_or(0.0);
        const double steps = part.placeColumn ? 1.0 : static_cast<double>(part.stamps.count);
        if (step > 0.0 && (part.placeColumn || segment.first)) run.next = first + steps * step;
        info.samples += part.stamps.count;
        if (part.placeColumn && run.parts.empty()) {
            info.axis.stamps = part.stamps;
        } else if (part.placeColumn) {
            info.axis.stamps->last = part.stamps.last;
            info.axis.stamps->count += part.stamps.count;
            info.axis.stamps->resolution = std::min(info.axis.stamps->resolution, part.stamps.resolution);
        } else if (run.parts.empty()) {
            info.axis.first = segment.first.value_or(0.0);
            if (info.axis.unit != CUnitCtrl::DIM_TIME) {
                info_.remarks.push_back("the spacing of run " + std::to_string(number + 1) +
                                        " is that of its header, which may be rounded");
                info.axis.delta = segment.step.value_or(0.0);
            }
        }
        run.parts.push_back(part);
    }

    /// Goes through the places of all runs once more, now that their ends are known.
    void FindStrays(const ProgressFunction& progress) {
        std::vector<StrayFinder> ofRuns;
        ofRuns.reserve(runs_.size());
        for (std::size_t r = 0; r < runs_.size(); ++r) {
            if (info_.runs[r].axis.stamps) {
                ofRuns.emplace_back(&*info_.runs[r].axis.stamps);
                runs_[r].finder = &ofRuns.back();
            }
        }
        std::vector<std::vector<std::pair<const Part*, StrayFinder*>>> parts(segments_);
        for (const Run& run : runs_) {
            for (const Part& part : run.parts)
                if (run.finder != nullptr) parts[part.segment].emplace_back(&part, run.finder);
        }
        for (auto& ofSegment : parts) {
            std::ranges::stable_sort(ofSegment, std::ranges::greater(),
                                     [](const auto& part) { return part.first->stamps.count; });
        }
        SegmentRows rows(open_, options_);
        numbers_ = NumberReader();
        for (std::size_t s = 0; s < segments_ && rows.NextSegment(); ++s) {
            __int64 count = 0;
            for (; const Fields* const row = rows.NextRow(); ++count) {
                if ((count & 0xFFF) == 0 && progress) progress(rows.Lines().Position(), rows.Lines().Size());
                line_ = rows.Lines().Number();
                for (const auto& [part, finder] : parts[s]) {
                    if (count >= part->stamps.count) break;
                    const double place = NumberIn(*row, *part->placeColumn);
                    finder->Add({&place, 1});
                }
            }
        }
    }

    void SettleAxisOf(std::size_t number) {
        RecordedAxis& axis = info_.runs[number].axis;
        if (options_.firstColumnIsTime == false) axis.stamps.reset();
        if (axis.unit == CUnitCtrl::DIM_TIME || !axis.stamps) return;
        // What is not over time has a spacing or lists its places.
        if (axis.stamps->IsEven()) {
            axis.delta = axis.stamps->Step();
            axis.first = axis.stamps->first;
        } else {
            axis.isListed = true;
        }
        axis.stamps.reset();
    }

    // ---- samples ----

    void Enter(std::size_t run) {
        run_ = run;
        part_ = 0;
        row_ = 0;
        if (kept_.contains(run)) return;
        kept_.clear();
        numbers_ = NumberReader();
        // What lies behind is read on; anything else from the start.
        if (rows_ && segment_ >= runs_[run].parts[0].segment) rows_.reset();
        Keep(run);
    }

    /// Samples of a run that were read together with those of others from the same rows.
    struct Kept {
        std::vector<std::vector<double>> columns;
        std::vector<std::size_t> lines;
    };

    /// Reads a run and those behind it that lie in the same rows, as far as there is room for them: reading
    /// them one after the other would go through the rows for each.
    void Keep(std::size_t first) {
        constexpr std::uint64_t kMost = std::uint64_t{1} << 23;  // numbers
        std::uint64_t left = kMost;
        std::vector<std::size_t> chosen;
        for (std::size_t r = first; r < runs_.size() && SegmentOf(r) == SegmentOf(first); ++r) {
            const std::uint64_t columns = CountColumns(info_.runs[r]) + 1;  // and the number of the line
            const auto samples = static_cast<std::uint64_t>(info_.runs[r].samples);
            if (samples > left / columns) break;
            left -= samples * columns;
            chosen.push_back(r);
        }
        if (chosen.size() < 2) return;
        for (const std::size_t r : chosen) kept_[r].columns.resize(CountColumns(info_.runs[r]));
        for (std::size_t p = 0; p < runs_[first].parts.size(); ++p) {
            const auto countOf = [&](std::size_t r) { return runs_[r].parts[p].stamps.count; };
            std::ranges::stable_sort(chosen, std::ranges::greater(), countOf);
            for (__int64 row = 0; row < countOf(chosen.front()); ++row) {
                const Fields* const fields = RowOf(runs_[first].parts[p].segment);
                for (const std::size_t r : chosen) {
                    if (row >= countOf(r)) break;
                    TakeRow(*fields, r, runs_[r].parts[p]);
                }
            }
        }
    }

    void TakeRow(const Fields& fields, std::size_t run, const Part& part) {
        Kept& kept = kept_[run];
        kept.lines.push_back(rows_->Lines().Number());
        auto column = kept.columns.begin();
        if (info_.runs[run].axis.isListed) column++->push_back(NumberIn(fields, *part.placeColumn));
        for (const std::size_t at : part.columns) column++->push_back(NumberIn(fields, at));
    }

    std::size_t ReadKept(const Kept& kept, std::span<double* const> targets, std::size_t room) {
        const auto begin = static_cast<std::size_t>(row_);
        const std::size_t count = std::min(room, kept.lines.size() - begin);
        const auto lines = std::span(kept.lines).subspan(begin, count);
        lineNumbers_.assign(lines.begin(), lines.end());
        for (std::size_t c = 0; c < kept.columns.size(); ++c)
            if (targets[c] != nullptr) std::copy_n(kept.columns[c].data() + begin, count, targets[c]);
        row_ += static_cast<__int64>(count);
        return count;
    }

    /// The segment in which a run begins, which those have in common that lie in the same rows.
    std::size_t SegmentOf(std::size_t run) const { return runs_[run].parts[0].segment; }

    /// The next row of a segment that has one.
    const Fields* RowOf(std::size_t segment) {
        GoTo(segment);
        const Fields* const row = rows_->NextRow();
        if (row == nullptr) throw Error(ErrorKind::kHost, "it changed while it was read");
        return row;
    }

    /// Brings the rows of a segment next, unless they are being read.
    void GoTo(std::size_t segment) {
        if (!rows_) {
            rows_ = std::make_unique<SegmentRows>(open_, options_);
            rows_->NextSegment();
            segment_ = 0;
        }
        for (; segment_ < segment; ++segment_) {
            if (!rows_->NextSegment()) throw Error(ErrorKind::kHost, "it changed while it was read");
        }
    }

    OpenText open_;
    TextOptions options_;
    std::size_t segments_ = 0;
    std::vector<Run> runs_;
    std::size_t firstRun_ = 0;  ///< of the segment last surveyed
    std::size_t channels_ = 0;  ///< of all runs so far
    std::wstring before_;       ///< the dimension of its axis
    std::size_t line_ = 0;      ///< that is surveyed
    NumberReader numbers_;
    std::unique_ptr<SegmentRows> rows_;
    std::size_t segment_ = 0;           ///< whose rows come next
    std::map<std::size_t, Kept> kept_;  ///< by their runs
    std::size_t run_ = std::numeric_limits<std::size_t>::max();
    std::size_t part_ = 0;
    __int64 row_ = 0;                       ///< of the part, or of a run that is kept
    std::vector<std::size_t> lineNumbers_;  ///< of the rows last delivered
};

}  // namespace

std::unique_ptr<RecordingReader> OpenLoggerSegments(const OpenText& open, const TextOptions& options,
                                                    const ProgressFunction& progress) {
    {
        LineReader lines(open(), options.codePage, options.encodingName);
        const std::optional<std::string_view> first = lines.Next();
        if (!first || !IsLoggerText(*first)) return nullptr;
        LoggerHeaders headers(lines, options);
        const LoggerSegment segment = headers.ReadSegment();
        const bool isTable = segment.times != LoggerSegment::Times::perChannel && segment.areSamplesEqual &&
                             segment.dimension.empty();
        if (isTable && !HasMoreSegments(lines)) return nullptr;
    }
    for (const std::string& stated : options.Stated()) {
        if (stated != options.encodingName && stated != options.called.decimal) {
            throw Error(
                ErrorKind::kUnsupported,
                stated + " is for tables; the segments of this file say for themselves how they are read");
        }
    }
    return std::make_unique<LoggerReader>(open, options, progress);
}

}  // namespace kvx
