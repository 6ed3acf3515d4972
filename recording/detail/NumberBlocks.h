// SPDX-License-Identifier: MIT
//
// Blocks of numbers in columns of one width, as Fortran programs write them, and recordings whose channels
// are such blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// Walks over the lines of a text from any place of a stream, which several may share. Operations throw Error
/// for a line of more than kLongestLine bytes.
class LineCursor {
public:
    static constexpr std::size_t kLongestLine = 1000;

    /// The line at `position` has the number `line`, from 1.
    explicit LineCursor(ByteStream& stream, std::size_t bufferBytes = std::size_t{1} << 16,
                        std::uint64_t position = 0, std::int64_t line = 1);

    /// The next line without blanks behind it; it lasts until the next call. No value at the end.
    std::optional<std::string_view> Next();
    /// The next line, and an Error where there is none.
    std::string_view Require();
    /// Passes over lines, of which all must be there.
    void Skip(std::int64_t lines);
    /// Makes the line last delivered the next one.
    void StepBack();

    /// Where the next line begins, and its number.
    std::uint64_t Position() const { return filled_ - (end_ - next_); }
    std::int64_t Number() const { return number_; }

private:
    bool Fill();

    ByteStream* stream_;
    std::vector<char> buffer_;
    std::size_t last_ = 0;  ///< where the line last delivered begins in the buffer
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    std::uint64_t filled_;  ///< where in the stream the end of the buffer is
    std::int64_t number_;
};

/// The width of columns, right-justified numbers of which fill a line without blanks behind it; 0 where there
/// is none.
std::size_t ColumnWidth(std::string_view line, std::size_t numbers);

/// The next `count` numbers of a header, `perLine` to a line, in columns of one width; no value for what is
/// none.
std::vector<std::optional<double>> HeaderNumbers(LineCursor& lines, std::size_t count, std::size_t perLine,
                                                 std::size_t width);

/// A count that a header states; 0 for what is none. Throws Error for one that is not whole or below 0.
std::int64_t HeaderCount(const std::optional<double>& number);

/// Numbers that follow each other in lines.
struct NumberBlock {
    std::uint64_t position = 0;  ///< of its first line in the stream
    std::int64_t line = 1;       ///< number of that line
    std::int64_t count = 0;
    std::int64_t perLine = 1;
    std::size_t width = 1;
    std::optional<double> missing = {};  ///< what stands for a sample without a value
};

/// Lays a block of `count` numbers out at the next line and passes over it. Where they are 0, the length of
/// its first line tells the width of columns, and the decimal points in it how many there are. Throws Error
/// when the lines are not there.
NumberBlock TakeBlock(LineCursor& lines, std::int64_t count, std::int64_t perLine = 0, std::size_t width = 0);

/// What a column of a run is: each `step`th number of a block from `first` on.
struct NumberColumn {
    NumberBlock block;
    std::int64_t first = 0;
    std::int64_t step = 1;
};

/// A recording of blocks of numbers in the making.
class NumberRecording {
public:
    explicit NumberRecording(std::unique_ptr<ByteStream> stream);

    ByteStream& Stream() { return *stream_; }
    RecordingInfo& Info() { return info_; }
    /// Adds a fact of the file, unless it is empty.
    void State(std::string name, const std::string& text);
    /// Adds an evenly spaced channel of all numbers of a block, to the last run if that has its axis and
    /// count.
    void AddChannel(const std::wstring& title, double delta, RecordingInfo::Channel channel,
                    const NumberBlock& block);
    /// Adds a run of one channel whose block has the time in front of each sample.
    void AddTimedChannel(const std::wstring& title, RecordingInfo::Channel channel, const NumberBlock& block);
    /// Adds a run whose columns are these.
    void AddRun(RecordingInfo::Run run, std::vector<NumberColumn> columns);
    /// Throws Error when there are no channels.
    std::unique_ptr<RecordingReader> Finish() &&;

private:
    void RequireRoom(const NumberBlock& block);

    std::unique_ptr<ByteStream> stream_;
    RecordingInfo info_;
    std::vector<std::vector<NumberColumn>> columns_;  ///< per run
    std::size_t blocks_ = 0;
};

}  // namespace kvx
