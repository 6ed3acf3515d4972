// SPDX-License-Identifier: MIT
//
// The numbers of a dataset 58 from where they stand in the file, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxRecording01/detail/PlacedLines.h>

namespace kvx {

/// Where the numbers are and how they are held. A tuple is a place, if they are listed, and a value, complex
/// or not.
struct UffSamples {
    enum class Form { text, littleEndian, bigEndian };

    Form form = Form::text;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    __int64 count = 0;  ///< of tuples
    bool isListed = false;
    bool isComplex = false;
    std::size_t placeWidth = 0;  ///< in bytes, those of columns in a text
    std::size_t valueWidth = 0;

    std::size_t Parts() const { return (isListed ? 1U : 0U) + (isComplex ? 2U : 1U); }
    std::size_t Width(std::size_t part) const { return isListed && part == 0 ? placeWidth : valueWidth; }
    /// Bytes of a binary tuple.
    std::size_t TupleWidth() const { return (isListed ? placeWidth : 0) + valueWidth * (isComplex ? 2 : 1); }
};

/// Tuples of a line of text: as many as 80 columns have room for.
std::size_t UffTuplesOfLine(const UffSamples& samples);

/// What was read of a dataset.
struct UffCursor {
    explicit UffCursor(const UffSamples& samples) : position(samples.begin) {}

    __int64 done = 0;        ///< tuples
    std::uint64_t position;  ///< of the line that goes on, in a text
    std::size_t taken = 0;   ///< numbers of that line
};

class UffSampleReader {
public:
    /// The stream must outlive it.
    explicit UffSampleReader(ByteStream& stream) : stream_(stream), lines_(stream) {}

    /// The lines of the stream, which may be moved between two calls.
    PlacedLines& Lines() { return lines_; }
    /// Delivers the next tuples, of which there must be so many, to a target per part; null ones are not
    /// wanted. Throws Error, for what is no number with the sample, from 1.
    void Read(const UffSamples& samples, UffCursor* cursor, std::span<double* const> targets,
              std::size_t count);
    /// Passes over tuples.
    void Skip(const UffSamples& samples, UffCursor* cursor, __int64 count);
    /// How many numbers a text holds, counted up to `most`. Throws Error for what is none.
    std::uint64_t CountNumbers(const UffSamples& samples, std::uint64_t begin, std::uint64_t most);

private:
    void ReadBinary(const UffSamples& samples, __int64 first, std::span<double* const> targets,
                    std::size_t count);
    void ReadText(const UffSamples& samples, UffCursor* cursor, std::span<double* const> targets,
                  std::size_t count);
    bool ReadLine(const UffSamples& samples);

    ByteStream& stream_;
    PlacedLines lines_;
    std::vector<std::byte> bytes_;
    std::vector<double> numbers_;  ///< of the line last read
};

}  // namespace kvx
