// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/SoundHeader.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ByteOrder.h>

namespace kvx {
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
        return LoadWhole(Bytes(field.position, field.bytes), field.isBigEndian);
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
    BytePatch patch = {field.position, field.bytes, std::string(field.bytes, '\0')};
    for (std::size_t i = 0; i < field.bytes; ++i, size >>= 8) {
        patch.bytes[field.isBigEndian ? field.bytes - 1 - i : i] = static_cast<char>(size & 0xFF);
    }
    return patch;
}

std::string LittleEndian(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i, number >>= 8) bytes += static_cast<char>(number & 0xFF);
    return bytes;
}

/// The header of a WAV file, up to the samples at `body`, as that of an RF64 file, whose sizes have room for
/// the `held` bytes of samples. Empty for an extraordinarily long one.
BytePatch LargeHeader(FieldReader& fields, std::uint64_t body, std::uint64_t held) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 20;
    constexpr std::size_t kTag = 12;
    if (body > kMost || body < kTag) return {};
    const std::string none(4, '\xFF');
    BytePatch patch = {0, body, "RF64" + none + "WAVEds64" + LittleEndian(28, 4)};
    patch.bytes += LittleEndian(body + 28 + held, 8) + LittleEndian(held, 8) + std::string(12, '\0');
    for (std::uint64_t at = kTag; at + 4 < body;) {
        const std::string_view bytes = fields.Bytes(at, std::min<std::uint64_t>(16, body - 4 - at));
        if (bytes.empty()) return {};
        patch.bytes += bytes;
        at += bytes.size();
    }
    patch.bytes += none;
    return patch;
}

struct Chunk {
    std::string name;  ///< its first four letters
    SizeField field;
    std::uint64_t size;  ///< as its field states it
    std::uint64_t body;
    std::uint64_t next;  ///< that of the file where its size does not fit
    bool isWhole;        ///< whether its size fits
};

/// The chunk at `at`; no value at the end of the file.
std::optional<Chunk> ReadChunk(FieldReader& fields, const ChunkLayout& layout, std::uint64_t at) {
    const std::uint64_t head = layout.nameBytes + layout.sizeBytes;
    if (fields.Size() < head || at > fields.Size() - head) return std::nullopt;
    const SizeField field = {at + layout.nameBytes, layout.sizeBytes, layout.isBigEndian};
    Chunk chunk = {
        std::string(fields.Bytes(at, 4)), field, fields.Number(field), at + head, fields.Size(), false};
    const std::uint64_t size = chunk.size - (layout.countsItself ? std::min(chunk.size, head) : 0);
    if (size <= fields.Size() - chunk.body) {
        chunk.isWhole = true;
        chunk.next = chunk.body + size + (layout.alignment - size % layout.alignment) % layout.alignment;
    }
    return chunk;
}

bool IsChunkAt(FieldReader& fields, const ChunkLayout& layout, std::uint64_t at) {
    const std::optional<Chunk> chunk = ReadChunk(fields, layout, at);
    return chunk && chunk->isWhole && IsChunkName(chunk->name);
}

/// Samples from `begin` on, of which the header states `stated` bytes, in a field that also counts `others`.
/// `padding` bytes behind the samples align the next chunk, if the format has chunks.
SampleBytes Measure(FieldReader& fields, std::uint64_t begin, std::uint64_t stated, std::uint64_t padding,
                    const SizeField& field, std::uint64_t others, const ChunkLayout* layout) {
    const std::uint64_t rest = fields.Size() - std::min(begin, fields.Size());
    const bool endsInside = stated <= rest;
    const bool isFollowed =
        endsInside && layout != nullptr &&
        (IsChunkAt(fields, *layout, begin + stated) || IsChunkAt(fields, *layout, begin + stated + padding));
    const BytePatch actualSize = MakePatch(field, rest + others);
    if (IsPlaceholder(stated) && stated != rest && !isFollowed) return {std::nullopt, rest, 0, actualSize};
    if (!endsInside) return {stated, rest, 0, actualSize};
    return {stated, stated, isFollowed || rest - stated <= padding ? 0 : rest - stated - padding};
}

std::optional<SampleBytes> FindChunk(FieldReader& fields, const ChunkLayout& layout) {
    const std::uint64_t head = layout.nameBytes + layout.sizeBytes;
    std::optional<SizeField> large;  // of the samples of an RF64 file
    for (auto chunk = ReadChunk(fields, layout, layout.first); chunk;
         chunk = ReadChunk(fields, layout, chunk->next)) {
        if (chunk->name == "ds64") large = {chunk->body + 8, 8, false};
        if (chunk->name != layout.samples) continue;
        SizeField field = chunk->field;
        std::uint64_t size = chunk->size;
        if (large && size == kAllOnes32) size = fields.Number(field = *large);
        const std::uint64_t others = (layout.countsItself ? head : 0) + layout.prefix;
        const std::uint64_t stated = size == kAllOnes64 ? size : size - std::min(size, others);
        const std::uint64_t padding = (layout.alignment - size % layout.alignment) % layout.alignment;
        SampleBytes found =
            Measure(fields, chunk->body + layout.prefix, stated, padding, field, others, &layout);
        if (!found.stated && found.actualSize.bytes.empty() && &layout == &kRiff)
            found.actualSize = LargeHeader(fields, chunk->body, found.held);
        return found;
    }
    return std::nullopt;
}

/// Where the content of the first chunk of that name begins.
std::optional<std::uint64_t> FindBody(FieldReader& fields, const ChunkLayout& layout, std::string_view name) {
    for (auto chunk = ReadChunk(fields, layout, layout.first); chunk;
         chunk = ReadChunk(fields, layout, chunk->next)) {
        if (chunk->name == name) return chunk->body;
    }
    return std::nullopt;
}

const ChunkLayout& RiffLayout(FieldReader& fields) {
    return fields.Bytes(0, 4) == "RIFX" ? kRifx : kRiff;
}

}  // namespace

std::optional<SampleBytes> FindSamples(InputFile& file, Format format) {
    FieldReader fields(file);
    switch (format) {
        case Format::wav:
            return FindChunk(fields, RiffLayout(fields));
        case Format::rf64:
            return FindChunk(fields, kRiff);
        case Format::wave64:
            return FindChunk(fields, kWave64);
        case Format::aiff:
            return FindChunk(fields, kAiff);
        case Format::caf:
            return FindChunk(fields, kCaf);
        case Format::au: {
            const bool isBigEndian = fields.Bytes(0, 4) == ".snd";
            const SizeField size = {8, 4, isBigEndian};
            return Measure(fields, fields.Number({4, 4, isBigEndian}), fields.Number(size), 0, size, 0,
                           nullptr);
        }
        default:
            return std::nullopt;
    }
}

namespace {

/// Where a header states the rate and the number of channels.
struct FormatFields {
    std::uint64_t rate;
    SizeField channels;
};

std::optional<FormatFields> FindFormat(FieldReader& fields, Format format) {
    const auto from = [](std::optional<std::uint64_t> body, std::uint64_t rate,
                         const SizeField& channels) -> std::optional<FormatFields> {
        if (!body) return std::nullopt;
        return FormatFields{*body + rate, {*body + channels.position, channels.bytes, channels.isBigEndian}};
    };
    switch (format) {
        case Format::wav:
        case Format::rf64: {
            const ChunkLayout& layout = RiffLayout(fields);
            return from(FindBody(fields, layout, "fmt "), 4, {2, 2, layout.isBigEndian});
        }
        case Format::wave64:
            return from(FindBody(fields, kWave64, "fmt "), 4, {2, 2, false});
        case Format::aiff:
            return from(FindBody(fields, kAiff, "COMM"), 8, {0, 2, true});
        case Format::caf:
            return from(FindBody(fields, kCaf, "desc"), 0, {24, 4, true});
        case Format::au:
            return from(0, 16, {20, 4, fields.Bytes(0, 4) == ".snd"});
        default:
            return std::nullopt;
    }
}

double RateAt(FieldReader& fields, std::uint64_t at, Format format, bool isBigEndian) {
    if (format == Format::caf) return std::bit_cast<double>(fields.Number({at, 8, true}));
    if (format != Format::aiff) return static_cast<double>(fields.Number({at, 4, isBigEndian}));
    // Ten bytes: sign and exponent, then 64 bits of which the first is the whole part.
    const auto exponent = static_cast<int>(fields.Number({at, 2, true}));
    const auto mantissa = static_cast<double>(fields.Number({at + 2, 8, true}));
    return std::ldexp(mantissa, exponent - 16383 - 63);
}

}  // namespace

std::optional<double> FindRate(InputFile& file, Format format) {
    if (format != Format::aiff && format != Format::caf) return std::nullopt;
    FieldReader fields(file);
    const std::optional<FormatFields> found = FindFormat(fields, format);
    if (!found) return std::nullopt;
    return RateAt(fields, found->rate, format, true);
}

void RequireRateAndChannels(InputFile& file, Format format) {
    constexpr std::uint64_t kMostChannels = 1024;  // of the sound library
    FieldReader fields(file);
    double rate = 1.0;
    std::uint64_t channels = 1;
    if (format == Format::flac) {
        constexpr SizeField kRate = {18, 3, true};  // 20 bits
        rate = static_cast<double>(fields.Number(kRate) >> 4);
    } else if (const std::optional<FormatFields> found = FindFormat(fields, format)) {
        rate = RateAt(fields, found->rate, format, found->channels.isBigEndian);
        channels = fields.Number(found->channels);
    }
    const std::string damaged = "it is a damaged sound file: its header states ";
    if (!(rate >= 1.0 && rate <= std::numeric_limits<int>::max()))
        throw Error(ErrorKind::kDamaged, damaged + "a rate of " + FormatNumber(rate) + " Hz");
    if (channels < 1 || channels > kMostChannels) {
        throw Error(ErrorKind::kDamaged,
                    damaged + (channels < 1 ? "no channels" : std::to_string(channels) + " channels"));
    }
}

void RequireReadableSamples(InputFile& file, Format format) {
    FieldReader fields(file);
    const bool isRiff = format == Format::wav || format == Format::rf64;
    if (!isRiff && format != Format::wave64) return;
    const ChunkLayout& layout = isRiff ? RiffLayout(fields) : kWave64;
    const std::optional<std::uint64_t> body = FindBody(fields, layout, "fmt ");
    if (!body) return;
    const auto number = [&](std::uint64_t offset) {
        return fields.Number({*body + offset, 2, layout.isBigEndian});
    };
    // The sound library could decode MPEG audio, but prints what it finds wrong, and pads the samples.
    constexpr std::uint64_t kMpeg = 0x50;
    constexpr std::uint64_t kMpegLayer3 = 0x55;
    if (number(0) == kMpeg || number(0) == kMpegLayer3)
        throw Error(ErrorKind::kUnsupported, "its samples are MP3, which is not read");
    constexpr std::uint64_t kPlain[] = {1, 3, 0xFFFE};  // whole, floating, and those with their kind behind
    if (std::ranges::find(kPlain, number(0)) == std::end(kPlain)) return;
    const std::uint64_t channels = number(2);
    const std::uint64_t stated = number(12);
    const std::uint64_t bits = number(14);
    if (stated == 0 || stated == channels * ((bits + 7) / 8)) return;
    throw Error(ErrorKind::kDamaged, "it is a damaged sound file: its header states " +
                                         std::to_string(stated) + " bytes for a sample of " +
                                         Count(static_cast<long long>(channels), "channel") + " of " +
                                         std::to_string(bits) + " bits");
}

}  // namespace kvx
