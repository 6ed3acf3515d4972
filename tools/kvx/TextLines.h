// SPDX-License-Identifier: MIT
//
// Texts of any length, line by line: UTF-8 or, with a byte-order mark, UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>

namespace kvx::tool {

/// Opens a text at its start, as often as it is called.
using OpenText = std::function<std::unique_ptr<ByteStream>()>;

/// The text at `path` (UTF-8); what cannot be opened twice, such as a pipe, is kept in memory. Throws Reason
/// or CFileException.
OpenText OpenTextFile(const std::string& path);

/// Walks over lines that end in LF, CR LF or, in a text without any LF near its start, CR, and delivers them
/// as UTF-8. Operations throw Reason for what is no text.
class LineReader {
public:
    explicit LineReader(std::unique_ptr<ByteStream> stream);
    ~LineReader();

    /// The next line, without its end; it lasts until the one after it is asked for. False at the end.
    bool Next(std::string_view* line);
    /// Makes the line last delivered the next one.
    void StepBack();
    /// Number of the line last delivered, from 1.
    std::size_t Number() const { return number_; }
    /// Bytes read so far, and bytes in all.
    std::uint64_t Position() const;
    std::uint64_t Size() const;

private:
    class Decoder;

    std::unique_ptr<Decoder> decoder_;
    std::string text_;  ///< what was decoded, from the line last delivered on
    char end_ = '\n';
    std::size_t begin_ = 0;
    std::size_t next_ = 0;
    std::size_t number_ = 0;
};

}  // namespace kvx::tool
