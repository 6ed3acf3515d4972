// SPDX-License-Identifier: MIT
#include <KvxRecording01/ProfileText.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/HostErrors.h>

namespace kvx {
namespace {

constexpr std::size_t kLongestProfile = 1 << 20;
constexpr std::string_view kGaps = " \t,;\r";

/// The next word of `*line`, which is left behind it; empty at the end.
std::string_view TakeWord(std::string_view* line) {
    const std::size_t begin = std::min(line->find_first_not_of(kGaps), line->size());
    const std::size_t end = std::min(line->find_first_of(kGaps, begin), line->size());
    const std::string_view word = line->substr(begin, end - begin);
    line->remove_prefix(end);
    return word;
}

/// A number above 0; throws Error.
double PositiveValue(std::string_view word, const char* what) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (word.empty()) throw Error(ErrorKind::kDamaged, std::string("the ") + what + " is missing");
    if (error != std::errc() || end != word.data() + word.size())
        throw Error(ErrorKind::kDamaged, Quote(word) + " is not a number");
    if (!(value > 0.0) || !std::isfinite(value)) {
        throw Error(ErrorKind::kDamaged,
                    std::string("the ") + what + " " + Quote(word) + " is not a number above 0");
    }
    return value;
}

/// The unit whose density `text` names: g for "g2/Hz"; throws Error.
CUnitCtrl SignalUnit(std::string_view text) {
    const std::optional<std::wstring> wide = FromUtf8(text);
    const std::optional<CUnitCtrl> density = wide ? ParseUnit(*wide) : std::nullopt;
    if (density) {
        const UnitPart& first = UnitParts(*density).front();
        const CUnitCtrl unit = first.calc == CUnitCtrl::CALC_DIVIDE ? CUnitCtrl() : SingleUnit(first.unit);
        if (PlainUnitName(*DensityUnit(unit)) == PlainUnitName(*density)) return unit;
    }
    throw Error(ErrorKind::kUnknownName,
                Quote(text) + " is not the unit of a density such as g2/Hz or (m/s2)2/Hz");
}

/// What the lines read so far state.
struct Lines {
    std::vector<double> frequencies;
    std::vector<double> levels;
    std::optional<CUnitCtrl> signalUnit;
};

void ParseLine(std::string_view line, Lines* profile) {
    line = line.substr(0, line.find('#'));
    const std::string_view first = TakeWord(&line);
    if (first.empty()) return;
    if (first == "unit") {
        const std::string_view unit = TakeWord(&line);
        if (profile->signalUnit) throw Error(ErrorKind::kDamaged, "the unit is stated twice");
        profile->signalUnit = SignalUnit(unit);
    } else {
        const double frequency = PositiveValue(first, "frequency");
        const double level = PositiveValue(TakeWord(&line), "level");
        if (!profile->frequencies.empty() && frequency <= profile->frequencies.back()) {
            throw Error(ErrorKind::kDamaged,
                        "the frequency " + Quote(first) + " is not above the one before");
        }
        profile->frequencies.push_back(frequency);
        profile->levels.push_back(level);
    }
    if (const std::string_view rest = TakeWord(&line); !rest.empty())
        throw Error(ErrorKind::kDamaged, Quote(rest) + " is too much");
}

}  // namespace

ProfileText ParseProfileText(std::string_view text) {
    Lines profile;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        try {
            ParseLine(text.substr(0, end), &profile);
        } catch (const Error& error) {
            throw error.At({.line = static_cast<std::int64_t>(number)});
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (profile.frequencies.size() < 2)
        throw Error(ErrorKind::kDamaged, "a profile needs two breakpoints or more");
    return {PsdProfile(profile.frequencies, profile.levels), profile.signalUnit};
}

ProfileText ReadProfileText(const std::string& path) {
    std::string text(kLongestProfile + 1, '\0');
    WithErrors([&] {
        InputFile file(WidePath(path));
        text.resize(file.Read(text.data(), text.size()));
    });
    if (text.size() > kLongestProfile) throw Error(ErrorKind::kUnsupported, "it is too long for a profile");
    return ParseProfileText(text);
}

PsdProfile ProfileIn(const ProfileText& text, const CUnitCtrl& density) {
    const std::span<const double> frequencies = text.profile.Frequencies();
    std::vector<double> levels(text.profile.Levels().begin(), text.profile.Levels().end());
    density.ConvItoD(levels.data(), levels.data(), std::ssize(levels), 1.0, 0);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (levels[i] > 0.0 && std::isfinite(levels[i])) continue;
        throw Error(ErrorKind::kBadValue, "its level of " + FormatNumber(text.profile.Levels()[i]) + " at " +
                                              FormatNumber(frequencies[i]) +
                                              " Hz leaves the range of numbers");
    }
    PsdProfile profile(frequencies, levels);
    const double rms = profile.Rms();
    if (!(rms > 0.0) || !std::isfinite(rms))
        throw Error(ErrorKind::kBadValue, "its rms leaves the range of numbers");
    return profile;
}

std::string FormatProfileText(const ProfileText& text) {
    std::string formatted;
    if (text.signalUnit) formatted += "unit " + StoredUnitText(*DensityUnit(*text.signalUnit)) + "\n";
    for (std::size_t i = 0; i < text.profile.Frequencies().size(); ++i) {
        formatted +=
            FormatExact(text.profile.Frequencies()[i]) + " " + FormatExact(text.profile.Levels()[i]) + "\n";
    }
    return formatted;
}

}  // namespace kvx
