// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/LoggerHeader.h>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextNumbers.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {
namespace {

constexpr std::string_view kEndOfHeader = "***End_of_Header***";
constexpr std::string_view kStartOfSpecial = "***Start_Special***";
constexpr std::string_view kEndOfSpecial = "***End_Special***";

/// Keys of the file's block that say how it is written, which its reader knows better.
constexpr std::array<std::string_view, 7> kLayoutKeys = {"Writer_Version",    "Reader_Version", "Separator",
                                                         "Decimal_Separator", "Multi_Headings", "X_Columns",
                                                         "Time_Pref"};

}  // namespace

bool IsLoggerText(std::string_view firstLine) {
    return firstLine.starts_with(RowOf(Format::loggerText).marks.front());
}

std::string LoggerSegment::RateHint() const {
    return stepText.empty() ? "" : " (its header has the rounded step " + Quote(stepText) + " s)";
}

std::optional<StartTime> LoggerSegment::Start() const {
    if (NeedsDateOrder(date) && !OrderOf(date)) return std::nullopt;
    return ParseStartTime(date);
}

LoggerHeaders::LoggerHeaders(LineReader& lines, const TextOptions& options)
    : lines_(lines), decoder_(lines.CodePage(), options.encodingName) {
    ReadBlock(&file_);
    isFile_ = false;
}

bool LoggerHeaders::PassSpecial(std::string_view line) {
    if (!line.starts_with(kStartOfSpecial)) return false;
    while (const std::optional<std::string_view> next = lines_.Next()) {
        if (next->starts_with(kEndOfSpecial)) return true;
    }
    throw Error(ErrorKind::kDamaged, "a special block of its header does not end");
}

void LoggerHeaders::ReadBlock(LoggerSegment* segment) {
    Fields fields;
    while (const std::optional<std::string_view> next = lines_.Next()) {
        const std::string_view line = *next;
        if (PassSpecial(line)) continue;
        if (line.starts_with("Separator"))
            segment->separator = line.find("Comma") != line.npos ? kComma : kTab;
        Split(line, segment->separator, &fields);
        const std::string_view key = fields.front();
        const std::string_view value = fields.size() > 1 ? fields[1] : std::string_view();
        NumberReader numbers;
        if (key == kEndOfHeader) return;
        if (key == "X_Columns") {
            segment->times = value == "One"     ? LoggerSegment::Times::one
                             : value == "Multi" ? LoggerSegment::Times::perChannel
                                                : LoggerSegment::Times::none;
        } else if (key == "Delta_X") {
            segment->stepText = value;
            segment->step = numbers.Read(value);
        } else if (key == "X0") {
            segment->first = numbers.Read(value);
        } else if (key == "X_Dimension") {
            const std::wstring dimension = decoder_.Decode(value, line, 1);
            segment->dimension = IsTimeHeading({.name = dimension}) ? L"" : dimension;
        } else if (key == "Samples") {
            // Fields without a number are those of the comment and the end of the line.
            DropEmptyEnd(&fields);
            segment->areSamplesEqual = std::ranges::adjacent_find(fields.begin() + 1, fields.end(),
                                                                  std::not_equal_to<>()) == fields.end();
        } else if (key == "Y_Unit_Label") {
            units_.clear();
            for (std::size_t c = 1; c < fields.size(); ++c)
                units_.push_back(decoder_.Decode(fields[c], line, c));
        } else if (key == "Date" || key == "Time") {
            if (!isFile_ && !std::exchange(segment->isOwnDate, true)) segment->date.clear();
            segment->date += (segment->date.empty() ? "" : " ") + ToUtf8(decoder_.Decode(value, line, 1));
        }
        if (isFile_ && !key.empty() && !value.empty() &&
            std::ranges::find(kLayoutKeys, key) == kLayoutKeys.end())
            properties_.push_back(
                {ToUtf8(decoder_.Decode(key, line, 0)), ToUtf8(decoder_.Decode(value, line, 1))});
    }
    throw Error(ErrorKind::kDamaged, "its header does not end");
}

LoggerSegment LoggerHeaders::ReadSegment() {
    LoggerSegment segment = file_;
    units_.clear();
    ReadBlock(&segment);
    const std::optional<std::string_view> names = lines_.Next();
    if (!names) throw Error(ErrorKind::kDamaged, "its header does not end");
    Fields fields;
    Split(*names, segment.separator, &fields);
    if (fields.size() > kMaxColumns) {
        throw Error(ErrorKind::kUnsupported, "line " + std::to_string(lines_.Number()) + " has more than " +
                                                 std::to_string(kMaxColumns) + " columns");
    }
    DropEmptyEnd(&fields);
    if (!fields.empty() && fields.back() == "Comment") fields.pop_back();
    if (fields.size() < 2)
        throw Error(ErrorKind::kDamaged, "line " + std::to_string(lines_.Number()) + " names no channels");
    const std::size_t step = segment.times == LoggerSegment::Times::perChannel ? 2 : 1;
    for (std::size_t c = 1; c < fields.size(); c += step) {
        UnitHeading heading = {decoder_.Decode(fields[c], *names, c)};
        const std::size_t number = segment.channels.size();
        if (number < units_.size() && !units_[number].empty()) {
            heading.unit = ParseUnit(units_[number]);
            if (!heading.unit) heading.unknownUnit = units_[number];
        }
        segment.channels.push_back(std::move(heading));
    }
    return segment;
}

TextLayout ReadLoggerHeader(LineReader& lines, const TextOptions& options) {
    LoggerHeaders headers(lines, options);
    LoggerSegment segment = headers.ReadSegment();
    const bool hasTime = segment.times == LoggerSegment::Times::one;
    TextLayout layout;
    layout.separator = segment.separator;
    layout.extraIgnored = true;
    layout.firstIsTime = hasTime;
    layout.skipped = hasTime ? 0 : 1;
    layout.columns = segment.channels.size() + 1 - layout.skipped;
    layout.headings = std::move(segment.channels);
    if (hasTime) layout.headings.insert(layout.headings.begin(), {L"time"});
    layout.first = segment.first.value_or(0.0);
    layout.rateHint = segment.RateHint();
    layout.remark = headers.Remark();
    layout.properties = headers.Properties();
    layout.start = segment.Start();
    return layout;
}

}  // namespace kvx
