// SPDX-License-Identifier: MIT
#include <KvxRecording01/GeonetFile.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
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

constexpr std::size_t kTextLines = 16;
constexpr std::size_t kPerLine = 10;
constexpr std::size_t kWholeNumbers = 40;
constexpr std::size_t kRealNumbers = 60;

/// The blocks of a component: what they are, where the header counts their samples (from 1), and the unit.
struct Quantity {
    const char* name;
    std::size_t countAt;
    const char* unit;
};
constexpr Quantity kQuantities[] = {
    {"acceleration", 34, "mm/s2"},
    {"velocity", 35, "mm/s"},
    {"displacement", 36, "mm"},
};

/// What the lines of text in front of the first component are.
constexpr const char* kTextNames[kTextLines] = {
    "kind",      "site",
    "station",   "instrument",
    "sensor",    "accelerogram",
    "place",     "earthquake time",
    "epicenter", "count",
    "intervals", "filter",
    "",          "",
    "",          "",
};

std::vector<std::optional<double>> Numbers(LineCursor& lines, std::size_t count) {
    // Columns are eight wide, in some files ten.
    const std::size_t width = ColumnWidth(lines.Require(), kPerLine);
    lines.StepBack();
    if (width == 0)
        throw Error(ErrorKind::kDamaged, "10 numbers in columns of one width were expected",
                    {.line = lines.Number()});
    return HeaderNumbers(lines, count, kPerLine, width);
}

/// The time of the first sample, universal time.
std::optional<StartTime> StartOf(const std::vector<std::optional<double>>& whole) {
    constexpr std::size_t kPlaces[] = {9,  10, 19,
                                       20, 39, 40};  // year, month, day, hour, minute, milliseconds
    std::int64_t parts[std::size(kPlaces)];
    for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
        const std::optional<double>& number = whole[kPlaces[i] - 1];
        if (!number || !(*number >= 0.0 && *number <= 99999.0)) return std::nullopt;
        parts[i] = static_cast<std::int64_t>(*number);
    }
    if (parts[0] == 0 || parts[3] > 23 || parts[4] > 59) return std::nullopt;
    constexpr std::int64_t kMilli = StartTime::kPartsPerSecond / 1000;
    auto start =
        StartOnDate(static_cast<int>(parts[0]), static_cast<int>(parts[1]), static_cast<int>(parts[2]),
                    parts[3] * 3600 + parts[4] * 60 + parts[5] / 1000, parts[5] % 1000 * kMilli);
    if (start) start->isUniversal = true;
    return start;
}

void AddComponent(LineCursor& lines, bool isFirst, NumberRecording* recording) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < kTextLines; ++i) texts.push_back(PlainLine(lines.Require()));
    const bool isRaw = SmallLetters(texts[0]).starts_with("uncorrected");
    if (!isRaw && !SmallLetters(texts[0]).starts_with("corrected")) {
        throw Error(ErrorKind::kDamaged, "the heading of a component was expected",
                    {.line = lines.Number() - static_cast<std::int64_t>(kTextLines)});
    }
    std::vector<std::optional<double>> whole = Numbers(lines, kWholeNumbers);
    const std::vector<std::optional<double>> real = Numbers(lines, kRealNumbers);
    if (isFirst) {
        for (std::size_t i = 0; i < kTextLines; ++i)
            if (*kTextNames[i] != '\0') recording->State(kTextNames[i], texts[i]);
        if (const auto gravity = real[29])
            recording->State("local gravity [mm/s2]", FormatNumber(*gravity, 9));
    }

    std::string component = texts[12];
    if (SmallLetters(component).starts_with("component ")) component.erase(0, 10);
    for (std::size_t i = 0; i < std::size(kQuantities); ++i) recording->State(component, texts[13 + i]);
    const double delta = real[25].value_or(0.0) > 0.0 ? *real[25] : real[24].value_or(0.0);
    // Raw readings may be counted in a multiple of the unit.
    const double factor = isRaw && real[7].value_or(0.0) > 0.0 ? *real[7] : 1.0;
    if (isRaw && HeaderCount(whole[33]) == 0) whole[33] = whole[30];
    for (const Quantity& quantity : kQuantities) {
        const std::int64_t count = HeaderCount(whole[quantity.countAt - 1]);
        if (count == 0) continue;
        RecordingInfo::Channel channel;
        channel.name = FromUtf8Replacing(PlainLine(component + " " + quantity.name));
        if (const auto unit = FindMotionUnit(quantity.unit)) StateMotionUnit(&channel, *unit, factor);
        const NumberBlock block = TakeBlock(lines, count, kPerLine);
        recording->AddChannel(FromUtf8Replacing(texts[2]), delta, std::move(channel), block);
        RecordingInfo::Run& run = recording->Info().runs.back();
        if (run.channels.size() == 1) run.start = StartOf(whole);
    }
}

std::unique_ptr<RecordingReader> Open(std::unique_ptr<ByteStream> stream) {
    NumberRecording recording(std::move(stream));
    LineCursor lines(recording.Stream());
    bool isFirst = true;
    while (const std::optional<std::string_view> line = lines.Next()) {
        if (line->empty()) continue;
        lines.StepBack();
        AddComponent(lines, std::exchange(isFirst, false), &recording);
    }
    return std::move(recording).Finish();
}

}  // namespace

bool IsGeonet(std::string_view begin) {
    const std::string small = SmallLetters(begin);
    const std::size_t end = small.find('\n');
    if (end == small.npos ||
        !(small.starts_with("uncorrected accelerogram") || small.starts_with("corrected accelerogram")))
        return false;
    return small.substr(end + 1).starts_with("site ") ||
           small.substr(0, end).find("gns science") != small.npos;
}

std::unique_ptr<RecordingReader> OpenGeonet(std::unique_ptr<ByteStream> stream) {
    return WithErrors([&] { return Open(std::move(stream)); });
}

}  // namespace kvx
