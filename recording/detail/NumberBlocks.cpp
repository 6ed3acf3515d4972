// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/NumberBlocks.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FortranNumber.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

/// Recordings of this kind have some tens of channels. The limit bounds the memory for their lines.
constexpr std::size_t kMostBlocks = 4096;

/// Reads a column of a run, forwards.
class ColumnReader {
public:
    ColumnReader(ByteStream& stream, std::size_t bufferBytes, const NumberColumn& column)
        : column_(column), lines_(stream, bufferBytes, column.block.position, column.block.line) {}

    /// The samples from number `start` on.
    void Read(std::int64_t start, std::span<double> samples) {
        const NumberBlock& block = column_.block;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::int64_t at = column_.first + (start + static_cast<std::int64_t>(i)) * column_.step;
            if (at / block.perLine >= nextLine_) Load(at / block.perLine);
            const double value = values_[static_cast<std::size_t>(at % block.perLine)];
            samples[i] = block.missing && value == *block.missing ? kNoValue<double> : value;
        }
    }

private:
    void Load(std::int64_t line) {
        const NumberBlock& block = column_.block;
        lines_.Skip(line - nextLine_);
        nextLine_ = line + 1;
        const std::int64_t number = lines_.Number();
        const std::string_view text = lines_.Require();
        values_.clear();
        const std::int64_t numbers = std::min(block.perLine, block.count - line * block.perLine);
        for (std::int64_t i = 0; i < numbers; ++i) {
            const std::size_t begin = static_cast<std::size_t>(i) * block.width;
            const std::string_view field =
                begin < text.size() ? text.substr(begin, block.width) : std::string_view();
            const std::optional<double> value = FixedNumber(field);
            if (!value) {
                throw Error(ErrorKind::kDamaged,
                            field.empty() ? "a number is missing" : Quote(Trim(field)) + " is not a number",
                            {.line = number, .column = i + 1});
            }
            values_.push_back(*value);
        }
    }

    NumberColumn column_;
    LineCursor lines_;
    std::int64_t nextLine_ = 0;   ///< of the block
    std::vector<double> values_;  ///< of the line in front of it
};

class NumberBlockReader : public RecordingReader {
public:
    NumberBlockReader(std::unique_ptr<ByteStream> stream, RecordingInfo info,
                      std::vector<std::vector<NumberColumn>> columns)
        : stream_(std::move(stream)), columns_(std::move(columns)) {
        info_ = std::move(info);
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        Enter(run);
        const __int64 left = info_.runs[run].samples - done_;
        const auto count =
            static_cast<std::size_t>(std::min(std::uint64_t{room}, static_cast<std::uint64_t>(left)));
        before_ = done_;
        WithErrors([&] {
            for (std::size_t c = 0; c < readers_.size() && count > 0; ++c) {
                if (targets[c] == nullptr) continue;
                if (!readers_[c]) readers_[c] = MakeReader(columns_[run][c]);
                readers_[c]->Read(done_, {targets[c], count});
            }
        });
        done_ += static_cast<__int64>(count);
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        Enter(run);
        done_ += std::clamp<__int64>(count, 0, info_.runs[run].samples - done_);
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        const NumberColumn& column = columns_.at(run_).at(channel);
        const std::int64_t at = column.first + (before_ + static_cast<std::int64_t>(index)) * column.step;
        return Error(
            kind, sentence,
            {.line = column.block.line + at / column.block.perLine, .column = at % column.block.perLine + 1});
    }

private:
    void Enter(std::size_t run) {
        RequireRun(run, columns_.size());
        if (run == run_) return;
        run_ = run;
        done_ = before_ = 0;
        readers_.clear();
        readers_.resize(columns_[run].size());
    }

    std::unique_ptr<ColumnReader> MakeReader(const NumberColumn& column) {
        constexpr std::size_t kBytes = std::size_t{1} << 22;  // for all columns of a run
        const std::size_t bytes =
            std::clamp(kBytes / readers_.size(), std::size_t{1} << 11, std::size_t{1} << 16);
        return std::make_unique<ColumnReader>(*stream_, bytes, column);
    }

    std::unique_ptr<ByteStream> stream_;
    std::vector<std::vector<NumberColumn>> columns_;  ///< per run
    std::vector<std::unique_ptr<ColumnReader>> readers_;
    std::size_t run_ = static_cast<std::size_t>(-1);
    __int64 done_ = 0;    ///< samples of the run that were read
    __int64 before_ = 0;  ///< those in front of the block last read
};

}  // namespace

// ---- lines ----

LineCursor::LineCursor(ByteStream& stream, std::size_t bufferBytes, std::uint64_t position, std::int64_t line)
    : stream_(&stream), buffer_(std::max(bufferBytes, kLongestLine + 2)), filled_(position), number_(line) {}

/// Reads on behind what is left of the buffer. Whether anything came.
bool LineCursor::Fill() {
    std::memmove(buffer_.data(), buffer_.data() + next_, end_ - next_);
    end_ -= next_;
    last_ = next_ = 0;
    if (end_ == buffer_.size()) return false;
    stream_->Seek(filled_);
    const std::size_t got = stream_->Read(buffer_.data() + end_, buffer_.size() - end_);
    end_ += got;
    filled_ += got;
    return got > 0;
}

std::optional<std::string_view> LineCursor::Next() {
    const auto find = [&] { return std::string_view(buffer_.data() + next_, end_ - next_).find('\n'); };
    std::size_t size = find();
    if (size == std::string_view::npos && Fill()) size = find();
    if (size == std::string_view::npos && next_ == end_) return std::nullopt;
    const bool isLast = size == std::string_view::npos;
    if (isLast) size = end_ - next_;
    if (size > kLongestLine) {
        throw Error(ErrorKind::kDamaged,
                    "a line of this format has at most " + std::to_string(kLongestLine) + " characters",
                    {.line = number_});
    }
    const std::string_view line(buffer_.data() + next_, size);
    last_ = next_;
    next_ += size + (isLast ? 0 : 1);
    ++number_;
    return line.substr(0, line.find_last_not_of(" \t\r\x1A") + 1);
}

std::string_view LineCursor::Require() {
    const std::optional<std::string_view> line = Next();
    if (!line) throw Error(ErrorKind::kDamaged, "the text ends too early", {.line = number_});
    return *line;
}

void LineCursor::Skip(std::int64_t lines) {
    for (; lines > 0; --lines) Require();
}

void LineCursor::StepBack() {
    next_ = last_;
    --number_;
}

// ---- numbers ----

std::size_t ColumnWidth(std::string_view line, std::size_t numbers) {
    return numbers > 0 && line.size() % numbers == 0 ? line.size() / numbers : 0;
}

std::vector<std::optional<double>> HeaderNumbers(LineCursor& lines, std::size_t count, std::size_t perLine,
                                                 std::size_t width) {
    std::vector<std::optional<double>> numbers;
    while (numbers.size() < count) {
        const std::string_view line = lines.Require();
        for (std::size_t i = 0; i < std::min(perLine, count) && numbers.size() < count; ++i) {
            const std::size_t begin = i * width;
            numbers.push_back(begin < line.size() ? FixedNumber(line.substr(begin, width)) : std::nullopt);
        }
    }
    return numbers;
}

std::int64_t HeaderCount(const std::optional<double>& number) {
    constexpr double kMost = 1e15;
    if (!number) return 0;
    if (*number >= 0.0 && *number <= kMost && *number == std::floor(*number))
        return static_cast<std::int64_t>(*number);
    throw Error(ErrorKind::kDamaged, "its header states " + FormatNumber(*number) + " as a count of samples");
}

NumberBlock TakeBlock(LineCursor& lines, std::int64_t count, std::int64_t perLine, std::size_t width) {
    NumberBlock block = {lines.Position(), lines.Number(), count, perLine, width, {}};
    const std::string_view first = lines.Require();
    std::int64_t inFirst = std::min(count, perLine);
    if (perLine == 0) block.perLine = inFirst = std::max<std::int64_t>(1, std::ranges::count(first, '.'));
    if (width == 0) block.width = ColumnWidth(first, static_cast<std::size_t>(inFirst));
    if (block.width == 0) {
        throw Error(ErrorKind::kDamaged, Count(inFirst, "number") + " in columns of one width were expected",
                    {.line = block.line});
    }
    lines.Skip((count - 1) / block.perLine);
    return block;
}

// ---- recordings ----

NumberRecording::NumberRecording(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {}

void NumberRecording::State(std::string name, const std::string& text) {
    if (!text.empty()) info_.properties.push_back({std::move(name), text});
}

void NumberRecording::RequireRoom(const NumberBlock& block) {
    if (++blocks_ <= kMostBlocks) return;
    throw Error(ErrorKind::kUnsupported,
                "it has more than " + std::to_string(kMostBlocks) + " blocks of numbers",
                {.line = block.line});
}

void NumberRecording::AddChannel(const std::wstring& title, double delta, RecordingInfo::Channel channel,
                                 const NumberBlock& block) {
    RequireRoom(block);
    if (!(delta > 0.0) || !std::isfinite(1.0 / delta))
        throw Error(ErrorKind::kDamaged, "its header states no interval of samples", {.line = block.line});
    if (info_.runs.empty() || info_.runs.back().axis.isListed || info_.runs.back().axis.delta != delta ||
        info_.runs.back().samples != block.count) {
        RecordingInfo::Run& run = info_.runs.emplace_back();
        run.title = title;
        run.axis.delta = delta;
        run.samples = block.count;
        columns_.emplace_back();
    }
    info_.runs.back().channels.push_back(std::move(channel));
    columns_.back().push_back({block});
}

void NumberRecording::AddTimedChannel(const std::wstring& title, RecordingInfo::Channel channel,
                                      const NumberBlock& block) {
    RecordingInfo::Run run;
    run.title = title;
    run.axis.isListed = true;
    run.samples = block.count / 2;
    run.channels.push_back(std::move(channel));
    AddRun(std::move(run), {{block, 0, 2}, {block, 1, 2}});
}

void NumberRecording::AddRun(RecordingInfo::Run run, std::vector<NumberColumn> columns) {
    for (const NumberColumn& column : columns) RequireRoom(column.block);
    info_.runs.push_back(std::move(run));
    columns_.push_back(std::move(columns));
}

std::unique_ptr<RecordingReader> NumberRecording::Finish() && {
    if (info_.runs.empty()) throw Error(ErrorKind::kDamaged, "it holds no samples");
    return std::make_unique<NumberBlockReader>(std::move(stream_), std::move(info_), std::move(columns_));
}

}  // namespace kvx
