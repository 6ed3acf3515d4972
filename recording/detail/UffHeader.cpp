// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/UffHeader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FortranNumber.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/TextNumbers.h>
#include <KvxRecording01/detail/TextStamps.h>

namespace kvx {
namespace {

constexpr std::size_t kLineWidth = 80;
constexpr std::size_t kEntityWidth = 10;
constexpr std::size_t kLabelWidth = 20;
constexpr std::size_t kNumberWidth = 13;
constexpr std::string_view kNothing = "NONE";
constexpr std::string_view kSpacing = "spacing ";
constexpr std::string_view kFrom = " from ";
constexpr std::string_view kReferenceMark = " / ";

// ---- names ----

/// By their numbers.
constexpr std::string_view kFunctions[] = {
    "",
    "time response",
    "auto spectrum",
    "cross spectrum",
    "frequency response",
    "transmissibility",
    "coherence",
    "auto correlation",
    "cross correlation",
    "power spectral density",
    "energy spectral density",
    "probability density",
    "spectrum",
    "cumulative frequency distribution",
    "peaks and valleys",
    "stress cycles",
    "strain cycles",
    "orbit",
    "mode indicator function",
    "force pattern",
    "partial power",
    "partial coherence",
    "eigenvalue",
    "eigenvector",
    "shock response spectrum",
    "finite impulse response filter",
    "multiple coherence",
    "order function",
};

constexpr std::string_view kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                        "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

/// Of these functions the reference is a part.
constexpr int kOfTwoPoints[] = {0, 3, 4, 5, 6, 8, 20, 21, 22, 23, 26};

constexpr std::string_view kDirections[] = {"", "X", "Y", "Z", "RX", "RY", "RZ"};

template <typename Number>
std::optional<Number> ReadWhole(std::string_view field) {
    Number number = 0;
    if (field.starts_with('+')) field.remove_prefix(1);
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    if (error != std::errc() || end != field.data() + field.size()) return std::nullopt;
    return number;
}

/// "wing 5:+Z", "Mic 01" or "5"; empty for a point that says nothing. An entity without a node may be
/// `inFull`, longer than its columns.
std::string PointName(const UffPoint& point, const std::string& inFull) {
    const bool isCut = point.entity.size() == kEntityWidth && inFull.starts_with(point.entity);
    if (point.node == 0) return isCut ? inFull : point.entity;
    std::string name = point.entity.empty() ? "" : point.entity + " ";
    name += std::to_string(point.node);
    const auto axis = static_cast<std::size_t>(std::abs(point.direction));
    if (axis == 0 || axis >= std::size(kDirections)) return name;
    return name + (point.direction < 0 ? ":-" : ":+") + std::string(kDirections[axis]);
}

/// A point that has this name, if there is one with a node.
std::optional<UffPoint> PointNamed(std::string_view name) {
    UffPoint point;
    if (const std::size_t blank = name.rfind(' '); blank != name.npos) {
        point.entity = name.substr(0, blank);
        name.remove_prefix(blank + 1);
    }
    const std::size_t colon = std::min(name.find(':'), name.size());
    const auto node = ReadWhole<__int64>(name.substr(0, colon));
    if (!node || *node < 1 || point.entity.size() > kEntityWidth) return std::nullopt;
    point.node = *node;
    if (colon + 2 < name.size()) {
        const auto axis = std::ranges::find(kDirections, name.substr(colon + 2));
        if (axis == std::end(kDirections)) return std::nullopt;
        const auto number = static_cast<int>(axis - std::begin(kDirections));
        point.direction = name[colon + 1] == '-' ? -number : number;
    }
    return point;
}

/// As many whole characters of a text in UTF-8 as a width in bytes has room for.
std::string_view Fitting(std::string_view text, std::size_t width) {
    if (text.size() <= width) return text;
    while (width > 0 && (static_cast<unsigned char>(text[width]) & 0xC0) == 0x80) --width;
    return text.substr(0, width);
}

// ---- reading ----

std::string WithoutNone(std::string text) {
    const auto isSame = [](char a, char b) { return a == b || a == b - 'A' + 'a'; };
    return std::ranges::equal(text, kNothing, isSame) ? std::string() : text;
}

std::string TextAt(std::string_view record, std::size_t at, std::size_t width) {
    return WithoutNone(UffField(record, at, width));
}

/// A whole number in columns, 0 for blanks and what is none.
__int64 WholeAt(std::string_view record, std::size_t at, std::size_t width) {
    return ReadWhole<__int64>(UffField(record, at, width)).value_or(0);
}

int SmallAt(std::string_view record, std::size_t at, std::size_t width) {
    const __int64 number = WholeAt(record, at, width);
    return std::abs(number) <= std::numeric_limits<std::int16_t>::max() ? static_cast<int>(number) : 0;
}

/// Fields apart by blanks, which nearly all records of numbers are, whatever columns they were meant for.
std::vector<std::string> Words(std::string_view record) {
    std::vector<std::string> words;
    for (std::size_t at = 0; (at = record.find_first_not_of(" \t\r", at)) != record.npos;) {
        const std::size_t end = std::min(record.find_first_of(" \t\r", at), record.size());
        words.emplace_back(record.substr(at, end - at));
        at = end;
    }
    return words;
}

/// The record of the sizes; whether it could be read so.
bool ReadSizes(std::span<const std::string> fields, UffHeader* header) {
    if (fields.size() < 5) return false;
    const auto type = ReadWhole<int>(fields[0]);
    const auto count = ReadWhole<__int64>(fields[1]);
    const auto spacing = ReadWhole<int>(fields[2]);
    const auto number = [](const std::string& field) {
        return field.empty() ? std::optional(0.0) : ReadFortranNumber(field);
    };
    const auto first = number(fields[3]);
    const auto delta = number(fields[4]);
    if (!type || !count || !spacing || !first || !delta) return false;
    if (*type != 2 && *type != 4 && *type != 5 && *type != 6) {
        throw Error(ErrorKind::kUnsupported,
                    "its numbers are of type " + std::to_string(*type) + ", which is none of 2, 4, 5 and 6");
    }
    header->isDouble = *type == 4 || *type == 6;
    header->isComplex = *type >= 5;
    header->count = *count;
    header->isListed = *spacing == 0;
    header->first = *first;
    header->delta = *delta;
    header->deltaDoubt = 0.5 * std::pow(10.0, -Decimals(PlainExponent(fields[4])));
    return true;
}

void ReadSizes(std::string_view record, UffHeader* header) {
    const std::vector<std::string> columns = {
        UffField(record, 0, 10),  UffField(record, 10, 10),           UffField(record, 20, 10),
        UffField(record, 30, 13), UffField(record, 43, kNumberWidth),
    };
    if (ReadSizes(Words(record), header) || ReadSizes(columns, header)) return;
    throw Error(ErrorKind::kDamaged, "its record 7 " + Quote(record) + " does not tell its numbers");
}

UffPoint ReadPoint(std::string_view record, std::size_t at) {
    return {TextAt(record, at, kEntityWidth), WholeAt(record, at + kEntityWidth, 10),
            SmallAt(record, at + kEntityWidth + 10, 4)};
}

UffAxis ReadAxis(std::string_view record) {
    constexpr std::size_t kLabel = 26;
    std::size_t unit = kLabel + kLabelWidth + 1;
    // Who counted characters, and not bytes, put the unit further on.
    if (record.size() > unit && record[unit - 1] != ' ') {
        const auto bytes = record.substr(kLabel, kLabelWidth);
        unit += static_cast<std::size_t>(std::ranges::count_if(
            bytes, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }));
    }
    UffAxis axis;
    axis.type = SmallAt(record, 0, 10);
    for (std::size_t i = 0; i < axis.powers.size(); ++i) axis.powers[i] = SmallAt(record, 10 + 5 * i, 5);
    axis.label = TextAt(record, kLabel, unit - 1 - kLabel);
    axis.unit = TextAt(record, unit, kLabelWidth + 4);
    return axis;
}

/// Takes the spacing and the start from the line that tells them exactly, if it fits the rounded ones.
void ReadExactSpacing(UffHeader* header) {
    std::string& line = header->lines.back();
    if (!line.starts_with(kSpacing)) return;
    const std::string_view text = std::string_view(line).substr(kSpacing.size());
    const std::size_t from = text.find(kFrom);
    if (from == text.npos) return;
    const auto delta = ParseNumber(text.substr(0, from));
    const auto first = ParseNumber(text.substr(from + kFrom.size()));
    constexpr double kRounded = 1e-5;
    const auto isNear = [](double a, double b) { return std::abs(a - b) <= kRounded * std::abs(a); };
    if (!delta || !first || !isNear(*delta, header->delta) || !isNear(*first, header->first)) return;
    header->delta = *delta;
    header->first = *first;
    header->deltaDoubt = 0.0;
    line.clear();
}

// ---- writing ----

std::string Left(std::string_view text, std::size_t width) {
    std::string field(Fitting(text, width));
    std::ranges::replace_if(
        field, [](char c) { return c >= 0 && c < ' '; }, ' ');
    field.resize(width, ' ');
    return field;
}

std::string LeftOrNone(std::string_view text, std::size_t width) {
    return Left(text.empty() ? kNothing : text, width);
}

std::string Right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string Right(__int64 number, std::size_t width) {
    return Right(std::to_string(number), width);
}

/// A number in 13 columns, the first of them blank: with six digits where these are exact, as everybody
/// writes it, else with as many as there is room for.
std::string NumberField(double number) {
    const auto scientific = [&](int decimals) {
        char text[32];
        const auto end =
            std::to_chars(text, text + sizeof text, number, std::chars_format::scientific, decimals).ptr;
        std::string field(text, end);
        std::ranges::replace(field, 'e', 'E');
        return field;
    };
    std::string field = scientific(5);
    if (ReadFortranNumber(field) == number) return Right(field, kNumberWidth);
    for (int decimals = 6; decimals < 12; ++decimals) {
        std::string longer = scientific(decimals);
        const std::size_t exponent = longer.find('E') + 2;
        if (longer.size() == exponent + 2 && longer[exponent] == '0') longer.erase(exponent, 1);
        if (longer.size() >= kNumberWidth) break;
        field = std::move(longer);
    }
    return Right(field, kNumberWidth);
}

std::string PointFields(const UffPoint& point) {
    return LeftOrNone(point.entity, kEntityWidth) + Right(point.node, 10) + Right(point.direction, 4);
}

std::string AxisRecord(const UffAxis& axis) {
    std::string record = Right(axis.type, 10);
    for (const int power : axis.powers) record += Right(power, 5);
    return record + " " + LeftOrNone(axis.label, kLabelWidth) + " " + LeftOrNone(axis.unit, kLabelWidth);
}

}  // namespace

std::string UffField(std::string_view line, std::size_t at, std::size_t width) {
    if (at >= line.size()) return {};
    std::string field(line.substr(at, width));
    std::ranges::replace_if(
        field, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }, ' ');
    field.erase(field.find_last_not_of(' ') + 1);
    return field.erase(0, field.find_first_not_of(' '));
}

int UffDatasetNumber(std::string_view line) {
    const std::string number = UffField(line, 0, 6);
    return ReadWhole<int>(number).value_or(0);
}

UffHeader ParseUffHeader(std::span<const std::string, UffHeader::kRecords> records) {
    UffHeader header;
    for (std::size_t i = 0; i < UffHeader::kLines; ++i) header.lines[i] = TextAt(records[i], 0, kLineWidth);
    header.function = SmallAt(records[5], 0, 5);
    header.response = ReadPoint(records[5], 31);
    header.reference = ReadPoint(records[5], 56);
    ReadSizes(records[6], &header);
    if (header.count < 1) throw Error(ErrorKind::kDamaged, "it holds no values");
    header.abscissa = ReadAxis(records[7]);
    header.numerator = ReadAxis(records[8]);
    header.denominator = ReadAxis(records[9]);
    ReadExactSpacing(&header);
    return header;
}

std::string UffLine(std::string_view text) {
    return LeftOrNone(text, kLineWidth);
}

std::string FormatUffHeader(const UffHeader& header) {
    const std::string first = NumberField(header.first);
    const std::string delta = NumberField(header.delta);
    const bool isExact = ReadFortranNumber(UffField(first, 0)) == header.first &&
                         ReadFortranNumber(UffField(delta, 0)) == header.delta;
    std::string text;
    for (std::size_t i = 0; i < UffHeader::kLines; ++i) {
        std::string line = header.lines[i];
        if (i + 1 == UffHeader::kLines && !isExact) {
            line = kSpacing;
            line += FormatExact(header.delta);
            line += kFrom;
            line += FormatExact(header.first);
        }
        text += UffLine(line) + "\n";
    }
    text += Right(header.function, 5) + Right(0, 10) + Right(0, 5) + Right(0, 10) + " " +
            PointFields(header.response) + " " + PointFields(header.reference) + "\n";
    const int type = (header.isComplex ? 5 : 2) + (header.isDouble ? (header.isComplex ? 1 : 2) : 0);
    text += Right(type, 10) + Right(header.count, 10) + Right(header.isListed ? 0 : 1, 10) + first + delta +
            NumberField(0.0) + "\n";
    for (const UffAxis& axis : {header.abscissa, header.numerator, header.denominator, UffAxis{}})
        text += AxisRecord(axis) + "\n";
    return text;
}

std::string_view UffFunctionName(int function) {
    const auto number = static_cast<std::size_t>(function);
    return number < std::size(kFunctions) ? kFunctions[number] : std::string_view();
}

int FindUffFunction(std::string_view name) {
    const auto found = std::ranges::find(kFunctions, name);
    return found == std::end(kFunctions) ? 0 : static_cast<int>(found - std::begin(kFunctions));
}

std::optional<StartTime> ReadUffStart(std::string_view line) {
    const std::vector<std::string> words = Words(line);
    if (words.size() == 3) {
        if (const std::optional<StartTime> exact = ParseStartTime(words[2])) return exact;
    }
    if (words.size() != 2) return std::nullopt;
    const auto* const month = std::ranges::find_if(kMonths, [&](std::string_view name) {
        return std::ranges::equal(UffField(words[0], 3, 3), name, {}, [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
    });
    const std::string_view date = words[0];
    if (month == std::end(kMonths) || (date.size() != 9 && date.size() != 11) || date[2] != '-' ||
        date[6] != '-')
        return std::nullopt;
    const std::optional<int> day = ReadWhole<int>(date.substr(0, 2));
    std::optional<int> year = ReadWhole<int>(date.substr(7));
    const std::optional<TextStamp> clock = ReadClock(words[1]);
    if (!day || !year || !clock) return std::nullopt;
    if (date.size() == 9) *year += *year < 70 ? 2000 : 1900;
    return StartOnDate(*year, static_cast<int>(month - std::begin(kMonths)) + 1, *day, clock->seconds,
                       clock->parts);
}

std::string FormatUffStart(const StartTime& start) {
    const StartTime::Calendar date = start.Date();
    return Padded(date.day, 2) + "-" + std::string(kMonths[date.month - 1]) + "-" +
           Padded(date.year % 100, 2) + " " + Padded(date.hour, 2) + ":" + Padded(date.minute, 2) + ":" +
           Padded(date.second, 2) + "  " + start.Text();
}

std::string UffChannelName(const UffHeader& header) {
    std::string name = PointName(header.response, header.lines.front());
    if (name.empty()) return header.lines.front();
    if (std::ranges::find(kOfTwoPoints, header.function) == std::end(kOfTwoPoints)) return name;
    const std::string reference = PointName(header.reference, "");
    if (!reference.empty() && header.reference != header.response) name.append(kReferenceMark) += reference;
    return name;
}

void SetUffChannelName(std::string_view name, UffHeader* header) {
    header->lines.front() = Fitting(name, kLineWidth);
    const auto isCalledSo = [&](const UffPoint& response, const UffPoint& reference) {
        header->response = response;
        header->reference = reference;
        return UffChannelName(*header) == name;
    };
    const std::size_t mark = name.rfind(kReferenceMark);
    const auto response = PointNamed(name.substr(0, mark));
    if (response && mark == name.npos && isCalledSo(*response, {})) return;
    if (response && mark != name.npos) {
        const auto reference = PointNamed(name.substr(mark + kReferenceMark.size()));
        if (reference && isCalledSo(*response, *reference)) return;
    }
    const bool isAscii = std::ranges::all_of(name, [](char c) { return c >= ' ' && c < '\x7F'; });
    const std::string entity = UffField(name, 0, kEntityWidth);
    if (isAscii && name != kNothing && isCalledSo({entity}, {})) return;
    isCalledSo({}, {});
}

}  // namespace kvx
