// SPDX-License-Identifier: MIT
//
// The headers of a logger's measurement file (.lvm): a block of keys and values for the file, then for each
// segment of data a block of its own and a line of headings.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/Recording.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/TextLayout.h>

namespace kvx {

/// What the headers say of the columns of a segment.
struct LoggerSegment {
    enum class Times { none, one, perChannel };

    char separator = kTab;
    Times times = Times::none;  ///< the columns of places on the axis
    std::vector<UnitHeading> channels = {};
    std::wstring dimension = {};       ///< of the axis of the first channel; empty for time
    std::optional<double> first = {};  ///< the stated place of the first sample
    std::optional<double> step = {};   ///< mostly rounded
    std::string stepText = {};         ///< as it is written
    std::string date = {};             ///< and time of the first channel, UTF-8
    bool isOwnDate = false;            ///< whether the date is not that of the file

    /// The date and time, unless they can be read in several ways.
    std::optional<StartTime> Start() const;
    bool areSamplesEqual = true;  ///< whether no channel is stated to be shorter than another

    /// What a sentence says of its rate.
    std::string RateHint() const;
    /// The column of a channel, and that of its places on the axis.
    std::size_t ChannelColumn(std::size_t channel) const {
        return times == Times::perChannel ? 2 * channel + 1 : channel + 1;
    }
    std::size_t PlaceColumn(std::size_t channel) const {
        return times == Times::perChannel ? 2 * channel : 0;
    }
};

/// The first field of a segment's block.
inline constexpr std::string_view kSegmentKey = "Channels";

/// Whether a text begins so with such a header.
bool IsLoggerText(std::string_view firstLine);

/// Walks over the headers of a file; what they say of it holds for all segments.
class LoggerHeaders {
public:
    /// Reads the block of the file, of which the first line is past. Throws Error.
    LoggerHeaders(LineReader& lines, const TextOptions& options);

    /// Reads the next block and the headings below it; leaves the lines in front of the data. Throws Error.
    LoggerSegment ReadSegment();
    /// Passes over a block of another kind, if the line begins one; whether it did.
    bool PassSpecial(std::string_view line);
    const std::vector<RecordingInfo::Property>& Properties() const { return properties_; }
    const std::string& Remark() const { return decoder_.Remark(); }

private:
    void ReadBlock(LoggerSegment* segment);

    LineReader& lines_;
    HeadingDecoder decoder_;
    LoggerSegment file_;  ///< what the block of the file says of segments
    std::vector<RecordingInfo::Property> properties_;
    std::vector<std::wstring> units_;  ///< of the channels of the block
    bool isFile_ = true;               ///< whether the block is that of the file
};

/// Reads the header of a file of one segment with at most one column of times, of which the first line is
/// past; leaves `lines` in front of the data. Throws Error.
TextLayout ReadLoggerHeader(LineReader& lines, const TextOptions& options);

}  // namespace kvx
