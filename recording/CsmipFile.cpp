// SPDX-License-Identifier: MIT
#include <KvxRecording01/CsmipFile.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FortranNumber.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/MotionUnit.h>
#include <KvxRecording01/detail/NumberBlocks.h>

namespace kvx {
namespace {

/// What differs between the volumes. Lines of text count from 0.
struct Volume {
    bool isRaw;
    std::size_t textLines;
    std::size_t realNumbers;
    std::size_t earthquake, time, trigger, station, site, channel, hypocenter, instrument;
};
constexpr Volume kRaw = {true, 13, 50, 1, 2, 3, 4, 5, 6, 8, 9};
constexpr Volume kCorrected = {false, 25, 100, 2, 3, 4, 5, 6, 7, 9, 10};
constexpr std::size_t kWholeNumbers = 100;

struct Quantity {
    std::string_view begin;  ///< of its name in the line in front of its block
    const char* name;
    const char* unit;  ///< of a corrected volume that does not state it
};
constexpr Quantity kQuantities[] = {
    {"accel", "acceleration", "cm/s2"},
    {"veloc", "velocity", "cm/s"},
    {"displ", "displacement", "cm"},
};

/// The line in front of a block: " 3251 points of accel data equally spaced at .020 sec. (units:
/// cm/sec/sec)".
struct BlockHead {
    std::int64_t count = 0;
    const Quantity* quantity = nullptr;
    double delta = 0.0;
    std::optional<MotionUnit> unit;
};

/// The number at the front of a text; no value for a text.
std::optional<double> LeadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::string_view number = text.substr(0, text.find_first_not_of("+-.0123456789"));
    if (number.ends_with('.') && number.find('.') + 1 != number.size()) number.remove_suffix(1);
    return FixedNumber(number);
}

std::optional<BlockHead> ReadHead(std::string_view line) {
    constexpr std::string_view kOf = "points of ";
    const std::string small = SmallLetters(line);
    const std::size_t of = small.find(kOf);
    if (of == small.npos) return std::nullopt;
    const std::string_view rest = std::string_view(small).substr(of + kOf.size());
    const auto* const quantity =
        std::ranges::find_if(kQuantities, [&](const Quantity& q) { return rest.starts_with(q.begin); });
    if (quantity == std::end(kQuantities) || rest.find(" data") == rest.npos) return std::nullopt;
    BlockHead head;
    head.count = HeaderCount(LeadingNumber(small));
    head.quantity = quantity;
    if (const std::size_t at = rest.find(" at "); at != rest.npos)
        head.delta = LeadingNumber(rest.substr(at + 4)).value_or(0.0);
    head.unit = UnitInLine(line);
    return head;
}

/// "CHAN 1: 90 DEG" of "CHAN  1: 90 DEG        Location: roof".
std::string ChannelName(std::string_view line) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::size_t begin = std::min(line.find_first_not_of(": ", colon), line.size());
    return PlainLine(line.substr(0, line.find("  ", begin)));
}

class VolumeParser {
public:
    explicit VolumeParser(NumberRecording* recording) : recording_(recording), lines_(recording->Stream()) {}

    /// Takes the channels up to the end of the text.
    void TakeChannels() {
        while (const std::optional<std::string_view> line = lines_.Next()) {
            if (line->empty()) continue;
            lines_.StepBack();
            TakeChannel();
        }
    }

private:
    void TakeChannel() {
        const std::int64_t firstLine = lines_.Number();
        const std::string title = SmallLetters(lines_.Require());
        lines_.StepBack();
        const bool isRaw = title.find("uncorrected accelerogram") != title.npos;
        if (title.find("corrected accelerogram") == title.npos)
            throw Error(ErrorKind::kDamaged, "the heading of a channel was expected", {.line = firstLine});
        const Volume& volume = isRaw ? kRaw : kCorrected;
        texts_.clear();
        for (std::size_t i = 0; i < volume.textLines; ++i) texts_.emplace_back(lines_.Require());
        whole_ = HeaderNumbers(lines_, kWholeNumbers, 16, 5);
        real_ = HeaderNumbers(lines_, volume.realNumbers, 8, 10);
        name_ = ChannelName(texts_[volume.channel]);
        StateTexts(volume);
        const std::size_t blocks = TakeBlocks(volume);
        if (blocks == 0)
            throw Error(ErrorKind::kDamaged, "a line that begins a block of samples was expected",
                        {.line = lines_.Number()});
    }

    void StateTexts(const Volume& volume) {
        if (recording_->Info().properties.empty()) {
            recording_->State("earthquake", PlainLine(texts_[volume.earthquake]));
            recording_->State("time", PlainLine(texts_[volume.time]));
            recording_->State("trigger", PlainLine(texts_[volume.trigger]));
            recording_->State("station", PlainLine(texts_[volume.station]));
            recording_->State("site", PlainLine(texts_[volume.site]));
            recording_->State("hypocenter", PlainLine(texts_[volume.hypocenter]));
        }
        recording_->State(name_, PlainLine(texts_[volume.channel]));
        const std::size_t end = volume.isRaw ? volume.textLines : volume.instrument + 11;
        for (std::size_t i = volume.instrument; i < end; ++i) recording_->State(name_, PlainLine(texts_[i]));
    }

    /// Takes the blocks of a channel and the line that ends it. How many they were.
    std::size_t TakeBlocks(const Volume& volume) {
        std::size_t blocks = 0;
        while (const std::optional<std::string_view> line = lines_.Next()) {
            if (line->starts_with("/&")) break;
            if (line->empty()) continue;
            if (const std::optional<BlockHead> head = ReadHead(*line)) {
                TakeBlock(*head, volume);
            } else if (volume.isRaw && blocks == 0) {
                lines_.StepBack();
                TakePairs();
            } else {
                throw Error(ErrorKind::kDamaged,
                            "neither a block of samples nor the end of the channel was expected",
                            {.line = lines_.Number() - 1});
            }
            ++blocks;
        }
        return blocks;
    }

    void TakeBlock(const BlockHead& head, const Volume& volume) {
        if (head.count == 0)
            throw Error(ErrorKind::kDamaged, "its block has no samples", {.line = lines_.Number() - 1});
        double delta = head.delta;
        const double seconds = real_[2].value_or(0.0);  // the length of the record
        if (!(delta > 0.0) && head.count > 1) delta = seconds / static_cast<double>(head.count - 1);
        const NumberBlock block = kvx::TakeBlock(lines_, head.count, 0);
        recording_->AddChannel(Title(volume), delta, MakeChannel(*head.quantity, head.unit, volume), block);
    }

    /// Takes samples with their times, as they were digitised from film.
    void TakePairs() {
        const std::int64_t count = HeaderCount(whole_[27]);
        if (count == 0)
            throw Error(ErrorKind::kDamaged, "its header states no samples", {.line = lines_.Number()});
        const NumberBlock block = kvx::TakeBlock(lines_, 2 * count, 0);
        recording_->AddTimedChannel(Title(kRaw), MakeChannel(kQuantities[0], std::nullopt, kRaw), block);
    }

    RecordingInfo::Channel MakeChannel(const Quantity& quantity, std::optional<MotionUnit> unit,
                                       const Volume& volume) {
        for (std::size_t i = 0; i < texts_.size() && !unit && volume.isRaw; ++i) {
            if (SmallLetters(texts_[i]).find("units") != std::string::npos) unit = UnitInLine(texts_[i]);
        }
        if (!unit && !volume.isRaw) unit = FindMotionUnit(quantity.unit);
        RecordingInfo::Channel channel;
        channel.name = FromUtf8Replacing(PlainLine(name_ + " " + quantity.name));
        if (unit) {
            StateMotionUnit(&channel, *unit);
        } else {
            recording_->Info().remarks.push_back("the header states no unit of " + Quote(channel.name));
        }
        return channel;
    }

    std::wstring Title(const Volume& volume) const {
        return FromUtf8Replacing(PlainLine(texts_[volume.site]));
    }

    NumberRecording* recording_;
    LineCursor lines_;
    std::vector<std::string> texts_;  ///< of the channel at hand, as the rest
    std::vector<std::optional<double>> whole_;
    std::vector<std::optional<double>> real_;
    std::string name_;
};

std::unique_ptr<RecordingReader> Open(std::unique_ptr<ByteStream> stream) {
    NumberRecording recording(std::move(stream));
    LineCursor lines(recording.Stream());
    const std::string title = SmallLetters(lines.Require());
    if (title.find("response and fourier") != title.npos)
        throw Error(ErrorKind::kUnsupported, "it holds spectra (V3), which are not read");
    VolumeParser(&recording).TakeChannels();
    return std::move(recording).Finish();
}

}  // namespace

bool IsCsmip(std::string_view begin) {
    const std::string small = SmallLetters(begin);
    const std::size_t end = small.find('\n');
    const std::string first = small.substr(0, end);
    const std::string next =
        end == small.npos ? "" : small.substr(end + 1, small.find('\n', end + 1) - end - 1);
    return first.find("uncorrected accelerogram data") != first.npos ||
           (first.starts_with("corrected accelerogram") &&
            next.find("uncorrected accelerogram") != next.npos) ||
           (first.starts_with("response and fourier") && next.find("corrected accelerogram") != next.npos);
}

std::unique_ptr<RecordingReader> OpenCsmip(std::unique_ptr<ByteStream> stream) {
    return WithErrors([&] { return Open(std::move(stream)); });
}

}  // namespace kvx
