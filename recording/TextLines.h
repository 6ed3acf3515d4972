// SPDX-License-Identifier: MIT
//
// Texts of any length, line by line: UTF-8, UTF-16 by a byte-order mark or by statement, or bytes of a code
// page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>

namespace kvx {

inline constexpr unsigned int kUtf16LittleEndianCodePage = 1200;
inline constexpr unsigned int kUtf16BigEndianCodePage = 1201;

/// How a person names encodings: "utf-8", and "auto" for none.
KVX_RECORDING_API std::vector<std::string> EncodingNames();
/// The code page of an encoding; 0 for "auto".
KVX_RECORDING_API unsigned int CodePageOf(std::string_view encoding);
/// How a person names a code page.
KVX_RECORDING_API std::string_view EncodingName(unsigned int codePage);

/// Opens a text at its start, as often as it is called.
using OpenText = std::function<std::unique_ptr<ByteStream>()>;

/// The text at `path` (UTF-8) in a code page that is stated, or 0; what cannot be opened twice, such as a
/// pipe, is kept in memory. Throws Error.
KVX_RECORDING_API OpenText OpenTextFile(const std::string& path, unsigned int codePage = 0);

/// Walks over lines that end in LF, CR LF or, in a text without any LF near its start, CR. Operations throw
/// Error for what is no text.
class KVX_RECORDING_API LineReader {
public:
    /// `codePage` is that of the text where it is stated, or 0; sentences name the statement `encodingName`.
    explicit LineReader(std::unique_ptr<ByteStream> stream, unsigned int codePage = 0,
                        const std::string& encodingName = "codePage");
    ~LineReader();

    /// The code page that the lines are in: that of UTF-8 for a text in UTF-16, 0 where neither a statement
    /// nor a byte-order mark says it.
    unsigned int CodePage() const;
    /// The next line, without its end; it lasts until the one after it is asked for. No value at the end.
    std::optional<std::string_view> Next();
    /// Makes the line last delivered the next one.
    void StepBack();
    /// The next lines with their ends: as many as `size` bytes have, at least one; they last as long as a
    /// line. Empty at the end. Count says how many they were, before anything else is asked for.
    std::string_view NextLines(std::size_t size);
    void Count(std::size_t lines) { number_ += lines; }
    /// What a line ends with, maybe behind a CR.
    char End() const { return end_; }
    /// Number of the line last delivered, from 1.
    std::size_t Number() const { return number_; }
    /// Bytes read so far, and bytes in all.
    std::uint64_t Position() const;
    std::uint64_t Size() const;

private:
    class Decoder;

    bool Append();

    std::unique_ptr<Decoder> decoder_;
    std::string text_;  ///< what was decoded, from the line last delivered on
    char end_ = '\n';
    std::size_t begin_ = 0;
    std::size_t next_ = 0;
    std::size_t number_ = 0;
    std::exception_ptr failure_;  ///< of what follows the text
};

}  // namespace kvx
