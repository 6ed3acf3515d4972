// SPDX-License-Identifier: MIT
//
// Lines of a stream that can be moved, among which other bytes may stand: where each begins is known, and any
// place can be gone to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx {

class PlacedLines {
public:
    /// So many bytes can be read behind the end of each line.
    static constexpr std::size_t kRoomBehind = 64;

    /// The stream must outlive it, and may be moved by others between two lines.
    explicit PlacedLines(ByteStream& stream);

    std::uint64_t Size() const { return size_; }
    /// Where the next line begins.
    std::uint64_t Position() const { return position_ + begin_; }
    void MoveTo(std::uint64_t position);
    /// The next line without its LF or CR LF; it lasts until the next call. A line that is longer
    /// than 256 KiB comes in pieces. No value at the end.
    std::optional<std::string_view> Next() { return Next(kLongestLine); }
    /// As above, but what is longer than `longest` comes in pieces of that size or more.
    std::optional<std::string_view> Next(std::size_t longest);
    /// Whether the line last delivered had an end.
    bool WasEnded() const { return wasEnded_; }

private:
    static constexpr std::size_t kLongestLine = std::size_t{1} << 18;

    bool Append();

    ByteStream& stream_;
    std::uint64_t size_;
    std::uint64_t position_ = 0;  ///< of the first byte that is kept
    std::vector<char> bytes_;
    std::size_t begin_ = 0;  ///< the next line among those that are kept
    std::size_t end_ = 0;
    std::size_t piece_;
    bool wasEnded_ = true;
};

}  // namespace kvx
