// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/PlacedLines.h>

#include <algorithm>
#include <cstring>

namespace kvx {
namespace {

/// What is read at once behind a move, which often leads to a few lines only; more with every further piece.
constexpr std::size_t kFirstPiece = std::size_t{1} << 12;

}  // namespace

PlacedLines::PlacedLines(ByteStream& stream)
    : stream_(stream),
      size_(stream.Remaining()),
      bytes_(static_cast<std::size_t>(std::min<std::uint64_t>(size_, 2 * kLongestLine)) + kRoomBehind),
      piece_(kFirstPiece) {}

void PlacedLines::MoveTo(std::uint64_t position) {
    if (position >= position_ && position - position_ <= end_) {
        begin_ = static_cast<std::size_t>(position - position_);
        return;
    }
    position_ = position;
    begin_ = end_ = 0;
    piece_ = kFirstPiece;
}

std::optional<std::string_view> PlacedLines::Next(std::size_t longest) {
    std::size_t searched = begin_;
    const void* found = nullptr;
    while (true) {
        found = std::memchr(bytes_.data() + searched, '\n', end_ - searched);
        if (found != nullptr || end_ - begin_ >= longest) break;
        searched = end_ - begin_;
        if (!Append()) break;
    }
    wasEnded_ = found != nullptr;
    if (begin_ == end_) return std::nullopt;
    const char* const line = bytes_.data() + begin_;
    const char* const end = wasEnded_ ? static_cast<const char*>(found) : bytes_.data() + end_;
    auto length = static_cast<std::size_t>(end - line);
    begin_ += length + (wasEnded_ ? 1 : 0);
    if (wasEnded_ && length > 0 && line[length - 1] == '\r') --length;
    return std::string_view(line, length);
}

/// Moves the line that began to the front and appends the next bytes; whether there were any.
bool PlacedLines::Append() {
    std::memmove(bytes_.data(), bytes_.data() + begin_, end_ - begin_);
    position_ += begin_;
    end_ -= begin_;
    begin_ = 0;
    stream_.Seek(position_ + end_);
    const std::size_t room = bytes_.size() - kRoomBehind - end_;
    const std::size_t count = stream_.Read(bytes_.data() + end_, std::min(piece_, room));
    end_ += count;
    std::fill_n(bytes_.data() + end_, kRoomBehind, '\0');
    piece_ = std::min(2 * piece_, kLongestLine);
    return count > 0;
}

}  // namespace kvx
