// SPDX-License-Identifier: MIT
#include "SoundHeader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "Failure.h"

namespace kvx::tool {
namespace {

/// How the chunks of a format follow each other: a name, a size and what the size counts.
struct ChunkLayout {
    std::uint64_t first;  ///< where the first one begins
    std::size_t nameBytes;
    std::size_t sizeBytes;
    bool isBigEndian;
    bool countsItself;  ///< whether the size includes name and size
    std::uint64_t alignment;
    std::string_view samples;  ///< how the name of the one with the samples begins
    std::uint64_t prefix;      ///< bytes in front of the samples
};

constexpr ChunkLayout kRiff = {12, 4, 4, false, false, 2, "data", 0};
constexpr ChunkLayout kRifx = {12, 4, 4, true, false, 2, "data", 0};
constexpr ChunkLayout kWave64 = {40, 16, 8, false, true, 8, "data", 0};
constexpr ChunkLayout kAiff = {12, 4, 4, true, false, 2, "SSND", 8};
constexpr ChunkLayout kCaf = {8, 4, 8, true, false, 1, "data", 4};

constexpr std::uint64_t kAllOnes32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kAllOnes64 = std::numeric_limits<std::uint64_t>::max();

/// A whole number in a header.
struct SizeField {
    std::uint64_t position;
    std::size_t bytes;
    bool isBigEndian;
};

/// Reads what stands at any place of a file.
class FieldReader {
public:
    explicit FieldReader(InputFile& file) : file_(file) {
        file_.Seek(0);
        size_ = file_.Remaining();
    }

    std::uint64_t Size() const { return size_; }

    /// The bytes at `position`; fewer at the end of the file.
    std::string_view Bytes(std::uint64_t position, std::size_t count) {
        file_.Seek(std::min(position, size_));
        return {bytes_.data(), file_.Read(bytes_.data(), std::min(count, bytes_.size()))};
    }

    std::uint64_t Number(const SizeField& field) {
        std::uint64_t number = 0;
        const std::string_view bytes = Bytes(field.position, field.bytes);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const char byte = bytes[field.isBigEndian ? i : bytes.size() - 1 - i];
            number = number << 8 | static_cast<unsigned char>(byte);
        }
        return number;
    }

private:
    InputFile& file_;
    std::uint64_t size_ = 0;
    std::array<char, 16> bytes_ = {};
};

bool IsChunkName(std::string_view name) {
    return name.size() == 4 && std::ranges::all_of(name, [](char c) { return c >= ' ' && c <= '~'; });
}

/// Whether a size is what programs write that send sound to a pipe and cannot come back to the header: 0, all
/// bits, or nearly the largest number, as much smaller as headers are.
bool IsPlaceholder(std::uint64_t size) {
    constexpr std::uint64_t kHeader = 4096;
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 31;
    return size == 0 || size == kAllOnes64 || (size <= kAllOnes32 && size > kAllOnes32 - kHeader) ||
           (size <= kHalf && size >= kHalf - kHeader);
}

BytePatch MakePatch(const SizeField& field, std::uint64_t size) {
    if (field.bytes < 8 && size >> 8 * field.bytes != 0) return {};
    BytePatch patch = {field.position, std::string(field.bytes, '\0')};
    for (std::size_t i = 0; i < field.bytes; ++i, size >>= 8) {
        patch.bytes[field.isBigEndian ? field.bytes - 1 - i : i] = static_cast<char>(size & 0xFF);
    }
    return patch;
}

/// Samples from `begin` on, of which the header states `stated` bytes, in a field that also counts `others`.
/// `padding` bytes behind the samples align the next chunk.
SampleBytes Measure(FieldReader& fields, std::uint64_t begin, std::uint64_t stated, std::uint64_t padding,
                    const SizeField& field, std::uint64_t others) {
    const std::uint64_t rest = fields.Size() - std::min(begin, fields.Size());
    const bool endsInside = stated <= rest;
    const bool isFollowed = endsInside && (IsChunkName(fields.Bytes(begin + stated, 4)) ||
                                           IsChunkName(fields.Bytes(begin + stated + padding, 4)));
    const BytePatch actualSize = MakePatch(field, rest + others);
    if (IsPlaceholder(stated) && stated != rest && !isFollowed) return {std::nullopt, rest, 0, actualSize};
    if (!endsInside) return {stated, rest, 0, actualSize};
    return {stated, stated, isFollowed || rest - stated <= padding ? 0 : rest - stated - padding};
}

/// Refuses MPEG audio in a WAV file by its number: the sound library could decode it, but prints what it
/// finds wrong, and pads the samples.
void RequireNoMpeg(std::uint64_t coding) {
    constexpr std::uint64_t kMpeg = 0x50;
    constexpr std::uint64_t kMpegLayer3 = 0x55;
    if (coding == kMpeg || coding == kMpegLayer3) throw Reason("its samples are MP3, which is not read");
}

std::optional<SampleBytes> FindChunk(FieldReader& fields, const ChunkLayout& layout) {
    const std::uint64_t head = layout.nameBytes + layout.sizeBytes;
    std::optional<SizeField> large;  // of the samples of an RF64 file
    for (std::uint64_t at = layout.first; at + head <= fields.Size();) {
        const std::string name(fields.Bytes(at, 4));
        SizeField field = {at + layout.nameBytes, layout.sizeBytes, layout.isBigEndian};
        std::uint64_t size = fields.Number(field);
        const std::uint64_t body = at + head;
        if (name == "ds64") large = {body + 8, 8, false};
        if (name == "fmt ") RequireNoMpeg(fields.Number({body, 2, layout.isBigEndian}));
        if (name == layout.samples) {
            if (large && size == kAllOnes32) size = fields.Number(field = *large);
            const std::uint64_t others = (layout.countsItself ? head : 0) + layout.prefix;
            const std::uint64_t stated = size == kAllOnes64 ? size : size - std::min(size, others);
            const std::uint64_t padding = (layout.alignment - size % layout.alignment) % layout.alignment;
            return Measure(fields, body + layout.prefix, stated, padding, field, others);
        }
        if (layout.countsItself) size -= std::min(size, head);
        if (size > fields.Size() - body) break;
        at = body + size + (layout.alignment - size % layout.alignment) % layout.alignment;
    }
    return std::nullopt;
}

}  // namespace

std::optional<SampleBytes> FindSamples(InputFile& file, SoundFormat format) {
    FieldReader fields(file);
    switch (format) {
        case SoundFormat::wav:
            return FindChunk(fields, fields.Bytes(0, 4) == "RIFX" ? kRifx : kRiff);
        case SoundFormat::rf64:
            return FindChunk(fields, kRiff);
        case SoundFormat::wave64:
            return FindChunk(fields, kWave64);
        case SoundFormat::aiff:
            return FindChunk(fields, kAiff);
        case SoundFormat::caf:
            return FindChunk(fields, kCaf);
        case SoundFormat::au: {
            const bool isBigEndian = fields.Bytes(0, 4) == ".snd";
            const SizeField size = {8, 4, isBigEndian};
            return Measure(fields, fields.Number({4, 4, isBigEndian}), fields.Number(size), 0, size, 0);
        }
        case SoundFormat::flac:
            break;
    }
    return std::nullopt;
}

}  // namespace kvx::tool
