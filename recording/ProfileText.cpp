// SPDX-License-Identifier: MIT
#include <KvxRecording01/ProfileText.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <span>
#include <string_view>
#include <utility>
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

double Number(std::string_view word, const char* what) {
    const std::optional<double> value = ParseNumber(word);
    if (word.empty()) throw Error(ErrorKind::kDamaged, std::string("the ") + what + " is missing");
    if (!value || !std::isfinite(*value)) throw Error(ErrorKind::kDamaged, Quote(word) + " is not a number");
    return *value;
}

double PositiveValue(std::string_view word, const char* what) {
    const double value = Number(word, what);
    if (value > 0.0) return value;
    throw Error(ErrorKind::kDamaged,
                std::string("the ") + what + " " + Quote(word) + " is not a number above 0");
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

/// A breakpoint, whose level may have to follow from a slope.
struct Point {
    std::size_t line;
    double hz;
    std::optional<double> level;
    std::optional<double> decibelsPerOctave;  ///< to the next point
};

/// What the lines read so far state.
struct Lines {
    std::vector<Point> points;
    std::optional<CUnitCtrl> signalUnit;
    std::vector<DensityLimit> tolerance;
    std::vector<DensityLimit> abort;
};

/// A limit such as "+3", or "none".
double LimitLevel(std::string_view word, const char* what, double sign) {
    if (word == "none") return sign * std::numeric_limits<double>::infinity();
    const double decibels = Number(word, what);
    if (sign * decibels >= 0.0) return decibels;
    throw Error(ErrorKind::kDamaged, std::string("the ") + what + " " + Quote(word) +
                                         (sign > 0.0 ? " is below 0" : " is above 0"));
}

/// What follows "tolerance" or "abort": the limits in dB and perhaps the frequencies between which they hold.
DensityLimit ParseLimit(std::string_view* line) {
    DensityLimit limit;
    limit.upperDb = LimitLevel(TakeWord(line), "upper limit", 1.0);
    limit.lowerDb = LimitLevel(TakeWord(line), "lower limit", -1.0);
    std::string_view word = TakeWord(line);
    if (word == "dB") word = TakeWord(line);
    if (word.empty()) return limit;
    limit.fromHz = PositiveValue(word, "frequency");
    limit.toHz = PositiveValue(TakeWord(line), "frequency");
    if (limit.fromHz < limit.toHz) return limit;
    throw Error(ErrorKind::kDamaged, "the second frequency is not above the first");
}

/// The slope that a line such as "-3 dB/oct" states; nothing for other lines.
std::optional<double> ParseSlope(std::string_view line) {
    constexpr std::string_view kUnit = "dB/oct";
    const std::size_t unit = line.find(kUnit);
    if (unit == line.npos) return std::nullopt;
    std::string_view number = line.substr(0, unit);
    const double slope = Number(TakeWord(&number), "slope");
    for (std::string_view rest : {number, line.substr(unit + kUnit.size())}) {
        if (const std::string_view word = TakeWord(&rest); !word.empty())
            throw Error(ErrorKind::kDamaged, Quote(word) + " is too much");
    }
    return slope;
}

void AddPoint(std::size_t number, std::string_view frequency, std::string_view level, Lines* profile) {
    const double hz = PositiveValue(frequency, "frequency");
    if (!profile->points.empty() && hz <= profile->points.back().hz) {
        throw Error(ErrorKind::kDamaged,
                    "the frequency " + Quote(frequency) + " is not above the one before");
    }
    profile->points.push_back({number, hz, std::nullopt, std::nullopt});
    if (!level.empty()) profile->points.back().level = PositiveValue(level, "level");
}

void ParseLine(std::size_t number, std::string_view line, Lines* profile) {
    line = line.substr(0, line.find('#'));
    if (const std::optional<double> slope = ParseSlope(line)) {
        if (profile->points.empty())
            throw Error(ErrorKind::kDamaged, "there is no frequency before the slope");
        if (profile->points.back().decibelsPerOctave)
            throw Error(ErrorKind::kDamaged, "there is a slope before this one");
        profile->points.back().decibelsPerOctave = slope;
        return;
    }
    const std::string_view first = TakeWord(&line);
    if (first.empty()) return;
    if (first == "unit") {
        const std::string_view unit = TakeWord(&line);
        if (profile->signalUnit) throw Error(ErrorKind::kDamaged, "the unit is stated twice");
        profile->signalUnit = SignalUnit(unit);
    } else if (first == "tolerance" || first == "abort") {
        (first == "abort" ? profile->abort : profile->tolerance).push_back(ParseLimit(&line));
    } else {
        const std::string_view level = TakeWord(&line);
        AddPoint(number, first, level, profile);
    }
    if (const std::string_view rest = TakeWord(&line); !rest.empty())
        throw Error(ErrorKind::kDamaged, Quote(rest) + " is too much");
}

/// `action`, an Error of which is said to be at that line.
template <class Action>
void AtLine(std::size_t number, Action action) {
    try {
        action();
    } catch (const Error& error) {
        throw error.At({.line = static_cast<std::int64_t>(number)});
    }
}

/// The level at `toHz` on the slope through a level at `fromHz`.
double LevelOnSlope(double fromHz, double level, double decibelsPerOctave, double toHz) {
    return level * std::pow(10.0, decibelsPerOctave * std::log2(toHz / fromHz) / 10.0);
}

/// Finds the levels that follow from slopes, upwards and then downwards; each slope gives one.
void ResolveSlopes(std::vector<Point>* points) {
    std::vector<bool> isUsed(points->size());
    const auto follow = [&](std::size_t slope, const Point& from, Point* to) {
        const std::optional<double>& decibels = (*points)[slope].decibelsPerOctave;
        if (!decibels || !from.level || to->level) return;
        to->level = LevelOnSlope(from.hz, *from.level, *decibels, to->hz);
        isUsed[slope] = true;
    };
    for (std::size_t i = 0; i + 1 < points->size(); ++i) follow(i, (*points)[i], &(*points)[i + 1]);
    for (std::size_t i = points->size(); i-- > 1;) follow(i - 1, (*points)[i], &(*points)[i - 1]);
    for (std::size_t i = 0; i < points->size(); ++i) {
        const Point& point = (*points)[i];
        AtLine(point.line, [&] {
            if (!point.level) throw Error(ErrorKind::kDamaged, "the level is missing");
            if (!(*point.level > 0.0) || !std::isfinite(*point.level))
                throw Error(ErrorKind::kDamaged, "the slope takes the level out of the range of numbers");
            if (point.decibelsPerOctave && i + 1 == points->size())
                throw Error(ErrorKind::kDamaged, "there is no frequency after the slope");
            if (point.decibelsPerOctave && !isUsed[i])
                throw Error(ErrorKind::kDamaged,
                            "the slope after it is between levels that are known without it");
        });
    }
}

/// The lines of the limits that hold somewhere in the profile.
std::string LimitLines(const std::string& kind, const std::vector<DensityLimit>& limits,
                       const PsdProfile& profile) {
    const auto level = [](double decibels) {
        return std::isfinite(decibels) ? FormatExact(decibels) : std::string("none");
    };
    const double first = profile.Frequencies().front();
    const double last = profile.Frequencies().back();
    std::string lines;
    for (const DensityLimit& limit : limits) {
        const double fromHz = std::max(first, limit.fromHz);
        const double toHz = std::min(last, limit.toHz);
        if (!(fromHz < toHz)) continue;
        lines += kind + " " + level(limit.upperDb) + " " + level(limit.lowerDb) + " dB";
        if (fromHz > first || toHz < last) lines += " " + FormatExact(fromHz) + " " + FormatExact(toHz);
        lines += "\n";
    }
    return lines;
}

}  // namespace

ProfileText ParseProfileText(std::string_view text) {
    Lines lines;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        AtLine(number, [&] { ParseLine(number, text.substr(0, end), &lines); });
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    ResolveSlopes(&lines.points);
    if (lines.points.size() < 2) throw Error(ErrorKind::kDamaged, "a profile needs two breakpoints or more");
    std::vector<double> frequencies;
    std::vector<double> levels;
    for (const Point& point : lines.points) {
        frequencies.push_back(point.hz);
        levels.push_back(*point.level);
    }
    return {PsdProfile(frequencies, levels), lines.signalUnit, std::move(lines.tolerance),
            std::move(lines.abort)};
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
    return formatted + LimitLines("tolerance", text.tolerance, text.profile) +
           LimitLines("abort", text.abort, text.profile);
}

}  // namespace kvx
