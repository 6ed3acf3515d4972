// SPDX-License-Identifier: MIT
#include <KvxRecording01/SoundFile.h>

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/SoundHeader.h>

namespace kvx {
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

// ---- files as the sound library wants them: nothing may be thrown through it ----

struct InputSource {
    InputFile file;
    BytePatch patch = {};
    sf_count_t position = 0;
    sf_count_t length = static_cast<sf_count_t>(file.Remaining());
    std::exception_ptr failure = nullptr;
};

InputSource& Source(void* user) {
    return *static_cast<InputSource*>(user);
}

sf_count_t SourceLength(void* user) {
    return Source(user).length;
}

sf_count_t SourceTell(void* user) {
    return Source(user).position;
}

sf_count_t SourceSeek(sf_count_t offset, int whence, void* user) {
    InputSource& source = Source(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? source.position : source.length;
    source.position = std::max<sf_count_t>(0, base + offset);
    return source.position;
}

sf_count_t SourceRead(void* data, sf_count_t count, void* user) {
    InputSource& source = Source(user);
    try {
        source.file.Seek(static_cast<std::uint64_t>(source.position));
        const std::size_t got = source.file.Read(data, static_cast<std::size_t>(count));
        const std::uint64_t begin = source.patch.position - static_cast<std::uint64_t>(source.position);
        for (std::size_t i = 0; i < source.patch.bytes.size(); ++i) {
            if (begin + i < got) static_cast<char*>(data)[begin + i] = source.patch.bytes[i];
        }
        source.position += static_cast<sf_count_t>(got);
        return static_cast<sf_count_t>(got);
    } catch (...) {
        source.failure = std::current_exception();
        return 0;
    }
}

sf_count_t SourceWrite(const void*, sf_count_t, void*) {
    return 0;
}

struct OutputTarget {
    OutputFile file;
    sf_count_t position = 0;
    sf_count_t length = 0;
    std::exception_ptr failure = nullptr;
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

/// A sound file being read.
class SoundInput {
public:
    explicit SoundInput(const std::string& path, const BytePatch& patch = {})
        : source_(new InputSource{InputFile(WidePath(path)), patch}) {
        SF_VIRTUAL_IO io = {SourceLength, SourceSeek, SourceRead, SourceWrite, SourceTell};
        sound_.reset(sf_open_virtual(&io, SFM_READ, &info_, source_.get()));
        RethrowFailure();
        if (!sound_)
            throw Error(ErrorKind::kDamaged,
                        std::string("it is a damaged sound file: ") + sf_strerror(nullptr));
    }

    const SF_INFO& Info() const { return info_; }

    /// At most `frames` samples of each channel, and at most a block, the channels side by side; none at the
    /// end and from the call on that meets damage, of which the samples in front of it are lost.
    std::span<const double> Read(__int64 frames) {
        const auto channels = static_cast<std::size_t>(info_.channels);
        block_.resize(BlockFrames(channels) * channels);
        const sf_count_t wanted = std::min<sf_count_t>(frames, std::ssize(block_) / info_.channels);
        const sf_count_t got = isDamaged_ ? 0 : sf_readf_double(sound_.get(), block_.data(), wanted);
        RethrowFailure();
        isDamaged_ = isDamaged_ || sf_error(sound_.get()) != SF_ERR_NO_ERROR;
        return {block_.data(), isDamaged_ || got < 1 ? 0 : static_cast<std::size_t>(got) * channels};
    }

    bool IsDamaged() const { return isDamaged_; }

private:
    void RethrowFailure() const {
        if (source_->failure) std::rethrow_exception(source_->failure);
    }

    std::unique_ptr<InputSource> source_;
    SF_INFO info_ = {};
    SoundHandle sound_;
    std::vector<double> block_;
    bool isDamaged_ = false;
};

/// Whether the sound library has taken the file for what it is.
bool IsFormat(int libraryFormat, SoundFormat format) {
    switch (libraryFormat & SF_FORMAT_TYPEMASK) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_WAVEX:
            return format == SoundFormat::wav;
        case SF_FORMAT_RF64:
            return format == SoundFormat::rf64;
        case SF_FORMAT_W64:
            return format == SoundFormat::wave64;
        case SF_FORMAT_AIFF:
            return format == SoundFormat::aiff;
        case SF_FORMAT_AU:
            return format == SoundFormat::au;
        case SF_FORMAT_CAF:
            return format == SoundFormat::caf;
        case SF_FORMAT_FLAC:
            return format == SoundFormat::flac;
        default:
            return false;
    }
}

constexpr const char* kOffer = "; --partial takes those";

std::string Samples(__int64 count) {
    return std::to_string(count) + (count == 1 ? " sample" : " samples");
}

/// How much a file that is cut short holds.
std::string Extent(const SampleBytes& bytes) {
    return std::to_string(bytes.held) + " of the " + std::to_string(bytes.stated.value_or(0)) +
           " bytes of samples that its header states are there";
}

/// The samples of each channel in front of the end or of the first that cannot be read.
__int64 CountReadable(const std::string& path, const BytePatch& patch) {
    __int64 count = 0;
    const auto readOn = [&](SoundInput& input, __int64 piece, __int64 end) {
        while (count < end) {
            const std::size_t got = input.Read(std::min(piece, end - count)).size();
            if (got == 0) break;
            count += static_cast<__int64>(got) / input.Info().channels;
        }
    };
    constexpr __int64 kNoEnd = std::numeric_limits<__int64>::max();
    SoundInput input(path, patch);
    readOn(input, kNoEnd, kNoEnd);
    if (!input.IsDamaged()) return count;
    // The block with the damage once more, sample by sample, to lose none in front of it.
    SoundInput again(path, patch);
    const __int64 whole = std::exchange(count, 0);
    readOn(again, kNoEnd, whole);
    readOn(again, 1, kNoEnd);
    return count;
}

class SoundReader : public RecordingReader {
public:
    SoundReader(const std::string& path, SoundFormat format, const std::optional<SampleBytes>& bytes,
                std::optional<double> statedRateHz, bool isPartial)
        : input_(path, bytes ? bytes->actualSize : BytePatch()) {
        const SF_INFO& info = input_.Info();
        if (!IsFormat(info.format, format))
            throw Error(ErrorKind::kDamaged, "it is a damaged sound file: its header contradicts itself");
        info_.rateHz = info.samplerate;
        if (statedRateHz && std::abs(*statedRateHz - info_.rateHz) < 1.0) info_.rateHz = *statedRateHz;
        info_.hasFullScale = true;
        info_.channels.resize(static_cast<std::size_t>(std::max(info.channels, 0)));
        if (!info_.channels.empty() && info.samplerate > 0) SettleSamples(path, format, bytes, isPartial);
        if (info_.samples < 1) throw Error(ErrorKind::kDamaged, "the sound file holds no samples");
    }

    std::size_t Read(std::span<double* const> targets, std::size_t room) override {
        const std::size_t channels = info_.channels.size();
        std::size_t done = 0;
        before_ = done_;
        while (done < room && done_ < info_.samples) {
            const auto wanted = std::min(static_cast<__int64>(room - done), info_.samples - done_);
            const std::span<const double> block = input_.Read(wanted);
            if (block.empty()) {
                throw Error(ErrorKind::kDamaged,
                            "it is cut short or damaged: not all of the " + Samples(info_.samples) +
                                " that its header states can be read" + kOffer + " before the damage");
            }
            for (std::size_t i = 0; i < block.size(); ++i) {
                if (std::isfinite(block[i])) continue;
                throw Error(ErrorKind::kDamaged,
                            Place(i % channels, done + i / channels) + " is not a finite number");
            }
            for (std::size_t c = 0; c < channels; ++c) {
                if (targets[c] == nullptr) continue;
                for (std::size_t i = c, at = done; i < block.size(); i += channels)
                    targets[c][at++] = block[i];
            }
            done += block.size() / channels;
            done_ += static_cast<__int64>(block.size() / channels);
        }
        return done;
    }

    std::string Place(std::size_t channel, std::size_t index) const override {
        return "sample " + std::to_string(before_ + static_cast<__int64>(index) + 1) + " of channel " +
               std::to_string(channel + 1);
    }

private:
    /// Settles how many samples are taken. Where their number cannot be trusted, they are read for it.
    void SettleSamples(const std::string& path, SoundFormat format, const std::optional<SampleBytes>& bytes,
                       bool isPartial) {
        const bool isFlac = format == SoundFormat::flac;
        const __int64 stated = input_.Info().frames;
        const bool isOpen = isFlac ? stated < 1 || stated == SF_COUNT_MAX : bytes && !bytes->stated;
        const bool isCutShort = bytes && bytes->IsCutShort();
        info_.samples = bytes && bytes->stated == 0U ? 0 : stated;
        if (isCutShort || (isFlac && (isOpen || isPartial))) {
            info_.samples = CountReadable(path, bytes ? bytes->actualSize : BytePatch());
        }
        if (isOpen) {
            info_.remarks.push_back("the header of the sound file does not state its length; all " +
                                    Samples(info_.samples) + " up to the end of the file are taken");
        } else if (isCutShort) {
            info_.remarks.push_back("the sound file is cut short: " + Extent(*bytes) + "; the " +
                                    Samples(info_.samples) + " in them are taken");
        } else if (info_.samples < stated) {
            info_.remarks.push_back("the sound file is cut short or damaged; the first " +
                                    Samples(info_.samples) + " of " + std::to_string(stated) + " are taken");
        }
        if (bytes && bytes->behind > 0) {
            info_.remarks.push_back(
                std::to_string(bytes->behind) +
                " bytes after the samples belong to no chunk of the sound file and are left out");
        }
    }

    SoundInput input_;
    __int64 done_ = 0;
    __int64 before_ = 0;  ///< the samples in front of the block last read
};

}  // namespace

std::unique_ptr<RecordingReader> OpenSoundFile(const std::string& path, SoundFormat format, bool isPartial) {
    InputFile file(WidePath(path));
    RequireReadableSamples(file, format);
    const std::optional<SampleBytes> bytes = FindSamples(file, format);
    if (bytes && !bytes->stated && bytes->actualSize.bytes.empty()) {
        throw Error(ErrorKind::kDamaged,
                    "its header does not state its length, which is more than its format can hold");
    }
    if (bytes && bytes->IsCutShort() && !isPartial)
        throw Error(ErrorKind::kDamaged, "it is cut short: " + Extent(*bytes) + kOffer);
    return std::make_unique<SoundReader>(path, format, bytes, FindRate(file, format), isPartial);
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
        throw Error(ErrorKind::kDamaged, otherwise);
    }
};

WavWriter::WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz,
                     WavSamples samples) {
    const Encoding& encoding = *std::ranges::find(kEncodings, samples, &Encoding::samples);
    if (channels > 1024) throw Error(ErrorKind::kDamaged, "a WAV file holds at most 1024 channels");
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

}  // namespace kvx
