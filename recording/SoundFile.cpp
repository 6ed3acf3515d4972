// SPDX-License-Identifier: MIT
#include <KvxRecording01/SoundFile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FactLines.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/SoundHeader.h>
#include <KvxRecording01/detail/SoundLibrary.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

// ---- files as the sound library wants them: nothing may be thrown through it ----

struct InputSource {
    InputFile file;
    BytePatch patch = {};
    sf_count_t position = 0;
    sf_count_t length =
        static_cast<sf_count_t>(file.Remaining() - patch.replaced + std::uint64_t{patch.bytes.size()});
    std::exception_ptr failure = nullptr;

    /// The next bytes, at most `size`, of the file or of the patch; none at the end.
    std::size_t Read(char* data, std::size_t size) {
        const auto at = static_cast<std::uint64_t>(position);
        const std::uint64_t patchEnd = patch.position + patch.bytes.size();
        if (at >= patch.position && at < patchEnd) {
            size = std::min<std::uint64_t>(size, patchEnd - at);
            std::copy_n(patch.bytes.data() + (at - patch.position), size, data);
        } else {
            const bool isBefore = at < patch.position;
            if (isBefore) size = std::min<std::uint64_t>(size, patch.position - at);
            file.Seek(isBefore ? at : at - patch.bytes.size() + patch.replaced);
            size = file.Read(data, size);
        }
        position += static_cast<sf_count_t>(size);
        return size;
    }
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
        sf_count_t done = 0;
        while (done < count) {
            const std::size_t got =
                source.Read(static_cast<char*>(data) + done, static_cast<std::size_t>(count - done));
            if (got == 0) break;
            done += static_cast<sf_count_t>(got);
        }
        return done;
    } catch (...) {
        source.failure = std::current_exception();
        return 0;
    }
}

sf_count_t SourceWrite(const void*, sf_count_t, void*) {
    return 0;
}

/// A sound file being read.
class SoundInput {
public:
    explicit SoundInput(const std::string& path, const BytePatch& patch = {})
        : source_(new InputSource{InputFile(WidePath(path)), patch}) {
        SF_VIRTUAL_IO io = {SourceLength, SourceSeek, SourceRead, SourceWrite, SourceTell};
        sound_.reset(sf_open_virtual(&io, SFM_READ, &info_, source_.get()));
        RethrowFailure();
        if (!sound_) {
            // What the library did not expect, it tells in words for its own developers.
            const std::string said = PlainLine(sf_strerror(nullptr));
            throw Error(ErrorKind::kDamaged,
                        "it is a damaged sound file: " +
                            (said.find("nternal") != said.npos ? "its header contradicts itself" : said));
        }
    }

    const SF_INFO& Info() const { return info_; }
    SNDFILE* Handle() const { return sound_.get(); }

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

    /// Goes to a sample; false where that cannot be done, and the place is then as it was.
    bool Seek(__int64 frame) {
        const bool isThere = !isDamaged_ && sf_seek(sound_.get(), frame, SEEK_SET) == frame;
        RethrowFailure();
        return isThere;
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
bool IsFormat(int libraryFormat, Format format) {
    switch (libraryFormat & SF_FORMAT_TYPEMASK) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_WAVEX:
            return format == Format::wav;
        case SF_FORMAT_RF64:  // as which a WAV file is read that is too long for its header
            return format == Format::rf64 || format == Format::wav;
        case SF_FORMAT_W64:
            return format == Format::wave64;
        case SF_FORMAT_AIFF:
            return format == Format::aiff;
        case SF_FORMAT_AU:
            return format == Format::au;
        case SF_FORMAT_CAF:
            return format == Format::caf;
        case SF_FORMAT_FLAC:
            return format == Format::flac;
        default:
            return false;
    }
}

/// The bytes of one sample of every channel; 0 where the samples are compressed.
std::uint64_t FrameBytes(const SF_INFO& info) {
    const auto channels = static_cast<std::uint64_t>(info.channels);
    switch (info.format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_ULAW:
        case SF_FORMAT_ALAW:
            return channels;
        case SF_FORMAT_PCM_16:
            return 2 * channels;
        case SF_FORMAT_PCM_24:
            return 3 * channels;
        case SF_FORMAT_PCM_32:
        case SF_FORMAT_FLOAT:
            return 4 * channels;
        case SF_FORMAT_DOUBLE:
            return 8 * channels;
        default:
            return 0;
    }
}

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

/// What a file tells about itself in texts, and in its broadcast chunk if it has one.
class SoundTexts {
public:
    SoundTexts(SNDFILE* sound, int rateHz, RecordingInfo* info) : sound_(sound), info_(*info) {
        for (const SoundText& text : kSoundTexts) State(text.name, TextOf(text.number));
        info_.runs.front().title = FromUtf8Replacing(TextOf(SF_STR_TITLE));
        const std::string date = TextOf(SF_STR_DATE);
        std::optional<StartTime>& start = info_.runs.front().start;
        start = ParseStartTime(date);
        if (!start) State("date", date);
        TakeBroadcast(rateHz);
        if (const char* const comment = sf_get_string(sound_, SF_STR_COMMENT)) TakeComment(comment);
    }

private:
    std::string TextOf(int number) const {
        const char* const found = sf_get_string(sound_, number);
        return found != nullptr ? PlainLine(found) : std::string();
    }

    void State(const char* name, const std::string& text) {
        if (!text.empty()) info_.properties.push_back({name, text});
    }

    /// A comment is the text; lines below its first one are facts where all have the form of one.
    void TakeComment(std::string_view comment) {
        const std::size_t end = comment.find('\n');
        std::vector<RecordingInfo::Property> facts;
        bool areFacts = end != comment.npos;
        for (std::size_t at = end; areFacts && at != comment.npos;) {
            const std::size_t next = comment.find('\n', at + 1);
            const std::string_view line = comment.substr(at + 1, next - at - 1);
            if (std::optional<RecordingInfo::Property> fact = ParseFactLine(line)) {
                facts.push_back(*std::move(fact));
            } else {
                areFacts = Trim(line).empty() && next == comment.npos;
            }
            at = next;
        }
        info_.text = FromUtf8Replacing(PlainLine(areFacts ? comment.substr(0, end) : comment));
        if (areFacts) std::ranges::move(facts, std::back_inserter(info_.properties));
    }

    void TakeBroadcast(int rateHz) {
        SF_BROADCAST_INFO broadcast = {};
        if (sf_command(sound_, SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast) != SF_TRUE) return;
        const auto field = [](std::span<const char> bytes) {
            const std::string_view text(bytes.data(), bytes.size());
            return PlainLine(text.substr(0, text.find('\0')));
        };
        for (const BroadcastText& text : kBroadcastTexts)
            State(text.name, field({reinterpret_cast<const char*>(&broadcast) + text.at, text.size}));
        const std::string date = field(broadcast.origination_date);
        const std::string time = field(broadcast.origination_time);
        const std::uint64_t reference =
            std::uint64_t{broadcast.time_reference_high} << 32 | broadcast.time_reference_low;
        std::optional<StartTime>& start = info_.runs.front().start;
        std::optional<StartTime> own = OriginOf(date, time);
        const bool isClock = own && rateHz > 0 && TakeReference(reference, rateHz, &*own);
        if (own && !start) start = own;
        if (!own) {
            State("origination date", date);
            State("origination time", time);
        }
        if (reference > 0 && !isClock) {
            State("time reference", std::to_string(reference) + " samples, " +
                                        FormatNumber(static_cast<double>(reference) / rateHz, 12) +
                                        " s after midnight");
        }
        const std::string history = field(std::span(broadcast.coding_history)
                                              .first(std::min<std::size_t>(broadcast.coding_history_size,
                                                                           sizeof broadcast.coding_history)));
        // What the library says of itself tells nothing of the recording.
        if (history.find("T=libsndfile") == history.npos) State("coding history", history);
    }

    /// Date and time of the origination, whatever is between their numbers.
    static std::optional<StartTime> OriginOf(std::string date, std::string time) {
        for (const std::size_t at : {4U, 7U})
            if (date.size() == 10) date[at] = '-';
        for (const std::size_t at : {2U, 5U})
            if (time.size() == 8) time[at] = ':';
        return ParseStartTime(date + "T" + time);
    }

    /// Takes the part of a second from the samples since midnight, if these tell the same second.
    static bool TakeReference(std::uint64_t reference, int rateHz, StartTime* start) {
        const auto rate = static_cast<std::uint64_t>(rateHz);
        const StartTime::Calendar clock = start->Date();
        const auto second = static_cast<std::uint64_t>(clock.SecondOfDay());
        if (reference / rate != second) return false;
        *start = start->Later(static_cast<double>(reference % rate) / rateHz).value_or(*start);
        return true;
    }

    SNDFILE* sound_;
    RecordingInfo& info_;
};

class SoundReader : public RecordingReader {
public:
    SoundReader(const std::string& path, Format format, const std::optional<SampleBytes>& bytes,
                std::optional<double> statedRateHz, bool isPartial, const std::string& offer)
        : input_(path, bytes ? bytes->actualSize : BytePatch()), offer_(offer) {
        const SF_INFO& info = input_.Info();
        if (!IsFormat(info.format, format))
            throw Error(ErrorKind::kDamaged, "it is a damaged sound file: its header contradicts itself");
        RecordingInfo::Run& run = info_.runs.emplace_back();
        double rateHz = info.samplerate;
        if (statedRateHz && std::abs(*statedRateHz - rateHz) < 1.0) rateHz = *statedRateHz;
        run.axis.delta = 1.0 / rateHz;
        info_.hasFullScale = true;
        run.channels.resize(static_cast<std::size_t>(std::max(info.channels, 0)));
        if (!run.channels.empty() && info.samplerate > 0)
            run.samples = SettleSamples(path, format, bytes, isPartial);
        if (run.samples < 1) throw Error(ErrorKind::kDamaged, "the sound file holds no samples");
        SoundTexts(input_.Handle(), info.samplerate, &info_);
    }

    std::size_t Read(std::size_t number, std::span<double* const> targets, std::size_t room) override {
        RequireRun(number, info_.runs.size());
        const RecordingInfo::Run& run = info_.runs.front();
        const std::size_t channels = run.channels.size();
        std::size_t done = 0;
        before_ = done_;
        while (done < room && done_ < run.samples) {
            const auto wanted = std::min(static_cast<__int64>(room - done), run.samples - done_);
            const std::span<const double> block = WithErrors([&] { return input_.Read(wanted); });
            if (block.empty()) {
                throw Error(ErrorKind::kDamaged,
                            "it is cut short or damaged: not all of the " + Samples(run.samples) +
                                " that its header states can be read" + offer_ + " before the damage");
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

    void Skip(std::size_t run, __int64 count) override {
        const __int64 target = done_ + std::clamp<__int64>(count, 0, info_.runs.front().samples - done_);
        if (target == done_) return;
        if (WithErrors([&] { return input_.Seek(target); })) {
            done_ = target;
        } else {
            RecordingReader::Skip(run, count);
        }
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        return Error(kind, Place(channel, index) + ": " + sentence);
    }

private:
    std::string Place(std::size_t channel, std::size_t index) const {
        return "sample " + std::to_string(before_ + static_cast<__int64>(index) + 1) + " of channel " +
               std::to_string(channel + 1);
    }

    /// How many samples are taken, which it may have to remark on. Where their number cannot be trusted, they
    /// are read for it.
    __int64 SettleSamples(const std::string& path, Format format, const std::optional<SampleBytes>& bytes,
                          bool isPartial) {
        const bool isFlac = format == Format::flac;
        const __int64 stated = input_.Info().frames;
        const bool isOpen = isFlac ? stated < 1 || stated == SF_COUNT_MAX : bytes && !bytes->stated;
        const bool isCutShort = bytes && bytes->IsCutShort();
        __int64 samples = bytes && bytes->stated == 0U ? 0 : stated;
        if (isCutShort || (isFlac && (isOpen || isPartial))) {
            samples = CountReadable(path, bytes ? bytes->actualSize : BytePatch());
        }
        if (isOpen) {
            info_.remarks.push_back("the header of the sound file does not state its length; all " +
                                    Samples(samples) + " up to the end of the file are taken");
        } else if (isCutShort) {
            info_.remarks.push_back("the sound file is cut short: " + Extent(*bytes) + "; the " +
                                    Samples(samples) + " in them are taken");
        } else if (samples < stated) {
            info_.remarks.push_back("the sound file is cut short or damaged; the first " + Samples(samples) +
                                    " of " + std::to_string(stated) + " are taken");
        }
        if (bytes && bytes->behind > 0) {
            info_.remarks.push_back(
                std::to_string(bytes->behind) +
                " bytes after the samples belong to no chunk of the sound file and are left out");
        }
        const std::uint64_t frame = FrameBytes(input_.Info());
        if (bytes && !isCutShort && frame > 0 && bytes->held % frame != 0) {
            info_.remarks.push_back("the samples of the sound file end with " +
                                    Count(static_cast<long long>(bytes->held % frame), "byte") +
                                    " of a frame of " + std::to_string(frame) + ", which are left out");
        }
        return samples;
    }

    SoundInput input_;
    std::string offer_;  ///< what a file that is cut short could be read by, for a sentence
    __int64 done_ = 0;
    __int64 before_ = 0;  ///< the samples in front of the block last read
};

std::unique_ptr<RecordingReader> OpenSound(const std::string& path, Format format, bool isPartial,
                                           const std::string& offer) {
    InputFile file(WidePath(path));
    RequireRateAndChannels(file, format);
    RequireReadableSamples(file, format);
    const std::optional<SampleBytes> bytes = FindSamples(file, format);
    if (bytes && !bytes->stated && bytes->actualSize.bytes.empty()) {
        throw Error(ErrorKind::kDamaged,
                    "its header does not state its length, which is more than its format can hold");
    }
    if (bytes && bytes->IsCutShort() && !isPartial)
        throw Error(ErrorKind::kDamaged, "it is cut short: " + Extent(*bytes) + offer);
    return std::make_unique<SoundReader>(path, format, bytes, FindRate(file, format), isPartial, offer);
}

}  // namespace

std::unique_ptr<RecordingReader> OpenSoundFile(const std::string& path, Format format, bool isPartial,
                                               const std::string& partialName) {
    return WithErrors(
        [&] { return OpenSound(path, format, isPartial, "; " + partialName + " takes those"); });
}

}  // namespace kvx
