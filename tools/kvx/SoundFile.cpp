// SPDX-License-Identifier: MIT
#include "SoundFile.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>

#include <KvxDevCommon01/platform/File.h>

#include "Failure.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kBlockFrames = 1 << 15;

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

// ---- writing goes into memory, so that the target is replaced only by a whole file ----

struct MemoryFile {
    std::vector<std::byte> bytes;
    std::size_t position = 0;
};

MemoryFile& Memory(void* user) {
    return *static_cast<MemoryFile*>(user);
}

sf_count_t MemoryLength(void* user) {
    return static_cast<sf_count_t>(Memory(user).bytes.size());
}

sf_count_t MemoryTell(void* user) {
    return static_cast<sf_count_t>(Memory(user).position);
}

sf_count_t MemorySeek(sf_count_t offset, int whence, void* user) {
    MemoryFile& file = Memory(user);
    const sf_count_t base = whence == SEEK_SET   ? 0
                            : whence == SEEK_CUR ? MemoryTell(user)
                                                 : MemoryLength(user);
    file.position = static_cast<std::size_t>(std::max<sf_count_t>(0, base + offset));
    return MemoryTell(user);
}

sf_count_t MemoryRead(void* data, sf_count_t count, void* user) {
    MemoryFile& file = Memory(user);
    const std::size_t left = file.bytes.size() - std::min(file.bytes.size(), file.position);
    const std::size_t size = std::min(left, static_cast<std::size_t>(count));
    std::memcpy(data, file.bytes.data() + file.position, size);
    file.position += size;
    return static_cast<sf_count_t>(size);
}

sf_count_t MemoryWrite(const void* data, sf_count_t count, void* user) {
    MemoryFile& file = Memory(user);
    const auto size = static_cast<std::size_t>(count);
    try {
        if (file.position + size > file.bytes.size()) file.bytes.resize(file.position + size);
    } catch (const std::exception&) {
        return 0;  // the sound library reports a short write; nothing may be thrown through it
    }
    std::memcpy(file.bytes.data() + file.position, data, size);
    file.position += size;
    return count;
}

struct Encoding {
    WavSamples samples;
    int format;
    int integerBits;  ///< 0 for floating samples
    std::size_t bytes;
};

// clang-format off
constexpr Encoding kEncodings[] = {
    {WavSamples::pcm16,          SF_FORMAT_PCM_16, 16, 2},
    {WavSamples::pcm24,          SF_FORMAT_PCM_24, 24, 3},
    {WavSamples::floating,       SF_FORMAT_FLOAT,   0, 4},
    {WavSamples::doubleFloating, SF_FORMAT_DOUBLE,  0, 8},
};
// clang-format on

/// The integer sample of `bits` bits in the top bits of 32; +1.0 becomes the largest that there is.
int IntegerSample(double value, int bits) {
    const double scale = std::ldexp(1.0, bits - 1);
    const double level = std::clamp(std::nearbyint(value * scale), -scale, scale - 1.0);
    return static_cast<int>(level * std::ldexp(1.0, 32 - bits));
}

}  // namespace

std::optional<Recording> ReadSoundFile(const std::string& path, Progress& progress) {
    // A pipe cannot be looked at and then read again as text.
    if (!std::filesystem::is_regular_file(path)) return std::nullopt;
    SF_INFO info = {};
    const SoundHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        if (sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT) return std::nullopt;
        throw Reason(std::string("it is a damaged sound file: ") + sf_strerror(nullptr));
    }
    if (info.channels < 1 || info.samplerate < 1 || info.frames < 1)
        throw Reason("the sound file holds no samples");

    Recording recording;
    recording.rateHz = info.samplerate;
    const auto channels = static_cast<std::size_t>(info.channels);
    recording.channels.resize(channels);
    std::vector<double> block(kBlockFrames * channels);
    sf_count_t done = 0;
    while (const sf_count_t count = sf_readf_double(file.get(), block.data(), kBlockFrames)) {
        for (std::size_t c = 0; c < channels; ++c) {
            std::vector<double>& values = recording.channels[c].values;
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                values.push_back(block[i * channels + c]);
            }
        }
        done += count;
        progress.Update(static_cast<std::uint64_t>(done), static_cast<std::uint64_t>(info.frames));
    }
    if (done < info.frames) {
        throw Reason("the sound file ends after " + std::to_string(done) + " of " +
                     std::to_string(info.frames) + " samples");
    }
    for (const Recording::Channel& channel : recording.channels) {
        const auto bad = std::ranges::find_if_not(channel.values, [](double v) { return std::isfinite(v); });
        if (bad != channel.values.end()) {
            throw Reason("sample " + std::to_string(bad - channel.values.begin() + 1) +
                         " is not a finite number");
        }
    }
    return recording;
}

void WriteWavFile(const std::string& path, std::span<const std::vector<double>> channels, int rateHz,
                  WavSamples samples, Progress& progress) {
    const Encoding& encoding = *std::ranges::find(kEncodings, samples, &Encoding::samples);
    const std::size_t frames = channels.front().size();
    const std::uint64_t dataBytes = std::uint64_t{frames} * channels.size() * encoding.bytes;
    if (channels.size() > 1024) throw Reason("a WAV file holds at most 1024 channels");

    constexpr std::size_t kHeaderBytes = 4096;
    SF_INFO info = {};
    info.samplerate = rateHz;
    info.channels = static_cast<int>(channels.size());
    // Sizes in a plain WAV header have 32 bits.
    const bool large = dataBytes + kHeaderBytes > std::numeric_limits<std::uint32_t>::max();
    info.format = encoding.format | (large ? SF_FORMAT_RF64 : SF_FORMAT_WAV);

    MemoryFile memory;
    memory.bytes.reserve(static_cast<std::size_t>(dataBytes) + kHeaderBytes);
    SF_VIRTUAL_IO io = {MemoryLength, MemorySeek, MemoryRead, MemoryWrite, MemoryTell};
    SoundHandle file(sf_open_virtual(&io, SFM_WRITE, &info, &memory));
    if (!file) throw Reason(sf_strerror(nullptr));
    // Without the peak chunk, which holds the time of day, equal samples make equal files.
    sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);

    std::vector<double> block(kBlockFrames * channels.size());
    std::vector<int> integers(encoding.integerBits > 0 ? block.size() : 0);
    for (std::size_t begin = 0; begin < frames; begin += kBlockFrames) {
        const std::size_t count = std::min(kBlockFrames, frames - begin);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i) block[i * channels.size() + c] = channels[c][begin + i];
        }
        const auto countFrames = static_cast<sf_count_t>(count);
        sf_count_t written = 0;
        if (encoding.integerBits > 0) {
            std::ranges::transform(block, integers.begin(),
                                   [&](double v) { return IntegerSample(v, encoding.integerBits); });
            written = sf_writef_int(file.get(), integers.data(), countFrames);
        } else {
            written = sf_writef_double(file.get(), block.data(), countFrames);
        }
        if (written != countFrames) throw Reason(sf_strerror(file.get()));
        progress.Update(begin + count, frames);
    }
    if (sf_close(file.release()) != 0) throw Reason("the sound library could not finish the file");

    kvx::OutputFile output(WidePath(path));
    output.Write(memory.bytes.data(), memory.bytes.size());
    output.Commit();
}

}  // namespace kvx::tool
