// SPDX-License-Identifier: MIT
#include <KvxRecording01/SmcFile.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/MotionUnit.h>
#include <KvxRecording01/detail/NumberBlocks.h>

namespace kvx {
namespace {

constexpr std::size_t kTextLines = 11;
constexpr std::int64_t kMostComments = 10000;

/// What the first line says of the samples, whose units the format fixes.
struct Kind {
    std::string_view title;
    std::string_view quantity;  ///< empty for what is not read
    std::string_view unit;
};

// clang-format off
constexpr Kind kKinds[] = {
    {"0 UNKNOWN",                    "values",       ""},
    {"1 UNCORRECTED ACCELEROGRAM",   "acceleration", "cm/s2"},
    {"2 CORRECTED ACCELEROGRAM",     "acceleration", "cm/s2"},
    {"3 VELOCITY",                   "velocity",     "cm/s"},
    {"4 DISPLACEMENT",               "displacement", "cm"},
    {"5 RESPONSE SPECTRA",           "",             ""},
    {"6 FOURIER AMPLITUDE SPECTRA",  "",             ""},
};

/// Numbers of the header by their place in it, from 1.
struct Fact {
    std::size_t place;
    const char* name;
};
constexpr Fact kWholeFacts[] = {
    {8,  "instrument serial number"},
    {10, "channels of the instrument"},
    {13, "vertical orientation [degree]"},
    {14, "horizontal orientation [degree]"},
    {15, "sensor type"},
    {26, "station number"},
};
constexpr Fact kRealFacts[] = {
    {3,  "epicenter latitude [degree]"},
    {4,  "epicenter longitude [degree]"},
    {5,  "epicenter depth [km]"},
    {6,  "moment magnitude"},
    {7,  "surface wave magnitude"},
    {8,  "local magnitude"},
    {9,  "other magnitude"},
    {10, "seismic moment"},
    {11, "station latitude [degree]"},
    {12, "station longitude [degree]"},
    {13, "station elevation [m]"},
    {17, "epicentral distance [km]"},
    {18, "azimuth from the epicenter [degree]"},
    {22, "natural frequency of the sensor [Hz]"},
    {23, "damping of the sensor"},
    {24, "sensitivity of the recorder [cm/g]"},
    {29, "time of the maximum [s]"},
    {30, "maximum"},
    {31, "time of the minimum [s]"},
    {32, "minimum"},
};
// clang-format on

const Kind* FindKind(std::string_view line) {
    const auto kind = std::ranges::find_if(kKinds, [&](const Kind& k) { return line.starts_with(k.title); });
    return kind == std::end(kKinds) ? nullptr : &*kind;
}

/// Numbers of a header in which one, the first, stands for those that are not known.
class Numbers {
public:
    Numbers(LineCursor& lines, std::size_t count, std::size_t perLine, std::size_t width)
        : numbers_(HeaderNumbers(lines, count, perLine, width)) {}

    /// By its place, from 1.
    std::optional<double> At(std::size_t place) const {
        const std::optional<double>& number = numbers_.at(place - 1);
        return number && number != numbers_.front() ? number : std::nullopt;
    }
    std::optional<double> Unknown() const { return numbers_.front(); }

private:
    std::vector<std::optional<double>> numbers_;
};

void StateFacts(std::span<const Fact> facts, const Numbers& numbers, NumberRecording* recording) {
    for (const Fact& fact : facts) {
        if (const auto number = numbers.At(fact.place)) recording->State(fact.name, FormatNumber(*number, 9));
    }
}

/// "1989-291T00:04:00.000", as far as it is known.
std::string StartOf(const Numbers& whole) {
    struct Part {
        const char* before;
        std::size_t digits;
    };
    constexpr Part kParts[] = {{"", 4}, {"-", 3}, {"T", 2}, {":", 2}, {":", 2}, {".", 3}};
    std::string text;
    for (std::size_t i = 0; i < std::size(kParts); ++i) {
        const std::optional<double> number = whole.At(2 + i);
        if (!number || !(*number >= 0.0 && *number <= 9999.0)) break;
        text += kParts[i].before + Padded(static_cast<int>(*number), kParts[i].digits);
    }
    return text;
}

/// What stands behind a name and "=" in a line, up to two blanks.
std::string ValueIn(std::string_view line, std::string_view name) {
    const std::size_t at = line.find(name);
    if (at == line.npos) return {};
    line.remove_prefix(at + name.size());
    line.remove_prefix(std::min(line.find_first_not_of(" ="), line.size()));
    return PlainLine(line.substr(0, line.find("  ")));
}

std::int64_t CountLines(LineCursor& lines) {
    std::int64_t count = 0;
    while (const std::optional<std::string_view> line = lines.Next()) count += line->empty() ? 0 : 1;
    return count;
}

std::unique_ptr<RecordingReader> Open(std::unique_ptr<ByteStream> stream) {
    NumberRecording recording(std::move(stream));
    LineCursor lines(recording.Stream());
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < kTextLines; ++i) {
        texts.emplace_back(lines.Require());
        if (texts.back().starts_with('*')) texts.back().clear();
    }
    const Kind* const kind = FindKind(texts[0]);
    if (kind == nullptr) throw Error(ErrorKind::kDamaged, "it is no SMC text");
    if (kind->quantity.empty())
        throw Error(ErrorKind::kUnsupported, "it holds spectra, which are not read of an SMC text");
    const Numbers whole(lines, 48, 8, 10);
    const Numbers real(lines, 50, 5, 15);

    const std::string station = ValueIn(texts[5], "station");
    const std::string component = ValueIn(texts[5], "component");
    recording.State("kind", PlainLine(texts[0].substr(2)));
    recording.State("station code", PlainLine(texts[2]));
    recording.State("earthquake", PlainLine(texts[3]));
    recording.State("magnitude", PlainLine(texts[4]));
    recording.State("station", station);
    recording.State("component", component);
    recording.State("distance and peak", PlainLine(texts[6]));
    recording.State("instrument", PlainLine(texts[7]));
    for (std::size_t i = 8; i < kTextLines; ++i) recording.State("text", PlainLine(texts[i]));
    const std::string startText = StartOf(whole);
    const std::optional<StartTime> start = ParseStartTime(startText);
    if (!start) recording.State("start", startText);
    StateFacts(kWholeFacts, whole, &recording);
    StateFacts(kRealFacts, real, &recording);
    const std::int64_t comments = HeaderCount(whole.At(16));
    if (comments > kMostComments) {
        throw Error(ErrorKind::kUnsupported,
                    "its header states " + std::to_string(comments) + " lines of comments");
    }
    for (std::int64_t i = 0; i < comments; ++i) {
        const std::string_view comment = lines.Require();
        recording.State("comment", PlainLine(comment.substr(comment.starts_with('|') ? 1 : 0)));
    }

    const std::int64_t count = HeaderCount(whole.At(17));
    if (count == 0) throw Error(ErrorKind::kDamaged, "its header states no samples");
    RecordingInfo::Channel channel;
    channel.name =
        FromUtf8Replacing((component.empty() ? "" : component + " ") + std::string(kind->quantity));
    if (const auto unit = FindMotionUnit(kind->unit)) StateMotionUnit(&channel, *unit);
    const std::wstring title = FromUtf8Replacing(station);
    const std::optional<double> rate = real.At(2);
    if (rate && *rate > 0.0) {
        // Numbers of eight digits need wider columns.
        NumberBlock block = TakeBlock(lines, count, whole.At(47) == 8.0 ? 5 : 8);
        block.missing = real.Unknown();
        recording.AddChannel(title, 1.0 / *rate, std::move(channel), block);
    } else {
        // Without a rate times and values take turns. The count is that of pairs or of all numbers.
        NumberBlock block = TakeBlock(lines, count, 0);
        const std::int64_t held = ((count - 1) / block.perLine + 1 + CountLines(lines)) * block.perLine;
        if (held >= 2 * count) block.count = 2 * count;
        if (block.count % 2 != 0)
            throw Error(ErrorKind::kDamaged, "its last sample has a time and no value", {.line = block.line});
        recording.AddTimedChannel(title, std::move(channel), block);
    }
    for (RecordingInfo::Run& run : recording.Info().runs) run.start = start;
    return std::move(recording).Finish();
}

}  // namespace

bool IsSmc(std::string_view begin) {
    begin = begin.substr(0, begin.find_first_of("\r\n"));
    const Kind* const kind = FindKind(begin);
    // Only the title of the last kind goes on.
    return kind != nullptr &&
           (kind == std::end(kKinds) - 1 || begin.find_first_not_of(' ', kind->title.size()) == begin.npos);
}

std::unique_ptr<RecordingReader> OpenSmc(std::unique_ptr<ByteStream> stream) {
    return WithErrors([&] { return Open(std::move(stream)); });
}

}  // namespace kvx
