// SPDX-License-Identifier: MIT
#include "SoundFile.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/File.h>

#include "Failure.h"

namespace kvx::tool {
namespace {

/// Frames of a block, so that its size does not depend on the number of channels.
std::size_t BlockFrames(std::size_t channels) {
    constexpr std::size_t kBlockSamples = 1 << 17;
    return std::max<std::size_t>(1, kBlockSamples / channels);
}

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

// ---- a file being written, as the sound library wants it ----

struct OutputTarget {
    OutputFile file;
    sf_count_t position = 0;
    sf_count_t length = 0;
    std::exception_ptr failure = nullptr;  ///< nothing may be thrown through the sound library
};

OutputTarget& Target(void* user) {
    return *static_cast<OutputTarget*>(user);
}

sf_count_t TargetLength(void* user) {
    return Target(user).length;
}

sf_count_t TargetTell(void* user) {
    return Target(user).position;
}

sf_count_t TargetSeek(sf_count_t offset, int whence, void* user) {
    OutputTarget& target = Target(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? target.position : target.length;
    target.position = std::max<sf_count_t>(0, base + offset);
    return target.position;
}

sf_count_t TargetRead(void*, sf_count_t, void*) {
    return 0;
}

sf_count_t TargetWrite(const void* data, sf_count_t count, void* user) {
    OutputTarget& target = Target(user);
    try {
        target.file.Seek(static_cast<std::uint64_t>(target.position));
        target.file.Write(data, static_cast<std::size_t>(count));
    } catch (...) {
        target.failure = std::current_exception();
        return 0;
    }
    target.position += count;
    target.length = std::max(target.length, target.position);
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

class SoundReader : public RecordingReader {
public:
    SoundReader(SoundHandle file, const SF_INFO& info) : file_(std::move(file)) {
        info_.rateHz = info.samplerate;
        info_.samples = info.frames;
        info_.hasFullScale = true;
        info_.channels.resize(static_cast<std::size_t>(info.channels));
    }

    std::size_t Read(std::span<double* const> targets, std::size_t room) override {
        const std::size_t channels = info_.channels.size();
        const std::size_t blockFrames = BlockFrames(channels);
        block_.resize(blockFrames * channels);
        std::size_t done = 0;
        while (done < room) {
            const std::size_t wanted = std::min(room - done, blockFrames);
            const sf_count_t got =
                sf_readf_double(file_.get(), block_.data(), static_cast<sf_count_t>(wanted));
            const auto count = static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
            for (std::size_t i = 0; i < count * channels; ++i) {
                if (std::isfinite(block_[i])) continue;
                throw Reason("sample " + std::to_string(done_ + static_cast<__int64>(i / channels) + 1) +
                             " is not a finite number");
            }
            for (std::size_t c = 0; c < channels; ++c) {
                if (targets[c] == nullptr) continue;
                for (std::size_t i = 0; i < count; ++i) targets[c][done + i] = block_[i * channels + c];
            }
            done += count;
            done_ += static_cast<__int64>(count);
            if (count == 0) break;
        }
        if (done < room && done_ < info_.samples) {
            throw Reason("the sound file ends after " + std::to_string(done_) + " of " +
                         std::to_string(info_.samples) + " samples");
        }
        return done;
    }

private:
    SoundHandle file_;
    std::vector<double> block_;
    __int64 done_ = 0;
};

}  // namespace

std::unique_ptr<RecordingReader> OpenSoundFile(const std::string& path) {
    SF_INFO info = {};
    SoundHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        if (sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT) return nullptr;
        throw Reason(std::string("it is a damaged sound file: ") + sf_strerror(nullptr));
    }
    if (info.channels < 1 || info.samplerate < 1 || info.frames < 1)
        throw Reason("the sound file holds no samples");
    return std::make_unique<SoundReader>(std::move(file), info);
}

struct WavWriter::State {
    OutputTarget target;
    const Encoding& encoding;
    std::size_t channels;
    SoundHandle sound = nullptr;
    std::vector<double> block = {};
    std::vector<int> integers = {};

    [[noreturn]] void Fail(const char* otherwise) const {
        if (target.failure) std::rethrow_exception(target.failure);
        throw Reason(otherwise);
    }
};

WavWriter::WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz,
                     WavSamples samples) {
    const Encoding& encoding = *std::ranges::find(kEncodings, samples, &Encoding::samples);
    if (channels > 1024) throw Reason("a WAV file holds at most 1024 channels");
    state_.reset(new State{{OutputFile(WidePath(path))}, encoding, channels});

    constexpr std::size_t kHeaderBytes = 4096;
    const std::uint64_t dataBytes = static_cast<std::uint64_t>(frames) * channels * encoding.bytes;
    SF_INFO info = {};
    info.samplerate = rateHz;
    info.channels = static_cast<int>(channels);
    // Sizes in a plain WAV header have 32 bits.
    const bool large = dataBytes + kHeaderBytes > std::numeric_limits<std::uint32_t>::max();
    info.format = encoding.format | (large ? SF_FORMAT_RF64 : SF_FORMAT_WAV);
    SF_VIRTUAL_IO io = {TargetLength, TargetSeek, TargetRead, TargetWrite, TargetTell};
    state_->sound.reset(sf_open_virtual(&io, SFM_WRITE, &info, &state_->target));
    if (!state_->sound) state_->Fail(sf_strerror(nullptr));
    // Without the peak chunk, which holds the time of day, equal samples make equal files.
    sf_command(state_->sound.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

WavWriter::~WavWriter() = default;

void WavWriter::Write(std::span<const double* const> channels, std::size_t count) {
    State& state = *state_;
    const std::size_t blockFrames = BlockFrames(state.channels);
    state.block.resize(blockFrames * state.channels);
    for (std::size_t begin = 0; begin < count; begin += blockFrames) {
        const std::size_t frames = std::min(blockFrames, count - begin);
        for (std::size_t c = 0; c < state.channels; ++c) {
            for (std::size_t i = 0; i < frames; ++i) {
                state.block[i * state.channels + c] = channels[c][begin + i];
            }
        }
        const auto wanted = static_cast<sf_count_t>(frames);
        sf_count_t written = 0;
        if (const int bits = state.encoding.integerBits; bits > 0) {
            state.integers.resize(state.block.size());
            std::ranges::transform(state.block, state.integers.begin(),
                                   [&](double v) { return IntegerSample(v, bits); });
            written = sf_writef_int(state.sound.get(), state.integers.data(), wanted);
        } else {
            written = sf_writef_double(state.sound.get(), state.block.data(), wanted);
        }
        if (written != wanted) state.Fail(sf_strerror(state.sound.get()));
    }
}

void WavWriter::Commit() {
    const int error = sf_close(state_->sound.release());
    if (error != 0 || state_->target.failure) state_->Fail("the sound library could not finish the file");
    state_->target.file.Commit();
}

}  // namespace kvx::tool
