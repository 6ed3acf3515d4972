// SPDX-License-Identifier: MIT
#include <KvxRecording01/WavFile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalWriter.h>
#include <KvxRecording01/detail/FactLines.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/SignalFiles.h>
#include <KvxRecording01/detail/SoundLibrary.h>

namespace kvx {
namespace {

// ---- a file as the sound library wants it: nothing may be thrown through it ----

struct SoundTarget {
    OutputFile file;
    sf_count_t position = 0;
    sf_count_t length = 0;
    std::exception_ptr failure = nullptr;
};

SoundTarget& Target(void* user) {
    return *static_cast<SoundTarget*>(user);
}

sf_count_t TargetLength(void* user) {
    return Target(user).length;
}

sf_count_t TargetTell(void* user) {
    return Target(user).position;
}

sf_count_t TargetSeek(sf_count_t offset, int whence, void* user) {
    SoundTarget& target = Target(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? target.position : target.length;
    target.position = std::max<sf_count_t>(0, base + offset);
    return target.position;
}

sf_count_t TargetRead(void*, sf_count_t, void*) {
    return 0;
}

sf_count_t TargetWrite(const void* data, sf_count_t count, void* user) {
    SoundTarget& target = Target(user);
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
    {WavSamples::pcm32,          SF_FORMAT_PCM_32, 32, 4},
    {WavSamples::floating,       SF_FORMAT_FLOAT,   0, 4},
    {WavSamples::doubleFloating, SF_FORMAT_DOUBLE,  0, 8},
};
// clang-format on

constexpr std::uint64_t kSize32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kSize64 = std::numeric_limits<std::uint64_t>::max();

/// What the sound library calls a format, and the bytes that it has room for.
struct Container {
    Format format;
    int type;
    std::uint64_t mostBytes;
};

// clang-format off
constexpr Container kContainers[] = {
    {Format::wav,    SF_FORMAT_WAV,  kSize32},
    {Format::rf64,   SF_FORMAT_RF64, kSize64},
    {Format::wave64, SF_FORMAT_W64,  kSize64},
    {Format::aiff,   SF_FORMAT_AIFF, kSize32},
    {Format::au,     SF_FORMAT_AU,   kSize32},
    {Format::caf,    SF_FORMAT_CAF,  kSize64},
    {Format::flac,   SF_FORMAT_FLAC, kSize64},
};
// clang-format on

/// The container of so many bytes in the format that was chosen.
int ContainerType(Format format, std::uint64_t bytes) {
    const Container* const container = std::ranges::find(kContainers, format, &Container::format);
    if (container == std::end(kContainers)) throw Error(ErrorKind::kBadValue, "it is no format of sound");
    if (bytes <= container->mostBytes) return container->type;
    if (format == Format::wav) return SF_FORMAT_RF64;
    throw Error(ErrorKind::kUnsupported,
                std::string(RowOf(format).name) + " holds less than 4 GiB; choose RF64, Wave64 or CAF");
}

/// The integer sample of `bits` bits in the top bits of 32; +1.0 becomes the largest that there is.
int IntegerSample(double value, int bits) {
    const double scale = std::ldexp(1.0, bits - 1);
    const double level = std::clamp(std::nearbyint(value * scale), -scale, scale - 1.0);
    return static_cast<int>(level * std::ldexp(1.0, 32 - bits));
}

/// Characters of a comment or title that are kept, and bytes of a comment with facts below it.
constexpr std::size_t kMostComment = 1000;
constexpr std::size_t kMostTexts = 30'000;

/// The texts of a sound file.
class SoundTags {
public:
    explicit SoundTags(const WavTexts& texts) {
        std::string comment = ToUtf8(std::wstring_view(texts.comment).substr(0, kMostComment));
        std::ranges::replace(comment, '\n', ' ');
        for (const RecordingInfo::Property& fact : texts.facts) {
            const auto* const tag = std::ranges::find(
                kSoundTexts, fact.name, [](const SoundText& text) { return std::string_view(text.name); });
            // To the name of a program the library adds its own.
            const bool isTag = tag != std::end(kSoundTexts) && tag->number != SF_STR_SOFTWARE;
            if (isTag) {
                Add(tag->number, fact.text);
            } else {
                const std::string line = "\n" + FactLine(fact);
                if (comment.size() + line.size() <= kMostTexts) comment += line;
            }
        }
        Add(SF_STR_TITLE, ToUtf8(std::wstring_view(texts.title).substr(0, kMostComment)));
        if (texts.start) Add(SF_STR_DATE, texts.start->Text());
        Add(SF_STR_COMMENT, std::move(comment));
    }

    std::size_t Size() const { return size_; }
    void WriteTo(SNDFILE* sound, const std::optional<StartTime>& start, int rateHz, Format format) const {
        for (const auto& [number, text] : tags_) sf_set_string(sound, number, text.c_str());
        if (start && (format == Format::wav || format == Format::rf64)) WriteBroadcast(sound, *start, rateHz);
    }

private:
    void Add(int number, std::string text) {
        if (text.empty()) return;
        size_ += text.size() + 16;
        tags_.emplace_back(number, std::move(text));
    }

    /// Date and time to the second, and the samples since midnight.
    static void WriteBroadcast(SNDFILE* sound, const StartTime& start, int rateHz) {
        SF_BROADCAST_INFO broadcast = {};
        const std::string text = start.Text();
        std::copy_n(text.data(), sizeof broadcast.origination_date, broadcast.origination_date);
        std::copy_n(text.data() + 11, sizeof broadcast.origination_time, broadcast.origination_time);
        const StartTime::Calendar clock = start.Date();
        const auto rate = static_cast<std::uint64_t>(rateHz);
        const auto seconds = static_cast<std::uint64_t>(clock.SecondOfDay());
        const double part =
            static_cast<double>(start.parts) / static_cast<double>(StartTime::kPartsPerSecond);
        const auto rest = static_cast<std::uint64_t>(part * rateHz + 0.5);
        const std::uint64_t reference = seconds * rate + std::min(rest, rate - 1);
        broadcast.time_reference_low = static_cast<std::uint32_t>(reference);
        broadcast.time_reference_high = static_cast<std::uint32_t>(reference >> 32);
        sf_command(sound, SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast);
    }

    std::vector<std::pair<int, std::string>> tags_;
    std::size_t size_ = 0;
};

class WavSignalWriter : public SignalWriter {
public:
    WavSignalWriter(const std::string& path, const SignalRun& run, const SignalFileOptions& options,
                    Format format)
        : written_(run),
          file_(path, run.channels.size(), run.samples, WavRate(run.delta, RowOf(format).name),
                options.wav.samples, format,
                WavTexts{options.text, run.title, run.start, WrittenFacts(options.facts)}) {
        for (const SignalRun::Channel& channel : run.channels)
            scales_.emplace_back(channel.name, channel.unit, options.wav, options.called.fullScale);
    }

    void Write(std::size_t run, std::span<double* const> channels, std::size_t count) override {
        written_.Add(run, channels, count);
        for (std::size_t c = 0; c < channels.size(); ++c) scales_[c].Apply({channels[c], count});
        file_.Write({channels.data(), channels.size()}, count);
    }
    void Commit() override {
        written_.RequireAll();
        for (const WavScale& scale : scales_) scale.RequireUnclipped();
        file_.Commit();
    }

private:
    WrittenRun written_;
    WavWriter file_;
    std::vector<WavScale> scales_;
};

}  // namespace

int WavRate(double delta, std::string_view format) {
    constexpr double kClockAccuracy = 1e-6;
    const double rate = 1.0 / delta;
    const double whole = std::round(rate);
    if (!(whole >= 1.0 && whole <= std::numeric_limits<int>::max()) ||
        std::abs(rate / whole - 1.0) > kClockAccuracy) {
        throw Error(ErrorKind::kUnsupported, "its rate of " + FormatNumber(rate, 10) +
                                                 " Hz is not whole, as " + std::string(format) + " needs it");
    }
    return static_cast<int>(whole);
}

WavScale::WavScale(std::wstring name, const CUnitCtrl& unit, const WavOptions& options,
                   std::string fullScaleName)
    : name_(std::move(name)), unit_(unit), options_(options), fullScaleName_(std::move(fullScaleName)) {
    if (!(options.fullScale > 0.0) || !std::isfinite(options.fullScale))
        throw Error(ErrorKind::kBadValue, fullScaleName_ + " is not a number above 0");
}

void WavScale::Apply(std::span<double> samples) {
    unit_.ConvDtoI(samples.data(), samples.data(), std::ssize(samples), 1.0, unit_.IsSingle());
    for (double& sample : samples) {
        peak_ = std::max(peak_, std::abs(sample));
        sample /= options_.fullScale;
    }
}

void WavScale::RequireUnclipped() const {
    const std::string unit = UnitText(unit_);
    const std::string reached =
        FormatNumber(peak_) + (DimensionOf(unit_) == CUnitCtrl::DIM_NONE ? "" : " " + unit);
    if (IsInteger(options_.samples) && peak_ > options_.fullScale) {
        throw Error(ErrorKind::kBadValue, "channel " + Quote(name_) + " would be clipped: it reaches " +
                                              reached + " and full scale is " +
                                              FormatNumber(options_.fullScale) + "; raise " + fullScaleName_);
    }
    const double most = options_.samples == WavSamples::floating
                            ? static_cast<double>(std::numeric_limits<float>::max())
                            : std::numeric_limits<double>::max();
    if (peak_ / options_.fullScale > most) {
        throw Error(ErrorKind::kBadValue, "channel " + Quote(name_) + " reaches " + reached +
                                              ", which is beyond such floats; raise " + fullScaleName_);
    }
}

struct WavWriter::State {
    SoundTarget target;
    const Encoding& encoding;
    std::size_t channels;
    SoundHandle sound = nullptr;
    std::vector<double> block = {};
    std::vector<int> integers = {};

    [[noreturn]] void Fail(const char* otherwise) const {
        if (target.failure) WithErrors([&] { std::rethrow_exception(target.failure); });
        throw Error(ErrorKind::kHost, otherwise);
    }
};

WavWriter::WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz,
                     WavSamples samples, Format format, std::wstring_view comment)
    : WavWriter(path, channels, frames, rateHz, samples, format,
                WavTexts{std::wstring(comment), {}, {}, {}}) {}

WavWriter::WavWriter(const std::string& path, std::size_t channels, __int64 frames, int rateHz,
                     WavSamples samples, Format format, const WavTexts& texts) {
    const Encoding* const known = std::ranges::find(kEncodings, samples, &Encoding::samples);
    if (known == std::end(kEncodings) || channels == 0 || frames < 0 || rateHz < 1) {
        throw Error(ErrorKind::kBadValue,
                    "a sound file has one channel or more, a count of samples, a rate and a kind of samples");
    }
    const Encoding& encoding = *known;
    const std::string name(RowOf(format).name);
    if (channels > 1024) throw Error(ErrorKind::kUnsupported, name + " holds at most 1024 channels");
    const SoundTags tags(texts);
    // Sizes in a plain header have 32 bits.
    constexpr std::size_t kHeaderBytes = 4096;
    const std::uint64_t bytes =
        static_cast<std::uint64_t>(frames) * channels * encoding.bytes + kHeaderBytes + tags.Size();
    SF_INFO info = {};
    info.samplerate = rateHz;
    info.channels = static_cast<int>(channels);
    info.format = encoding.format | ContainerType(format, bytes);
    if (sf_format_check(&info) == 0) {
        throw Error(ErrorKind::kUnsupported, format == Format::flac
                                                 ? name + " holds up to 8 channels of pcm16 or pcm24"
                                                 : name + " does not hold such samples");
    }
    WithErrors([&] { state_.reset(new State{{OutputFile(WidePath(path))}, encoding, channels}); });
    SF_VIRTUAL_IO io = {TargetLength, TargetSeek, TargetRead, TargetWrite, TargetTell};
    state_->sound.reset(sf_open_virtual(&io, SFM_WRITE, &info, &state_->target));
    if (!state_->sound) state_->Fail(sf_strerror(nullptr));
    // Without the peak chunk, which holds the time of day, equal samples make equal files.
    sf_command(state_->sound.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    tags.WriteTo(state_->sound.get(), texts.start, rateHz, format);
}

WavWriter::~WavWriter() = default;

void WavWriter::Write(std::span<const double* const> channels, std::size_t count) {
    State& state = *state_;
    RequireChannels(channels, state.channels, count);
    if (!state.sound) throw Error(ErrorKind::kBadValue, "the file was committed");
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
    WithErrors([&] { state_->target.file.Commit(); });
}

std::unique_ptr<SignalWriter> CreateSoundSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                                const SignalFileOptions& options, Format format) {
    const std::string name(RowOf(format).name);
    const SignalRun& run = SingleRun(runs, name, options.called);
    if (!run.IsWaveform())
        throw Error(ErrorKind::kUnsupported, name + " holds time waveforms only; choose CSV");
    if (format == Format::flac &&
        (!IsInteger(options.wav.samples) || options.wav.samples == WavSamples::pcm32)) {
        throw Error(
            ErrorKind::kUnsupported,
            name + " holds integers of 16 or 24 bits: choose pcm16 or pcm24 with " + options.called.samples);
    }
    return std::make_unique<WavSignalWriter>(path, run, options, format);
}

}  // namespace kvx
